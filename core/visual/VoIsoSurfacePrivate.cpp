#include "core/visual/VoIsoSurfacePrivate.h"

#include "core/data/PrimConvert.h"
#include "core/data/ParallelFor.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdLattice.h"
#include "core/network/CoreError.h"
#include "core/processing/VolumeCalculator.h"

#include <tbb/task_arena.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <limits>
#include <cmath>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

namespace core {
namespace VoIsoSurfacePrivate {

namespace {

// Differences up to the float epsilon put the vertex on the edge's first node.
constexpr double kFloatEpsilon = 1.1920928955078125e-7;

// The inside flags of one run of nodes, bit p for node p of the run.
uint64_t RunBits(const BaseVertexStateCalculator& cube, const float* v, unsigned int count)
{
    uint64_t bits = 0;
    for (unsigned int p = 0; p < count; ++p)
        bits |= uint64_t(cube.Inside(v[p])) << p;
    return bits;
}

// How the nodes of one row lie against the isovalue.
constexpr uint8_t kClearRow = 0, kSetRow = 1, kMixedRow = 2;

// The inside flags of one layer of nodes, row by row, and the side of each
// row; a run whose range lies on one side is set without reading its values.
// Bits past a row's end are 0.
class LayerFlags {
public:
    explicit LayerFlags(const SweepInput& input)
        : m_Values(input.values->data()), m_Nx(input.lattice->GetDims()[0]), m_Ny(input.lattice->GetDims()[1]),
          m_Words((m_Nx + kRunLength - 1) / kRunLength),
          m_Cube(*input.values, static_cast<float>(input.isovalue), static_cast<int>(m_Nx),
                 static_cast<int>(m_Nx * m_Ny), input.atOrAbove)
    {
        const size_t rows = size_t(m_Ny) * input.lattice->GetDims()[2];
        if (input.ranges && input.ranges->runsPerRow == m_Words && input.ranges->low.size() == rows * m_Words)
            m_Ranges = input.ranges;
    }

    size_t WordsPerRow() const { return m_Words; }

    void Set(unsigned int k, std::vector<uint64_t>& flags, std::vector<uint8_t>& sides) const
    {
        flags.resize(size_t(m_Ny) * m_Words);
        sides.resize(m_Ny);
        for (unsigned int j = 0; j < m_Ny; ++j) {
            const size_t row = size_t(k) * m_Ny + j;
            const float* v = m_Values + row * m_Nx;
            bool anyInside = false, anyOutside = false;
            for (size_t w = 0; w < m_Words; ++w) {
                const unsigned int first = static_cast<unsigned int>(w * kRunLength);
                const unsigned int count = std::min(kRunLength, m_Nx - first);
                const size_t at = row * m_Words + w;
                const uint64_t all = count == kRunLength ? ~uint64_t(0) : (uint64_t(1) << count) - 1;
                uint64_t& bits = flags[size_t(j) * m_Words + w];
                if (m_Ranges && m_Cube.AllInside(m_Ranges->low[at], m_Ranges->high[at]))
                    bits = all;
                else if (m_Ranges && m_Cube.AllOutside(m_Ranges->low[at], m_Ranges->high[at]))
                    bits = 0;
                else
                    bits = RunBits(m_Cube, v + first, count);
                anyInside |= bits != 0;
                anyOutside |= bits != all;
            }
            sides[j] = anyInside && anyOutside ? kMixedRow : anyInside ? kSetRow : kClearRow;
        }
    }

private:
    const float* m_Values;
    unsigned int m_Nx, m_Ny;
    size_t m_Words;
    BaseVertexStateCalculator m_Cube;
    const RunRanges* m_Ranges = nullptr;
};

// The flags of one row of nodes as the cells of a row read them: bit p of
// Here(w) is node 64 w + p, of Next(w) node 64 w + p + 1.
struct FlagRow {
    const uint64_t* words;
    size_t count;

    uint64_t Here(size_t w) const { return words[w]; }
    uint64_t Next(size_t w) const { return (words[w] >> 1) | (w + 1 < count ? words[w + 1] << 63 : 0); }
};

using EdgeRecord = std::array<int, 3>;

// A vertex on the bottom face of a slab above the first belongs to the slab
// below. Its record holds -2 - (2 * node + axis) until the slabs are joined.
int ForeignCode(size_t node, int axis)
{
    return -2 - static_cast<int>(2 * node + static_cast<size_t>(axis));
}

// Shared by the slabs of one sweep: the stop flag and the progress count.
class SweepControl {
public:
    SweepControl(const SweepProgress& progress, size_t totalRows)
        : m_Progress(progress), m_TotalRows(totalRows), m_Caller(std::this_thread::get_id())
    {
    }

