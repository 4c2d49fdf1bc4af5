#include "core/processing/LatticeResampler.h"

#include "core/data/ParallelFor.h"
#include "core/data/PrimConvert.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VbPort.h"
#include "core/processing/ConvertedStore.h"
#include "core/processing/VectorClones.h"
#include "shr/Exception.h"

#include <algorithm>
#include <bitset>
#include <limits>

namespace core {

namespace {

// Interpolate's weighted sum for each node of a stretch of a row: the weight
// of corner n is the product of its x, y and z factors in that order, and the
// terms are added in corner order; corner n of the stretch's node m is
// corners[n][m].
FENRAK_VECTOR_CLONES void CornerSums(const double* const* corners, const double* __restrict fx, double fy,
                                     double fz, double* __restrict sums, unsigned int count)
{
    const double* __restrict c0 = corners[0];
    const double* __restrict c1 = corners[1];
    const double* __restrict c2 = corners[2];
    const double* __restrict c3 = corners[3];
    const double* __restrict c4 = corners[4];
    const double* __restrict c5 = corners[5];
    const double* __restrict c6 = corners[6];
    const double* __restrict c7 = corners[7];
    const double y0 = 1.0 - fy, y1 = fy, z0 = 1.0 - fz, z1 = fz;
    for (unsigned int n = 0; n < count; ++n) {
        const double x0 = 1.0 - fx[n], x1 = fx[n];
        double sum = 0.0;
        sum += x0 * y0 * z0 * c0[n];
        sum += x1 * y0 * z0 * c1[n];
        sum += x0 * y1 * z0 * c2[n];
        sum += x1 * y1 * z0 * c3[n];
        sum += x0 * y0 * z1 * c4[n];
        sum += x1 * y0 * z1 * c5[n];
        sum += x0 * y1 * z1 * c6[n];
        sum += x1 * y1 * z1 * c7[n];
        sums[n] = sum;
    }
}

// One component of an input row taken at the low and high x node of each
// output column of a stretch, as doubles: what the output rows that share
// the input row have in common. Four of them are kept, enough for the four
// input rows of one output row, so that the next output row, which mostly
// reads the same input rows, finds them ready.
template <class T>
class RowExpander {
public:
    struct Row {
        uint64_t start = std::numeric_limits<uint64_t>::max(); // the input row's first node
        unsigned int component = 0;
        unsigned int first = 0, end = 0; // the output columns
        uint64_t use = 0;                // the group that last used it
        std::vector<double> lo, hi;      // by column - first
    };

    RowExpander(const T* in, unsigned int components, const uint32_t* lo, const uint32_t* hi, unsigned int width)
        : m_In(in), m_Components(components), m_Lo(lo), m_Hi(hi)
    {
        for (Row& row : m_Rows) {
            row.lo.resize(width);
            row.hi.resize(width);
        }
    }

    // Starts a group of at most four rows that are needed together.
    void NextGroup() { ++m_Group; }
    // The input row starting at node `start` over the output columns [first,
    // end). It stays until the next group.
    const Row& Get(uint64_t start, unsigned int component, unsigned int first, unsigned int end)
    {
        Row* free = nullptr;
        for (Row& row : m_Rows) {
            if (row.start == start && row.component == component && row.first == first && row.end == end) {
                row.use = m_Group;
                return row;
            }
            if (row.use != m_Group)
                free = &row;
        }
        Fill(*free, start, component, first, end);
        free->use = m_Group;
        return *free;
    }

private:
    void Fill(Row& row, uint64_t start, unsigned int component, unsigned int first, unsigned int end) const
    {
        row.start = start;
        row.component = component;
        row.first = first;
        row.end = end;
        const uint32_t* lows = m_Lo + first;
        const uint32_t* highs = m_Hi + first;
        const unsigned int count = end - first;
        if (m_Components == 1) {
            const T* in = m_In + start;
            for (unsigned int n = 0; n < count; ++n) {
                row.lo[n] = PrimConvert<double>(in[lows[n]]);
                row.hi[n] = PrimConvert<double>(in[highs[n]]);
            }
            return;
        }
        for (unsigned int n = 0; n < count; ++n) {
            row.lo[n] = PrimConvert<double>(m_In[(start + lows[n]) * m_Components + component]);
            row.hi[n] = PrimConvert<double>(m_In[(start + highs[n]) * m_Components + component]);
        }
    }

