#pragma once
// VoSubset: cuts a sub-lattice out of a lattice of any kind: on each axis the
// nodes first, first + step, ... up to last, and the components ticked in
// the mask. The output is of the input's kind (VdLattice::Clone).
//
// The rows show node numbers counting from 1; the fields count from 0. With
// "Calculate from input" on, the range is the whole input. The mask keeps one
// choice for each of the first 20 components (the rows there are); further
// components are always taken, and a component without a choice yet starts ticked.
#include "core/network/VoModule.h"

#include <cstdint>
#include <deque>
#include <memory>

namespace core {

class VdLattice;

class VoSubset : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoSubset)
public:
    static const VbModuleInfo s_ModuleInfo;
    static constexpr unsigned int MaskRows = 20;
    enum RowId : int {
        IdHeader = 1,
        IdOptions = 2,
        IdOutputSize = 3, // "SubsetAutoState": the node counts the range gives
        IdInputSize = 4,
        IdAuto = 7,
        IdRange = 8,       // axis a: header 8 + 4a, first 9 + 4a, last 10 + 4a, step 11 + 4a
        IdComponents = 20, // header; component c at 21 + c
    };

    // Node numbers counting from 0.
    struct Range {
        uint32_t first[3] = {0, 0, 0};
        uint32_t last[3] = {0, 0, 0};
        uint32_t step[3] = {1, 1, 1};
    };

    VoSubset();
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, auto (1 byte); for each axis i, j, k: first, last,
    // step (4 bytes each); the mask: its length (4 bytes, at most MaskRows),
    // then 1 byte per entry. A bad archive leaves the module as it was.
    void Serialize(shr::Archive& archive) override;

    bool Auto() const { return m_Auto; }
    void Auto(bool on) { m_Auto = on; }
    const Range& GetRange() const { return m_Range; }
    void SetRange(const Range& range) { m_Range = range; }
    const std::deque<bool>& Mask() const { return m_Mask; }
    // Component c (0-based, below MaskRows) taken or not.
    void SetMask(unsigned int component, bool take);

    // Per axis in the order i, j, k, against the axis's node count n: a
    // first or last at or above n raises message 32 or 33, a first above
    // its last returns false, a step of 0 raises message 34.
    static bool Validate(const Range& range, const unsigned int* dims);
    // The sub-lattice, each last brought back onto a whole number of steps
    // from its first; null for a range that Validate refuses quietly and for
    // a mask without a ticked component.
    static std::unique_ptr<VdLattice> Extract(const VdLattice& lattice, const Range& range,
                                              const std::deque<bool>& mask);
    // One entry per component of `lattice`: the stored choice, or true.
    std::deque<bool> EffectiveMask(const VdLattice& lattice) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    const VdLattice* InputLattice() const;
    // The whole node range of the input.
    void FitToInput(const VdLattice& lattice);
    // A mask entry for each component with a row.
    void GrowMask(const VdLattice& lattice);
    // Reads a range row into `range`, checking the one value against the input.
    void ReadRangeRow(VbPropList& list, int id, Range& range) const;
    void UpdateRangeRows(VbPropList& list) const;

    bool m_Auto = true;
    Range m_Range;
    std::deque<bool> m_Mask;
};

} // namespace core
