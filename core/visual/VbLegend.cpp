#include "core/visual/VbLegend.h"

#include "core/graphics/GLFontManager.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/PixelOverlay.h"
#include "core/graphics/VbColorMap.h"
#include "core/graphics/VgRenderer.h"
#include "core/properties/PropertyError.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/OverlayGLState.h"
#include "shr/Archive.h"
#include "shr/Logger.h"
#include "shr/StringUtil.h"

#include <GL/gl.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/elements/SoCacheElement.h>
#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoLineSet.h>
#include <Inventor/nodes/SoMaterialBinding.h>
#include <Inventor/nodes/SoQuadMesh.h>
#include <Inventor/nodes/SoSeparator.h>

#include <algorithm>
#include <cmath>

namespace core {

namespace VbLegendPrivate {

// The meaning of the four layout floats, in points.
enum Layout { Margin = 0, TickLength = 1, LabelGap = 2, TitleGap = 3 };

// Steps of the strip's colour ramp, when the map has no table to follow.
constexpr int kDefaultSteps = 255;
// The depth range the legend draws in: in front of the whole scene.
constexpr double kFrontDepth = 0.001;

const char kDefaultFace[] = "Arial";

// A legend row with a public key: its offset and the key after the prefix.
struct KeyedRow {
    int row;
    const char* suffix;
    unsigned char converterKey;
};

const KeyedRow kKeyedRows[] = {
    {VbLegend::EnableRow, "LegendEnable", VbBoolPropertyConverter::Key()},
    {VbLegend::OrientationRow, "LegendOrientation", VbUnsignedPropertyConverter::Key()},
    {VbLegend::XPosRow, "LegendXPos", VbDoublePropertyConverter::Key()},
    {VbLegend::YPosRow, "LegendYPos", VbDoublePropertyConverter::Key()},
    {VbLegend::WidthRow, "LegendWidth", VbDoublePropertyConverter::Key()},
    {VbLegend::LengthRow, "LegendLength", VbDoublePropertyConverter::Key()},
    {VbLegend::TitleRow, "LegendTitle", VbStringPropertyConverter::Key()},
    {VbLegend::TitleHeightRow, "LegendTitleHeight", VbDoublePropertyConverter::Key()},
    {VbLegend::NumLabelsRow, "LegendNumLabels", VbUnsignedPropertyConverter::Key()},
    {VbLegend::UseCustomLabelsRow, "LegendUseCustomLabels", VbBoolPropertyConverter::Key()},
    {VbLegend::CustomLabelsRow, "LegendCustomLabels", VbStringPropertyConverter::Key()},
    {VbLegend::LabelHeightRow, "LegendLabelHeight", VbDoublePropertyConverter::Key()},
    {VbLegend::LabelFormatRow + 1, "LegendLabelFormatType", VbUnsignedPropertyConverter::Key()},
    {VbLegend::LabelFormatRow + 2, "LegendLabelFormatNumDigits", VbUnsignedPropertyConverter::Key()},
    {VbLegend::LabelFormatRow + 3, "LegendLabelFormatPrefix", VbStringPropertyConverter::Key()},
    {VbLegend::LabelFormatRow + 4, "LegendLabelFormatPostfix", VbStringPropertyConverter::Key()},
    {VbLegend::FontRow, "LegendFont", VbStringPropertyConverter::Key()},
    {VbLegend::AntialiasRow, "LegendAntialias", VbBoolPropertyConverter::Key()},
    {VbLegend::ShowBackgroundRow, "LegendShowBackground", VbBoolPropertyConverter::Key()},
    {VbLegend::FGColorRow, "LegendFGColor", VbColorPropertyConverter::Key()},
    {VbLegend::BGColorRow, "LegendBGColor", VbColorPropertyConverter::Key()},
};

shr::GString KeyOf(const shr::GString& prefix, int row)
{
    for (const KeyedRow& keyed : kKeyedRows)
        if (keyed.row == row)
            return prefix + keyed.suffix;
    return shr::GString();
}

// The callback node of a shown legend. It owns the copy of the legend and of
// its colour map that it draws, so the scene never points into a module.
class LegendNode : public SoCallback {
public:
    explicit LegendNode(const VbLegend& legend) : map(*legend.GetColorMap()), copy(legend)
    {
        copy.SetColorMap(&map);
    }

