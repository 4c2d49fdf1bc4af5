#pragma once
// ArrayImport: lattices and point sets made from numpy arrays, each value
// copied once into the library's store (numpy does the copy, in whatever
// layout and byte order the arrays have).
//
// Values: one array; a sequence of arrays, one per component; or a mapping
// of names to arrays (a dict, or a pandas DataFrame's columns), whose names
// the session keeps for the source. A lattice's arrays are indexed [i, j, k]
// (1-D and 2-D arrays are lattices one node thick on the missing axes; a 4-D
// array holds the components on its last axis); a point set's are 1-D, or
// one 2-D array of (points, components). All components share one element
// type, numpy's common type of the arrays.
//
// Blanks: NaN in floating-point values, and the true elements of `mask`,
// shaped as one component (for all) or with the components last.
#include "python/src/DataViews.h"

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

namespace pyfenrak {

class ArrayImport {
public:
    static DataRef Uniform(pybind11::handle values, pybind11::handle origin, pybind11::handle spacing,
                           pybind11::handle mask, std::vector<std::string>& names);
    // `x`, `y`, `z`: the node coordinates of each axis, increasing.
    static DataRef Rectilinear(pybind11::handle values, pybind11::handle x, pybind11::handle y, pybind11::handle z,
                               pybind11::handle mask, std::vector<std::string>& names);
    // `labels`: None, or per point a text or None.
    static DataRef Points(pybind11::handle x, pybind11::handle y, pybind11::handle z, pybind11::handle values,
                          pybind11::handle mask, pybind11::handle labels, std::vector<std::string>& names);
};

} // namespace pyfenrak
