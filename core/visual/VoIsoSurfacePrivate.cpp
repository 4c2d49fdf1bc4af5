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
#include <cmath>
#include <memory>
#include <thread>
#include <utility>

namespace core {
namespace VoIsoSurfacePrivate {

namespace {

// Differences up to the float epsilon put the vertex on the edge's first node.
constexpr double kFloatEpsilon = 1.1920928955078125e-7;

// How the nodes of one row of the lattice lie against the isovalue.
constexpr uint8_t kClearRow = 0, kSetRow = 1, kMixedRow = 2;

// The side of every node row (j, k), numbered k * ny + j.
std::vector<uint8_t> ClassifyRows(const SweepInput& input)
{
    const unsigned int* dims = input.lattice->GetDims();
    const unsigned int nx = dims[0], ny = dims[1], nz = dims[2];
    const BaseVertexStateCalculator cube(*input.values, static_cast<float>(input.isovalue), static_cast<int>(nx),
                                        static_cast<int>(nx * ny), input.atOrAbove);
    std::vector<uint8_t> sides(size_t(ny) * nz);
    ParallelFor(sides.size(), 64, [&](size_t row) {
        const float* v = input.values->data() + row * nx;
        size_t inside = 0;
        for (unsigned int i = 0; i < nx; ++i)
            inside += cube.Inside(v[i]);
        sides[row] = inside == 0 ? kClearRow : inside == nx ? kSetRow : kMixedRow;
    });
    return sides;
}

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

