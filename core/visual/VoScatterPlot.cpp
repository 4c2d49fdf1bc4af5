#include "core/visual/VoScatterPlot.h"

#include "core/data/LatticeUtility.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/graphics/VgRenderer.h"
#include "core/visual/RowReader.h"
#include "core/visual/VoScatterPlotPrivate.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/StringLess.h"

#include <algorithm>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoScatterPlot, VoModule)
const VbModuleInfo VoScatterPlot::s_ModuleInfo("Graphics Output\\ScatterPlot", VoScatterPlot::GetClassTypeId(),
                                               PortPoints | PortUniformLattice | PortRectilinearLattice |
                                                   PortCurvilinearLattice,
                                               PortGeometry, "Displays a point set or lattice as a series of symbols",
                                               25);

namespace ScatterPlotPrivate {

const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kBool = VbBoolPropertyConverter::Key();
const unsigned char kColor = VbColorPropertyConverter::Key();
const unsigned char kString = VbStringPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"ScatterPlotMarker", VoScatterPlot::IdMarker, kUnsigned},
    {"ScatterPlotSizePoint", VoScatterPlot::IdPointSize, kDouble},
    {"ScatterPlotSizeMarker", VoScatterPlot::IdMarkerSize, kUnsigned},
    {"ScatterPlotLineWidth", VoScatterPlot::IdLineWidth, kDouble},
    {"ScatterPlotColorMethod", VoScatterPlot::IdColorMethod, kUnsigned},
    {"ScatterPlotColorFixed", VoScatterPlot::IdFixedColor, kColor},
    {"ScatterPlotColorComponent", VoScatterPlot::IdColorComponent, kUnsigned},
    {"ScatterPlotColormap", VoScatterPlot::IdColormap, VbColorMapPropertyConverter::Key()},
    {"ScatterPlotDensity", VoScatterPlot::IdDensity, kUnsigned},
    {"ScatterPlotShowLines", VoScatterPlot::IdShowLines, kBool},
    {"ScatterPlotShowLabels", VoScatterPlot::IdShowLabels, kBool},
    {"ScatterPlotLabelField", VoScatterPlot::IdLabelField, kString},
    {"ScatterPlotFont", VoScatterPlot::IdLabelFont, kString},
    {"ScatterPlotLabelSize", VoScatterPlot::IdLabelSize, kDouble},
    {"ScatterPlotLabelColor", VoScatterPlot::IdLabelColor, kColor},
    {"ScatterPlotLabelColorMethod", VoScatterPlot::IdLabelColorMethod, kUnsigned},
    {"ScatterPlotLabelJustification", VoScatterPlot::IdLabelJustification, kUnsigned},
    {"ScatterPlotLabelXOffset", VoScatterPlot::IdLabelXOffset, kDouble},
    {"ScatterPlotLabelYOffset", VoScatterPlot::IdLabelYOffset, kDouble},
    {"ScatterPlotLeaderLines", VoScatterPlot::IdLeaderLines, kBool},
    {"ScatterPlotLeaderLineWidth", VoScatterPlot::IdLeaderLineWidth, kDouble},
    {"ScatterPlotLabelFormatType", VoScatterPlot::IdLabelFormat + 1, kUnsigned},
    {"ScatterPlotLabelFormatNumDigits", VoScatterPlot::IdLabelFormat + 2, kUnsigned},
    {"ScatterPlotLabelFormatPrefix", VoScatterPlot::IdLabelFormat + 3, kString},
    {"ScatterPlotLabelFormatPostfix", VoScatterPlot::IdLabelFormat + 4, kString},
};
const VbLegend::KeyRegistrar s_LegendKeys("ScatterPlot", VoScatterPlot::IdLegend);

const char* const kPrefix = "ScatterPlot";

const uint32_t kDensityStrides[VoScatterPlot::kDensityCount] = {1, 2, 3, 4, 5, 10, 20, 100};

const char* kSymbolNames[VoScatterPlot::kSymbolCount] = {
    "Cross",           "Plus",           "Minus",           "Slash",          "Backslash",
    "Bar",             "Star",           "Y",               "Lightning",      "Well",
    "Circle line",     "Square line",    "Diamond line",    "Triangle line",  "Rhombus line",
    "Hourglass line",  "Satellite line", "Pine tree line",  "Caution line",   "Ship line",
    "Circle filled",   "Square filled",  "Diamond filled",  "Triangle filled", "Rhombus filled",
    "Hourglass filled", "Satellite filled", "Pine tree filled", "Caution filled", "Ship filled",
    "Square (very fast)"};

