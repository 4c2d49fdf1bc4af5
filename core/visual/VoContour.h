#pragma once
// VoContour: iso-lines of one lattice component on a plane. A flat lattice is
// contoured on the mesh of its own nodes; a 3-D lattice on the cut of a
// cutting plane through it. The plane is triangulated once, the component
// taken to its vertices, and then every level is traced over the triangles on
// its own, the levels in parallel. Each level's segments are joined into
// polylines and drawn in the colour the map gives the level. An optional
// border outlines the plane's section of the lattice box.
//
// Levels: "Automatic" spreads the number of levels evenly over the data, half
// a band in from either end; "Min, max, count" and "Min, max, interval" work
// between the minimum and maximum level; "Explicit" takes a typed list, in
// the order written (duplicates draw twice).
//
// The module keeps the memory of its triangulation between executions, so
// that a change of levels or colours on a large lattice does not pay for it
// again.
#include "core/visual/VbCuttingPlane.h"
#include "core/visual/VbTriangulateLattice2D.h"
#include "core/visual/VoLatticeModule.h"
#include "shr/Color4b.h"
#include "shr/GString.h"

#include <cstdint>
#include <vector>

namespace core {

class VoContour : public VoLatticeModule {
    SHR_DECLARE_CREATABLE_TYPE(VoContour)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum LevelMethod : uint32_t { Automatic = 0, MinMaxCount = 1, MinMaxInterval = 2, Explicit = 3 };
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdPlane = 4, // to 10, the cutting plane
        IdDataLimits = 11,
        IdComponent = 13,
        IdLineWidth = 14,
        IdSpacing = 15,
        IdLevels = 16,
        IdExplicit = 17,
        IdMinLevel = 18,
        IdMaxLevel = 19,
        IdInterval = 20,
        IdNumLevels = 21,
        IdRendering = 22,
        IdColormap = 23,
        IdBorderShow = 24,
        IdBorderWidth = 25,
        IdBorderColor = 26,
        IdLegend = 27
    };
    // The most levels a count may ask for.
    static constexpr int32_t kMaxNumLevels = 1000;
    // The widest line, in points.
    static constexpr float kMaxLineWidth = 4.0f;

    VoContour();
    ~VoContour() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Widths were 32-bit integers before version 110. A load that fails
    // leaves the module as it was.
    void Serialize(shr::Archive& archive) override;

    VbCuttingPlane& Plane() { return m_Plane; }
    const VbCuttingPlane& Plane() const { return m_Plane; }
    uint32_t Method() const { return m_LevelMethod; }
    void Method(uint32_t method) { m_LevelMethod = method; }
    int32_t NumLevels() const { return m_NumLevels; }
    void NumLevels(int32_t count) { m_NumLevels = count; }
    double MinLevel() const { return m_MinLevel; }
    double MaxLevel() const { return m_MaxLevel; }
    double Interval() const { return m_Interval; }
    void SetLevelRange(double minimum, double maximum, double interval);
    const shr::GString& ExplicitLevels() const { return m_ExplicitLevels; }
    void ExplicitLevels(const shr::GString& text) { m_ExplicitLevels = text; }
    float LineWidth() const { return m_LineWidth; }
    void LineWidth(float width) { m_LineWidth = width; }
    bool ShowBorder() const { return m_ShowBorder; }
    void ShowBorder(bool show) { m_ShowBorder = show; }
    float BorderWidth() const { return m_BorderWidth; }
    void BorderWidth(float width) { m_BorderWidth = width; }
    const shr::Color4b& BorderColor() const { return m_BorderColor; }
    void BorderColor(const shr::Color4b& color) { m_BorderColor = color; }

    // The levels the next execution draws, in drawing order.
    std::vector<double> Levels() const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    void AddGeneralRows(VbPropList& list);
    void AddLevelRows(VbPropList& list);
    void AddRenderingRows(VbPropList& list);
    // The border's width and colour rows follow its check box.
    void UpdateBorder(VbPropList& list);
    void UpdateInputDataLimits(VbPropList& list);
    // Shows the level rows that the method uses, with their values.
    void UpdateSpacingOptions(VbPropList& list);
    // Triangulates the plane of `plane` through the input for `component`;
    // false when the user stopped the pass.
    bool Triangulate(const VbCuttingPlane& plane, unsigned int component, VbTriangulateLattice2D& triangulation);
    // New data: the map's limits, automatic levels, the interval's floor.
    void UpdateData();
    // The plane follows a lattice whose box it has not seen, and the levels
    // the data; the host is told when rows changed.
    void FollowInput(const VdLattice& lattice);
    void CalcLevels(std::vector<double>& levels) const;
    void CalcBorder(const VdLattice& lattice, VgRenderer& renderer);

    VbCuttingPlane m_Plane;
    bool m_ShowBorder = true;
    float m_BorderWidth = 1.0f;
    shr::Color4b m_BorderColor = shr::Color4b::Black;
    float m_LineWidth = 2.0f;
    uint32_t m_LevelMethod = Automatic;
    int32_t m_NumLevels = 5;
    double m_MinLevel = 0.0;
    double m_MaxLevel = 1.0;
    double m_Interval = 0.2;
    shr::GString m_ExplicitLevels;
    // The triangulation's memory, kept for the next execution.
    VbTriangulateLattice2D::Storage m_Workspace;
};

} // namespace core