    // Called before each row of cells with the slab's count of rows begun;
    // false once the sweep is to stop. The shared count is brought up to date
    // every 32 rows of a slab, not at each (the slabs would fight over it);
    // progress is reported from the calling thread only, with the rows of its
    // slab not yet counted.
    bool NextRow(size_t begun)
    {
        const size_t pending = begun % kRowsPerReport;
        if (pending == 0 && begun > 0)
            m_Rows.fetch_add(kRowsPerReport, std::memory_order_relaxed);
        if (m_Progress && std::this_thread::get_id() == m_Caller) {
            const size_t done = m_Rows.load(std::memory_order_relaxed) + pending;
            if (!m_Progress(static_cast<double>(done) / static_cast<double>(m_TotalRows)))
                m_Stop.store(true, std::memory_order_relaxed);
        }
        return !m_Stop.load(std::memory_order_relaxed);
    }
    bool Stopped() const { return m_Stop.load(std::memory_order_relaxed); }

private:
    static constexpr size_t kRowsPerReport = 32;

    const SweepProgress& m_Progress;
    size_t m_TotalRows;
    std::thread::id m_Caller;
    std::atomic<size_t> m_Rows{0};
    std::atomic<bool> m_Stop{false};
};

} // namespace

// The gradients a sweep reads: a node's from the cache when it is there,
// else computed. A slab stores only the gradients of the nodes in its own
// layers, so that no two slabs write one entry; it computes the others anew,
// the same numbers.
class GradientSource {
public:
    GradientSource(const VdLattice& lattice, const std::vector<float>& values, GradientCache* cache)
        : m_Values(values.data()), m_Positions(lattice), m_Cache(cache)
    {
        const unsigned int* dims = lattice.GetDims();
        for (int axis = 0; axis < 3; ++axis)
            m_Dims[axis] = dims[axis];
        m_Row = m_Dims[0];
        m_Layer = size_t(m_Dims[0]) * m_Dims[1];
        // On axis-aligned lattices the position difference of the two diagonal
        // neighbours splits into one difference per axis, the same numbers.
        if (m_Positions.AxisAligned())
            for (int axis = 0; axis < 3; ++axis)
                for (unsigned int n = 0; n < dims[axis]; ++n)
                    m_Spans[axis].push_back(m_Positions.Axis(axis, Upper(n, axis)) -
                                            m_Positions.Axis(axis, Lower(n)));
    }

    bool Empty() const { return !m_Cache || m_Cache->Empty(); }

    shr::Vec3f At(unsigned int i, unsigned int j, unsigned int k) const
    {
        const unsigned int i0 = Lower(i), i1 = Upper(i, 0), j0 = Lower(j), j1 = Upper(j, 1), k0 = Lower(k),
                           k1 = Upper(k, 2);
        const shr::Vec3d d = m_Spans[0].empty() ? m_Positions(i1, j1, k1) - m_Positions(i0, j0, k0)
                                                : shr::Vec3d(m_Spans[0][i], m_Spans[1][j], m_Spans[2][k]);
        const size_t row = k * m_Layer + j * m_Row;
        return shr::Vec3f(NarrowToFloat((double(Value(row + i0)) - double(Value(row + i1))) / d.x),
                          NarrowToFloat((double(Value(k * m_Layer + j0 * m_Row + i)) -
                                         double(Value(k * m_Layer + j1 * m_Row + i))) /
                                        d.y),
                          NarrowToFloat((double(Value(k0 * m_Layer + j * m_Row + i)) -
                                         double(Value(k1 * m_Layer + j * m_Row + i))) /
                                        d.z));
    }

    // The gradient of node (i, j, k), numbered `node`; `owned` lets it be kept.
    shr::Vec3f Get(unsigned int i, unsigned int j, unsigned int k, size_t node, bool owned) const
    {
        if (!owned)
            return At(i, j, k);
        GradientCache::Gradient& kept = m_Cache->m_Gradients[node];
        uint8_t& stamp = m_Cache->m_Stamps[node];
        if (stamp != m_Cache->m_Stamp) {
            const shr::Vec3f g = At(i, j, k);
            kept = {g.x, g.y, g.z};
            stamp = m_Cache->m_Stamp;
        }
        return shr::Vec3f(kept.x, kept.y, kept.z);
    }

private:
    static unsigned int Lower(unsigned int n) { return n == 0 ? 0 : n - 1; }
    unsigned int Upper(unsigned int n, int axis) const { return n + 1 < m_Dims[axis] ? n + 1 : n; }
    float Value(size_t node) const { return m_Values[node]; }