const char* kDensityNames[VoScatterPlot::kDensityCount] = {
    "100% (all points)",     "50% (every other point)", "33% (every 3rd point)", "25% (every 4th point)",
    "20% (every 5th point)", "10% (every 10th point)",  "5%  (every 20th point)", "1%  (every 100th point)"};

const char* kMarkerSizeNames[VoScatterPlot::kMarkerSizeCount] = {"5x5", "7x7", "9x9"};
const char* kColorMethodNames[] = {"Fixed", "By data"};
const char* kJustificationNames[] = {"Left", "Right", "Center"};

// Label offsets and sizes the rows accept.
constexpr double kMaxOffset = 1000.0;
constexpr double kMaxLabelSize = 1000.0;
constexpr double kMaxLineWidth = 16.0;

// The stored form gates: the two line flags and the density from 106, float
// sizes from 110, the label formats from 119, the label field from 121.
constexpr int kDensityVersion = 106;
constexpr int kFloatSizeVersion = 110;
constexpr int kLabelFormatVersion = 119;
constexpr int kLabelFieldVersion = 121;

// The TextFormat floats the labels use.
enum LabelFloat { XOffsetFloat = 0, YOffsetFloat = 1, LeaderWidthFloat = 2 };

// Candidates of a point set: every stride-th point. Double coordinates and
// values, the usual kind, are read straight.
class PointSymbols {
public:
    PointSymbols(const VdPoints& points, uint32_t stride, const uint32_t* component)
        : m_Points(points), m_Stride(stride), m_Count(points.VertexCount()),
          m_Component(component ? *component : 0), m_Blankable(component && points.HasBlanks()),
          m_Matrix(points.HasUserTransform() ? &points.GetUserTransform() : nullptr),
          m_Coords(points.GetCoordType() == shr::Double ? static_cast<const double*>(points.GetCoordPtr()) : nullptr),
          m_Values(points.DataType() == shr::Double && points.ComponentCount() > 0
                       ? static_cast<const double*>(points.DataPtr())
                       : nullptr),
          m_Components(points.ComponentCount())
    {
    }
    size_t Count() const { return m_Count == 0 ? 0 : (m_Count - 1) / m_Stride + 1; }
    bool Blankable() const { return m_Blankable; }
    bool Blank(size_t n) const { return m_Points.IsBlank(Point(n), m_Component); }
    shr::Vec3d Position(size_t n) const
    {
        const size_t at = 3 * size_t(Point(n));
        shr::Vec3d uvw;
        if (m_Coords) {
            uvw = shr::Vec3d(m_Coords[at], m_Coords[at + 1], m_Coords[at + 2]);
        } else {
            const void* coords = m_Points.GetCoordPtr();
            const shr::PrimType type = m_Points.GetCoordType();
            uvw = shr::Vec3d(ElementAt(coords, type, at), ElementAt(coords, type, at + 1),
                             ElementAt(coords, type, at + 2));
        }
        return m_Matrix ? uvw * *m_Matrix : uvw;
    }
    double Value(size_t n) const
    {
        const size_t at = size_t(Point(n)) * m_Components + m_Component;
        return m_Values ? m_Values[at] : ElementAt(m_Points.DataPtr(), m_Points.DataType(), at);
    }

private:
    unsigned int Point(size_t n) const { return static_cast<unsigned int>(n * m_Stride); }

    const VdPoints& m_Points;
    uint32_t m_Stride;
    size_t m_Count;
    unsigned int m_Component;
    bool m_Blankable;
    const shr::Mat4d* m_Matrix;
    const double* m_Coords;
    const double* m_Values;
    size_t m_Components;
};

// Candidates of a lattice: every stride-th node in node order.
class NodeSymbols {
public:
    NodeSymbols(const VdLattice& lattice, uint32_t stride, const uint32_t* component)
        : m_Lattice(lattice), m_Stride(stride), m_Count(lattice.VertexCount()),
          m_Component(component ? *component : 0), m_Blankable(component && lattice.HasBlanks())
    {
    }
    size_t Count() const { return m_Count == 0 ? 0 : (m_Count - 1) / m_Stride + 1; }
    bool Blankable() const { return m_Blankable; }
    bool Blank(size_t n) const { return m_Lattice.IsBlank(Node(n), m_Component); }
    shr::Vec3d Position(size_t n) const { return m_Lattice.IndexToXYZ(Node(n)); }
    double Value(size_t n) const
    {
        const size_t at = size_t(Node(n)) * m_Lattice.ComponentCount() + m_Component;
        return ElementAt(m_Lattice.DataPtr(), m_Lattice.DataType(), at);
    }
    uint32_t Node(size_t n) const { return static_cast<uint32_t>(n * m_Stride); }

private:
    const VdLattice& m_Lattice;
    uint32_t m_Stride;
    size_t m_Count;
    unsigned int m_Component;
    bool m_Blankable;
};

} // namespace ScatterPlotPrivate

