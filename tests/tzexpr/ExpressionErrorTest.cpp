// Parse errors: codes, messages that point at the offending token, symbols, limits,
// and random or mangled texts that must parse or fail cleanly.
#include "ExpressionTestUtil.h"

#include "tzexpr/ErrorCodes.h"

#include <random>
#include <string>

using namespace tzexpr;
using namespace tzexpr::test;

namespace {

struct SFailure {
    int code = 0;
    shr::GString message;
    shr::GString symbol = "unset";
};

bool ParseFails(const std::string& text, const std::string& declarations, SFailure& failure)
{
    CExpression expression;
    return !expression.Parse(text, declarations, &failure.code, &failure.message, &failure.symbol);
}

std::string Repeat(const std::string& piece, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += piece;
    return text;
}

} // namespace

TEST(ExpressionErrors, CodesMessagesAndSymbols)
{
    const struct {
        const char* text;
        int code;
        const char* message;
        const char* symbol;
    } rows[] = {
        {"W = x + q", kErrUnknownName, "Unknown name 'q' at column 9.", "q"},
        {"W = X + Qq2", kErrUnknownName, "Unknown name 'Qq2' at column 9.", "Qq2"},
        {"W = foo(x)", kErrUnknownName, "Unknown function 'foo' at column 5.", "foo"},
        {"W = x(1)", kErrUnknownName, "Unknown function 'x' at column 5.", "x"},
        {"V = 1", kErrUnknownName, "Unknown name 'V' at column 1.", "V"},
        {"W = x +", kErrSyntax, "Expected a number, a name or '(' but found end of expression at column 8.", ""},
        {"W = (x + 1", kErrSyntax, "Expected ')' but found end of expression at column 11.", ""},
        {"W = x y", kErrSyntax, "Expected an operator or the end of the expression but found 'y' at column 7.", "y"},
        {"W = 2x", kErrSyntax, "Expected an operator or the end of the expression but found 'x' at column 6.", "x"},
        {"W = x = 1", kErrSyntax, "Expected an operator or the end of the expression but found '=' at column 7.", "="},
        {"W = 1 ? 2", kErrSyntax, "Expected ':' but found end of expression at column 10.", ""},
        {"W = sin(1,)", kErrSyntax, "Expected a number, a name or '(' but found ')' at column 11.", ")"},
        {"W = * 2", kErrSyntax, "Expected a number, a name or '(' but found '*' at column 5.", "*"},
        {"W = x $ 2", kErrInvalidCharacter, "Invalid character '$' at column 7.", "$"},
        {"W = x \x01", kErrInvalidCharacter, "Invalid character '\\x01' at column 7.", "\\x01"},
        {"W = 1e+", kErrInvalidNumber, "Invalid number '1e+' at column 5.", "1e+"},
        {"W = x + 1e999", kErrInvalidNumber, "Invalid number '1e999' at column 9.", "1e999"},
        {"W = atan2(x)", kErrArgumentCount, "Function 'atan2' at column 5 takes 2 arguments, not 1.", "atan2"},
        {"W = SQRT()", kErrArgumentCount, "Function 'SQRT' at column 5 takes 1 argument, not 0.", "SQRT"},
        {"W = min(x)", kErrArgumentCount, "Function 'min' at column 5 takes at least 2 arguments, not 1.", "min"},
        {"x + 1", kErrNotAnAssignment, "Expected an assignment 'name = expression' but found '+' at column 3.", "+"},
        {"", kErrNotAnAssignment, "Expected an assignment 'name = expression' but found end of expression at column 1.", ""},
        {"W == 1", kErrNotAnAssignment, "Expected an assignment 'name = expression' but found '==' at column 3.", "=="},
        {"W = 1 < x <= 3", kErrChainedComparison, "Comparisons cannot be chained: '<=' at column 11.", "<="},
    };
    for (const auto& row : rows) {
        SFailure failure;
        ASSERT_TRUE(ParseFails(row.text, kXYZDeclarations, failure)) << row.text;
        EXPECT_EQ(failure.code, row.code) << row.text;
        EXPECT_EQ(failure.message, row.message) << row.text;
        EXPECT_EQ(failure.symbol, row.symbol) << row.text;
    }
}

TEST(ExpressionErrors, Declarations)
{
    const struct {
        const char* declarations;
        int code;
        const char* symbol;
    } rows[] = {
        {"double:W int128:X", kErrUnknownType, "int128"},
        {"double:W :X", kErrUnknownType, ""},
        {"double:W X", kErrInvalidDeclaration, "X"},
        {"double:W double:", kErrInvalidDeclaration, ""},
        {"double:W double:1x", kErrInvalidDeclaration, "1x"},
        {"double:W double:a-b", kErrInvalidDeclaration, "a-b"},
        {"double:W double:And", kErrInvalidDeclaration, "And"},
        {"double:W double:x DOUBLE:X", kErrInvalidDeclaration, "X"},
    };
    for (const auto& row : rows) {
        SFailure failure;
        ASSERT_TRUE(ParseFails("W = 1", row.declarations, failure)) << row.declarations;
        EXPECT_EQ(failure.code, row.code) << row.declarations;
        EXPECT_EQ(failure.symbol, row.symbol) << row.declarations;
        EXPECT_NE(failure.message.find(row.symbol), std::string::npos) << failure.message;
    }
    // Blanks of any kind separate items; a variable may share a function's name.
    CExpression expression = ParseOrFail("W = sin(sin) + 1", "\tdouble:W\n  double:sin ");
    EXPECT_EQ(EvaluateAt(expression, 0).value, 1);
}