    const T* m_In;
    unsigned int m_Components;
    const uint32_t* m_Lo;
    const uint32_t* m_Hi;
    uint64_t m_Group = 0;
    Row m_Rows[4];
};

} // namespace

LatticeResampler::LatticeResampler(const VdLattice& input, VdUniformLattice& output, VdLattice::InterpMethod method)
    : m_Input(input), m_Output(output), m_Method(method), m_Components(input.ComponentCount()),
      m_InputBlanks(input.HasBlanks())
{
    if (output.ComponentCount() != m_Components)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "The output lattice does not match the input.");
    BuildCells();
}

// The separable form needs the coordinates of an output node in the input to
// depend on one index each: no transform between the two, and an input whose
// axes are independent. A blank result beyond bit 127 is an error of
// Interpolate's bit set, so such wide lattices keep the per-node form.
void LatticeResampler::BuildCells()
{
    const bool ranged = m_Method == VdLattice::INTERP_NEAREST || m_Method == VdLattice::INTERP_LINEAR;
    const unsigned int kind = m_Input.GetType();
    if (!ranged || (kind != PortUniformLattice && kind != PortRectilinearLattice) || m_Input.HasUserTransform() ||
        m_Output.HasUserTransform() || m_Input.DataType() != m_Output.DataType() || m_Input.DataEmpty() ||
        m_Components > VdLattice::MaxBlankBits)
        return;
    const unsigned int* inDims = m_Input.GetDims();
    const unsigned int* outDims = m_Output.GetDims();
    for (int axis = 0; axis < 3; ++axis) {
        AxisCells& cells = m_Cells[axis];
        const unsigned int count = outDims[axis], dim = inDims[axis];
        cells.lo.resize(count);
        cells.hi.resize(count);
        cells.f.resize(count);
        cells.outside.resize(count);
        for (unsigned int n = 0; n < count; ++n) {
            unsigned int ijk[3] = {0, 0, 0};
            ijk[axis] = n;
            const double x = m_Input.UVWToIJK(m_Output.IJKToUVW(ijk[0], ijk[1], ijk[2]))[axis];
            cells.outside[n] = VdLattice::OutsideAxis(x, dim);
            if (m_Method == VdLattice::INTERP_NEAREST) {
                cells.lo[n] = VdLattice::NearestNode(x, dim);
                continue;
            }
            cells.lo[n] = dim == 1 ? 0 : VdLattice::LowNode(x, dim);
            cells.hi[n] = dim == 1 ? 0 : cells.lo[n] + 1;
            cells.f[n] = x - cells.lo[n];
        }
    }
}

bool LatticeResampler::Run(VbProgress* progress) const
{
    if (m_Components == 0)
        return true;
    // A curvilinear input builds its cell locator on the first search: once,
    // here, rather than by racing workers.
    if (m_Input.GetType() == PortCurvilinearLattice && !m_Input.DataEmpty())
        m_Input.XYZToIJK(m_Output.IJKToXYZ(0, 0, 0));
    const unsigned int count = m_Output.VertexCount();
    const bool completed = ParallelForWithProgress(count, 1u, *this, progress, 0, count, m_Output.DataPtr());
    m_Output.DataModified();
    return completed;
}

void LatticeResampler::operator()(const tbb::blocked_range<unsigned int>& nodes) const
{
    DispatchPrimType(m_Output.DataType(), [&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (Separable())
            SampleRows<T>(nodes.begin(), nodes.end());
        else
            SampleNodes<T>(nodes.begin(), nodes.end());
    });
}

uint64_t LatticeResampler::InputRow(uint32_t j, uint32_t k) const
{
    const unsigned int* dims = m_Input.GetDims();
    return uint64_t(dims[1] * k + j) * dims[0];
}

