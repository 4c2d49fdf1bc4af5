#pragma once
// VoLatticeGradient: the gradient of one lattice component, as a lattice of
// the input's kind, node counts, node positions and user transform with three
// components: the derivatives along U, V and W, the input's own axes. The
// output is double for a double input and float otherwise.
//
// Nodes without a gradient on an axis (an axis of one node, a node between
// blanks) hold a blank there. LatticeGradientEvaluator tells how each kind
// of lattice is differentiated.
#include "core/network/VoModule.h"

#include <memory>

namespace core {

class VbProgress;
class VdLattice;

class VoLatticeGradient : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeGradient)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId : int { IdHeader = 1, IdInput = 2, IdComponent = 3 };

    VoLatticeGradient();
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, the component (4 bytes, counting from 1).
    void Serialize(shr::Archive& archive) override;

    unsigned int Component() const { return m_Component; }
    // Counting from 1; 0 raises "Component index out of range.".
    void Component(unsigned int component);

    // The gradient of component `component` (counting from 1) of `input`;
    // null when the progress (which may be null) asked to stop. A component
    // the input lacks raises "Component index out of range.".
    static std::unique_ptr<VdLattice> Compute(const VdLattice& input, unsigned int component, VbProgress* progress);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    const VdLattice* InputLattice() const;

    unsigned int m_Component = 1;
};

} // namespace core
