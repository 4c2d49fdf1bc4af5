#pragma once
// What a failed parse reports: the error code, the message and the offending
// symbol (a name or token text; empty at the end of the text). Thrown inside the
// compiler and turned into CExpression::Parse's outputs at its boundary.
#include "shr/GString.h"

namespace tzexpr {

struct SParseFailure {
    int code;
    shr::GString message;
    shr::GString symbol;
};

// Throws an SParseFailure with a printf-formatted message.
[[noreturn]] void ThrowParseFailure(int code, const shr::GString& symbol, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

} // namespace tzexpr
