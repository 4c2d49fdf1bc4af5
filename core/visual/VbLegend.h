#pragma once
// VbLegend: the colour bar a module shows beside its colour map: a strip of the
// map with tick labels, a title and an optional background rectangle, drawn in
// viewport space on top of the scene. It is a plain member of its module and
// draws itself from an SoCallback node with raw OpenGL, text through GLFont.
#include "core/properties/VbLabelFormat.h"
#include "shr/Color4b.h"
#include "shr/GString.h"

#include <vector>

class SoAction;
class SoGLRenderAction;

namespace shr {
class Archive;
}

namespace core {

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

    // The colour map is the owning module's; the legend never owns it.
    explicit VbLegend(VbColorMap* colorMap = nullptr);

    VbColorMap* GetColorMap() const { return m_ColorMap; }
    void SetColorMap(VbColorMap* colorMap) { m_ColorMap = colorMap; }

    void Show(bool show) { m_Show = show; }
    bool Visible() const { return m_Show; }

    // Enables or greys out the legend's rows below `base`.
    void Enabled(VbPropList& list, int base, bool enable);
    // The legend group: rows at base + 0 onwards, keys `prefix` + "Legend...".
    void GetProperties(const VbModuleId& module, VbPropList& list, const shr::GString& prefix, int base,
                       const shr::GString& header, const shr::GString& group);
    // Takes a changed legend row; ids outside the group are ignored.
    void PropertyEvent(const VbModuleId& module, VbPropList& list, const VbPropertyEvent& event, int base);
    // All or nothing: a load that fails leaves the legend as it was.
    void Serialize(shr::Archive& archive);
    // Adds the callback node that draws the legend, when it is shown.
    void Execute(VgRenderer& renderer);

    // The tick labels for the colour map's scaling window: automatic, or from
    // the custom "value:text" list. No colour map raises "Invalid colormap.".
    void GenerateLabels(std::vector<CLabel>& labels) const;

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
    // Margin and spacing, in points.
    float m_Layout[4] = {3.0f, 2.0f, 1.0f, 8.0f};
    shr::GString m_FontName = "Arial";
    float m_TitleHeight = 12.0f; // points
    float m_LabelHeight = 8.0f;
    unsigned int m_NumLabels = 5;
    VbLabelFormat m_LabelFormat;

private:
    void TransferFields(shr::Archive& archive);
    void Render(SoGLRenderAction* action);
    static void Callback(void* data, SoAction* action);

    VbColorMap* m_ColorMap; // not stored
};

} // namespace core
