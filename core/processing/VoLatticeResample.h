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
#include "core/data/VdLattice.h"
#include "core/network/VoModule.h"
#include "core/processing/LatticeGeometry.h"

namespace core {

class VbProgress;
class VdUniformLattice;

class VoLatticeResample : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeResample)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId { IdHeader = 1, IdInput = 2, IdMethod = 3 };
    // The names of the resample method combo, by VdLattice::InterpMethod 0 and 1.
    static const char* const MethodNames[2];

    VoLatticeResample();
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, auto (1 byte), method (4 bytes), the node counts X, Y,
    // Z (4 bytes each), the six limits (8 bytes each). A bad archive leaves
    // the module as it was.
    void Serialize(shr::Archive& archive) override;

    LatticeGeometry& Geometry() { return m_Geometry; }
    const LatticeGeometry& Geometry() const { return m_Geometry; }
    VdLattice::InterpMethod Method() const { return m_Method; }
    // Nearest or trilinear; anything else raises an error.
    void Method(unsigned int method);

    // The input's box and node counts, when there is an input with nodes.
    void CalcAutoParameters();
    // Samples `input` at every node of `output`: ModuleOk, or ModuleAborted
    // when the network asked to stop (the output is then incomplete).
    ModuleStatus Compute(const VdLattice& input, VdUniformLattice& output) const;
    // Raises an error for a method other than nearest or trilinear.
    static VdLattice::InterpMethod CheckedMethod(unsigned int method);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    const VdLattice* InputLattice() const;

    LatticeGeometry m_Geometry;
    VdLattice::InterpMethod m_Method = VdLattice::INTERP_LINEAR;
};

} // namespace core
