#include "core/visual/VoContour.h"

#include "core/data/ParallelFor.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/ContourGenerator.h"
#include "core/visual/RowReader.h"
#include "core/visual/VbTriangulateLattice2D.h"
#include "shr/Archive.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoContour, VoLatticeModule)
const VbModuleInfo VoContour::s_ModuleInfo("Graphics Output\\Contours", VoContour::GetClassTypeId(),
                                           PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                           PortGeometry,
                                           "Draws one or more contour lines (isolines) in a plane through a 3D lattice",
                                           20);

namespace VoContourPrivate {

const unsigned char kBool = VbBoolPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"ContourComponent", VoContour::IdComponent, kUnsigned},
    {"ContourSpacing", VoContour::IdSpacing, kUnsigned},
    {"ContourExplicit", VoContour::IdExplicit, VbStringPropertyConverter::Key()},
    {"ContourMinLevel", VoContour::IdMinLevel, kDouble},
    {"ContourMaxLevel", VoContour::IdMaxLevel, kDouble},
    {"ContourLevelInterval", VoContour::IdInterval, kDouble},
    {"ContourNumLevels", VoContour::IdNumLevels, VbIntPropertyConverter::Key()},
    {"ContourLineWidth", VoContour::IdLineWidth, kDouble},
    {"ContourColormap", VoContour::IdColormap, VbColorMapPropertyConverter::Key()},
    {"ContourBorderShow", VoContour::IdBorderShow, kBool},
    {"ContourBorderWidth", VoContour::IdBorderWidth, kDouble},
    {"ContourBorderColor", VoContour::IdBorderColor, VbColorPropertyConverter::Key()},
};
const VbCuttingPlane::KeyRegistrar s_PlaneKeys("Contour", VoContour::IdPlane);
const VbLegend::KeyRegistrar s_LegendKeys("Contour", VoContour::IdLegend);

const char* const kPrefix = "Contour";
const char* const kMethodNames[] = {"Automatic", "Min, max, count", "Min, max, interval", "Explicit"};

// Widths became floats at this version; they were 32-bit integers before.
constexpr int kFloatWidthVersion = 110;
// The interval method stops this far above the maximum level.
constexpr double kIntervalSlack = 1.1920928955078125e-7;
// An interval never asks for more levels than about this many (UpdateData).
constexpr double kIntervalBands = 99.0;

// A width as stored: a float, or before kFloatWidthVersion an integer.
void TransferWidth(shr::Archive& archive, float& width)
{
    if (archive.IsLoading() && archive.GetVersion() < kFloatWidthVersion) {
        int32_t points = 0;
        archive.Transfer(points);
        width = static_cast<float>(points);
        return;
    }
    archive.Transfer(width);
}

// A width held to 0 to the widest line; a NaN keeps `current`.
float ClampedWidth(float width, float current)
{
    return std::isnan(width) ? current : std::clamp(width, 0.0f, VoContour::kMaxLineWidth);
}

void ReadWidth(VbPropList& list, int id, float& width)
{
    RowReader::Clamped(list, id, 0.0, double(VoContour::kMaxLineWidth), width);
}

} // namespace VoContourPrivate

using namespace VoContourPrivate;

VoContour::VoContour()
{
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
    m_Plane.Initialize(this, IdPlane);
}

VoContour::~VoContour() = default;

void VoContour::SetLevelRange(double minimum, double maximum, double interval)
{
    m_MinLevel = minimum;
    m_MaxLevel = maximum;
    m_Interval = interval;
}

// ---- input -------------------------------------------------------------------------------

void VoContour::OnInputChanged(int, bool)
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice)
        return;
    m_Plane.UpdateDefaults(lattice->GetDims(), lattice->GetUVWBounds());
    UpdateData();
}

void VoContour::UpdateData()
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0)
        return;
    UpdateColorMapDataLimits(lattice);
    const std::pair<double, double> limits = lattice->DataMinMax(InputComponentSafe());
    if (m_LevelMethod == Automatic) {
        const double half = (limits.second - limits.first) / std::max(m_NumLevels, 1) * 0.5;
        m_MinLevel = limits.first + half;
        m_MaxLevel = limits.second - half;
    } else if (m_LevelMethod == MinMaxInterval) {
        m_Interval = std::max(m_Interval, (m_MaxLevel - m_MinLevel) / kIntervalBands);
    }
}

