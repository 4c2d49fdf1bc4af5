#pragma once
// VoLatticeSlice: extracts one node layer of a 3-D lattice across X, Y or Z as
// a lattice of the same kind (uniform, rectilinear or curvilinear), one node
// thick on that axis. Components, their type and names, blanks, node
// coordinates and the user transform are kept, so the layer lies exactly
// where it lay in the input.
//
// The layer index is 0-based; one that does not fit the input (a negative
// one, or one left from a larger input) means the middle layer.
#include "core/network/VoModule.h"

namespace core {

class VdLattice;

class VoLatticeSlice : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeSlice)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum Axis { AlongX = 0, AlongY = 1, AlongZ = 2 };
    enum RowId { IdHeader = 1, IdInput = 2, IdAxis = 3, IdIndex = 4 };

    VoLatticeSlice();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, axis (4 bytes), index (4 bytes).
    void Serialize(shr::Archive& archive) override;

    // An axis outside 0..2 throws.
    void SetAxis(unsigned int axis);
    unsigned int GetAxis() const { return m_Axis; }
    void SetIndex(int index) { m_Index = index; }
    int GetIndex() const { return m_Index; }

    // The layer of `lattice` at `index` across `axis`; both must be valid.
    static std::unique_ptr<VdLattice> Extract(const VdLattice& lattice, unsigned int axis, unsigned int index);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    const VdLattice* InputLattice() const;
    // Nodes of the input across the axis, 0 without input.
    unsigned int LayerCount() const;
    // Brings an index that does not fit the input to the middle layer.
    void FitIndex();
    // The index rows' limits and the plane's position in the header comment.
    void UpdateIndexRows(VbPropList& list) const;

    unsigned int m_Axis = AlongZ;
    int m_Index = -1;
};

} // namespace core
