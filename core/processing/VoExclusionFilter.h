#pragma once
// VoExclusionFilter: passes on the points of a point set for which a condition
// does not hold. The user types the condition ("C1 < 0 or Z > 1200"); it may
// read the position X, Y, Z (through the user transform), the point index n,
// C for component 1 and C1, C2, ... for the numbered components. A point whose
// condition reads a blank, or cannot be computed, is kept.
#include "core/network/VoModule.h"
#include "shr/GString.h"

#include <vector>

namespace tzexpr {
class CExpression;
}

namespace core {

class VdPoints;

class VoExclusionFilter : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoExclusionFilter)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId { HeaderId = 1, ExpressionId = 2 };

    VoExclusionFilter();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, the expression text.
    void Serialize(shr::Archive& archive) override;

    const shr::GString& Expression() const { return m_Expression; }
    void Expression(const shr::GString& text) { m_Expression = text; }

    // The declarations for points of `components` components.
    static shr::GString Declarations(unsigned int components);
    // Parses the text as "B = text"; exactly one expression (pieces separated
    // by ';') is accepted.
    static tzexpr::CExpression Parse(const shr::GString& text, unsigned int components);
    // One flag per point: whether it stays.
    static std::vector<char> Evaluate(const tzexpr::CExpression& expression, const VdPoints& points);
    // A new point set of the points whose flag is set, with their blanks,
    // labels (renumbered) and the user transform.
    static VdPoints* Extract(const VdPoints& points, const std::vector<char>& keep);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    shr::GString m_Expression;
};

} // namespace core
