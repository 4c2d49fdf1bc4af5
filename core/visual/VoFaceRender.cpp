#include "core/visual/VoFaceRender.h"

#include "core/data/LatticeUtility.h"
#include "core/data/ParallelFor.h"
#include "core/data/VdGeometry.h"
#include "core/graphics/ColorLookup.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/processing/VolumeCalculator.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/BlockCompaction.h"
#include "shr/Archive.h"
#include "shr/StringUtil.h"

#include <Inventor/nodes/SoShapeHints.h>
#include <tbb/blocked_range.h>

#include <algorithm>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoFaceRender, VoLatticeModule)
const VbModuleInfo VoFaceRender::s_ModuleInfo("Graphics Output\\FaceRender", VoFaceRender::GetClassTypeId(),
                                              PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                              PortGeometry, "Performs face rendering of a 3D lattice", 31);

namespace FaceRenderPrivate {

const char* const kAxisNames[3] = {"X", "Y", "Z"};
// The first-row id of each axis's range; its last row follows.
const int kFirstRow[3] = {7, 10, 13};

const VbPropertyRegistrar s_Registrars[] = {
    {"FaceRenderComponent", VoFaceRender::IdComponent, VbUnsignedPropertyConverter::Key()},
    {"FaceRenderColormap", VoFaceRender::IdColormap, VbColorMapPropertyConverter::Key()},
    {"FaceRenderXFirst", 7, VbIntPropertyConverter::Key()},
    {"FaceRenderXLast", 8, VbIntPropertyConverter::Key()},
    {"FaceRenderYFirst", 10, VbIntPropertyConverter::Key()},
    {"FaceRenderYLast", 11, VbIntPropertyConverter::Key()},
    {"FaceRenderZFirst", 13, VbIntPropertyConverter::Key()},
    {"FaceRenderZLast", 14, VbIntPropertyConverter::Key()},
    {"FaceRenderRangeReset", VoFaceRender::IdRangeReset, VbBoolPropertyConverter::Key()},
    {"FaceRenderBlockCount", VoFaceRender::IdBlockCount, VbStringPropertyConverter::Key()},
    {"FaceRenderBlockAverage", VoFaceRender::IdBlockAverage, VbStringPropertyConverter::Key()},
    {"FaceRenderComputeVolume", VoFaceRender::IdComputeVolume, VbBoolPropertyConverter::Key()},
    {"FaceRenderVolume", VoFaceRender::IdVolume, VbStringPropertyConverter::Key()},
    {"FaceRenderShowEdges", VoFaceRender::IdShowEdges, VbBoolPropertyConverter::Key()},
    {"FaceRenderEdgeColor", VoFaceRender::IdEdgeColor, VbColorPropertyConverter::Key()},
    {"FaceRenderUseComponentAverage", VoFaceRender::IdUseComponentAverage, VbBoolPropertyConverter::Key()},
};
const VbLegend::KeyRegistrar s_LegendKeys("FaceRender", VoFaceRender::IdLegend);

constexpr int kEdgesVersion = 117;
constexpr int kCountVersion = 118;
constexpr int kAverageFlagVersion = 127;

// The corners (in CellCorners order) of the faces towards the neighbours
// i - 1, j - 1, i + 1, j + 1, k - 1, k + 1, counter-clockwise from outside.
const int kFaceCorners[6][4] = {{3, 7, 4, 0}, {3, 2, 6, 7}, {2, 1, 5, 6}, {0, 4, 5, 1}, {3, 0, 1, 2}, {7, 6, 5, 4}};

// A block that shows faces: its cell number in the range, its position in
// its layer and the six-bit mask of its faces.
struct ShowingBlock {
    uint64_t n;
    uint32_t i, j;
    unsigned mask;
};

// What one layer of cells adds, joined in layer order afterwards.
struct LayerSums {
    uint64_t blocks = 0;
    double sum = 0.0;
    double volume = 0.0;
    std::vector<ShowingBlock> showing;
};

// The cells of a range, their values and which of them stand as blocks.
class BlockField {
public:
    BlockField(const VdLattice& lattice, const LatticeRange& range, const std::vector<double>& values,
               const std::vector<uint8_t>& standing)
        : m_Lattice(lattice), m_Range(range), m_Values(values), m_Standing(standing),
          m_CellsI(range.iEnd - range.iFirst - 1), m_CellsJ(range.jEnd - range.jFirst - 1),
          m_CellsK(range.kEnd - range.kFirst - 1)
    {
    }

