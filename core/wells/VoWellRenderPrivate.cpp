#include "core/wells/VoWellRenderPrivate.h"

#include "core/graphics/GLFont.h"
#include "core/graphics/GLFontManager.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/VgMaterial.h"
#include "core/graphics/VgRenderer.h"
#include "core/wells/VdWellData.h"
#include "core/wells/WellEntryWalk.h"
#include "core/wells/WellLogInterpolator.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/MathUtil.h"

#include <Inventor/C/glue/gl.h>
#include <Inventor/SbBox3f.h>
#include <Inventor/SoPath.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/elements/SoCacheElement.h>
#include <Inventor/elements/SoComplexityTypeElement.h>
#include <Inventor/elements/SoDrawStyleElement.h>
#include <Inventor/elements/SoGLCacheContextElement.h>
#include <Inventor/nodes/SoCallback.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace core {
namespace VoWellRenderPrivate {

namespace {

constexpr uint32_t kHistogramBins = 256;
// The largest count of names or bins a document may hold.
constexpr uint32_t kMaxStoredItems = 1u << 20;

template <class Fields>
DataGroup<std::is_const<Fields>::value> GroupOf(Fields& f, Kind kind)
{
    switch (kind) {
    case DirectionalData:
        return {f.m_DirDataColorMethod, f.m_DirDataSizeMethod, f.m_DirDataColor, f.m_DirDataColorMap,
                f.m_DirDataLegend,      f.m_DirDataSize,       f.m_DirDataSizeRange, f.m_DirDataHistogram,
                f.m_DirDataColorLog,    f.m_DirDataSizeLog};
    case IntervalData:
        return {f.m_IntDataColorMethod, f.m_IntDataSizeMethod, f.m_IntDataColor, f.m_IntDataColorMap,
                f.m_IntDataLegend,      f.m_IntDataSize,       f.m_IntDataSizeRange, f.m_IntDataHistogram,
                f.m_IntDataColorLog,    f.m_IntDataSizeLog};
    default:
        return {f.m_PathColorMethod, f.m_PathSizeMethod, f.m_PathColor, f.m_PathColorMap,
                f.m_PathLegend,      f.m_PathSize,       f.m_PathSizeRange, f.m_PathHistogram,
                f.m_PathColorLog,    f.m_PathSizeLog};
    }
}

void TransferCount(shr::Archive& archive, uint32_t& count, uint64_t bytesPerItem)
{
    archive.Transfer(count);
    if (archive.IsLoading()) {
        archive.CheckCount(count, bytesPerItem);
        if (count > kMaxStoredItems)
            archive.ThrowFormatError("%u items where at most %u are kept", count, kMaxStoredItems);
    }
}

void TransferNames(shr::Archive& archive, std::vector<shr::GString>& names)
{
    uint32_t count = static_cast<uint32_t>(names.size());
    TransferCount(archive, count, 4);
    names.resize(count);
    for (shr::GString& name : names)
        archive.Transfer(name);
}

void TransferNames(shr::Archive& archive, WellNames& names)
{
    std::vector<shr::GString> list(names.begin(), names.end());
    TransferNames(archive, list);
    names = WellNames(list.begin(), list.end());
}

void TransferHistogram(shr::Archive& archive, std::vector<uint32_t>& bins)
{
    uint32_t count = static_cast<uint32_t>(bins.size());
    TransferCount(archive, count, 4);
    bins.resize(count);
    for (uint32_t& bin : bins)
        archive.Transfer(bin);
}

void TransferRange(shr::Archive& archive, Range& range)
{
    archive.Transfer(range.first);
    archive.Transfer(range.second);
}

// The part that the three groups store alike: the group's first int (path
// style or fill), the two methods, the colour, the map, the legend, the size.
void TransferGroupHead(shr::Archive& archive, int32_t& first, DataGroup<false> group)
{
    archive.Transfer(first);
    archive.Transfer(group.colorMethod);
    archive.Transfer(group.sizeMethod);
    archive.Transfer(group.color);
    group.colorMap.Serialize(archive);
    group.legend.Serialize(archive);
    archive.Transfer(group.size);
}

bool Choice(int32_t value) { return value == 0 || value == 1; }

// Places the scene's drawing takes no exception out of: a failed part is
// missing from the picture and told in the log.
template <class Work>
void Guarded(const char* what, Work work)
{
    try {
        work();
    } catch (const shr::Exception& e) {
        shr::g_Logger.SendVA(1, "Well render: %s: %s", what, e.Message().c_str());
    }
}

// The unit disk of the markers: the centre and 21 points round it.
const std::array<std::array<double, 2>, 22>& DiskFan()
{
    static const auto fan = [] {
        std::array<std::array<double, 2>, 22> points{};
        for (int k = 0; k <= 20; ++k) {
            const double a = 2.0 * M_PI * k / 20.0;
            points[size_t(k) + 1] = {std::cos(a), std::sin(a)};
        }
        return points;
    }();
    return fan;
}

// The scene graph sends its state to OpenGL only for its own shapes: a
// callback finds what the shape before it left (the winding of a surface
// drawn clockwise, two-sided lighting, its material). The tubes are lit,
// counter-clockwise outside, with the default material's specular and
// emissive parts; the colours come per vertex.
void LitFrontFaces()
{
    glEnable(GL_LIGHTING);
    glEnable(GL_NORMALIZE);
    glFrontFace(GL_CCW);
    glCullFace(GL_BACK);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, GL_FALSE);
    const VgMaterial material;
    const auto part = [](const shr::Color4b& color, float intensity) {
        const float scale = intensity / 255.0f;
        return std::array<GLfloat, 4>{color.r * scale, color.g * scale, color.b * scale, 1.0f};
    };
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, part(material.specular, material.specularIntensity).data());
    glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, part(material.emissive, material.emissiveIntensity).data());
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, material.shininess * 128.0f);
}