    // Called before each row of cells; false once the sweep is to stop.
    // Progress is reported from the calling thread only.
    bool NextRow()
    {
        const size_t done = m_Rows.fetch_add(1, std::memory_order_relaxed);
        if (m_Progress && std::this_thread::get_id() == m_Caller &&
            !m_Progress(static_cast<double>(done) / static_cast<double>(m_TotalRows)))
            m_Stop.store(true, std::memory_order_relaxed);
        return !m_Stop.load(std::memory_order_relaxed);
    }
    bool Stopped() const { return m_Stop.load(std::memory_order_relaxed); }

private:
    const SweepProgress& m_Progress;
    size_t m_TotalRows;
    std::thread::id m_Caller;
    std::atomic<size_t> m_Rows{0};
    std::atomic<bool> m_Stop{false};
};

// The scan of the cell layers k0 .. k1 - 1 with its own edge records and output.
class SlabSweep {
public:
    SlabSweep(const SweepInput& input, const NodePositions& positions, const std::vector<uint8_t>* rowSides,
              unsigned int k0, unsigned int k1, SlabBuffers& buffers)
        : vertices(buffers.vertices), normals(buffers.normals), indices(buffers.indices), m_In(input),
          m_Positions(positions), m_RowSides(rowSides), m_K0(k0), m_K1(k1),
          m_Cube(*input.values, static_cast<float>(input.isovalue), static_cast<int>(Dim(0)),
                 static_cast<int>(Dim(0) * Dim(1)), input.atOrAbove),
          m_Previous(buffers.previous), m_Current(buffers.current)
    {
        const unsigned int* dims = input.lattice->GetDims();
        m_Nx = dims[0];
        m_Ny = dims[1];
        m_Nz = dims[2];
        m_WithNormals = input.gradients && !input.gradients->empty();
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
        for (unsigned int k = m_K0; k < m_K1; ++k) {
            std::swap(m_Previous, m_Current);
            if (k == m_K0 && k > 0)
                MarkForeignBottom();
            m_Volumes = &m_LayerVolumes[k - m_K0];
            for (unsigned int j = 0; j + 1 < m_Ny; ++j) {
                if (!control.NextRow())
                    return false;
                if (m_RowSides && UniformRow(j, k))
                    continue;
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

    // Whether the four node rows of a cell row lie wholly on one side: then no
    // cell of it is cut, and without volumes there is nothing to do.
    bool UniformRow(unsigned int j, unsigned int k) const
    {
        const std::vector<uint8_t>& side = *m_RowSides;
        const size_t row = size_t(k) * m_Ny + j;
        const uint8_t first = side[row];
        return first != kMixedRow && side[row + 1] == first && side[row + m_Ny] == first &&
               side[row + m_Ny + 1] == first;
    }

    // The cells of one row; each cell's corners at i are the previous cell's at i + 1.
    void ProcessRow(unsigned int j, unsigned int k)
    {
        const size_t rowNode = (size_t(k) * m_Ny + j) * m_Nx;
        unsigned int lower = m_Cube.LowerXBits(rowNode);
        for (unsigned int i = 0; i + 1 < m_Nx; ++i) {
            const unsigned int upper = m_Cube.UpperXBits(rowNode + i);
            ProcessCell(i, j, k, rowNode + i, lower | upper);
            lower = BaseVertexStateCalculator::UpperToLowerX(upper);
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
            const shr::Vec3f& g1 = (*m_In.gradients)[n1];
            const shr::Vec3f& g2 = (*m_In.gradients)[n2];
            shr::Vec3f normal = g1 + NarrowToFloat(t) * (g2 - g1);
            normal.Normalize();
            normals.emplace_back(normal.x, normal.y, normal.z);
        }
        return static_cast<int>(vertices.size() - 1);
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
    const std::vector<uint8_t>* m_RowSides; // null while volumes are summed: every cell counts
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

size_t PickSlabCount(size_t requested, unsigned int layers)
{
    if (requested == 0) {
        const int threads = tbb::this_task_arena::max_concurrency();
        requested = threads <= 1 ? 1 : size_t(threads) * 4;
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

template <class Element>
void CopyNodes(const VdLattice& lattice, unsigned int component, std::vector<float>& out)
{
    const auto* data = static_cast<const Element*>(lattice.DataPtr());
    const size_t stride = lattice.ComponentCount();
    const bool blanks = lattice.HasBlanks();
    const float minimum = blanks ? NarrowToFloat(lattice.DataMin(component)) : 0.0f;
    ParallelFor(out.size(), 1 << 14, [&](size_t n) {
        out[n] = blanks && lattice.IsBlank(static_cast<unsigned int>(n), component)
                     ? minimum
                     : PrimConvert<float>(data[n * stride + component]);
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

shr::Vec3d NodePositions::operator()(unsigned int i, unsigned int j, unsigned int k) const
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
    data.vertices.clear();
    data.normals.clear();
    data.indices.clear();
    volumes = SweepVolumes();
    triangles = 0;
    const unsigned int* dims = input.lattice->GetDims();
    if (dims[0] < 2 || dims[1] < 2 || dims[2] < 2)
        return true;
    const unsigned int layers = dims[2] - 1;
    const NodePositions positions(*input.lattice);
    slabCount = PickSlabCount(slabCount, layers);
    const std::vector<uint8_t> rowSides = input.computeVolume ? std::vector<uint8_t>() : ClassifyRows(input);
    SweepWorkspace local;
    SweepWorkspace& buffers = workspace ? *workspace : local;
    while (buffers.size() < slabCount)
        buffers.push_back(std::make_unique<SlabBuffers>());
    std::vector<std::unique_ptr<SlabSweep>> slabs(slabCount);
    for (size_t s = 0; s < slabCount; ++s) {
        const auto k0 = static_cast<unsigned int>(layers * s / slabCount);
        const auto k1 = static_cast<unsigned int>(layers * (s + 1) / slabCount);
        slabs[s] = std::make_unique<SlabSweep>(input, positions, input.computeVolume ? nullptr : &rowSides, k0, k1,
                                               *buffers[s]);
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

void CopyComponent(const VdLattice& lattice, unsigned int component, std::vector<float>& values)
{
    values.resize(lattice.VertexCount());
    if (values.empty() || component >= lattice.ComponentCount()) {
        std::fill(values.begin(), values.end(), 0.0f);
        return;
    }
    DispatchPrimType(lattice.DataType(), [&](auto tag) {
        CopyNodes<typename decltype(tag)::Type>(lattice, component, values);
    });
}

void NodeGradients(const VdLattice& lattice, const std::vector<float>& values, std::vector<shr::Vec3f>& gradients)
{
    const unsigned int* dims = lattice.GetDims();
    const unsigned int nx = dims[0], ny = dims[1], nz = dims[2];
    gradients.resize(values.size());
    if (values.size() != size_t(nx) * ny * nz || values.empty()) {
        std::fill(gradients.begin(), gradients.end(), shr::Vec3f::ZERO);
        return;
    }
    const NodePositions positions(lattice);
    auto lower = [](unsigned int n) { return n == 0 ? 0 : n - 1; };
    auto upper = [](unsigned int n, unsigned int count) { return n + 1 < count ? n + 1 : n; };
    // On axis-aligned lattices the position difference of the two diagonal
    // neighbours splits into one difference per axis, the same numbers.
    std::vector<double> spans[3];
    if (positions.AxisAligned())
        for (int axis = 0; axis < 3; ++axis)
            for (unsigned int n = 0; n < dims[axis]; ++n)
                spans[axis].push_back(positions.Axis(axis, upper(n, dims[axis])) -
                                      positions.Axis(axis, lower(n)));
    const size_t row = nx, layer = size_t(nx) * ny;
    ParallelFor(nz, 1, [&](size_t level) {
        const auto k = static_cast<unsigned int>(level);
        const unsigned int k0 = lower(k), k1 = upper(k, nz);
        for (unsigned int j = 0; j < ny; ++j) {
            const unsigned int j0 = lower(j), j1 = upper(j, ny);
            const size_t first = k * layer + j * row;
            const float* v = values.data() + first;
            const float* below = values.data() + k0 * layer + j * row;
            const float* above = values.data() + k1 * layer + j * row;
            const float* front = values.data() + k * layer + j0 * row;
            const float* back = values.data() + k * layer + j1 * row;
            shr::Vec3f* out = gradients.data() + first;
            for (unsigned int i = 0; i < nx; ++i) {
                const unsigned int i0 = lower(i), i1 = upper(i, nx);
                const shr::Vec3d d = spans[0].empty()
                                         ? positions(i1, j1, k1) - positions(i0, j0, k0)
                                         : shr::Vec3d(spans[0][i], spans[1][j], spans[2][k]);
                out[i] = shr::Vec3f(NarrowToFloat((double(v[i0]) - double(v[i1])) / d.x),
                                    NarrowToFloat((double(front[i]) - double(back[i])) / d.y),
                                    NarrowToFloat((double(below[i]) - double(above[i])) / d.z));
            }
        }
    });
}

} // namespace VoIsoSurfacePrivate
} // namespace core
