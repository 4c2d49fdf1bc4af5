#pragma once
// VdSpatialData: a datum with coordinates of its own (UVW, as its source gave
// them) and a place in the scene (XYZ), reached through the user transform.
// IJK, the node index space of a lattice, is the lattices' business.
//
// The inverse transform is kept beside the forward one and stored in archives
// rather than recomputed on reading. While the transform is the identity,
// conversions copy the vector unchanged, so XYZ equals UVW bit for bit.
//
// Subclasses cache their bounds; SetModifiedCoords drops the caches, and
// SetUserTransform calls it itself.
#include "core/data/VdData.h"
#include "shr/Box3d.h"
#include "shr/Mat4d.h"
#include "shr/Vec3.h"

namespace core {

class VdSpatialData : public VdData {
    SHR_DECLARE_TYPE(VdSpatialData)
public:
    VD_DEFINE_VISITABLE(VdSpatialData, VdData)

    // VdData's marker; a marker; has user transform (1 byte); forward matrix; inverse matrix.
    void Serialize(shr::Archive& archive) override;

    // UVW to XYZ; also computes the inverse and drops cached coordinates.
    virtual void SetUserTransform(const shr::Mat4d& transform);
    // To be called by whoever changes coordinates in place.
    virtual void SetModifiedCoords() = 0;
    virtual shr::Box3d GetUVWBounds() const = 0;
    virtual shr::Box3d GetXYZBounds() const = 0;

    const shr::Mat4d& GetUserTransform() const { return m_UserTransform; }
    const shr::Mat4d& GetInverseUserTransform() const { return m_InverseUserTransform; }
    bool HasUserTransform() const { return m_HasUserTransform; }

    shr::Vec3d UVWToXYZ(const shr::Vec3d& uvw) const;
    shr::Vec3d XYZToUVW(const shr::Vec3d& xyz) const;

protected:
    VdSpatialData() = default;
    // As SetUserTransform, without the call to SetModifiedCoords (no subclass
    // is complete yet); an identity leaves the default state untouched.
    explicit VdSpatialData(const shr::Mat4d& transform);
    VdSpatialData(const VdSpatialData&) = default;
    VdSpatialData& operator=(const VdSpatialData&) = default;

    // The box of the eight transformed corners of a UVW box; the box itself
    // without a user transform. An empty box stays empty.
    shr::Box3d UVWToXYZBounds(const shr::Box3d& uvwBounds) const;

private:
    void AssignTransform(const shr::Mat4d& transform);

    shr::Mat4d m_UserTransform;
    shr::Mat4d m_InverseUserTransform;
    bool m_HasUserTransform = false;
};

} // namespace core
