#pragma once
// VolumeCalculator: volumes of small point collections: a tetrahedron, a
// hexahedral lattice cell, and the convex hull of a list of corners. The
// isosurface adds these up into the volume on either side of its surface.
//
// The hull comes from reentrant Qhull with a fresh state per call, so one
// calculator may be used from several threads at once. Any Qhull failure (a
// flat or collinear set, too few distinct points) is a hull of volume 0.0:
// that is what a cell with coplanar corners is worth.
#include "shr/GString.h"
#include "shr/Vec3.h"

#include <cstddef>
#include <vector>

namespace core {

class VolumeCalculator {
public:
    VolumeCalculator();

    // The tetrahedron a, b, c, d; the order of the points does not matter.
    double Volume(const shr::Vec3d& a, const shr::Vec3d& b, const shr::Vec3d& c, const shr::Vec3d& d) const;
    // A cell of eight corners in the order of CellCorners, cut into six
    // tetrahedra around corner 0. Another count raises "Insufficient cell
    // corners specified.".
    double CellVolume(const std::vector<shr::Vec3d>& corners) const;
    // The convex hull of the first `count` points; 0.0 for fewer than four, the
    // tetrahedron for exactly four. A count above the size raises "Invalid
    // point collection size specified.".
    double Volume(const std::vector<shr::Vec3d>& points, size_t count) const;

    const shr::GString& Options() const { return m_Options; }

private:
    double HullVolume(const std::vector<shr::Vec3d>& points, size_t count) const;

    double m_OneSixth;
    shr::GString m_Options;
};

} // namespace core
