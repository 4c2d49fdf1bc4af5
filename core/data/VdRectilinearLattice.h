#pragma once
// VdRectilinearLattice: a lattice with one coordinate vector per axis, one
// entry per node, in ascending order (the bounds come from the first and last
// entries, and the position search bisects).
#include "core/data/VdLattice.h"
#include "shr/Box3d.h"

#include <vector>

namespace core {

class VdRectilinearLattice : public VdLatticeKind<VdRectilinearLattice> {
    SHR_DECLARE_CREATABLE_TYPE(VdRectilinearLattice)
public:
    VdRectilinearLattice() = default;
    VdRectilinearLattice(const VdRectilinearLattice& other) = default;
    // A null axis pointer leaves that axis at zeros.
    VdRectilinearLattice(shr::PrimType type, const unsigned int* dims, const void* data, unsigned int componentCount,
                         const double* uCoords, const double* vCoords, const double* wCoords);
    // Each vector holds one entry per node of its axis.
    VdRectilinearLattice(shr::PrimType type, const unsigned int* dims, const void* data, unsigned int componentCount,
                         std::vector<double> uCoords, std::vector<double> vCoords, std::vector<double> wCoords);

    VD_DEFINE_VISITABLE(VdRectilinearLattice, VdLattice)

    unsigned int GetType() const override { return 4; }
    const char* GetTypeName() const override { return "Rectilinear lattice"; }
    // The lattice part, then the three coordinate vectors and the bounds caches.
    void Serialize(shr::Archive& archive) override;

    void SetModifiedCoords() override { m_UVWDirty = m_XYZDirty = true; }
    // The inverted (empty) box while any dimension is 0.
    shr::Box3d GetUVWBounds() const override;
    shr::Box3d GetXYZBounds() const override;

    shr::PrimType GetCoordType() const override { return shr::Double; }
    shr::Vec3d IJKToUVW(const shr::Vec3d& ijk) const override;
    shr::Vec3d IJKToUVW(unsigned int i, unsigned int j, unsigned int k) const override;
    // Minus or plus infinity on an axis whose value lies below or above its coordinates.
    shr::Vec3d UVWToIJK(const shr::Vec3d& uvw) const override;

    using VdLattice::Interpolate;

    const std::vector<double>& GetUCoords() const { return m_Coords[0]; }
    const std::vector<double>& GetVCoords() const { return m_Coords[1]; }
    const std::vector<double>& GetWCoords() const { return m_Coords[2]; }
    // Copies dims[n] values per axis; a null pointer leaves that axis as it is.
    void SetPlanes(const double* uCoords, const double* vCoords, const double* wCoords);

protected:
    // The continuous index of `value` between coords[lo] and coords[hi], by bisection.
    static double Interpolate(const double* coords, unsigned int lo, unsigned int hi, double value);

private:
    friend class VdLattice; // SerializeWhole: TransferFields and the move assignment
    friend class VdLatticeKind<VdRectilinearLattice>; // Clone: the sub-lattice constructor

    VdRectilinearLattice(const VdRectilinearLattice& source, const std::deque<bool>& componentMask,
                         const SubRange& range);
    VdRectilinearLattice& operator=(VdRectilinearLattice&& other) = default;

    void TransferFields(shr::Archive& archive);
    // Index position to coordinate on one axis.
    double AxisCoord(int axis, double index) const;

    // U, V and W, in the stored order.
    std::vector<double> m_Coords[3];
    mutable bool m_UVWDirty = true;
    mutable shr::Box3d m_UVWBounds;
    mutable bool m_XYZDirty = true;
    mutable shr::Box3d m_XYZBounds;
};

} // namespace core
