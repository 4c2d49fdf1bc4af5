#pragma once
// VdLattice: a 1-, 2- or 3-D grid of nodes with one data tuple per node. This
// class holds the topology and the values and everything that can be said
// without knowing where the nodes are; the three kinds (uniform, rectilinear,
// curvilinear) add the node geometry through IJKToUVW and UVWToIJK.
//
// Node (i, j, k) has tuple index (dims[1] * k + j) * dims[0] + i: i fastest.
// A dimension of 1 is a legal flat axis. Blanks are per element of the data
// array; there is no node-level flag.
#include "core/data/VdVertexData.h"
#include "shr/Archive.h"
#include "shr/GString.h"
#include "shr/Vec3.h"

#include <bitset>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

namespace core {

class VdLattice : public VdVertexData {
    SHR_DECLARE_TYPE(VdLattice)
public:
    enum InterpMethod : int {
        INTERP_NEAREST = 0,        // nearest node, the position must lie within the lattice
        INTERP_LINEAR = 1,         // trilinear, the position must lie within the lattice
        INTERP_NEAREST_EXTEND = 2, // nearest node, no range test
        INTERP_LINEAR_EXTEND = 3   // trilinear, no range test
    };

    // Bits of Interpolate's blank set: one per absolute component number.
    static constexpr unsigned int MaxBlankBits = 128;
    // Node count of the largest lattice, as the data array can hold it.
    static constexpr uint64_t MaxNodes = 2147483647;

    VD_DEFINE_VISITABLE(VdLattice, VdVertexData)

    // Double for the uniform and rectilinear kinds.
    virtual shr::PrimType GetCoordType() const = 0;
    virtual shr::Vec3d IJKToUVW(const shr::Vec3d& ijk) const = 0;
    virtual shr::Vec3d IJKToUVW(unsigned int i, unsigned int j, unsigned int k) const = 0;
    virtual shr::Vec3d UVWToIJK(const shr::Vec3d& uvw) const = 0;
    virtual std::unique_ptr<VdLattice> Clone() const = 0;
    // The nodes first, first + step, ... up to last on each axis, and the
    // components whose mask entry is true; the mask has one entry per component.
    virtual std::unique_ptr<VdLattice> Clone(const std::deque<bool>& componentMask, unsigned int iFirst,
                                             unsigned int iLast, unsigned int iStep, unsigned int jFirst,
                                             unsigned int jLast, unsigned int jStep, unsigned int kFirst,
                                             unsigned int kLast, unsigned int kStep) const = 0;

    void GetDims(unsigned int& di, unsigned int& dj, unsigned int& dk) const
    {
        di = m_Dims[0], dj = m_Dims[1], dk = m_Dims[2];
    }
    const unsigned int* GetDims() const { return m_Dims; }
    // 3 minus the number of axes with fewer than two nodes.
    unsigned int GetDimensionality() const;

    uint32_t Index(unsigned int i, unsigned int j, unsigned int k) const { return (m_Dims[1] * k + j) * m_Dims[0] + i; }
    void IndexToIJK(uint32_t index, unsigned int& i, unsigned int& j, unsigned int& k) const;
    bool InRange(unsigned int i, unsigned int j, unsigned int k) const
    {
        return i < m_Dims[0] && j < m_Dims[1] && k < m_Dims[2];
    }
    bool InRange(unsigned int i, unsigned int j, unsigned int k, unsigned int c) const
    {
        return InRange(i, j, k) && c < ComponentCount();
    }

    using VdVertexData::DataPtr;
    const void* DataPtr(unsigned int i, unsigned int j, unsigned int k) const { return DataPtr(Index(i, j, k)); }
    const void* DataPtr(unsigned int i, unsigned int j, unsigned int k, unsigned int c) const
    {
        return DataPtr(Index(i, j, k), c);
    }

    using VdVertexData::IsBlank;
    using VdVertexData::SetBlank;
    bool IsBlank(unsigned int i, unsigned int j, unsigned int k, unsigned int c) const { return IsBlank(Index(i, j, k), c); }
    // Every component of the node.
    void SetBlank(unsigned int i, unsigned int j, unsigned int k);
    void SetBlank(unsigned int i, unsigned int j, unsigned int k, unsigned int c) { SetBlank(Index(i, j, k), c); }
    // Component c of every node of layer k is blank. True for a lattice
    // without rows, false for one without blanks.
    bool IsLayerBlank(unsigned int k, unsigned int c) const;

    shr::Vec3d IJKToXYZ(unsigned int i, unsigned int j, unsigned int k) const { return UVWToXYZ(IJKToUVW(i, j, k)); }
    shr::Vec3d IJKToXYZ(const shr::Vec3d& ijk) const { return UVWToXYZ(IJKToUVW(ijk)); }
    shr::Vec3d XYZToIJK(const shr::Vec3d& xyz) const { return UVWToIJK(XYZToUVW(xyz)); }
    shr::Vec3d IndexToXYZ(uint32_t index) const;
    void GetXYZCoord(uint32_t index, double* xyz) const;

