#include "core/visual/VbTriangulateLattice2D.h"

#include "core/data/ParallelFor.h"
#include "core/data/PrimConvert.h"
#include "core/data/VdLattice.h"
#include "core/network/VbProgress.h"
#include "core/visual/VoIsoSurfacePrivate.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

namespace core {

namespace VbTriangulateLattice2DPrivate {

using namespace VoIsoSurfacePrivate;

// Rows of the mesh made between two looks at the progress.
constexpr size_t kRowsPerBand = 32;

// The component as float at `count` nodes from `first`, kInvalid at blanks.
template <class Element>
void ReadNodes(const VdLattice& lattice, unsigned int component, size_t first, size_t count, float* out)
{
    const auto* data = static_cast<const Element*>(lattice.DataPtr());
    const size_t stride = lattice.ComponentCount();
    const bool blanks = lattice.HasBlanks();
    for (size_t n = 0; n < count; ++n) {
        const size_t node = first + n;
        out[n] = static_cast<float>(PrimConvert<double>(data[node * stride + component]));
        if (blanks && lattice.IsBlank(static_cast<unsigned int>(node), component))
            out[n] = VbTriangulateLattice2D::kInvalid;
    }
}

void ReadValues(const VdLattice& lattice, unsigned int component, size_t first, size_t count, float* out)
{
    DispatchPrimType(lattice.DataType(), [&](auto tag) {
        ReadNodes<typename decltype(tag)::Type>(lattice, component, first, count, out);
    });
}

// The distances and values of one layer of nodes, and the vertex numbers of
// the x, y and z edges that start at each of its nodes.
struct Layer {
    std::vector<double> distances;
    std::vector<float> values;
    std::vector<std::array<uint32_t, 3>> edges;
};

// Marching cubes on the signed distance to a plane, one cell layer at a time
// (caller's thread: progress is reported per row).
class PlaneCut {
public:
    PlaneCut(const VdLattice& lattice, const shr::Vec3d& normal, double distance, unsigned int component,
             VbTriangulateLattice2D& out)
        : m_Lattice(lattice), m_Positions(lattice, false), m_Normal(normal), m_Distance(distance),
          m_Component(component), m_Out(out)
    {
        const unsigned int* dims = lattice.GetDims();
        m_Nx = dims[0];
        m_Ny = dims[1];
        m_Nz = dims[2];
    }

    bool Run(VbProgress* progress)
    {
        if (m_Nx < 2 || m_Ny < 2 || m_Nz < 2)
            return true;
        LoadLayer(0, m_Current);
        const double rows = double(m_Ny - 1) * (m_Nz - 1);
        for (unsigned int k = 0; k + 1 < m_Nz; ++k) {
            std::swap(m_Previous, m_Current);
            LoadLayer(k + 1, m_Current);
            for (unsigned int j = 0; j + 1 < m_Ny; ++j) {
                if (progress && !progress->Update((double(k) * (m_Ny - 1) + j) / rows))
                    return false;
                for (unsigned int i = 0; i + 1 < m_Nx; ++i)
                    Cell(i, j, k);
            }
        }
        return true;
    }

private:
    void LoadLayer(unsigned int k, Layer& layer) const
    {
        const size_t count = size_t(m_Nx) * m_Ny;
        layer.distances.resize(count);
        layer.values.resize(count);
        layer.edges.resize(count);
        ReadValues(m_Lattice, m_Component, size_t(k) * count, count, layer.values.data());
        for (unsigned int j = 0; j < m_Ny; ++j)
            for (unsigned int i = 0; i < m_Nx; ++i)
                layer.distances[size_t(j) * m_Nx + i] = m_Normal.Dot(m_Positions(i, j, k)) - m_Distance;
    }

