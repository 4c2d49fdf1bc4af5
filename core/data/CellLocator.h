#pragma once
// CellLocator: the spatial index of a curvilinear lattice, which turns a UVW
// position into continuous IJK node coordinates.
//
// An octree of `level` levels over the UVW bounds holds, in each leaf, the
// numbers of all cells whose bounding box overlaps the leaf. A leaf's cells
// lie in a chain of fixed buckets of 20, newest bucket first. Find descends to
// the one leaf of the point and inverts the trilinear map of each listed cell
// by Newton iteration until a cell contains the point.
//
// The index is built on the first Find after construction or Clear. Building
// is guarded, so that several threads may search a freshly made lattice at
// once and still build it only once; Clear must not run beside a Find.
// Only a fully 3-D lattice (two nodes or more per axis) can be indexed: on any
// other the build fails, and is tried again at each Find.
#include "shr/Box3d.h"
#include "shr/Vec3.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

namespace core {

class CellLocator {
public:
    // What the locator indexes: the lattice's node counts, bounds and node positions.
    class NodeSource {
    public:
        virtual ~NodeSource() = default;
        virtual const unsigned int* NodeDims() const = 0;
        virtual shr::Box3d NodeBounds() const = 0;
        // UVW of `count` consecutive nodes from tuple index `first`.
        virtual void ReadNodes(uint32_t first, uint32_t count, shr::Vec3d* out) const = 0;
        // UVW of the eight corners of cell (i, j, k): (i,j,k), (i+1,j,k),
        // (i+1,j+1,k), (i,j+1,k), then the same at k+1. The search's hot path.
        virtual void ReadCellCorners(uint32_t i, uint32_t j, uint32_t k, shr::Vec3d corners[8]) const = 0;
    };

    // A fixed-size piece of one leaf's cell list.
    struct CellBucket {
        static constexpr int32_t Capacity = 20;
        int32_t count;
        int32_t next; // the leaf's next bucket, -1 at the end
        int32_t cells[Capacity];
    };

    // Deepest octree allowed: memory stays bounded by 8^6 leaves.
    static constexpr int32_t MaxLevel = 6;

    CellLocator() = default;
    // A copy starts empty: it is rebuilt for its own lattice on demand.
    CellLocator(const CellLocator&) {}
    CellLocator& operator=(const CellLocator&);

    // Drops the index; the next Find builds it again.
    void Clear();
    // The continuous IJK of p, or false if no cell contains it. On failure `ijk`
    // holds the last cell's unconverged or out-of-cell estimate, if any.
    bool Find(const NodeSource& source, const shr::Vec3d& p, shr::Vec3d& ijk) const;

    bool IsBuilt() const { return m_Level.load(std::memory_order_acquire) > 0; }
    int32_t Level() const { return m_Level.load(std::memory_order_acquire); }
    int32_t CellCount() const { return m_CellCount; }
    const std::vector<int32_t>& Leaves() const { return m_Leaves; }
    const std::vector<CellBucket>& Buckets() const { return m_Buckets; }

    // The cell test on its own: the parametric coordinates (r, s, t) of p in
    // the cell with these corners, in the order (0,0,0), (1,0,0), (1,1,0),
    // (0,1,0), then the same at t = 1. True when Newton converges inside the
    // closed unit cube; `rst` holds the last estimate either way.
    static bool InvertTrilinear(const shr::Vec3d corners[8], const shr::Vec3d& p, shr::Vec3d& rst);

private:
    bool EnsureBuilt(const NodeSource& source) const;
    bool Build(const NodeSource& source) const;
    void InsertRows(const NodeSource& source, int level) const;
    void Insert(int32_t cell, const shr::Box3d& box, const shr::Box3d& node, int depth, uint32_t leaf) const;
    void AddToLeaf(uint32_t leaf, int32_t cell) const;
    uint32_t LeafOf(const shr::Vec3d& p) const;
    bool TestCell(const NodeSource& source, int32_t cell, const shr::Vec3d& p, shr::Vec3d& ijk) const;

    // Built lazily behind a logically const Find; m_Level publishes the rest.
    mutable std::atomic<int32_t> m_Level{0};
    mutable int32_t m_CellsPerRow = 0;
    mutable int32_t m_CellsPerSlice = 0;
    mutable int32_t m_CellCount = 0;
    mutable shr::Box3d m_Bounds;
    mutable std::vector<int32_t> m_Leaves;
    mutable std::vector<CellBucket> m_Buckets;
    mutable std::mutex m_BuildMutex;
};

} // namespace core