    VbColorMap map;
    VbLegend copy;

protected:
    ~LegendNode() override = default;
};

void Color(const shr::Color4b& color) { glColor4ubv(&color.r); }

// The strip is opaque whatever opacity the map gives a colour: without blending
// that alpha would only go into the picture's alpha channel and punch holes there.
void StripColor(const shr::Color4b& color) { glColor4ub(color.r, color.g, color.b, 255); }

// Outlines a pixel rectangle along its outermost pixels.
void OutlineBox(const shr::Box2f& box)
{
    glBegin(GL_LINE_LOOP);
    glVertex2f(box.min.x + 0.5f, box.min.y + 0.5f);
    glVertex2f(box.max.x - 0.5f, box.min.y + 0.5f);
    glVertex2f(box.max.x - 0.5f, box.max.y - 0.5f);
    glVertex2f(box.min.x + 0.5f, box.max.y - 0.5f);
    glEnd();
}

bool Inside(double value, double lo, double hi)
{
    return lo <= hi ? lo <= value && value <= hi : hi <= value && value <= lo;
}

} // namespace VbLegendPrivate

using namespace VbLegendPrivate;

// The legend as it will be drawn, in viewport pixels.
struct VbLegend::Frame {
    struct Text {
        shr::GString text;
        double x = 0.0, y = 0.0;
        int justification = TextFormat::Left;
    };
    struct Tick {
        double x0, y0, x1, y1;
    };

