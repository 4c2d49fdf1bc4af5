#include "core/graphics/VgRenderer.h"

#include "core/data/ParallelFor.h"
#include "core/data/VdGeometry.h"
#include "core/graphics/GLFont.h"
#include "core/graphics/InvConvert.h"
#include "core/graphics/InvInterface.h"
#include "core/graphics/InvText3.h"
#include "core/graphics/VgDragger.h"
#include "core/graphics/VgMaterial.h"
#include "core/graphics/VgVertexData.h"
#include "shr/Box3d.h"
#include "shr/Exception.h"
#include "shr/Mat4d.h"
#include "shr/Plane.h"
#include "shr/StringUtil.h"
#include "shr/Vec3.h"

#include <Inventor/SbLinear.h>
#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoClipPlane.h>
#include <Inventor/nodes/SoComplexity.h>
#include <Inventor/nodes/SoCone.h>
#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoCylinder.h>
#include <Inventor/nodes/SoDirectionalLight.h>
#include <Inventor/nodes/SoDrawStyle.h>
#include <Inventor/nodes/SoEnvironment.h>
#include <Inventor/nodes/SoFaceSet.h>
#include <Inventor/nodes/SoFont.h>
#include <Inventor/nodes/SoIndexedFaceSet.h>
#include <Inventor/nodes/SoIndexedLineSet.h>
#include <Inventor/nodes/SoIndexedTriangleStripSet.h>
#include <Inventor/nodes/SoLightModel.h>
#include <Inventor/nodes/SoLineSet.h>
#include <Inventor/nodes/SoMarkerSet.h>
#include <Inventor/nodes/SoMaterial.h>
#include <Inventor/nodes/SoMaterialBinding.h>
#include <Inventor/nodes/SoMatrixTransform.h>
#include <Inventor/nodes/SoNormal.h>
#include <Inventor/nodes/SoNormalBinding.h>
#include <Inventor/nodes/SoPickStyle.h>
#include <Inventor/nodes/SoPointLight.h>
#include <Inventor/nodes/SoPointSet.h>
#include <Inventor/nodes/SoQuadMesh.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoShapeHints.h>
#include <Inventor/nodes/SoSphere.h>
#include <Inventor/nodes/SoSpotLight.h>
#include <Inventor/nodes/SoText2.h>
#include <Inventor/nodes/SoTexture2.h>
#include <Inventor/nodes/SoTextureCoordinate2.h>
#include <Inventor/nodes/SoTextureCoordinateBinding.h>
#include <Inventor/nodes/SoTransformSeparator.h>
#include <Inventor/nodes/SoTranslation.h>
#include <Inventor/nodes/SoVertexProperty.h>

#include <tbb/blocked_range.h>

#include <cstdlib>
#include <limits>