    // "Component n", n counting from 1; empty for a component that does not exist.
    shr::GString GetComponentName(unsigned int c) const;

    // Values of components first to last - 1 at a scene position. A blank
    // result is BlankVal in `out` and bit c in `blanks`; the return value
    // counts them. Methods with a range test give all blanks outside the
    // lattice (0.0001 node units of tolerance). Every corner of a linear
    // interpolation must be non-blank, whatever its weight.
    unsigned int Interpolate(InterpMethod method, const shr::Vec3d& xyz, double* out, unsigned int first,
                             unsigned int last, std::bitset<MaxBlankBits>& blanks) const;
    unsigned int Interpolate(InterpMethod method, const shr::Vec3d& xyz, double* out, unsigned int first,
                             unsigned int last) const;

    // The steps of Interpolate on one axis of `dim` nodes, for callers that
    // sample many positions sharing their coordinate on an axis: the range
    // test of the ranged methods, the nearest node, and the low node of the
    // linear cell (for dim of at least 2).
    static bool OutsideAxis(double ijk, unsigned int dim);
    static unsigned int NearestNode(double ijk, unsigned int dim);
    static unsigned int LowNode(double ijk, unsigned int dim);

protected:
    VdLattice() = default;
    VdLattice(const VdLattice&) = default;
    // Takes the spatial part, the dims and the data array (swapped out of `other`).
    VdLattice& operator=(VdLattice&& other) noexcept;
    // Copies `data`, in the array's memory order, when it is not null.
    VdLattice(shr::PrimType type, const unsigned int* dims, const void* data, unsigned int componentCount);
    // The nodes a sub-lattice takes on each axis: first, first + step, ... up to last.
    struct SubRange {
        unsigned int first[3], last[3], step[3];
    };
    // The sub-lattice of Clone(mask, ...): topology and values; the kinds add geometry.
    VdLattice(const VdLattice& source, const std::deque<bool>& componentMask, const SubRange& range);

    // Storing writes `self` through Kind's TransferFields. Loading reads into a
    // fresh Kind and moves it into `self` only once the whole archive part has
    // been read, so a bad archive leaves `self` as it was. Kind makes this
    // class a friend for its private TransferFields and move assignment.
    template <class Kind>
    static void SerializeWhole(Kind& self, shr::Archive& archive);
    // The spatial part, then dims, the component count and the data array. On
    // loading it writes straight into the members: only for a fresh object.
    void TransferFields(shr::Archive& archive);

    // For the kinds' sub-lattice constructors, once the object is complete.
    void CopyUserTransform(const VdLattice& source);
    // Raises "Core" errors from the lattice sources.
    [[noreturn]] static void ThrowLatticeError(const char* source, int line, const char* text);

private:
    unsigned int InterpolateNearest(const shr::Vec3d& ijk, double* out, unsigned int first, unsigned int last,
                                    std::bitset<MaxBlankBits>& blanks) const;
    unsigned int InterpolateLinear(const shr::Vec3d& ijk, double* out, unsigned int first, unsigned int last,
                                   std::bitset<MaxBlankBits>& blanks) const;
    bool OutsideNodes(const shr::Vec3d& ijk) const;

    unsigned int m_Dims[3] = {0, 0, 0};
};

// The base of each lattice kind: its two Clones, made from the kind's copy
// constructor and its sub-lattice constructor Kind(source, mask, range), which
// the kind opens to this class.
template <class Kind>
class VdLatticeKind : public VdLattice {
public:
    std::unique_ptr<VdLattice> Clone() const override { return std::unique_ptr<VdLattice>(new Kind(Self())); }
    std::unique_ptr<VdLattice> Clone(const std::deque<bool>& componentMask, unsigned int iFirst, unsigned int iLast,
                                     unsigned int iStep, unsigned int jFirst, unsigned int jLast, unsigned int jStep,
                                     unsigned int kFirst, unsigned int kLast, unsigned int kStep) const override
    {
        const SubRange range = {{iFirst, jFirst, kFirst}, {iLast, jLast, kLast}, {iStep, jStep, kStep}};
        return std::unique_ptr<VdLattice>(new Kind(Self(), componentMask, range));
    }

protected:
    using VdLattice::VdLattice;
    VdLatticeKind() = default;
    VdLatticeKind(const VdLatticeKind&) = default;
    VdLatticeKind& operator=(VdLatticeKind&&) = default;

private:
    const Kind& Self() const { return static_cast<const Kind&>(*this); }
};

template <class Kind>
void VdLattice::SerializeWhole(Kind& self, shr::Archive& archive)
{
    if (archive.IsStoring()) {
        self.TransferFields(archive);
        return;
    }
    Kind loaded;
    loaded.TransferFields(archive);
    self = std::move(loaded);
}

} // namespace core
