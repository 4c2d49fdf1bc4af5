#include "tzexpr/ParseFailure.h"

#include "shr/StringUtil.h"

#include <cstdarg>

namespace tzexpr {

void ThrowParseFailure(int code, const shr::GString& symbol, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::string message;
    shr::FormatStringVA(message, format, args);
    va_end(args);
    throw SParseFailure{code, message, symbol};
}

} // namespace tzexpr