using namespace ScatterPlotPrivate;

VoScatterPlot::VoScatterPlot()
    : m_FixedColor(shr::Color4b::Red), m_ColorMap(nullptr, 0, 256), m_Legend(&m_ColorMap), m_LabelFormat(2, 7),
      m_LabelsName("Labels"), m_Symbols(std::make_unique<VgVertexData>())
{
    AddInput("Input Data", PortPoints | PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoScatterPlot::~VoScatterPlot() = default;

uint32_t VoScatterPlot::DensityStride(uint32_t density)
{
    if (density >= kDensityCount)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 2);
    return kDensityStrides[density];
}

// ---- input -------------------------------------------------------------------------------

const VdVertexData* VoScatterPlot::InputData() const
{
    return static_cast<const VdVertexData*>(GetInputData(0, VdVertexData::GetClassTypeId()));
}

const VdPoints* VoScatterPlot::InputPoints() const
{
    return dynamic_cast<const VdPoints*>(InputData());
}

bool VoScatterPlot::GetInputRange(double& min, double& max) const
{
    if (!GetInputData(0))
        return false;
    const VdVertexData* data = InputData();
    if (!data)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid input data.");
    if (m_ColorComponent >= data->ComponentCount())
        return false;
    std::tie(min, max) = data->DataMinMax(m_ColorComponent);
    return true;
}

void VoScatterPlot::UpdateColorMap()
{
    double min = 0.0, max = 0.0;
    if (GetInputRange(min, max))
        m_ColorMap.SetDataLimits(min, max);
}

void VoScatterPlot::OnInputChanged(int, bool)
{
    const VdVertexData* data = GetInputData(0) ? InputData() : nullptr;
    if (GetInputData(0) && !data)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid input data.");
    if (data && data->ComponentCount() > 0)
        m_ColorComponent = std::min(m_ColorComponent, data->ComponentCount() - 1);
    UpdateColorMap();
}

std::vector<shr::GString> VoScatterPlot::CollectLabelFields(const VdVertexData& data)
{
    std::vector<shr::GString> fields = CollectComponents(data);
    const auto* points = dynamic_cast<const VdPoints*>(&data);
    if (points && !points->labels_empty())
        fields.push_back("Labels");
    for (const char* name : {"X", "Y", "Z", "XYZ"})
        fields.push_back(name);
    return fields;
}

std::unique_ptr<LabelExtractor> VoScatterPlot::ConstructLabelExtractor(const VdPoints& points) const
{
    if (m_LabelField.empty())
        return nullptr;
    const shr::StringEquivalent same;
    if (same(m_LabelField, m_LabelsName))
        return std::make_unique<TextLabelExtractor>(points, m_LabelFormat);
    if (same(m_LabelField, "X"))
        return std::make_unique<PositionLabelExtractor<0>>(points, m_LabelFormat);
    if (same(m_LabelField, "Y"))
        return std::make_unique<PositionLabelExtractor<1>>(points, m_LabelFormat);
    if (same(m_LabelField, "Z"))
        return std::make_unique<PositionLabelExtractor<2>>(points, m_LabelFormat);
    if (same(m_LabelField, "XYZ"))
        return std::make_unique<PositionLabelExtractor<3>>(points, m_LabelFormat);
    // "Component 3" (or "3") counts from 1; 0 names no component.
    const unsigned int number = ParseComponentNames({m_LabelField}).front();
    if (number == 0 || number > points.ComponentCount())
        return nullptr;
    return std::make_unique<ComponentLabelExtractor>(points, m_LabelFormat, number - 1);
}

// ---- execution -----------------------------------------------------------------------------

VoModule::ModuleStatus VoScatterPlot::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    // The symbols keep their memory and size from one run to the next: each
    // drawing sizes them anew, and a run that draws none empties them.
    if (!GetInputData(0, VdSpatialData::GetClassTypeId())) {
        m_Symbols->clear();
        return ModuleOk;
    }
    if (m_ColorMethod == Fixed)
        renderer->setBaseColor(m_FixedColor);
    const uint32_t stride = DensityStride(m_Density);
    ModuleStatus status = ModuleOk;
    if (const VdPoints* points = InputPoints()) {
        status = Render(*renderer, *points, stride);
        if (m_ShowLabels && status == ModuleOk)
            RenderLabels(*renderer, *points, stride);
    } else if (const auto* lattice = dynamic_cast<const VdLattice*>(InputData())) {
        status = Render(*renderer, *lattice, stride);
    } else {
        m_Symbols->clear();
    }
    if (status == ModuleOk && m_ColorMethod == ByData)
        m_Legend.Execute(*renderer);
    return status;
}

