#pragma once
// VgRenderer: the one door through which modules write the scene graph. One
// renderer is made per pass and shared by all modules of the pass. It keeps
// the current group that nodes are added to, in call order, and a working copy
// of the scene transform, which the network takes back after each module.
//
// Positions arrive in double and leave in float: every coordinate is moved by
// the scene transform (X and Y only) before it is narrowed, so that
// geological coordinates keep their precision. The first module with
// vertices fixes the offset; it stays until the network invalidates it.
//
// Every setter and draw call adds to the current group; calling one with no
// group current throws. Draw calls with too few vertices or indices add nothing.
#include "core/graphics/InvFont.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/SceneTransform.h"

#include "shr/Box2f.h"

#include <boost/noncopyable.hpp>

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include <Inventor/nodes/SoGroup.h>

class SbVec3f;
class SoMFColor;
class SoMFUInt32;
class SoMFVec3f;
class SoNode;
class SoVertexProperty;

namespace shr {
struct Box3d;
struct Color4b;
class Mat4d;
class Plane;
struct Vec3d;
} // namespace shr

namespace core {

class VdGeometry;
class VgDragger;
class VgMaterial;
class VgVertexData;

class VgRenderer : private boost::noncopyable {
public:
    // Each enumeration takes the values of the scene-graph field it feeds.
    enum DrawStyle { FILLED = 0, LINES = 1, POINTS = 2, INVISIBLE = 3 };
    enum Complexity { OBJECT_SPACE = 0, SCREEN_SPACE = 1, BOUNDING_BOX = 2 };
    enum VertexOrdering { UNKNOWN_ORDERING = 0, CLOCKWISE = 1, COUNTERCLOCKWISE = 2 };
    enum ShapeType { UNKNOWN_SHAPE_TYPE = 0, SOLID = 1 };
    enum FaceType { UNKNOWN_FACE_TYPE = 0, CONVEX = 1 };
    enum LightModel { BASE_COLOR = 0, PHONG = 1 };
    enum FogType { FOG_NONE = 0, HAZE = 1, FOG = 2, SMOKE = 3 };
    enum TexModel { MODULATE = 0x2100, DECAL = 0x2101, BLEND = 0x0be2, REPLACE = 0x1e01 };
    // GL wrap numbers; any other value clamps to the edge.
    enum TexWrap { TEX_REPEAT = 10497, TEX_CLAMP = 10496, TEX_CLAMP_TO_EDGE = 33071 };
    enum PickStyle { PICK_SHAPE = 0, PICK_BOUNDING_BOX = 1, UNPICKABLE = 2 };
    enum Justification { LEFT = 1, RIGHT = 2, CENTER = 3 };
    enum StateType { SEPARATOR = 0, TRANSFORM_SEPARATOR = 1 };
    // Marker set indices of the 5 pixel markers (the 7 and 9 pixel variants
    // follow 30 and 60 further on), and two of our own.
    enum MarkerType {
        CROSS = 0,
        PLUS = 1,
        MINUS = 2,
        SLASH = 3,
        BACKSLASH = 4,
        BAR = 5,
        STAR = 6,
        Y = 7,
        LIGHTNING = 8,
        WELL = 9,
        CIRCLE_LINE = 10,
        SQUARE_LINE = 11,
        DIAMOND_LINE = 12,
        TRIANGLE_LINE = 13,
        CIRCLE_FILLED = 20,
        SQUARE_FILLED = 21,
        DIAMOND_FILLED = 22,
        TRIANGLE_FILLED = 23,
        POINT = 31,
        SPHERE = 32
    };

    explicit VgRenderer(const SceneTransform& transform);
    ~VgRenderer();

    const SceneTransform& Transform() const { return m_Transform; }
    void Transform(const SceneTransform& transform) { m_Transform = transform; }

    // ---- groups ----------------------------------------------------------
    // A new SoSeparator (or SoGroup) becomes current and is handed to the
    // geometry, whose root holds it; it is added to no other parent.
    void PushNode(VdGeometry& geometry, bool separator);
    void PushNode(InvSmartPtr<SoGroup> group);
    // Adds a new SoSeparator or SoTransformSeparator to the current group and
    // makes it current.
    void pushState(StateType type);
    // The group below the top becomes current (null when none is left).
    void popState();
    InvSmartPtr<SoGroup> CurrentGroup() const { return m_CurrentGroup; }

    // ---- the scene offset ------------------------------------------------
    // Each makes the transform valid and does nothing if it is valid already.
    // The offset is minus the mean X and Y of a sample of the positions.
    void UpdateTransform(const shr::Vec3d* positions, size_t count);
    void UpdateTransform(const shr::Vec3d& position);
    // The box's two corners through `matrix`; an empty box gives zero offsets.
    void UpdateTransform(const shr::Box3d& box, const shr::Mat4d& matrix);
    void UpdateTransform(InvSmartPtr<SoNode> node);
    // The transform from a reservoir sample of at most DefaultSampleSize
    // positions (C library rand: runs may differ); zero offsets for none.
    static SceneTransform SampleTransform(const shr::Vec3d* positions, size_t count);

    // x + X offset and y + Y offset in double, then narrowed; z narrowed as is.
    void ConvertVertex(const shr::Vec3d& position, SbVec3f& result) const;
    static void ConvertVertex(const SceneTransform& transform, const shr::Vec3d& position, SbVec3f& result);