// Points to pixels, at the screen resolution the legends take.
double Pixels(double points) { return points * VbLegend::kPixelsPerInch / 72.0; }

// Client arrays are read from memory only while no buffer object is bound:
// the drawing unbinds those the scene left bound and binds them again after.
class UnboundBuffers {
public:
    explicit UnboundBuffers(SoState* state) : m_Glue(cc_glglue_instance(int(SoGLCacheContextElement::get(state))))
    {
        if (!cc_glglue_has_vertex_buffer_object(m_Glue))
            return;
        glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &m_Array);
        glGetIntegerv(GL_ELEMENT_ARRAY_BUFFER_BINDING, &m_Elements);
        cc_glglue_glBindBuffer(m_Glue, GL_ARRAY_BUFFER, 0);
        cc_glglue_glBindBuffer(m_Glue, GL_ELEMENT_ARRAY_BUFFER, 0);
    }
    ~UnboundBuffers()
    {
        if (m_Array)
            cc_glglue_glBindBuffer(m_Glue, GL_ARRAY_BUFFER, GLuint(m_Array));
        if (m_Elements)
            cc_glglue_glBindBuffer(m_Glue, GL_ELEMENT_ARRAY_BUFFER, GLuint(m_Elements));
    }

private:
    const cc_glglue* m_Glue;
    GLint m_Array = 0, m_Elements = 0;
};

} // namespace

// ---- settings ---------------------------------------------------------------------------------

WellRenderFields::WellRenderFields()
{
    m_TextFormat = TextFormat(12.0, shr::Color4b::White, "Arial", TextFormat::Left, true, true);
    for (Kind kind : {PathData, DirectionalData, IntervalData})
        Group(kind).histogram.assign(kHistogramBins, 0u);
    LinkLegends();
}

WellRenderFields::WellRenderFields(const WellRenderFields& other) : WellRenderSettings(other) { LinkLegends(); }

WellRenderFields& WellRenderFields::operator=(const WellRenderFields& other)
{
    WellRenderSettings::operator=(other);
    LinkLegends();
    return *this;
}

void WellRenderFields::LinkLegends()
{
    for (Kind kind : {PathData, DirectionalData, IntervalData}) {
        DataGroup<false> group = Group(kind);
        group.legend.SetColorMap(&group.colorMap);
    }
}

