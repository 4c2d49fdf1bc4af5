#pragma once
// VoExtractPoints: a lattice or a set of wells as a point set. From a lattice,
// one point per node, in node order, at the node's scene position (the user
// transform applied, so the points carry none). From wells, one point per
// depth of interest along each well: every path point and every depth where a
// chosen log has a valid sample, in depth order, well after well in name
// order, at the path position of that depth.
//
// Each of the 1 to 20 output components takes one source: a lattice
// component ("Component 2") or a log name. Where the source has no value (a
// blank, a null log value, a depth outside the log, a source that does not
// exist) the output is blank, or the default value when the user asks for it.
// Coordinates and values are doubles whatever the source type.
//
// Stored form: components (4 bytes), default value (8), the 20 source names
// (a count, then each), use default (1 byte).
#include "core/network/VoModule.h"
#include "shr/GString.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace core {

class VbProgress;
class VdLattice;
class VdPoints;
class VdWellData;

class VoExtractPoints : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoExtractPoints)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId {
        IdHeader = 1,
        IdInput = 2,
        IdUseDefault = 3,
        IdDefaultValue = 4,
        IdComponentsHeader = 5,
        IdOutComponents = 6,
        IdFirstComponent = 7,
    };

    VoExtractPoints();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // The sources change with the input: the host is asked to list the rows again.
    void OnInputChanged(int input, bool recalc) override;
    void Serialize(shr::Archive& archive) override;

    static constexpr unsigned int MaxNumOutputComponents() { return 20; }
    // The first and last row id of the component combos.
    static std::pair<int, int> ComponentIdRange() { return {IdFirstComponent, IdFirstComponent + 19}; }

    // The source names: "Component n" of a lattice; every log name of the
    // wells, once each, in name order.
    static std::vector<shr::GString> CollectComponents(const VdLattice& lattice);
    static std::vector<shr::GString> CollectComponents(const VdWellData& wells);
    // Those of the current input; none without one.
    std::vector<shr::GString> CollectComponents() const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    const VdLattice* InputLattice() const;
    const VdWellData* InputWells() const;
    // Replaces the component combos by `count` of them ("Requested component
    // count out of range." outside 1 to 20).
    void UpdateComponents(VbPropList& list, unsigned int count) const;
    // The points of a lattice or of wells; null when the user stopped the pass
    // (then `aborted` is set) or when the wells have no path.
    std::unique_ptr<VdPoints> Extract(const VdLattice& lattice, VbProgress& progress, bool& aborted) const;
    std::unique_ptr<VdPoints> Extract(const VdWellData& wells, VbProgress& progress, bool& aborted) const;
    void CheckOutputCount() const;

    uint32_t m_OutComponents = 1;
    double m_DefaultValue = 0.0;
    std::vector<shr::GString> m_Selected;
    bool m_UseDefault = false;
};

} // namespace core
