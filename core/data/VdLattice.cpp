#include "core/data/VdLattice.h"

#include "core/data/PrimConvert.h"
#include "core/network/CoreError.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace core {

SHR_IMPLEMENT_TYPE(VdLattice, VdVertexData)

namespace {

constexpr double kRangeTolerance = 0.0001;

[[noreturn]] void ThrowError(int line, const char* text)
{
    shr::ThrowSharedError("Core", "VdLattice", line, 0, text);
}

// The node count of dims; error 46 when the data array cannot hold it.
unsigned int CheckedNodeCount(const unsigned int* dims)
{
    const uint64_t count = uint64_t(dims[0]) * dims[1] * dims[2];
    if (count > VdLattice::MaxNodes) {
        g_CoreErrorFile = "VdLattice";
        g_CoreErrorLine = __LINE__;
        ThrowCoreError(46);
    }
    return static_cast<unsigned int>(count);
}

// Node count of one axis of a sub-lattice.
unsigned int SubDim(unsigned int first, unsigned int last, unsigned int step, unsigned int dim)
{
    if (step == 0 || first > last || last >= dim)
        ThrowError(__LINE__, "Invalid lattice range.");
    return (last - first) / step + 1;
}

std::array<unsigned int, 3> SubDims(const unsigned int* first, const unsigned int* last, const unsigned int* step,
                                    const unsigned int* dims)
{
    std::array<unsigned int, 3> sub{};
    for (int axis = 0; axis < 3; ++axis)
        sub[axis] = SubDim(first[axis], last[axis], step[axis], dims[axis]);
    return sub;
}

unsigned int MaskedCount(const std::deque<bool>& mask, unsigned int componentCount)
{
    if (mask.size() != componentCount)
        ThrowError(__LINE__, "Component mask does not match the lattice.");
    return static_cast<unsigned int>(std::count(mask.begin(), mask.end(), true));
}

void MarkBlank(std::bitset<VdLattice::MaxBlankBits>& blanks, unsigned int c)
{
    if (c >= VdLattice::MaxBlankBits)
        ThrowError(__LINE__, "invalid bitset<N> position");
    blanks.set(c);
}

} // namespace

// Half away from zero, then at most dim - 1. A negative that survives rounding
// (or NaN) lands on the last node: the result of wrapping it to a huge
// unsigned number, without that undefined conversion.
unsigned int VdLattice::NearestNode(double x, unsigned int dim)
{
    const double rounded = std::trunc(x < 0 ? x - 0.5 : x + 0.5);
    const double last = dim - 1.0;
    return rounded >= 0.0 && rounded <= last ? static_cast<unsigned int>(rounded) : dim - 1;
}

// At most dim - 2; negatives and NaN land on the last cell, as in NearestNode.
unsigned int VdLattice::LowNode(double x, unsigned int dim)
{
    const double truncated = std::trunc(x);
    const double lastCell = dim - 2.0;
    return truncated >= 0.0 && truncated <= lastCell ? static_cast<unsigned int>(truncated) : dim - 2;
}

bool VdLattice::OutsideAxis(double x, unsigned int dim)
{
    return x < -kRangeTolerance || x > dim - 1.0 + kRangeTolerance;
}

VdLattice::VdLattice(shr::PrimType type, const unsigned int* dims, const void* data, unsigned int componentCount)
    : VdVertexData(type, CheckedNodeCount(dims), componentCount), m_Dims{dims[0], dims[1], dims[2]}
{
    if (data && DataTotalSize() > 0) {
        std::memcpy(DataWritePtr(), data, DataTotalSize());
        DataModified();
    }
}

VdLattice::VdLattice(const VdLattice& source, const std::deque<bool>& componentMask, const SubRange& range)
    : VdLattice(source.DataType(), SubDims(range.first, range.last, range.step, source.m_Dims).data(), nullptr,
                MaskedCount(componentMask, source.ComponentCount()))
{
    const unsigned int size = source.DataComponentSize();
    const unsigned int *first = range.first, *last = range.last, *step = range.step;
    uint32_t target = 0;
    for (unsigned int k = first[2]; k <= last[2]; k += step[2]) {
        for (unsigned int j = first[1]; j <= last[1]; j += step[1]) {
            for (unsigned int i = first[0]; i <= last[0]; i += step[0]) {
                const uint32_t node = source.Index(i, j, k);
                unsigned int c = 0;
                for (unsigned int sc = 0; sc < componentMask.size(); ++sc) {
                    if (!componentMask[sc])
                        continue;
                    std::memcpy(DataArray().GetWritePtr(target, c), source.DataPtr(node, sc), size);
                    if (source.IsBlank(node, sc))
                        SetBlank(target, c);
                    ++c;
                }
                ++target;
            }
        }
    }
    DataModified();
}

