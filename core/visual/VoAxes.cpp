#include "core/visual/VoAxes.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/graphics/VgRenderer.h"
#include "core/visual/InputBounds.h"
#include "core/visual/RowReader.h"
#include "shr/Archive.h"
#include "shr/MathUtil.h"
#include "shr/Quat4d.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoAxes, VoModule)
const VbModuleInfo VoAxes::s_ModuleInfo("Graphics Output\\Axes", VoAxes::GetClassTypeId(), 63, PortGeometry,
                                        "Displays a set of axes for the input module", 17);

namespace AxesPrivate {

const char* const kAxisNames[3] = {"XAxis", "YAxis", "ZAxis"};
const char kLetters[3] = {'X', 'Y', 'Z'};

// The rows of an axis with a public key: "Axes" + axis name + suffix.
struct AxisKey {
    int row;
    const char* suffix;
    unsigned char converter;
};
const AxisKey kAxisKeys[] = {
    {VoAxes::RowShow, "Show", VbBoolPropertyConverter::Key()},
    {VoAxes::RowColor, "Color", VbColorPropertyConverter::Key()},
    {VoAxes::RowBeg, "Beg", VbDoublePropertyConverter::Key()},
    {VoAxes::RowEnd, "End", VbDoublePropertyConverter::Key()},
    {VoAxes::RowCross1, "Cross1", VbDoublePropertyConverter::Key()},
    {VoAxes::RowCross2, "Cross2", VbDoublePropertyConverter::Key()},
    {VoAxes::RowPlane, "Plane", VbDoublePropertyConverter::Key()},
    {VoAxes::RowTitle, "Title", VbStringPropertyConverter::Key()},
    {VoAxes::RowShowLabels, "ShowLabels", VbBoolPropertyConverter::Key()},
    {VoAxes::RowFlipX, "FlipLabelsX", VbBoolPropertyConverter::Key()},
    {VoAxes::RowFlipY, "FlipLabelsY", VbBoolPropertyConverter::Key()},
    {VoAxes::RowLabelBeg, "LabelBeg", VbDoublePropertyConverter::Key()},
    {VoAxes::RowLabelEnd, "LabelEnd", VbDoublePropertyConverter::Key()},
    {VoAxes::RowLabelInc, "LabelInc", VbDoublePropertyConverter::Key()},
    {VoAxes::RowLabelAngle, "LabelAngle", VbDoublePropertyConverter::Key()},
    {VoAxes::RowTicksPerLabel, "TicksPerLabel", VbIntPropertyConverter::Key()},
    {VoAxes::RowTicksPerLabel, "TicsPerLabel", VbIntPropertyConverter::Key()},
    {VoAxes::RowLabelFormat + 1, "LabelFormatType", VbUnsignedPropertyConverter::Key()},
    {VoAxes::RowLabelFormat + 2, "LabelFormatNumDigits", VbUnsignedPropertyConverter::Key()},
    {VoAxes::RowLabelFormat + 3, "LabelFormatPrefix", VbStringPropertyConverter::Key()},
    {VoAxes::RowLabelFormat + 4, "LabelFormatPostfix", VbStringPropertyConverter::Key()},
};

const VbPropertyRegistrar s_Registrars[] = {
    {"AxesAutoScale", VoAxes::IdAutoScale, VbBoolPropertyConverter::Key()},
    {"AxesShowGrid", VoAxes::IdShowGrid, VbBoolPropertyConverter::Key()},
    {"AxesGridColor", VoAxes::IdGridColor, VbColorPropertyConverter::Key()},
    {"AxesColorGrid", VoAxes::IdGridColor, VbColorPropertyConverter::Key()},
    {"AxesGridLineWidth", VoAxes::IdGridLineWidth, VbDoublePropertyConverter::Key()},
    {"AxesThickness", VoAxes::IdThickness, VbDoublePropertyConverter::Key()},
    {"AxesShowArrows", VoAxes::IdShowArrows, VbBoolPropertyConverter::Key()},
    {"AxesFont", VoAxes::IdFont, VbStringPropertyConverter::Key()},
    {"AxesAntialias", VoAxes::IdAntialias, VbBoolPropertyConverter::Key()},
    {"AxesLabelHeight", VoAxes::IdLabelHeight, VbDoublePropertyConverter::Key()},
    {"AxesTitleHeight", VoAxes::IdTitleHeight, VbDoublePropertyConverter::Key()},
};

shr::GString KeyPrefix(int axis) { return shr::GString("Axes") + kAxisNames[axis]; }

bool RegisterAxisKeys()
{
    for (int axis = 0; axis < 3; ++axis)
        for (const AxisKey& key : kAxisKeys)
            VbPropertyRegistry::Instance().Set(KeyPrefix(axis) + key.suffix,
                                               static_cast<unsigned short>(VoAxes::kAxisBase[axis] + key.row),
                                               key.converter);
    return true;
}
const bool s_AxisKeys = RegisterAxisKeys();

shr::GString AxisKeyOf(int axis, int row)
{
    for (const AxisKey& key : kAxisKeys)
        if (key.row == row)
            return KeyPrefix(axis) + key.suffix;
    return shr::GString();
}

// The grid color, line width and the axis scale rows' limits.
constexpr double kMaxGridLineWidth = 4.0;
constexpr double kMaxAxisScale = 15.0;
constexpr double kMaxTextScale = 10.0;
constexpr int kMaxTicksPerLabel = 100;
constexpr int kGridLineWidthVersion = 130;

// Proportions of the drawing, against the box's diagonal d.
constexpr double kShaftPerDiagonal = 1.0 / 200.0;
constexpr double kTextPerDiagonal = 0.02;
constexpr double kTickPerDiagonal = 0.01;
constexpr double kTitlePerText = 1.5;
constexpr double kTitleGap = 0.15;
// The arrow cone against the shaft's radius.
constexpr double kConeRadius = 2.5;
constexpr double kConeHeight = 7.0;

// The label format's digits tried when fitting, so that neighbours differ.
constexpr unsigned char kFirstDigits = 7;
constexpr unsigned char kLastDigits = 13;

// The two axes whose planes an axis's grid lines lie in.
std::pair<int, int> AxisPlanes(int axis) { return {(axis + 1) % 3, (axis + 2) % 3}; }

shr::Vec3d Unit(int axis)
{
    shr::Vec3d v(0.0, 0.0, 0.0);
    v[axis] = 1.0;
    return v;
}

// The numbers k with first + k * step within [lo, hi]: k from kLo to kHi,
// found without walking (labels may start far outside the axis).
bool StepRange(double first, double step, double lo, double hi, long long& kLo, long long& kHi)
{
    if (!(step > 0.0) || !(hi >= lo))
        return false;
    const double slack = 1e-9;
    const double a = std::ceil((lo - first) / step - slack), b = std::floor((hi - first) / step + slack);
    if (!(a <= b) || !std::isfinite(a) || !std::isfinite(b))
        return false;
    kLo = static_cast<long long>(a);
    kHi = static_cast<long long>(b);
    return true;
}

} // namespace AxesPrivate

