#pragma once
// The compiled form behind a CExpression: the program, and the declared index and
// type of the variable it assigns.
#include "tzexpr/CProgram.h"

namespace tzexpr {

class CCompiledExpression {
public:
    CCompiledExpression(const shr::GString& text, const shr::GString& declarations); // throws SParseFailure

    const CProgram& Program() const { return m_Program; }
    EValueType ResultType() const { return m_ResultType; }

private:
    CProgram m_Program;
    EValueType m_ResultType = EValueType::Double;
};

} // namespace tzexpr
