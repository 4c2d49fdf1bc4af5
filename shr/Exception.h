#pragma once
// Exception: the one error type of the library. It carries the component label
// ("Core", "Shared", "ZtCommand"), the source file and line that raised it, a
// numeric code and the message. Thrown by value, caught by reference; it derives
// from std::exception so that a host's generic handler sees the message too.
#include "shr/GString.h"

#include <exception>

namespace shr {

class Exception : public std::exception {
public:
    Exception(const GString& component, const GString& file, int line, int code, const GString& message);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override;

    const GString& Component() const { return m_Component; }
    const GString& File() const { return m_File; }
    int Line() const { return m_Line; }
    int Code() const { return m_Code; }
    const GString& Message() const { return m_Message; }

    // The message alone, as a user reads it.
    const char* what() const noexcept override { return m_Message.c_str(); }
    // "<component> error <code> (<file>:<line>): <message>", for logs.
    GString Describe() const;

private:
    GString m_Component;
    GString m_File;
    int m_Line;
    int m_Code;
    GString m_Message;
};

// Builds and throws an Exception. The further arguments depend on the code:
//   0   a printf format, then its arguments: the message is the formatted text;
//   2   none: an internal check failed;
//   22  the class name (const char*): an archive names a class that cannot be created.
// Any other code gives a generic message naming the code.
[[noreturn]] void ThrowSharedError(const GString& component, const GString& file, int line, int code, ...);

} // namespace shr

// Throws a "Shared" error from the call site.
#define SHR_THROW(code, ...) ::shr::ThrowSharedError("Shared", __FILE__, __LINE__, (code), ##__VA_ARGS__)