using namespace AxesPrivate;

VoAxes::VoAxes() : m_GridColor(shr::Color4b::Black), m_Axes{AxisInfo(0), AxisInfo(1), AxisInfo(2)}
{
    SetGeomFilter(false);
    AddInput("Input Module", 63);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

bool VoAxes::CompatibleImpl(int, const VoModule& source, int output, bool) const
{
    return output >= 0 && source.GetOutput(static_cast<size_t>(output)) != nullptr;
}

bool VoAxes::GetBounds(const VgRenderer* renderer, shr::Box3d& box, shr::Mat4d& matrix) const
{
    return GetInputBounds(GetInputData(0), renderer, box, matrix);
}

// ---- fitting and checking ---------------------------------------------------------------

void VoAxes::OnInputChanged(int, bool recalc)
{
    // Another source linked, or the link cut, makes the next input a new one;
    // fresh data from the same source, or the first link of a module just
    // loaded, leave the stored flag to decide.
    const VoModule* source = GetInputConnection(0, 0);
    const VbModuleId id = source ? source->Id() : VbModuleId::Bad();
    if (!(id == m_LastSource) && !m_LastSource.IsBad())
        m_FitNextInput = true;
    m_LastSource = id;
    if (recalc && m_FitNextInput && GetInputData(0))
        RecalcDefaults();
}

void VoAxes::RecalcDefaults()
{
    shr::Box3d box;
    shr::Mat4d matrix;
    if (!GetBounds(nullptr, box, matrix))
        return;
    m_FitNextInput = false;
    const shr::Vec3d size = box.Size();
    const double largest = std::max({size.x, size.y, size.z});
    for (int a = 0; a < 3; ++a) {
        AxisInfo& info = m_Axes[size_t(a)];
        info.start = box.min;
        info.end = box.min;
        info.end[a] = box.max[a];
        // round() keeps the half away from zero; a point (no extent) gets one label.
        const double share = largest > 0.0 ? std::round(size[a] * 7.0 / largest) : 1.0;
        const int count = std::max(1, static_cast<int>(std::min(share, 7.0)));
        double first = 0.0, last = 0.0;
        const double increment = shr::CalcAutoInc(box.min[a], box.max[a], count, &first, &last);
        info.labelIncrement = increment > 0.0 ? increment : 1.0;
        info.labelFirst = first;
        info.labelLast = std::max(first, last);
        VbLabelFormat probe = info.labelFormat;
        unsigned char digits = kFirstDigits;
        for (; digits < kLastDigits; ++digits) {
            probe.Digits(digits);
            if (probe.Format(first) != probe.Format(first + info.labelIncrement))
                break;
        }
        info.labelFormat.Digits(digits);
    }
}

double VoAxes::MinLabelIncrement(int axis) const
{
    const AxisInfo& info = m_Axes[size_t(axis)];
    return std::max((info.end[axis] - info.start[axis]) / kMaxLabels, kMinIncrement);
}

void VoAxes::ValidateInput() const
{
    for (int a = 0; a < 3; ++a) {
        const AxisInfo& info = m_Axes[size_t(a)];
        const double lo = info.start[a], hi = info.end[a];
        if (lo > hi)
            CORE_THROW(29, int(kLetters[a]));
        if (info.labelFirst > info.labelLast)
            CORE_THROW(30, int(kLetters[a]));
        const double range = std::min(hi, info.labelLast) - std::max(lo, info.labelFirst);
        // A zero, negative or NaN increment would never reach the last label.
        const double n = info.labelIncrement > 0.0 ? std::floor(range / info.labelIncrement)
                                                   : std::numeric_limits<double>::infinity();
        if (n > kMaxLabels)
            CORE_THROW(31, int(kLetters[a]), n, range / kMaxLabels);
    }
}

std::vector<double> VoAxes::LabelValues(int axis) const
{
    const AxisInfo& info = m_Axes[size_t(axis)];
    std::vector<double> values;
    long long kLo = 0, kHi = -1;
    const double lo = std::max(info.start[axis], info.labelFirst), hi = std::min(info.end[axis], info.labelLast);
    if (StepRange(info.labelFirst, info.labelIncrement, lo, hi, kLo, kHi))
        for (long long k = kLo; k <= kHi; ++k)
            values.push_back(info.labelFirst + double(k) * info.labelIncrement);
    return values;
}

// ---- drawing ------------------------------------------------------------------------------

VoModule::ModuleStatus VoAxes::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    shr::Box3d box;
    shr::Mat4d matrix;
    if (!GetBounds(renderer.get(), box, matrix))
        return ModuleOk;
    ValidateInput();
    renderer->setComplexity(0.5, VgRenderer::OBJECT_SPACE);
    renderer->UpdateTransform(box, matrix);
    for (int axis = 0; axis < 3; ++axis)
        if (m_Axes[size_t(axis)].show)
            DrawAxis(*renderer, axis, box, matrix);
    DrawGrid(*renderer, matrix);
    return ModuleOk;
}