bool VoScatterPlot::ColorsByData(const VdVertexData& data) const
{
    return m_ColorMethod == ByData && m_ColorComponent < data.ComponentCount();
}

VoModule::ModuleStatus VoScatterPlot::Render(VgRenderer& renderer, const VdPoints& points, uint32_t stride)
{
    if (points.VertexCount() == 0) {
        m_Symbols->clear();
        return ModuleOk;
    }
    if (m_ColorMethod == ByData && points.ComponentCount() == 0) {
        m_Symbols->clear();
        CORE_THROW(36);
    }
    const bool byData = ColorsByData(points);
    const PointSymbols source(points, stride, byData ? &m_ColorComponent : nullptr);
    const ColorLookup colors(m_ColorMap);
    CollectSymbols(source, byData ? &colors : nullptr, *m_Symbols, nullptr);
    m_Symbols->materialBinding = byData ? VgVertexData::PER_VERTEX : VgVertexData::OVERALL;
    DrawSymbols(renderer);
    if (m_ShowLines) {
        renderer.setLineWidth(m_LineWidth);
        renderer.drawLineStrip(*m_Symbols);
    }
    return ModuleOk;
}

// Nodes in node order; with lines, each row of nodes along I is one strip.
VoModule::ModuleStatus VoScatterPlot::Render(VgRenderer& renderer, const VdLattice& lattice, uint32_t stride)
{
    if (lattice.VertexCount() == 0) {
        m_Symbols->clear();
        return ModuleOk;
    }
    const bool byData = ColorsByData(lattice);
    const NodeSymbols source(lattice, stride, byData ? &m_ColorComponent : nullptr);
    std::vector<size_t> kept;
    const ColorLookup colors(m_ColorMap);
    CollectSymbols(source, byData ? &colors : nullptr, *m_Symbols, m_ShowLines ? &kept : nullptr);
    m_Symbols->materialBinding = byData ? VgVertexData::PER_VERTEX : VgVertexData::OVERALL;
    DrawSymbols(renderer);
    if (!m_ShowLines)
        return ModuleOk;
    std::vector<int> strips;
    const uint32_t rowLength = lattice.GetDims()[0];
    for (size_t v = 0; v < kept.size(); ++v) {
        const bool newRow = v == 0 || source.Node(kept[v]) / rowLength != source.Node(kept[v - 1]) / rowLength;
        if (newRow)
            strips.push_back(0);
        ++strips.back();
    }
    renderer.setLineWidth(m_LineWidth);
    renderer.drawLineStripSet(*m_Symbols, strips.data(), strips.size());
    return ModuleOk;
}

// The fast square is a point of the point size; other symbols are markers of
// 5, 7 or 9 pixels.
void VoScatterPlot::DrawSymbols(VgRenderer& renderer) const
{
    if (m_Symbol == kFastSquare)
        renderer.drawMarkerSet(*m_Symbols, VgRenderer::POINT, double(m_PointSize));
    else
        renderer.drawMarkerSet(*m_Symbols, static_cast<VgRenderer::MarkerType>(m_Symbol),
                               m_MarkerSize * 2.0 + 5.0);
}