void VoContour::FollowInput(const VdLattice& lattice)
{
    bool changed = false;
    if (!(m_Plane.BoundingBox() == lattice.GetUVWBounds())) {
        m_Plane.UpdateDefaults(lattice.GetDims(), lattice.GetUVWBounds());
        changed = true;
    }
    const double minimum = m_MinLevel, maximum = m_MaxLevel, interval = m_Interval;
    UpdateData();
    changed = changed || minimum != m_MinLevel || maximum != m_MaxLevel || interval != m_Interval;
    if (changed)
        UiProxy::Instance()->UpdatePropertyList(this, -1, true);
}

// ---- levels ------------------------------------------------------------------------------

std::vector<double> VoContour::Levels() const
{
    std::vector<double> levels;
    CalcLevels(levels);
    return levels;
}

void VoContour::CalcLevels(std::vector<double>& levels) const
{
    levels.clear();
    const double lo = std::min(m_MinLevel, m_MaxLevel), hi = std::max(m_MinLevel, m_MaxLevel);
    switch (m_LevelMethod) {
    case Automatic:
    case MinMaxCount: {
        const int32_t count = std::min(m_NumLevels, kMaxNumLevels);
        const double step = count >= 2 ? (hi - lo) / (count - 1) : 1.0;
        for (int32_t i = 0; i < count; ++i)
            levels.push_back(lo + i * step);
        break;
    }
    case MinMaxInterval:
        // An interval that is not positive would repeat the first level
        // without end: it gives that level once. No list grows beyond the
        // largest count either.
        for (int32_t i = 0; i < kMaxNumLevels; ++i) {
            const double level = lo + i * m_Interval;
            if (!(level <= hi + kIntervalSlack) || (i > 0 && !(m_Interval > 0.0)))
                break;
            levels.push_back(level);
        }
        break;
    case Explicit: {
        const char* text = m_ExplicitLevels.c_str();
        double level = 0.0;
        while (shr::ParseDouble(text, &level, &text))
            levels.push_back(level);
        break;
    }
    default:
        break;
    }
}

// ---- execution ---------------------------------------------------------------------------

bool VoContour::Triangulate(const VbCuttingPlane& plane, unsigned int component,
                            VbTriangulateLattice2D& triangulation)
{
    const VdLattice& lattice = triangulation.Lattice();
    VbProgress progress("Triangulating the plane", 0, 500, 100);
    const unsigned int* dims = lattice.GetDims();
    if (dims[2] == 1 || dims[1] == 1 || dims[0] == 1)
        return triangulation.TriangulateMesh(component, &progress);
    const shr::Vec3d normal = plane.Normal().Normalized();
    const shr::Box3d box = lattice.GetUVWBounds();
    return triangulation.TriangulatePlane(normal, normal.Dot(box.Center()) + plane.Offset(), component, &progress);
}

void VoContour::CalcBorder(const VdLattice& lattice, VgRenderer& renderer)
{
    const std::vector<shr::Vec3d> polygon = m_Plane.SectionPolygon(lattice);
    if (polygon.size() < 2)
        return;
    renderer.setLineWidth(m_BorderWidth);
    renderer.setBaseColor(m_BorderColor);
    VgVertexData loop;
    for (const shr::Vec3d& p : polygon)
        loop.vertices.push_back(lattice.UVWToXYZ(p));
    loop.vertices.push_back(loop.vertices.front());
    renderer.drawLineStrip(loop);
}

VoModule::ModuleStatus VoContour::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    const VgStateScope scope(*renderer, OutputGeometry(0));
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0)
        return ModuleOk;
    FollowInput(*lattice);
    m_Plane.Execute(*renderer, *lattice);
    std::vector<double> levels;
    CalcLevels(levels);
    if (levels.empty())
        return ModuleOk;
    if (m_ShowBorder)
        CalcBorder(*lattice, *renderer);
    VbTriangulateLattice2D triangulation(*lattice, &m_Workspace);
    if (!Triangulate(m_Plane, InputComponentSafe(), triangulation))
        return ModuleAborted;
    renderer->setLineWidth(m_LineWidth);
    // The tasks share the map: its table must not be rebuilt under them.
    m_ColorMap.PosToColor(0.0);
    const ContourGenerator generator(levels, triangulation, m_ColorMap, *renderer);
    tbb::task_group_context context;
    ParallelForRanges(levels.size(), 1, generator, context);
    m_Legend.Execute(*renderer);
    return ModuleOk;
}

// ---- properties ----------------------------------------------------------------------------

void VoContour::UpdatePropertiesImpl(VbPropList& list)
{
    AddGeneralRows(list);
    AddLevelRows(list);
    AddRenderingRows(list);
    m_Legend.GetProperties(Id(), list, kPrefix, IdLegend, "Legend", "Legend");
}