shr::Mat4d VoAxes::OrientAxis(const shr::Vec3d& origin, const shr::Vec3d& direction,
                              const shr::Vec3d& tickDirection, const shr::Mat4d& matrix)
{
    const shr::Vec3d x = direction.Normalized(), y = tickDirection.Normalized(), z = x.Cross(y).Normalized();
    const shr::Mat4d frame(x.x, x.y, x.z, 0.0, y.x, y.y, y.z, 0.0, z.x, z.y, z.z, 0.0, origin.x, origin.y, origin.z,
                           1.0);
    return frame * matrix;
}

// Scene nodes take positions in the scene's shifted frame.
void VoAxes::MultTransform(VgRenderer& renderer, const shr::Mat4d& matrix)
{
    const SceneTransform& offset = renderer.Transform();
    renderer.multTransform(matrix * shr::Mat4d::MakeTranslation(offset.XTransform(), offset.YTransform(), 0.0));
}

void VoAxes::DrawAxis(VgRenderer& renderer, int axis, const shr::Box3d& box, const shr::Mat4d& matrix) const
{
    const AxisInfo& info = m_Axes[size_t(axis)];
    const shr::Vec3d direction = Unit(axis);
    const shr::Vec3d tick = shr::Quat4d(direction, info.plane * shr::DEG_TO_RAD).MultVec(info.tickDirection);
    const shr::Mat4d frame = OrientAxis(info.start, direction, tick, matrix);
    const double diagonal = box.Diagonal();
    const double thickness = diagonal * kShaftPerDiagonal * m_AxisScale;
    const double length = info.end[axis] - info.start[axis];
    const double major = diagonal * kTickPerDiagonal, minor = major * 0.5;

    const VgStateScope state(renderer, VgRenderer::SEPARATOR);
    renderer.setBaseColor(info.color);
    DrawAxisShaft(renderer, frame, length, thickness);

    // Ticks in the axis frame, from label first to label last, within the axis.
    const auto framed = [&frame](double x, double y) { return shr::Vec3d(x, y, 0.0) * frame; };
    const int perLabel = std::clamp(int(info.ticksPerLabel), 1, kMaxTicksPerLabel);
    const double step = info.labelIncrement / perLabel;
    const double lo = std::max(info.start[axis], info.labelFirst), hi = std::min(info.end[axis], info.labelLast);
    VgVertexData ticks;
    long long kLo = 0, kHi = -1;
    if (StepRange(info.labelFirst, step, lo, hi, kLo, kHi))
        for (long long k = kLo; k <= kHi; ++k) {
            const double x = info.labelFirst + double(k) * step - info.start[axis];
            ticks.vertices.push_back(framed(x, 0.0));
            ticks.vertices.push_back(framed(x, k % perLabel == 0 ? major : minor));
        }
    renderer.drawLineSet(ticks);

    const double textUnit = diagonal * kTextPerDiagonal;
    double extent = 0.0;
    if (info.showLabels) {
        renderer.setTzFont(info.text.m_Face, textUnit * info.labelScale, 0);
        for (const double value : LabelValues(axis))
            extent = std::max(extent, DrawLabel(renderer, info, frame, shr::Vec3d(value - info.start[axis], major, 0.0),
                                                info.labelFormat.Format(value).c_str(), info.labelAngle));
    }
    if (!info.title.empty()) {
        const double height = textUnit * kTitlePerText * info.titleScale;
        renderer.setTzFont(info.text.m_Face, height, 0);
        DrawLabel(renderer, info, frame, shr::Vec3d(length * 0.5, major + extent + height * kTitleGap, 0.0),
                  info.title.c_str(), 0.0);
    }
}

