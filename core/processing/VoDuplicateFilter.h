#pragma once
// VoDuplicateFilter: reduces each set of coincident or near-coincident points
// to one point, by a chosen rule: keep one of the set's rows (the first, the
// last, the extreme or median on an axis, a random one), drop the whole set,
// or make a new row of per-component statistics at the set's mean position.
//
// A set is a box around its first row in sorted (X, Y, Z) order: every later
// row within the three tolerances of that row (inclusive) joins it. A row is
// in one set at most.
//
// Document fields: rule (4 bytes), X tolerance (8); from document version 114
// also the Y and Z tolerances (8 each). Older documents had one tolerance for
// all axes, which is read into all three.
#include "core/network/VoModule.h"
#include "shr/GString.h"

#include <cstdint>
#include <vector>

namespace core {

class CPointData;
class VdPoints;

class VoDuplicateFilter : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoDuplicateFilter)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum Rule : uint32_t {
        RuleAll,
        RuleNone,
        RuleFirst,
        RuleLast,
        RuleMinimumX,
        RuleMaximumX,
        RuleMedianX,
        RuleMinimumY,
        RuleMaximumY,
        RuleMedianY,
        RuleMinimumZ,
        RuleMaximumZ,
        RuleMedianZ,
        RuleRandom,
        RuleMinimum,
        RuleMaximum,
        RuleMedian,
        RuleMidrange,
        RuleSum,
        RuleAverage,
        RuleCount
    };
    enum RowId { HeaderId = 1, RuleId = 2, ToleranceHeaderId = 3, XToleranceId = 4, YToleranceId = 5, ZToleranceId = 6 };
    // The first document version that stores a tolerance per axis.
    static constexpr int PerAxisToleranceVersion = 114;

    VoDuplicateFilter();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    void Serialize(shr::Archive& archive) override;

    // The labels of the rule combo, in rule order.
    static const std::vector<shr::GString>& RuleStrings();

    uint32_t GetRule() const { return m_Rule; }
    void SetRule(uint32_t rule) { m_Rule = rule; }
    double Tolerance(int axis) const { return m_Tolerance[axis]; }
    void Tolerance(int axis, double tolerance) { m_Tolerance[axis] = tolerance; }

    // Reduces every set of duplicates in `data` by the rule; the rows end up
    // in sorted order. False when the user cancelled (the table is then
    // partly filtered). A rule beyond the list raises "Invalid duplicate rule.".
    bool FilterDuplicates(CPointData& data) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    uint32_t m_Rule;
    double m_Tolerance[3];
};

} // namespace core
