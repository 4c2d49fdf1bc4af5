#include "core/data/VdRectilinearLattice.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VdRectilinearLattice, VdLattice)

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

void TransferCoords(shr::Archive& archive, std::vector<double>& coords)
{
    uint32_t count = static_cast<uint32_t>(coords.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        archive.CheckCount(count, sizeof(double));
        coords.resize(count);
    }
    for (double& value : coords)
        archive.Transfer(value);
}

} // namespace

VdRectilinearLattice::VdRectilinearLattice(shr::PrimType type, const unsigned int* dims, const void* data,
                                           unsigned int componentCount, const double* uCoords,
                                           const double* vCoords, const double* wCoords)
    : VdLatticeKind(type, dims, data, componentCount)
{
    for (int axis = 0; axis < 3; ++axis)
        m_Coords[axis].assign(dims[axis], 0.0);
    SetPlanes(uCoords, vCoords, wCoords);
}

VdRectilinearLattice::VdRectilinearLattice(shr::PrimType type, const unsigned int* dims, const void* data,
                                           unsigned int componentCount, std::vector<double> uCoords,
                                           std::vector<double> vCoords, std::vector<double> wCoords)
    : VdLatticeKind(type, dims, data, componentCount),
      m_Coords{std::move(uCoords), std::move(vCoords), std::move(wCoords)}
{
    for (int axis = 0; axis < 3; ++axis)
        if (m_Coords[axis].size() != dims[axis])
            ThrowLatticeError("VdRectilinearLattice", __LINE__, "Coordinate count does not match the lattice size.");
}

VdRectilinearLattice::VdRectilinearLattice(const VdRectilinearLattice& source, const std::deque<bool>& componentMask,
                                           const SubRange& range)
    : VdLatticeKind(source, componentMask, range)
{
    for (int axis = 0; axis < 3; ++axis)
        for (unsigned int n = 0; n < GetDims()[axis]; ++n)
            m_Coords[axis].push_back(source.m_Coords[axis][range.first[axis] + n * range.step[axis]]);
    CopyUserTransform(source);
}

void VdRectilinearLattice::SetPlanes(const double* uCoords, const double* vCoords, const double* wCoords)
{
    const double* planes[3] = {uCoords, vCoords, wCoords};
    for (int axis = 0; axis < 3; ++axis)
        if (planes[axis])
            m_Coords[axis].assign(planes[axis], planes[axis] + GetDims()[axis]);
    SetModifiedCoords();
}

shr::Box3d VdRectilinearLattice::GetUVWBounds() const
{
    if (m_UVWDirty) {
        const unsigned int* dims = GetDims();
        m_UVWBounds = shr::Box3d();
        if (dims[0] && dims[1] && dims[2])
            for (int axis = 0; axis < 3; ++axis) {
                m_UVWBounds.min[axis] = m_Coords[axis].front();
                m_UVWBounds.max[axis] = m_Coords[axis].back();
            }
        m_UVWDirty = false;
    }
    return m_UVWBounds;
}

shr::Box3d VdRectilinearLattice::GetXYZBounds() const
{
    if (m_XYZDirty) {
        m_XYZBounds = UVWToXYZBounds(GetUVWBounds());
        m_XYZDirty = false;
    }
    return m_XYZBounds;
}

shr::Vec3d VdRectilinearLattice::IJKToUVW(unsigned int i, unsigned int j, unsigned int k) const
{
    return shr::Vec3d(m_Coords[0][i], m_Coords[1][j], m_Coords[2][k]);
}

shr::Vec3d VdRectilinearLattice::IJKToUVW(const shr::Vec3d& ijk) const
{
    return shr::Vec3d(AxisCoord(0, ijk.x), AxisCoord(1, ijk.y), AxisCoord(2, ijk.z));
}

// Between nodes lo = trunc(index) and hi = lo + 1 (at most the last node).
// Below node 0 the first interval is extended, and past the last node its
// coordinate holds: reading outside the vector would be undefined, and these
// are the values that the blend gives at the two ends.
double VdRectilinearLattice::AxisCoord(int axis, double index) const
{
    const std::vector<double>& c = m_Coords[axis];
    if (c.empty() || std::isnan(index))
        return c.empty() ? 0.0 : index;
    const double last = c.size() - 1.0;
    const double truncated = std::trunc(index);
    const unsigned int lo = truncated <= 0.0 ? 0u : truncated >= last ? unsigned(last) : unsigned(truncated);
    const unsigned int hi = std::min<unsigned int>(lo + 1, unsigned(last));
    if (lo == hi)
        return c[lo];
    return ((index - lo) * c[hi] + (hi - index) * c[lo]) / (hi - lo);
}

shr::Vec3d VdRectilinearLattice::UVWToIJK(const shr::Vec3d& uvw) const
{
    shr::Vec3d ijk;
    for (int axis = 0; axis < 3; ++axis) {
        const std::vector<double>& c = m_Coords[axis];
        // An axis without nodes has no position on it.
        ijk[axis] = c.empty() ? -kInfinity : Interpolate(c.data(), 0, unsigned(c.size() - 1), uvw[axis]);
    }
    return ijk;
}

double VdRectilinearLattice::Interpolate(const double* coords, unsigned int lo, unsigned int hi, double value)
{
    if (value < coords[lo])
        return -kInfinity;
    if (value > coords[hi])
        return kInfinity;
    while (hi - lo >= 2) {
        const unsigned int mid = (lo + hi) >> 1;
        if (coords[mid] > value)
            hi = mid;
        else
            lo = mid;
    }
    return lo + (value - coords[lo]) / (coords[hi] - coords[lo]);
}

void VdRectilinearLattice::Serialize(shr::Archive& archive)
{
    SerializeWhole(*this, archive);
}

void VdRectilinearLattice::TransferFields(shr::Archive& archive)
{
    VdLattice::TransferFields(archive);
    archive.SyncCheck();
    for (std::vector<double>& axis : m_Coords)
        TransferCoords(archive, axis);
    archive.Transfer(m_UVWDirty);
    archive.Transfer(m_UVWBounds);
    archive.Transfer(m_XYZDirty);
    archive.Transfer(m_XYZBounds);
    if (archive.IsStoring())
        return;
    for (int axis = 0; axis < 3; ++axis)
        if (m_Coords[axis].size() != GetDims()[axis])
            archive.ThrowFormatError("a rectilinear axis of %u nodes has %zu coordinates", GetDims()[axis],
                                     m_Coords[axis].size());
}

} // namespace core