void VoScatterPlot::RenderLabels(VgRenderer& renderer, const VdPoints& points, uint32_t stride)
{
    const std::unique_ptr<LabelExtractor> extractor = ConstructLabelExtractor(points);
    if (!extractor)
        return;
    if (!m_TextOffset)
        m_TextOffset = InvSmartPtr<TextOffsetNode>(new TextOffsetNode);
    m_TextOffset->xOffset = m_TextFormat.m_Floats[XOffsetFloat];
    m_TextOffset->yOffset = m_TextFormat.m_Floats[YOffsetFloat];
    const VgStateScope state(renderer, VgRenderer::SEPARATOR);
    InvSmartPtr<LeaderLineNode> leaders;
    if (m_LeaderLines) {
        leaders = InvSmartPtr<LeaderLineNode>(new LeaderLineNode);
        leaders->color = m_TextFormat.m_Color;
        leaders->width = m_TextFormat.m_Floats[LeaderWidthFloat];
        leaders->xOffset = m_TextOffset->xOffset;
        leaders->yOffset = m_TextOffset->yOffset;
        renderer.addInventorNode(leaders.get());
    }
    renderer.addInventorNode(m_TextOffset.get());
    renderer.setFont(m_TextFormat.m_Face.c_str(), m_TextFormat.m_Height);
    renderer.setBaseColor(m_TextFormat.m_Color);
    const bool byData = ColorsByData(points) && m_LabelColorMethod == ByData;
    const auto justification = static_cast<VgRenderer::Justification>(
        std::clamp(int(m_TextFormat.m_Justification), 0, 2) + 1);
    const size_t count = points.VertexCount();
    for (size_t i = 0; i < count; i += stride) {
        if (byData) {
            if (points.IsBlank(unsigned(i), m_ColorComponent))
                continue;
            const double value = ElementAt(points.DataPtr(), points.DataType(),
                                           i * points.ComponentCount() + m_ColorComponent);
            renderer.setBaseColor(m_ColorMap.DatToColor(value));
        }
        const shr::GString text = extractor->Label(unsigned(i));
        if (text.empty())
            continue;
        const shr::Vec3d position = PointPosition(points, i);
        renderer.drawText2(position, text.c_str(), justification, false);
        if (leaders) {
            SbVec3f shifted;
            renderer.ConvertVertex(position, shifted);
            leaders->points.push_back(shifted);
        }
    }
}

// ---- properties ----------------------------------------------------------------------------

void VoScatterPlot::UpdatePropertiesImpl(VbPropList& list)
{
    const VoModule* source = GetInputConnection(0, 0);
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    list.AddCombo(Id(), shr::GString(kPrefix) + "Density", IdDensity, "Density",
                  "The share of the points that is drawn.", m_Density, kDensityCount, kDensityNames, 0);
    list.Outdent();
    AddSymbolRows(list);
    AddLineRows(list);
    AddLabelRows(list);
    m_Legend.GetProperties(Id(), list, kPrefix, IdLegend, "Legend", "Legend");
    UpdateColorMethod(list);
}

void VoScatterPlot::AddSymbolRows(VbPropList& list)
{
    const VdVertexData* data = GetInputData(0) ? InputData() : nullptr;
    list.AddHeader(Id(), IdSymbols, "Symbols", "Symbols", "", "");
    list.Indent();
    list.AddCombo(Id(), shr::GString(kPrefix) + "Marker", IdMarker, "Symbol", "The symbol drawn at each point.",
                  m_Symbol, kSymbolCount, kSymbolNames, 0);
    OnSetMarker(list);
    list.AddCombo(Id(), shr::GString(kPrefix) + "ColorMethod", IdColorMethod, "Color method",
                  "One color for every symbol, or a color from a data component.", m_ColorMethod, 2,
                  kColorMethodNames, 0);
    list.AddColor(Id(), shr::GString(kPrefix) + "ColorFixed", IdFixedColor, "Color", "The color of every symbol.",
                  m_FixedColor);
    list.AddCombo(Id(), shr::GString(kPrefix) + "ColorComponent", IdColorComponent, "Color component",
                  "The data component that colors the symbols.", m_ColorComponent,
                  data ? CollectComponents(*data) : std::vector<shr::GString>(), 0);
    const bool histogram = data && m_ColorComponent < data->ComponentCount();
    list.AddColorMap(Id(), shr::GString(kPrefix) + "Colormap", IdColormap, "Colormap",
                     "Converts the component's values to colors.", m_ColorMap,
                     histogram ? &data->DataHistogram(m_ColorComponent) : nullptr, false);
    list.Outdent();
}

void VoScatterPlot::AddLineRows(VbPropList& list)
{
    list.AddHeader(Id(), IdLines, "Lines", "Lines", "", "");
    list.Indent();
    list.AddCheck(Id(), shr::GString(kPrefix) + "ShowLines", IdShowLines, "Show lines",
                  "Join the drawn points in their order with lines.", m_ShowLines);
    list.AddDouble(Id(), shr::GString(kPrefix) + "LineWidth", IdLineWidth, "Line width", "In pixels.", m_LineWidth,
                   ValCheckMinMax, 0.0, kMaxLineWidth, 1.0);
    list.Enabled(IdLineWidth, m_ShowLines);
    list.Outdent();
}