namespace core {

// The enumerations pass their values straight into the scene-graph fields.
constexpr bool Same(int ours, int field) { return ours == field; }
static_assert(Same(VgRenderer::LINES, SoDrawStyle::LINES) && Same(VgRenderer::INVISIBLE, SoDrawStyle::INVISIBLE), "");
static_assert(Same(VgRenderer::BOUNDING_BOX, SoComplexity::BOUNDING_BOX), "");
static_assert(Same(VgRenderer::COUNTERCLOCKWISE, SoShapeHints::COUNTERCLOCKWISE), "");
static_assert(Same(VgRenderer::SOLID, SoShapeHints::SOLID) && Same(VgRenderer::CONVEX, SoShapeHints::CONVEX), "");
static_assert(Same(VgRenderer::BASE_COLOR, SoLightModel::BASE_COLOR) && Same(VgRenderer::PHONG, SoLightModel::PHONG), "");
static_assert(Same(VgRenderer::SMOKE, SoEnvironment::SMOKE) && Same(VgRenderer::FOG_NONE, SoEnvironment::NONE), "");
static_assert(Same(VgRenderer::MODULATE, SoTexture2::MODULATE) && Same(VgRenderer::DECAL, SoTexture2::DECAL) &&
                  Same(VgRenderer::BLEND, SoTexture2::BLEND) && Same(VgRenderer::REPLACE, SoTexture2::REPLACE),
              "");
static_assert(Same(VgRenderer::TEX_REPEAT, SoTexture2::REPEAT) && Same(VgRenderer::TEX_CLAMP, SoTexture2::CLAMP), "");
static_assert(Same(VgRenderer::UNPICKABLE, SoPickStyle::UNPICKABLE), "");
static_assert(Same(VgRenderer::CENTER, SoText2::CENTER) && Same(VgRenderer::RIGHT, SoText2::RIGHT), "");
static_assert(Same(VgRenderer::TRIANGLE_FILLED, SoMarkerSet::TRIANGLE_FILLED_5_5), "");
static_assert(Same(SoMarkerSet::CROSS_7_7, 30) && Same(SoMarkerSet::CROSS_9_9, 60), "marker sizes lie 30 apart");

namespace {

const int kLineStyle = 1;           // SoDrawStyle LINES
const int kPerFace = 5;             // binding number
const int kOverall = 2;             // binding number
const int kTexCoordPerVertex = 2;   // SoTextureCoordinateBinding PER_VERTEX
const int kTexCoordIndexed = 3;     // SoTextureCoordinateBinding PER_VERTEX_INDEXED

[[noreturn]] void ThrowRendererError(const char* text)
{
    shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "%s", text);
}

SbColor ToSbColor(const shr::Color4b& color)
{
    return SbColor(color.r / 255.0f, color.g / 255.0f, color.b / 255.0f);
}

SbColor ScaledColor(const shr::Color4b& color, float intensity)
{
    return SbColor(color.r / 255.0f * intensity, color.g / 255.0f * intensity, color.b / 255.0f * intensity);
}

uint32_t PackColor(const shr::Color4b& color)
{
    return (uint32_t(color.r) << 24) | (uint32_t(color.g) << 16) | (uint32_t(color.b) << 8) | uint32_t(color.a);
}

SbVec3f Narrow(const shr::Vec3d& v) { return SbVec3f(float(v.x), float(v.y), float(v.z)); }

// Replaces a multiple-value field's values in one edit: cleared, sized once,
// filled in place, one notification at the end. A failing fill leaves the
// field empty.
template <class Field, class Fill>
void FillField(Field& field, size_t count, Fill fill)
{
    if (count > size_t(std::numeric_limits<int>::max()))
        ThrowRendererError("Too many values for a scene field.");
    const SbBool notify = field.enableNotify(FALSE);
    field.setNum(0);
    field.setNum(int(count));
    field.enableNotify(notify);
    try {
        fill(field.startEditing());
        field.finishEditing();
    } catch (...) {
        field.setNum(0);
        throw;
    }
}

// Runs body(begin, end) over [0, count): on TBB workers for long runs. Each
// element is converted alone, so the result is the same either way.
template <class Body>
void ForRange(size_t count, Body body)
{
    constexpr size_t kSerial = size_t(1) << 16;
    if (count < kSerial) {
        body(size_t(0), count);
        return;
    }
    tbb::task_group_context context;
    ParallelForRanges(count, kSerial / 4, [&](const tbb::blocked_range<size_t>& r) { body(r.begin(), r.end()); },
                      context);
}

template <class Field, class T>
void CopyField(Field& field, const std::vector<T>& values)
{
    FillField(field, values.size(), [&values](T* target) { std::copy(values.begin(), values.end(), target); });
}

// Indices must name existing vertices (or be the -1 separator): the scene
// graph reads the vertex arrays without checking.
void CheckIndices(const VgVertexData& data)
{
    const long long count = static_cast<long long>(data.vertices.size());
    for (int index : data.indices)
        if (index < -1 || index >= count)
            ThrowRendererError("Vertex index out of range.");
}

// Counts of a strip or face list must be positive and fit in the vertices.
void CheckCounts(const VgVertexData& data, const int* counts, size_t listSize)
{
    if (counts == nullptr && listSize > 0)
        ThrowRendererError("Missing vertex counts.");
    size_t total = 0;
    for (size_t i = 0; i < listSize; ++i) {
        if (counts[i] < 0)
            ThrowRendererError("Negative vertex count.");
        total += size_t(counts[i]);
    }
    if (total > data.vertices.size())
        ThrowRendererError("Vertex counts exceed the vertices.");
}

// Pops the state pushed for a group of nodes also when drawing fails.
class ScopedState {
public:
    ScopedState(VgRenderer& renderer, VgRenderer::StateType type) : m_Renderer(renderer) { renderer.pushState(type); }
    ~ScopedState() { m_Renderer.popState(); }
    ScopedState(const ScopedState&) = delete;
    ScopedState& operator=(const ScopedState&) = delete;

private:
    VgRenderer& m_Renderer;
};

} // namespace

