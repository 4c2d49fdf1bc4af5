#include "core/visual/VoVectorPlot.h"

#include "core/data/LatticeUtility.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/PointSizes.h"
#include "core/visual/RowReader.h"
#include "core/visual/VectorReader.h"
#include "shr/Archive.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoVectorPlot, VoModule)
const VbModuleInfo VoVectorPlot::s_ModuleInfo("Graphics Output\\VectorPlot", VoVectorPlot::GetClassTypeId(),
                                              PortPoints | PortUniformLattice | PortRectilinearLattice |
                                                  PortCurvilinearLattice,
                                              PortGeometry, "Displays a vector plot from a vector lattice", 28);

namespace VoVectorPlotPrivate {

const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const unsigned char kInt = VbIntPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"VectorPlotOrientation", VoVectorPlot::IdOrientation, kUnsigned},
    {"VectorPlotSlice", VoVectorPlot::IdSlice, kInt},
    {"VectorPlotFrequency", VoVectorPlot::IdFrequency, kInt},
    {"VectorPlotVectorStyle", VoVectorPlot::IdVectorStyle, kUnsigned},
    {"VectorPlotScaleMethod", VoVectorPlot::IdScaleMethod, kUnsigned},
    {"VectorPlotMinScale", VoVectorPlot::IdMinScale, kDouble},
    {"VectorPlotMaxScale", VoVectorPlot::IdMaxScale, kDouble},
    {"VectorPlotHeadScale", VoVectorPlot::IdHeadScale, kDouble},
    {"VectorPlotDotSize", VoVectorPlot::IdDotSize, kDouble},
    {"VectorPlotLineWidth", VoVectorPlot::IdLineWidth, kDouble},
    {"VectorPlotReverse", VoVectorPlot::IdReverse, VbBoolPropertyConverter::Key()},
    {"VectorPlotColorMethod", VoVectorPlot::IdColorMethod, kUnsigned},
    {"VectorPlotColor", VoVectorPlot::IdColor, VbColorPropertyConverter::Key()},
    {"VectorPlotColormap", VoVectorPlot::IdColormap, VbColorMapPropertyConverter::Key()},
    {"VectorPlotColorComponent", VoVectorPlot::IdColorComponent, kUnsigned},
};
const char* const kPrefix = "VectorPlot";
const VbLegend::KeyRegistrar s_LegendKeys(kPrefix, VoVectorPlot::IdLegend);

const char* const kOrientationNames[] = {"XY plane", "XZ plane", "YZ plane", "All"};
const char* const kStyleNames[] = {"Line", "Arrow 2", "Arrow 4", "Arrow cross", "Arrow solid", "Fade"};
const char* const kScaleNames[] = {"Linear", "Square root", "Logarithmic"};
const char* const kColorMethodNames[] = {"Fixed", "Magnitude", "Scalar"};

// The lattice axis that a plane orientation holds at the slice: k for XY, j
// for XZ, i for YZ.
const int kFixedAxis[3] = {2, 1, 0};

// Magnitudes up to this are no direction; a symbol shorter than ten times it is
// not drawn (the single precision epsilon).
constexpr double kTiny = 1.1920928955078125e-7;

// The strip indices of the two solid heads over tip and head points 1 to 4.
const int kCrossStrips[] = {0, 1, 2, -1, 0, 3, 4};
const int kSolidStrips[] = {0, 1, 3, 2, -1, 0, 4, 1, 2};

// The tip of a faded vector: each of red, green and blue taken towards dark.
shr::Color4b FadedColor(const shr::Color4b& c)
{
    return shr::Color4b(static_cast<unsigned char>((c.r + 2) / 4), static_cast<unsigned char>((c.g + 2) / 4),
                        static_cast<unsigned char>((c.b + 2) / 4), c.a);
}

// Nodes sampled along one axis: first to last by step.
struct AxisRange {
    uint64_t first = 0, last = 0, step = 1;
    uint64_t Count() const { return (last - first) / step + 1; }
};

