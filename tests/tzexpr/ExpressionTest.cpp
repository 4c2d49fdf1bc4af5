// The expression compiler and evaluator: precedence, functions, case, types,
// no-data, value semantics, one expression evaluated from many threads, and
// parse errors (codes, messages that point at the offending token, limits).
// Random and mangled texts are the expression fuzz target's.
#include "tests/support/TestSupport.h"
#include "tzexpr/CExpression.h"
#include "tzexpr/ErrorCodes.h"
#include "tzexpr/ValueType.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

using namespace tzexpr;

namespace {

// Parses "W = <text>" over W, X, Y, Z and evaluates it at one point.
const char* kXYZDeclarations = "double:W double:X double:Y double:Z";

struct SOutcome {
    bool ok;
    double value;
};

CExpression ParseOrFail(const std::string& text, const char* declarations = kXYZDeclarations)
{
    CExpression expression;
    int code = 0;
    shr::GString message;
    EXPECT_TRUE(expression.Parse(text, declarations, &code, &message, nullptr)) << text << ": " << code << " " << message;
    return expression;
}

SOutcome EvaluateAt(const CExpression& expression, double x, double y = 0, double z = 0, double w = 0)
{
    double values[4] = {w, x, y, z};
    void const* inputs[4] = {&values[0], &values[1], &values[2], &values[3]};
    double result = -12345.0;
    const bool ok = expression.Evaluate(inputs, &result, nullptr, nullptr);
    return SOutcome{ok, result};
}

// "W = text" evaluated at (x, y, z).
SOutcome Compute(const std::string& text, double x = 0, double y = 0, double z = 0)
{
    return EvaluateAt(ParseOrFail("W = " + text), x, y, z);
}

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
    while (count-- > 0)
        text += piece;
    return text;
}

} // namespace

TEST(Expression, PrecedenceAndAssociativity)
{
    const std::pair<const char*, double> rows[] = {
        {"1 + 2 * 3", 7},           {"(1 + 2) * 3", 9},        {"10 - 4 - 3", 3},        {"64 / 4 / 2", 8},
        {"2 ^ 3 ^ 2", 512},         {"2 ** 3 ** 2", 512},      {"-2 ^ 2", -4},           {"2 ^ -1", 0.5},
        {"(-2) ^ 2", 4},            {"- - 3", 3},              {"+-+3", -3},             {"7 % 4 * 2", 6},
        {"-7 % 4", -3},             {"2 * 3 ^ 2", 18},         {"1 + 2 < 4", 1},         {"1 + 1 == 2", 1},          {"3 >= 3", 1},             {"3 != 3", 0},            {"3 <> 4", 1},
        {"1 or 0 and 0", 1},        {"(1 or 0) and 0", 0},     {"not 1 > 2", 1},         {"!0 + 1", 0},
        {"not 0 and 0", 0},         {"1 && 2 || 0", 1},        {"0 ? 1 : 2", 2},         {"1 ? 1 : 2", 1},
        {"0 ? 1 : 0 ? 2 : 3", 3},   {"1 ? 0 ? 5 : 6 : 7", 6},  {"1 + 1 ? 10 : 20", 10},  {"2 * (0 ? 1 : 4) + 1", 9},
        {".5 + 1.5e1 + 2E-1", 15.7}, {"pi", M_PI},             {"x * 2 - y", 2 * 3 - 5}, {"-x ^ 2", -9},
        {"x > y ? x : y", 5},       {"min(x, y, z, 4)", -1},   {"max(x, y, z)", 5},      {"x < 4 and y > 4", 1},
    };
    for (const auto& row : rows) {
        const SOutcome outcome = Compute(row.first, 3, 5, -1);
        EXPECT_TRUE(outcome.ok) << row.first;
        EXPECT_DOUBLE_EQ(outcome.value, row.second) << row.first;
    }
}

