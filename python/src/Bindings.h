#pragma once
// The parts of the fenrak Python module, each defining its classes and
// functions on the module object.
#include <pybind11/pybind11.h>

#include <string>

namespace pyfenrak {

// fenrak.Network, fenrak.Module, fenrak.View.
void BindNetwork(pybind11::module_& module);
// fenrak.Lattice, fenrak.Points: the array views of output data.
void BindData(pybind11::module_& module);
// fenrak.modules(), fenrak.properties(type).
void BindCatalogue(pybind11::module_& module);

// A path as the library takes it, from a str or an os.PathLike.
std::string PathText(pybind11::handle path);

} // namespace pyfenrak
