#pragma once
// Shared helpers of the expression tests: parse "W = <text>" over W, X, Y, Z and
// evaluate it at one point.
#include "tzexpr/CExpression.h"

#include <gtest/gtest.h>

namespace tzexpr::test {

inline const char* kXYZDeclarations = "double:W double:X double:Y double:Z";

struct SOutcome {
    bool ok;
    double value;
};

inline CExpression ParseOrFail(const std::string& text, const char* declarations = kXYZDeclarations)
{
    CExpression expression;
    int code = 0;
    shr::GString message;
    EXPECT_TRUE(expression.Parse(text, declarations, &code, &message, nullptr)) << text << ": " << code << " " << message;
    return expression;
}

inline SOutcome EvaluateAt(const CExpression& expression, double x, double y = 0, double z = 0, double w = 0)
{
    double values[4] = {w, x, y, z};
    void const* inputs[4] = {&values[0], &values[1], &values[2], &values[3]};
    double result = -12345.0;
    const bool ok = expression.Evaluate(inputs, &result, nullptr, nullptr);
    return SOutcome{ok, result};
}

// "W = text" evaluated at (x, y, z).
inline SOutcome Compute(const std::string& text, double x = 0, double y = 0, double z = 0)
{
    return EvaluateAt(ParseOrFail("W = " + text), x, y, z);
}

} // namespace tzexpr::test