DataGroup<false> WellRenderFields::Group(Kind kind) { return GroupOf(*this, kind); }
DataGroup<true> WellRenderFields::Group(Kind kind) const { return GroupOf(*this, kind); }

void WellRenderFields::Transfer(shr::Archive& archive)
{
    // The document version from which the path's switch and the interval
    // source are stored.
    constexpr int kSwitchVersion = 124;
    const bool switches = archive.GetVersion() >= kSwitchVersion;
    TransferNames(archive, m_Logs);
    TransferNames(archive, m_HiddenWells);
    m_TextFormat.Serialize(archive);
    if (switches)
        archive.Transfer(m_ShowPath);
    TransferGroupHead(archive, m_PathStyle, Group(PathData));
    archive.Transfer(m_PathColorLog);
    archive.Transfer(m_PathSizeLog);
    TransferRange(archive, m_PathSizeRange);
    TransferHistogram(archive, m_PathHistogram);

    archive.Transfer(m_ShowDirData);
    TransferGroupHead(archive, m_DirDataFill, Group(DirectionalData));
    TransferRange(archive, m_DirDataSizeRange);
    TransferHistogram(archive, m_DirDataHistogram);
    for (shr::GString* name : {&m_DirDataColorLog, &m_DirDataSizeLog, &m_DirDataAzLog, &m_DirDataDipLog})
        archive.Transfer(*name);

    archive.Transfer(m_ShowIntervals);
    if (switches)
        archive.Transfer(m_IntDataSource);
    TransferGroupHead(archive, m_IntDataFill, Group(IntervalData));
    TransferRange(archive, m_IntDataSizeRange);
    TransferHistogram(archive, m_IntDataHistogram);
    for (shr::GString* name : {&m_IntDataColorLog, &m_IntDataSizeLog, &m_IntDataLog})
        archive.Transfer(*name);
    LinkLegends();
}

void WellRenderFields::Check(const shr::Archive& archive) const
{
    if (!Choice(m_PathStyle) || !Choice(m_IntDataSource))
        archive.ThrowFormatError("well render path style %d or interval source %d out of range", m_PathStyle,
                                 m_IntDataSource);
    for (Kind kind : {PathData, DirectionalData, IntervalData}) {
        const DataGroup<true> group = Group(kind);
        if (!Choice(group.colorMethod) || !Choice(group.sizeMethod))
            archive.ThrowFormatError("well render colour or size method out of range");
        if (!(group.size >= 0.0 && group.size <= kMaxSize))
            archive.ThrowFormatError("well render size %g out of range", group.size);
    }
    if (!(m_TextFormat.m_Height >= kMinLabelSize && m_TextFormat.m_Height <= kMaxLabelSize))
        archive.ThrowFormatError("well render label size %g out of range", m_TextFormat.m_Height);
}

// ---- tube calls -------------------------------------------------------------------------------

void TubeCalls::Clear()
{
    m_Points.clear();
    m_Colors.clear();
    m_Starts.clear();
    m_Radii.clear();
    m_Caps.clear();
}

void TubeCalls::Begin(double radius, unsigned caps)
{
    m_Starts.push_back(m_Points.size());
    m_Radii.push_back(radius);
    m_Caps.push_back(caps);
}

void TubeCalls::Add(const shr::Vec3d& point, const shr::Color4b& color)
{
    m_Points.push_back(point);
    m_Colors.push_back(color);
}

size_t TubeCalls::Count(size_t call) const
{
    return (call + 1 < m_Starts.size() ? m_Starts[call + 1] : m_Points.size()) - m_Starts[call];
}

void TubeCalls::AddTo(TubeMesh& mesh) const
{
    for (size_t call = 0; call < size(); ++call)
        mesh.AddTube(Points(call), Colors(call), Count(call), Radius(call), Caps(call));
}

// ---- the drawing of a pass --------------------------------------------------------------------

WellDrawing::WellDrawing(const WellRenderFields& fields, const VdWellData& wells, const SceneTransform& transform)
    : m_Fields(fields), m_Transform(transform)
{
    wells.AddRef();
    m_Wells = std::shared_ptr<const VdWellData>(&wells, [](const VdWellData* data) { data->DecRef(); });
}

