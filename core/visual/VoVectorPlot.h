#pragma once
// VoVectorPlot: one symbol per sampled node of a lattice, or per sampled point
// of a point set, whose first three components are the X, Y and Z of a vector.
// A symbol's length follows the vector's magnitude through a linear, square
// root or logarithmic law between the lengths at the smallest and largest
// magnitude; its colour is fixed, follows the magnitude through the colour
// map, or comes from a component of a second lattice at the same node.
//
// A lattice is sampled whole or on one plane of nodes, every `frequency`-th
// node along each sampled axis. All symbols go into three buffers (base
// points, lines, solid heads), so a plot is at most three shapes.
#include "core/graphics/VbColorMap.h"
#include "core/network/VoModule.h"
#include "core/visual/VbLegend.h"
#include "core/visual/VoVectorPlotPrivate.h"
#include "shr/Color4b.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <memory>

namespace core {

class VbModuleInfo;
class VbProgress;
class VdLattice;
class VdPoints;
class VectorReader;

class VoVectorPlot : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoVectorPlot)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum Orientation : uint32_t { XYPlane = 0, XZPlane = 1, YZPlane = 2, AllNodes = 3 };
    enum VectorStyle : uint32_t { Line = 0, Arrow2 = 1, Arrow4 = 2, ArrowCross = 3, ArrowSolid = 4, Fade = 5 };
    enum ScaleMethod : uint32_t { Linear = 0, SquareRoot = 1, Logarithmic = 2 };
    enum ColorMethod : uint32_t { Fixed = 0, Magnitude = 1, Scalar = 2 };
    // Property rows; listed in the order 1, 2, 3, 4, 6, 5, 7, 8, 10 ... 16, 15, 9, 17, 18, 19, legend.
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdScalarInput = 3,
        IdOrientation = 4,
        IdFrequency = 5,
        IdSlice = 6,
        IdRendering = 7,
        IdVectorStyle = 8,
        IdColorMethod = 9,
        IdScaleMethod = 10,
        IdMinScale = 11,
        IdMaxScale = 12,
        IdHeadScale = 13,
        IdDotSize = 14,
        IdReverse = 15,
        IdLineWidth = 16,
        IdColor = 17,
        IdColormap = 18,
        IdColorComponent = 19,
        IdLegend = 20
    };
    // Limits of the rows that take sizes and scales.
    static constexpr double MaxScale = 5.0;
    static constexpr double MaxDotSize = 48.0;
    static constexpr double MaxLineWidth = 4.0;

    VoVectorPlot();
    ~VoVectorPlot() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // Base, sync mark, then the fields in their stored order (line width and
    // base symbol size as integers before version 110). A failed load changes
    // nothing.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // A vector input sets the base length and, the first time, the
    // frequency; a scalar lattice caps the colour component. The colour
    // limits follow either way.
    void OnInputChanged(int input, bool recalc) override;

    // The length of a vector of magnitude m, by the scale method.
    double GetScaledLength(double m) const;
    // One step from the data's size: a tenth of the lattice diagonal in nodes,
    // a hundredth of the points.
    void CalcDefaults();
    // The magnitude limits over every node or point of the vector input.
    void ComputeMagnitudeLimits();

    // The settings, as their rows set them (slice and colour component from 0).
    bool ReverseOrientation() const { return m_Reverse; }
    void ReverseOrientation(bool reverse) { m_Reverse = reverse; }
    uint32_t GetOrientation() const { return m_Orientation; }
    void SetOrientation(uint32_t orientation) { m_Orientation = orientation; }
    uint32_t Slice() const { return m_Slice; }
    void Slice(uint32_t slice) { m_Slice = slice; }
    uint32_t Frequency() const { return m_Frequency; }
    void Frequency(uint32_t frequency) { m_Frequency = frequency; }
    uint32_t Style() const { return m_VectorStyle; }
    void Style(uint32_t style) { m_VectorStyle = style; }
    uint32_t GetScaleMethod() const { return m_ScaleMethod; }
    void SetScaleMethod(uint32_t method) { m_ScaleMethod = method; }
    uint32_t GetColorMethod() const { return m_ColorMethod; }
    void SetColorMethod(uint32_t method) { m_ColorMethod = method; }
    float LineWidth() const { return m_LineWidth; }
    void LineWidth(float width) { m_LineWidth = width; }
    float BaseSymbolSize() const { return m_DotSize; }
    void BaseSymbolSize(float size) { m_DotSize = size; }
    double ArrowScale() const { return m_HeadScale; }
    void ArrowScale(double scale) { m_HeadScale = scale; }
    uint32_t ColorComponent() const { return m_ColorComponent; }
    void ColorComponent(uint32_t component) { m_ColorComponent = component; }
    const shr::Color4b& FixedColor() const { return m_FixedColor; }
    void FixedColor(const shr::Color4b& color) { m_FixedColor = color; }
    double MagnitudeMin() const { return m_MagnitudeMin; }
    double MagnitudeMax() const { return m_MagnitudeMax; }
    void MagnitudeLimits(double min, double max) { m_MagnitudeMin = min, m_MagnitudeMax = max; }
    double MinScale() const { return m_MinScale; }
    double MaxScaleFactor() const { return m_MaxScale; }
    void ScaleFactors(double minScale, double maxScale) { m_MinScale = minScale, m_MaxScale = maxScale; }
    double BaseLength() const { return m_BaseLength; }
    void BaseLength(double length) { m_BaseLength = length; }
    bool FirstInput() const { return m_FirstInput; }
    VbColorMap& GetColorMap() { return m_ColorMap; }
    const VbColorMap& GetColorMap() const { return m_ColorMap; }
    VbLegend& GetLegend() { return m_Legend; }

    // The symbols of the latest run, as they went to the renderer.
    const VoVectorPlotPrivate::PrimBuffer& Symbols() const { return m_Buffer; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const override;

    const VdLattice* InputLattice() const;
    const VdPoints* InputPoints() const;
    const VdLattice* InputColorLattice() const;

    void AddGeneralRows(VbPropList& list);
    void AddRenderingRows(VbPropList& list);
    // The arrow scale row is of use to the styles with heads.
    void EnableHeadScale(VbPropList& list) const;
    // Shows the slice row unless all nodes are drawn, with the limits of the
    // orientation; with `setValue` the row also shows the stored slice.
    void UpdateOrientation(VbPropList& list, bool setValue) const;
    // The colour map's data limits: the scalar component's, or the magnitudes'.
    void UpdateColorLimits();
    // The rows of the colour method: colour, colour map (and its help), component, legend.
    void UpdateColorOptions(VbPropList& list);
    // Raises the scalar lattice errors of a lattice run.
    void CheckScalarLattice(const VdLattice& lattice) const;

    // Sampling; false when the progress asked to stop.
    bool SamplePoints(const VdPoints& points, VbProgress& progress);
    bool SampleLattice(const VdLattice& lattice, const VdLattice* scalar, VbProgress& progress);
    // The colour of a sampled vector under the colour method.
    shr::Color4b MagnitudeColor(const shr::Vec3d& vector) const;
    shr::Color4b ScalarColor(const VdLattice& scalar, uint32_t node) const;
    void Draw(VgRenderer& renderer);

    void AddPolyline(const shr::Vec3d* vertices, int count, const shr::Color4b& color,
                     VoVectorPlotPrivate::PrimBuffer& buffer) const;
    void AddTriangleStrip(const shr::Vec3d* vertices, size_t vertexCount, const int* indices, int indexCount,
                          const shr::Color4b& color, VoVectorPlotPrivate::PrimBuffer& buffer) const;
    void AddPoint(const shr::Vec3d& position, const shr::Color4b& color, VoVectorPlotPrivate::PrimBuffer& buffer) const;
    void DrawVector(const shr::Vec3d& position, const shr::Vec3d& vector, const shr::Color4b& color,
                    VoVectorPlotPrivate::PrimBuffer& buffer) const;

    bool m_FirstInput = true;
    bool m_Reverse = false;
    uint32_t m_Orientation = AllNodes;
    uint32_t m_Slice = 0;
    uint32_t m_Frequency = 1;
    uint32_t m_VectorStyle = Arrow2;
    uint32_t m_ScaleMethod = Linear;
    uint32_t m_ColorMethod = Magnitude;
    // Kept at its place in the stored form, for the family of colour methods.
    uint32_t m_ColorMethodReserved = 0;
    float m_LineWidth = 1.0f;
    float m_DotSize = 2.0f;
    double m_HeadScale = 1.0;
    uint32_t m_ColorComponent = 0;
    shr::Color4b m_FixedColor = shr::Color4b::Black;
    double m_MagnitudeMin = 0.0;
    double m_MagnitudeMax = 1.0;
    double m_MinScale = 1.0;
    double m_MaxScale = 1.0;
    double m_BaseLength = 1.0;
    VbColorMap m_ColorMap;
    VbLegend m_Legend;

    VoVectorPlotPrivate::PrimBuffer m_Buffer;
};

} // namespace core
