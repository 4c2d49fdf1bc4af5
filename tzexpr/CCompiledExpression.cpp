#include "tzexpr/CCompiledExpression.h"

#include "tzexpr/CDeclarations.h"
#include "tzexpr/CParser.h"

namespace tzexpr {

CCompiledExpression::CCompiledExpression(const shr::GString& text, const shr::GString& declarations)
{
    const CDeclarations declared(declarations);
    CParser parser(text, declared, m_Program);
    m_ResultType = declared.At(parser.ParseAssignment()).type;
}

} // namespace tzexpr