TEST(Expression, FunctionsMatchTheCLibrary)
{
    using Unary = double (*)(double);
    using Binary = double (*)(double, double);
    const std::pair<const char*, Unary> unary[] = {
        {"abs", std::fabs},   {"sqrt", std::sqrt},   {"exp", std::exp},   {"log", std::log},   {"log10", std::log10},
        {"sin", std::sin},    {"cos", std::cos},     {"tan", std::tan},   {"asin", std::asin}, {"acos", std::acos},
        {"atan", std::atan},  {"sinh", std::sinh},   {"cosh", std::cosh}, {"tanh", std::tanh}, {"floor", std::floor},
        {"ceil", std::ceil},  {"round", std::round},
    };
    const std::pair<const char*, Binary> binary[] = {
        {"atan2", std::atan2}, {"pow", std::pow}, {"hypot", std::hypot},
        {"fmod", std::fmod},   {"min", std::fmin}, {"max", std::fmax},
    };
    const double samples[] = {-2.5, -1, -0.5, -0.0, 0.25, 0.5, 0.7, 1, 2.5, 3.75, 10};
    // `call` over every pair of samples as x and y against `f`.
    const auto check = [&samples](const std::string& call, const std::function<double(double, double)>& f) {
        const CExpression variable = ParseOrFail("W = " + call);
        for (double x : samples)
            for (double y : samples) {
                const double expected = f(x, y);
                const SOutcome outcome = EvaluateAt(variable, x, y);
                EXPECT_EQ(outcome.ok, std::isfinite(expected)) << call << " at " << x << ", " << y;
                if (outcome.ok) {
                    EXPECT_EQ(outcome.value, expected) << call << " at " << x << ", " << y;
                }
            }
    };
    for (const auto& function : unary) {
        check(std::string(function.first) + "(x)", [&function](double x, double) { return function.second(x); });
        // Folded at parse time, the same arithmetic gives the same bits.
        const SOutcome folded = Compute(std::string(function.first) + "(0.7)");
        EXPECT_EQ(folded.value, function.second(0.7)) << function.first;
    }
    for (const auto& function : binary)
        check(std::string(function.first) + "(x, y)", function.second);
    // The operators are the library functions too.
    check("x ^ y", [](double x, double y) { return std::pow(x, y); });
    check("x % y", [](double x, double y) { return std::fmod(x, y); });
}

TEST(Expression, NamesKeywordsAndFunctionsIgnoreCaseAnyVariableIsAssigned)
{
    CExpression expression = ParseOrFail("w = SQRT(X) + Max(x, Y) + PI * 0 + (X > 1 AND y < 9 Or NOT z)",
                                         "DOUBLE:W Double:x double:Y dOuBlE:z");
    const SOutcome outcome = EvaluateAt(expression, 4, 7, 0);
    EXPECT_TRUE(outcome.ok);
    EXPECT_EQ(outcome.value, 2 + 7 + 1);
    // The lower-case default of the function lattice over upper-case declarations.
    EXPECT_DOUBLE_EQ(Compute("(x-.5)*(x-.5) + (y-.5)*(y-.5) + (z-.5)*(z-.5)", 1, 0.5, 0).value, 0.5);

    // The exclusion filter's form: the first declared variable is assigned, and read.
    CExpression assigned = ParseOrFail("B = b + n * 10", "double:B double:X double:n");
    double b = 2, x = 0, n = 3, result = 0;
    void const* inputs[] = {&b, &x, &n};
    ASSERT_TRUE(assigned.Evaluate(inputs, &result, nullptr, nullptr));
    EXPECT_EQ(result, 32) << "the assigned variable reads its input value";
    // Inputs the expression does not read may be null.
    CExpression constant = ParseOrFail("W = 4", "double:W double:X");
    void const* none[] = {nullptr, nullptr};
    ASSERT_TRUE(constant.Evaluate(none, &result, nullptr, nullptr));
    EXPECT_EQ(result, 4);
}

TEST(Expression, InputsAreReadAndResultsStoredThroughTheirTypes)
{
    int8_t i8 = -7;
    uint8_t u8 = 250;
    int16_t i16 = -30000;
    uint16_t u16 = 60000;
    int32_t i32 = -2000000000;
    uint32_t u32 = 4000000000u;
    int64_t i64 = -(int64_t(1) << 40);
    uint64_t u64 = uint64_t(1) << 63;
    float f = 0.1f;
    void const* inputs[] = {nullptr, &i8, &u8, &i16, &u16, &i32, &u32, &i64, &u64, &f};
    const char* declarations =
        "double:W int8:a uint8:b int16:c uint16:d int:e uint32:f int64:g uint64:h float:k";
    const double expected[] = {-7,           250, -30000, 60000, -2000000000.0, 4000000000.0, -1099511627776.0,
                               9223372036854775808.0, double(0.1f)};
    for (size_t n = 0; n < std::size(expected); ++n) {
        const std::string text = std::string("W = ") + "abcdefghk"[n];
        double result = 0;
        ASSERT_TRUE(ParseOrFail(text, declarations).Evaluate(inputs, &result, nullptr, nullptr)) << text;
        EXPECT_EQ(result, expected[n]) << text;
    }

    // Integer results truncate toward zero; a value that does not fit is refused.
    const struct {
        const char* type;
        double value;
        bool ok;
        int64_t stored;
    } stores[] = {
        {"int", 2.9, true, 2},        {"int", -2.9, true, -2},          {"int", 2147483647, true, 2147483647},
        {"int", 2147483648.0, false, 0}, {"int", -2147483648.0, true, INT32_MIN}, {"uint8", 255.5, true, 255},
        {"uint8", 256, false, 0},     {"uint8", -1, false, 0},          {"uint8", -0.5, true, 0},
        {"int16", -32769, false, 0},  {"int64", 9.3e18, false, 0},      {"uint16", 65535, true, 65535},
        {"float", 1e300, false, 0},
    };
    for (const auto& store : stores) {
        CExpression expression = ParseOrFail("R = x", (std::string(store.type) + ":R double:X").c_str());
        int64_t target = 77; // wide enough for every type; checked through the stored type's bytes
        void const* in[] = {nullptr, &store.value};
        int code = 0;
        const bool ok = expression.Evaluate(in, &target, &code, nullptr);
        EXPECT_EQ(ok, store.ok) << store.type << " " << store.value;
        if (!ok) {
            EXPECT_EQ(code, kErrOutOfRange);
            EXPECT_EQ(target, 77) << "a refused result leaves the target alone";
            continue;
        }
        EValueType type;
        ASSERT_TRUE(ParseValueType(store.type, type));
        const double stored = ReadValue(type, &target);
        EXPECT_EQ(stored, double(store.stored)) << store.type << " " << store.value;
    }
}