    uint64_t Layers() const { return m_CellsK; }
    uint64_t PerLayer() const { return m_CellsI * m_CellsJ; }

    // Bit f set: the face towards neighbour f (in kFaceCorners order) is drawn.
    unsigned Faces(uint64_t i, uint64_t j, uint64_t k, uint64_t n) const
    {
        const uint64_t layer = PerLayer();
        const auto clear = [this](uint64_t cell) { return m_Standing[cell] == 0; };
        return (i == 0 || clear(n - 1) ? 1u : 0u) | (j == 0 || clear(n - m_CellsI) ? 2u : 0u) |
               (i + 1 == m_CellsI || clear(n + 1) ? 4u : 0u) | (j + 1 == m_CellsJ || clear(n + m_CellsI) ? 8u : 0u) |
               (k == 0 || clear(n - layer) ? 16u : 0u) | (k + 1 == m_CellsK || clear(n + layer) ? 32u : 0u);
    }

    // Calls visit(i, j, n, faces) for each standing cell of layer k.
    template <class Visit>
    void ForEachBlock(uint64_t k, Visit visit) const
    {
        uint64_t n = k * PerLayer();
        for (uint64_t j = 0; j < m_CellsJ; ++j)
            for (uint64_t i = 0; i < m_CellsI; ++i, ++n)
                if (m_Standing[n])
                    visit(i, j, n, Faces(i, j, k, n));
    }

    void Corners(uint64_t i, uint64_t j, uint64_t k, std::vector<shr::Vec3d>& corners) const
    {
        CellCorners(m_Lattice, unsigned(m_Range.iFirst + i), unsigned(m_Range.jFirst + j),
                    unsigned(m_Range.kFirst + k), corners);
    }

private:
    const VdLattice& m_Lattice;
    LatticeRange m_Range;
    const std::vector<double>& m_Values;
    const std::vector<uint8_t>& m_Standing;
    uint64_t m_CellsI, m_CellsJ, m_CellsK;
};

namespace {

// Helpers of the hot loops, kept local so that they inline.

inline bool BlankedOrTransparent(double value, const ColorLookup& colors)
{
    return value == VdVertexData::BlankVal || colors(value).a == 0;
}

// The faces a six-bit mask names.
inline int FaceCount(unsigned mask)
{
    static const unsigned char kBits[64] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4, 1, 2, 2, 3, 2, 3,
                                            3, 4, 2, 3, 3, 4, 3, 4, 4, 5, 1, 2, 2, 3, 2, 3, 3, 4, 2, 3, 3, 4,
                                            3, 4, 4, 5, 2, 3, 3, 4, 3, 4, 4, 5, 3, 4, 4, 5, 4, 5, 5, 6};
    return kBits[mask & 63u];
}

inline SbVec3f FaceNormal(const shr::Vec3d& a, const shr::Vec3d& b, const shr::Vec3d& c, const shr::Vec3d& d)
{
    const shr::Vec3d n = (c - a).Cross(d - b).Normalized();
    return SbVec3f(float(n.x), float(n.y), float(n.z));
}

} // namespace

} // namespace FaceRenderPrivate

using namespace FaceRenderPrivate;

VoFaceRender::VoFaceRender() : m_EdgeColor(shr::Color4b::Black), m_Faces(std::make_unique<VgVertexData>())
{
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoFaceRender::~VoFaceRender() = default;

void VoFaceRender::Range(int axis, int first, int last)
{
    m_First[size_t(axis)] = first;
    m_Last[size_t(axis)] = last;
}

LatticeRange VoFaceRender::EffectiveRange(const unsigned int dims[3]) const
{
    unsigned int first[3], end[3];
    for (int a = 0; a < 3; ++a) {
        const int n = int(std::max(dims[a], 1u));
        const int last = std::clamp(m_Last[size_t(a)] == -1 ? n : m_Last[size_t(a)], 1, n);
        int from = std::clamp(m_First[size_t(a)], 1, n);
        if (from >= last)
            from = last - 1;
        first[a] = unsigned(std::max(from, 1) - 1); // zero-based; a one-node axis keeps one node
        end[a] = unsigned(last);
    }
    return LatticeRange{first[0], end[0], first[1], end[1], first[2], end[2]};
}

void VoFaceRender::OnInputChanged(int, bool)
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice)
        return;
    const unsigned int* dims = lattice->GetDims();
    if (dims[0] < 2 || dims[1] < 2 || dims[2] < 2)
        CORE_THROW(5, "FaceRender", "3D lattice (all dimensions must be greater than 1)");
    UpdateColorMapDataLimits(lattice);
}