    const float* m_Values;
    NodePositions m_Positions;
    GradientCache* m_Cache;
    unsigned int m_Dims[3];
    size_t m_Row, m_Layer;
    std::vector<double> m_Spans[3];
};

namespace {

// The scan of the cell layers k0 .. k1 - 1 with its own edge records and output.
class SlabSweep {
public:
    SlabSweep(const SweepInput& input, const NodePositions& positions, const GradientSource& gradients,
              const LayerFlags& flags, unsigned int k0, unsigned int k1, SlabBuffers& buffers)
        : vertices(buffers.vertices), normals(buffers.normals), indices(buffers.indices), m_In(input),
          m_Positions(positions), m_Gradients(gradients), m_Flags(flags), m_Buffers(buffers),
          m_WordsPerRow(flags.WordsPerRow()), m_K0(k0), m_K1(k1),
          m_Cube(*input.values, static_cast<float>(input.isovalue), static_cast<int>(Dim(0)),
                 static_cast<int>(Dim(0) * Dim(1)), input.atOrAbove),
          m_Previous(buffers.previous), m_Current(buffers.current)
    {
        const unsigned int* dims = input.lattice->GetDims();
        m_Nx = dims[0];
        m_Ny = dims[1];
        m_Nz = dims[2];
        m_WithNormals = !gradients.Empty();
    }

    bool Run(SweepControl& control)
    {
        const size_t slice = size_t(m_Nx) * m_Ny;
        vertices.clear();
        normals.clear();
        indices.clear();
        m_Previous.resize(slice);
        m_Current.resize(slice);
        Reserve();
        m_LayerVolumes.assign(m_K1 - m_K0, SweepVolumes());
        if (m_In.computeVolume) {
            m_Corners.resize(8);
            m_Points.reserve(24);
        }
        size_t begun = 0;
        m_Flags.Set(m_K0, m_Buffers.flagsAbove, m_Buffers.sidesAbove);
        for (unsigned int k = m_K0; k < m_K1; ++k) {
            std::swap(m_Buffers.flagsBelow, m_Buffers.flagsAbove);
            std::swap(m_Buffers.sidesBelow, m_Buffers.sidesAbove);
            m_Flags.Set(k + 1, m_Buffers.flagsAbove, m_Buffers.sidesAbove);
            std::swap(m_Previous, m_Current);
            if (k == m_K0 && k > 0)
                MarkForeignBottom();
            m_Volumes = &m_LayerVolumes[k - m_K0];
            for (unsigned int j = 0; j + 1 < m_Ny; ++j) {
                if (!control.NextRow(begun++))
                    return false;
                if (m_In.computeVolume || !OneSided(j))
                    ProcessRow(j, k);
            }
        }
        return true;
    }

    std::vector<shr::Vec3d>& vertices;
    std::vector<SbVec3f>& normals;
    std::vector<int>& indices;
    int triangles = 0;

    const std::vector<SweepVolumes>& LayerVolumes() const { return m_LayerVolumes; }
    // The records of the slab's top level, which the slab above refers to.
    const std::vector<EdgeRecord>& Top() const { return m_Current; }

private:
    unsigned int Dim(int axis) const { return m_In.lattice->GetDims()[axis]; }

    // Room from the usual estimate of the surface size, shared out by layers.
    void Reserve()
    {
        const size_t estimate =
            ((size_t(m_Ny) + m_Nx - 2) * (m_Nz - 1) + (size_t(m_Nx) - 1) * (m_Ny - 1)) / 8;
        const size_t share = estimate * (m_K1 - m_K0) / (m_Nz - 1);
        vertices.reserve(4 * share);
        if (m_WithNormals)
            normals.reserve(4 * share);
        indices.reserve(8 * share);
    }

    void MarkForeignBottom()
    {
        for (size_t node = 0; node < m_Previous.size(); ++node) {
            m_Previous[node][0] = ForeignCode(node, 0);
            m_Previous[node][1] = ForeignCode(node, 1);
        }
    }

    // Whether the four node rows of a row of cells lie wholly on one side:
    // then none of its cells is cut.
    bool OneSided(unsigned int j) const
    {
        const uint8_t* below = m_Buffers.sidesBelow.data() + j;
        const uint8_t* above = m_Buffers.sidesAbove.data() + j;
        return below[0] != kMixedRow && below[1] == below[0] && above[0] == below[0] && above[1] == below[0];
    }