TEST(Expression, NonFiniteResultsFailAndConditionalsSkipTheOtherBranch)
{
    const struct {
        const char* text;
        bool ok;
    } rows[] = {
        {"1 / x", false},         {"log(x - 1)", false},        {"sqrt(x - 1)", false},
        {"x / x", false},         {"exp(1000)", false},         {"x > 0 ? 1 / x : 5", true},
        {"x == 0 ? 5 : 1 / x", true}, {"min(log(x - 1), 3)", true}, {"x == x", true},
    };
    for (const auto& row : rows) {
        const SOutcome outcome = Compute(row.text, 0);
        EXPECT_EQ(outcome.ok, row.ok) << row.text;
        if (!outcome.ok) {
            EXPECT_EQ(outcome.value, -12345.0) << "a failed evaluation leaves the result alone: " << row.text;
        }
    }
    CExpression expression = ParseOrFail("W = 1 / x");
    double x = 0, result = 0;
    void const* inputs[] = {nullptr, &x, nullptr, nullptr};
    int code = 0;
    shr::GString message;
    EXPECT_FALSE(expression.Evaluate(inputs, &result, &code, &message));
    EXPECT_EQ(code, kErrNotFinite);
    EXPECT_FALSE(message.empty());
    void const* missing[] = {nullptr, nullptr, nullptr, nullptr};
    const std::function<bool()> calls[] = {[&] { return expression.Evaluate(inputs, nullptr, &code, nullptr); },
                                           [&] { return expression.Evaluate(missing, &result, &code, nullptr); },
                                           [&] { return expression.Evaluate(nullptr, &result, &code, nullptr); }};
    for (const auto& call : calls) {
        code = 0;
        EXPECT_FALSE(call());
        EXPECT_EQ(code, kErrMissingPointer);
    }
}

TEST(Expression, NodataInAReadVariableGivesNodata)
{
    const double nodata = 1.7976931348623157e308;
    CExpression expression = ParseOrFail("W = x > 0 ? 1 : y");
    EXPECT_TRUE(expression.SetNodataHandling(true, nodata));
    const struct {
        double x, y, z;
        double expected;
    } rows[] = {
        {1, 2, 3, 1},
        {nodata, 2, 3, nodata},
        {1, nodata, 3, nodata}, // read by the text, though the branch is not taken
        {-1, 2, nodata, 2},     // Z is not read
        {-nodata, 2, 3, 2},
    };
    for (const auto& row : rows) {
        const SOutcome outcome = EvaluateAt(expression, row.x, row.y, row.z);
        EXPECT_TRUE(outcome.ok);
        EXPECT_EQ(outcome.value, row.expected) << row.x << " " << row.y << " " << row.z;
    }
    // Off again: the no-data value is an ordinary number.
    EXPECT_TRUE(expression.SetNodataHandling(false, nodata));
    EXPECT_EQ(EvaluateAt(expression, -1, nodata).value, nodata);
    EXPECT_FALSE(EvaluateAt(ParseOrFail("W = y * 10"), 0, nodata).ok) << "overflows to infinity without handling";
    EXPECT_FALSE(expression.SetNodataHandling(true, std::nan("")));

    // The setting belongs to the object: it survives a new Parse and a copy.
    CExpression reparsed;
    reparsed.SetNodataHandling(true, -999);
    ASSERT_TRUE(reparsed.Parse("W = x * 2", kXYZDeclarations, nullptr, nullptr, nullptr));
    EXPECT_EQ(EvaluateAt(reparsed, -999).value, -999);
    const CExpression copy(reparsed);
    EXPECT_EQ(EvaluateAt(copy, -999).value, -999);
    EXPECT_EQ(EvaluateAt(copy, 4).value, 8);
    // Integer inputs are compared after conversion.
    CExpression typed = ParseOrFail("W = k + 1", "double:W int:k");
    typed.SetNodataHandling(true, -1);
    int k = -1;
    double result = 0;
    void const* inputs[] = {nullptr, &k};
    EXPECT_TRUE(typed.Evaluate(inputs, &result, nullptr, nullptr) && result == -1);
}