void VoContour::AddGeneralRows(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    AddInputRows(list);
    list.AddStatic(Id(), IdDataLimits, "Input data limits", "The limits of the selected input component data.",
                   "Not available");
    list.ReadOnly(IdDataLimits, true);
    UpdateInputDataLimits(list);
    AddComponentRow(list, "ContourComponent", IdComponent, "The component of the input lattice to contour.");
    m_Plane.GetProperties(list, kPrefix, IdPlane, lattice && lattice->GetDimensionality() < 3);
    list.Outdent();
}

void VoContour::AddLevelRows(VbPropList& list)
{
    list.AddHeader(Id(), IdLevels, "Levels", "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "ContourSpacing", IdSpacing, "Level method", "The method used to compute the contour levels.",
                  m_LevelMethod, 4, const_cast<const char**>(kMethodNames), 0);
    list.AddEdit(Id(), "ContourExplicit", IdExplicit, "Level values", "Enter a space-separated list of contour levels.",
                 m_ExplicitLevels);
    list.AddDouble(Id(), "ContourMinLevel", IdMinLevel, "Minimum level", "The lowest contour level.", m_MinLevel,
                   ValCheckNone, 0.0, 0.0, 0.0);
    list.AddDouble(Id(), "ContourMaxLevel", IdMaxLevel, "Maximum level", "The highest contour level.", m_MaxLevel,
                   ValCheckNone, 0.0, 0.0, 0.0);
    list.AddDouble(Id(), "ContourLevelInterval", IdInterval, "Level interval", "The step from one level to the next.",
                   m_Interval, ValCheckNone, 0.0, 0.0, 0.0);
    list.AddInt(Id(), "ContourNumLevels", IdNumLevels, "Number of levels", "The number of contour levels.",
                m_NumLevels, ValCheckMinMax, 0, kMaxNumLevels, 1);
    UpdateSpacingOptions(list);
    list.Outdent();
}

void VoContour::AddRenderingRows(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    list.AddHeader(Id(), IdRendering, "Rendering", "General", "", "");
    list.Indent();
    list.AddDouble(Id(), "ContourLineWidth", IdLineWidth, "Line width (points)", "The width of the contour lines.",
                   m_LineWidth, ValCheckMinMax, 0.0, kMaxLineWidth, 1.0);
    const std::vector<unsigned int>* histogram =
        lattice && lattice->ComponentCount() > 0 ? &lattice->DataHistogram(InputComponentSafe()) : nullptr;
    list.AddColorMap(Id(), "ContourColormap", IdColormap, "Colormap",
                     "Determines the color of the contour lines by mapping the contour levels to color.", m_ColorMap,
                     histogram, false);
    if (histogram)
        list.SetHistogram(IdColormap, *histogram);
    list.AddCheck(Id(), "ContourBorderShow", IdBorderShow, "Show border", "Outline the plane's section of the data.",
                  m_ShowBorder);
    list.AddDouble(Id(), "ContourBorderWidth", IdBorderWidth, "Border width (points)", "The width of the border.",
                   m_BorderWidth, ValCheckMinMax, 0.0, kMaxLineWidth, 1.0);
    list.AddColor(Id(), "ContourBorderColor", IdBorderColor, "Border color", "The color of the border.",
                  m_BorderColor);
    UpdateBorder(list);
    list.Outdent();
}

void VoContour::UpdateBorder(VbPropList& list)
{
    list.Enabled(IdBorderWidth, m_ShowBorder);
    list.Enabled(IdBorderColor, m_ShowBorder);
}

void VoContour::UpdateInputDataLimits(VbPropList& list)
{
    const VdLattice* lattice = InputLattice(0);
    if (!lattice || lattice->ComponentCount() == 0) {
        list.SetStatic(IdDataLimits, "Not available");
        return;
    }
    const std::pair<double, double> limits = lattice->DataMinMax(InputComponentSafe());
    list.SetStatic(IdDataLimits, PropertyUtility::CommentText(limits.first, limits.second).c_str());
}

void VoContour::UpdateSpacingOptions(VbPropList& list)
{
    const bool byCount = m_LevelMethod == Automatic || m_LevelMethod == MinMaxCount;
    const bool ranged = m_LevelMethod == MinMaxCount || m_LevelMethod == MinMaxInterval;
    list.Visible(IdExplicit, m_LevelMethod == Explicit);
    list.Visible(IdMinLevel, ranged);
    list.Visible(IdMaxLevel, ranged);
    list.Visible(IdInterval, m_LevelMethod == MinMaxInterval);
    list.Visible(IdNumLevels, byCount);
    list.SetNum(IdMinLevel, m_MinLevel);
    list.SetNum(IdMaxLevel, m_MaxLevel);
    list.SetNum(IdInterval, m_Interval);
    list.SetNum(IdNumLevels, m_NumLevels);
}

