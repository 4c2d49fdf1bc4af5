#include "core/data/CellLocator.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace core {

namespace {

constexpr int kMaxNewtonRounds = 10;
constexpr double kConvergedStepSquared = 1e-7;
constexpr double kCellsPerLeaf = 20.0;

shr::Vec3d Midpoint(const shr::Box3d& box)
{
    return shr::Vec3d((box.min.x + box.max.x) * 0.5, (box.min.y + box.max.y) * 0.5, (box.min.z + box.max.z) * 0.5);
}

// The half of `node` on one axis: low or high of the midpoint.
void TakeHalf(const shr::Box3d& node, const shr::Vec3d& mid, int axis, bool high, shr::Box3d& child)
{
    child.min[axis] = high ? mid[axis] : node.min[axis];
    child.max[axis] = high ? node.max[axis] : mid[axis];
}

shr::Box3d BoundFourNodes(const shr::Vec3d* rows[4], uint32_t i)
{
    shr::Box3d box;
    for (int row = 0; row < 4; ++row)
        box.ExtendBy(rows[row][i]);
    return box;
}

// The trilinear map of the corners at (r, s, t) and its three partial derivatives.
void EvaluateTrilinear(const shr::Vec3d c[8], const shr::Vec3d& rst, shr::Vec3d& value, shr::Vec3d jacobian[3])
{
    const double r = rst.x, s = rst.y, t = rst.z;
    const double r0 = 1.0 - r, s0 = 1.0 - s, t0 = 1.0 - t;
    value = c[0] * (r0 * s0 * t0) + c[1] * (r * s0 * t0) + c[2] * (r * s * t0) + c[3] * (r0 * s * t0) +
            c[4] * (r0 * s0 * t) + c[5] * (r * s0 * t) + c[6] * (r * s * t) + c[7] * (r0 * s * t);
    jacobian[0] = (c[1] - c[0]) * (s0 * t0) + (c[2] - c[3]) * (s * t0) + (c[5] - c[4]) * (s0 * t) + (c[6] - c[7]) * (s * t);
    jacobian[1] = (c[3] - c[0]) * (r0 * t0) + (c[2] - c[1]) * (r * t0) + (c[7] - c[4]) * (r0 * t) + (c[6] - c[5]) * (r * t);
    jacobian[2] = (c[4] - c[0]) * (r0 * s0) + (c[5] - c[1]) * (r * s0) + (c[6] - c[2]) * (r * s) + (c[7] - c[3]) * (r0 * s);
}

// Solves J x = b, the columns of J given, by Gaussian elimination with
// partial pivoting. A pivot of exactly zero fails.
bool Solve3(const shr::Vec3d columns[3], const shr::Vec3d& b, shr::Vec3d& x)
{
    double a[3][4];
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col)
            a[row][col] = columns[col][row];
        a[row][3] = b[row];
    }
    for (int stage = 0; stage < 3; ++stage) {
        int pivot = stage;
        for (int row = stage + 1; row < 3; ++row)
            if (std::fabs(a[row][stage]) > std::fabs(a[pivot][stage]))
                pivot = row;
        if (pivot != stage)
            std::swap(a[pivot], a[stage]);
        if (a[stage][stage] == 0.0)
            return false;
        for (int row = stage + 1; row < 3; ++row) {
            const double factor = a[row][stage] / a[stage][stage];
            for (int col = stage; col < 4; ++col)
                a[row][col] -= factor * a[stage][col];
        }
    }
    for (int row = 2; row >= 0; --row) {
        double sum = a[row][3];
        for (int col = row + 1; col < 3; ++col)
            sum -= a[row][col] * x[col];
        x[row] = sum / a[row][row];
    }
    return true;
}

// Whether p lies below all corners or above all corners on some axis.
bool OutsideCorners(const shr::Vec3d c[8], const shr::Vec3d& p)
{
    for (int axis = 0; axis < 3; ++axis) {
        bool allAbove = true, allBelow = true;
        for (int n = 0; n < 8; ++n) {
            allAbove = allAbove && p[axis] < c[n][axis];
            allBelow = allBelow && p[axis] > c[n][axis];
        }
        if (allAbove || allBelow)
            return true;
    }
    return false;
}