VgRenderer::VgRenderer(const SceneTransform& transform) : m_Transform(transform) {}

VgRenderer::~VgRenderer()
{
    if (m_CurrentGroup)
        popState();
}

// ---- groups ------------------------------------------------------------

void VgRenderer::PushNode(VdGeometry& geometry, bool separator)
{
    InvSmartPtr<SoGroup> group(separator ? new SoSeparator : new SoGroup);
    PushNode(group);
    geometry.SetGeometry(InvSmartPtr<SoNode>(group));
}

void VgRenderer::PushNode(InvSmartPtr<SoGroup> group)
{
    m_CurrentGroup = group;
    m_Stack.push_back(group);
}

void VgRenderer::pushState(StateType type)
{
    InvSmartPtr<SoGroup> group(type == TRANSFORM_SEPARATOR ? static_cast<SoGroup*>(new SoTransformSeparator)
                                                           : new SoSeparator);
    AddNode(group.get());
    PushNode(group);
}

void VgRenderer::popState()
{
    if (!m_Stack.empty())
        m_Stack.pop_back();
    m_CurrentGroup = m_Stack.empty() ? InvSmartPtr<SoGroup>() : m_Stack.back();
}

void VgRenderer::AddNode(SoNode* node)
{
    if (!m_CurrentGroup)
        ThrowRendererError("No group to add scene nodes to.");
    m_CurrentGroup->addChild(node);
}

// ---- the scene offset ----------------------------------------------------

SceneTransform VgRenderer::SampleTransform(const shr::Vec3d* positions, size_t count)
{
    if (count == 0)
        return SceneTransform(0.0, 0.0, true);
    const size_t sampleSize = size_t(SceneTransform::DefaultSampleSize());
    shr::Vec3d sample[5];
    static_assert(sizeof sample / sizeof sample[0] >= 5, "room for the default sample");
    size_t filled = 0;
    size_t seen = 0;
    for (size_t i = 0; i < count; ++i) {
        ++seen;
        if (filled < sampleSize) {
            sample[filled++] = positions[i];
            continue;
        }
        const size_t slot = size_t(std::rand()) % seen;
        if (slot < sampleSize)
            sample[slot] = positions[i];
    }
    double sumX = 0.0;
    double sumY = 0.0;
    for (size_t i = 0; i < filled; ++i) {
        sumX += sample[i].x;
        sumY += sample[i].y;
    }
    return SceneTransform(-(sumX / double(filled)), -(sumY / double(filled)), true);
}

void VgRenderer::UpdateTransform(const shr::Vec3d* positions, size_t count)
{
    if (!m_Transform.Valid())
        m_Transform = SampleTransform(positions, count);
}

void VgRenderer::UpdateTransform(const shr::Vec3d& position) { UpdateTransform(&position, 1); }

void VgRenderer::UpdateTransform(const shr::Box3d& box, const shr::Mat4d& matrix)
{
    if (m_Transform.Valid())
        return;
    if (box.IsEmpty()) {
        UpdateTransform(nullptr, 0);
        return;
    }
    shr::Vec3d corners[2] = {box.min, box.max};
    matrix.Transform(corners, corners, 2);
    UpdateTransform(corners, 2);
}

void VgRenderer::UpdateTransform(InvSmartPtr<SoNode> node)
{
    if (m_Transform.Valid())
        return;
    UpdateTransform(InvBoundingBox(node), shr::Mat4d());
}

namespace {

// The one conversion, local so that the long loops below inline it (an
// exported function of a shared library is not inlined).
inline void ShiftAndNarrow(const SceneTransform& transform, const shr::Vec3d& position, SbVec3f& result)
{
    result.setValue(float(position.x + transform.XTransform()), float(position.y + transform.YTransform()),
                    float(position.z));
}

} // namespace