    double width = 0.0, height = 0.0; // the viewport
    shr::Box2f strip;
    std::vector<Tick> ticks;
    std::vector<Text> labels;
    Text title;
    std::shared_ptr<GLFont> labelFont; // null: labels without text
    std::shared_ptr<GLFont> titleFont; // null: no title
    shr::Box2f background;
};

VbLegend::VbLegend(VbColorMap* colorMap)
    : m_FGColor(shr::Color4b::Black), m_BGColor(shr::Color4b::Ltgray), m_LabelFormat(2, 7), m_ColorMap(colorMap)
{
}

void VbLegend::RegisterKeys(const char* prefix, int base)
{
    for (const KeyedRow& keyed : kKeyedRows)
        VbPropertyRegistry::Instance().Set(shr::GString(prefix) + keyed.suffix,
                                           static_cast<unsigned short>(base + keyed.row), keyed.converterKey);
}

// ---- persistence -----------------------------------------------------------

void VbLegend::Serialize(shr::Archive& archive)
{
    if (!archive.IsLoading()) {
        TransferFields(archive);
        return;
    }
    VbLegend loaded(*this);
    loaded.TransferFields(archive);
    if (archive.GetVersion() < 109) {
        // Older documents kept the corner in pixels of an 800-pixel view.
        loaded.m_XPos = std::clamp(loaded.m_XPos / 800.0f, 0.0f, 1.0f);
        loaded.m_YPos = std::clamp(loaded.m_YPos / 800.0f, 0.0f, 1.0f);
    }
    loaded.CheckLoaded(archive);
    *this = loaded;
}

// The limits the legend's rows apply, for a legend read from a document: a
// damaged count or size would otherwise cost minutes and gigabytes to draw.
void VbLegend::CheckLoaded(const shr::Archive& archive) const
{
    archive.CheckRange(m_NumLabels, 0u, kMaxLabels, "the legend's label count");
    archive.CheckRange(m_XPos, 0.0f, 1.0f, "the legend's x position");
    archive.CheckRange(m_YPos, 0.0f, 1.0f, "the legend's y position");
    for (const float size : {m_Width, m_Length, m_TitleHeight, m_LabelHeight})
        archive.CheckRange(size, std::nextafter(0.0f, 1.0f), kMaxPoints, "a legend size in points");
    for (const float spacing : m_Layout)
        archive.CheckRange(spacing, 0.0f, kMaxPoints, "a legend spacing in points");
}

void VbLegend::TransferFields(shr::Archive& archive)
{
    archive.SyncCheck();
    archive.Transfer(m_Show);
    archive.Transfer(m_Vertical);
    archive.Transfer(m_UseCustomLabels);
    archive.Transfer(m_ShowBackground);
    archive.Transfer(m_Antialias);
    archive.Transfer(m_XPos);
    archive.Transfer(m_YPos);
    archive.Transfer(m_Width);
    archive.Transfer(m_Length);
    archive.Transfer(m_Title);
    archive.Transfer(m_CustomLabels);
    archive.Transfer(m_FGColor);
    archive.Transfer(m_BGColor);
    for (float& value : m_Layout)
        archive.Transfer(value);
    archive.Transfer(m_FontName);
    archive.Transfer(m_TitleHeight);
    archive.Transfer(m_LabelHeight);
    archive.Transfer(m_NumLabels);
    m_LabelFormat.Serialize(archive);
}

// ---- property rows ---------------------------------------------------------

void VbLegend::GetProperties(const VbModuleId& module, VbPropList& list, const shr::GString& prefix, int base,
                             const shr::GString& header, const shr::GString& group)
{
    const auto key = [&prefix](int row) { return KeyOf(prefix, row); };
    const auto addSize = [&](int row, const char* label, const char* help, float value) {
        list.AddDouble(module, key(row), base + row, label, help, value, ValCheckMinMax, 0.0, kMaxPoints, 1.0);
    };
    const auto addPosition = [&](int row, const char* label, const char* help, float value) {
        list.AddDouble(module, key(row), base + row, label, help, value, ValCheckMinMax, 0.0, 1.0, 0.01);
    };

    list.AddHeader(module, base + HeaderRow, header.empty() ? shr::GString("Legend") : header, group, "",
                   "The colour bar that shows the colour map's values.");
    list.Indent();
    list.AddCheck(module, key(EnableRow), base + EnableRow, "Show legend", "Draw the legend over the scene.",
                  m_Show);
    list.AddCombo(module, key(OrientationRow), base + OrientationRow, "Orientation",
                  "The direction of the 'length' dimension.", m_Vertical ? 1u : 0u, "Horizontal", "Vertical",
                  nullptr);
    addPosition(XPosRow, "X position", "The left edge of the strip, as a fraction of the view's width.", m_XPos);
    addPosition(YPosRow, "Y position", "The bottom edge of the legend, as a fraction of the view's height.",
                m_YPos);
    addSize(WidthRow, "Width (points)", "The strip's thickness across its length.", m_Width);
    addSize(LengthRow, "Length (points)", "The strip's extent from the minimum to the maximum colour.", m_Length);

    list.AddHeader(module, base + TitleHeaderRow, "Title", group, "", "The text above the legend.");
    list.Indent();
    list.AddEdit(module, key(TitleRow), base + TitleRow, "Title", "The text above the legend.", m_Title);
    addSize(TitleHeightRow, "Title height (points)", "The size of the title's font.", m_TitleHeight);
    list.Outdent();

    list.AddHeader(module, base + LabelsHeaderRow, "Labels", group, "", "The values along the strip.");
    list.Indent();
    list.AddUnsigned(module, key(NumLabelsRow), base + NumLabelsRow, "Number of labels",
                     "Evenly spaced labels from the minimum to the maximum of the colour map's window.", m_NumLabels,
                     ValCheckMinMax, 0, kMaxLabels, 1);
    addSize(LabelHeightRow, "Label height (points)", "The size of the labels' font.", m_LabelHeight);
    list.AddCheck(module, key(UseCustomLabelsRow), base + UseCustomLabelsRow, "Use custom labels",
                  "Label the values of the custom list instead of evenly spaced ones.", m_UseCustomLabels);
    list.AddEdit(module, key(CustomLabelsRow), base + CustomLabelsRow, "Custom labels",
                 "value:text pairs, such as 0.0:Low 1.0:High; quote a text with spaces, as in 0.5:\"Half way\". "
                 "Values outside the colour map's window are left out.",
                 m_CustomLabels);
    m_LabelFormat.GetProperties(module, list, prefix + "Legend", base + LabelFormatRow);
    list.Outdent();

    list.AddFont(module, key(FontRow), base + FontRow, "Font", "The face of the title and the labels.",
                 m_FontName);
    list.AddCheck(module, key(AntialiasRow), base + AntialiasRow, "Antialias text",
                  "Smooth the edges of the title and the labels.", m_Antialias);
    list.AddCheck(module, key(ShowBackgroundRow), base + ShowBackgroundRow, "Background rectangle",
                  "Draw the legend on a framed rectangle of the background color.", m_ShowBackground);
    list.AddColor(module, key(FGColorRow), base + FGColorRow, "Foreground color",
                  "The color of the text, the ticks and the frames.", m_FGColor);
    list.AddColor(module, key(BGColorRow), base + BGColorRow, "Background color",
                  "The color of the background rectangle.", m_BGColor);
    list.Outdent();
    UpdateDependentRows(list, base);
}

void VbLegend::Enabled(VbPropList& list, int base, bool enable)
{
    for (int row = HeaderRow; row < RowCount; ++row)
        if (list.IsProp(base + row))
            list.Enabled(base + row, enable);
    UpdateDependentRows(list, base);
}

void VbLegend::UpdateDependentRows(VbPropList& list, int base) const
{
    if (!list.IsProp(base + HeaderRow))
        return;
    const bool group = list.Enabled(base + HeaderRow);
    const auto enable = [&](int row, bool on) {
        if (list.IsProp(base + row))
            list.Enabled(base + row, group && on);
    };
    enable(NumLabelsRow, !m_UseCustomLabels);
    enable(CustomLabelsRow, m_UseCustomLabels);
    enable(BGColorRow, m_ShowBackground);
    if (list.IsProp(base + LabelFormatRow))
        m_LabelFormat.EnableProperties(list, base + LabelFormatRow, group && !m_UseCustomLabels);
}

bool VbLegend::ReadPosition(VbPropList& list, int id, float& position)
{
    double value = 0.0;
    list.GetValue(id, value);
    if (std::isnan(value))
        return false;
    position = float(std::clamp(value, 0.0, 1.0));
    return double(position) == value;
}

bool VbLegend::ReadSize(VbPropList& list, int id, float& size)
{
    double value = 0.0;
    list.GetValue(id, value);
    if (value > 0.0) // false for NaN too
        size = float(std::min(value, double(kMaxPoints)));
    return double(size) == value;
}

bool VbLegend::ReadLabelCount(VbPropList& list, int id)
{
    unsigned int count = 0;
    list.GetValue(id, count);
    m_NumLabels = std::min(count, kMaxLabels);
    return m_NumLabels == count;
}

void VbLegend::PropertyEvent(const VbModuleId& module, VbPropList& list, const VbPropertyEvent& event, int base)
{
    const int id = event.Id();
    const long long row = static_cast<long long>(id) - base;
    if (row > LabelFormatRow && row < FontRow) {
        m_LabelFormat.PropertyEvent(module, list, event, base + LabelFormatRow);
        return;
    }
    switch (row) {
    case EnableRow:
        list.GetValue(id, m_Show);
        break;
    case OrientationRow: {
        unsigned int orientation = 0;
        list.GetValue(id, orientation);
        m_Vertical = orientation != 0;
        break;
    }
    case XPosRow:
    case YPosRow: {
        float& position = row == XPosRow ? m_XPos : m_YPos;
        if (!ReadPosition(list, id, position))
            list.SetNum(id, double(position));
        break;
    }
    case WidthRow:
    case LengthRow:
    case TitleHeightRow:
    case LabelHeightRow: {
        float& size = row == WidthRow ? m_Width : row == LengthRow ? m_Length
                                             : row == TitleHeightRow ? m_TitleHeight : m_LabelHeight;
        if (!ReadSize(list, id, size))
            list.SetNum(id, double(size));
        break;
    }
    case TitleRow:
        list.GetValue(id, m_Title);
        break;
    case NumLabelsRow:
        if (!ReadLabelCount(list, id))
            list.SetNum(id, m_NumLabels);
        break;
    case UseCustomLabelsRow:
        list.GetValue(id, m_UseCustomLabels);
        UpdateDependentRows(list, base);
        break;
    case CustomLabelsRow:
        list.GetValue(id, m_CustomLabels);
        break;
    case FontRow: {
        shr::GString font;
        list.GetValue(id, font);
        if (font.empty())
            list.AnyValue(id, boost::any(m_FontName), false);
        else
            m_FontName = font;
        break;
    }
    case AntialiasRow:
        list.GetValue(id, m_Antialias);
        break;
    case ShowBackgroundRow:
        list.GetValue(id, m_ShowBackground);
        UpdateDependentRows(list, base);
        break;
    case FGColorRow:
        list.GetValue(id, m_FGColor);
        break;
    case BGColorRow:
        list.GetValue(id, m_BGColor);
        break;
    default:
        break;
    }
}

// ---- labels ----------------------------------------------------------------

void VbLegend::GenerateLabels(std::vector<CLabel>& labels) const
{
    labels.clear();
    if (!m_ColorMap)
        VB_THROW_CORE("Invalid colormap.");
    labels.reserve(std::min(m_NumLabels, 10u));
    const double lo = m_ColorMap->GetScaleMin(), hi = m_ColorMap->GetScaleMax();
    const double width = hi - lo;
    // A window of zero width would put every label at 0/0; they stay at 0.
    const auto position = [width](double offset) { return width != 0.0 ? offset / width : 0.0; };
    if (!m_UseCustomLabels) {
        const unsigned int n = m_NumLabels;
        const double step = n > 1 ? width / double(n - 1) : 1.0;
        for (unsigned int i = 0; i < n; ++i) {
            const double offset = i * step;
            labels.push_back({position(offset), m_LabelFormat.Format(lo + offset)});
        }
        return;
    }
    // value:text pairs; the colon must follow the number directly. The first
    // pair that does not read ends the list.
    const char* p = m_CustomLabels.c_str();
    double value = 0.0;
    const char* end = nullptr;
    while (shr::ParseDouble(p, &value, &end) && *end == ':') {
        std::string text;
        p = shr::ParseString(end + 1, text);
        if (!p)
            break;
        if (Inside(value, lo, hi))
            labels.push_back({position(value - lo), text});
    }
}

// ---- drawing ---------------------------------------------------------------

const VbLegend* VbLegend::DrawnBy(const SoNode* node)
{
    const auto* legend = dynamic_cast<const LegendNode*>(node);
    return legend ? &legend->copy : nullptr;
}

void VbLegend::Execute(VgRenderer& renderer)
{
    if (!m_Show)
        return;
    std::vector<CLabel> labels;
    GenerateLabels(labels); // what would fail while drawing fails here, in the pass
    InvSmartPtr<LegendNode> node(new LegendNode(*this));
    node->setCallback(&VbLegend::Callback, &node->copy);
    renderer.addInventorNode(node.get());
}

void VbLegend::Callback(void* data, SoAction* action)
{
    if (!action || !action->isOfType(SoGLRenderAction::getClassTypeId()))
        return;
    // Nothing may leave a traversal of the scene graph: a failed legend is
    // missing from the picture and told in the log.
    try {
        static_cast<VbLegend*>(data)->Render(static_cast<SoGLRenderAction*>(action));
    } catch (const shr::Exception& e) {
        shr::g_Logger.SendVA(1, "Legend: %s", e.Message().c_str());
    }
}

std::shared_ptr<GLFont> VbLegend::FontAt(float points) const
{
    const double pixels = std::clamp(std::round(points * kPixelsPerInch / 72.0), 1.0, GLFont::kMaxPixelSize);
    const GLFont::Form form = m_Antialias ? GLFont::Texture : GLFont::Bitmap;
    for (const shr::GString& face : {m_FontName, shr::GString(kDefaultFace)}) {
        try {
            return GLFontManager::Instance().GetFont(face, pixels, form);
        } catch (const shr::Exception& e) {
            shr::g_Logger.SendVA(1, "Legend: %s", e.Message().c_str());
        }
    }
    return nullptr;
}

void VbLegend::Render(SoGLRenderAction* action)
{
    if (!action)
        VB_THROW_CORE("Invalid render action.");
    // The drawing depends on the viewport, which no cache would notice.
    SoCacheElement::invalidate(action->getState());
    const SbVec2s size = action->getViewportRegion().getViewportSizePixels();
    const Frame frame = Layout(size[0], size[1]);
    OverlayGLState state(frame.width, frame.height, kFrontDepth);
    if (m_ShowBackground) {
        RenderBackground(frame);
        RenderBorder(frame);
    }
    RenderRamp(frame);
    if (frame.titleFont)
        OutputText(*frame.titleFont, frame.title.text, frame.title.x, frame.title.y, frame.title.justification);
}

VbLegend::Frame VbLegend::Layout(double viewportWidth, double viewportHeight) const
{
    const double scale = kPixelsPerInch / 72.0;
    const auto pixels = [scale](float points) { return double(points) * scale; };
    Frame frame;
    frame.width = viewportWidth;
    frame.height = viewportHeight;
    std::vector<CLabel> labels;
    GenerateLabels(labels);
    if (!labels.empty())
        frame.labelFont = FontAt(m_LabelHeight);
    if (!m_Title.empty())
        frame.titleFont = FontAt(m_TitleHeight);

    const double x0 = m_XPos * viewportWidth, y0 = m_YPos * viewportHeight;
    const double across = pixels(m_Width), along = pixels(m_Length);
    const double tick = pixels(m_Layout[TickLength]), gap = pixels(m_Layout[LabelGap]);
    // Labels stand right of a vertical strip, centred on their ticks, and
    // below a horizontal one, centred under them; that strip stands on the
    // tallest label.
    const TextFormat::Justification justification = m_Vertical ? TextFormat::Left : TextFormat::Center;
    std::vector<shr::Box2f> boxes;
    float textHeight = 0.0f;
    for (const CLabel& label : labels) {
        boxes.push_back(frame.labelFont ? frame.labelFont->Bounds(label.text.c_str(), justification) : shr::Box2f());
        if (!boxes.back().IsEmpty())
            textHeight = std::max(textHeight, boxes.back().max.y - boxes.back().min.y);
    }
    const double bottom = m_Vertical || labels.empty() ? y0 : y0 + (tick + gap + textHeight);
    frame.strip = m_Vertical ? shr::Box2f(float(x0), float(y0), float(x0 + across), float(y0 + along))
                             : shr::Box2f(float(x0), float(bottom), float(x0 + along), float(bottom + across));
    for (size_t n = 0; n < labels.size(); ++n) {
        const shr::Box2f& box = boxes[n];
        if (m_Vertical) {
            const double y = y0 + labels[n].pos * along;
            const double middle = box.IsEmpty() ? 0.0 : 0.5 * (double(box.min.y) + box.max.y);
            frame.ticks.push_back({x0 + across, y, x0 + across + tick, y});
            frame.labels.push_back({labels[n].text, x0 + across + tick + gap, y - middle, justification});
        } else {
            const double x = x0 + labels[n].pos * along;
            const double top = box.IsEmpty() ? 0.0 : box.max.y;
            frame.ticks.push_back({x, bottom, x, bottom - tick});
            frame.labels.push_back({labels[n].text, x, bottom - tick - gap - top, justification});
        }
    }
    if (frame.titleFont) {
        const shr::Box2f box = frame.titleFont->Bounds(m_Title.c_str(), TextFormat::Left);
        frame.title = {m_Title, frame.strip.min.x, frame.strip.max.y + pixels(m_Layout[TitleGap]) - box.min.y,
                       TextFormat::Left};
    }
    frame.background = GetBoundingBox(frame);
    const float margin = float(pixels(m_Layout[Margin]));
    frame.background.min -= shr::Vec2f(margin, margin);
    frame.background.max += shr::Vec2f(margin, margin);
    return frame;
}

shr::Box2f VbLegend::GetBoundingBox(const GLFont& font, const shr::GString& text, double x, double y,
                                    int justification)
{
    shr::Box2f box = font.Bounds(text.c_str(), GLFont::Justification(justification));
    if (!box.IsEmpty()) {
        box.min += shr::Vec2f(float(x), float(y));
        box.max += shr::Vec2f(float(x), float(y));
    }
    return box;
}

shr::Box2f VbLegend::GetBoundingBox(const Frame& frame)
{
    shr::Box2f box = frame.strip;
    for (const Frame::Tick& tick : frame.ticks)
        box.ExtendBy(shr::Vec2f(float(tick.x1), float(tick.y1)));
    if (frame.labelFont)
        for (const Frame::Text& label : frame.labels)
            box.ExtendBy(GetBoundingBox(*frame.labelFont, label.text, label.x, label.y, label.justification));
    if (frame.titleFont)
        box.ExtendBy(GetBoundingBox(*frame.titleFont, frame.title.text, frame.title.x, frame.title.y,
                                    frame.title.justification));
    return box;
}

void VbLegend::RenderBackground(const Frame& frame) const
{
    Color(m_BGColor);
    glRectf(frame.background.min.x, frame.background.min.y, frame.background.max.x, frame.background.max.y);
}

void VbLegend::RenderBorder(const Frame& frame) const
{
    Color(m_FGColor);
    OutlineBox(frame.background);
}

std::vector<VbLegend::RampStep> VbLegend::Ramp(const shr::Box2f& strip) const
{
    const int steps = m_ColorMap->GetLUTSize() > 1 ? int(m_ColorMap->GetLUTSize()) - 1 : kDefaultSteps;
    const int along = m_Vertical ? 1 : 0, across = 1 - along;
    const double first = m_Vertical ? strip.max[across] : strip.min[across];
    const double second = m_Vertical ? strip.min[across] : strip.max[across];
    std::vector<RampStep> ramp(size_t(steps) + 1);
    for (int i = 0; i <= steps; ++i) {
        const double pos = double(i) / steps;
        RampStep& step = ramp[size_t(i)];
        step.color = m_ColorMap->PosToColor(pos);
        step.from[along] = step.to[along] = strip.min[along] + pos * (double(strip.max[along]) - strip.min[along]);
        step.from[across] = first;
        step.to[across] = second;
    }
    return ramp;
}

void VbLegend::RenderRamp(const Frame& frame) const
{
    glBegin(GL_QUAD_STRIP);
    for (const RampStep& step : Ramp(frame.strip)) {
        StripColor(step.color);
        glVertex2dv(step.from);
        glVertex2dv(step.to);
    }
    glEnd();
    RenderTicksAndLabels(frame);
}

void VbLegend::RenderTicksAndLabels(const Frame& frame) const
{
    Color(m_FGColor);
    OutlineBox(frame.strip);
    glBegin(GL_LINES);
    for (const Frame::Tick& tick : frame.ticks) {
        glVertex2d(tick.x0, tick.y0);
        glVertex2d(tick.x1, tick.y1);
    }
    glEnd();
    if (frame.labelFont)
        for (const Frame::Text& label : frame.labels)
            OutputText(*frame.labelFont, label.text, label.x, label.y, label.justification);
}

void VbLegend::OutputText(GLFont& font, const shr::GString& text, double x, double y, int justification) const
{
    Color(m_FGColor);
    font.DrawLines(text.c_str(), x, y, TextFormat::Justification(justification));
}

// ---- the legend as scene-graph nodes ----------------------------------------

InvSmartPtr<SoSeparator> VbLegend::SceneGraph(double width, double height) const
{
    const Frame frame = Layout(width, height);
    InvSmartPtr<SoSeparator> root = PixelOverlay::Begin(width, height);
    if (m_ShowBackground) {
        root->addChild(PixelOverlay::Color(m_BGColor));
        root->addChild(PixelOverlay::Box(frame.background, true));
        root->addChild(PixelOverlay::Color(m_FGColor));
        root->addChild(PixelOverlay::Box(frame.background, false));
    }
    root->addChild(StripNode(frame));
    root->addChild(PixelOverlay::Color(m_FGColor));
    root->addChild(PixelOverlay::Box(frame.strip, false));
    auto* ticks = new SoSeparator;
    auto* tickCoords = new SoCoordinate3;
    auto* tickLines = new SoLineSet;
    for (size_t t = 0; t < frame.ticks.size(); ++t) {
        const Frame::Tick& tick = frame.ticks[t];
        tickCoords->point.set1Value(int(2 * t), float(tick.x0), float(tick.y0), 0.0f);
        tickCoords->point.set1Value(int(2 * t + 1), float(tick.x1), float(tick.y1), 0.0f);
        tickLines->numVertices.set1Value(int(t), 2);
    }
    ticks->addChild(tickCoords);
    ticks->addChild(tickLines);
    root->addChild(ticks);
    const auto fontAt = [&](float points) { return PixelOverlay::Font(m_FontName, points * kPixelsPerInch / 72.0); };
    if (frame.labelFont) {
        root->addChild(fontAt(m_LabelHeight));
        for (const Frame::Text& label : frame.labels)
            root->addChild(PixelOverlay::Text(label.text, label.x, label.y, label.justification));
    }
    if (frame.titleFont) {
        root->addChild(fontAt(m_TitleHeight));
        root->addChild(PixelOverlay::Text(frame.title.text, frame.title.x, frame.title.y, frame.title.justification));
    }
    PixelOverlay::End(*root);
    return root;
}

// The colour ramp: rows of two vertices across the strip, one colour each.
SoSeparator* VbLegend::StripNode(const Frame& frame) const
{
    const std::vector<RampStep> ramp = Ramp(frame.strip);
    auto* group = new SoSeparator;
    auto* colors = new SoBaseColor;
    auto* coords = new SoCoordinate3;
    for (size_t i = 0; i < ramp.size(); ++i) {
        const shr::Color4b c = ramp[i].color;
        const SbColor color(c.r / 255.0f, c.g / 255.0f, c.b / 255.0f);
        const int row = int(2 * i);
        colors->rgb.set1Value(row, color);
        colors->rgb.set1Value(row + 1, color);
        coords->point.set1Value(row, float(ramp[i].to[0]), float(ramp[i].to[1]), 0.0f);
        coords->point.set1Value(row + 1, float(ramp[i].from[0]), float(ramp[i].from[1]), 0.0f);
    }
    auto* binding = new SoMaterialBinding;
    binding->value = SoMaterialBinding::PER_VERTEX;
    auto* mesh = new SoQuadMesh;
    mesh->verticesPerRow = 2;
    mesh->verticesPerColumn = int(ramp.size());
    group->addChild(colors);
    group->addChild(binding);
    group->addChild(coords);
    group->addChild(mesh);
    return group;
}

} // namespace core
