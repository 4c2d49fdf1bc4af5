#pragma once
// VoStreamLines: traces massless particles through the vector field of a
// lattice (its first three components) and shows their paths as lines,
// spheres or points, in a fixed colour or coloured by speed.
//
// Seeds lie on a line, a ring or a square in a seed plane that the user
// places with rows or with a jack dragger in the view (the plane's normal is
// the jack's Y axis), or they are the points of a second input. From each
// seed, classical fourth-order Runge-Kutta with a fixed time step runs
// forwards, backwards or both ways, until the step count is used up, the path
// leaves the lattice or meets a blank, or the particle slows below the
// minimum velocity. Tracing runs in the lattice's own coordinates (UVW); the
// finished paths go through the lattice's user transform.
//
// The automatic step lets a particle at the mean speed travel twice the box
// diagonal over the whole number of steps.
#include "core/graphics/VbColorMap.h"
#include "core/graphics/VgDragger.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/VoModule.h"
#include "core/visual/VbLegend.h"
#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace core {

class VbModuleInfo;
class VdLattice;
class VdPoints;
class VgJackDragger;

class VoStreamLines : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoStreamLines)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum StreamMethod : uint32_t { Points = 0, Spheres = 1, Lines = 2 };
    enum Direction : uint32_t { Forward = 0, Backward = 1, Both = 2 };
    enum ColorMethod : uint32_t { Fixed = 0, Magnitude = 1 };
    enum SeedMethod : uint32_t { SeedLine = 0, SeedRing = 1, SeedSquare = 2, SeedPointSet = 3 };
    // Property rows, listed in the order 1, 2, 62, 4, 5, 6, 8, 9, 7, 3, 10 ... 16,
    // the legend, then 43 onwards.
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdStreamMethod = 3,
        IdAutoStep = 4,
        IdStepSize = 5,
        IdNumSteps = 6,
        IdDirection = 7,
        IdMinVelocity = 8,
        IdRendering = 9,
        IdPointSize = 10,
        IdSphereSize = 11,
        IdSphereQuality = 12,
        IdLineWidth = 13,
        IdColorMethod = 14,
        IdColor = 15,
        IdColormap = 16,
        IdLegend = 17, // to 42
        IdSeeds = 43,
        IdSeedMethod = 44,
        IdNumSeeds = 45,
        IdSeedPlane = 46,
        IdNormalGroup = 47,
        IdXNormal = 48,
        IdYNormal = 49,
        IdZNormal = 50,
        IdCentreGroup = 51,
        IdXPos = 52,
        IdYPos = 53,
        IdZPos = 54,
        IdScaleGroup = 55,
        IdXScale = 56,
        IdYScale = 57,
        IdShowDragger = 59,
        IdDraggerRows = 60, // the rows a drag changes, for the host's refresh
        IdResetDragger = 61,
        IdSeedInput = 62
    };
    // Limits of the rows.
    static constexpr int MaxSteps = 100000;
    static constexpr int MaxSeeds = 1000; // per side for "Square"
    static constexpr double MaxPointSize = 48.0;
    static constexpr double MaxLineWidth = 10.0;

    VoStreamLines();
    ~VoStreamLines() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // Base, sync mark, then the fields in their stored order: the sizes as
    // integers before version 110, the seed plane as a position and a matrix
    // before version 109. A failed load changes nothing.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Also takes the whole vectors of the older keys StreamLinesSeedPlaneNormal,
    // StreamLinesSeedPlanePos and StreamLinesSeedPlaneScale.
    void RestoreProperties(VbPropList& list, const VbPropertyEvent& event) override;
    // A new lattice: its component count, magnitudes, colour limits, and,
    // when its box has changed, a seed plane through its centre.
    void OnInputChanged(int input, bool recalc) override;

    // The property id the host refreshes after a drag.
    int DraggerEventId() const { return IdDraggerRows; }

    bool AutoStep() const { return m_AutoStep; }
    void AutoStep(bool autoStep) { m_AutoStep = autoStep; }
    double StepInterval() const { return m_StepInterval; }
    void StepInterval(double step) { m_StepInterval = step; }
    uint32_t NumberOfSteps() const { return m_NumSteps; }
    void NumberOfSteps(uint32_t steps) { m_NumSteps = steps; }
    uint32_t GetDirection() const { return m_Direction; }
    void SetDirection(uint32_t direction) { m_Direction = direction; }
    double MinimumVelocity() const { return m_MinVelocity; }
    void MinimumVelocity(double velocity) { m_MinVelocity = velocity; }
    uint32_t GetStreamMethod() const { return m_StreamMethod; }
    void SetStreamMethod(uint32_t method) { m_StreamMethod = method; }
    uint32_t GetColorMethod() const { return m_ColorMethod; }
    void SetColorMethod(uint32_t method) { m_ColorMethod = method; }
    uint32_t GetSeedMethod() const { return m_SeedMethod; }
    void SetSeedMethod(uint32_t method) { m_SeedMethod = method; }
    uint32_t NumberOfSeeds() const { return m_NumSeeds; }
    void NumberOfSeeds(uint32_t seeds) { m_NumSeeds = seeds; }
    const shr::Vec3d& SeedNormal() const { return m_SeedNormal; }
    void SeedNormal(const shr::Vec3d& normal) { m_SeedNormal = normal; }
    const shr::Vec3d& SeedCentre() const { return m_SeedCentre; }
    void SeedCentre(const shr::Vec3d& centre) { m_SeedCentre = centre; }
    const shr::Vec3d& SeedScale() const { return m_SeedScale; }
    void SeedScale(const shr::Vec3d& scale) { m_SeedScale = scale; }
    bool ShowDragger() const { return m_ShowDragger; }
    void ShowDragger(bool show) { m_ShowDragger = show; }
    double SphereSize() const { return m_SphereSize; }
    double MagnitudeMin() const { return m_MagnitudeMin; }
    double MagnitudeMax() const { return m_MagnitudeMax; }
    const shr::Box3d& DataBox() const { return m_DataBox; }
    VbColorMap& GetColorMap() { return m_ColorMap; }
    const VbColorMap& GetColorMap() const { return m_ColorMap; }
    VbLegend& GetLegend() { return m_Legend; }
    // The dragger while it is shown, for the view's events.
    std::shared_ptr<const VgJackDragger> Dragger() const;

    // The seeds of the latest run (in the lattice's own coordinates), and the
    // paths it drew, in the scene's coordinates, one count per path.
    const std::vector<shr::Vec3d>& Seeds() const { return m_Seeds; }
    const VgVertexData& Paths() const { return m_Paths; }
    const std::vector<int>& PathCounts() const { return m_PathCounts; }

    // The path from one seed under the current settings, in the lattice's
    // own coordinates; `colors` gets one colour per point with "Magnitude".
    void InterpStreamLine(std::vector<shr::Vec3d>& points, std::vector<shr::Color4b>& colors,
                          const shr::Vec3d& seed) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const override;

    const VdLattice* InputLattice() const;
    const VdPoints* InputSeedPoints() const;

    void AddGeneralRows(VbPropList& list);
    void AddRenderingRows(VbPropList& list);
    void AddSeedRows(VbPropList& list);
    // Shows the size rows of the stream method.
    void UpdateStreamMethod(VbPropList& list) const;
    // Shows the colour or the colour map, and enables the legend with "Magnitude".
    void UpdateColorMethod(VbPropList& list);
    void UpdateColorMapDataLimits();
    void ShowSeedPlane(VbPropList& list) const;
    // The seed plane's rows serve every method but "Point set".
    void EnableSeedPlane(VbPropList& list) const;
    void CalcAutoStepSize();
    // The seed plane through the centre of the data box, facing +Z; with a
    // list, its rows show the new values.
    void InitSeedTransform(VbPropList* list);
    // The velocity at `p` (lattice coordinates); false outside the lattice or
    // at a blank.
    bool Interpolate(const VdLattice& lattice, const shr::Vec3d& p, shr::Vec3d& out) const;
    // Half the larger of the data box's X and Y extents.
    double GetUnitScale() const;
    void ComputeMagnitudeLimits();
    // One run from `seed` with the signed time step `step`.
    void InterpStreamLine(const VdLattice& lattice, std::vector<shr::Vec3d>& points, std::vector<shr::Color4b>& colors,
                          const shr::Vec3d& seed, double step) const;
    shr::Color4b SpeedColor(double speed) const;
    void GenerateSeedPoints();
    void AddDragger(VgRenderer& renderer, const VdLattice& lattice);
    // Traces every seed into the paths; false when the progress asked to stop.
    bool TraceSeeds(const VdLattice& lattice);
    bool CreateStreamPoints(VgRenderer& renderer, const VdLattice& lattice);
    bool CreateStreamSpheres(VgRenderer& renderer, const VdLattice& lattice);
    bool CreateStreamLines(VgRenderer& renderer, const VdLattice& lattice);

    static void DraggerCallback(VgDragger::Event event, const VgDragger* sender, void* data);

    bool m_AutoStep = true;
    uint32_t m_StreamMethod = Lines;
    float m_PointSize = 3.0f;
    float m_LineWidth = 1.5f;
    double m_SphereSize = 0.2;
    double m_SphereQuality = 0.5;
    double m_StepInterval = 1.0;
    // Kept at its place in the stored form, after the step interval.
    double m_StepReserved = 0.0;
    uint32_t m_NumSteps = 100;
    uint32_t m_Direction = Both;
    double m_MinVelocity = 0.0;
    uint32_t m_ColorMethod = Magnitude;
    shr::Color4b m_FixedColor = shr::Color4b::Red;
    uint32_t m_SeedMethod = SeedLine;
    uint32_t m_NumSeeds = 10;
    double m_MagnitudeMin = 0.0;
    double m_MagnitudeMax = 1.0;
    uint32_t m_VectorComponents = 3;
    bool m_ShowDragger = false;
    shr::Box3d m_DataBox;
    shr::Vec3d m_SeedNormal{0.0, 0.0, 1.0};
    shr::Vec3d m_SeedCentre{0.0, 0.0, 0.0};
    shr::Vec3d m_SeedScale{0.9, 0.9, 1.0};
    // Replaced on the update thread, read by the view's events.
    std::shared_ptr<VgJackDragger> m_Dragger;
    bool m_DraggerChanged = false;
    std::vector<shr::Vec3d> m_Seeds;
    VbColorMap m_ColorMap;
    VbLegend m_Legend;

    VgVertexData m_Paths;
    std::vector<int> m_PathCounts;
};

} // namespace core