VdLattice& VdLattice::operator=(VdLattice&& other) noexcept
{
    if (this != &other) {
        VdSpatialData::operator=(other);
        DataArray().Swap(other.DataArray());
        std::copy(other.m_Dims, other.m_Dims + 3, m_Dims);
    }
    return *this;
}

void VdLattice::CopyUserTransform(const VdLattice& source)
{
    if (source.HasUserTransform())
        SetUserTransform(source.GetUserTransform());
}

void VdLattice::ThrowLatticeError(const char* source, int line, const char* text)
{
    shr::ThrowSharedError("Core", source, line, 0, text);
}

unsigned int VdLattice::GetDimensionality() const
{
    unsigned int flat = 0;
    for (unsigned int dim : m_Dims)
        flat += dim < 2 ? 1 : 0;
    return 3 - flat;
}

void VdLattice::IndexToIJK(uint32_t index, unsigned int& i, unsigned int& j, unsigned int& k) const
{
    const uint32_t layer = m_Dims[0] * m_Dims[1];
    k = index / layer;
    const uint32_t rest = index % layer;
    j = rest / m_Dims[0];
    i = rest % m_Dims[0];
}

void VdLattice::SetBlank(unsigned int i, unsigned int j, unsigned int k)
{
    DataArray().SetBlank(Index(i, j, k));
}

bool VdLattice::IsLayerBlank(unsigned int k, unsigned int c) const
{
    if (m_Dims[1] == 0)
        return true;
    if (!HasBlanks() || k >= m_Dims[2] || c >= ComponentCount())
        return false; // no such layer or component holds no blanks
    for (unsigned int j = 0; j < m_Dims[1]; ++j)
        for (unsigned int i = 0; i < m_Dims[0]; ++i)
            if (!IsBlank(i, j, k, c))
                return false;
    return true;
}

shr::Vec3d VdLattice::IndexToXYZ(uint32_t index) const
{
    unsigned int i, j, k;
    IndexToIJK(index, i, j, k);
    return IJKToXYZ(i, j, k);
}

void VdLattice::GetXYZCoord(uint32_t index, double* xyz) const
{
    const shr::Vec3d p = IndexToXYZ(index);
    xyz[0] = p.x, xyz[1] = p.y, xyz[2] = p.z;
}

shr::GString VdLattice::GetComponentName(unsigned int c) const
{
    return c < ComponentCount() ? shr::ToString("Component %u", c + 1) : shr::GString();
}

unsigned int VdLattice::Interpolate(InterpMethod method, const shr::Vec3d& xyz, double* out, unsigned int first,
                                    unsigned int last) const
{
    std::bitset<MaxBlankBits> blanks;
    return Interpolate(method, xyz, out, first, last, blanks);
}

unsigned int VdLattice::Interpolate(InterpMethod method, const shr::Vec3d& xyz, double* out, unsigned int first,
                                    unsigned int last, std::bitset<MaxBlankBits>& blanks) const
{
    blanks.reset();
    if (!out)
        ThrowError(__LINE__, "Interpolate: the output is null.");
    if (first >= ComponentCount() || last > ComponentCount() || last <= first)
        ThrowError(__LINE__, "Interpolate: invalid component range.");
    if (method < INTERP_NEAREST || method > INTERP_LINEAR_EXTEND)
        ThrowError(__LINE__, "Interpolate: unknown interpolation method.");
    const shr::Vec3d ijk = XYZToIJK(xyz);
    // A lattice without nodes has no value anywhere, whatever the method.
    const bool ranged = method == INTERP_NEAREST || method == INTERP_LINEAR;
    if (DataEmpty() || (ranged && OutsideNodes(ijk))) {
        for (unsigned int c = first; c < last; ++c) {
            out[c - first] = BlankVal;
            MarkBlank(blanks, c);
        }
        return last - first;
    }
    if (method == INTERP_NEAREST || method == INTERP_NEAREST_EXTEND)
        return InterpolateNearest(ijk, out, first, last, blanks);
    return InterpolateLinear(ijk, out, first, last, blanks);
}

