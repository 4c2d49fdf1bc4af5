#pragma once
// The marching-cubes machinery of the isosurface module: the case tables, the
// cube index of a cell, node positions, and the sweep that turns a float copy
// of one lattice component into shared vertices, normals and triangles.
//
// Cell geometry. Corner c of the cell with lowest node (i, j, k) and its bit in
// the cube index:
//   0 (i, j+1, k) 1    1 (i+1, j+1, k) 2    2 (i+1, j, k) 4    3 (i, j, k) 8
//   4..7: the same at k+1, bits 16..128.
// Edges: e0 = 0-1, e1 = 1-2, e2 = 2-3, e3 = 3-0, e4..e7 the same above,
// e8 = 0-4, e9 = 1-5, e10 = 2-6, e11 = 3-7.
//
// A sweep sets a flag per node, inside or not, 64 nodes to a word, a layer of
// nodes ahead of the cells; runs of nodes whose range (kept per input) lies
// wholly on one side are set without reading their values. Cells are taken
// from the flags a word at a time: only those with corners on both sides are
// visited.
//
// The sweep runs in slabs of cell layers on TBB workers. Every lattice edge
// yields one vertex, made by the first cell in scan order (k, j, i) to touch
// it, so vertex numbers follow that order. A slab makes exactly the vertices
// that the single-threaded scan makes in its layers; the bottom face of a slab
// belongs to the slab below, and its vertices are taken from that slab's last
// edge records when the slabs are joined in order. The result is thus the same,
// vertex for vertex and triangle for triangle, whatever the number of slabs.
#include "core/graphics/VgVertexData.h"
#include "shr/Vec3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace core {

class VdLattice;
class VolumeCalculator;