bool InUnitRange(double v)
{
    return v >= 0.0 && v <= 1.0;
}

} // namespace

CellLocator& CellLocator::operator=(const CellLocator&)
{
    Clear();
    return *this;
}

void CellLocator::Clear()
{
    m_Level.store(0, std::memory_order_release);
    m_CellsPerRow = m_CellsPerSlice = m_CellCount = 0;
    m_Bounds = shr::Box3d();
    m_Leaves.clear();
    m_Buckets.clear();
}

bool CellLocator::EnsureBuilt(const NodeSource& source) const
{
    if (m_Level.load(std::memory_order_acquire) > 0)
        return true;
    std::lock_guard<std::mutex> lock(m_BuildMutex);
    if (m_Level.load(std::memory_order_relaxed) > 0)
        return true;
    return Build(source);
}

bool CellLocator::Build(const NodeSource& source) const
{
    m_CellsPerRow = m_CellsPerSlice = m_CellCount = 0;
    m_Leaves.clear();
    m_Buckets.clear();
    const unsigned int* dims = source.NodeDims();
    if (dims[0] == 0 || dims[1] == 0 || dims[2] == 0)
        return false;
    const int64_t cells = int64_t(dims[0] - 1) * (dims[1] - 1) * (dims[2] - 1);
    m_CellCount = static_cast<int32_t>(cells);
    if (m_CellCount < 1)
        return false;
    m_CellsPerRow = static_cast<int32_t>(dims[0] - 1);
    m_CellsPerSlice = static_cast<int32_t>(int64_t(dims[1] - 1) * (dims[0] - 1));
    const double depth = std::trunc(std::log10(m_CellCount / kCellsPerLeaf) / std::log10(8.0) + 0.5);
    const int32_t level = static_cast<int32_t>(std::min<double>(MaxLevel, std::max(1.0, depth)));
    m_Bounds = source.NodeBounds();
    m_Leaves.assign(size_t(1) << (3 * level), -1);
    m_Buckets.reserve((2 * size_t(m_CellCount)) / CellBucket::Capacity);
    InsertRows(source, level);
    m_Level.store(level, std::memory_order_release); // publishes the index to searching threads
    return true;
}

// Walks the cells in number order. Each cell's box is the union of the boxes
// of its two faces across i, so each face box is formed once.
void CellLocator::InsertRows(const NodeSource& source, int level) const
{
    const unsigned int* dims = source.NodeDims();
    const uint32_t rowLength = dims[0];
    std::vector<shr::Vec3d> buffer(size_t(rowLength) * 4);
    const shr::Vec3d* rows[4] = {&buffer[0], &buffer[rowLength], &buffer[2 * rowLength], &buffer[3 * rowLength]};
    int32_t cell = 0;
    for (uint32_t k = 0; k + 1 < dims[2]; ++k) {
        for (uint32_t j = 0; j + 1 < dims[1]; ++j) {
            for (uint32_t row = 0; row < 4; ++row) {
                const uint32_t rowJ = j + (row & 1), rowK = k + (row >> 1);
                source.ReadNodes((dims[1] * rowK + rowJ) * rowLength, rowLength, &buffer[row * rowLength]);
            }
            shr::Box3d previous = BoundFourNodes(rows, 0);
            for (uint32_t i = 1; i < rowLength; ++i) {
                const shr::Box3d face = BoundFourNodes(rows, i);
                shr::Box3d cellBox = previous;
                cellBox.ExtendBy(face);
                Insert(cell++, cellBox, m_Bounds, level - 1, 0);
                previous = face;
            }
        }
    }
}

