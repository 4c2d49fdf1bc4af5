#pragma once
// The well render module's companions: its stored settings, the view of one of
// its three like groups (paths, directional data, interval data), and the
// drawing of a pass: what the scene's callback nodes draw, worked out from a
// copy of the settings and the well data as they were when the pass ran, so
// that the scene never points into the module.
#include "core/graphics/SceneTransform.h"
#include "core/graphics/VbColorMap.h"
#include "core/properties/TextFormat.h"
#include "core/visual/VbLegend.h"
#include "core/wells/TubeMesh.h"
#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/GString.h"
#include "shr/StringLess.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <memory>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

class SoAction;
class SoGLRenderAction;
class SoGetBoundingBoxAction;

namespace shr {
class Archive;
}

namespace core {

class VdWellData;
class Well;
class WellLog;

namespace VoWellRenderPrivate {

enum Method : int32_t { Fixed = 0, ByLog = 1 };
enum PathStyle : int32_t { Tubes = 0, Lines = 1 };
enum IntervalSource : int32_t { FromTo = 0, LogValues = 1 };
enum Kind { PathData = 0, DirectionalData = 1, IntervalData = 2 };

using WellNames = std::set<shr::GString, shr::StringLess>;
using Range = std::pair<double, double>;

// The limits of the rows of sizes (radii and widths) and of label sizes.
constexpr double kMaxSize = 200.0;
constexpr double kMinLabelSize = 4.0, kMaxLabelSize = 72.0;

// The range before any log has given one.
inline Range EmptyRange() { return Range(3.4028234663852886e38, -3.4028234663852886e38); }

// One of the three like groups, as references into the settings.
template <bool Const>
struct DataGroup {
    template <class T>
    using Ref = std::conditional_t<Const, const T&, T&>;
    Ref<int32_t> colorMethod;
    Ref<int32_t> sizeMethod;
    Ref<shr::Color4b> color;
    Ref<VbColorMap> colorMap;
    Ref<VbLegend> legend;
    Ref<double> size;
    Ref<Range> sizeRange;
    Ref<std::vector<uint32_t>> histogram;
    Ref<shr::GString> colorLog;
    Ref<shr::GString> sizeLog;
};

// The module's stored settings, in their stored order.
struct WellRenderSettings {
    std::vector<shr::GString> m_Logs;
    WellNames m_HiddenWells;
    // Flag 1 shows the labels, flag 4 the leader lines; floats 0 and 1 are
    // the label's offsets in pixels, float 3 the leader lines' width in points.
    TextFormat m_TextFormat;
    bool m_ShowPath = true;
    int32_t m_PathStyle = Tubes;
    int32_t m_PathColorMethod = Fixed;
    int32_t m_PathSizeMethod = Fixed;
    shr::Color4b m_PathColor = shr::Color4b::White;
    VbColorMap m_PathColorMap;
    VbLegend m_PathLegend;
    double m_PathSize = 5.0;
    shr::GString m_PathColorLog, m_PathSizeLog;
    Range m_PathSizeRange = EmptyRange();
    std::vector<uint32_t> m_PathHistogram;
    bool m_ShowDirData = false;
    int32_t m_DirDataFill = 0;
    int32_t m_DirDataColorMethod = Fixed;
    int32_t m_DirDataSizeMethod = Fixed;
    shr::Color4b m_DirDataColor = shr::Color4b::Blue;
    VbColorMap m_DirDataColorMap;
    VbLegend m_DirDataLegend;
    double m_DirDataSize = 20.0;
    Range m_DirDataSizeRange = EmptyRange();
    std::vector<uint32_t> m_DirDataHistogram;
    shr::GString m_DirDataColorLog, m_DirDataSizeLog, m_DirDataAzLog, m_DirDataDipLog;
    bool m_ShowIntervals = false;
    int32_t m_IntDataSource = FromTo;
    int32_t m_IntDataFill = 0;
    int32_t m_IntDataColorMethod = Fixed;
    int32_t m_IntDataSizeMethod = Fixed;
    shr::Color4b m_IntDataColor = shr::Color4b::Red;
    VbColorMap m_IntDataColorMap;
    VbLegend m_IntDataLegend;
    double m_IntDataSize = 20.0;
    Range m_IntDataSizeRange = EmptyRange();
    std::vector<uint32_t> m_IntDataHistogram;
    shr::GString m_IntDataColorLog, m_IntDataSizeLog, m_IntDataLog;
};

// The settings with what the module does with them as a whole: the view of a
// group, the stored form. Each legend draws its own group's map, copies too.
struct WellRenderFields : WellRenderSettings {
    WellRenderFields();
    WellRenderFields(const WellRenderFields& other);
    WellRenderFields& operator=(const WellRenderFields& other);

