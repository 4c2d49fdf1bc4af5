#pragma once
// The errors of the property system and its helpers: shr::Exceptions under the
// label "Core" with a fixed message, raised from the call site.
#include "shr/Exception.h"

#define VB_THROW_CORE(message) ::shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "%s", (message))

namespace core {

// Raises "Invalid property type conversion requested." under the label "Core".
[[noreturn]] void ThrowPropertyTypeError();

} // namespace core
