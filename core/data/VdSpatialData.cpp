#include "core/data/VdSpatialData.h"

#include "shr/Archive.h"

namespace core {

SHR_IMPLEMENT_TYPE(VdSpatialData, VdData)

VdSpatialData::VdSpatialData(const shr::Mat4d& transform)
{
    if (transform.GetType() != shr::Mat4d::Identity)
        AssignTransform(transform);
}

void VdSpatialData::SetUserTransform(const shr::Mat4d& transform)
{
    AssignTransform(transform);
    SetModifiedCoords();
}

void VdSpatialData::AssignTransform(const shr::Mat4d& transform)
{
    // Mat4d keeps its classification current, so it is never unknown here.
    m_HasUserTransform = transform.GetType() != shr::Mat4d::Identity;
    m_UserTransform = transform;
    m_InverseUserTransform = transform;
    // A singular matrix stays as it is: its inverse is not relied upon.
    (void)m_InverseUserTransform.Inverse();
}

shr::Vec3d VdSpatialData::UVWToXYZ(const shr::Vec3d& uvw) const
{
    return m_HasUserTransform ? uvw * m_UserTransform : uvw;
}

shr::Vec3d VdSpatialData::XYZToUVW(const shr::Vec3d& xyz) const
{
    return m_HasUserTransform ? xyz * m_InverseUserTransform : xyz;
}

shr::Box3d VdSpatialData::UVWToXYZBounds(const shr::Box3d& uvwBounds) const
{
    if (!m_HasUserTransform || uvwBounds.IsEmpty())
        return uvwBounds;
    shr::Vec3d corners[8];
    uvwBounds.GetCorners(corners);
    m_UserTransform.Transform(corners, corners, 8);
    shr::Box3d bounds;
    bounds.BoundPoints(corners, 8);
    return bounds;
}

void VdSpatialData::Serialize(shr::Archive& archive)
{
    VdData::Serialize(archive);
    archive.SyncCheck();
    bool hasTransform = m_HasUserTransform;
    shr::Mat4d forward = m_UserTransform;
    shr::Mat4d inverse = m_InverseUserTransform;
    archive.Transfer(hasTransform);
    archive.Transfer(forward);
    archive.Transfer(inverse);
    if (archive.IsLoading()) {
        m_HasUserTransform = hasTransform;
        m_UserTransform = forward;
        m_InverseUserTransform = inverse;
    }
}

} // namespace core
