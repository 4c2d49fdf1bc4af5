#include "tzexpr/FunctionTable.h"

#include "shr/GString.h"

#include <cmath>

namespace tzexpr {

namespace {

constexpr SFunction Unary(const char* name, UnaryFunction f) { return SFunction{name, 1, false, f, nullptr}; }
constexpr SFunction Binary(const char* name, BinaryFunction f) { return SFunction{name, 2, false, nullptr, f}; }
constexpr SFunction Variadic(const char* name, BinaryFunction f) { return SFunction{name, 2, true, nullptr, f}; }

// Constant-initialised, so it is ready for callers in other static initialisers.
constexpr SFunction kFunctions[] = {
    Unary("abs", [](double x) { return std::fabs(x); }),
    Unary("sqrt", [](double x) { return std::sqrt(x); }),
    Unary("exp", [](double x) { return std::exp(x); }),
    Unary("log", [](double x) { return std::log(x); }),
    Unary("log10", [](double x) { return std::log10(x); }),
    Unary("sin", [](double x) { return std::sin(x); }),
    Unary("cos", [](double x) { return std::cos(x); }),
    Unary("tan", [](double x) { return std::tan(x); }),
    Unary("asin", [](double x) { return std::asin(x); }),
    Unary("acos", [](double x) { return std::acos(x); }),
    Unary("atan", [](double x) { return std::atan(x); }),
    Unary("sinh", [](double x) { return std::sinh(x); }),
    Unary("cosh", [](double x) { return std::cosh(x); }),
    Unary("tanh", [](double x) { return std::tanh(x); }),
    Unary("floor", [](double x) { return std::floor(x); }),
    Unary("ceil", [](double x) { return std::ceil(x); }),
    Unary("round", [](double x) { return std::round(x); }),
    Binary("atan2", [](double y, double x) { return std::atan2(y, x); }),
    Binary("pow", [](double x, double y) { return std::pow(x, y); }),
    Binary("hypot", [](double x, double y) { return std::hypot(x, y); }),
    Binary("fmod", [](double x, double y) { return std::fmod(x, y); }),
    Variadic("min", [](double x, double y) { return std::fmin(x, y); }),
    Variadic("max", [](double x, double y) { return std::fmax(x, y); }),
};

} // namespace

const SFunction* FindFunction(const shr::GString& lowerName)
{
    for (const SFunction& function : kFunctions) {
        if (lowerName == function.name)
            return &function;
    }
    return nullptr;
}

} // namespace tzexpr
