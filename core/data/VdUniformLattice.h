#pragma once
// VdUniformLattice: a lattice with constant node spacing per axis, placed by
// its UVW bounds. Node (i, j, k) lies at uvwBounds.min + (i, j, k) * spacing.
#include "core/data/VdLattice.h"
#include "shr/Box3d.h"
#include "shr/Mat4d.h"

namespace core {

class VdUniformLattice : public VdLatticeKind<VdUniformLattice> {
    SHR_DECLARE_CREATABLE_TYPE(VdUniformLattice)
public:
    // Spacings up to this are treated as none: the axis maps to node 0.
    static constexpr double MinSpacing = 2.220446049250313e-16;

    // No nodes; bounds (0,0,0) to (1,1,1), spacing 0.
    VdUniformLattice();
    VdUniformLattice(const VdUniformLattice& other) = default;
    // Spacing 1 from the origin. A dimension of 0 raises "Invalid target lattice size.".
    VdUniformLattice(shr::PrimType type, const unsigned int* dims, const void* data, unsigned int componentCount);

    VD_DEFINE_VISITABLE(VdUniformLattice, VdLattice)

    unsigned int GetType() const override { return 2; }
    const char* GetTypeName() const override { return "Uniform lattice"; }
    // The lattice part, then the bounds, the XYZ cache and the spacing.
    void Serialize(shr::Archive& archive) override;

    void SetModifiedCoords() override { m_XYZDirty = true; }
    shr::Box3d GetUVWBounds() const override { return m_UVWBounds; }
    shr::Box3d GetXYZBounds() const override;

    shr::PrimType GetCoordType() const override { return shr::Double; }
    // The real form does not clamp.
    shr::Vec3d IJKToUVW(const shr::Vec3d& ijk) const override;
    shr::Vec3d IJKToUVW(unsigned int i, unsigned int j, unsigned int k) const override;
    shr::Vec3d UVWToIJK(const shr::Vec3d& uvw) const override;

    const shr::Vec3d& GetSpacing() const { return m_Spacing; }
    const shr::Box3d& UVWBounds() const { return m_UVWBounds; }
    // Spacing (max - min) / (dim - 1) per axis, 0 on an axis of fewer than two nodes.
    void SetUVWBounds(const shr::Box3d& bounds);
    // IJK to UVW: the spacing on the diagonal (1 for none), the minimum corner as translation.
    shr::Mat4d GetTransform() const;

private:
    friend class VdLattice; // SerializeWhole: TransferFields and the move assignment
    friend class VdLatticeKind<VdUniformLattice>; // Clone: the sub-lattice constructor

    // The bounds run from the first to the last chosen node; a range that is
    // not a whole number of steps stretches the spacing to reach `last`.
    VdUniformLattice(const VdUniformLattice& source, const std::deque<bool>& componentMask, const SubRange& range);
    VdUniformLattice& operator=(VdUniformLattice&& other) = default;

    void TransferFields(shr::Archive& archive);

    shr::Box3d m_UVWBounds;
    mutable bool m_XYZDirty = true;
    mutable shr::Box3d m_XYZBounds;
    shr::Vec3d m_Spacing;
};

} // namespace core
