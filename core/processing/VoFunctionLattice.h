#pragma once
// VoFunctionLattice: a source that fills a new uniform lattice from one
// expression per output component, a function of each node's position (X, Y,
// Z, after the lattice's transform) and its 0-based indices (i, j, k).
#include "core/network/VoModule.h"
#include "core/processing/ExpressionLattice.h"

#include <vector>

namespace tzexpr {
class CExpression;
}

namespace core {

class VdLattice;

class VoFunctionLattice : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoFunctionLattice)
public:
    static const VbModuleInfo s_ModuleInfo;
    static const char* const Declarations;
    static const char* const DefaultExpression;

    VoFunctionLattice();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, the lattice settings.
    void Serialize(shr::Archive& archive) override;

    // Evaluates the expressions (one per component; an empty one blanks its
    // component) over every node of `lattice`, in parallel.
    static ModuleStatus Compute(const std::vector<tzexpr::CExpression>& expressions, VdLattice& lattice);

    ExpressionLattice& Settings() { return m_Settings; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    ExpressionLattice m_Settings;
};

} // namespace core
