#include "core/data/VdUniformLattice.h"

#include "shr/Exception.h"

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VdUniformLattice, VdLattice)

namespace {

const unsigned int* RequireNodes(const unsigned int* dims)
{
    if (dims[0] == 0 || dims[1] == 0 || dims[2] == 0)
        shr::ThrowSharedError("Core", "VdUniformLattice", __LINE__, 0, "Invalid target lattice size.");
    return dims;
}

} // namespace

VdUniformLattice::VdUniformLattice() : m_UVWBounds(0.0, 0.0, 0.0, 1.0, 1.0, 1.0)
{
}

VdUniformLattice::VdUniformLattice(shr::PrimType type, const unsigned int* dims, const void* data,
                                   unsigned int componentCount)
    : VdLatticeKind(type, RequireNodes(dims), data, componentCount)
{
    SetUVWBounds(shr::Box3d(0.0, 0.0, 0.0, dims[0] - 1.0, dims[1] - 1.0, dims[2] - 1.0));
}

VdUniformLattice::VdUniformLattice(const VdUniformLattice& source, const std::deque<bool>& componentMask,
                                   const SubRange& range)
    : VdLatticeKind(source, componentMask, range)
{
    const unsigned int *first = range.first, *last = range.last;
    SetUVWBounds(shr::Box3d(source.IJKToUVW(first[0], first[1], first[2]), source.IJKToUVW(last[0], last[1], last[2])));
    CopyUserTransform(source);
}

shr::Box3d VdUniformLattice::GetXYZBounds() const
{
    if (m_XYZDirty) {
        m_XYZBounds = UVWToXYZBounds(m_UVWBounds);
        m_XYZDirty = false;
    }
    return m_XYZBounds;
}

shr::Vec3d VdUniformLattice::IJKToUVW(const shr::Vec3d& ijk) const
{
    return shr::Vec3d(ijk.x * m_Spacing.x + m_UVWBounds.min.x, ijk.y * m_Spacing.y + m_UVWBounds.min.y,
                      ijk.z * m_Spacing.z + m_UVWBounds.min.z);
}

shr::Vec3d VdUniformLattice::IJKToUVW(unsigned int i, unsigned int j, unsigned int k) const
{
    return IJKToUVW(shr::Vec3d(i, j, k));
}

shr::Vec3d VdUniformLattice::UVWToIJK(const shr::Vec3d& uvw) const
{
    shr::Vec3d ijk;
    for (int axis = 0; axis < 3; ++axis)
        ijk[axis] = m_Spacing[axis] <= MinSpacing ? 0.0 : (uvw[axis] - m_UVWBounds.min[axis]) / m_Spacing[axis];
    return ijk;
}

void VdUniformLattice::SetUVWBounds(const shr::Box3d& bounds)
{
    const unsigned int* dims = GetDims();
    for (int axis = 0; axis < 3; ++axis)
        m_Spacing[axis] = dims[axis] < 2 ? 0.0 : (bounds.max[axis] - bounds.min[axis]) / (dims[axis] - 1);
    m_UVWBounds = bounds;
    m_XYZDirty = true;
}

shr::Mat4d VdUniformLattice::GetTransform() const
{
    auto scale = [](double spacing) { return spacing <= MinSpacing ? 1.0 : spacing; };
    const shr::Vec3d& t = m_UVWBounds.min;
    return shr::Mat4d(scale(m_Spacing.x), 0.0, 0.0, 0.0, 0.0, scale(m_Spacing.y), 0.0, 0.0, 0.0, 0.0,
                      scale(m_Spacing.z), 0.0, t.x, t.y, t.z, 1.0);
}

void VdUniformLattice::Serialize(shr::Archive& archive)
{
    SerializeWhole(*this, archive);
}

void VdUniformLattice::TransferFields(shr::Archive& archive)
{
    VdLattice::TransferFields(archive);
    archive.SyncCheck();
    archive.Transfer(m_UVWBounds);
    archive.Transfer(m_XYZDirty);
    archive.Transfer(m_XYZBounds);
    archive.Transfer(m_Spacing);
}

} // namespace core
