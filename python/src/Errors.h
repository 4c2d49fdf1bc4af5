#pragma once
// Errors: how the library's failures reach Python. A mistake in what the
// caller gave (a property key or value, a scene file, an array of the wrong
// shape) is a ValueError carrying the library's message; a module that failed
// in a pass is a fenrak.ExecutionError; any other failure of the library is a
// fenrak.Error. Both are RuntimeErrors.
#include <pybind11/pybind11.h>

#include <string>

namespace pyfenrak {

// Creates fenrak.Error and fenrak.ExecutionError and installs the translation
// of the library's exceptions.
void RegisterErrors(pybind11::module_& module);

[[noreturn]] void ThrowValueError(const std::string& message);
[[noreturn]] void ThrowTypeError(const std::string& message);
[[noreturn]] void ThrowExecutionError(const std::string& message);

} // namespace pyfenrak