void VgRenderer::ConvertVertex(const SceneTransform& transform, const shr::Vec3d& position, SbVec3f& result)
{
    ShiftAndNarrow(transform, position, result);
}

void VgRenderer::ConvertVertex(const shr::Vec3d& position, SbVec3f& result) const
{
    ConvertVertex(m_Transform, position, result);
}

void VgRenderer::EnsureTransform(const VgVertexData& data)
{
    if (!data.vertices.empty())
        UpdateTransform(data.vertices.data(), data.vertices.size());
}

// ---- collecting into fields ----------------------------------------------

void VgRenderer::CollectVertices(SoMFVec3f& field, const shr::Vec3d* vertices, size_t count) const
{
    if (!m_Transform.Valid())
        ThrowRendererError("Transform must be updated prior to collecting vertices.");
    const SceneTransform transform = m_Transform;
    FillField(field, count, [&](SbVec3f* target) {
        ForRange(count, [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                ShiftAndNarrow(transform, vertices[i], target[i]);
        });
    });
}

void VgRenderer::CollectColors(SoMFUInt32& field, const shr::Color4b* colors, size_t count)
{
    FillField(field, count, [&](uint32_t* target) {
        ForRange(count, [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                target[i] = PackColor(colors[i]);
        });
    });
}

void VgRenderer::CollectColors(SoMFColor& field, const shr::Color4b* colors, size_t count)
{
    FillField(field, count, [&](SbColor* target) {
        for (size_t i = 0; i < count; ++i)
            target[i] = ToSbColor(colors[i]);
    });
}

InvSmartPtr<SoVertexProperty> VgRenderer::toSoVertexProperty(const VgVertexData& data)
{
    InvSmartPtr<SoVertexProperty> property(new SoVertexProperty);
    if (!data.vertices.empty()) {
        EnsureTransform(data);
        CollectVertices(property->vertex, data.vertices.data(), data.vertices.size());
    }
    if (!data.normals.empty()) {
        property->normalBinding = data.normalBinding;
        CopyField(property->normal, data.normals);
    }
    if (!data.texCoords.empty()) {
        InvSmartPtr<SoTextureCoordinateBinding> binding(new SoTextureCoordinateBinding);
        if (data.textureBinding == VgVertexData::PER_VERTEX)
            binding->value = kTexCoordPerVertex;
        else if (data.textureBinding == VgVertexData::PER_VERTEX_INDEXED)
            binding->value = kTexCoordIndexed;
        AddNode(binding.get());
        CopyField(property->texCoord, data.texCoords);
    }
    if (!data.colors.empty()) {
        property->materialBinding = data.materialBinding;
        CollectColors(property->orderedRGBA, data.colors.data(), data.colors.size());
    }
    return property;
}

// ---- state ---------------------------------------------------------------

void VgRenderer::multTransform(const shr::Mat4d& matrix)
{
    InvSmartPtr<SoMatrixTransform> node(new SoMatrixTransform);
    node->matrix = ToSbMatrix(matrix);
    AddNode(node.get());
}

namespace {

// The field a setter names takes its value and is used; the node's other
// fields stay ignored.
template <class Field, class Value>
void Use(Field& field, const Value& value)
{
    field = value;
    field.setIgnored(FALSE);
}

InvSmartPtr<SoDrawStyle> IgnoredDrawStyle()
{
    InvSmartPtr<SoDrawStyle> node(new SoDrawStyle);
    node->style.setIgnored(TRUE);
    node->pointSize.setIgnored(TRUE);
    node->lineWidth.setIgnored(TRUE);
    node->linePattern.setIgnored(TRUE);
    return node;
}

InvSmartPtr<SoShapeHints> IgnoredShapeHints()
{
    InvSmartPtr<SoShapeHints> node(new SoShapeHints);
    node->vertexOrdering.setIgnored(TRUE);
    node->shapeType.setIgnored(TRUE);
    node->faceType.setIgnored(TRUE);
    node->creaseAngle.setIgnored(TRUE);
    return node;
}

} // namespace

