#pragma once
// VoSampleLattice: a source of synthetic uniform lattices for trying out the
// visual modules and for tests: six analytic fields, sampled at the nodes of a
// lattice of chosen size, bounds and element type. The fields are defined on
// the lattice's box mapped onto [-1, 1] per axis, so that their shape does not
// depend on the bounds.
//
// The nodes are filled in parallel; every node's value depends on its
// position alone, so the result equals a sequential fill bit for bit.
#include "core/network/VoModule.h"
#include "shr/Box3d.h"
#include "shr/PrimType.h"
#include "shr/Vec3.h"

#include <cstdint>

namespace core {

class VbProgress;
class VdLattice;
class VdUniformLattice;

class VoSampleLattice : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoSampleLattice)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum Function : uint32_t {
        SphereDistance = 0, // distance from the centre less 0.5: negative inside the sphere
        GaussianBlobs = 1,  // three Gaussian bumps of different heights and widths
        WaveField = 2,      // sin(pi u) cos(pi v) + 0.5 sin(2 pi w)
        Saddle = 3,         // u^2 - v^2
        Vortex = 4,         // three components: a swirl about the W axis with an upflow in its core
        FaultedLayers = 5,  // numbered dipping layers, offset across an inclined fault
        FunctionCount = 6
    };

    // Property ids.
    enum : int {
        IdGeneral = 1,
        IdFunction = 2,
        IdOutType = 3,
        IdGeometry = 10,
        IdLimits = 11,
        IdResolution = 20,
    };

    static constexpr unsigned int MinNodes = 2;
    static constexpr unsigned int MaxNodes = 1024;

    struct Settings {
        uint32_t function = SphereDistance;
        shr::PrimType outType = shr::Float;
        shr::Box3d limits{0.0, 0.0, 0.0, 1.0, 1.0, 1.0};
        uint32_t nodes[3] = {32, 32, 32};
    };

    VoSampleLattice();

    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    // Base, SyncCheck, function and type (4 bytes each), the limits box, the
    // node counts (4 bytes each). The lattice is not stored: it is made again.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    const Settings& GetSettings() const { return m_Settings; }
    Settings& GetSettings() { return m_Settings; }

    // The names of the function combo, by Function.
    static const char* FunctionName(uint32_t function);
    static unsigned int ComponentCount(uint32_t function);
    // The values of `function` at `u` (each axis in [-1, 1]); ComponentCount of them.
    static void Evaluate(uint32_t function, const shr::Vec3d& u, double* values);
    // Writes `function` into every node of `lattice`, which must have its
    // ComponentCount components. In parallel, the work goes in slabs of layers
    // with a progress report after each; false when the progress asked to stop.
    static bool Fill(uint32_t function, VdUniformLattice& lattice, bool parallel, VbProgress* progress);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    void Validate() const;

    Settings m_Settings;
};

} // namespace core