bool VoFaceRender::CellBlankedOrTransparent(double value, const ColorLookup& colors)
{
    return BlankedOrTransparent(value, colors);
}

// ---- execution -----------------------------------------------------------------------------

VoModule::ModuleStatus VoFaceRender::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    const VdLattice* lattice = InputLattice(0);
    if (!lattice) {
        m_Faces->clear();
        return ModuleOk;
    }
    m_BlockCount = 0;
    m_BlockAverage = 0.0;
    m_Volume = 0.0;
    // The faces keep their memory and size from one run to the next.
    const LatticeRange range = EffectiveRange(lattice->GetDims());
    if (range.iEnd > range.iFirst + 1 && range.jEnd > range.jFirst + 1 && range.kEnd > range.kFirst + 1) {
        if (!ComputeIndexed(*lattice, range)) {
            m_Faces->clear();
            return ModuleAborted;
        }
    } else {
        m_Faces->clear();
    }
    if (m_Faces->vertices.size() >= 3) {
        InvSmartPtr<SoShapeHints> hints(new SoShapeHints);
        hints->vertexOrdering = SoShapeHints::COUNTERCLOCKWISE;
        hints->shapeType = SoShapeHints::UNKNOWN_SHAPE_TYPE;
        renderer->addInventorNode(hints.get());
        renderer->setLightModel(VgRenderer::PHONG);
        if (m_ShowEdges)
            renderer->drawIndexedFaceSet(*m_Faces, m_EdgeColor);
        else
            renderer->drawIndexedFaceSet(*m_Faces);
    }
    m_Legend.Execute(*renderer);
    return ModuleOk;
}

bool VoFaceRender::ComputeIndexed(const VdLattice& lattice, const LatticeRange& range)
{
    VbProgress progress("Computing blocks.", 0, 500, 100);
    const unsigned int component = InputComponentSafe();
    if (m_UseComponentAverage)
        CollectCellValues<CellComponentAverage>(lattice, component, range, m_CellValues);
    else
        CollectCellValues<CellComponentCorner>(lattice, component, range, m_CellValues);
    if (!progress.Update(0.3))
        return false;

    // Which cells stand, each decided alone.
    const std::vector<double>& values = m_CellValues;
    const ColorLookup colors(m_ColorMap);
    m_Standing.resize(values.size());
    uint8_t* standing = m_Standing.data();
    tbb::task_group_context context;
    ParallelForRanges(values.size(), 1, [&](const tbb::blocked_range<size_t>& cells) {
        for (size_t n = cells.begin(); n != cells.end(); ++n)
            standing[n] = BlankedOrTransparent(values[n], colors) ? 0 : 1;
    }, context);
    if (!progress.Update(0.5))
        return false;

    // Per layer: the blocks, their sums, and the faces they show.
    const BlockField field(lattice, range, values, m_Standing);
    std::vector<LayerSums> sums(field.Layers());
    const VolumeCalculator calculator;
    const auto countLayer = [&](size_t k) {
        LayerSums& layer = sums[k];
        size_t faces = 0;
        std::vector<shr::Vec3d> corners;
        field.ForEachBlock(k, [&](uint64_t i, uint64_t j, uint64_t n, unsigned mask) {
            ++layer.blocks;
            layer.sum += values[n];
            if (m_ComputeVolume) {
                field.Corners(i, j, k, corners);
                layer.volume += calculator.CellVolume(corners);
            }
            faces += size_t(FaceCount(mask));
            if (mask)
                layer.showing.push_back({n, uint32_t(i), uint32_t(j), mask});
        });
        return faces;
    };
    VgVertexData& out = *m_Faces;
    const auto resize = [&out](size_t faces) {
        out.vertices.resize(4 * faces);
        out.colors.resize(faces);
        out.normals.resize(faces);
        out.indices.resize(5 * faces);
    };
    const auto fillLayer = [&](size_t k, size_t face) {
        std::vector<shr::Vec3d> corners;
        for (const ShowingBlock& block : sums[k].showing) {
            field.Corners(block.i, block.j, k, corners);
            const shr::Color4b color = colors(values[block.n]);
            unsigned mask = block.mask;
            for (int f = 0; f < 6; ++f, mask >>= 1) {
                if (!(mask & 1u))
                    continue;
                const int* c = kFaceCorners[f];
                for (int v = 0; v < 4; ++v) {
                    out.vertices[4 * face + v] = corners[size_t(c[v])];
                    out.indices[5 * face + v] = int(4 * face + v);
                }
                out.indices[5 * face + 4] = -1;
                out.colors[face] = color;
                out.normals[face] = FaceNormal(corners[c[0]], corners[c[1]], corners[c[2]], corners[c[3]]);
                ++face;
            }
        }
        sums[k].showing = std::vector<ShowingBlock>();
    };
    CompactBlocks(field.Layers(), countLayer, resize, fillLayer);
    out.materialBinding = VgVertexData::PER_FACE;
    out.normalBinding = VgVertexData::PER_FACE;

    LayerSums total;
    for (const LayerSums& layer : sums) {
        total.blocks += layer.blocks;
        total.sum += layer.sum;
        total.volume += layer.volume;
    }
    m_BlockCount = int32_t(std::min<uint64_t>(total.blocks, INT32_MAX));
    m_BlockAverage = total.blocks ? total.sum / double(total.blocks) : 0.0;
    m_Volume = total.volume;
    return progress.Update(1.0);
}

