#include "core/network/CoreError.h"

#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <cstdarg>
#include <string>

namespace core {

const char* const kSupportAddress = "https://support.fenrak.org/report";

thread_local const char* g_CoreErrorFile = nullptr;
thread_local int g_CoreErrorLine = 0;

namespace {

const char* const kFormats[kLastCoreErrorCode + 1] = {
    nullptr,
    nullptr, // code 1 is composed with the support address
    "The minimum %c limit must be less than the maximum.",
    "The minimum %c limit must be less than or equal to the maximum.",
    "The number of nodes in the %c direction must be greater than 0 and less than or equal to %u",
    "Type mismatch: %s requires a %s for input.",
    "Unable to create a window DC\n%s",
    "Unable to find '%s'.",
    "Unable to open '%s'.\n%s",
    "Unable to read '%s'.\n%s",
    "Bad format in file '%s', Line %d",
    "'%s' is not a valid %s file.",
    "It appears '%s' was written by a newer version of the program.\n"
    "Please upgrade to the latest version to read this file.",
    "Unexpected end of file while reading '%s'.",
    "Invalid function expression (%d):\nInput '%s' is not currently connected.",
    "Invalid function expression (%d):\n%s",
    "Unable to create font '%s'.\n%s",
    "Unable to get text metrics for font '%s'.\n%s",
    "Unable to load glyph %d metrics.",
    "Unable to load glyph %d.",
    "Unable to get glyph outline.\n%s",
    "The input point set is empty.",
    "The input point set contains no associated data.",
    "The %c resolution must be >= 2 and <= %u",
    "Search radius must be greater than 0",
    "%c Length must be greater than 0",
    "Search ellipse axes are coplanar.  Specify three non-coplanar axes.",
    "'Min Count' must be less than or equal to 'Max Count'",
    "Anisotropy ellipse axes are coplanar.  Specify three non-coplanar axes.",
    "%c axis minimum must be less than or equal to the maximum",
    "%c axis label minimum must be less than or equal to the label maximum",
    "Too many labels for the %c axis (%g).\nIncrease the label increment to at least %g",
    "%cFirst must be greater than or equal to 1 and less than or equal to %u.",
    "%cLast must be greater than or equal to 1 and less than or equal to %u.",
    "%cStep must be greater than 0.",
    "'Seed Method' is set to 'Point Set', but no point set is currently connected.",
    "Invalid color method - the point set has no data.  The color method is set to 'By Data', "
    "but the input points have no associated data.",
    "The maximum number of lights (%d) has been exceeded.",
    "The Scalar color method requires the 'Scalar Lattice' connection.  Nothing appears to be connected.",
    "The scalar lattice is too small.  The scalar lattice dimensions must be greater than or equal to "
    "the input lattice dimensions.",
    "Unable to create an OpenGL tesselator.",
    "Tesselation error: %s",
    "'%s' is missing one or both of the required end nodes (at 0.0 and 1.0).",
    "Line %u in file '%s' is out of order.",
    "Vector length cannot equal 0.  At least one component must be non-zero.",
    "Normal length cannot equal 0.  At least one component must be non-zero.",
    "Insufficient memory to perform operation",
};

const std::string& InternalErrorText()
{
    static const std::string text = std::string("Internal Error.  An internal inconsistency has been detected.\n"
                                                "Please report this to Corvant at ") +
                                    kSupportAddress;
    return text;
}

} // namespace

const char* CoreErrorFormat(int code)
{
    if (code == 1)
        return InternalErrorText().c_str();
    if (code < 0 || code > kLastCoreErrorCode)
        return nullptr;
    return kFormats[code];
}

void ThrowCoreError(int code, ...)
{
    if (code < 0 || code > kLastCoreErrorCode)
        return;
    va_list args;
    va_start(args, code);
    const char* format = code == 0 ? va_arg(args, const char*) : CoreErrorFormat(code);
    std::string text;
    if (format)
        shr::FormatStringVA(text, format, args);
    va_end(args);
    // Leave the recorded site behind so that a later call without the macro
    // does not borrow it.
    const shr::GString file(g_CoreErrorFile);
    const int line = g_CoreErrorLine;
    g_CoreErrorFile = nullptr;
    g_CoreErrorLine = 0;
    throw shr::Exception("Core", file, line, code, text);
}

} // namespace core