    // The cells of one row, taken from the four node rows' inside flags a word
    // at a time. Without volumes only the cells with corners on both sides are
    // visited; in order of i, so vertices are made in scan order.
    void ProcessRow(unsigned int j, unsigned int k)
    {
        const size_t words = m_WordsPerRow;
        const FlagRow a{m_Buffers.flagsBelow.data() + size_t(j) * words, words}; // (j, k)
        const FlagRow b{a.words + words, words};                                 // (j + 1, k)
        const FlagRow c{m_Buffers.flagsAbove.data() + size_t(j) * words, words}; // (j, k + 1)
        const FlagRow d{c.words + words, words};                                 // (j + 1, k + 1)
        const size_t rowNode = (size_t(k) * m_Ny + j) * m_Nx;
        const unsigned int cells = m_Nx - 1;
        for (size_t w = 0; w < words; ++w) {
            const unsigned int first = static_cast<unsigned int>(w * kRunLength);
            if (first >= cells)
                break;
            const unsigned int count = std::min(kRunLength, cells - first);
            const uint64_t valid = count == kRunLength ? ~uint64_t(0) : (uint64_t(1) << count) - 1;
            // Corner bits by the cube index's order: 0 (j+1, i), 1 (j+1, i+1),
            // 2 (j, i+1), 3 (j, i), then 4..7 the same one level up.
            const uint64_t corner[8] = {b.Here(w), b.Next(w), a.Next(w), a.Here(w),
                                        d.Here(w), d.Next(w), c.Next(w), c.Here(w)};
            uint64_t visit = valid;
            if (!m_In.computeVolume) {
                const uint64_t any = corner[0] | corner[1] | corner[2] | corner[3] | corner[4] | corner[5] |
                                     corner[6] | corner[7];
                const uint64_t all = corner[0] & corner[1] & corner[2] & corner[3] & corner[4] & corner[5] &
                                     corner[6] & corner[7];
                visit &= any & ~all;
            }
            while (visit) {
                const unsigned int p = static_cast<unsigned int>(__builtin_ctzll(visit));
                visit &= visit - 1;
                unsigned int index = 0;
                for (unsigned int n = 0; n < 8; ++n)
                    index |= static_cast<unsigned int>((corner[n] >> p) & 1u) << n;
                const unsigned int i = first + p;
                ProcessCell(i, j, k, rowNode + i, index);
            }
        }
    }

    void ProcessCell(unsigned int i, unsigned int j, unsigned int k, size_t node, unsigned int index)
    {
        if (m_In.computeVolume && (index == 0 || index == 255))
            AddWholeCell(index, i, j, k);
        const uint32_t edges = s_EdgeTable[index];
        if (edges == 0)
            return;
        int cellVertices[12];
        for (int e = 0; e < 12; ++e)
            if (edges & (1u << e))
                cellVertices[e] = EdgeVertex(e, i, j, k, node);
        const int8_t* row = s_TriangleTable[index];
        for (int t = 0; row[t] != -1; t += 3) {
            indices.insert(indices.end(),
                           {cellVertices[row[t]], cellVertices[row[t + 1]], cellVertices[row[t + 2]], -1});
            ++triangles;
        }
        if (m_In.computeVolume)
            AddMixedCell(index, edges, i, j, k, node);
    }

    int EdgeVertex(int e, unsigned int i, unsigned int j, unsigned int k, size_t node)
    {
        const EdgeSlot& slot = s_EdgeSlots[e];
        std::vector<EdgeRecord>& slice = slot.current ? m_Current : m_Previous;
        int& record = slice[size_t(j + slot.dj) * m_Nx + i + slot.di][slot.axis];
        if (slot.CreatedAt(i, j, k))
            record = Interpolate(slot, i, j, k, node);
        return record;
    }

    size_t CornerNode(int corner, size_t node) const { return node + m_Cube.CornerOffset(corner); }
    shr::Vec3d CornerPosition(int corner, unsigned int i, unsigned int j, unsigned int k) const
    {
        return m_Positions(i + s_CornerIJK[corner][0], j + s_CornerIJK[corner][1], k + s_CornerIJK[corner][2]);
    }

    // The fraction along the edge where the field meets the isovalue.
    double EdgeFraction(size_t n1, size_t n2) const
    {
        const std::vector<float>& v = *m_In.values;
        const double d = double(v[n2]) - double(v[n1]);
        return std::fabs(d) > kFloatEpsilon ? (m_In.isovalue - v[n1]) / d : 0.0;
    }

