#pragma once
// VoScatterPlot: a symbol at every point of a point set or every node of a
// lattice, coloured by one fixed colour or by a data component through a colour
// map, optionally joined by lines in point order, thinned by a density stride,
// and, for point sets, labelled with the point's own text, a coordinate or a
// component value. The usual first look at raw scattered data.
//
// Blank values are skipped whole when colouring by data: no symbol, no line
// vertex, no label, so a line joins the neighbours of a blank point.
//
// Label settings live in the module's TextFormat: face, size, colour and
// justification as named; the first two floats are the labels' X and Y offset
// in pixels, the third the width of the leader lines drawn from each point to
// its offset label.
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/VbColorMap.h"
#include "core/network/VoModule.h"
#include "core/properties/TextFormat.h"
#include "core/properties/VbLabelFormat.h"
#include "core/visual/VbLegend.h"
#include "shr/Color4b.h"
#include "shr/GString.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace core {

class VbModuleInfo;
class VdLattice;
class VdPoints;
class VdVertexData;
class VgRenderer;
class VgVertexData;

namespace ScatterPlotPrivate {
class LabelExtractor;
class TextOffsetNode;
} // namespace ScatterPlotPrivate

class VoScatterPlot : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoScatterPlot)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum ColorMethodType : uint32_t { Fixed = 0, ByData = 1 };
    // The symbol that is drawn as plain square points, sized in points.
    static constexpr uint32_t kFastSquare = 30;
    static constexpr uint32_t kSymbolCount = 31;
    static constexpr uint32_t kMarkerSizeCount = 3;
    static constexpr uint32_t kDensityCount = 8;
    static constexpr double kMaxPointSize = 48.0;
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdSymbols = 3,
        IdMarker = 4,
        IdPointSize = 5,
        IdMarkerSize = 6,
        IdColorMethod = 7,
        IdFixedColor = 8,
        IdColorComponent = 9,
        IdColormap = 10,
        IdLegend = 11, // to 36
        IdDensity = 37,
        IdShowLines = 38,
        IdLineWidth = 39,
        IdLines = 40,
        IdLabels = 41,
        IdShowLabels = 42,
        IdLabelField = 43,
        IdLabelFont = 44,
        IdLabelSize = 45,
        IdLabelColor = 46,
        IdLabelColorMethod = 47,
        IdLabelJustification = 48,
        IdLabelXOffset = 49,
        IdLabelYOffset = 50,
        IdLeaderLines = 51,
        IdLeaderLineWidth = 52,
        IdLabelFormat = 53 // to 57
    };

    VoScatterPlot();
    ~VoScatterPlot() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // New data: the colour map takes the component's range. Data of no
    // drawable kind reports "Invalid input data.".
    void OnInputChanged(int input, bool recalc) override;
    // Base, sync mark, the fields; versions gate the point size's and the line
    // width's type (110), the density and the line flags (106), the label
    // formats (119) and the label field (121). A failed load changes nothing.
    void Serialize(shr::Archive& archive) override;

    // The stride of each density choice: every n-th point is drawn.
    static uint32_t DensityStride(uint32_t density);
    // The label fields a point set offers: component names, "Labels" when it
    // has labels, then "X", "Y", "Z", "XYZ".
    static std::vector<shr::GString> CollectLabelFields(const VdVertexData& data);

    uint32_t Symbol() const { return m_Symbol; }
    void Symbol(uint32_t symbol) { m_Symbol = symbol; }
    float PointSize() const { return m_PointSize; }
    void PointSize(float size) { m_PointSize = size; }
    uint32_t MarkerSize() const { return m_MarkerSize; }
    void MarkerSize(uint32_t index) { m_MarkerSize = index; }
    float LineWidth() const { return m_LineWidth; }
    void LineWidth(float width) { m_LineWidth = width; }
    uint32_t ColorMethod() const { return m_ColorMethod; }
    void ColorMethod(uint32_t method) { m_ColorMethod = method; }
    const shr::Color4b& FixedColor() const { return m_FixedColor; }
    void FixedColor(const shr::Color4b& color) { m_FixedColor = color; }
    // Zero-based.
    uint32_t ColorComponent() const { return m_ColorComponent; }
    void ColorComponent(uint32_t component) { m_ColorComponent = component; }
    VbColorMap& GetColorMap() { return m_ColorMap; }
    const VbColorMap& GetColorMap() const { return m_ColorMap; }
    VbLegend& GetLegend() { return m_Legend; }
    uint32_t Density() const { return m_Density; }
    void Density(uint32_t density) { m_Density = density; }
    bool ShowLines() const { return m_ShowLines; }
    void ShowLines(bool show) { m_ShowLines = show; }
    bool ShowLabels() const { return m_ShowLabels; }
    void ShowLabels(bool show) { m_ShowLabels = show; }
    bool LeaderLines() const { return m_LeaderLines; }
    void LeaderLines(bool show) { m_LeaderLines = show; }
    uint32_t LabelColorMethod() const { return m_LabelColorMethod; }
    void LabelColorMethod(uint32_t method) { m_LabelColorMethod = method; }
    TextFormat& LabelText() { return m_TextFormat; }
    const TextFormat& LabelText() const { return m_TextFormat; }
    VbLabelFormat& LabelFormat() { return m_LabelFormat; }
    const VbLabelFormat& LabelFormat() const { return m_LabelFormat; }
    const shr::GString& LabelField() const { return m_LabelField; }
    void LabelField(const shr::GString& field) { m_LabelField = field; }

    // The symbols of the latest run, as handed to the renderer.
    const VgVertexData& Symbols() const { return *m_Symbols; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    const VdVertexData* InputData() const;
    const VdPoints* InputPoints() const;
    // Symbols (and lines) of every stride-th point or node.
    ModuleStatus Render(VgRenderer& renderer, const VdPoints& points, uint32_t stride);
    ModuleStatus Render(VgRenderer& renderer, const VdLattice& lattice, uint32_t stride);
    void DrawSymbols(VgRenderer& renderer) const;
    void RenderLabels(VgRenderer& renderer, const VdPoints& points, uint32_t stride);
    std::unique_ptr<ScatterPlotPrivate::LabelExtractor> ConstructLabelExtractor(const VdPoints& points) const;
    // Whether colouring reads the colour component (method, component and data agree).
    bool ColorsByData(const VdVertexData& data) const;

    void AddSymbolRows(VbPropList& list);
    void AddLineRows(VbPropList& list);
    void AddLabelRows(VbPropList& list);
    // Replaces the size row by the one the symbol takes.
    void OnSetMarker(VbPropList& list);
    void UpdateColorMethod(VbPropList& list);
    void UpdateLabelColorMethod(VbPropList& list);
    void UpdateLabels(VbPropList& list);
    void UpdateColorMap();
    // The colour component's data range; false without data.
    bool GetInputRange(double& min, double& max) const;
    // Takes the text-format and label rows; false for an id that is none of them.
    bool LabelPropertyEvent(VbPropList& list, int id);

    uint32_t m_Symbol = kFastSquare;
    float m_PointSize = 5.0f;
    uint32_t m_MarkerSize = 1;
    float m_LineWidth = 1.0f;
    uint32_t m_ColorMethod = ByData;
    uint32_t m_LabelColorMethod = Fixed;
    shr::Color4b m_FixedColor;
    uint32_t m_ColorComponent = 0;
    bool m_ShowLabels = false;
    uint32_t m_Density = 0;
    bool m_ShowLines = false;
    bool m_LeaderLines = false;
    VbColorMap m_ColorMap;
    VbLegend m_Legend;
    TextFormat m_TextFormat;
    VbLabelFormat m_LabelFormat;
    shr::GString m_LabelField;
    // The name of the label field that selects the point set's own labels.
    const shr::GString m_LabelsName;
    // Shifts the labels by their pixel offsets; made on first use.
    InvSmartPtr<ScatterPlotPrivate::TextOffsetNode> m_TextOffset;
    std::unique_ptr<VgVertexData> m_Symbols;
};

} // namespace core