template <class T>
void LatticeResampler::SampleNodes(unsigned int first, unsigned int end) const
{
    T* out = static_cast<T*>(m_Output.DataWritePtr());
    std::vector<double> values(m_Components);
    std::bitset<VdLattice::MaxBlankBits> blanks;
    for (uint32_t node = first; node < end; ++node) {
        unsigned int i, j, k;
        m_Output.IndexToIJK(node, i, j, k);
        const unsigned int blankCount =
            m_Input.Interpolate(m_Method, m_Output.IJKToXYZ(i, j, k), values.data(), 0, m_Components, blanks);
        StoreTuple(out, node, values.data(), blankCount);
    }
}

template <class T>
void LatticeResampler::SampleRows(unsigned int first, unsigned int end) const
{
    const unsigned int columns = m_Output.GetDims()[0];
    const bool linear = m_Method == VdLattice::INTERP_LINEAR;
    RowExpander<T> expander(static_cast<const T*>(m_Input.DataPtr()), m_Components, m_Cells[0].lo.data(),
                            m_Cells[0].hi.data(), linear && !m_InputBlanks ? columns : 0);
    for (uint32_t node = first; node < end;) {
        unsigned int i, j, k;
        m_Output.IndexToIJK(node, i, j, k);
        const unsigned int iEnd = static_cast<unsigned int>(std::min<uint64_t>(uint64_t(i) + (end - node), columns));
        if (!linear)
            m_InputBlanks ? NearestRow<T, true>(node, i, iEnd, j, k) : NearestRow<T, false>(node, i, iEnd, j, k);
        else if (m_InputBlanks)
            LinearRow<T, true>(node, i, iEnd, j, k);
        else
            LinearRowWithoutBlanks<T>(expander, node, i, iEnd, j, k);
        node += iEnd - i;
    }
}

// Interpolate's linear step for the nodes i to iEnd - 1 of row (j, k): the
// corners and weights in its order, every corner tested for blanks.
template <class T, bool Blanks>
void LatticeResampler::LinearRow(uint32_t node, unsigned int i, unsigned int iEnd, unsigned int j,
                                 unsigned int k) const
{
    const T* in = static_cast<const T*>(m_Input.DataPtr());
    T* out = static_cast<T*>(m_Output.DataWritePtr());
    const unsigned int components = m_Components;
    const AxisCells& x = m_Cells[0];
    const AxisCells& y = m_Cells[1];
    const AxisCells& z = m_Cells[2];
    // The first node of the rows of the corner pairs (j lo, k lo), (j hi, k lo), (j lo, k hi), (j hi, k hi).
    const uint64_t rows[4] = {InputRow(y.lo[j], z.lo[k]), InputRow(y.hi[j], z.lo[k]), InputRow(y.lo[j], z.hi[k]),
                              InputRow(y.hi[j], z.hi[k])};
    const double fy = y.f[j], fz = z.f[k];
    const bool rowOutside = y.outside[j] || z.outside[k];
    double values[VdLattice::MaxBlankBits];
    for (; i < iEnd; ++i, ++node) {
        if (rowOutside || x.outside[i]) {
            StoreBlankTuple(node);
            continue;
        }
        const double fx = x.f[i];
        const double weights[8] = {(1.0 - fx) * (1.0 - fy) * (1.0 - fz), fx * (1.0 - fy) * (1.0 - fz),
                                   (1.0 - fx) * fy * (1.0 - fz),         fx * fy * (1.0 - fz),
                                   (1.0 - fx) * (1.0 - fy) * fz,         fx * (1.0 - fy) * fz,
                                   (1.0 - fx) * fy * fz,                 fx * fy * fz};
        const uint64_t corners[8] = {rows[0] + x.lo[i], rows[0] + x.hi[i], rows[1] + x.lo[i], rows[1] + x.hi[i],
                                     rows[2] + x.lo[i], rows[2] + x.hi[i], rows[3] + x.lo[i], rows[3] + x.hi[i]};
        unsigned int blankCount = 0;
        for (unsigned int c = 0; c < components; ++c) {
            bool blank = false;
            for (int n = 0; Blanks && n < 8 && !blank; ++n)
                blank = m_Input.IsBlank(static_cast<unsigned int>(corners[n]), c);
            if (blank) {
                values[c] = VdVertexData::BlankVal;
                ++blankCount;
                continue;
            }
            double sum = 0.0;
            for (int n = 0; n < 8; ++n)
                sum += weights[n] * PrimConvert<double>(in[corners[n] * components + c]);
            values[c] = sum;
        }
        StoreTuple(out, node, values, blankCount);
    }
}