WellDrawing::~WellDrawing() = default;

bool WellDrawing::Drawn(const Well& well) const
{
    return well.path_size() >= 2 && m_Fields.m_HiddenWells.count(well.Name()) == 0;
}

shr::Vec3d WellDrawing::ScenePoint(const shr::Vec3d& uvw) const
{
    shr::Vec3d xyz = m_Wells->HasUserTransform() ? m_Wells->UVWToXYZ(uvw) : uvw;
    if (m_Transform.Valid()) {
        xyz.x += m_Transform.XTransform();
        xyz.y += m_Transform.YTransform();
    }
    return xyz;
}

const WellLog* WellDrawing::LogOf(const Well& well, const shr::GString& name) const
{
    // The well keeps the log alive for as long as the drawing keeps the well.
    return name.empty() ? nullptr : well.Log(name).get();
}

shr::Color4b WellDrawing::ColorAt(DataGroup<true> group, const WellLog* colorLog, double md) const
{
    double value = 0.0;
    if (group.colorMethod != ByLog || !colorLog || !colorLog->Interpolate(md, value))
        return group.color;
    return group.colorMap.PosToColor(shr::Normalize(value, group.colorMap.GetDataMin(), group.colorMap.GetDataMax()));
}

bool WellDrawing::SizeAt(DataGroup<true> group, const WellLog& sizeLog, double md, double& size)
{
    double value = 0.0;
    if (!sizeLog.Interpolate(md, value))
        return false;
    size = (shr::Normalize(value, group.sizeRange.first, group.sizeRange.second) + 0.5) * group.size;
    return true;
}

void WellDrawing::CollectPathTubes(const Well& well, TubeCalls& calls) const
{
    const DataGroup<true> path = m_Fields.Group(PathData);
    const WellLog* colorLog = path.colorMethod == ByLog ? LogOf(well, path.colorLog) : nullptr;
    const WellLog* sizeLog = path.sizeMethod == ByLog ? LogOf(well, path.sizeLog) : nullptr;
    // Sized by log: the samples of the size log; coloured by log: those of
    // the colour log; otherwise the path as it stands.
    const WellLog* sampled = path.sizeMethod == ByLog ? sizeLog : colorLog;
    const std::vector<WellPathPoint> samples =
        sampled ? CollectSamples(well, *sampled) : std::vector<WellPathPoint>(well.path_begin(), well.path_end());
    // The samples with the first and the last repeated as control points.
    std::vector<shr::Vec3d> points;
    points.reserve(samples.size() + 2);
    points.push_back(ScenePoint(samples.front()));
    for (const WellPathPoint& sample : samples)
        points.push_back(ScenePoint(sample));
    points.push_back(points.back());

    if (path.sizeMethod != ByLog) {
        calls.Begin(path.size);
        for (size_t i = 0; i < points.size(); ++i) {
            const size_t sample = std::min(i == 0 ? 0 : i - 1, samples.size() - 1);
            calls.Add(points[i], ColorAt(path, colorLog, samples[sample].MD()));
        }
        return;
    }
    // One call per sample over its segment and the points on both sides,
    // in the sample's colour. Where the size log has no value the radius is
    // 1.0 in scene units, whatever the size row says.
    const size_t count = samples.size() - 1;
    std::vector<double> radii(count, 1.0);
    std::vector<shr::Color4b> colors(count);
    for (size_t i = 0; i < count; ++i) {
        const double md = samples[i].MD();
        if (sizeLog && !SizeAt(path, *sizeLog, md, radii[i]))
            radii[i] = 1.0;
        colors[i] = ColorAt(path, colorLog, md);
    }
    // A cap between two opaque samples lies inside the thicker one when its
    // own sample is not the thicker: nothing can see it, and it is left out.
    const auto hidden = [&](size_t i, size_t neighbour) {
        return radii[neighbour] >= radii[i] && colors[i].a == 255 && colors[neighbour].a == 255;
    };
    for (size_t i = 0; i < count; ++i) {
        unsigned caps = TubeMesh::BothCaps;
        if (i > 0 && hidden(i, i - 1))
            caps &= ~unsigned(TubeMesh::StartCap);
        if (i + 1 < count && hidden(i, i + 1))
            caps &= ~unsigned(TubeMesh::EndCap);
        calls.Begin(radii[i], caps);
        for (size_t k = i; k < i + 4; ++k)
            calls.Add(points[k], colors[i]);
    }
}