// A line, or a lit cylinder along the frame's X with a cone at the end.
void VoAxes::DrawAxisShaft(VgRenderer& renderer, const shr::Mat4d& frame, double length, double thickness) const
{
    if (thickness <= kMinIncrement) {
        renderer.setLightModel(VgRenderer::BASE_COLOR);
        VgVertexData line;
        line.vertices = {shr::Vec3d(0, 0, 0) * frame, shr::Vec3d(length, 0, 0) * frame};
        renderer.drawLineSet(line);
        return;
    }
    // The scene's cylinder and cone stand along their Y, two units high: turn
    // Y onto the frame's X (X onto Y, Z onto -Z) and size them.
    const shr::Mat4d turn(0, 1, 0, 0, 1, 0, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1);
    const auto place = [&](double radius, double height, double at, void (VgRenderer::*draw)()) {
        const VgStateScope state(renderer, VgRenderer::TRANSFORM_SEPARATOR);
        MultTransform(renderer, shr::Mat4d::MakeScale(radius, height * 0.5, radius) * turn *
                                    shr::Mat4d::MakeTranslation(at, 0.0, 0.0) * frame);
        (renderer.*draw)();
    };
    place(thickness, length, length * 0.5, &VgRenderer::drawCylinder);
    if (m_ShowArrows)
        place(thickness * kConeRadius, thickness * kConeHeight, length + thickness * kConeHeight * 0.5,
              &VgRenderer::drawCone);
    renderer.setLightModel(VgRenderer::BASE_COLOR);
}