TEST(ExpressionErrors, DepthLimitsFailCleanly)
{
    const struct {
        std::string text;
        bool ok;
    } rows[] = {
        {"W = " + Repeat("(", 100) + "x" + Repeat(")", 100), true},
        {"W = " + Repeat("x+(", 80) + "x" + Repeat(")", 80), true},
        {"W = " + Repeat("(", 100000), false},
        {"W = " + Repeat("-", 100000) + "1", false},
        {"W = " + Repeat("2^", 100000) + "2", false},
        {"W = " + Repeat("not ", 100000) + "1", false},
        {"W = " + Repeat("sin(", 100000), false},
        {"W = " + Repeat("x+x*x^(", 90) + "1" + Repeat(")", 90), false},
        {"W = " + Repeat("1?", 100000) + "1", false},
        // Few nesting levels but many pending values on each.
        {"W = " + Repeat("x or x and x < x + x * x ^ (", 40) + "1" + Repeat(")", 40), true},
        {"W = " + Repeat("x or x and x < x + x * x ^ (", 50) + "1" + Repeat(")", 50), false},
    };
    for (const auto& row : rows) {
        SFailure failure;
        EXPECT_EQ(!ParseFails(row.text, kXYZDeclarations, failure), row.ok) << row.text.substr(0, 40);
        if (!row.ok) {
            EXPECT_EQ(failure.code, kErrTooComplex) << failure.message;
        }
    }
    // Long flat chains are not nesting.
    const SOutcome outcome = Compute("x" + Repeat(" + x", 20000), 0.5);
    EXPECT_TRUE(outcome.ok);
    EXPECT_EQ(outcome.value, 10000.5);
}

// Random token soups, random bytes and single-character mutations of valid
// texts (fixed seed): each parses or fails with a documented code and a message.
TEST(ExpressionErrors, FuzzedTextsParseOrFailCleanly)
{
    const char* pieces[] = {"x", "Y", "z", "w", "q", "1", "2.5", ".5", "1e3", "1e", "+", "-", "*", "/", "%", "^",
                            "**", "(", ")", ",", "?", ":", "=", "==", "!=", "<", "<=", ">", ">=", "and", "or",
                            "not", "!", "&&", "||", "sin", "atan2", "min", "max", "pi", " ", "$", "\t", "<>"};
    const char* seeds[] = {"W = (x-.5)*(x-.5) + (y-.5)*(y-.5) + (z-.5)*(z-.5)",
                           "W = x > 0 ? sqrt(x) : -hypot(y, z) ^ 2", "W = min(x, y, 3) + atan2(y, x) % 2",
                           "W = not (x < 1 or y >= 2) and z != 0"};
    std::mt19937 random(20240611);
    auto pick = [&](size_t n) { return size_t(random() % n); };
    int parsed = 0;
    for (int round = 0; round < 6000; ++round) {
        std::string text;
        const int kind = round % 3;
        if (kind == 0) {
            text = "W =";
            for (size_t i = 0, n = 1 + pick(12); i < n; ++i)
                text += pieces[pick(std::size(pieces))];
        } else if (kind == 1) {
            for (size_t i = 0, n = pick(24); i < n; ++i)
                text += char(random() % 256);
        } else {
            text = seeds[pick(std::size(seeds))];
            for (size_t m = 0, n = 1 + pick(3); m < n && !text.empty(); ++m) {
                const size_t at = pick(text.size());
                const int how = int(pick(3));
                if (how == 0)
                    text.erase(at, 1);
                else if (how == 1)
                    text.insert(at, 1, "()+-*/^?:,<=!x1 $"[pick(17)]);
                else
                    text[at] = char(random() % 128);
            }
        }
        CExpression expression;
        SFailure failure;
        if (expression.Parse(text, kXYZDeclarations, &failure.code, &failure.message, &failure.symbol)) {
            ++parsed;
            EvaluateAt(expression, 0.25, -3, 7); // any outcome, but no fault
            continue;
        }
        EXPECT_GE(failure.code, kErrUnknownName) << text;
        EXPECT_LE(failure.code, kErrChainedComparison) << text;
        EXPECT_NE(failure.message.find("column"), std::string::npos) << text << ": " << failure.message;
    }
    EXPECT_GT(parsed, 100) << "the mutations should leave some texts valid";
}