void CellLocator::Insert(int32_t cell, const shr::Box3d& box, const shr::Box3d& node, int depth, uint32_t leaf) const
{
    const shr::Vec3d mid = Midpoint(node);
    for (uint32_t octant = 0; octant < 8; ++octant) {
        shr::Box3d child;
        bool overlaps = true;
        for (int axis = 0; axis < 3 && overlaps; ++axis) {
            const bool high = (octant >> axis) & 1;
            overlaps = high ? box.max[axis] >= mid[axis] : mid[axis] > box.min[axis];
            TakeHalf(node, mid, axis, high, child);
        }
        if (!overlaps)
            continue;
        const uint32_t index = leaf + (octant << (3 * depth));
        if (depth == 0)
            AddToLeaf(index, cell);
        else
            Insert(cell, box, child, depth - 1, index);
    }
}

void CellLocator::AddToLeaf(uint32_t leaf, int32_t cell) const
{
    int32_t& head = m_Leaves[leaf];
    if (head != -1 && m_Buckets[head].count < CellBucket::Capacity) {
        CellBucket& bucket = m_Buckets[head];
        bucket.cells[bucket.count++] = cell;
        return;
    }
    CellBucket bucket{};
    bucket.count = 1;
    bucket.next = head;
    bucket.cells[0] = cell;
    m_Buckets.push_back(bucket);
    head = static_cast<int32_t>(m_Buckets.size() - 1);
}

uint32_t CellLocator::LeafOf(const shr::Vec3d& p) const
{
    const int level = m_Level.load(std::memory_order_relaxed);
    shr::Box3d node = m_Bounds;
    uint32_t leaf = 0;
    for (int depth = level - 1; depth >= 0; --depth) {
        const shr::Vec3d mid = Midpoint(node);
        uint32_t octant = 0;
        shr::Box3d child;
        for (int axis = 0; axis < 3; ++axis) {
            const bool high = !(mid[axis] > p[axis]);
            octant |= uint32_t(high) << axis;
            TakeHalf(node, mid, axis, high, child);
        }
        leaf += octant << (3 * depth);
        node = child;
    }
    return leaf;
}

bool CellLocator::Find(const NodeSource& source, const shr::Vec3d& p, shr::Vec3d& ijk) const
{
    if (!EnsureBuilt(source))
        return false;
    for (int32_t b = m_Leaves[LeafOf(p)]; b != -1; b = m_Buckets[b].next) {
        const CellBucket& bucket = m_Buckets[b];
        for (int32_t n = 0; n < bucket.count; ++n)
            if (TestCell(source, bucket.cells[n], p, ijk))
                return true;
    }
    return false;
}

bool CellLocator::TestCell(const NodeSource& source, int32_t cell, const shr::Vec3d& p, shr::Vec3d& ijk) const
{
    const uint32_t k = cell / m_CellsPerSlice;
    const uint32_t rest = cell % m_CellsPerSlice;
    const uint32_t j = rest / m_CellsPerRow;
    const uint32_t i = rest % m_CellsPerRow;
    shr::Vec3d corners[8];
    source.ReadCellCorners(i, j, k, corners);
    if (OutsideCorners(corners, p))
        return false;
    shr::Vec3d rst;
    const bool inside = InvertTrilinear(corners, p, rst);
    ijk = shr::Vec3d(i + rst.x, j + rst.y, k + rst.z);
    return inside;
}

bool CellLocator::InvertTrilinear(const shr::Vec3d corners[8], const shr::Vec3d& p, shr::Vec3d& rst)
{
    rst = shr::Vec3d(0.5, 0.5, 0.5);
    for (int round = 0; round < kMaxNewtonRounds; ++round) {
        shr::Vec3d value, jacobian[3], step;
        EvaluateTrilinear(corners, rst, value, jacobian);
        if (!Solve3(jacobian, p - value, step))
            return false;
        rst += step;
        if (step.LengthSquared() < kConvergedStepSquared)
            return InUnitRange(rst.x) && InUnitRange(rst.y) && InUnitRange(rst.z);
    }
    return false;
}

} // namespace core
