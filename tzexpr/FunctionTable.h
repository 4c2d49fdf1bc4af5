#pragma once
// The functions an expression may call, by lower-case name. Each computes what the
// C library function of the same name computes; "min" and "max" are fmin and fmax
// (a NaN argument is ignored) and take two or more arguments.
#include "tzexpr/CProgram.h"

namespace tzexpr {

struct SFunction {
    const char* name;
    int arity;             // 1 or 2
    bool variadic;         // two or more arguments, folded left by `binary`
    UnaryFunction unary;   // for arity 1
    BinaryFunction binary; // for arity 2
};

// The function of this lower-case name, or null.
const SFunction* FindFunction(const shr::GString& lowerName);

} // namespace tzexpr