void VgRenderer::setPointSize(double size)
{
    InvSmartPtr<SoDrawStyle> node = IgnoredDrawStyle();
    Use(node->pointSize, float(size));
    AddNode(node.get());
}

void VgRenderer::setLineWidth(double width)
{
    InvSmartPtr<SoDrawStyle> node = IgnoredDrawStyle();
    Use(node->lineWidth, float(width));
    AddNode(node.get());
}

void VgRenderer::setDrawStyle(DrawStyle style)
{
    InvSmartPtr<SoDrawStyle> node = IgnoredDrawStyle();
    Use(node->style, int(style));
    AddNode(node.get());
}

void VgRenderer::setBaseColor(const shr::Color4b& color)
{
    InvSmartPtr<SoBaseColor> node(new SoBaseColor);
    node->rgb = ToSbColor(color);
    AddNode(node.get());
}

void VgRenderer::setComplexity(double value, Complexity type)
{
    InvSmartPtr<SoComplexity> node(new SoComplexity);
    node->type = type;
    node->value = float(value);
    node->textureQuality.setIgnored(TRUE);
    AddNode(node.get());
}

void VgRenderer::setTextureQuality(double quality)
{
    InvSmartPtr<SoComplexity> node(new SoComplexity);
    node->textureQuality = float(quality);
    node->type.setIgnored(TRUE);
    node->value.setIgnored(TRUE);
    AddNode(node.get());
}

void VgRenderer::setVertexOrdering(VertexOrdering ordering)
{
    InvSmartPtr<SoShapeHints> node = IgnoredShapeHints();
    Use(node->vertexOrdering, int(ordering));
    AddNode(node.get());
}

void VgRenderer::setShapeHints(ShapeType shape, FaceType face)
{
    InvSmartPtr<SoShapeHints> node = IgnoredShapeHints();
    Use(node->shapeType, int(shape));
    Use(node->faceType, int(face));
    AddNode(node.get());
}

void VgRenderer::setCreaseAngle(double angle)
{
    InvSmartPtr<SoShapeHints> node = IgnoredShapeHints();
    Use(node->creaseAngle, float(angle));
    AddNode(node.get());
}

void VgRenderer::setLightModel(LightModel model)
{
    InvSmartPtr<SoLightModel> node(new SoLightModel);
    node->model = model;
    AddNode(node.get());
}

void VgRenderer::setDirectionalLight(const shr::Vec3d& direction, const shr::Color4b& color)
{
    InvSmartPtr<SoDirectionalLight> node(new SoDirectionalLight);
    node->direction = Narrow(direction);
    node->color = ToSbColor(color);
    AddNode(node.get());
}

void VgRenderer::setPointLight(const shr::Vec3d& location, const shr::Color4b& color)
{
    InvSmartPtr<SoPointLight> node(new SoPointLight);
    SbVec3f where;
    ConvertVertex(location, where);
    node->location = where;
    node->color = ToSbColor(color);
    AddNode(node.get());
}

void VgRenderer::setSpotLight(const shr::Vec3d& location, const shr::Vec3d& direction, double dropOffRate,
                              double cutOffAngle, const shr::Color4b& color)
{
    InvSmartPtr<SoSpotLight> node(new SoSpotLight);
    SbVec3f where;
    ConvertVertex(location, where);
    node->location = where;
    node->direction = Narrow(direction);
    node->dropOffRate = float(dropOffRate);
    node->cutOffAngle = float(cutOffAngle);
    node->color = ToSbColor(color);
    AddNode(node.get());
}

void VgRenderer::setClipPlane(const shr::Plane& plane)
{
    InvSmartPtr<SoClipPlane> node(new SoClipPlane);
    node->plane = SbPlane(Narrow(plane.GetNormal()), float(plane.GetDistance()));
    AddNode(node.get());
}

void VgRenderer::setEnvironment(double ambientIntensity, const shr::Color4b& ambientColor, FogType fogType,
                                const shr::Color4b& fogColor)
{
    InvSmartPtr<SoEnvironment> node(new SoEnvironment);
    node->ambientIntensity = float(ambientIntensity);
    node->ambientColor = ToSbColor(ambientColor);
    node->fogType = fogType;
    node->fogColor = ToSbColor(fogColor);
    AddNode(node.get());
}