    shr::Vec3d EdgePoint(const EdgeSlot& slot, unsigned int i, unsigned int j, unsigned int k, double t) const
    {
        const shr::Vec3d p1 = CornerPosition(slot.from, i, j, k);
        const shr::Vec3d p2 = CornerPosition(slot.to, i, j, k);
        return p1 + t * (p2 - p1);
    }

    int Interpolate(const EdgeSlot& slot, unsigned int i, unsigned int j, unsigned int k, size_t node)
    {
        const size_t n1 = CornerNode(slot.from, node), n2 = CornerNode(slot.to, node);
        const double t = EdgeFraction(n1, n2);
        vertices.push_back(EdgePoint(slot, i, j, k, t));
        if (m_WithNormals) {
            const shr::Vec3f g1 = CornerGradient(slot.from, i, j, k, n1);
            const shr::Vec3f g2 = CornerGradient(slot.to, i, j, k, n2);
            shr::Vec3f normal = g1 + NarrowToFloat(t) * (g2 - g1);
            normal.Normalize();
            normals.emplace_back(normal.x, normal.y, normal.z);
        }
        return static_cast<int>(vertices.size() - 1);
    }

    shr::Vec3f CornerGradient(int corner, unsigned int i, unsigned int j, unsigned int k, size_t node) const
    {
        const unsigned int level = k + s_CornerIJK[corner][2];
        const bool owned = level >= m_K0 && (level < m_K1 || m_K1 + 1 == m_Nz);
        return m_Gradients.Get(i + s_CornerIJK[corner][0], j + s_CornerIJK[corner][1], level, node, owned);
    }

    void LoadCorners(unsigned int i, unsigned int j, unsigned int k)
    {
        for (int c = 0; c < 8; ++c)
            m_Corners[c] = CornerPosition(c, i, j, k);
    }

    void AddWholeCell(unsigned int index, unsigned int i, unsigned int j, unsigned int k)
    {
        LoadCorners(i, j, k);
        const double cell = m_In.calculator->CellVolume(m_Corners);
        (index == 255 ? m_Volumes->setSide : m_Volumes->clearSide) += cell;
    }

    void AddMixedCell(unsigned int index, uint32_t edges, unsigned int i, unsigned int j, unsigned int k,
                      size_t node)
    {
        LoadCorners(i, j, k);
        shr::Vec3d points[12];
        for (int e = 0; e < 12; ++e) {
            if (!(edges & (1u << e)))
                continue;
            const EdgeSlot& slot = s_EdgeSlots[e];
            points[e] = EdgePoint(slot, i, j, k, EdgeFraction(CornerNode(slot.from, node), CornerNode(slot.to, node)));
        }
        const double part = PolyhedronVolume(*m_In.calculator, index, points, m_Corners, m_Points);
        m_Volumes->clearSide += part;
        m_Volumes->setSide += m_In.calculator->CellVolume(m_Corners) - part;
    }