void VoContour::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdComponent: {
        ReadInputComponent(list, id);
        UpdateData();
        UpdateInputDataLimits(list);
        UpdateSpacingOptions(list);
        if (const VdLattice* lattice = InputLattice(0))
            list.SetHistogram(IdColormap, lattice->DataHistogram(InputComponentSafe()));
        break;
    }
    case IdSpacing:
        if (!RowReader::Choice(list, id, Explicit + 1, m_LevelMethod))
            return;
        UpdateData();
        UpdateSpacingOptions(list);
        break;
    case IdExplicit:
        list.GetValue(id, m_ExplicitLevels);
        break;
    case IdMinLevel:
    case IdMaxLevel:
    case IdInterval:
    case IdNumLevels:
        if (id == IdNumLevels) {
            RowReader::Clamped(list, id, 0, kMaxNumLevels, m_NumLevels);
        } else {
            list.GetValue(id, id == IdMinLevel ? m_MinLevel : id == IdMaxLevel ? m_MaxLevel : m_Interval);
        }
        UpdateData();
        UpdateSpacingOptions(list);
        break;
    case IdLineWidth:
        ReadWidth(list, id, m_LineWidth);
        break;
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorMapDataLimits(InputLattice(0));
        break;
    case IdBorderShow:
        list.GetValue(id, m_ShowBorder);
        UpdateBorder(list);
        break;
    case IdBorderWidth:
        ReadWidth(list, id, m_BorderWidth);
        break;
    case IdBorderColor:
        list.GetValue(id, m_BorderColor);
        break;
    default:
        if (!m_Plane.PropertyEvent(list, event, IdPlane) && !LegendEvent(list, event, IdLegend))
            return;
        break;
    }
    SetModified();
}

// ---- persistence ---------------------------------------------------------------------------

void VoContour::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // The plane loads all or nothing by itself; a failure further on puts
    // back the plane as it was, and the other fields are taken over only
    // once everything has been read.
    std::vector<unsigned char> planeBefore;
    if (archive.IsLoading()) {
        shr::Archive snapshot(planeBefore);
        m_Plane.Serialize(snapshot);
    }
    try {
        m_Plane.Serialize(archive);
        VbColorMap colorMap = m_ColorMap;
        VbLegend legend = m_Legend;
        unsigned int component = m_InputComponent;
        bool showBorder = m_ShowBorder;
        float borderWidth = m_BorderWidth, lineWidth = m_LineWidth;
        shr::Color4b borderColor = m_BorderColor;
        uint32_t method = m_LevelMethod;
        int32_t numLevels = m_NumLevels;
        double minimum = m_MinLevel, maximum = m_MaxLevel, interval = m_Interval;
        std::string explicitLevels = m_ExplicitLevels;
        colorMap.Serialize(archive);
        legend.Serialize(archive);
        archive.Transfer(component);
        archive.Transfer(showBorder);
        TransferWidth(archive, borderWidth);
        archive.Transfer(borderColor);
        TransferWidth(archive, lineWidth);
        archive.Transfer(method);
        archive.Transfer(numLevels);
        archive.Transfer(minimum);
        archive.Transfer(maximum);
        archive.Transfer(interval);
        archive.Transfer(explicitLevels);
        if (archive.IsStoring())
            return;
        if (method > Explicit)
            archive.ThrowFormatError("contour level method %u is not one of 0 to 3", method);
        if (numLevels < 0 || numLevels > kMaxNumLevels)
            archive.ThrowFormatError("%d contour levels, where 0 to %d are allowed", numLevels, kMaxNumLevels);
        TakeColorMapAndLegend(colorMap, legend);
        InputComponentSafe(component);
        m_ShowBorder = showBorder;
        m_BorderWidth = ClampedWidth(borderWidth, m_BorderWidth);
        m_BorderColor = borderColor;
        m_LineWidth = ClampedWidth(lineWidth, m_LineWidth);
        m_LevelMethod = method;
        m_NumLevels = numLevels;
        SetLevelRange(minimum, maximum, interval);
        m_ExplicitLevels = explicitLevels;
    } catch (...) {
        if (archive.IsLoading()) {
            shr::Archive restore(planeBefore.data(), planeBefore.size());
            m_Plane.Serialize(restore);
        }
        throw;
    }
}

} // namespace core