    DataGroup<false> Group(Kind kind);
    DataGroup<true> Group(Kind kind) const;
    // The stored form; the document version decides what is there.
    void Transfer(shr::Archive& archive);
    // Raises a format error for what no row could have set.
    void Check(const shr::Archive& archive) const;

private:
    void LinkLegends();
};

// The arguments of tube calls, one after the other: each call's points (the
// two control points included), a colour per point and a radius.
class TubeCalls {
public:
    void Clear();
    void Begin(double radius, unsigned caps = TubeMesh::BothCaps);
    void Add(const shr::Vec3d& point, const shr::Color4b& color);
    size_t size() const { return m_Radii.size(); }
    size_t Count(size_t call) const;
    const shr::Vec3d* Points(size_t call) const { return m_Points.data() + m_Starts[call]; }
    const shr::Color4b* Colors(size_t call) const { return m_Colors.data() + m_Starts[call]; }
    double Radius(size_t call) const { return m_Radii[call]; }
    unsigned Caps(size_t call) const { return m_Caps[call]; }
    // Every call's geometry into `mesh`.
    void AddTo(TubeMesh& mesh) const;

private:
    std::vector<shr::Vec3d> m_Points;
    std::vector<shr::Color4b> m_Colors;
    std::vector<size_t> m_Starts;
    std::vector<double> m_Radii;
    std::vector<unsigned> m_Caps;
};

// A disk marker of directional data: its centre in the scene's frame, the
// azimuth and dip it is turned by (degrees), its radius and colour.
struct Marker {
    shr::Vec3d position;
    double azimuth, dip, size;
    shr::Color4b color;
};

// What a pass leaves for the scene's drawing: the settings and the wells.
class WellDrawing {
public:
    // Holds a reference on the well data.
    WellDrawing(const WellRenderFields& fields, const VdWellData& wells, const SceneTransform& transform);
    ~WellDrawing();

    const WellRenderFields& Fields() const { return m_Fields; }
    const VdWellData& Wells() const { return *m_Wells; }
    // Not hidden, with a path of two points at least.
    bool Drawn(const Well& well) const;
    // A position of the data in the scene's frame (the user transform, then
    // the scene offset).
    shr::Vec3d ScenePoint(const shr::Vec3d& uvw) const;

    // The tube calls of a well's path, of its intervals, and its markers.
    void CollectPathTubes(const Well& well, TubeCalls& calls) const;
    void CollectIntervals(const Well& well, TubeCalls& calls) const;
    void CollectMarkers(const Well& well, std::vector<Marker>& markers) const;
    // The data's box in the scene's frame, widened by the largest size.
    shr::Box3d Bounds() const;

    // The scene callback's work.
    void Render(SoGLRenderAction* action);
    void BoundingBox(SoGetBoundingBoxAction* action) const;

private:
    // The colour of a group at md: the fixed one, or the colour log's value
    // through the map (the fixed one where the log has no value).
    shr::Color4b ColorAt(DataGroup<true> group, const WellLog* colorLog, double md) const;
    // The size of a group at md: (Normalize(value) + 0.5) * size from the
    // size log; false where it has no value.
    static bool SizeAt(DataGroup<true> group, const WellLog& sizeLog, double md, double& size);
    const WellLog* LogOf(const Well& well, const shr::GString& name) const;

    // The tubes of a well: its path (as tubes) and its interval sleeves,
    // as far as they are shown.
    void BuildTubes(const Well& well, TubeMesh& mesh);
    void RenderTubes();
    void RenderDirectionalData();

    WellRenderFields m_Fields;
    std::shared_ptr<const VdWellData> m_Wells;
    SceneTransform m_Transform;
    // The tubes of each well, in the wells' order, made at the first frame
    // and kept for the frames after until they fill the budget; the wells
    // beyond it are made again for each frame. A drawing never changes: a
    // change of the module or its data makes a new one.
    std::vector<std::unique_ptr<TubeMesh>> m_Meshes;
    size_t m_CachedBytes = 0;
    // Working storage, kept from one well and one frame to the next.
    TubeCalls m_Calls;
    TubeMesh m_Mesh;
};

// The memory a drawing may keep its tubes in.
constexpr size_t kTubeCacheBytes = size_t(512) << 20;

// The labels of the well tops and their leader lines, drawn over the scene.
class LabelDrawing {
public:
    LabelDrawing(const TextFormat& format, std::vector<std::pair<shr::Vec3d, shr::GString>> labels);

    void Render(SoGLRenderAction* action) const;

private:
    TextFormat m_Format;
    std::vector<std::pair<shr::Vec3d, shr::GString>> m_Labels; // top in the scene's frame, name
};

// Scene nodes that own what they draw. The first draws tubes, intervals and
// markers as delayed geometry and answers bounding box requests; the second
// draws the labels after it.
void AddWellNode(std::shared_ptr<WellDrawing> drawing, class VgRenderer& renderer);
void AddLabelNode(std::shared_ptr<LabelDrawing> drawing, class VgRenderer& renderer);

} // namespace VoWellRenderPrivate
} // namespace core