void VgRenderer::setFont(const char* name, double size)
{
    InvSmartPtr<SoFont> node(new SoFont);
    node->name = name ? name : "";
    node->size = float(size);
    AddNode(node.get());
}

void VgRenderer::setTzFont(const std::string& name, double size, unsigned flags)
{
    InvSmartPtr<InvFont> node(new InvFont);
    node->name = name.c_str();
    node->size = float(size);
    node->flags = flags;
    node->GetFont(); // a face that cannot be opened fails here, in the pass
    AddNode(node.get());
    m_CurrentFont = node;
}

void VgRenderer::setTexture(int width, int height, const shr::Color4b* pixels, TexModel model, TexWrap wrap)
{
    if (width <= 0 || height <= 0 || width > std::numeric_limits<short>::max() ||
        height > std::numeric_limits<short>::max() || pixels == nullptr)
        ThrowRendererError("Invalid texture image.");
    InvSmartPtr<SoTexture2> node(new SoTexture2);
    node->image.setValue(SbVec2s(short(width), short(height)), 4, reinterpret_cast<const unsigned char*>(pixels));
    node->model = model;
    if (wrap == TEX_REPEAT || wrap == TEX_CLAMP) {
        node->wrapS = wrap;
        node->wrapT = wrap;
    } else {
        // Only S clamps to the edge; T keeps the node's default. Kept uneven on purpose.
        node->wrapS = TEX_CLAMP_TO_EDGE;
    }
    AddNode(node.get());
}

void VgRenderer::setTextureCoord(int width, int height, const std::vector<float>& coords)
{
    if (width <= 0 || height <= 0 || coords.empty() || coords.size() != 2 * size_t(width) * size_t(height))
        return;
    InvSmartPtr<SoTextureCoordinate2> node(new SoTextureCoordinate2);
    FillField(node->point, coords.size() / 2, [&coords](SbVec2f* target) {
        for (size_t i = 0; i < coords.size() / 2; ++i)
            target[i].setValue(coords[2 * i], coords[2 * i + 1]);
    });
    AddNode(node.get());
}

void VgRenderer::setMaterial(const VgMaterial& material)
{
    InvSmartPtr<SoMaterial> node(new SoMaterial);
    node->ambientColor = ScaledColor(material.ambient, material.ambientIntensity);
    node->diffuseColor = ScaledColor(material.diffuse, material.diffuseIntensity);
    node->specularColor = ScaledColor(material.specular, material.specularIntensity);
    node->emissiveColor = ScaledColor(material.emissive, material.emissiveIntensity);
    node->shininess = material.shininess;
    node->transparency = material.transparency;
    AddNode(node.get());
}

void VgRenderer::setTransparency(double transparency)
{
    InvSmartPtr<SoMaterial> node(new SoMaterial);
    node->transparency = float(transparency);
    node->ambientColor.setIgnored(TRUE);
    node->diffuseColor.setIgnored(TRUE);
    node->specularColor.setIgnored(TRUE);
    node->emissiveColor.setIgnored(TRUE);
    node->shininess.setIgnored(TRUE);
    AddNode(node.get());
}

void VgRenderer::setPickStyle(PickStyle style)
{
    InvSmartPtr<SoPickStyle> node(new SoPickStyle);
    node->style = style;
    AddNode(node.get());
}

void VgRenderer::addInventorNode(SoNode* node)
{
    if (node)
        AddNode(node);
}

void VgRenderer::addDragger(const VgDragger& dragger)
{
    const InvSmartPtr<SoNode> node = dragger.GetNode();
    if (node)
        AddNode(node.get());
}

// ---- shapes ----------------------------------------------------------------

void VgRenderer::drawSphere() { AddNode(InvSmartPtr<SoSphere>(new SoSphere).get()); }

void VgRenderer::drawCylinder() { AddNode(InvSmartPtr<SoCylinder>(new SoCylinder).get()); }

void VgRenderer::drawCone() { AddNode(InvSmartPtr<SoCone>(new SoCone).get()); }