void VoScatterPlot::AddLabelRows(VbPropList& list)
{
    const VdVertexData* data = GetInputData(0) ? InputData() : nullptr;
    const auto key = [](const char* suffix) { return shr::GString(kPrefix) + suffix; };
    list.AddHeader(Id(), IdLabels, "Labels", "Labels", "", "Text beside the points of a point set.");
    list.Expand(IdLabels, false);
    list.Indent();
    list.AddCheck(Id(), key("ShowLabels"), IdShowLabels, "Show labels", "Label the drawn points.", m_ShowLabels);
    list.AddStringCombo(Id(), key("LabelField"), IdLabelField, "Label field",
                        "What each label shows: a component's value, the points' own labels, or coordinates.",
                        m_LabelField, data ? CollectLabelFields(*data) : std::vector<shr::GString>(), 0);
    list.AddFont(Id(), key("Font"), IdLabelFont, "Font", "The face of the labels.", m_TextFormat.m_Face);
    list.AddDouble(Id(), key("LabelSize"), IdLabelSize, "Label size", "In points.", m_TextFormat.m_Height,
                   ValCheckMinMax, 1.0, kMaxLabelSize, 1.0);
    list.AddColor(Id(), key("LabelColor"), IdLabelColor, "Label color", "", m_TextFormat.m_Color);
    list.AddCombo(Id(), key("LabelColorMethod"), IdLabelColorMethod, "Label color method",
                  "'By data' colors each label as its symbol.", m_LabelColorMethod, 2, kColorMethodNames, 0);
    list.AddCombo(Id(), key("LabelJustification"), IdLabelJustification, "Justification",
                  "Where the label stands against its point.", unsigned(m_TextFormat.m_Justification), 3,
                  kJustificationNames, 0);
    list.AddDouble(Id(), key("LabelXOffset"), IdLabelXOffset, "X offset (pixels)", "To the right of the point.",
                   m_TextFormat.m_Floats[XOffsetFloat], ValCheckMinMax, -kMaxOffset, kMaxOffset, 1.0);
    list.AddDouble(Id(), key("LabelYOffset"), IdLabelYOffset, "Y offset (pixels)", "Above the point.",
                   m_TextFormat.m_Floats[YOffsetFloat], ValCheckMinMax, -kMaxOffset, kMaxOffset, 1.0);
    list.AddCheck(Id(), key("LeaderLines"), IdLeaderLines, "Leader lines",
                  "Draw a line from each point to its label.", m_LeaderLines);
    list.AddDouble(Id(), key("LeaderLineWidth"), IdLeaderLineWidth, "Leader line width", "In pixels.",
                   m_TextFormat.m_Floats[LeaderWidthFloat], ValCheckMinMax, 0.0, kMaxLineWidth, 1.0);
    m_LabelFormat.GetProperties(Id(), list, kPrefix, IdLabelFormat);
    list.Outdent();
    UpdateLabels(list);
}

void VoScatterPlot::OnSetMarker(VbPropList& list)
{
    for (const int id : {IdPointSize, IdMarkerSize})
        if (list.IsProp(id))
            list.Remove(id);
    list.SetInsertionPos(IdSymbols, IdMarker, 1);
    if (m_Symbol == kFastSquare)
        list.AddDouble(Id(), shr::GString(kPrefix) + "SizePoint", IdPointSize, "Size (points)",
                       "The side of the square.", m_PointSize, ValCheckMinMax, 0.0, kMaxPointSize, 1.0);
    else
        list.AddCombo(Id(), shr::GString(kPrefix) + "SizeMarker", IdMarkerSize, "Size (pixels)",
                      "The size of the symbol.", m_MarkerSize, kMarkerSizeCount, kMarkerSizeNames, 0);
    list.SetInsertionPos(-1, -1, 0);
}

void VoScatterPlot::UpdateColorMethod(VbPropList& list)
{
    const bool byData = m_ColorMethod == ByData;
    list.Visible(IdFixedColor, !byData);
    list.Visible(IdColorComponent, byData);
    list.Visible(IdColormap, byData);
    m_Legend.Enabled(list, IdLegend, byData);
    UpdateLabelColorMethod(list);
}

void VoScatterPlot::UpdateLabelColorMethod(VbPropList& list)
{
    if (list.IsProp(IdLabelColorMethod))
        list.Enabled(IdLabelColorMethod, m_ShowLabels && m_ColorMethod == ByData);
    if (list.IsProp(IdLabelColor))
        list.Enabled(IdLabelColor, m_ShowLabels && !(m_ColorMethod == ByData && m_LabelColorMethod == ByData));
}