// The same without blanks in the input, for speed: the corner values come
// from the expanded input rows, and the weighted sums, still in
// Interpolate's order for each node, run over plain arrays several nodes at
// a time. A node outside is left at 0 and blanked, as Interpolate's blank
// results are.
template <class T, class Expander>
void LatticeResampler::LinearRowWithoutBlanks(Expander& expander, uint32_t node, unsigned int i, unsigned int iEnd,
                                              unsigned int j, unsigned int k) const
{
    const AxisCells& x = m_Cells[0];
    const AxisCells& y = m_Cells[1];
    const AxisCells& z = m_Cells[2];
    if (y.outside[j] || z.outside[k]) {
        for (; i < iEnd; ++i, ++node)
            StoreBlankTuple(node);
        return;
    }
    T* out = static_cast<T*>(m_Output.DataWritePtr()) + uint64_t(node) * m_Components;
    const uint64_t rows[4] = {InputRow(y.lo[j], z.lo[k]), InputRow(y.hi[j], z.lo[k]), InputRow(y.lo[j], z.hi[k]),
                              InputRow(y.hi[j], z.hi[k])};
    const unsigned int count = iEnd - i;
    std::vector<double> sums(count);
    for (unsigned int c = 0; c < m_Components; ++c) {
        expander.NextGroup();
        const double* corners[8];
        for (int r = 0; r < 4; ++r) {
            const auto& row = expander.Get(rows[r], c, i, iEnd);
            corners[2 * r] = row.lo.data();
            corners[2 * r + 1] = row.hi.data();
        }
        CornerSums(corners, x.f.data() + i, y.f[j], z.f[k], sums.data(), count);
        StoreConverted(out + c, m_Components, sums.data(), count);
    }
    for (unsigned int n = 0; n < count; ++n)
        if (x.outside[i + n]) {
            std::fill_n(out + uint64_t(n) * m_Components, m_Components, T(0));
            StoreBlankTuple(node + n);
        }
}

template <class T, bool Blanks>
void LatticeResampler::NearestRow(uint32_t node, unsigned int i, unsigned int iEnd, unsigned int j,
                                  unsigned int k) const
{
    const T* in = static_cast<const T*>(m_Input.DataPtr());
    T* out = static_cast<T*>(m_Output.DataWritePtr());
    const unsigned int components = m_Components;
    const AxisCells& x = m_Cells[0];
    const uint64_t row = InputRow(m_Cells[1].lo[j], m_Cells[2].lo[k]);
    const bool rowOutside = m_Cells[1].outside[j] || m_Cells[2].outside[k];
    double values[VdLattice::MaxBlankBits];
    for (; i < iEnd; ++i, ++node) {
        if (rowOutside || x.outside[i]) {
            StoreBlankTuple(node);
            continue;
        }
        const uint64_t source = row + x.lo[i];
        unsigned int blankCount = 0;
        for (unsigned int c = 0; c < components; ++c) {
            if (Blanks && m_Input.IsBlank(static_cast<unsigned int>(source), c)) {
                values[c] = VdVertexData::BlankVal;
                ++blankCount;
            } else {
                values[c] = PrimConvert<double>(in[source * components + c]);
            }
        }
        StoreTuple(out, node, values, blankCount);
    }
}

// A tuple without blank results is written whole. Otherwise each element
// that holds the blank value is blanked, also one that a blank-free
// component happened to compute; the output is fresh, so the others need no
// unblanking.
template <class T>
void LatticeResampler::StoreTuple(T* out, uint32_t node, const double* values, unsigned int blankCount) const
{
    T* tuple = out + uint64_t(node) * m_Components;
    for (unsigned int c = 0; c < m_Components; ++c) {
        if (blankCount != 0 && values[c] == VdVertexData::BlankVal)
            m_Output.SetBlank(node, c);
        else
            tuple[c] = PrimConvert<T>(values[c]);
    }
}

void LatticeResampler::StoreBlankTuple(uint32_t node) const
{
    for (unsigned int c = 0; c < m_Components; ++c)
        m_Output.SetBlank(node, c);
}

} // namespace core
