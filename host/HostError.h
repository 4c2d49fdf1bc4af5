#pragma once
// Errors of the host. Mistakes in what the user gave us (a scene file, a point
// file, a command line) are shr::Exceptions with the component label "Host"
// and code 1; their message is complete as it stands and is shown without the
// source location. Everything else is an internal or system failure.
#include "shr/Exception.h"
#include "shr/StringUtil.h"

namespace host {

// Code of a user error: also the program's exit status for one.
constexpr int kUserErrorCode = 1;
// The exit status for a failure of the system (memory, disk, drawing).
constexpr int kSystemFailureCode = 3;
// The log level of a system failure's source location: shown with FENRAK_LOG=2
// and above, never in the message itself.
constexpr int kFailureLogLevel = 2;

inline bool IsUserError(const shr::Exception& error)
{
    return error.Component() == "Host" && error.Code() == kUserErrorCode;
}

} // namespace host

// Throws a user error with a printf-formatted message (pass C strings).
#define HOST_USER_ERROR(...) \
    throw ::shr::Exception("Host", __FILE__, __LINE__, ::host::kUserErrorCode, ::shr::ToString(__VA_ARGS__))

// Throws a failure of the system (a disk that refuses a write), printf-formatted;
// its message names the file, never a source path.
#define HOST_SYSTEM_ERROR(...) \
    throw ::shr::Exception("Host", __FILE__, __LINE__, 3, ::shr::ToString(__VA_ARGS__))
