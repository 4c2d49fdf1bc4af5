#pragma once
// VtkXmlWriter: lattices as VTK's XML files, for ParaView and PyVista users.
//
//   .vti  ImageData, for a uniform lattice: origin, spacing and, for a lattice
//         turned by its user transform, the Direction matrix;
//   .vtr  RectilinearGrid, for a uniform or rectilinear lattice whose user
//         transform (if any) only scales and moves the axes;
//   .vts  StructuredGrid, for any lattice: every node's scene position.
//
// Positions are the nodes' XYZ (UVW through the user transform). Each
// component is a point array "Component N" of the lattice's own type, in
// little-endian raw appended data with 64-bit block headers. A lattice with
// blanks adds the point array "vtkGhostType" marking blank nodes hidden
// (2), and float components carry NaN there.
#include <string>

namespace core {
class VdLattice;
}

namespace host {

class VtkXmlWriter {
public:
    enum class Kind { Image, Rectilinear, Structured };

    // The kind of a file name's extension; false for other names.
    static bool KindOfName(const std::string& path, Kind& kind);
    // Raises a user error (naming `displayName`) when the lattice does not fit the kind.
    static void CheckFits(const core::VdLattice& lattice, Kind kind, const std::string& displayName);
    static void Write(const core::VdLattice& lattice, Kind kind, const std::string& path,
                      const std::string& displayName);
};

} // namespace host
