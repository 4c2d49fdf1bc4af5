#pragma once
// Recursive-descent parser for "name = expression", emitting postfix code as it
// goes. Recursion is bounded by a nesting limit (and the pending values by the
// program's stack limit), so hostile input fails cleanly instead of exhausting
// the C++ stack. Errors are thrown as SParseFailure.
#include "tzexpr/CLexer.h"

#include <cstddef>

namespace tzexpr {

class CDeclarations;
class CProgram;
struct SFunction;

// Nested sub-expressions (parentheses, arguments, unary operators, powers)
// beyond this count are refused.
constexpr int kMaxNesting = 256;

class CParser {
public:
    CParser(const shr::GString& text, const CDeclarations& declarations, CProgram& program);

    // Parses the whole text; returns the declared index of the assigned variable.
    int ParseAssignment();

private:
    class CNestingGuard;

    void ParseConditional();
    void ParseOr();
    void ParseAnd();
    void ParseNot();
    void ParseComparison();
    void ParseAdditive();
    void ParseTerm();
    void ParseUnary();
    void ParsePower();
    void ParsePrimary();
    void ParseName();
    void ParseCall(const SToken& name, const SFunction& function);
    int ParseArguments(const SFunction& function);

    void CheckStackDepth(const SToken& token) const;
    void Expect(ETokenKind kind, const char* spelling);
    [[noreturn]] void FailExpected(int code, const char* expectation) const;

    CLexer m_Lexer;
    const CDeclarations& m_Declarations;
    CProgram& m_Program;
    int m_Nesting = 0;
};

} // namespace tzexpr