    const Layer& LayerOf(unsigned int corner) const { return s_CornerIJK[corner][2] ? m_Current : m_Previous; }
    size_t NodeOf(unsigned int corner, unsigned int i, unsigned int j) const
    {
        return size_t(j + s_CornerIJK[corner][1]) * m_Nx + i + s_CornerIJK[corner][0];
    }
    double Distance(unsigned int corner, unsigned int i, unsigned int j) const
    {
        return LayerOf(corner).distances[NodeOf(corner, i, j)];
    }

    void Cell(unsigned int i, unsigned int j, unsigned int k)
    {
        unsigned int index = 0;
        for (unsigned int c = 0; c < 8; ++c)
            if (0.0 > Distance(c, i, j))
                index |= 1u << c;
        if (s_EdgeTable[index] == 0)
            return;
        const int8_t* row = s_TriangleTable[index];
        for (int t = 0; row[t] != -1; t += 3)
            m_Out.triangles.push_back({EdgeVertex(row[t], i, j, k), EdgeVertex(row[t + 1], i, j, k),
                                       EdgeVertex(row[t + 2], i, j, k)});
    }

    uint32_t EdgeVertex(int e, unsigned int i, unsigned int j, unsigned int k)
    {
        const EdgeSlot& slot = s_EdgeSlots[e];
        Layer& layer = slot.current ? m_Current : m_Previous;
        uint32_t& record = layer.edges[size_t(j + slot.dj) * m_Nx + i + slot.di][slot.axis];
        if (slot.CreatedAt(i, j, k))
            record = Interpolate(slot, i, j, k);
        return record;
    }

    // The cut of the edge from corner `from` to corner `to`.
    uint32_t Interpolate(const EdgeSlot& slot, unsigned int i, unsigned int j, unsigned int k)
    {
        const double d1 = Distance(slot.from, i, j), d2 = Distance(slot.to, i, j);
        const double t = std::fabs(d2 - d1) > FLT_EPSILON ? -d1 / (d2 - d1) : 0.0;
        const shr::Vec3d p1 = Corner(slot.from, i, j, k), p2 = Corner(slot.to, i, j, k);
        const float v1 = LayerOf(slot.from).values[NodeOf(slot.from, i, j)];
        const float v2 = LayerOf(slot.to).values[NodeOf(slot.to, i, j)];
        const bool invalid = v1 == VbTriangulateLattice2D::kInvalid || v2 == VbTriangulateLattice2D::kInvalid;
        m_Out.vertices.push_back(p1 + (p2 - p1) * t);
        m_Out.values.push_back(invalid ? VbTriangulateLattice2D::kInvalid
                                       : static_cast<float>(v1 + t * (double(v2) - v1)));
        return static_cast<uint32_t>(m_Out.vertices.size() - 1);
    }

    shr::Vec3d Corner(unsigned int corner, unsigned int i, unsigned int j, unsigned int k) const
    {
        return m_Positions(i + s_CornerIJK[corner][0], j + s_CornerIJK[corner][1], k + s_CornerIJK[corner][2]);
    }

