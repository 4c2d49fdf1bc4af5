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
// kBlockSize, in order, and the blocks in groups of kGroupBlocks; each keeps
// the range of its values, so that a level passes over the groups and blocks
// it cannot cross.
//
// An owner that triangulates again and again (the contour module, at each
// execution) lends the triangulation its Storage, so that the large vectors
// keep their memory from one execution to the next.
#include "shr/Vec3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

class VbProgress;
class VdLattice;
namespace VoIsoSurfacePrivate {
class NodePositions;
}

class VbTriangulateLattice2D {
public:
    using Triangle = std::array<uint32_t, 3>;
    // The largest float.
    static constexpr float kInvalid = 3.4028235e38f;
    static constexpr size_t kBlockSize = 16;
    static constexpr size_t kGroupBlocks = 64;

    // A range holding the corner values of the valid triangles of a block:
    // (-inf, +inf) when one of them is NaN, (+inf, -inf) when none is valid.
    struct Bounds {
        float min, max;
    };

    // What a mesh's vertices and triangles follow from: its row width and
    // rows and, when the lattice places each axis on its own, the node
    // coordinates along the plane's axes and the flat one (else empty).
    struct MeshShape {
        size_t width = 0, rows = 0;
        std::vector<double> coordinates;
        bool operator==(const MeshShape& o) const
        {
            return width == o.width && rows == o.rows && coordinates == o.coordinates;
        }
    };
    // The memory of a triangulation between two uses, and the shape of the
    // mesh it holds.
    struct Storage {
        std::vector<shr::Vec3d> vertices;
        std::vector<Triangle> triangles;
        std::vector<float> values;
        std::vector<Bounds> blocks, groups;
        MeshShape shape;
    };

    // With `storage`, the triangulation works in its memory and hands it
    // back when it is destroyed.
    explicit VbTriangulateLattice2D(const VdLattice& lattice, Storage* storage = nullptr);
    ~VbTriangulateLattice2D();
    VbTriangulateLattice2D(const VbTriangulateLattice2D&) = delete;
    VbTriangulateLattice2D& operator=(const VbTriangulateLattice2D&) = delete;

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

    size_t BlockCount() const { return m_Blocks.size(); }
    size_t GroupCount() const { return m_Groups.size(); }
    // Whether some triangle of a block, or of a group of blocks, may have one
    // corner below `level` and another not.
    bool BlockMayCross(size_t block, double level) const { return MayCross(m_Blocks[block], level); }
    bool GroupMayCross(size_t group, double level) const { return MayCross(m_Groups[group], level); }
    // Empties the triangulation.
    void Clear();

    std::vector<shr::Vec3d> vertices;
    std::vector<Triangle> triangles;
    std::vector<float> values;

private:
    static bool MayCross(const Bounds& bounds, double level) { return level > bounds.min && !(level > bounds.max); }
    void ResizeBounds();
    // The bounds of blocks first to end - 1, whose triangles are complete;
    // `meshWidth`, for a mesh, its row width, else 0.
    void ComputeBlockBounds(size_t first, size_t end, size_t meshWidth);
    // A block's bounds from its triangles.
    Bounds TriangleBounds(size_t block) const;
    // The same straight from the mesh's rows of values, for a block within
    // one row of cells whose corners are all valid numbers; false otherwise.
    bool MeshBounds(size_t block, size_t width, Bounds& bounds) const;
    void ComputeGroupBounds();

    static MeshShape ShapeOf(const VoIsoSurfacePrivate::NodePositions& positions, int along, int across,
                             size_t width, size_t rows);

    const VdLattice* m_Lattice;
    Storage* m_Storage;
    MeshShape m_Shape;
    std::vector<Bounds> m_Blocks;
    std::vector<Bounds> m_Groups;
};

} // namespace core