void VoScatterPlot::UpdateLabels(VbPropList& list)
{
    for (const int id : {IdLabelField, IdLabelFont, IdLabelSize, IdLabelJustification, IdLabelXOffset,
                         IdLabelYOffset, IdLeaderLines})
        list.Enabled(id, m_ShowLabels);
    list.Enabled(IdLeaderLineWidth, m_ShowLabels && m_LeaderLines);
    m_LabelFormat.EnableProperties(list, IdLabelFormat, m_ShowLabels);
    UpdateLabelColorMethod(list);
}

void VoScatterPlot::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id > IdLegend && id < IdLegend + VbLegend::RowCount) {
        m_Legend.PropertyEvent(Id(), list, event, IdLegend);
        SetModified();
        return;
    }
    if (id > IdLabelFormat && id <= IdLabelFormat + 4) {
        m_LabelFormat.PropertyEvent(Id(), list, event, IdLabelFormat);
        SetModified();
        return;
    }
    switch (id) {
    case IdMarker:
        RowReader::Choice(list, id, kSymbolCount, m_Symbol);
        OnSetMarker(list);
        break;
    case IdPointSize: RowReader::Clamped(list, id, 0.0, kMaxPointSize, m_PointSize); break;
    case IdMarkerSize: RowReader::Choice(list, id, kMarkerSizeCount, m_MarkerSize); break;
    case IdLineWidth: RowReader::Clamped(list, id, 0.0, kMaxLineWidth, m_LineWidth); break;
    case IdColorMethod:
        RowReader::Choice(list, id, 2, m_ColorMethod);
        UpdateColorMethod(list);
        break;
    case IdFixedColor: list.GetValue(id, m_FixedColor); break;
    case IdColorComponent: {
        const VdVertexData* data = GetInputData(0) ? InputData() : nullptr;
        RowReader::Choice(list, id, data ? data->ComponentCount() : 0, m_ColorComponent);
        UpdateColorMap();
        break;
    }
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorMap();
        break;
    case IdDensity: RowReader::Choice(list, id, kDensityCount, m_Density); break;
    case IdShowLines:
        list.GetValue(id, m_ShowLines);
        list.Enabled(IdLineWidth, m_ShowLines);
        break;
    default:
        if (!LabelPropertyEvent(list, id))
            return;
    }
    SetModified();
}

bool VoScatterPlot::LabelPropertyEvent(VbPropList& list, int id)
{
    float* floats = m_TextFormat.m_Floats;
    switch (id) {
    case IdShowLabels:
        list.GetValue(id, m_ShowLabels);
        UpdateLabels(list);
        return true;
    case IdLabelField: list.GetValue(id, m_LabelField); return true;
    case IdLabelFont: RowReader::Face(list, id, m_TextFormat.m_Face); return true;
    case IdLabelSize: RowReader::Clamped(list, id, 1.0, kMaxLabelSize, m_TextFormat.m_Height); return true;
    case IdLabelColor: list.GetValue(id, m_TextFormat.m_Color); return true;
    case IdLabelColorMethod:
        RowReader::Choice(list, id, 2, m_LabelColorMethod);
        UpdateLabelColorMethod(list);
        return true;
    case IdLabelJustification: {
        uint32_t justification = uint32_t(m_TextFormat.m_Justification);
        RowReader::Choice(list, id, 3, justification);
        m_TextFormat.m_Justification = static_cast<TextFormat::Justification>(justification);
        return true;
    }
    case IdLabelXOffset:
        RowReader::Clamped(list, id, -kMaxOffset, kMaxOffset, floats[XOffsetFloat]);
        return true;
    case IdLabelYOffset:
        RowReader::Clamped(list, id, -kMaxOffset, kMaxOffset, floats[YOffsetFloat]);
        return true;
    case IdLeaderLines:
        list.GetValue(id, m_LeaderLines);
        list.Enabled(IdLeaderLineWidth, m_ShowLabels && m_LeaderLines);
        return true;
    case IdLeaderLineWidth:
        RowReader::Clamped(list, id, 0.0, kMaxLineWidth, floats[LeaderWidthFloat]);
        return true;
    default: return false;
    }
}

// ---- persistence ---------------------------------------------------------------------------

