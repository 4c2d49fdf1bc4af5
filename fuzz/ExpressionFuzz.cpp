// Expressions: every text compiles or is refused with an error code and a
// message; what compiles evaluates over inputs of every declared type.
#include "FuzzTarget.h"

#include "tzexpr/CExpression.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const char kDeclarations[] = "double:W double:x double:y double:z float:A1 int:n int8:c uint64:u";
    const std::string text(reinterpret_cast<const char*>(data), size);
    tzexpr::CExpression expression;
    int code = 0;
    shr::GString message, symbol;
    if (!expression.Parse(text, kDeclarations, &code, &message, &symbol)) {
        if (code == 0 || message.empty())
            std::abort();
        return 0;
    }
    double w = 0.0, x = 0.25, y = -3.5, z = 1e300;
    float a1 = 2.0f;
    int n = -7;
    signed char c = 100;
    unsigned long long u = 18446744073709551615ull;
    const void* inputs[] = {&w, &x, &y, &z, &a1, &n, &c, &u};
    double result = 0.0;
    expression.Evaluate(inputs, &result, &code, &message);
    expression.SetNodataHandling(true, -3.5);
    expression.Evaluate(inputs, &result, &code, &message);
    return 0;
}
