#include "core/data/VdCurvilinearLattice.h"

#include "core/data/PrimConvert.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VdCurvilinearLattice, VdLattice)

namespace {

// The two nodes around a real index on one axis, and the fraction past the
// lower. The lower node is also kept at most the last node, where the blend
// would otherwise read past the lattice; there both nodes are the last one.
void AxisCell(double index, unsigned int dim, unsigned int& lo, unsigned int& hi, double& fraction)
{
    const double last = dim - 1.0;
    const double truncated = std::max(0.0, std::trunc(index));
    lo = truncated >= last ? dim - 1 : static_cast<unsigned int>(truncated);
    hi = std::min(lo + 1, dim - 1);
    fraction = index - lo;
}

} // namespace

VdCurvilinearLattice::VdCurvilinearLattice(const VdCurvilinearLattice& other) = default;

VdCurvilinearLattice::VdCurvilinearLattice(shr::PrimType coordType, shr::PrimType dataType, const unsigned int* dims,
                                           const void* coords, const void* data, unsigned int componentCount)
    : VdLatticeKind(dataType, dims, data, componentCount), m_Coords(coordType, VertexCount(), 3)
{
    if (coords && m_Coords.TotalSize() > 0) {
        std::memcpy(CoordWritePtr(), coords, m_Coords.TotalSize());
        m_Coords.SetModified();
    }
}

VdCurvilinearLattice::VdCurvilinearLattice(const VdCurvilinearLattice& source, const std::deque<bool>& componentMask,
                                           const SubRange& range)
    : VdLatticeKind(source, componentMask, range), m_Coords(source.GetCoordType(), VertexCount(), 3)
{
    const uint64_t tupleSize = m_Coords.TupleSize();
    const unsigned int *first = range.first, *last = range.last, *step = range.step;
    uint32_t target = 0;
    for (unsigned int k = first[2]; k <= last[2]; k += step[2])
        for (unsigned int j = first[1]; j <= last[1]; j += step[1])
            for (unsigned int i = first[0]; i <= last[0]; i += step[0])
                std::memcpy(m_Coords.GetWritePtr(target++), source.GetCoordPtr(source.Index(i, j, k)), tupleSize);
    m_Coords.SetModified();
    CopyUserTransform(source);
}

void VdCurvilinearLattice::SetModifiedCoords()
{
    m_Coords.SetModified();
    m_UVWDirty = m_XYZDirty = true;
    m_Locator.Clear();
}

shr::Box3d VdCurvilinearLattice::GetUVWBounds() const
{
    if (m_UVWDirty) {
        m_UVWBounds = shr::Box3d();
        for (unsigned int axis = 0; axis < m_Coords.ComponentCount(); ++axis) {
            const std::pair<double, double> range = m_Coords.GetMinMax(axis);
            m_UVWBounds.min[axis] = range.first;
            m_UVWBounds.max[axis] = range.second;
        }
        m_UVWDirty = false;
    }
    return m_UVWBounds;
}

shr::Box3d VdCurvilinearLattice::GetXYZBounds() const
{
    if (m_XYZDirty) {
        m_XYZBounds = shr::Box3d();
        for (uint32_t node = 0; node < VertexCount(); ++node)
            m_XYZBounds.ExtendBy(UVWToXYZ(NodeUVW(node)));
        m_XYZDirty = false;
    }
    return m_XYZBounds;
}

shr::Vec3d VdCurvilinearLattice::NodeUVW(uint32_t node) const
{
    shr::Vec3d uvw;
    ReadNodes(node, 1, &uvw);
    return uvw;
}

void VdCurvilinearLattice::ReadNodes(uint32_t first, uint32_t count, shr::Vec3d* out) const
{
    DispatchPrimType(m_Coords.ComponentType(), [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        const Element* values = static_cast<const Element*>(m_Coords.GetReadPtr()) + uint64_t(first) * 3;
        for (uint32_t n = 0; n < count; ++n, values += 3)
            out[n] = shr::Vec3d(PrimConvert<double>(values[0]), PrimConvert<double>(values[1]),
                                PrimConvert<double>(values[2]));
    });
}

void VdCurvilinearLattice::ReadCellCorners(uint32_t i, uint32_t j, uint32_t k, shr::Vec3d corners[8]) const
{
    const uint64_t row = GetDims()[0], layer = row * GetDims()[1];
    const uint64_t first = Index(i, j, k);
    const uint64_t nodes[8] = {first, first + 1, first + row + 1, first + row,
                               first + layer, first + layer + 1, first + layer + row + 1, first + layer + row};
    DispatchPrimType(m_Coords.ComponentType(), [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        const Element* values = static_cast<const Element*>(m_Coords.GetReadPtr());
        for (int n = 0; n < 8; ++n) {
            const Element* p = values + nodes[n] * 3;
            corners[n] = shr::Vec3d(PrimConvert<double>(p[0]), PrimConvert<double>(p[1]), PrimConvert<double>(p[2]));
        }
    });
}

shr::Vec3d VdCurvilinearLattice::IJKToUVW(unsigned int i, unsigned int j, unsigned int k) const
{
    return NodeUVW(Index(i, j, k));
}

shr::Vec3d VdCurvilinearLattice::IJKToUVW(const shr::Vec3d& ijk) const
{
    const unsigned int* dims = GetDims();
    if (VertexCount() == 0)
        return shr::Vec3d();
    unsigned int lo[3], hi[3];
    double f[3];
    for (int axis = 0; axis < 3; ++axis)
        AxisCell(ijk[axis], dims[axis], lo[axis], hi[axis], f[axis]);
    shr::Vec3d result;
    for (unsigned int n = 0; n < 8; ++n) {
        const double weight =
            (n & 1 ? f[0] : 1.0 - f[0]) * (n & 2 ? f[1] : 1.0 - f[1]) * (n & 4 ? f[2] : 1.0 - f[2]);
        result += IJKToUVW(n & 1 ? hi[0] : lo[0], n & 2 ? hi[1] : lo[1], n & 4 ? hi[2] : lo[2]) * weight;
    }
    return result;
}

shr::Vec3d VdCurvilinearLattice::UVWToIJK(const shr::Vec3d& uvw) const
{
    shr::Vec3d ijk;
    if (!m_Locator.Find(*this, uvw, ijk))
        return shr::Vec3d(-1.0, -1.0, -1.0);
    return ijk;
}

void VdCurvilinearLattice::Serialize(shr::Archive& archive)
{
    SerializeWhole(*this, archive);
}

void VdCurvilinearLattice::TransferFields(shr::Archive& archive)
{
    VdLattice::TransferFields(archive);
    archive.SyncCheck();
    m_Coords.Serialize(archive);
    archive.Transfer(m_UVWDirty);
    archive.Transfer(m_UVWBounds);
    archive.Transfer(m_XYZDirty);
    archive.Transfer(m_XYZBounds);
    if (archive.IsStoring())
        return;
    if (m_Coords.TupleCount() != VertexCount() || m_Coords.ComponentCount() != 3)
        archive.ThrowFormatError("curvilinear coordinates of %llu tuples of %llu components for %u nodes",
                                 static_cast<unsigned long long>(m_Coords.TupleCount()),
                                 static_cast<unsigned long long>(m_Coords.ComponentCount()), VertexCount());
}

} // namespace core