    const VdLattice& m_Lattice;
    const NodePositions m_Positions;
    const shr::Vec3d m_Normal;
    const double m_Distance;
    const unsigned int m_Component;
    VbTriangulateLattice2D& m_Out;
    unsigned int m_Nx = 0, m_Ny = 0, m_Nz = 0;
    Layer m_Previous, m_Current;
};

} // namespace VbTriangulateLattice2DPrivate

using namespace VbTriangulateLattice2DPrivate;

VbTriangulateLattice2D::VbTriangulateLattice2D(const VdLattice& lattice, Storage* storage)
    : m_Lattice(&lattice), m_Storage(storage)
{
    if (!storage)
        return;
    vertices.swap(storage->vertices);
    triangles.swap(storage->triangles);
    values.swap(storage->values);
    m_Blocks.swap(storage->blocks);
    m_Groups.swap(storage->groups);
    std::swap(m_Shape, storage->shape);
}

VbTriangulateLattice2D::~VbTriangulateLattice2D()
{
    if (!m_Storage)
        return;
    vertices.swap(m_Storage->vertices);
    triangles.swap(m_Storage->triangles);
    values.swap(m_Storage->values);
    m_Blocks.swap(m_Storage->blocks);
    m_Groups.swap(m_Storage->groups);
    std::swap(m_Shape, m_Storage->shape);
}

void VbTriangulateLattice2D::Clear()
{
    vertices.clear();
    triangles.clear();
    values.clear();
    m_Blocks.clear();
    m_Groups.clear();
    m_Shape = MeshShape();
}

bool VbTriangulateLattice2D::TriangulateMesh(unsigned int component, VbProgress* progress)
{
    const unsigned int* dims = m_Lattice->GetDims();
    // The axis along a row and the axis from row to row; the third is flat.
    const int along = dims[2] == 1 || dims[1] == 1 ? 0 : 1;
    const int across = dims[2] == 1 ? 1 : 2;
    const size_t width = dims[along], rows = dims[across];
    if (width * rows != m_Lattice->VertexCount() || width == 0 || rows == 0 ||
        component >= m_Lattice->ComponentCount()) {
        Clear();
        return true;
    }
    const NodePositions positions(*m_Lattice, false);
    const size_t cellsPerRow = width - 1;
    // Vertices and triangles left in the memory by a mesh of the same shape
    // are the ones this mesh would write: only the values are read again.
    MeshShape shape = ShapeOf(positions, along, across, width, rows);
    const bool geometryKept = !shape.coordinates.empty() && shape == m_Shape;
    m_Shape = std::move(shape);
    vertices.resize(width * rows);
    values.resize(width * rows);
    triangles.resize(2 * cellsPerRow * (rows - 1));
    const auto fillRow = [&](size_t r) {
        const size_t first = r * width;
        ReadValues(*m_Lattice, component, first, width, values.data() + first);
        if (geometryKept)
            return;
        unsigned int ijk[3] = {0, 0, 0};
        ijk[across] = static_cast<unsigned int>(r);
        for (size_t c = 0; c < width; ++c) {
            ijk[along] = static_cast<unsigned int>(c);
            vertices[first + c] = positions(ijk[0], ijk[1], ijk[2]);
        }
        if (r + 1 == rows)
            return;
        Triangle* cell = triangles.data() + 2 * cellsPerRow * r;
        const auto w = static_cast<uint32_t>(width);
        for (auto v = static_cast<uint32_t>(first); v + 1 < first + width; ++v) {
            *cell++ = {v, v + w, v + 1};
            *cell++ = {v + 1, v + w, v + w + 1};
        }
    };
    ResizeBounds();
    // The bounds of the blocks a band has completed are taken while the
    // band's values are still in the cache. The cells of the band's last
    // row wait for the next band's first row of values.
    size_t boundsDone = 0;
    for (size_t band = 0; band < rows; band += kRowsPerBand) {
        if (progress && !progress->Update(band, rows)) {
            Clear();
            return false;
        }
        const size_t end = std::min(rows, band + kRowsPerBand);
        ParallelFor(end - band, 1, [&](size_t r) { fillRow(band + r); });
        const size_t complete = end == rows ? m_Blocks.size() : 2 * cellsPerRow * (end - 1) / kBlockSize;
        ComputeBlockBounds(boundsDone, complete, width);
        boundsDone = complete;
    }
    ComputeGroupBounds();
    return true;
}

VbTriangulateLattice2D::MeshShape VbTriangulateLattice2D::ShapeOf(const NodePositions& positions, int along,
                                                                  int across, size_t width, size_t rows)
{
    MeshShape shape;
    shape.width = width;
    shape.rows = rows;
    if (!positions.AxisAligned())
        return shape;
    const int flat = 3 - along - across;
    for (size_t n = 0; n < width; ++n)
        shape.coordinates.push_back(positions.Axis(along, static_cast<unsigned int>(n)));
    for (size_t n = 0; n < rows; ++n)
        shape.coordinates.push_back(positions.Axis(across, static_cast<unsigned int>(n)));
    shape.coordinates.insert(shape.coordinates.end(), {positions.Axis(flat, 0), double(along), double(across)});
    return shape;
}

bool VbTriangulateLattice2D::TriangulatePlane(const shr::Vec3d& normal, double distance, unsigned int component,
                                              VbProgress* progress)
{
    Clear();
    if (component >= m_Lattice->ComponentCount() || !(normal.Length() > 0.0))
        return true;
    PlaneCut cut(*m_Lattice, normal, distance, component, *this);
    if (!cut.Run(progress)) {
        Clear();
        return false;
    }
    ResizeBounds();
    ComputeBlockBounds(0, m_Blocks.size(), 0);
    ComputeGroupBounds();
    return true;
}

void VbTriangulateLattice2D::ResizeBounds()
{
    m_Blocks.resize((triangles.size() + kBlockSize - 1) / kBlockSize);
    m_Groups.resize((m_Blocks.size() + kGroupBlocks - 1) / kGroupBlocks);
}

VbTriangulateLattice2D::Bounds VbTriangulateLattice2D::TriangleBounds(size_t block) const
{
    constexpr float inf = std::numeric_limits<float>::infinity();
    Bounds bounds{inf, -inf};
    const size_t last = std::min(triangles.size(), (block + 1) * kBlockSize);
    for (size_t t = block * kBlockSize; t < last; ++t) {
        const float corner[3] = {values[triangles[t][0]], values[triangles[t][1]], values[triangles[t][2]]};
        if (corner[0] == kInvalid || corner[1] == kInvalid || corner[2] == kInvalid)
            continue;
        for (const float v : corner) {
            if (std::isnan(v))
                return Bounds{-inf, inf};
            bounds.min = std::min(bounds.min, v);
            bounds.max = std::max(bounds.max, v);
        }
    }
    return bounds;
}

bool VbTriangulateLattice2D::MeshBounds(size_t block, size_t width, Bounds& bounds) const
{
    // Two triangles a cell, so a block is kBlockSize / 2 whole cells.
    const size_t cellsPerRow = width - 1, firstCell = block * kBlockSize / 2;
    const size_t column = firstCell % cellsPerRow;
    const size_t cells = std::min(kBlockSize / 2, triangles.size() / 2 - firstCell);
    if (column + cells > cellsPerRow)
        return false;
    const float* low = values.data() + firstCell / cellsPerRow * width + column;
    const float* high = low + width;
    float least = low[0], greatest = low[0];
    bool nan = false;
    for (size_t n = 0; n <= cells; ++n) {
        least = std::min(least, std::min(low[n], high[n]));
        greatest = std::max(greatest, std::max(low[n], high[n]));
        nan = nan || low[n] != low[n] || high[n] != high[n];
    }
    // The invalid marker is the largest float: it shows as the greatest.
    const bool plain = !nan && greatest != kInvalid;
    bounds = Bounds{least, greatest};
    return plain;
}

void VbTriangulateLattice2D::ComputeBlockBounds(size_t first, size_t end, size_t meshWidth)
{
    ParallelFor(end - first, 1024, [this, first, meshWidth](size_t offset) {
        const size_t b = first + offset;
        if (meshWidth < 2 || !MeshBounds(b, meshWidth, m_Blocks[b]))
            m_Blocks[b] = TriangleBounds(b);
    });
}

void VbTriangulateLattice2D::ComputeGroupBounds()
{
    constexpr float inf = std::numeric_limits<float>::infinity();
    for (size_t g = 0; g < m_Groups.size(); ++g) {
        Bounds bounds{inf, -inf};
        const size_t end = std::min(m_Blocks.size(), (g + 1) * kGroupBlocks);
        for (size_t b = g * kGroupBlocks; b < end; ++b) {
            bounds.min = std::min(bounds.min, m_Blocks[b].min);
            bounds.max = std::max(bounds.max, m_Blocks[b].max);
        }
        m_Groups[g] = bounds;
    }
}

} // namespace core
