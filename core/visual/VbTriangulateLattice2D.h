#pragma once
// VbTriangulateLattice2D: a plane through a lattice as triangles carrying the
// values of one component at their corners. The contour module makes one per
// execution and traces every level over it.
//
// A lattice one node thick on an axis gives the mesh of its own nodes, in
// their storage order, two triangles a cell. A 3-D lattice is cut by a plane
// with marching cubes on the signed distance of its nodes, each cut lattice
// edge giving one vertex shared by all its triangles. Positions are in the
// lattice's own coordinates (before its user transform).
//
// A value of kInvalid marks a vertex that must not be traced: a blank node, or
// a cut on an edge with a blank end.
//
// For the tracing of many levels the triangles are grouped in blocks of
// kBlockSize, in order, and each block keeps the range of its values, so that
// a level can pass over the blocks it cannot cross.
#include "shr/Vec3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

class VbProgress;
class VdLattice;

class VbTriangulateLattice2D {
public:
    using Triangle = std::array<uint32_t, 3>;
    // The largest float.
    static constexpr float kInvalid = 3.4028235e38f;
    static constexpr size_t kBlockSize = 64;

    // The least and greatest corner value of the valid triangles of a block;
    // (-inf, +inf) when one of them is NaN, (+inf, -inf) when none is valid.
    struct Bounds {
        float min, max;
    };

    explicit VbTriangulateLattice2D(const VdLattice& lattice) : m_Lattice(&lattice) {}

    const VdLattice& Lattice() const { return *m_Lattice; }

    // The mesh of a lattice with at most one node on some axis (dims[2], else
    // dims[1], else dims[0]), rows along its first axis of more than one node.
    // The cell with lowest vertex v and row width w gives the triangles
    // (v, v + w, v + 1) and (v + 1, v + w, v + w + 1). False when `progress`
    // asked to stop; the triangulation is then empty.
    bool TriangulateMesh(unsigned int component, VbProgress* progress);
    // The cut of the plane dot(normal, p) = distance, with a unit normal,
    // through the lattice's cells. A corner lies on the inner side when
    // 0.0 > its signed distance. False when `progress` asked to stop.
    bool TriangulatePlane(const shr::Vec3d& normal, double distance, unsigned int component, VbProgress* progress);

    const std::vector<Bounds>& BlockBounds() const { return m_Blocks; }
    // Whether some triangle of block `block` may have one corner below `level`
    // and another not.
    bool BlockMayCross(size_t block, double level) const
    {
        return level > m_Blocks[block].min && !(level > m_Blocks[block].max);
    }
    // Empties the triangulation.
    void Clear();

    std::vector<shr::Vec3d> vertices;
    std::vector<Triangle> triangles;
    std::vector<float> values;

private:
    void ComputeBlockBounds();

    const VdLattice* m_Lattice;
    std::vector<Bounds> m_Blocks;
};

} // namespace core