// The stored fields, read whole before the module takes any of them.
struct StoredFields {
    bool firstInput = true, reverse = false;
    uint32_t orientation = 0, slice = 0, frequency = 1, style = 0, scaleMethod = 0, colorMethod = 0, reserved = 0;
    double headScale = 1.0;
    float lineWidth = 1.0f, dotSize = 2.0f;
    uint32_t colorComponent = 0;
    shr::Color4b fixedColor;
    double magnitudeMin = 0.0, magnitudeMax = 1.0, minScale = 1.0, maxScale = 1.0, baseLength = 1.0;
    VbColorMap colorMap;
    VbLegend legend;
};

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.firstInput);
    archive.Transfer(f.reverse);
    for (uint32_t* value : {&f.orientation, &f.slice, &f.frequency, &f.style, &f.scaleMethod, &f.colorMethod,
                            &f.reserved})
        archive.Transfer(*value);
    archive.Transfer(f.headScale);
    TransferPointSizes(archive, f.lineWidth, f.dotSize);
    archive.Transfer(f.colorComponent);
    archive.Transfer(f.fixedColor);
    for (double* value : {&f.magnitudeMin, &f.magnitudeMax, &f.minScale, &f.maxScale, &f.baseLength})
        archive.Transfer(*value);
    f.colorMap.Serialize(archive);
    f.legend.Serialize(archive);
}

bool Within(double value, double lo, double hi) { return value >= lo && value <= hi; }

// What the rows could never have set is a damaged document.
void CheckLoaded(const shr::Archive& archive, const StoredFields& f)
{
    if (f.orientation > VoVectorPlot::AllNodes || f.style > VoVectorPlot::Fade ||
        f.scaleMethod > VoVectorPlot::Logarithmic || f.colorMethod > VoVectorPlot::Scalar)
        archive.ThrowFormatError("vector plot choice out of range (%u %u %u %u)", f.orientation, f.style,
                                 f.scaleMethod, f.colorMethod);
    if (f.frequency < 1 || f.frequency > INT_MAX || f.slice >= INT_MAX)
        archive.ThrowFormatError("vector plot frequency %u or slice %u out of range", f.frequency, f.slice);
    if (!Within(f.headScale, 0.0, VoVectorPlot::MaxScale) || !Within(f.minScale, 0.0, VoVectorPlot::MaxScale) ||
        !Within(f.maxScale, 0.0, VoVectorPlot::MaxScale) || !Within(f.lineWidth, 0.0, VoVectorPlot::MaxLineWidth) ||
        !Within(f.dotSize, 0.0, VoVectorPlot::MaxDotSize))
        archive.ThrowFormatError("vector plot scale or size out of range");
}

} // namespace VoVectorPlotPrivate

using namespace VoVectorPlotPrivate;