void WellDrawing::CollectIntervals(const Well& well, TubeCalls& calls) const
{
    const WellLog* log = LogOf(well, m_Fields.m_IntDataLog);
    if (!log)
        return;
    const DataGroup<true> group = m_Fields.Group(IntervalData);
    const WellLog* colorLog = group.colorMethod == ByLog ? LogOf(well, group.colorLog) : nullptr;
    const WellLog* sizeLog = group.sizeMethod == ByLog ? LogOf(well, group.sizeLog) : nullptr;
    std::vector<WellPathPoint> segment;
    for (auto entry = log->filtered_begin(); entry != log->filtered_end(); ++entry) {
        const double md = entry->MD();
        const double thickness = m_Fields.m_IntDataSource == FromTo ? entry->EndMD() - md : entry->Data();
        if (!(thickness > 0.0))
            continue;
        ExtractPathSegment(well, md, thickness, segment);
        if (segment.size() < 2)
            continue;
        // An interval without a size value keeps the size of the row.
        double radius = group.size;
        if (sizeLog && !SizeAt(group, *sizeLog, md, radius))
            radius = group.size;
        const shr::Color4b color = ColorAt(group, colorLog, md);
        const size_t n = segment.size();
        calls.Begin(radius);
        const shr::Vec3d first = ScenePoint(segment[0]), last = ScenePoint(segment[n - 1]);
        calls.Add(first * 2.0 - ScenePoint(segment[1]), color);
        for (const WellPathPoint& point : segment)
            calls.Add(ScenePoint(point), color);
        calls.Add(last * 2.0 - ScenePoint(segment[n - 2]), color);
    }
}

void WellDrawing::CollectMarkers(const Well& well, std::vector<Marker>& markers) const
{
    const WellLog* azimuths = LogOf(well, m_Fields.m_DirDataAzLog);
    const WellLog* dips = LogOf(well, m_Fields.m_DirDataDipLog);
    if (!azimuths || !dips)
        return;
    const DataGroup<true> group = m_Fields.Group(DirectionalData);
    const WellLog* colorLog = group.colorMethod == ByLog ? LogOf(well, group.colorLog) : nullptr;
    const WellLog* sizeLog = group.sizeMethod == ByLog ? LogOf(well, group.sizeLog) : nullptr;
    WellEntryWalk walk(well, *azimuths);
    WellPathPoint point;
    const LogEntry* entry = nullptr;
    while (walk.Next(point, entry)) {
        const double md = point.MD();
        double azimuth = 0.0, dip = 0.0, size = group.size;
        if (!azimuths->Interpolate(md, azimuth) || !dips->Interpolate(md, dip))
            continue;
        // Sized by log, a marker without a size value is left out.
        if (group.sizeMethod == ByLog && !(sizeLog && SizeAt(group, *sizeLog, md, size)))
            continue;
        markers.push_back(Marker{ScenePoint(point), azimuth, dip, size, ColorAt(group, colorLog, md)});
    }
}

shr::Box3d WellDrawing::Bounds() const
{
    shr::Box3d box = m_Wells->GetXYZBounds();
    if (box.IsEmpty())
        return box;
    const double margin = std::max({m_Fields.m_PathSize, m_Fields.m_DirDataSize, m_Fields.m_IntDataSize});
    box.min -= shr::Vec3d(margin, margin, margin);
    box.max += shr::Vec3d(margin, margin, margin);
    if (!(box.min.x < box.max.x && box.min.y < box.max.y && box.min.z < box.max.z))
        return shr::Box3d();
    if (m_Transform.Valid()) {
        const shr::Vec3d offset(m_Transform.XTransform(), m_Transform.YTransform(), 0.0);
        box.min += offset;
        box.max += offset;
    }
    return box;
}