namespace ScatterPlotPrivate {

// The stored fields, read whole before any is taken over.
struct StoredFields {
    uint32_t symbol = 0, markerSize = 0, colorMethod = 0, labelColorMethod = 0, component = 0, density = 0;
    float pointSize = 0.0f, lineWidth = 0.0f;
    shr::Color4b fixedColor;
    bool showLabels = false, showLines = false, leaderLines = false;
    VbColorMap colorMap;
    VbLegend legend;
    TextFormat text;
    VbLabelFormat labelFormat{2, 7};
    shr::GString labelField;
};

// A size stored as an int in documents before 110 (rounded when written so),
// as a float since.
void TransferSize(shr::Archive& archive, float& size)
{
    if (archive.GetVersion() >= kFloatSizeVersion) {
        archive.Transfer(size);
        return;
    }
    int32_t legacy = static_cast<int32_t>(std::lround(std::clamp(size, -1e9f, 1e9f)));
    archive.Transfer(legacy);
    size = float(legacy);
}

// The archive's document version decides what is written and read.
bool Has(const shr::Archive& archive, int version) { return archive.GetVersion() >= version; }

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.symbol);
    TransferSize(archive, f.pointSize);
    archive.Transfer(f.markerSize);
    archive.Transfer(f.colorMethod);
    archive.Transfer(f.labelColorMethod);
    archive.Transfer(f.fixedColor);
    archive.Transfer(f.component);
    archive.Transfer(f.showLabels);
    if (Has(archive, kDensityVersion)) {
        archive.Transfer(f.density);
        archive.Transfer(f.showLines);
        archive.Transfer(f.leaderLines);
    }
    TransferSize(archive, f.lineWidth);
    f.colorMap.Serialize(archive);
    f.legend.Serialize(archive);
    if (Has(archive, kLabelFormatVersion)) {
        f.text.Serialize(archive);
        f.labelFormat.Serialize(archive);
    }
    if (Has(archive, kLabelFieldVersion))
        archive.Transfer(f.labelField);
}

} // namespace ScatterPlotPrivate

void VoScatterPlot::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f{m_Symbol,     m_MarkerSize, m_ColorMethod, m_LabelColorMethod, m_ColorComponent,
                   m_Density,    m_PointSize,  m_LineWidth,   m_FixedColor,       m_ShowLabels,
                   m_ShowLines,  m_LeaderLines, m_ColorMap,   m_Legend,           m_TextFormat,
                   m_LabelFormat, m_LabelField};
    TransferFields(archive, f);
    if (archive.IsStoring())
        return;
    if (f.symbol >= kSymbolCount || f.markerSize >= kMarkerSizeCount || f.colorMethod > ByData ||
        f.labelColorMethod > ByData)
        archive.ThrowFormatError("scatter plot symbol %u, marker size %u or colour method %u/%u out of range",
                                 f.symbol, f.markerSize, f.colorMethod, f.labelColorMethod);
    archive.CheckRange(f.density, 0u, kDensityCount - 1u, "the scatter plot's density");
    archive.CheckRange(f.pointSize, 0.0f, float(kMaxPointSize), "the scatter plot's point size");
    archive.CheckRange(f.lineWidth, 0.0f, float(kMaxLineWidth), "the scatter plot's line width");
    archive.CheckRange(f.text.m_Height, 1.0, kMaxLabelSize, "the scatter plot's label size");
    archive.CheckRange(f.text.m_Floats[XOffsetFloat], -kMaxOffset, kMaxOffset, "the scatter plot's label offset");
    archive.CheckRange(f.text.m_Floats[YOffsetFloat], -kMaxOffset, kMaxOffset, "the scatter plot's label offset");
    archive.CheckRange(f.text.m_Floats[LeaderWidthFloat], 0.0, kMaxLineWidth, "the scatter plot's leader width");
    m_Symbol = f.symbol;
    m_PointSize = f.pointSize;
    m_MarkerSize = f.markerSize;
    m_ColorMethod = f.colorMethod;
    m_LabelColorMethod = f.labelColorMethod;
    m_FixedColor = f.fixedColor;
    m_ColorComponent = f.component;
    m_ShowLabels = f.showLabels;
    m_Density = f.density;
    m_ShowLines = f.showLines;
    m_LeaderLines = f.leaderLines;
    m_LineWidth = f.lineWidth;
    m_ColorMap = f.colorMap;
    m_Legend = f.legend;
    m_Legend.SetColorMap(&m_ColorMap);
    m_TextFormat = f.text;
    m_LabelFormat = f.labelFormat;
    m_LabelField = f.labelField;
}

} // namespace core