TEST(Expression, ValueSemantics)
{
    CExpression empty;
    EXPECT_TRUE(empty.IsEmpty());
    double result = 0;
    int code = 0;
    EXPECT_FALSE(empty.Evaluate(nullptr, &result, &code, nullptr));
    EXPECT_EQ(code, kErrNotParsed);

    CExpression first = ParseOrFail("W = x + 1");
    CExpression second = first;
    ASSERT_TRUE(second.Parse("W = x * 10", kXYZDeclarations, nullptr, nullptr, nullptr));
    EXPECT_EQ(EvaluateAt(first, 2).value, 3) << "a copy is independent of its source";
    first = second;
    EXPECT_EQ(EvaluateAt(first, 2).value, 20);
    first = empty;
    EXPECT_TRUE(first.IsEmpty());

    // A failed parse keeps what the object held.
    EXPECT_FALSE(second.Parse("W = x +", kXYZDeclarations, nullptr, nullptr, nullptr));
    EXPECT_EQ(EvaluateAt(second, 2).value, 20);
}

TEST(ExpressionThreads, ConcurrentEvaluationEqualsSerial)
{
    CExpression expression = ParseOrFail(
        "W = x > 0.5 ? sin(x * y) + sqrt(abs(z)) ^ 1.5 : atan2(y, x) * exp(-z * z) - min(x, y, z) % 0.3");
    expression.SetNodataHandling(true, -1.0);
    const size_t count = 20000;
    auto evaluateAll = [&](std::vector<double>& results) {
        results.assign(count, 0.0);
        for (size_t n = 0; n < count; ++n) {
            // Every 101st point has no-data in Y.
            double values[] = {0, double(n % 97) / 97.0, n % 101 ? double(n % 13) - 6.5 : -1.0, double(n) / count - 0.5};
            void const* inputs[] = {&values[0], &values[1], &values[2], &values[3]};
            if (!expression.Evaluate(inputs, &results[n], nullptr, nullptr))
                results[n] = -2.0;
        }
    };
    std::vector<double> serial;
    evaluateAll(serial);

    std::vector<std::vector<double>> parallel(8);
    testsupport::RunThreads(8, [&](unsigned int t) { evaluateAll(parallel[t]); });
    for (size_t t = 0; t < parallel.size(); ++t)
        EXPECT_TRUE(parallel[t] == serial) << "thread " << t;
    EXPECT_EQ(serial[101], -1.0);
}

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
        {"double:W int128:X", kErrUnknownType, "int128"},  {"double:W :X", kErrUnknownType, ""},
        {"double:W X", kErrInvalidDeclaration, "X"},        {"double:W double:", kErrInvalidDeclaration, ""},
        {"double:W double:1x", kErrInvalidDeclaration, "1x"}, {"double:W double:a-b", kErrInvalidDeclaration, "a-b"},
        {"double:W double:And", kErrInvalidDeclaration, "And"}, // a keyword
        {"double:W double:x DOUBLE:X", kErrInvalidDeclaration, "X"}, // declared twice
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
        {"W = " + Repeat("(", 100000), false},           {"W = " + Repeat("-", 100000) + "1", false},
        {"W = " + Repeat("2^", 100000) + "2", false},    {"W = " + Repeat("not ", 100000) + "1", false},
        {"W = " + Repeat("sin(", 100000), false},        {"W = " + Repeat("1?", 100000) + "1", false},
        {"W = " + Repeat("x+x*x^(", 90) + "1" + Repeat(")", 90), false},
        // Few nesting levels but many pending values on each.
        {"W = " + Repeat("x or x and x < x + x * x ^ (", 40) + "1" + Repeat(")", 40), true},
        {"W = " + Repeat("x or x and x < x + x * x ^ (", 50) + "1" + Repeat(")", 50), false},
    };
    for (const auto& row : rows) {
        SFailure failure;
        EXPECT_EQ(!ParseFails(row.text, kXYZDeclarations, failure), row.ok) << row.text.substr(0, 40);
        EXPECT_EQ(failure.code, row.ok ? 0 : kErrTooComplex) << failure.message;
    }
    // Long flat chains are not nesting.
    const SOutcome outcome = Compute("x" + Repeat(" + x", 20000), 0.5);
    EXPECT_TRUE(outcome.ok && outcome.value == 10000.5);
}
