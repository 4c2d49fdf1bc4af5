#include "tzexpr/CParser.h"

#include "tzexpr/CDeclarations.h"
#include "tzexpr/CProgram.h"
#include "tzexpr/ErrorCodes.h"
#include "tzexpr/FunctionTable.h"
#include "tzexpr/ParseFailure.h"

namespace tzexpr {

namespace {

const double kPi = 3.14159265358979323846;

bool IsComparison(ETokenKind kind)
{
    switch (kind) {
    case ETokenKind::Less:
    case ETokenKind::LessEqual:
    case ETokenKind::Greater:
    case ETokenKind::GreaterEqual:
    case ETokenKind::Equal:
    case ETokenKind::NotEqual:
        return true;
    default:
        return false;
    }
}

EOpCode ComparisonOp(ETokenKind kind)
{
    switch (kind) {
    case ETokenKind::Less: return EOpCode::Less;
    case ETokenKind::LessEqual: return EOpCode::LessEqual;
    case ETokenKind::Greater: return EOpCode::Greater;
    case ETokenKind::GreaterEqual: return EOpCode::GreaterEqual;
    case ETokenKind::Equal: return EOpCode::Equal;
    default: return EOpCode::NotEqual;
    }
}

BinaryFunction LibraryFunction(const char* name)
{
    return FindFunction(name)->binary;
}

} // namespace

// Counts the parser's recursion; refuses to go deeper than kMaxNesting.
class CParser::CNestingGuard {
public:
    explicit CNestingGuard(CParser& parser) : m_Parser(parser)
    {
        if (++m_Parser.m_Nesting > kMaxNesting) {
            const SToken& token = m_Parser.m_Lexer.Current();
            ThrowParseFailure(kErrTooComplex, token.text, "Expression is nested too deeply at column %d.",
                              token.column);
        }
    }
    ~CNestingGuard() { --m_Parser.m_Nesting; }
    CNestingGuard(const CNestingGuard&) = delete;
    CNestingGuard& operator=(const CNestingGuard&) = delete;

private:
    CParser& m_Parser;
};

CParser::CParser(const shr::GString& text, const CDeclarations& declarations, CProgram& program)
    : m_Lexer(text), m_Declarations(declarations), m_Program(program)
{
}

int CParser::ParseAssignment()
{
    const char* form = "an assignment 'name = expression'";
    if (m_Lexer.Current().kind != ETokenKind::Identifier)
        FailExpected(kErrNotAnAssignment, form);
    const SToken target = m_Lexer.Current();
    m_Lexer.Advance();
    if (m_Lexer.Current().kind != ETokenKind::Assign)
        FailExpected(kErrNotAnAssignment, form);
    const int assigned = m_Declarations.Find(target.text);
    if (assigned < 0)
        ThrowParseFailure(kErrUnknownName, target.text, "Unknown name '%s' at column %d.", target.text.c_str(),
                          target.column);
    m_Lexer.Advance();
    ParseConditional();
    if (m_Lexer.Current().kind != ETokenKind::End)
        FailExpected(kErrSyntax, "an operator or the end of the expression");
    return assigned;
}

// condition ? a : b, right-associative; only the chosen branch is evaluated.
void CParser::ParseConditional()
{
    CNestingGuard guard(*this);
    ParseOr();
    if (m_Lexer.Current().kind != ETokenKind::Question)
        return;
    m_Lexer.Advance();
    const size_t toElse = m_Program.EmitJump(EOpCode::JumpIfFalse);
    const size_t depthBefore = m_Program.Depth();
    ParseConditional();
    const size_t toEnd = m_Program.EmitJump(EOpCode::Jump);
    Expect(ETokenKind::Colon, "':'");
    m_Program.PlaceLabel(toElse);
    m_Program.SetDepth(depthBefore);
    ParseConditional();
    m_Program.PlaceLabel(toEnd);
}

void CParser::ParseOr()
{
    ParseAnd();
    while (m_Lexer.Current().kind == ETokenKind::Or) {
        m_Lexer.Advance();
        ParseAnd();
        m_Program.EmitBinary(EOpCode::Or);
    }
}

void CParser::ParseAnd()
{
    ParseNot();
    while (m_Lexer.Current().kind == ETokenKind::And) {
        m_Lexer.Advance();
        ParseNot();
        m_Program.EmitBinary(EOpCode::And);
    }
}

// "not" binds more loosely than comparisons: not x > 5 is not (x > 5).
void CParser::ParseNot()
{
    if (m_Lexer.Current().kind != ETokenKind::Not)
        return ParseComparison();
    CNestingGuard guard(*this);
    m_Lexer.Advance();
    ParseNot();
    m_Program.EmitUnary(EOpCode::Not);
}

// At most one comparison: a < b < c is refused rather than read as (a < b) < c.
void CParser::ParseComparison()
{
    ParseAdditive();
    const ETokenKind kind = m_Lexer.Current().kind;
    if (!IsComparison(kind))
        return;
    m_Lexer.Advance();
    ParseAdditive();
    m_Program.EmitBinary(ComparisonOp(kind));
    const SToken& next = m_Lexer.Current();
    if (IsComparison(next.kind))
        ThrowParseFailure(kErrChainedComparison, next.text, "Comparisons cannot be chained: '%s' at column %d.",
                          next.text.c_str(), next.column);
}

void CParser::ParseAdditive()
{
    ParseTerm();
    for (;;) {
        const ETokenKind kind = m_Lexer.Current().kind;
        if (kind != ETokenKind::Plus && kind != ETokenKind::Minus)
            return;
        m_Lexer.Advance();
        ParseTerm();
        m_Program.EmitBinary(kind == ETokenKind::Plus ? EOpCode::Add : EOpCode::Subtract);
    }
}

void CParser::ParseTerm()
{
    ParseUnary();
    for (;;) {
        const ETokenKind kind = m_Lexer.Current().kind;
        if (kind != ETokenKind::Star && kind != ETokenKind::Slash && kind != ETokenKind::Percent)
            return;
        m_Lexer.Advance();
        ParseUnary();
        if (kind == ETokenKind::Percent)
            m_Program.EmitCall(LibraryFunction("fmod"));
        else
            m_Program.EmitBinary(kind == ETokenKind::Star ? EOpCode::Multiply : EOpCode::Divide);
    }
}

// Unary signs bind more loosely than powers: -2^2 is -(2^2).
void CParser::ParseUnary()
{
    CNestingGuard guard(*this);
    const ETokenKind kind = m_Lexer.Current().kind;
    if (kind != ETokenKind::Minus && kind != ETokenKind::Plus)
        return ParsePower();
    m_Lexer.Advance();
    ParseUnary();
    if (kind == ETokenKind::Minus)
        m_Program.EmitUnary(EOpCode::Negate);
}

// Right-associative, and the exponent may carry a sign: 2^3^2 is 2^9, 2^-1 is 0.5.
void CParser::ParsePower()
{
    ParsePrimary();
    if (m_Lexer.Current().kind != ETokenKind::Power)
        return;
    m_Lexer.Advance();
    ParseUnary();
    m_Program.EmitCall(LibraryFunction("pow"));
}

void CParser::ParsePrimary()
{
    const SToken& token = m_Lexer.Current();
    switch (token.kind) {
    case ETokenKind::Number:
        m_Program.EmitConstant(token.value);
        CheckStackDepth(token);
        m_Lexer.Advance();
        return;
    case ETokenKind::Identifier:
        return ParseName();
    case ETokenKind::LeftParen:
        m_Lexer.Advance();
        ParseConditional();
        Expect(ETokenKind::RightParen, "')'");
        return;
    default:
        FailExpected(kErrSyntax, "a number, a name or '('");
    }
}

// A function call, a declared variable or the constant pi, in that order.
void CParser::ParseName()
{
    const SToken name = m_Lexer.Current();
    m_Lexer.Advance();
    const shr::GString lower = ToLowerAscii(name.text);
    if (m_Lexer.Current().kind == ETokenKind::LeftParen) {
        const SFunction* function = FindFunction(lower);
        if (!function)
            ThrowParseFailure(kErrUnknownName, name.text, "Unknown function '%s' at column %d.", name.text.c_str(),
                              name.column);
        return ParseCall(name, *function);
    }
    const int index = m_Declarations.Find(lower);
    if (index >= 0) {
        m_Program.EmitLoad(uint32_t(index), m_Declarations.At(index).type);
        if (m_Program.LoadedCount() > kMaxLoadedVariables)
            ThrowParseFailure(kErrTooComplex, name.text, "Too many variables: '%s' at column %d is more than %zu.",
                              name.text.c_str(), name.column, kMaxLoadedVariables);
    } else if (lower == "pi") {
        m_Program.EmitConstant(kPi);
    } else {
        ThrowParseFailure(kErrUnknownName, name.text, "Unknown name '%s' at column %d.", name.text.c_str(),
                          name.column);
    }
    CheckStackDepth(name);
}

void CParser::ParseCall(const SToken& name, const SFunction& function)
{
    m_Lexer.Advance(); // '('
    const int count = ParseArguments(function);
    const bool countOk = function.variadic ? count >= function.arity : count == function.arity;
    if (!countOk)
        ThrowParseFailure(kErrArgumentCount, name.text, "Function '%s' at column %d takes %s%d argument%s, not %d.",
                          name.text.c_str(), name.column, function.variadic ? "at least " : "", function.arity,
                          function.arity == 1 ? "" : "s", count);
    if (!function.variadic) {
        if (function.arity == 1)
            m_Program.EmitCall(function.unary);
        else
            m_Program.EmitCall(function.binary);
    }
}

// Parses the arguments up to and including ')'; a variadic function folds each
// argument after the first into the running result, so the stack stays shallow.
int CParser::ParseArguments(const SFunction& function)
{
    int count = 0;
    if (m_Lexer.Current().kind == ETokenKind::RightParen) {
        m_Lexer.Advance();
        return count;
    }
    for (;;) {
        ParseConditional();
        ++count;
        if (function.variadic && count >= 2)
            m_Program.EmitCall(function.binary);
        if (m_Lexer.Current().kind != ETokenKind::Comma)
            break;
        m_Lexer.Advance();
    }
    Expect(ETokenKind::RightParen, "')'");
    return count;
}

void CParser::CheckStackDepth(const SToken& token) const
{
    if (m_Program.Depth() > kMaxStackDepth)
        ThrowParseFailure(kErrTooComplex, token.text,
                          "Expression is too complex: more than %zu pending values at column %d.", kMaxStackDepth,
                          token.column);
}

void CParser::Expect(ETokenKind kind, const char* spelling)
{
    if (m_Lexer.Current().kind != kind)
        FailExpected(kErrSyntax, spelling);
    m_Lexer.Advance();
}

void CParser::FailExpected(int code, const char* expectation) const
{
    const SToken& token = m_Lexer.Current();
    ThrowParseFailure(code, token.text, "Expected %s but found %s at column %d.", expectation,
                      DescribeToken(token).c_str(), token.column);
}

} // namespace tzexpr