double VoAxes::DrawLabel(VgRenderer& renderer, const AxisInfo& info, const shr::Mat4d& frame,
                         const shr::Vec3d& at, const char* text, double angle) const
{
    const shr::Box2f bounds = renderer.getTzTextBounds(text);
    if (bounds.min.x > bounds.max.x)
        return 0.0;
    const double width = bounds.max.x - bounds.min.x, height = bounds.max.y - bounds.min.y;
    const double radians = angle * shr::DEG_TO_RAD;
    // The turned text's extent across the axis; it stands just beyond `at`.
    const double across = std::abs(width * std::sin(radians)) + std::abs(height * std::cos(radians));
    const shr::Vec3d centre(0.5 * (bounds.min.x + bounds.max.x), 0.5 * (bounds.min.y + bounds.max.y), 0.0);
    const double sx = info.flipX ? -1.0 : 1.0, sy = info.flipY ? -1.0 : 1.0;
    shr::Mat4d rotation;
    rotation.RotateZ(radians, shr::Mat4d::PostMultiply);
    const VgStateScope state(renderer, VgRenderer::TRANSFORM_SEPARATOR);
    const shr::Mat4d mirror = shr::Mat4d::MakeTranslation(-centre.x, -centre.y, 0.0) * shr::Mat4d::MakeScale(sx, sy, 1.0);
    MultTransform(renderer, mirror * rotation * shr::Mat4d::MakeTranslation(at.x, at.y + across * 0.5, 0.0) * frame);
    renderer.drawTzText(text);
    return across;
}

void VoAxes::DrawGrid(VgRenderer& renderer, const shr::Mat4d& matrix) const
{
    if (!m_ShowGrid)
        return;
    VgVertexData lines;
    for (int a = 0; a < 3; ++a) {
        const std::vector<double> values = LabelValues(a);
        const auto [first, second] = AxisPlanes(a);
        for (const int crossing : {first, second}) {
            const AxisInfo& along = m_Axes[size_t(crossing)];
            for (const double value : values) {
                shr::Vec3d from = along.start, to = along.end;
                from[a] = to[a] = value;
                lines.vertices.push_back(from * matrix);
                lines.vertices.push_back(to * matrix);
            }
        }
    }
    const VgStateScope state(renderer, VgRenderer::SEPARATOR);
    renderer.setLightModel(VgRenderer::BASE_COLOR);
    renderer.setBaseColor(m_GridColor);
    renderer.setLineWidth(m_GridLineWidth);
    renderer.drawLineSet(lines);
}

// ---- properties ----------------------------------------------------------------------------

void VoAxes::UpdatePropertiesImpl(VbPropList& list)
{
    AddGeneralRows(list);
    for (int axis = 0; axis < 3; ++axis)
        AddAxisRows(list, axis);
}