bool VdLattice::OutsideNodes(const shr::Vec3d& ijk) const
{
    for (int axis = 0; axis < 3; ++axis)
        if (OutsideAxis(ijk[axis], m_Dims[axis]))
            return true;
    return false;
}

unsigned int VdLattice::InterpolateNearest(const shr::Vec3d& ijk, double* out, unsigned int first,
                                           unsigned int last, std::bitset<MaxBlankBits>& blanks) const
{
    const uint32_t node = Index(NearestNode(ijk.x, m_Dims[0]), NearestNode(ijk.y, m_Dims[1]),
                                NearestNode(ijk.z, m_Dims[2]));
    const VdArrayData* data = DataArray().GetData();
    const uint32_t base = node * ComponentCount();
    unsigned int blankCount = 0;
    for (unsigned int c = first; c < last; ++c) {
        if (IsBlank(node, c)) {
            out[c - first] = BlankVal;
            MarkBlank(blanks, c);
            ++blankCount;
        } else {
            data->GetValue(base + c, out[c - first]);
        }
    }
    return blankCount;
}

unsigned int VdLattice::InterpolateLinear(const shr::Vec3d& ijk, double* out, unsigned int first, unsigned int last,
                                          std::bitset<MaxBlankBits>& blanks) const
{
    unsigned int lo[3], hi[3];
    double f[3];
    for (int axis = 0; axis < 3; ++axis) {
        lo[axis] = m_Dims[axis] == 1 ? 0 : LowNode(ijk[axis], m_Dims[axis]);
        hi[axis] = m_Dims[axis] == 1 ? 0 : lo[axis] + 1;
        f[axis] = ijk[axis] - lo[axis];
    }
    uint32_t nodes[8];
    double weights[8];
    for (unsigned int n = 0; n < 8; ++n) {
        const unsigned int ni = n & 1 ? hi[0] : lo[0];
        const unsigned int nj = n & 2 ? hi[1] : lo[1];
        const unsigned int nk = n & 4 ? hi[2] : lo[2];
        nodes[n] = Index(ni, nj, nk);
        weights[n] = (n & 1 ? f[0] : 1.0 - f[0]) * (n & 2 ? f[1] : 1.0 - f[1]) * (n & 4 ? f[2] : 1.0 - f[2]);
    }
    return DispatchPrimType(DataType(), [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        const Element* values = static_cast<const Element*>(DataPtr());
        const uint32_t stride = ComponentCount();
        unsigned int blankCount = 0;
        for (unsigned int c = first; c < last; ++c) {
            double sum = 0.0;
            bool blank = false;
            for (unsigned int n = 0; n < 8 && !blank; ++n) {
                blank = IsBlank(nodes[n], c);
                sum += weights[n] * PrimConvert<double>(values[uint64_t(nodes[n]) * stride + c]);
            }
            if (blank) {
                out[c - first] = BlankVal;
                MarkBlank(blanks, c);
                ++blankCount;
            } else {
                out[c - first] = sum;
            }
        }
        return blankCount;
    });
}

void VdLattice::TransferFields(shr::Archive& archive)
{
    VdSpatialData::Serialize(archive);
    archive.SyncCheck();
    for (unsigned int& dim : m_Dims)
        archive.Transfer(dim);
    uint32_t componentCount = ComponentCount();
    archive.Transfer(componentCount); // loading: the array brings its own
    DataArray().Serialize(archive);
    if (archive.IsLoading() && DataArray().TupleCount() != uint64_t(m_Dims[0]) * m_Dims[1] * m_Dims[2])
        archive.ThrowFormatError("a lattice of %u x %u x %u nodes holds %llu tuples", m_Dims[0], m_Dims[1], m_Dims[2],
                                 static_cast<unsigned long long>(DataArray().TupleCount()));
}

} // namespace core
