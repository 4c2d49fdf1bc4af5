#pragma once
// VdCurvilinearLattice: a lattice with a UVW position per node, held in a
// three-component array of any primitive type. Going from a position to
// continuous node coordinates is a search through a CellLocator, built on
// first use and dropped by SetModifiedCoords.
//
// Only a fully 3-D lattice can locate positions: on a flat one UVWToIJK
// always gives (-1, -1, -1).
#include "core/data/CellLocator.h"
#include "core/data/VdArray.h"
#include "core/data/VdLattice.h"
#include "shr/Box3d.h"

namespace core {

class VdCurvilinearLattice : public VdLatticeKind<VdCurvilinearLattice>, private CellLocator::NodeSource {
    SHR_DECLARE_CREATABLE_TYPE(VdCurvilinearLattice)
public:
    VdCurvilinearLattice() = default;
    // Copies the bounds caches; the locator starts empty.
    VdCurvilinearLattice(const VdCurvilinearLattice& other);
    // `coords` holds three values per node in node order; null leaves them zero.
    VdCurvilinearLattice(shr::PrimType coordType, shr::PrimType dataType, const unsigned int* dims,
                         const void* coords, const void* data, unsigned int componentCount);

    VD_DEFINE_VISITABLE(VdCurvilinearLattice, VdLattice)

    unsigned int GetType() const override { return 8; }
    const char* GetTypeName() const override { return "Curvilinear lattice"; }
    // The lattice part, the coordinate array and the bounds caches; never the locator.
    void Serialize(shr::Archive& archive) override;

    // Drops the bounds caches and the locator, and marks the coordinates modified.
    void SetModifiedCoords() override;
    shr::Box3d GetUVWBounds() const override;
    // Transforms every node, so it costs a pass over the lattice once per change.
    shr::Box3d GetXYZBounds() const override;

    shr::PrimType GetCoordType() const override { return m_Coords.ComponentType(); }
    shr::Vec3d IJKToUVW(const shr::Vec3d& ijk) const override;
    shr::Vec3d IJKToUVW(unsigned int i, unsigned int j, unsigned int k) const override;
    // (-1, -1, -1) for a position in no cell.
    shr::Vec3d UVWToIJK(const shr::Vec3d& uvw) const override;

    const VdArray& GetCoords() const { return m_Coords; }
    const void* GetCoordPtr() const { return m_Coords.GetReadPtr(); }
    const void* GetCoordPtr(unsigned int node) const { return m_Coords.GetReadPtr(node); }
    unsigned int GetCoordComponentSize() const { return m_Coords.ComponentSize(); }
    uint64_t GetCoordTupleSize() const { return m_Coords.TupleSize(); }
    uint64_t GetCoordTotalSize() const { return m_Coords.TotalSize(); }
    const CellLocator& GetLocator() const { return m_Locator; }

private:
    friend class VdLattice; // SerializeWhole: TransferFields and the move assignment
    friend class VdLatticeKind<VdCurvilinearLattice>; // Clone: the sub-lattice constructor

    VdCurvilinearLattice(const VdCurvilinearLattice& source, const std::deque<bool>& componentMask,
                         const SubRange& range);
    // The locator is dropped (CellLocator's assignment clears it), never taken.
    VdCurvilinearLattice& operator=(VdCurvilinearLattice&& other) = default;

    void TransferFields(shr::Archive& archive);
    void* CoordWritePtr() { return m_Coords.GetWritePtr(); }
    shr::Vec3d NodeUVW(uint32_t node) const;

    // What the locator reads.
    const unsigned int* NodeDims() const override { return GetDims(); }
    shr::Box3d NodeBounds() const override { return GetUVWBounds(); }
    void ReadNodes(uint32_t first, uint32_t count, shr::Vec3d* out) const override;
    void ReadCellCorners(uint32_t i, uint32_t j, uint32_t k, shr::Vec3d corners[8]) const override;

    VdArray m_Coords;
    mutable bool m_UVWDirty = true;
    mutable shr::Box3d m_UVWBounds;
    mutable bool m_XYZDirty = true;
    mutable shr::Box3d m_XYZBounds;
    CellLocator m_Locator;
};

} // namespace core