    const SweepInput& m_In;
    const NodePositions& m_Positions;
    const GradientSource& m_Gradients;
    const LayerFlags& m_Flags;
    SlabBuffers& m_Buffers;
    size_t m_WordsPerRow;
    unsigned int m_K0, m_K1;
    unsigned int m_Nx = 0, m_Ny = 0, m_Nz = 0;
    bool m_WithNormals = false;
    BaseVertexStateCalculator m_Cube;
    std::vector<EdgeRecord>& m_Previous;
    std::vector<EdgeRecord>& m_Current;
    std::vector<SweepVolumes> m_LayerVolumes;
    SweepVolumes* m_Volumes = nullptr;
    std::vector<shr::Vec3d> m_Corners;
    std::vector<shr::Vec3d> m_Points;
};

// A lattice this small is swept, or copied, in one piece on the calling
// thread: its work is below what waking other threads costs, and far below
// when other programs keep those threads waiting for a core.
constexpr size_t kOnePieceNodes = size_t(1) << 16;

size_t PickSlabCount(size_t requested, unsigned int layers, size_t nodes)
{
    if (requested == 0) {
        const int threads = tbb::this_task_arena::max_concurrency();
        requested = threads <= 1 || nodes < kOnePieceNodes ? 1 : size_t(threads) * 4;
    }
    return std::max<size_t>(1, std::min<size_t>(requested, layers));
}

// Copies the slabs' output into `data` in slab order, turning slab-local
// vertex numbers into global ones.
void JoinSlabs(const std::vector<std::unique_ptr<SlabSweep>>& slabs, VgVertexData& data, int& triangles)
{
    std::vector<size_t> vertexStart(slabs.size() + 1, 0), indexStart(slabs.size() + 1, 0);
    triangles = 0;
    for (size_t s = 0; s < slabs.size(); ++s) {
        vertexStart[s + 1] = vertexStart[s] + slabs[s]->vertices.size();
        indexStart[s + 1] = indexStart[s] + slabs[s]->indices.size();
        triangles += slabs[s]->triangles;
    }
    if (vertexStart.back() > size_t(INT_MAX) || indexStart.back() > size_t(INT_MAX))
        CORE_THROW(46);
    const bool withNormals = !slabs.front()->normals.empty() || slabs.front()->vertices.empty();
    data.vertices.resize(vertexStart.back());
    data.normals.resize(withNormals ? vertexStart.back() : 0);
    data.indices.resize(indexStart.back());
    ParallelFor(slabs.size(), 1, [&](size_t s) {
        const SlabSweep& slab = *slabs[s];
        std::copy(slab.vertices.begin(), slab.vertices.end(), data.vertices.begin() + vertexStart[s]);
        if (!data.normals.empty())
            std::copy(slab.normals.begin(), slab.normals.end(), data.normals.begin() + vertexStart[s]);
        const int offset = static_cast<int>(vertexStart[s]);
        int* out = data.indices.data() + indexStart[s];
        for (const int local : slab.indices) {
            if (local >= 0) {
                *out++ = local + offset;
            } else if (local == -1) {
                *out++ = -1;
            } else {
                const size_t code = static_cast<size_t>(-2 - local);
                const EdgeRecord& below = slabs[s - 1]->Top()[code / 2];
                *out++ = below[code % 2] + static_cast<int>(vertexStart[s - 1]);
            }
        }
    });
}

void SumVolumes(const std::vector<std::unique_ptr<SlabSweep>>& slabs, SweepVolumes& volumes)
{
    volumes = SweepVolumes();
    for (const auto& slab : slabs)
        for (const SweepVolumes& layer : slab->LayerVolumes()) {
            volumes.clearSide += layer.clearSide;
            volumes.setSide += layer.setSide;
        }
}

// Four floats in one vector register, and the mask of a comparison of two.
typedef float Float4 __attribute__((vector_size(16)));
typedef int Mask4 __attribute__((vector_size(16)));

// The range of `count` values, four lanes at a time; the order does not
// matter, as a range with a NaN is marked as such whatever its bounds.
bool RangeOf(const float* v, unsigned int count, float& low, float& high)
{
    Float4 lo = {v[0], v[0], v[0], v[0]}, hi = lo;
    Mask4 nan = {0, 0, 0, 0};
    unsigned int i = 0;
    for (; i + 4 <= count; i += 4) {
        Float4 x;
        std::memcpy(&x, v + i, sizeof(x));
        lo = x < lo ? x : lo;
        hi = x > hi ? x : hi;
        nan |= x != x;
    }
    low = lo[0];
    high = hi[0];
    int any = nan[0] | nan[1] | nan[2] | nan[3];
    for (int l = 1; l < 4; ++l) {
        low = lo[l] < low ? lo[l] : low;
        high = hi[l] > high ? hi[l] : high;
    }
    for (; i < count; ++i) {
        low = v[i] < low ? v[i] : low;
        high = v[i] > high ? v[i] : high;
        any |= v[i] != v[i];
    }
    return any != 0;
}

// The range of each run of one row; a NaN makes the run's bounds NaN.
void RowRanges(const float* v, unsigned int nx, size_t row, RunRanges& ranges)
{
    for (size_t run = 0; run < ranges.runsPerRow; ++run) {
        const unsigned int first = static_cast<unsigned int>(run * kRunLength);
        float low, high;
        const bool nan = RangeOf(v + first, std::min(kRunLength, nx - first), low, high);
        const size_t at = row * ranges.runsPerRow + run;
        ranges.low[at] = nan ? std::numeric_limits<float>::quiet_NaN() : low;
        ranges.high[at] = nan ? std::numeric_limits<float>::quiet_NaN() : high;
    }
}

// The copy row by row, each row's ranges taken while it is at hand. The
// usual case, one component and no blanks, is a plain loop the compiler can
// run on vector registers.
template <class Element>
void CopyRows(const VdLattice& lattice, unsigned int component, std::vector<float>& out, RunRanges* ranges)
{
    const auto* data = static_cast<const Element*>(lattice.DataPtr());
    const size_t stride = lattice.ComponentCount();
    const bool copy = data && component < stride;
    const bool blanks = copy && lattice.HasBlanks();
    const float minimum = blanks ? NarrowToFloat(lattice.DataMin(component)) : 0.0f;
    const unsigned int nx = lattice.GetDims()[0];
    ParallelFor(out.size() / nx, std::max<size_t>(1, kOnePieceNodes / nx), [&](size_t row) {
        float* v = out.data() + row * nx;
        const size_t node = row * nx;
        if (!copy) {
            std::fill(v, v + nx, 0.0f);
        } else if (blanks) {
            for (unsigned int i = 0; i < nx; ++i)
                v[i] = lattice.IsBlank(static_cast<unsigned int>(node + i), component)
                           ? minimum
                           : PrimConvert<float>(data[(node + i) * stride + component]);
        } else if (stride == 1) {
            const Element* in = data + node;
            for (unsigned int i = 0; i < nx; ++i)
                v[i] = PrimConvert<float>(in[i]);
        } else {
            for (unsigned int i = 0; i < nx; ++i)
                v[i] = PrimConvert<float>(data[(node + i) * stride + component]);
        }
        if (ranges)
            RowRanges(v, nx, row, *ranges);
    });
}

} // namespace

// ---- BaseVertexStateCalculator ----------------------------------------------------------

BaseVertexStateCalculator::BaseVertexStateCalculator(const std::vector<float>& values, float isovalue,
                                                     int nodesPerRow, int nodesPerLayer, bool atOrAbove)
    : m_Values(values.data()), m_Isovalue(isovalue), m_Row(static_cast<size_t>(nodesPerRow)),
      m_Layer(static_cast<size_t>(nodesPerLayer)), m_AtOrAbove(atOrAbove)
{
    for (int c = 0; c < 8; ++c)
        m_CornerOffsets[c] = s_CornerIJK[c][0] * m_Column + s_CornerIJK[c][1] * m_Row + s_CornerIJK[c][2] * m_Layer;
}

// ---- NodePositions ------------------------------------------------------------------------

NodePositions::NodePositions(const VdLattice& lattice, bool userTransform)
    : m_Lattice(&lattice), m_Separable(!dynamic_cast<const VdCurvilinearLattice*>(&lattice)),
      m_UserTransform(userTransform), m_Transformed(userTransform && lattice.HasUserTransform())
{
    if (!m_Separable)
        return;
    const unsigned int* dims = lattice.GetDims();
    for (int axis = 0; axis < 3; ++axis) {
        m_Axis[axis].resize(dims[axis]);
        for (unsigned int n = 0; n < dims[axis]; ++n) {
            const unsigned int ijk[3] = {axis == 0 ? n : 0, axis == 1 ? n : 0, axis == 2 ? n : 0};
            m_Axis[axis][n] = lattice.IJKToUVW(ijk[0], ijk[1], ijk[2])[axis];
        }
    }
}

shr::Vec3d NodePositions::Mapped(unsigned int i, unsigned int j, unsigned int k) const
{
    if (!m_Separable)
        return m_UserTransform ? m_Lattice->IJKToXYZ(i, j, k) : m_Lattice->IJKToUVW(i, j, k);
    const shr::Vec3d uvw(m_Axis[0][i], m_Axis[1][j], m_Axis[2][k]);
    return m_Transformed ? m_Lattice->UVWToXYZ(uvw) : uvw;
}

// ---- the sweep ----------------------------------------------------------------------------

bool Sweep(const SweepInput& input, size_t slabCount, const SweepProgress& progress, VgVertexData& data,
           SweepVolumes& volumes, int& triangles, SweepWorkspace* workspace)
{
    // `data` keeps its size until the join: sized again to what it had, its
    // arrays are then written once, not cleared and written.
    volumes = SweepVolumes();
    triangles = 0;
    const unsigned int* dims = input.lattice->GetDims();
    if (dims[0] < 2 || dims[1] < 2 || dims[2] < 2) {
        data.vertices.clear();
        data.normals.clear();
        data.indices.clear();
        return true;
    }
    const unsigned int layers = dims[2] - 1;
    const NodePositions positions(*input.lattice);
    const GradientSource gradients(*input.lattice, *input.values, input.gradients);
    slabCount = PickSlabCount(slabCount, layers, size_t(dims[0]) * dims[1] * dims[2]);
    SweepWorkspace local;
    SweepWorkspace& work = workspace ? *workspace : local;
    const LayerFlags flags(input);
    while (work.slabs.size() < slabCount)
        work.slabs.push_back(std::make_unique<SlabBuffers>());
    std::vector<std::unique_ptr<SlabSweep>> slabs(slabCount);
    for (size_t s = 0; s < slabCount; ++s) {
        const auto k0 = static_cast<unsigned int>(layers * s / slabCount);
        const auto k1 = static_cast<unsigned int>(layers * (s + 1) / slabCount);
        slabs[s] = std::make_unique<SlabSweep>(input, positions, gradients, flags, k0, k1, *work.slabs[s]);
    }
    SweepControl control(progress, size_t(dims[1] - 1) * layers);
    if (slabCount == 1)
        slabs.front()->Run(control);
    else
        ParallelFor(slabCount, 1, [&](size_t s) { slabs[s]->Run(control); });
    if (control.Stopped())
        return false;
    JoinSlabs(slabs, data, triangles);
    SumVolumes(slabs, volumes);
    return true;
}

// ---- volumes and normals --------------------------------------------------------------------

double PolyhedronVolume(const VolumeCalculator& calculator, unsigned int index, const shr::Vec3d* edgePoints,
                        const std::vector<shr::Vec3d>& corners, std::vector<shr::Vec3d>& points)
{
    const int8_t* row = s_TriangleTable[index];
    points.clear();
    for (int t = 0; row[t] != -1; ++t)
        points.push_back(edgePoints[row[t]]);
    if (s_CornerCount[index] == 1 && points.size() == 3) {
        int corner = 0;
        while (!(index & (1u << corner)))
            ++corner;
        const double tip = calculator.Volume(points[0], points[1], points[2], corners[corner]);
        return std::max(0.0, calculator.CellVolume(corners) - tip);
    }
    for (int corner = 0; corner < 8; ++corner)
        if (!(index & (1u << corner)))
            points.push_back(corners[corner]);
    return calculator.Volume(points, points.size());
}

void FaceNormals(VgVertexData& data)
{
    std::vector<shr::Vec3f> sums(data.vertices.size(), shr::Vec3f::ZERO);
    const std::vector<int>& idx = data.indices;
    for (size_t t = 0; t + 3 < idx.size(); t += 4) {
        const shr::Vec3d& a = data.vertices[idx[t]];
        const shr::Vec3d& b = data.vertices[idx[t + 1]];
        const shr::Vec3d& c = data.vertices[idx[t + 2]];
        const shr::Vec3f weighted((a - b).Cross(c - b));
        sums[idx[t]] += weighted;
        sums[idx[t + 1]] += weighted;
        sums[idx[t + 2]] += weighted;
    }
    data.normals.resize(sums.size());
    for (size_t v = 0; v < sums.size(); ++v) {
        sums[v].Normalize();
        data.normals[v].setValue(sums[v].x, sums[v].y, sums[v].z);
    }
}

// ---- the float copy and its gradients ----------------------------------------------------

void CopyComponent(const VdLattice& lattice, unsigned int component, std::vector<float>& values, RunRanges* ranges)
{
    values.resize(lattice.VertexCount());
    const unsigned int nx = lattice.GetDims()[0];
    if (ranges) {
        ranges->runsPerRow = (nx + kRunLength - 1) / kRunLength;
        ranges->low.resize(nx == 0 ? 0 : values.size() / nx * ranges->runsPerRow);
        ranges->high.resize(ranges->low.size());
    }
    if (values.empty())
        return;
    DispatchPrimType(lattice.DataType(), [&](auto tag) {
        CopyRows<typename decltype(tag)::Type>(lattice, component, values, ranges);
    });
}

void GradientCache::Reset(size_t nodes)
{
    if (nodes != m_Nodes) {
        m_Gradients.reset(nodes ? new Gradient[nodes] : nullptr);
        m_Stamps.reset(nodes ? new uint8_t[nodes]() : nullptr);
        m_Nodes = nodes;
        m_Stamp = 0;
    }
    if (++m_Stamp == 0) {
        std::fill(m_Stamps.get(), m_Stamps.get() + m_Nodes, uint8_t(0));
        m_Stamp = 1;
    }
}

void NodeGradients(const VdLattice& lattice, const std::vector<float>& values, std::vector<shr::Vec3f>& gradients)
{
    const unsigned int* dims = lattice.GetDims();
    gradients.assign(values.size(), shr::Vec3f::ZERO);
    if (values.size() != size_t(dims[0]) * dims[1] * dims[2] || values.empty())
        return;
    const GradientSource source(lattice, values, nullptr);
    size_t n = 0;
    for (unsigned int k = 0; k < dims[2]; ++k)
        for (unsigned int j = 0; j < dims[1]; ++j)
            for (unsigned int i = 0; i < dims[0]; ++i)
                gradients[n++] = source.At(i, j, k);
}

} // namespace VoIsoSurfacePrivate
} // namespace core