void WellDrawing::BoundingBox(SoGetBoundingBoxAction* action) const
{
    const shr::Box3d box = Bounds();
    if (!box.IsEmpty())
        action->extendBy(SbBox3f(float(box.min.x), float(box.min.y), float(box.min.z), float(box.max.x),
                                 float(box.max.y), float(box.max.z)));
}

void WellDrawing::Render(SoGLRenderAction* action)
{
    SoState* state = action->getState();
    if (SoDrawStyleElement::get(state) == SoDrawStyleElement::INVISIBLE ||
        SoComplexityTypeElement::get(state) == SoComplexityTypeElement::BOUNDING_BOX)
        return;
    // Blended geometry: drawn once the opaque scene is in, and never cached.
    SoCacheElement::invalidate(state);
    if (!action->isRenderingDelayedPaths()) {
        action->addDelayedPath(action->getCurPath()->copy());
        return;
    }
    const UnboundBuffers unbound(state);
    glPushAttrib(0xfffff);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    glEnable(GL_CULL_FACE);
    glEnable(GL_COLOR_MATERIAL);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    LitFrontFaces();
    if ((m_Fields.m_PathStyle == Tubes && m_Fields.m_ShowPath) || m_Fields.m_ShowIntervals)
        Guarded("tubes", [this] { RenderTubes(); });
    if (m_Fields.m_ShowDirData) {
        glDisable(GL_CULL_FACE);
        glDisable(GL_LIGHTING);
        Guarded("directional data", [this] { RenderDirectionalData(); });
        glEnable(GL_CULL_FACE);
        glEnable(GL_LIGHTING);
    }
    glPopAttrib();
}

void WellDrawing::BuildTubes(const Well& well, TubeMesh& mesh)
{
    m_Calls.Clear();
    mesh.Clear();
    if (m_Fields.m_PathStyle == Tubes && m_Fields.m_ShowPath)
        CollectPathTubes(well, m_Calls);
    if (m_Fields.m_ShowIntervals)
        CollectIntervals(well, m_Calls);
    m_Calls.AddTo(mesh);
}

void WellDrawing::RenderTubes()
{
    m_Meshes.resize(m_Wells->size());
    size_t index = 0;
    for (const auto& well : *m_Wells) {
        std::unique_ptr<TubeMesh>& cached = m_Meshes[index++];
        if (!Drawn(*well))
            continue;
        if (!cached && m_CachedBytes >= kTubeCacheBytes) {
            BuildTubes(*well, m_Mesh);
            m_Mesh.Draw();
            continue;
        }
        if (!cached) {
            auto built = std::make_unique<TubeMesh>();
            BuildTubes(*well, *built);
            built->ShrinkToFit();
            m_CachedBytes += built->Bytes();
            cached = std::move(built);
        }
        cached->Draw();
    }
}

void WellDrawing::RenderDirectionalData()
{
    if (m_Fields.m_DirDataAzLog.empty() || m_Fields.m_DirDataDipLog.empty())
        return;
    std::vector<Marker> markers;
    for (const auto& well : *m_Wells)
        if (Drawn(*well))
            CollectMarkers(*well, markers);
    for (const Marker& marker : markers) {
        glColor4ubv(&marker.color.r);
        glPushMatrix();
        glTranslated(marker.position.x, marker.position.y, marker.position.z);
        glRotated(-marker.azimuth, 0.0, 0.0, 1.0);
        glRotated(marker.dip, 0.0, 1.0, 0.0);
        glScaled(marker.size, marker.size, marker.size);
        glBegin(GL_TRIANGLE_FAN);
        for (const auto& point : DiskFan())
            glVertex3d(point[0], point[1], 0.0);
        glEnd();
        glPopMatrix();
    }
}

// ---- labels -----------------------------------------------------------------------------------

LabelDrawing::LabelDrawing(const TextFormat& format, std::vector<std::pair<shr::Vec3d, shr::GString>> labels)
    : m_Format(format), m_Labels(std::move(labels))
{
}