void VoAxes::AddGeneralRows(VbPropList& list)
{
    const VoModule* source = GetInputConnection(0, 0);
    const AxisInfo& first = m_Axes[0];
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    list.AddButton(Id(), "AxesAutoScale", IdAutoScale, "Auto scale", "Fit the axes to the input's extent.",
                   "Recalculate");
    list.AddCheck(Id(), "AxesShowGrid", IdShowGrid, "Show grid", "Lines at the labels across the axes' planes.",
                  m_ShowGrid);
    list.AddColor(Id(), "AxesGridColor", IdGridColor, "Grid color", "", m_GridColor);
    list.AddDouble(Id(), "AxesGridLineWidth", IdGridLineWidth, "Grid line width", "In pixels.", m_GridLineWidth,
                   ValCheckMinMax, 0.0, kMaxGridLineWidth, 1.0);
    list.AddDouble(Id(), "AxesThickness", IdThickness, "Axis scale",
                   "The thickness of the shafts; 0 draws them as lines.", m_AxisScale, ValCheckMinMax, 0.0,
                   kMaxAxisScale, 0.5);
    list.AddCheck(Id(), "AxesShowArrows", IdShowArrows, "Show arrows", "A cone at the end of each shaft.",
                  m_ShowArrows);
    list.AddFont(Id(), "AxesFont", IdFont, "Font", "The face of the labels and titles.", first.text.m_Face);
    list.AddCheck(Id(), "AxesAntialias", IdAntialias, "Antialias", "", first.text.m_Flag1);
    list.AddDouble(Id(), "AxesLabelHeight", IdLabelHeight, "Label scale", "Against the default height.",
                   first.labelScale, ValCheckMinMax, 0.0, kMaxTextScale, 0.1);
    list.AddDouble(Id(), "AxesTitleHeight", IdTitleHeight, "Title scale", "Against the default height.",
                   first.titleScale, ValCheckMinMax, 0.0, kMaxTextScale, 0.1);
    list.Enabled(IdGridColor, m_ShowGrid);
    list.Enabled(IdGridLineWidth, m_ShowGrid);
    list.Outdent();
}

void VoAxes::AddAxisRows(VbPropList& list, int axis)
{
    const AxisInfo& info = m_Axes[size_t(axis)];
    const int base = kAxisBase[axis];
    const auto key = [axis](int row) { return AxisKeyOf(axis, row); };
    const char letter[2] = {kLetters[axis], '\0'};
    list.AddHeader(Id(), IdXAxis + axis, shr::ToString("%s Axis", letter), "Axes", "", "");
    list.Expand(IdXAxis + axis, false);
    list.Indent();
    list.AddCheck(Id(), key(RowShow), base + RowShow, "Show axis", "", info.show);
    list.AddColor(Id(), key(RowColor), base + RowColor, "Color", "The shaft's, the ticks' and the labels' color.",
                  info.color);
    const auto number = [&](int row, const char* label, const char* help, double value, double lo, double hi) {
        list.AddDouble(Id(), key(row), base + row, label, help, value, ValCheckMinMax, lo, hi, 0.0);
    };
    const double huge = std::numeric_limits<double>::max();
    number(RowBeg, "Start", "Where the axis begins.", info.start[axis], -huge, huge);
    number(RowEnd, "End", "Where the axis ends.", info.end[axis], -huge, huge);
    for (const int row : {RowCross1, RowCross2}) {
        const int other = (axis + row - RowCross1 + 1) % 3;
        const shr::GString label = shr::ToString("Cross %c axis at (%c value)", kLetters[other], kLetters[other]);
        list.AddDouble(Id(), key(row), base + row, label.c_str(), "Where the axis stands on that coordinate.",
                       info.start[other], ValCheckNone, 0.0, 0.0, 0.0);
    }
    number(RowPlane, "Axis plane", "Turns the ticks and labels about the axis, in degrees.", info.plane, -180.0,
           180.0);
    list.AddEdit(Id(), key(RowTitle), base + RowTitle, "Title", "The text beside the axis.", info.title);
    list.AddCheck(Id(), key(RowShowLabels), base + RowShowLabels, "Show labels", "", info.showLabels);
    list.AddCheck(Id(), key(RowFlipX), base + RowFlipX, "Flip labels X", "Mirror the labels left to right.",
                  info.flipX);
    list.AddCheck(Id(), key(RowFlipY), base + RowFlipY, "Flip labels Y", "Mirror the labels top to bottom.",
                  info.flipY);
    number(RowLabelBeg, "First label", "", info.labelFirst, -huge, huge);
    number(RowLabelEnd, "Last label", "", info.labelLast, -huge, huge);
    number(RowLabelInc, "Label increment", "The step from one label to the next.", info.labelIncrement,
           MinLabelIncrement(axis), huge);
    number(RowLabelAngle, "Label angle", "Turns each label about its centre, in degrees.", info.labelAngle, -360.0,
           360.0);
    list.AddInt(Id(), key(RowTicksPerLabel), base + RowTicksPerLabel, "Ticks per label", "", info.ticksPerLabel,
                ValCheckMinMax, 1, kMaxTicksPerLabel, 1);
    m_Axes[size_t(axis)].labelFormat.GetProperties(Id(), list, KeyPrefix(axis), base + RowLabelFormat);
    list.Outdent();
}

