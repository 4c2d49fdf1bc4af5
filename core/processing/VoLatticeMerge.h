#pragma once
// VoLatticeMerge: samples up to eight lattices (inputs A to H, of any kind)
// onto one uniform lattice and combines their values where they overlap:
// average, count, first, last, maximum, median or minimum, per component.
//
// The output has as many components as the widest input, in the type that
// holds the values of all inputs (shr::CPrimType::Promotion). Its limits,
// node counts and user transform are the module's. "Calculate from input"
// sets all three: inputs that share one user transform (or have none) are
// merged in that frame, so aligned tiles of a rotated survey stay aligned;
// otherwise the box is the union of their scene boxes, without a transform.
// The node counts keep the finest node spacing among the inputs, per axis.
#include "core/processing/VoLatticeSampler.h"
#include "shr/Array.h"
#include "shr/Mat4d.h"

namespace core {

class VdUniformLattice;

class VoLatticeMerge : public VoLatticeSampler {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeMerge)
public:
    static const VbModuleInfo s_ModuleInfo;
    static constexpr int InputCount = 8;
    // Statics IdInputFirst + n show the module at input n.
    enum RowId : int { IdOverlap = 3, IdInputFirst = 20 };
    // The names of the overlap combo, by LatticeMerger::Overlap.
    static const char* const OverlapNames[7];

    VoLatticeMerge();
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, auto (1 byte), resample method, overlap method and a
    // word without meaning here (written 0), 4 bytes each; the six limits
    // (8 bytes each); the node counts X, Y, Z (4 bytes each); the output's
    // user transform. A bad archive leaves the module as it was.
    void Serialize(shr::Archive& archive) override;

    unsigned int Overlap() const { return m_Overlap; }
    void Overlap(unsigned int overlap);
    const shr::Mat4d& Transform() const { return m_Transform; }

    // Limits, node counts and transform from the connected inputs, if any has nodes.
    void CalcAutoParameters() override;
    // The connected inputs, in port order.
    shr::Array<const VdLattice*> ConnectedInputs() const;
    // Samples and combines `inputs` at every node of `output`: ModuleOk, or
    // ModuleAborted when the network asked to stop.
    ModuleStatus Compute(const shr::Array<const VdLattice*>& inputs, VdUniformLattice& output) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    unsigned int m_Overlap = 0;
    shr::Mat4d m_Transform;
};

} // namespace core
