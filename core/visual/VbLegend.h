#pragma once
// VbLegend: the colour bar a module shows beside its colour map: a strip of the
// map with tick labels, a title and an optional background rectangle, drawn in
// viewport space on top of the scene. It is a plain member of its module and
// draws itself from an SoCallback node with raw OpenGL, text through GLFont.
#include "core/graphics/InvSmartPtr.h"
#include "core/properties/VbLabelFormat.h"
#include "shr/Box2f.h"
#include "shr/Color4b.h"
#include "shr/GString.h"

#include <memory>
#include <vector>

class SoAction;
class SoGLRenderAction;
class SoNode;
class SoSeparator;

namespace shr {
class Archive;
}

namespace core {

class GLFont;
class VbColorMap;
class VbModuleId;
class VbPropList;
class VbPropertyEvent;
class VgRenderer;

class VbLegend {
public:
    // A tick label: its place along the strip, 0.0 to 1.0, and its text.
    struct CLabel {
        double pos = 0.0;
        shr::GString text;
    };

    // The legend's rows, as offsets from the base id a module gives it. The
    // label format's rows follow its header at LabelFormatRow.
    enum Row {
        HeaderRow = 0,
        EnableRow = 1,
        OrientationRow = 2,
        XPosRow = 3,
        YPosRow = 4,
        WidthRow = 5,
        LengthRow = 6,
        TitleHeaderRow = 7,
        TitleRow = 8,
        TitleHeightRow = 9,
        LabelsHeaderRow = 10,
        NumLabelsRow = 11,
        UseCustomLabelsRow = 12,
        CustomLabelsRow = 13,
        LabelHeightRow = 14,
        LabelFormatRow = 15,
        FontRow = 21,
        AntialiasRow = 22,
        ShowBackgroundRow = 23,
        FGColorRow = 24,
        BGColorRow = 25,
        RowCount = 26 // ids a module reserves for its legend
    };
    static constexpr unsigned int kMaxLabels = 100;
    // The largest width, length or text height, in points.
    static constexpr float kMaxPoints = 1000.0f;
    // Screen resolution for the conversion of points to pixels.
    static constexpr double kPixelsPerInch = 96.0;

    // Registers the public keys of a legend whose rows start at `base` in a
    // module whose keys start with `prefix`: prefix + "LegendEnable" and so on,
    // the label format's as prefix + "LegendLabelFormatType" and so on.
    static void RegisterKeys(const char* prefix, int base);
    // For a module's static initialisers:
    //   static const core::VbLegend::KeyRegistrar s_Legend("IsoSurface", IdLegend);
    struct KeyRegistrar {
        KeyRegistrar(const char* prefix, int base) { RegisterKeys(prefix, base); }
    };

    // The colour map is the owning module's; the legend never owns it.
    explicit VbLegend(VbColorMap* colorMap = nullptr);

    VbColorMap* GetColorMap() const { return m_ColorMap; }
    void SetColorMap(VbColorMap* colorMap) { m_ColorMap = colorMap; }

    void Show(bool show) { m_Show = show; }
    bool Visible() const { return m_Show; }

    // Enables or greys out the legend's rows from `base` on. Within an enabled
    // group the rows that have no effect stay grey: the custom list while
    // automatic labels are on, the count and format while custom ones are,
    // the background colour without a background.
    void Enabled(VbPropList& list, int base, bool enable);
    // The legend group: rows at base + 0 onwards (see Row), keys `prefix` +
    // "Legend...", the group's header showing `header` ("Legend" when empty).
    void GetProperties(const VbModuleId& module, VbPropList& list, const shr::GString& prefix, int base,
                       const shr::GString& header, const shr::GString& group);
    // Takes a changed legend row; ids outside the group are ignored. Values
    // beyond a row's limits are clamped (positions to 0..1, the label count to
    // kMaxLabels, sizes to kMaxPoints); a size that is not positive, a NaN and
    // an empty font name are refused. Either way the row is set to what the
    // legend holds afterwards.
    void PropertyEvent(const VbModuleId& module, VbPropList& list, const VbPropertyEvent& event, int base);
    // All or nothing: a load that fails leaves the legend as it was.
    void Serialize(shr::Archive& archive);
    // When the legend is shown, adds the callback node that draws it. The node
    // draws a copy of the legend and its colour map as they are now, so the
    // scene stays valid whatever later becomes of the module. Raises what
    // GenerateLabels raises.
    void Execute(VgRenderer& renderer);