template <class Shape>
void VgRenderer::AddShape(InvSmartPtr<Shape> shape, const VgVertexData& data)
{
    shape->vertexProperty = toSoVertexProperty(data).get();
    AddNode(shape.get());
}

void VgRenderer::drawPointSet(const VgVertexData& data)
{
    if (data.vertices.empty())
        return;
    AddShape(InvSmartPtr<SoPointSet>(new SoPointSet), data);
}

void VgRenderer::drawMarkerSet(const VgVertexData& data, MarkerType type, double size)
{
    if (data.vertices.empty())
        return;
    if (type == POINT) {
        setPointSize(size);
        drawPointSet(data);
        return;
    }
    if (type == SPHERE) {
        drawSpheres(data, size);
        return;
    }
    InvSmartPtr<SoMarkerSet> markers(new SoMarkerSet);
    int index = type;
    if (size == 7.0)
        index += 30;
    else if (size == 9.0)
        index += 60;
    markers->markerIndex = index;
    AddShape(markers, data);
}

// One sphere node drawn at every vertex through accumulated translations.
void VgRenderer::drawSpheres(const VgVertexData& data, double radius)
{
    ScopedState state(*this, TRANSFORM_SEPARATOR);
    InvSmartPtr<SoSphere> sphere(new SoSphere);
    sphere->radius = float(radius);
    for (size_t i = 0; i < data.vertices.size(); ++i) {
        if (i < data.colors.size())
            setBaseColor(data.colors[i]);
        InvSmartPtr<SoTranslation> step(new SoTranslation);
        SbVec3f offset;
        if (i == 0)
            ConvertVertex(data.vertices[0], offset);
        else
            offset = Narrow(data.vertices[i] - data.vertices[i - 1]);
        step->translation = offset;
        AddNode(step.get());
        AddNode(sphere.get());
    }
}

void VgRenderer::drawLineSet(const VgVertexData& data)
{
    if (data.vertices.size() < 2)
        return;
    InvSmartPtr<SoLineSet> lines(new SoLineSet);
    const size_t pairs = data.vertices.size() / 2;
    FillField(lines->numVertices, pairs, [pairs](int32_t* counts) { std::fill(counts, counts + pairs, 2); });
    AddShape(lines, data);
}

void VgRenderer::drawLineStrip(const VgVertexData& data)
{
    if (data.vertices.size() < 2)
        return;
    InvSmartPtr<SoLineSet> lines(new SoLineSet);
    lines->numVertices = int32_t(data.vertices.size());
    AddShape(lines, data);
}

void VgRenderer::drawLineStripSet(const VgVertexData& data, const int* vertexCounts, size_t stripCount)
{
    if (data.vertices.size() < 2)
        return;
    CheckCounts(data, vertexCounts, stripCount);
    InvSmartPtr<SoLineSet> lines(new SoLineSet);
    lines->numVertices.setValues(0, int(stripCount), vertexCounts);
    AddShape(lines, data);
}

void VgRenderer::drawIndexedLineSet(const VgVertexData& data)
{
    if (data.vertices.size() < 2 || data.indices.size() < 2)
        return;
    CheckIndices(data);
    InvSmartPtr<SoIndexedLineSet> lines(new SoIndexedLineSet);
    CopyField(lines->coordIndex, data.indices);
    AddShape(lines, data);
}

void VgRenderer::drawIndexedTriangleStripSet(const VgVertexData& data)
{
    if (data.vertices.size() < 2 || data.indices.size() < 3)
        return;
    CheckIndices(data);
    InvSmartPtr<SoIndexedTriangleStripSet> strips(new SoIndexedTriangleStripSet);
    CopyField(strips->coordIndex, data.indices);
    AddShape(strips, data);
}

void VgRenderer::drawFaceSet(const VgVertexData& data, const int* vertexCounts, size_t faceCount)
{
    if (data.vertices.size() < 3)
        return;
    CheckCounts(data, vertexCounts, faceCount);
    InvSmartPtr<SoFaceSet> faces(new SoFaceSet);
    faces->numVertices.setValues(0, int(faceCount), vertexCounts);
    AddShape(faces, data);
}