void VoAxes::ShowAxisValues(VbPropList& list, int axis) const
{
    const AxisInfo& info = m_Axes[size_t(axis)];
    const int base = kAxisBase[axis];
    const auto set = [&](int row, double value) {
        if (list.IsProp(base + row))
            list.SetNum(base + row, value);
    };
    set(RowBeg, info.start[axis]);
    set(RowEnd, info.end[axis]);
    set(RowCross1, info.start[(axis + 1) % 3]);
    set(RowCross2, info.start[(axis + 2) % 3]);
    set(RowLabelBeg, info.labelFirst);
    set(RowLabelEnd, info.labelLast);
    set(RowLabelInc, info.labelIncrement);
    if (list.IsProp(base + RowLabelInc))
        list.SetNumLimits(base + RowLabelInc, ValCheckMinMax, MinLabelIncrement(axis),
                          std::numeric_limits<double>::max());
    if (list.IsProp(base + RowLabelFormat + 2))
        list.SetNum(base + RowLabelFormat + 2, unsigned(info.labelFormat.Digits()));
}

void VoAxes::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    const auto forAll = [this](auto change) {
        for (AxisInfo& info : m_Axes)
            change(info);
    };
    switch (id) {
    case IdAutoScale:
        RecalcDefaults();
        for (int axis = 0; axis < 3; ++axis)
            ShowAxisValues(list, axis);
        break;
    case IdShowGrid:
        list.GetValue(id, m_ShowGrid);
        list.Enabled(IdGridColor, m_ShowGrid);
        list.Enabled(IdGridLineWidth, m_ShowGrid);
        break;
    case IdGridColor: list.GetValue(id, m_GridColor); break;
    case IdGridLineWidth: RowReader::Clamped(list, id, 0.0, kMaxGridLineWidth, m_GridLineWidth); break;
    case IdThickness: RowReader::Clamped(list, id, 0.0, kMaxAxisScale, m_AxisScale); break;
    case IdShowArrows: list.GetValue(id, m_ShowArrows); break;
    case IdFont: {
        shr::GString face = m_Axes[0].text.m_Face;
        RowReader::Face(list, id, face);
        forAll([&face](AxisInfo& info) { info.text.m_Face = face; });
        break;
    }
    case IdAntialias: {
        bool on = false;
        list.GetValue(id, on);
        forAll([on](AxisInfo& info) { info.text.m_Flag1 = on; });
        break;
    }
    case IdLabelHeight: {
        double scale = m_Axes[0].labelScale;
        RowReader::Clamped(list, id, 0.0, kMaxTextScale, scale);
        forAll([scale](AxisInfo& info) { info.labelScale = scale; });
        break;
    }
    case IdTitleHeight: {
        double scale = m_Axes[0].titleScale;
        RowReader::Clamped(list, id, 0.0, kMaxTextScale, scale);
        forAll([scale](AxisInfo& info) { info.titleScale = scale; });
        break;
    }
    default:
        if (!AxisPropertyEvent(list, event))
            return;
    }
    SetModified();
}