    // The tick labels for the colour map's scaling window: automatic, or from
    // the custom "value:text" list. No colour map raises "Invalid colormap.".
    void GenerateLabels(std::vector<CLabel>& labels) const;

    // The legend as plain scene-graph nodes, for a scene written to a file
    // rather than drawn: what Render draws in a view of `width` x `height`
    // pixels (background, strip, ticks, labels, title), under an annotation
    // with an orthographic camera of that view. Raises what GenerateLabels raises.
    InvSmartPtr<SoSeparator> SceneGraph(double width, double height) const;
    // The legend a node of the scene draws (the node Execute adds), or null.
    static const VbLegend* DrawnBy(const SoNode* node);

    // Members, in the order they are stored.
    bool m_Show = false;
    bool m_Vertical = true;
    bool m_UseCustomLabels = false;
    bool m_ShowBackground = false;
    bool m_Antialias = false;
    float m_XPos = 0.02f; // viewport fraction of the lower left corner
    float m_YPos = 0.04f;
    float m_Width = 20.0f; // points
    float m_Length = 200.0f;
    shr::GString m_Title;
    shr::GString m_CustomLabels;
    shr::Color4b m_FGColor;
    shr::Color4b m_BGColor;
    // Margin and spacing, in points: the background's margin around the
    // legend, the ticks' length, the gap from a tick to its label, and the gap
    // from the strip to the title.
    float m_Layout[4] = {3.0f, 2.0f, 1.0f, 8.0f};
    shr::GString m_FontName = "Arial";
    float m_TitleHeight = 12.0f; // points
    float m_LabelHeight = 8.0f;
    unsigned int m_NumLabels = 5;
    VbLabelFormat m_LabelFormat;

private:
    friend class VbLegendTestAccess;
    struct Frame;

    void TransferFields(shr::Archive& archive);
    void CheckLoaded(const shr::Archive& archive) const;
    // Sets the rows that depend on other rows' values enabled or not.
    void UpdateDependentRows(VbPropList& list, int base) const;
    // Each returns false when the event's row value was refused or clamped.
    bool ReadPosition(VbPropList& list, int id, float& position);
    bool ReadSize(VbPropList& list, int id, float& size);
    bool ReadLabelCount(VbPropList& list, int id);

    // Draws the legend into the viewport of the action; no action raises
    // "Invalid render action.".
    void Render(SoGLRenderAction* action);
    // The legend's layout in viewport pixels, fonts and labels included.
    Frame Layout(double viewportWidth, double viewportHeight) const;
    void RenderRamp(const Frame& frame) const;
    void RenderBackground(const Frame& frame) const;
    void RenderBorder(const Frame& frame) const;
    // The strip's outline, the ticks and their labels, common to both orientations.
    void RenderTicksAndLabels(const Frame& frame) const;
    // Draws `text` at (x, y) in the foreground colour.
    void OutputText(GLFont& font, const shr::GString& text, double x, double y, int justification) const;
    // The box of a text drawn at (x, y) with `justification`.
    static shr::Box2f GetBoundingBox(const GLFont& font, const shr::GString& text, double x, double y,
                                     int justification);
    // The box of everything the frame draws but the background.
    static shr::Box2f GetBoundingBox(const Frame& frame);
    // The font at `points`, in the legend's form; a face that cannot be made
    // falls back to the default one, and null means no text is drawn.
    std::shared_ptr<GLFont> FontAt(float points) const;
    // The colour ramp of the frame's strip as a mesh coloured per vertex.
    SoSeparator* StripNode(const Frame& frame) const;
    // One step of the colour ramp along a strip: its colour and its line
    // across the strip, from the right side of a vertical strip or the bottom
    // of a horizontal one.
    struct RampStep {
        shr::Color4b color;
        double from[2], to[2];
    };
    // The steps of the ramp: the map's table entry by entry, or a default count.
    std::vector<RampStep> Ramp(const shr::Box2f& strip) const;
    static void Callback(void* data, SoAction* action);

    VbColorMap* m_ColorMap; // not stored
};

} // namespace core