namespace VoIsoSurfacePrivate {

// Cut edges of each cube index: bit e set when the corners of edge e differ.
extern const std::array<uint32_t, 256> s_EdgeTable;
// Edges of the triangles of each cube index, three per triangle, ended by -1.
extern const int8_t s_TriangleTable[256][16];
// The three edges at each corner.
extern const uint8_t s_AdjacentEdgeTable[8][3];
// The number of set bits of each cube index.
extern const std::array<uint8_t, 256> s_CornerCount;
// The corners at the ends of each edge.
extern const uint8_t s_EdgeCorners[12][2];

// The node offsets (i, j, k) of each corner from the cell's lowest node.
constexpr unsigned int s_CornerIJK[8][3] = {{0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {0, 0, 0},
                                            {0, 1, 1}, {1, 1, 1}, {1, 0, 1}, {0, 0, 1}};

// Where the vertex of each cell edge is kept during a sweep: the edge record
// of node (i + di, j + dj) in the previous (level k) or current (level k + 1)
// slice, the record's axis, and which cell creates it: the first in scan
// order, that is the one at k = 0, i = 0 or j = 0 where the flags say so. The
// vertex runs from corner `from` to corner `to`, from the lower node to the upper.
struct EdgeSlot {
    bool current;
    unsigned int di, dj;
    int axis;
    bool onlyAtK0, onlyAtI0, onlyAtJ0;
    int from, to;

    bool CreatedAt(unsigned int i, unsigned int j, unsigned int k) const
    {
        return (!onlyAtK0 || k == 0) && (!onlyAtI0 || i == 0) && (!onlyAtJ0 || j == 0);
    }
};

constexpr EdgeSlot s_EdgeSlots[12] = {
    {false, 0, 1, 0, true, false, false, 0, 1},  {false, 1, 0, 1, true, false, false, 2, 1},
    {false, 0, 0, 0, true, false, true, 3, 2},   {false, 0, 0, 1, true, true, false, 3, 0},
    {true, 0, 1, 0, false, false, false, 4, 5},  {true, 1, 0, 1, false, false, false, 6, 5},
    {true, 0, 0, 0, false, false, true, 7, 6},   {true, 0, 0, 1, false, true, false, 7, 4},
    {false, 0, 1, 2, false, true, false, 0, 4},  {false, 1, 1, 2, false, false, false, 1, 5},
    {false, 1, 0, 2, false, false, true, 2, 6},  {false, 0, 0, 2, false, true, true, 3, 7},
};

// The cube index of a cell from the float copy. A corner's bit is set when it
// lies on the inner side: isovalue >= value, or with `atOrAbove` value >=
// isovalue; a node exactly at the isovalue is inside either way.
class BaseVertexStateCalculator {
public:
    BaseVertexStateCalculator(const std::vector<float>& values, float isovalue, int nodesPerRow, int nodesPerLayer,
                              bool atOrAbove = false);

    // `node` is the cell's lowest node (i, j, k).
    unsigned int CubeIndex(size_t node) const
    {
        const float* v = m_Values + node;
        return Bit(v[m_Row], 1) | Bit(v[m_Row + 1], 2) | Bit(v[1], 4) | Bit(v[0], 8) |
               Bit(v[m_Layer + m_Row], 16) | Bit(v[m_Layer + m_Row + 1], 32) | Bit(v[m_Layer + 1], 64) |
               Bit(v[m_Layer], 128);
    }
    bool Inside(float value) const { return m_AtOrAbove ? value >= m_Isovalue : m_Isovalue >= value; }
    // Whether every value of a range lies inside, or every one outside; NaN
    // bounds answer no to both.
    bool AllInside(float low, float high) const { return m_AtOrAbove ? low >= m_Isovalue : m_Isovalue >= high; }
    bool AllOutside(float low, float high) const { return m_AtOrAbove ? high < m_Isovalue : m_Isovalue < low; }
    // The offset of each corner's node from the cell's lowest node.
    size_t CornerOffset(int corner) const { return m_CornerOffsets[corner]; }

private:
    unsigned int Bit(float value, unsigned int bit) const { return Inside(value) ? bit : 0u; }

    const float* m_Values;
    float m_Isovalue;
    size_t m_Column = 1;
    size_t m_Row;
    size_t m_Layer;
    bool m_AtOrAbove;
    size_t m_CornerOffsets[8];
};

// Scene positions of nodes, equal to VdLattice::IJKToXYZ, or with
// `userTransform` false the lattice's own positions (IJKToUVW). Uniform and
// rectilinear lattices place each axis independently, so their coordinates
// are read from per-axis tables; curvilinear ones ask the lattice.
class NodePositions {
public:
    explicit NodePositions(const VdLattice& lattice, bool userTransform = true);

    shr::Vec3d operator()(unsigned int i, unsigned int j, unsigned int k) const
    {
        return AxisAligned() ? shr::Vec3d(m_Axis[0][i], m_Axis[1][j], m_Axis[2][k]) : Mapped(i, j, k);
    }
    // Whether each scene coordinate depends on its own node index alone, as
    // Axis(axis, n) gives it: separable and without a user transform.
    bool AxisAligned() const { return m_Separable && !m_Transformed; }
    double Axis(int axis, unsigned int n) const { return m_Axis[axis][n]; }

private:
    shr::Vec3d Mapped(unsigned int i, unsigned int j, unsigned int k) const;

    const VdLattice* m_Lattice;
    bool m_Separable;
    bool m_UserTransform;
    bool m_Transformed;
    std::vector<double> m_Axis[3];
};

// Nodes of a row are taken 64 at a time, one bit word of the inside flags.
constexpr unsigned int kRunLength = 64;

// The value range of each run of 64 nodes along a row, found once per input:
// a sweep reads only the runs whose range holds the isovalue, and sets the
// flags of the others as a whole. A run with a NaN has NaN bounds and is
// always read.
struct RunRanges {
    size_t runsPerRow = 0;
    std::vector<float> low, high; // by (row k * ny + j) * runsPerRow + run
};

// The per-node gradient (central differences over node positions, one-sided
// at the borders, lower minus upper: it points down the field), computed when
// a sweep first needs it and kept until the input changes. Dragging the
// isovalue then reuses what earlier sweeps computed, and new data costs
// gradients at the cut edges only.
class GradientCache {
public:
    struct Gradient {
        float x, y, z;
    };
    // Forgets every gradient: `nodes` new ones to come, or none (0) when the
    // normals come from the faces.
    void Reset(size_t nodes);
    bool Empty() const { return m_Nodes == 0; }

private:
    friend class GradientSource;
    size_t m_Nodes = 0;
    std::unique_ptr<Gradient[]> m_Gradients; // uninitialised until computed
    // A node's gradient is there when its stamp equals the input's, so that a
    // new input costs no pass over the stamps but every 255th.
    std::unique_ptr<uint8_t[]> m_Stamps;
    uint8_t m_Stamp = 0;
};

// What a sweep reads. `gradients` is null or empty when normals come from the
// faces afterwards (curvilinear lattices); `ranges` is optional.
struct SweepInput {
    const VdLattice* lattice = nullptr;
    const std::vector<float>* values = nullptr;
    const RunRanges* ranges = nullptr;
    GradientCache* gradients = nullptr;
    double isovalue = 0.0;
    bool atOrAbove = false; // the inner side is value >= isovalue
    bool computeVolume = false;
    const VolumeCalculator* calculator = nullptr;
};

// The two volume totals: the side of the clear corners and the side of the set
// corners. A whole cell goes to its side; a cut cell is split between them.
struct SweepVolumes {
    double clearSide = 0.0;
    double setSide = 0.0;
};

// Called with the fraction done, on the calling thread only; false stops the sweep.
using SweepProgress = std::function<bool(double)>;

// One slab's output and edge records (vertex numbers of the x, y and z edges
// at each node of two levels). A caller that sweeps again and again keeps
// them, so that their memory is reused.
// The inside flags of the nodes of the two levels (a bit each, 64 nodes a
// word, each row starting a new word) and the side of each row of nodes (all
// clear, all set, or mixed) go with them.
struct SlabBuffers {
    std::vector<shr::Vec3d> vertices;
    std::vector<SbVec3f> normals;
    std::vector<int> indices;
    std::vector<std::array<int, 3>> previous, current;
    std::vector<uint64_t> flagsBelow, flagsAbove;
    std::vector<uint8_t> sidesBelow, sidesAbove;
};
// The memory a sweep works in.
struct SweepWorkspace {
    std::vector<std::unique_ptr<SlabBuffers>> slabs;
};

// What the module keeps from one run to the next: per input the run ranges
// and the gradients, and the sweep's memory.
struct SweepCache {
    RunRanges ranges;
    GradientCache gradients;
    SweepWorkspace workspace;
};

// Fills data.vertices, data.normals (with gradients) and data.indices (three
// vertex numbers and -1 per triangle); returns false if progress said stop,
// leaving `data` in an unspecified state. `slabs` 0 picks a count from the
// number of worker threads; 1 is the plain sequential scan. Volumes are summed
// per cell layer in scan order and the layer sums added in layer order, so
// they too do not depend on the slab count.
// `workspace`, when given, keeps the sweep's memory for the next sweep.
bool Sweep(const SweepInput& input, size_t slabs, const SweepProgress& progress, VgVertexData& data,
           SweepVolumes& volumes, int& triangles, SweepWorkspace* workspace = nullptr);

// The volume of the part of a mixed cell on the side of its clear corners:
// `edgePoints` holds the surface points of the cell's cut edges by edge number,
// `corners` the eight corners. `points` is scratch space.
double PolyhedronVolume(const VolumeCalculator& calculator, unsigned int index, const shr::Vec3d* edgePoints,
                        const std::vector<shr::Vec3d>& corners, std::vector<shr::Vec3d>& points);

// Area-weighted vertex normals from the triangles, for curvilinear lattices.
void FaceNormals(VgVertexData& data);

// The float copy of a component into `values` (its memory reused): blanks take
// the component's data minimum. With `ranges`, also the range of every run.
void CopyComponent(const VdLattice& lattice, unsigned int component, std::vector<float>& values,
                   RunRanges* ranges = nullptr);
// Every node's gradient, as the sweep computes them one by one.
void NodeGradients(const VdLattice& lattice, const std::vector<float>& values, std::vector<shr::Vec3f>& gradients);

} // namespace VoIsoSurfacePrivate
} // namespace core