void VoFaceRender::PostExecute(double) const
{
    UiProxy::Instance()->UpdatePropertyList(this, IdBlockCount, false);
    UiProxy::Instance()->UpdatePropertyList(this, IdBlockAverage, false);
    if (m_ComputeVolume)
        UiProxy::Instance()->UpdatePropertyList(this, IdVolume, false);
}

// ---- properties ----------------------------------------------------------------------------

void VoFaceRender::UpdatePropertiesImpl(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    const VoModule* source = GetInputConnection(0, 0);
    const bool hasData = lattice && lattice->ComponentCount() > 0;
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    if (lattice && lattice->ComponentCount() > 1)
        list.AddUnsigned(Id(), "FaceRenderComponent", IdComponent, "Input component",
                         "The component that colors the blocks.", m_InputComponent, ValCheckMinMax, 1,
                         lattice->ComponentCount(), 1);
    list.AddColorMap(Id(), "FaceRenderColormap", IdColormap, "Colormap", "Converts scalar data to colors and opacity.",
                     m_ColorMap, hasData ? &lattice->DataHistogram(InputComponentSafe()) : nullptr, false);
    list.AddCheck(Id(), "FaceRenderUseComponentAverage", IdUseComponentAverage, "Use component average",
                  "If enabled, color a block by the average component value of its corners.  If disabled, color a "
                  "block by the component value from its lower left corner.",
                  m_UseComponentAverage);
    list.Outdent();
    AddRangeRows(list, lattice);

    list.AddEdit(Id(), "FaceRenderBlockCount", IdBlockCount, "Block count", "The blocks that stand.", "");
    list.AddEdit(Id(), "FaceRenderBlockAverage", IdBlockAverage, "Block average", "The mean value of the blocks.",
                 "");
    list.AddCheck(Id(), "FaceRenderComputeVolume", IdComputeVolume, "Compute volume",
                  "Add up the volume of the blocks.", m_ComputeVolume);
    list.AddEdit(Id(), "FaceRenderVolume", IdVolume, "Volume", "The volume of the blocks.", "");
    for (const int id : {IdBlockCount, IdBlockAverage, IdVolume})
        list.ReadOnly(id, true);
    list.Enabled(IdVolume, m_ComputeVolume);
    ShowResults(list);

    list.AddHeader(Id(), IdRendering, "Rendering", "Rendering", "", "");
    list.Indent();
    list.AddCheck(Id(), "FaceRenderShowEdges", IdShowEdges, "Show edges", "Outline each face.", m_ShowEdges);
    list.AddColor(Id(), "FaceRenderEdgeColor", IdEdgeColor, "Edge color", "", m_EdgeColor);
    list.Enabled(IdEdgeColor, m_ShowEdges);
    list.Outdent();
    m_Legend.GetProperties(Id(), list, "FaceRender", IdLegend, "Legend", "Legend");
}

void VoFaceRender::AddRangeRows(VbPropList& list, const VdLattice* lattice)
{
    list.AddHeader(Id(), IdRange, "Range", "Range", "", "The nodes whose cells are drawn, from 1.");
    list.Indent();
    for (int a = 0; a < 3; ++a) {
        const int n = lattice ? int(lattice->GetDims()[a]) : 1;
        const shr::GString prefix = shr::GString("FaceRender") + kAxisNames[a];
        list.AddHeader(Id(), kFirstRow[a] - 1, shr::ToString("%s range", kAxisNames[a]), "Range", "", "");
        list.Indent();
        list.AddInt(Id(), prefix + "First", kFirstRow[a], "First", "", m_First[size_t(a)], ValCheckMinMax, 1, n, 1);
        list.AddInt(Id(), prefix + "Last", kFirstRow[a] + 1, "Last", "-1 is the last node.", m_Last[size_t(a)],
                    ValCheckMinMax, -1, n, 1);
        list.Outdent();
    }
    list.AddButton(Id(), "FaceRenderRangeReset", IdRangeReset, "", "Draw every cell again.", "Reset");
    list.Outdent();
}

