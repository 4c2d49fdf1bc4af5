#pragma once
// VoLatticeResample: samples one lattice of any kind onto a new uniform
// lattice of chosen limits and node counts, by nearest node or trilinear
// interpolation. Output nodes outside the input are blank.
//
// The output keeps the input's element type, its components and its user
// transform, so the limits are in the input's own (UVW) coordinates: a
// rotated survey resampled stays where it was. With "Calculate from input"
// the limits are the input's box and the node counts its own (at most
// LatticeGeometry::MaxNodes per axis), so the output starts as a copy.
#include "core/processing/VoLatticeSampler.h"

namespace core {

class VdUniformLattice;

class VoLatticeResample : public VoLatticeSampler {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeResample)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId : int { IdInput = 3 };

    VoLatticeResample();
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, auto (1 byte), method (4 bytes), the node counts X, Y,
    // Z (4 bytes each), the six limits (8 bytes each). A bad archive leaves
    // the module as it was.
    void Serialize(shr::Archive& archive) override;

    // The input's box and node counts, when there is an input with nodes.
    void CalcAutoParameters() override;
    // Samples `input` at every node of `output`: ModuleOk, or ModuleAborted
    // when the network asked to stop (the output is then incomplete).
    ModuleStatus Compute(const VdLattice& input, VdUniformLattice& output) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    const VdLattice* InputLattice() const;
};

} // namespace core