void VgRenderer::drawIndexedFaceSet(const VgVertexData& data)
{
    if (data.vertices.size() < 3 || data.indices.size() < 3)
        return;
    CheckIndices(data);
    InvSmartPtr<SoIndexedFaceSet> faces(new SoIndexedFaceSet);
    CopyField(faces->coordIndex, data.indices);
    AddShape(faces, data);
}

void VgRenderer::drawIndexedFaceSet(const VgVertexData& data, const shr::Color4b& lineColor)
{
    if (data.vertices.size() < 3 || data.indices.size() < 3)
        return;
    CheckIndices(data);
    EnsureTransform(data);
    InvSmartPtr<SoCoordinate3> coordinates(new SoCoordinate3);
    CollectVertices(coordinates->point, data.vertices.data(), data.vertices.size());
    InvSmartPtr<SoNormal> normals(new SoNormal);
    CopyField(normals->vector, data.normals);
    InvSmartPtr<SoNormalBinding> normalBinding(new SoNormalBinding);
    normalBinding->value = kPerFace;
    InvSmartPtr<SoMaterial> faceMaterial(new SoMaterial);
    CollectColors(faceMaterial->diffuseColor, data.colors.data(), data.colors.size());
    InvSmartPtr<SoMaterialBinding> faceBinding(new SoMaterialBinding);
    faceBinding->value = kPerFace;
    InvSmartPtr<SoIndexedFaceSet> faces(new SoIndexedFaceSet);
    CopyField(faces->coordIndex, data.indices);

    InvSmartPtr<SoMaterial> lineMaterial(new SoMaterial);
    lineMaterial->diffuseColor = ToSbColor(lineColor);
    InvSmartPtr<SoMaterialBinding> lineBinding(new SoMaterialBinding);
    lineBinding->value = kOverall;
    InvSmartPtr<SoDrawStyle> lineStyle(new SoDrawStyle);
    lineStyle->style = kLineStyle;

    SoNode* const nodes[] = {normals.get(),     normalBinding.get(), faceMaterial.get(), faceBinding.get(),
                             coordinates.get(), faces.get(),         lineMaterial.get(), lineBinding.get(),
                             lineStyle.get(),   faces.get()};
    for (SoNode* node : nodes)
        AddNode(node);
}

void VgRenderer::drawQuadMesh(const VgVertexData& data, int rows, int columns)
{
    if (rows < 2 || columns < 2)
        return;
    if (size_t(rows) * size_t(columns) > data.vertices.size())
        ThrowRendererError("Quad mesh larger than its vertices.");
    InvSmartPtr<SoQuadMesh> mesh(new SoQuadMesh);
    mesh->verticesPerColumn = rows;
    mesh->verticesPerRow = columns;
    AddShape(mesh, data);
}

// ---- text ------------------------------------------------------------------

void VgRenderer::drawText2(const shr::Vec3d& position, const char* text, Justification justification, bool flag)
{
    static_cast<void>(flag); // carried for callers; drawing does not use it
    if (text == nullptr || *text == '\0')
        return;
    UpdateTransform(position);
    std::vector<std::string> lines;
    shr::BreakIntoSubstrings(text, lines, "\r\n");
    InvSmartPtr<SoTransformSeparator> group(new SoTransformSeparator);
    InvSmartPtr<SoTranslation> translation(new SoTranslation);
    SbVec3f where;
    ConvertVertex(position, where);
    translation->translation = where;
    InvSmartPtr<SoText2> label(new SoText2);
    label->string.setNum(0);
    for (size_t i = 0; i < lines.size(); ++i)
        label->string.set1Value(int(i), lines[i].c_str());
    label->justification = justification;
    group->addChild(translation.get());
    group->addChild(label.get());
    AddNode(group.get());
}

void VgRenderer::drawTzText(const char* text)
{
    if (text == nullptr || *text == '\0')
        return;
    InvSmartPtr<InvText3> node(new InvText3);
    node->string = text;
    AddNode(node.get());
}

shr::Box2f VgRenderer::getTzTextBounds(const char* text) const
{
    if (!m_CurrentFont || text == nullptr || *text == '\0')
        return shr::Box2f();
    return m_CurrentFont->GetFont()->Bounds(text);
}

} // namespace core
