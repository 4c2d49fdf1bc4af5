#pragma once
// NetcdfGrid: lattices in NetCDF files after the CF conventions, read and
// written through the NetCDF C library.
//
// Reading. The data variables are those that are neither coordinate
// variables nor named by another's "coordinates" attribute. The first of
// them with one to three dimensions (dimensions of length 1 beyond three are
// dropped) is read, together with every later data variable of the same
// dimensions and the same type, each as one component; "variable" in the
// scene's "fileOptions" names the variables instead, separated by commas.
// The last dimension runs fastest and becomes the lattice's I axis.
//   Axes: a coordinate variable gives a dimension's positions; without one
// the positions are the indices. Equal steps make a uniform lattice, other
// steps a rectilinear one; a decreasing axis is turned round (data too), and
// an axis with positive="down" is negated first, so that Z points up.
// Auxiliary coordinates named by "coordinates" and having the data's
// dimensions, told apart by their "axis" attribute, standard name or name,
// make a curvilinear lattice.
//   Blanks: values equal to "_FillValue" (the library's default fill when
// the attribute is absent, except for bytes), to any of "missing_value",
// outside "valid_min"/"valid_max"/"valid_range", and NaNs. Packed values
// are unpacked as value x "scale_factor" + "add_offset" into the type of
// those attributes.
//   GMT grids are CF files (x, y, z) and read as such; the older GMT layout
// (x_range, y_range, dimension, z over xysize, rows from the north) too.
//   The global attribute "fenrak_user_transform" (16 doubles, row-major, in
// the points-are-rows convention) restores a lattice's user transform.
//
// Writing: dimensions z, y, x (k, j, i for a curvilinear lattice, whose
// nodes go to auxiliary variables x, y, z), one variable "component_N" per
// component in the lattice's own type, blanks as the type's default fill
// value (declared as "_FillValue"). The 64-bit offset format is used, CDF-5
// for types the classic model lacks (unsigned, 64-bit integers).
#include "shr/GString.h"

#include <memory>
#include <string>
#include <vector>

namespace core {
class VdLattice;
}

namespace host {

class FileOptions;

struct NetcdfSettings {
    std::vector<std::string> variables; // empty: the first data variable and its fellows
};

class NetcdfGrid {
public:
    static NetcdfSettings Settings(const FileOptions& options);
    // Whether the first bytes are a NetCDF signature (classic, 64-bit offset,
    // CDF-5, or HDF5 for NetCDF-4).
    static bool Recognise(const unsigned char* head, size_t size);
    static std::unique_ptr<core::VdLattice> Read(const shr::GString& path, const shr::GString& displayName,
                                                 const NetcdfSettings& settings);
    // Writes the lattice to `path` (replaced if it exists); errors name `displayName`.
    static void Write(const core::VdLattice& lattice, const std::string& path, const std::string& displayName);
};

} // namespace host
