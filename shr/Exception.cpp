#include "shr/Exception.h"

#include "shr/StringUtil.h"

#include <cstdarg>

namespace shr {

Exception::Exception(const GString& component, const GString& file, int line, int code, const GString& message)
    : m_Component(component), m_File(file), m_Line(line), m_Code(code), m_Message(message)
{
}

Exception::~Exception() = default;

GString Exception::Describe() const
{
    return ToString("%s error %d (%s:%d): %s", m_Component.c_str(), m_Code, m_File.c_str(), m_Line,
                    m_Message.c_str());
}

void ThrowSharedError(const GString& component, const GString& file, int line, int code, ...)
{
    va_list args;
    va_start(args, code);
    std::string message;
    switch (code) {
    case 0: {
        const char* format = va_arg(args, const char*);
        FormatStringVA(message, format ? format : "", args);
        break;
    }
    case 2:
        message = "Internal check failed.";
        break;
    case 22: {
        const char* className = va_arg(args, const char*);
        FormatString(message, "Cannot create an object of class \"%s\": the class is unknown.",
                     className ? className : "");
        break;
    }
    default:
        FormatString(message, "Error %d.", code);
        break;
    }
    va_end(args);
    throw Exception(component, file, line, code, message);
}

} // namespace shr