bool VoAxes::AxisPropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    int axis = 2;
    while (axis > 0 && id < kAxisBase[axis] + RowShow)
        --axis;
    const int row = id - kAxisBase[axis];
    if (row < RowShow || row > RowTicksPerLabel)
        return false;
    AxisInfo& info = m_Axes[size_t(axis)];
    const auto readNumber = [&](double& value) {
        double read = value;
        list.GetValue(id, read);
        if (std::isfinite(read))
            value = read;
        list.SetNum(id, value);
    };
    switch (row) {
    case RowShow: list.GetValue(id, info.show); break;
    case RowColor: list.GetValue(id, info.color); break;
    case RowBeg: readNumber(info.start[axis]); break;
    case RowEnd: readNumber(info.end[axis]); break;
    case RowCross1:
    case RowCross2: {
        const int other = (axis + row - RowCross1 + 1) % 3;
        readNumber(info.start[other]);
        info.end[other] = info.start[other];
        break;
    }
    case RowPlane: RowReader::Clamped(list, id, -180.0, 180.0, info.plane); break;
    case RowTitle: list.GetValue(id, info.title); break;
    case RowShowLabels: list.GetValue(id, info.showLabels); break;
    case RowFlipX: list.GetValue(id, info.flipX); break;
    case RowFlipY: list.GetValue(id, info.flipY); break;
    case RowLabelBeg: readNumber(info.labelFirst); break;
    case RowLabelEnd: readNumber(info.labelLast); break;
    case RowLabelInc: {
        // Validation reports an increment too small for the axis; one that is
        // not positive could never step and is refused here.
        double increment = info.labelIncrement;
        readNumber(increment);
        if (increment > 0.0)
            info.labelIncrement = increment;
        list.SetNum(id, info.labelIncrement);
        break;
    }
    case RowLabelAngle: RowReader::Clamped(list, id, -360.0, 360.0, info.labelAngle); break;
    case RowTicksPerLabel: {
        int ticks = info.ticksPerLabel;
        RowReader::Clamped(list, id, 1, kMaxTicksPerLabel, ticks);
        info.ticksPerLabel = ticks;
        break;
    }
    default:
        if (row <= RowLabelFormat || row > RowLabelFormat + 4)
            return false;
        info.labelFormat.PropertyEvent(Id(), list, event, kAxisBase[axis] + RowLabelFormat);
    }
    if (row == RowBeg || row == RowEnd)
        ShowAxisValues(list, axis);
    return true;
}

// ---- persistence ---------------------------------------------------------------------------

void VoAxes::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    bool showGrid = m_ShowGrid, showArrows = m_ShowArrows, reserved = m_FitNextInput;
    shr::Color4b gridColor = m_GridColor;
    double axisScale = m_AxisScale, gridWidth = m_GridLineWidth;
    std::array<AxisInfo, 3> axes = m_Axes;
    archive.Transfer(showGrid);
    archive.Transfer(showArrows);
    archive.Transfer(reserved);
    archive.Transfer(gridColor);
    archive.Transfer(axisScale);
    if (archive.GetVersion() >= kGridLineWidthVersion)
        archive.Transfer(gridWidth);
    for (AxisInfo& info : axes)
        info.Serialize(archive);
    if (archive.IsStoring())
        return;
    archive.CheckRange(axisScale, 0.0, kMaxAxisScale, "the axes' thickness");
    archive.CheckRange(gridWidth, 0.0, kMaxGridLineWidth, "the grid line width");
    for (const AxisInfo& info : axes) {
        archive.CheckRange(info.labelScale, 0.0, kMaxTextScale, "an axis's label size");
        archive.CheckRange(info.titleScale, 0.0, kMaxTextScale, "an axis's title size");
        archive.CheckRange(info.plane, -180.0, 180.0, "an axis's plane");
        archive.CheckRange(info.labelAngle, -360.0, 360.0, "an axis's label angle");
        // Only a positive increment steps from one label to the next.
        archive.CheckRange(info.labelIncrement, std::numeric_limits<double>::min(),
                           std::numeric_limits<double>::max(), "an axis's label increment");
    }
    m_ShowGrid = showGrid;
    m_ShowArrows = showArrows;
    m_FitNextInput = reserved;
    m_GridColor = gridColor;
    m_AxisScale = axisScale;
    m_GridLineWidth = gridWidth;
    m_Axes = axes;
}

} // namespace core