VoVectorPlot::VoVectorPlot() : m_ColorMap(nullptr, 0, 256), m_Legend(&m_ColorMap)
{
    AddInput("Input Data", PortPoints | PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddInput("Scalar Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoVectorPlot::~VoVectorPlot() = default;

bool VoVectorPlot::CompatibleImpl(int, const VoModule& source, int output, bool) const
{
    return output >= 0 && source.GetOutput(static_cast<size_t>(output)) != nullptr;
}

const VdLattice* VoVectorPlot::InputLattice() const
{
    return static_cast<const VdLattice*>(GetInputData(0, VdLattice::GetClassTypeId()));
}

const VdPoints* VoVectorPlot::InputPoints() const
{
    return static_cast<const VdPoints*>(GetInputData(0, VdPoints::GetClassTypeId()));
}

const VdLattice* VoVectorPlot::InputColorLattice() const
{
    return static_cast<const VdLattice*>(GetInputData(1, VdLattice::GetClassTypeId()));
}

// ---- input and defaults ----------------------------------------------------------------------

void VoVectorPlot::OnInputChanged(int input, bool)
{
    if (input == 0) {
        const VdLattice* lattice = InputLattice();
        const VdPoints* points = InputPoints();
        if (lattice || points) {
            const double diagonal = (lattice ? lattice->GetXYZBounds() : points->GetXYZBounds()).Diagonal() / 10.0;
            m_BaseLength = diagonal > 0.0 ? diagonal : 1.0;
            ComputeMagnitudeLimits();
            if (m_FirstInput) {
                CalcDefaults();
                m_FirstInput = false;
            }
        }
    } else if (input == 1) {
        if (const VdLattice* scalar = InputColorLattice())
            m_ColorComponent = std::min(m_ColorComponent, std::max(scalar->ComponentCount(), 1u) - 1);
    }
    UpdateColorLimits();
}

void VoVectorPlot::CalcDefaults()
{
    if (const VdLattice* lattice = InputLattice()) {
        const unsigned int* dims = lattice->GetDims();
        const double steps = std::hypot(std::hypot(double(dims[0]), double(dims[1])), double(dims[2])) / 10.0;
        m_Frequency = std::max(1u, static_cast<uint32_t>(steps));
    } else if (const VdPoints* points = InputPoints()) {
        m_Frequency = std::max(1u, points->VertexCount() / 100);
    }
}

void VoVectorPlot::ComputeMagnitudeLimits()
{
    const VdVertexData* data = InputLattice();
    if (!data)
        data = InputPoints();
    if (!data || data->VertexCount() == 0)
        return;
    const std::pair<double, double> limits = VectorReader(*data).MagnitudeLimits();
    m_MagnitudeMin = limits.first;
    m_MagnitudeMax = limits.second;
}

void VoVectorPlot::UpdateColorLimits()
{
    const VdLattice* scalar = InputColorLattice();
    if (m_ColorMethod == Scalar && scalar && m_ColorComponent < scalar->ComponentCount()) {
        const std::pair<double, double> limits = scalar->DataMinMax(m_ColorComponent);
        m_ColorMap.SetDataLimits(limits.first, limits.second);
    } else {
        m_ColorMap.SetDataLimits(m_MagnitudeMin, m_MagnitudeMax);
    }
}

double VoVectorPlot::GetScaledLength(double m) const
{
    const double lo = m_BaseLength * m_MinScale, hi = m_BaseLength * m_MaxScale;
    const double a = m_MagnitudeMin, b = m_MagnitudeMax;
    if (a == b)
        return lo;
    switch (m_ScaleMethod) {
    case Linear: return LinearLength(m, lo, hi, a, b);
    case SquareRoot: return SquareRootLength(m, lo, hi, a, b);
    case Logarithmic: return LogarithmicLength(m, lo, hi, a, b);
    default: return lo;
    }
}

// ---- execution -------------------------------------------------------------------------------

VoModule::ModuleStatus VoVectorPlot::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    std::unique_ptr<VgStateScope> scope;
    if (renderer)
        scope = std::make_unique<VgStateScope>(*renderer, OutputGeometry(0));
    m_Buffer.clear();
    const VdLattice* lattice = InputLattice();
    const VdPoints* points = lattice ? nullptr : InputPoints();
    if (!lattice && !points)
        return ModuleOk;
    const VdLattice* scalar = InputColorLattice();
    if (lattice && m_ColorMethod == Scalar)
        CheckScalarLattice(*lattice);
    VbProgress progress("Computing vectors.", 0, 500, 500);
    const bool sampled = lattice ? SampleLattice(*lattice, scalar, progress) : SamplePoints(*points, progress);
    if (!sampled) {
        m_Buffer.clear();
        return ModuleAborted;
    }
    if (renderer)
        Draw(*renderer);
    return ModuleOk;
}

void VoVectorPlot::CheckScalarLattice(const VdLattice& lattice) const
{
    const VdLattice* scalar = InputColorLattice();
    if (!scalar)
        CORE_THROW(38);
    for (int axis = 0; axis < 3; ++axis)
        if (scalar->GetDims()[axis] < lattice.GetDims()[axis])
            CORE_THROW(39);
}

bool VoVectorPlot::SamplePoints(const VdPoints& points, VbProgress& progress)
{
    const VectorReader reader(points);
    const uint32_t count = points.VertexCount();
    const uint32_t every = std::max(1u, count / 100);
    for (uint64_t i = 0; i < count; i += std::max(1u, m_Frequency)) {
        const uint32_t index = static_cast<uint32_t>(i);
        if (index % every == 0 && !progress.Update(index, count))
            return false;
        const shr::Vec3d vector = reader.At(index);
        const shr::Color4b color = m_ColorMethod == Magnitude ? MagnitudeColor(vector) : m_FixedColor;
        DrawVector(VectorReader::PointXYZ(points, index), vector, color, m_Buffer);
    }
    return true;
}

bool VoVectorPlot::SampleLattice(const VdLattice& lattice, const VdLattice* scalar, VbProgress& progress)
{
    const unsigned int* dims = lattice.GetDims();
    if (dims[0] == 0 || dims[1] == 0 || dims[2] == 0)
        return true;
    AxisRange axes[3];
    for (int axis = 0; axis < 3; ++axis)
        axes[axis] = AxisRange{0, dims[axis] - 1u, std::max(1u, m_Frequency)};
    if (m_Orientation < AllNodes) {
        // The held axis keeps just the slice; a slice past the end is the last layer.
        AxisRange& held = axes[kFixedAxis[m_Orientation]];
        held.first = held.last = std::min<uint64_t>(m_Slice, held.last);
    }
    const VectorReader reader(lattice);
    const uint64_t rows = axes[2].Count() * axes[1].Count();
    uint64_t row = 0;
    for (uint64_t k = axes[2].first; k <= axes[2].last; k += axes[2].step) {
        for (uint64_t j = axes[1].first; j <= axes[1].last; j += axes[1].step) {
            if (!progress.Update(double(row++) / double(rows)))
                return false;
            for (uint64_t i = axes[0].first; i <= axes[0].last; i += axes[0].step) {
                const unsigned int ni = unsigned(i), nj = unsigned(j), nk = unsigned(k);
                const shr::Vec3d vector = reader.At(lattice.Index(ni, nj, nk));
                shr::Color4b color = m_FixedColor;
                if (m_ColorMethod == Magnitude)
                    color = MagnitudeColor(vector);
                else if (m_ColorMethod == Scalar && scalar)
                    color = ScalarColor(*scalar, scalar->Index(ni, nj, nk));
                DrawVector(lattice.IJKToXYZ(ni, nj, nk), vector, color, m_Buffer);
            }
        }
    }
    return true;
}

shr::Color4b VoVectorPlot::MagnitudeColor(const shr::Vec3d& vector) const
{
    return m_ColorMap.PosToColor(m_ColorMap.DatToPos(vector.Length()));
}

shr::Color4b VoVectorPlot::ScalarColor(const VdLattice& scalar, uint32_t node) const
{
    if (m_ColorComponent >= scalar.ComponentCount())
        return m_FixedColor;
    const double value =
        scalar.IsBlank(node, m_ColorComponent) ? scalar.DataMin(m_ColorComponent) : NodeValue(scalar, node, m_ColorComponent);
    return m_ColorMap.PosToColor(m_ColorMap.DatToPos(value));
}

void VoVectorPlot::DrawVector(const shr::Vec3d& position, const shr::Vec3d& vector, const shr::Color4b& color,
                              PrimBuffer& buffer) const
{
    if (m_DotSize > 0.0f)
        AddPoint(position, color, buffer);
    const double m = vector.Length();
    if (!(m > kTiny))
        return;
    double s = GetScaledLength(m) / m;
    if (m_Reverse)
        s = -s;
    const shr::Vec3d w = vector * s;
    const double length = w.Length();
    if (length * 0.1 < kTiny)
        return;
    // Tail, tip, then the head points.
    shr::Vec3d work[6] = {position, position + w};
    const int heads = HeadPointCount(m_VectorStyle);
    if (heads > 0) {
        const shr::Vec3d a = w / length;
        shr::Vec3d s1, s2;
        ArrowFrame(a, s1, s2);
        const double side = length * m_HeadScale;
        for (int h = 0; h < heads; ++h) {
            const HeadPoint& t = HeadTable()[size_t(h)];
            work[2 + h] = position + a * (length * t.along) + s1 * (side * t.side1) + s2 * (side * t.side2);
        }
    }
    switch (m_VectorStyle) {
    case Arrow2:
    case Arrow4: {
        // Tail, tip, then each head point followed by a return to the tip.
        shr::Vec3d path[9] = {work[0], work[1]};
        int count = 2;
        for (int h = 0; h < heads; ++h) {
            if (h > 0)
                path[count++] = work[1];
            path[count++] = work[2 + h];
        }
        AddPolyline(path, count, color, buffer);
        break;
    }
    case ArrowCross:
    case ArrowSolid: {
        AddPolyline(work, 2, color, buffer);
        const bool solid = m_VectorStyle == ArrowSolid;
        AddTriangleStrip(work + 1, 5, solid ? kSolidStrips : kCrossStrips,
                         solid ? int(std::size(kSolidStrips)) : int(std::size(kCrossStrips)), color, buffer);
        break;
    }
    case Fade:
        buffer.lines.vertices.insert(buffer.lines.vertices.end(), {work[0], work[1]});
        buffer.lines.colors.insert(buffer.lines.colors.end(), {color, FadedColor(color)});
        buffer.lineCounts.push_back(2);
        break;
    default:
        AddPolyline(work, 2, color, buffer);
        break;
    }
}

void VoVectorPlot::AddPoint(const shr::Vec3d& position, const shr::Color4b& color, PrimBuffer& buffer) const
{
    buffer.points.vertices.push_back(position);
    if (m_ColorMethod != Fixed)
        buffer.points.colors.push_back(color);
}

void VoVectorPlot::AddPolyline(const shr::Vec3d* vertices, int count, const shr::Color4b& color,
                               PrimBuffer& buffer) const
{
    buffer.lines.addVertices(vertices, size_t(count));
    buffer.lines.colors.push_back(color);
    buffer.lineCounts.push_back(count);
}

void VoVectorPlot::AddTriangleStrip(const shr::Vec3d* vertices, size_t vertexCount, const int* indices,
                                    int indexCount, const shr::Color4b& color, PrimBuffer& buffer) const
{
    VgVertexData& strips = buffer.strips;
    const int base = static_cast<int>(strips.vertices.size());
    strips.addVertices(vertices, vertexCount);
    size_t inStrip = 0;
    for (int n = 0; n < indexCount; ++n) {
        const int index = indices[n];
        if (index < 0) {
            strips.indices.push_back(-1);
            inStrip = 0;
            continue;
        }
        strips.indices.push_back(base + index);
        if (++inStrip < 3)
            continue;
        const int* corner = &indices[n - 2];
        strips.normals.push_back(
            StripTriangleNormal(vertices[corner[0]], vertices[corner[1]], vertices[corner[2]], inStrip - 3));
        strips.colors.push_back(color);
    }
    strips.indices.push_back(-1);
}

void VoVectorPlot::Draw(VgRenderer& renderer)
{
    const bool fixed = m_ColorMethod == Fixed;
    if (fixed)
        renderer.setBaseColor(m_FixedColor);
    if (!m_Buffer.points.vertices.empty()) {
        renderer.setPointSize(std::max(1.0, double(m_DotSize)));
        m_Buffer.points.materialBinding = fixed ? VgVertexData::OVERALL : VgVertexData::PER_VERTEX;
        renderer.drawPointSet(m_Buffer.points);
    }
    if (m_Buffer.lines.vertices.size() >= 2) {
        renderer.setLineWidth(m_LineWidth);
        m_Buffer.lines.materialBinding = m_VectorStyle == Fade ? VgVertexData::PER_VERTEX : VgVertexData::PER_FACE;
        renderer.drawLineStripSet(m_Buffer.lines, m_Buffer.lineCounts.data(), m_Buffer.lineCounts.size());
    }
    if (m_Buffer.strips.indices.size() >= 3) {
        renderer.setVertexOrdering(VgRenderer::COUNTERCLOCKWISE);
        renderer.setShapeHints(m_VectorStyle == ArrowSolid ? VgRenderer::SOLID : VgRenderer::UNKNOWN_SHAPE_TYPE,
                               VgRenderer::CONVEX);
        m_Buffer.strips.normalBinding = VgVertexData::PER_FACE;
        m_Buffer.strips.materialBinding = VgVertexData::PER_FACE;
        renderer.drawIndexedTriangleStripSet(m_Buffer.strips);
    }
    if (!fixed)
        m_Legend.Execute(renderer);
}

// ---- properties ------------------------------------------------------------------------------

void VoVectorPlot::UpdatePropertiesImpl(VbPropList& list)
{
    AddGeneralRows(list);
    AddRenderingRows(list);
    m_Legend.GetProperties(Id(), list, kPrefix, IdLegend, "Legend", "Legend");
    UpdateColorOptions(list);
}

void VoVectorPlot::AddGeneralRows(VbPropList& list)
{
    const VoModule* data = GetInputConnection(0, 0);
    const VoModule* scalar = GetInputConnection(1, 0);
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input data", "The vector data this module is connected to.",
                   data ? data->Name().c_str() : "Nothing");
    list.AddStatic(Id(), IdScalarInput, "Input scalar data", "The lattice that colors the vectors by its values.",
                   scalar ? scalar->Name().c_str() : "Nothing");
    list.AddCombo(Id(), "VectorPlotOrientation", IdOrientation, "Orientation",
                  "The orientation of the plane containing the vectors (or 'All' to use the entire lattice).",
                  m_Orientation, std::size(kOrientationNames), const_cast<const char**>(kOrientationNames), 0);
    list.AddInt(Id(), "VectorPlotSlice", IdSlice, "Slice", "The 1-based index of the plane of nodes to draw.",
                int(std::min<uint32_t>(m_Slice, INT_MAX - 1)) + 1, ValCheckMinMax, 1, 1, 1);
    list.AddInt(Id(), "VectorPlotFrequency", IdFrequency, "Frequency", "The number of nodes to skip between vectors.",
                int(m_Frequency), ValCheckMinMax, 1, INT_MAX, 1);
    list.Visible(IdOrientation, InputLattice() != nullptr);
    UpdateOrientation(list, true);
    list.Outdent();
}

void VoVectorPlot::AddRenderingRows(VbPropList& list)
{
    list.AddHeader(Id(), IdRendering, "Rendering", "Rendering", "", "");
    list.Indent();
    list.AddCombo(Id(), "VectorPlotVectorStyle", IdVectorStyle, "Vector style",
                  "The style of symbol used to represent each vector.", m_VectorStyle, std::size(kStyleNames),
                  const_cast<const char**>(kStyleNames), 0);
    list.AddCombo(Id(), "VectorPlotScaleMethod", IdScaleMethod, "Scale method",
                  "How the length of a vector follows its magnitude.", m_ScaleMethod, std::size(kScaleNames),
                  const_cast<const char**>(kScaleNames), 0);
    list.AddDouble(Id(), "VectorPlotMinScale", IdMinScale, "Min scale",
                   "The length of the smallest vector, in units of the base length.", m_MinScale, ValCheckMinMax, 0.0,
                   MaxScale, 0.1);
    list.AddDouble(Id(), "VectorPlotMaxScale", IdMaxScale, "Max scale",
                   "The length of the largest vector, in units of the base length.", m_MaxScale, ValCheckMinMax, 0.0,
                   MaxScale, 0.1);
    list.AddDouble(Id(), "VectorPlotHeadScale", IdHeadScale, "Arrow scale",
                   "The width of the arrow heads relative to the vector length.", m_HeadScale, ValCheckMinMax, 0.0,
                   MaxScale, 0.1);
    list.AddDouble(Id(), "VectorPlotDotSize", IdDotSize, "Base symbol size (points)",
                   "The size of the dot at the base of each vector; 0 draws none.", m_DotSize, ValCheckMinMax, 0.0,
                   MaxDotSize, 1.0);
    list.AddDouble(Id(), "VectorPlotLineWidth", IdLineWidth, "Line width (points)", "The width of the vector lines.",
                   m_LineWidth, ValCheckMinMax, 0.0, MaxLineWidth, 0.5);
    list.AddCheck(Id(), "VectorPlotReverse", IdReverse, "Reverse orientation", "Draw every vector the other way.",
                  m_Reverse);
    const bool scalar = InputColorLattice() != nullptr;
    list.AddCombo(Id(), "VectorPlotColorMethod", IdColorMethod, "Color method", "How the vectors are colored.",
                  m_ColorMethod, scalar ? 3 : 2, const_cast<const char**>(kColorMethodNames), 0);
    list.AddColor(Id(), "VectorPlotColor", IdColor, "Color", "The color of every vector.", m_FixedColor);
    list.AddColorMap(Id(), "VectorPlotColormap", IdColormap, "Colormap",
                     m_ColorMethod == Scalar ? "Maps scalar values from a connected lattice to color."
                                             : "Maps the vector magnitude to color.",
                     m_ColorMap, nullptr, false);
    const unsigned int components = scalar ? std::max(InputColorLattice()->ComponentCount(), 1u) : 1u;
    list.AddUnsigned(Id(), "VectorPlotColorComponent", IdColorComponent, "Color component",
                     "The component of the scalar lattice that colors the vectors.", m_ColorComponent + 1,
                     ValCheckMinMax, 1, components, 1);
    EnableHeadScale(list);
    list.Outdent();
}

void VoVectorPlot::EnableHeadScale(VbPropList& list) const
{
    list.Enabled(IdHeadScale, m_VectorStyle != Line && m_VectorStyle != Fade);
}

void VoVectorPlot::UpdateOrientation(VbPropList& list, bool setValue) const
{
    const VdLattice* lattice = InputLattice();
    const bool plane = lattice && m_Orientation < AllNodes;
    list.Visible(IdSlice, plane);
    if (!plane)
        return;
    // The row shows the layer that is drawn: a slice past the end draws the last.
    const unsigned int count = std::max(lattice->GetDims()[kFixedAxis[m_Orientation]], 1u);
    list.SetNumLimits(IdSlice, ValCheckMinMax, 1.0, double(count));
    if (setValue)
        list.SetNum(IdSlice, int(std::min(m_Slice, count - 1)) + 1);
}

void VoVectorPlot::UpdateColorOptions(VbPropList& list)
{
    list.Visible(IdColor, m_ColorMethod == Fixed);
    list.Visible(IdColormap, m_ColorMethod != Fixed);
    list.Visible(IdColorComponent, m_ColorMethod == Scalar);
    m_Legend.Enabled(list, IdLegend, m_ColorMethod != Fixed);
}

void VoVectorPlot::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id >= IdLegend) {
        m_Legend.PropertyEvent(Id(), list, event, IdLegend);
        SetModified();
        return;
    }
    switch (id) {
    case IdOrientation:
        RowReader::Choice(list, id, AllNodes + 1, m_Orientation);
        UpdateOrientation(list, true);
        break;
    case IdSlice: {
        int slice = int(std::min<uint32_t>(m_Slice, INT_MAX - 1)) + 1;
        RowReader::Clamped(list, id, 1, INT_MAX, slice);
        m_Slice = uint32_t(slice - 1);
        UpdateOrientation(list, true);
        break;
    }
    case IdFrequency: {
        int frequency = int(m_Frequency);
        RowReader::Clamped(list, id, 1, INT_MAX, frequency);
        m_Frequency = uint32_t(frequency);
        break;
    }
    case IdVectorStyle:
        RowReader::Choice(list, id, Fade + 1, m_VectorStyle);
        EnableHeadScale(list);
        break;
    case IdScaleMethod: RowReader::Choice(list, id, Logarithmic + 1, m_ScaleMethod); break;
    case IdMinScale: RowReader::Clamped(list, id, 0.0, MaxScale, m_MinScale); break;
    case IdMaxScale: RowReader::Clamped(list, id, 0.0, MaxScale, m_MaxScale); break;
    case IdHeadScale: RowReader::Clamped(list, id, 0.0, MaxScale, m_HeadScale); break;
    case IdDotSize: RowReader::Clamped(list, id, 0.0, MaxDotSize, m_DotSize); break;
    case IdLineWidth: RowReader::Clamped(list, id, 0.0, MaxLineWidth, m_LineWidth); break;
    case IdReverse: list.GetValue(id, m_Reverse); break;
    case IdColorMethod:
        RowReader::Choice(list, id, InputColorLattice() ? Scalar + 1 : Scalar, m_ColorMethod);
        UpdateColorOptions(list);
        UpdateColorLimits();
        break;
    case IdColor: list.GetValue(id, m_FixedColor); break;
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorLimits();
        break;
    case IdColorComponent: {
        unsigned int component = m_ColorComponent + 1;
        list.GetValue(id, component);
        const VdLattice* scalar = InputColorLattice();
        const unsigned int count = scalar ? std::max(scalar->ComponentCount(), 1u) : 1u;
        m_ColorComponent = std::min(std::max(component, 1u), count) - 1;
        list.SetNum(id, m_ColorComponent + 1);
        UpdateColorLimits();
        break;
    }
    default: return;
    }
    SetModified();
}