void VoFaceRender::ShowResults(VbPropList& list) const
{
    list.StringValue(IdBlockCount, shr::ToString("%d", m_BlockCount));
    list.StringValue(IdBlockAverage, shr::ToString("%.10g", m_BlockAverage));
    list.StringValue(IdVolume, PropertyUtility::FormatPositiveValue(m_Volume));
}

void VoFaceRender::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id > IdLegend && id < IdLegend + VbLegend::RowCount) {
        m_Legend.PropertyEvent(Id(), list, event, IdLegend);
        SetModified();
        return;
    }
    for (int a = 0; a < 3; ++a)
        if (id == kFirstRow[a] || id == kFirstRow[a] + 1) {
            int value = id == kFirstRow[a] ? m_First[size_t(a)] : m_Last[size_t(a)];
            list.GetValue(id, value);
            (id == kFirstRow[a] ? m_First : m_Last)[size_t(a)] = value;
            SetModified();
            return;
        }
    switch (id) {
    case IdComponent:
        ReadInputComponent(list, id);
        break;
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorMapDataLimits(InputLattice(0));
        break;
    case IdRangeReset:
        m_First = {1, 1, 1};
        m_Last = {-1, -1, -1};
        for (int a = 0; a < 3; ++a) {
            list.SetNum(kFirstRow[a], 1);
            list.SetNum(kFirstRow[a] + 1, -1);
        }
        break;
    case IdComputeVolume:
        list.GetValue(id, m_ComputeVolume);
        list.Enabled(IdVolume, m_ComputeVolume);
        break;
    case IdShowEdges:
        list.GetValue(id, m_ShowEdges);
        list.Enabled(IdEdgeColor, m_ShowEdges);
        break;
    case IdEdgeColor: list.GetValue(id, m_EdgeColor); break;
    case IdUseComponentAverage: list.GetValue(id, m_UseComponentAverage); break;
    case IdBlockCount:
    case IdBlockAverage:
    case IdVolume:
        // Read-only results that the host refreshes after a run.
        ShowResults(list);
        return;
    default: return;
    }
    SetModified();
}

// ---- persistence ---------------------------------------------------------------------------

void VoFaceRender::Serialize(shr::Archive& archive)
{
    // The lattice module's part (base, sync mark, component, colour map,
    // legend) and then ours, read into copies that are taken over only once
    // all has been read.
    VoModule::Serialize(archive);
    archive.SyncCheck();
    unsigned int component = m_InputComponent;
    VbColorMap colorMap = m_ColorMap;
    VbLegend legend = m_Legend;
    std::array<int, 3> first = m_First, last = m_Last;
    double volume = m_Volume, average = m_BlockAverage;
    int32_t count = m_BlockCount;
    bool computeVolume = m_ComputeVolume, showEdges = m_ShowEdges, useAverage = m_UseComponentAverage;
    shr::Color4b edgeColor = m_EdgeColor;
    archive.Transfer(component);
    colorMap.Serialize(archive);
    legend.Serialize(archive);
    archive.SyncCheck();
    for (int a = 0; a < 3; ++a) {
        archive.Transfer(first[size_t(a)]);
        archive.Transfer(last[size_t(a)]);
    }
    archive.Transfer(volume);
    archive.Transfer(computeVolume);
    const auto has = [&archive](int version) { return archive.GetVersion() >= version; };
    if (has(kEdgesVersion)) {
        archive.Transfer(showEdges);
        archive.Transfer(edgeColor);
    }
    if (has(kCountVersion)) {
        archive.Transfer(count);
        archive.Transfer(average);
    }
    if (has(kAverageFlagVersion))
        archive.Transfer(useAverage);
    if (archive.IsStoring())
        return;
    InputComponentSafe(component);
    m_ColorMap = colorMap;
    m_Legend = legend;
    m_Legend.SetColorMap(&m_ColorMap);
    m_First = first;
    m_Last = last;
    m_Volume = volume;
    m_ComputeVolume = computeVolume;
    m_ShowEdges = showEdges;
    m_EdgeColor = edgeColor;
    m_BlockCount = count;
    m_BlockAverage = average;
    m_UseComponentAverage = useAverage;
}

} // namespace core
