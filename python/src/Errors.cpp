#include "python/src/Errors.h"

#include "host/HostError.h"
#include "shr/Exception.h"

namespace py = pybind11;

namespace pyfenrak {

namespace {

// Set once at import; the module object keeps both alive.
PyObject* g_Error = nullptr;
PyObject* g_ExecutionError = nullptr;

} // namespace

void RegisterErrors(py::module_& module)
{
    static py::exception<shr::Exception> error(module, "Error", PyExc_RuntimeError);
    static py::exception<std::runtime_error> execution(module, "ExecutionError", PyExc_RuntimeError);
    g_Error = error.ptr();
    g_ExecutionError = execution.ptr();
    error.doc() = "A failure of the library: the message is the library's.";
    execution.doc() = "A module failed in a pass: the message names the module and gives its reason.";
    py::register_exception_translator([](std::exception_ptr pending) {
        try {
            if (pending)
                std::rethrow_exception(pending);
        } catch (const shr::Exception& failure) {
            PyErr_SetString(host::IsUserError(failure) ? PyExc_ValueError : g_Error, failure.Message().c_str());
        }
    });
}

void ThrowValueError(const std::string& message)
{
    throw py::value_error(message);
}

void ThrowTypeError(const std::string& message)
{
    throw py::type_error(message);
}

void ThrowExecutionError(const std::string& message)
{
    PyErr_SetString(g_ExecutionError, message.c_str());
    throw py::error_already_set();
}

} // namespace pyfenrak