// ---- persistence -----------------------------------------------------------------------------

void VoVectorPlot::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f;
    if (archive.IsStoring()) {
        f = {m_FirstInput, m_Reverse,      m_Orientation,  m_Slice,        m_Frequency,  m_VectorStyle,
             m_ScaleMethod, m_ColorMethod, m_ColorMethodReserved, m_HeadScale, m_LineWidth, m_DotSize,
             m_ColorComponent, m_FixedColor, m_MagnitudeMin, m_MagnitudeMax, m_MinScale,  m_MaxScale,
             m_BaseLength, m_ColorMap,     m_Legend};
        TransferFields(archive, f);
        return;
    }
    TransferFields(archive, f);
    CheckLoaded(archive, f);
    m_FirstInput = f.firstInput;
    m_Reverse = f.reverse;
    m_Orientation = f.orientation;
    m_Slice = f.slice;
    m_Frequency = f.frequency;
    m_VectorStyle = f.style;
    m_ScaleMethod = f.scaleMethod;
    m_ColorMethod = f.colorMethod;
    m_ColorMethodReserved = f.reserved;
    m_HeadScale = f.headScale;
    m_LineWidth = f.lineWidth;
    m_DotSize = f.dotSize;
    m_ColorComponent = f.colorComponent;
    m_FixedColor = f.fixedColor;
    m_MagnitudeMin = f.magnitudeMin;
    m_MagnitudeMax = f.magnitudeMax;
    m_MinScale = f.minScale;
    m_MaxScale = f.maxScale;
    m_BaseLength = f.baseLength;
    m_ColorMap = f.colorMap;
    m_Legend = f.legend;
    m_Legend.SetColorMap(&m_ColorMap);
}

} // namespace core
