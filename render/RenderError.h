#pragma once
// Errors of the headless renderer: shr::Exception with the component label
// "Render" and a printf-formatted message (pass C strings, not GStrings).
#include "shr/Exception.h"

#define RENDER_THROW(...) ::shr::ThrowSharedError("Render", __FILE__, __LINE__, 0, __VA_ARGS__)