void LabelDrawing::Render(SoGLRenderAction* action) const
{
    SoState* state = action->getState();
    SoCacheElement::invalidate(state);
    // Over everything else: after the delayed geometry.
    if (!action->isRenderingDelayedPaths()) {
        action->addDelayedPath(action->getCurPath()->copy());
        return;
    }
    GLdouble model[16], projection[16];
    GLint viewport[4];
    glGetDoublev(GL_MODELVIEW_MATRIX, model);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
    // The anchor of each label in window pixels; a top behind the eye has none.
    std::vector<std::pair<shr::Vec3d, const shr::GString*>> anchors;
    for (const auto& label : m_Labels) {
        const shr::Vec3d& p = label.first;
        GLdouble x = 0, y = 0, z = 0;
        if (gluProject(p.x, p.y, p.z, model, projection, viewport, &x, &y, &z) == GL_TRUE && z >= 0.0 && z <= 1.0)
            anchors.emplace_back(shr::Vec3d(x - viewport[0], y - viewport[1], 0.0), &label.second);
    }
    const double dx = m_Format.m_Floats[0], dy = m_Format.m_Floats[1];
    const double pixels = std::round(Pixels(m_Format.m_Height));
    std::shared_ptr<GLFont> font;
    for (const shr::GString& face : {m_Format.m_Face, shr::GString("sans")}) {
        try {
            font = GLFontManager::Instance().GetFont(face, pixels, GLFont::Pixmap);
            break;
        } catch (const shr::Exception& e) {
            shr::g_Logger.SendVA(1, "Well render: %s", e.Message().c_str());
        }
    }
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glDisable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(0.0, viewport[2], 0.0, viewport[3], -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glColor4ubv(&m_Format.m_Color.r);
    if (m_Format.m_Flag4) {
        glLineWidth(GLfloat(std::max(1.0, Pixels(m_Format.m_Floats[3]))));
        glBegin(GL_LINES);
        for (const auto& anchor : anchors) {
            glVertex2d(anchor.first.x, anchor.first.y);
            glVertex2d(anchor.first.x + dx, anchor.first.y + dy);
        }
        glEnd();
    }
    if (font)
        for (const auto& anchor : anchors)
            font->DrawLines(anchor.second->c_str(), anchor.first.x + dx, anchor.first.y + dy,
                            m_Format.m_Justification);
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopAttrib();
}

// ---- scene nodes ------------------------------------------------------------------------------

namespace {

// A callback node that owns what it draws.
template <class Drawing>
class DrawingNode : public SoCallback {
public:
    explicit DrawingNode(std::shared_ptr<Drawing> drawing) : m_Drawing(std::move(drawing))
    {
        setCallback(&DrawingNode::Callback, this);
    }

protected:
    ~DrawingNode() override = default;

private:
    static void Callback(void* data, SoAction* action)
    {
        auto* node = static_cast<DrawingNode*>(data);
        if (action->isOfType(SoGLRenderAction::getClassTypeId()))
            Guarded("drawing", [&] { node->m_Drawing->Render(static_cast<SoGLRenderAction*>(action)); });
        else if (action->isOfType(SoGetBoundingBoxAction::getClassTypeId()))
            node->BoundingBox(static_cast<SoGetBoundingBoxAction*>(action));
    }
    void BoundingBox(SoGetBoundingBoxAction* action) const;

    std::shared_ptr<Drawing> m_Drawing;
};

template <>
void DrawingNode<WellDrawing>::BoundingBox(SoGetBoundingBoxAction* action) const
{
    m_Drawing->BoundingBox(action);
}

// Labels stay out of the box: they have no extent in the scene.
template <>
void DrawingNode<LabelDrawing>::BoundingBox(SoGetBoundingBoxAction*) const
{
}

} // namespace

void AddWellNode(std::shared_ptr<WellDrawing> drawing, VgRenderer& renderer)
{
    InvSmartPtr<SoCallback> node(new DrawingNode<WellDrawing>(std::move(drawing)));
    renderer.addInventorNode(node.get());
}

void AddLabelNode(std::shared_ptr<LabelDrawing> drawing, VgRenderer& renderer)
{
    InvSmartPtr<SoCallback> node(new DrawingNode<LabelDrawing>(std::move(drawing)));
    renderer.addInventorNode(node.get());
}

} // namespace VoWellRenderPrivate
} // namespace core
