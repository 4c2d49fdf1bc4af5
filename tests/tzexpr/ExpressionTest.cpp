// Evaluation: precedence, functions, case, types, no-data and value semantics.
#include "ExpressionTestUtil.h"

#include "tzexpr/ErrorCodes.h"
#include "tzexpr/ValueType.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

using namespace tzexpr;
using namespace tzexpr::test;

TEST(Expression, PrecedenceAndAssociativity)
{
    struct Row {
        const char* text;
        double expected;
    } rows[] = {
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
    for (const Row& row : rows) {
        const SOutcome outcome = Compute(row.text, 3, 5, -1);
        EXPECT_TRUE(outcome.ok) << row.text;
        EXPECT_DOUBLE_EQ(outcome.value, row.expected) << row.text;
    }
}

TEST(Expression, FunctionsMatchTheCLibrary)
{
    using Unary = std::function<double(double)>;
    using Binary = std::function<double(double, double)>;
    const struct {
        const char* name;
        Unary f;
    } unary[] = {
        {"abs", [](double x) { return std::fabs(x); }},   {"sqrt", [](double x) { return std::sqrt(x); }},
        {"exp", [](double x) { return std::exp(x); }},    {"log", [](double x) { return std::log(x); }},
        {"log10", [](double x) { return std::log10(x); }}, {"sin", [](double x) { return std::sin(x); }},
        {"cos", [](double x) { return std::cos(x); }},    {"tan", [](double x) { return std::tan(x); }},
        {"asin", [](double x) { return std::asin(x); }},  {"acos", [](double x) { return std::acos(x); }},
        {"atan", [](double x) { return std::atan(x); }},  {"sinh", [](double x) { return std::sinh(x); }},
        {"cosh", [](double x) { return std::cosh(x); }},  {"tanh", [](double x) { return std::tanh(x); }},
        {"floor", [](double x) { return std::floor(x); }}, {"ceil", [](double x) { return std::ceil(x); }},
        {"round", [](double x) { return std::round(x); }},
    };
    const struct {
        const char* name;
        Binary f;
    } binary[] = {
        {"atan2", [](double y, double x) { return std::atan2(y, x); }},
        {"pow", [](double x, double y) { return std::pow(x, y); }},
        {"hypot", [](double x, double y) { return std::hypot(x, y); }},
        {"fmod", [](double x, double y) { return std::fmod(x, y); }},
        {"min", [](double x, double y) { return std::fmin(x, y); }},
        {"max", [](double x, double y) { return std::fmax(x, y); }},
    };
    const double samples[] = {-2.5, -1, -0.5, -0.0, 0.25, 0.5, 0.7, 1, 2.5, 3.75, 10};
    for (const auto& function : unary) {
        const CExpression variable = ParseOrFail(std::string("W = ") + function.name + "(x)");
        for (double x : samples) {
            const double expected = function.f(x);
            const SOutcome outcome = EvaluateAt(variable, x);
            EXPECT_EQ(outcome.ok, std::isfinite(expected)) << function.name << "(" << x << ")";
            if (outcome.ok) {
                EXPECT_EQ(outcome.value, expected) << function.name << "(" << x << ")";
            }
        }
        // Folded at parse time, the same arithmetic gives the same bits.
        const SOutcome folded = Compute(std::string(function.name) + "(0.7)");
        EXPECT_EQ(folded.value, function.f(0.7)) << function.name;
    }
    for (const auto& function : binary) {
        const CExpression variable = ParseOrFail(std::string("W = ") + function.name + "(x, y)");
        for (double x : samples) {
            for (double y : samples) {
                const double expected = function.f(x, y);
                const SOutcome outcome = EvaluateAt(variable, x, y);
                EXPECT_EQ(outcome.ok, std::isfinite(expected)) << function.name << "(" << x << ", " << y << ")";
                if (outcome.ok) {
                    EXPECT_EQ(outcome.value, expected) << function.name << "(" << x << ", " << y << ")";
                }
            }
        }
    }
    // The operators are the library functions too.
    EXPECT_EQ(Compute("x ^ y", 2.5, 3.75).value, std::pow(2.5, 3.75));
    EXPECT_EQ(Compute("x % y", 10, 3.75).value, std::fmod(10, 3.75));
}

TEST(Expression, NamesKeywordsAndFunctionsIgnoreCase)
{
    CExpression expression = ParseOrFail("w = SQRT(X) + Max(x, Y) + PI * 0 + (X > 1 AND y < 9 Or NOT z)",
                                         "DOUBLE:W Double:x double:Y dOuBlE:z");
    const SOutcome outcome = EvaluateAt(expression, 4, 7, 0);
    EXPECT_TRUE(outcome.ok);
    EXPECT_EQ(outcome.value, 2 + 7 + 1);
    // The lower-case default of the function lattice over upper-case declarations.
    EXPECT_DOUBLE_EQ(Compute("(x-.5)*(x-.5) + (y-.5)*(y-.5) + (z-.5)*(z-.5)", 1, 0.5, 0).value, 0.5);
}

TEST(Expression, AssignedVariableMayBeReadAndDeclaredAnywhere)
{
    // The exclusion filter's form: the first declared variable is assigned.
    CExpression expression = ParseOrFail("B = b + n * 10", "double:B double:X double:n");
    double b = 2, x = 0, n = 3, result = 0;
    void const* inputs[] = {&b, &x, &n};
    ASSERT_TRUE(expression.Evaluate(inputs, &result, nullptr, nullptr));
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
    const struct {
        const char* text;
        double expected;
    } rows[] = {
        {"W = a", -7}, {"W = b", 250}, {"W = c", -30000}, {"W = d", 60000}, {"W = e", -2000000000.0},
        {"W = f", 4000000000.0}, {"W = g", -1099511627776.0}, {"W = h", 9223372036854775808.0}, {"W = k", double(0.1f)},
    };
    for (const auto& row : rows) {
        double result = 0;
        ASSERT_TRUE(ParseOrFail(row.text, declarations).Evaluate(inputs, &result, nullptr, nullptr)) << row.text;
        EXPECT_EQ(result, row.expected) << row.text;
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
    float narrow = 0;
    double huge = 1e300;
    void const* in[] = {nullptr, &huge};
    EXPECT_FALSE(ParseOrFail("R = x", "float:R double:X").Evaluate(in, &narrow, nullptr, nullptr));
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
    EXPECT_FALSE(expression.Evaluate(inputs, nullptr, &code, nullptr));
    EXPECT_EQ(code, kErrMissingPointer);
    void const* missing[] = {nullptr, nullptr, nullptr, nullptr};
    EXPECT_FALSE(expression.Evaluate(missing, &result, &code, nullptr));
    EXPECT_EQ(code, kErrMissingPointer);
    EXPECT_FALSE(expression.Evaluate(nullptr, &result, &code, nullptr));
    EXPECT_EQ(code, kErrMissingPointer);
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
    ASSERT_TRUE(typed.Evaluate(inputs, &result, nullptr, nullptr));
    EXPECT_EQ(result, -1);
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
    EXPECT_EQ(EvaluateAt(second, 2).value, 20);
    first = second;
    first = first;
    EXPECT_EQ(EvaluateAt(first, 2).value, 20);
    first = empty;
    EXPECT_TRUE(first.IsEmpty());

    // A failed parse keeps what the object held.
    EXPECT_FALSE(second.Parse("W = x +", kXYZDeclarations, nullptr, nullptr, nullptr));
    EXPECT_EQ(EvaluateAt(second, 2).value, 20);
}