    // ---- collecting into fields ------------------------------------------
    // Each replaces the field's values in one edit and notifies once. Vertices
    // need a valid transform, else they throw.
    void CollectVertices(SoMFVec3f& field, const shr::Vec3d* vertices, size_t count) const;
    // Packed 0xRRGGBBAA values.
    static void CollectColors(SoMFUInt32& field, const shr::Color4b* colors, size_t count);
    // Red, green and blue / 255.
    static void CollectColors(SoMFColor& field, const shr::Color4b* colors, size_t count);

    // A vertex property holding the data's vertices (offset), normals and
    // packed colours with their bindings. Texture coordinates also add a
    // texture coordinate binding node to the current group.
    InvSmartPtr<SoVertexProperty> toSoVertexProperty(const VgVertexData& data);

    // ---- state -----------------------------------------------------------
    void multTransform(const shr::Mat4d& matrix);
    void setPointSize(double size);
    void setLineWidth(double width);
    void setDrawStyle(DrawStyle style);
    // The alpha is dropped.
    void setBaseColor(const shr::Color4b& color);
    void setComplexity(double value, Complexity type);
    void setTextureQuality(double quality);
    void setVertexOrdering(VertexOrdering ordering);
    void setShapeHints(ShapeType shape, FaceType face);
    void setCreaseAngle(double angle);
    void setLightModel(LightModel model);
    void setDirectionalLight(const shr::Vec3d& direction, const shr::Color4b& color);
    void setPointLight(const shr::Vec3d& location, const shr::Color4b& color);
    void setSpotLight(const shr::Vec3d& location, const shr::Vec3d& direction, double dropOffRate,
                      double cutOffAngle, const shr::Color4b& color);
    void setClipPlane(const shr::Plane& plane);
    void setEnvironment(double ambientIntensity, const shr::Color4b& ambientColor, FogType fogType,
                        const shr::Color4b& fogColor);
    void setFont(const char* name, double size);
    // Adds an InvFont and keeps it as the current font; a face that cannot be
    // opened at that size throws (errors 16 and 17) and adds nothing.
    void setTzFont(const std::string& name, double size, unsigned flags);
    // A width x height RGBA image. Repeat and clamp set both wrap directions;
    // any other wrap sets only S, to clamp to edge.
    void setTexture(int width, int height, const shr::Color4b* pixels, TexModel model, TexWrap wrap);
    // Adds nothing unless `coords` holds exactly 2 * width * height floats.
    void setTextureCoord(int width, int height, const std::vector<float>& coords);
    // Each colour / 255 scaled by its intensity.
    void setMaterial(const VgMaterial& material);
    void setTransparency(double transparency);
    void setPickStyle(PickStyle style);
    // Null adds nothing.
    void addInventorNode(SoNode* node);
    // The dragger's root node, unless it has none.
    void addDragger(const VgDragger& dragger);

    // ---- shapes ----------------------------------------------------------
    void drawSphere();
    void drawCylinder();
    void drawCone();
    void drawPointSet(const VgVertexData& data);
    // POINT sets the point size and draws points; SPHERE draws a sphere of
    // radius `size` at each vertex, coloured by the vertex colour if there is
    // one; other types draw markers, the 7 or 9 pixel ones for exactly those sizes.
    void drawMarkerSet(const VgVertexData& data, MarkerType type, double size);
    // Vertices in pairs, an odd last vertex dropped.
    void drawLineSet(const VgVertexData& data);
    void drawLineStrip(const VgVertexData& data);
    void drawLineStripSet(const VgVertexData& data, const int* vertexCounts, size_t stripCount);
    void drawIndexedLineSet(const VgVertexData& data);
    void drawIndexedTriangleStripSet(const VgVertexData& data);
    void drawFaceSet(const VgVertexData& data, const int* vertexCounts, size_t faceCount);
    void drawIndexedFaceSet(const VgVertexData& data);
    // Faces coloured per face, normals per face, then the same faces again as
    // lines in `lineColor`.
    void drawIndexedFaceSet(const VgVertexData& data, const shr::Color4b& lineColor);
    void drawQuadMesh(const VgVertexData& data, int rows, int columns);

    // ---- text ------------------------------------------------------------
    // Screen-aligned text at `position`, one line per line of `text`. `flag`
    // is carried for callers that set it; drawing does not use it.
    void drawText2(const shr::Vec3d& position, const char* text, Justification justification, bool flag);
    // Text in the current font, at the current transform.
    void drawTzText(const char* text);
    // The box of `text` in the current font; empty without a font or text.
    shr::Box2f getTzTextBounds(const char* text) const;

private:
    // Adds to the current group; throws when there is none.
    void AddNode(SoNode* node);
    template <class Shape>
    void AddShape(InvSmartPtr<Shape> shape, const VgVertexData& data);
    void EnsureTransform(const VgVertexData& data);
    void drawSpheres(const VgVertexData& data, double radius);

    InvSmartPtr<SoGroup> m_CurrentGroup;
    std::deque<InvSmartPtr<SoGroup>> m_Stack;
    InvSmartPtr<InvFont> m_CurrentFont;
    SceneTransform m_Transform;
};

// A group made current for a while: a module's output group (PushNode), or a
// state within it (pushState). popState follows when the scope ends, also
// when the drawing throws, so that a failed module never leaves its group
// current for the modules after it.
class VgStateScope : private boost::noncopyable {
public:
    VgStateScope(VgRenderer& renderer, VdGeometry& geometry, bool separator = true) : m_Renderer(renderer)
    {
        m_Renderer.PushNode(geometry, separator);
    }
    VgStateScope(VgRenderer& renderer, VgRenderer::StateType type) : m_Renderer(renderer)
    {
        m_Renderer.pushState(type);
    }
    ~VgStateScope() { m_Renderer.popState(); }

private:
    VgRenderer& m_Renderer;
};

} // namespace core
