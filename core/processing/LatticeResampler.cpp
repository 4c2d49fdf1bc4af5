#include "core/processing/LatticeResampler.h"

#include "core/data/PrimConvert.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VbPort.h"
#include "core/processing/ConvertedStore.h"
#include "core/processing/ParallelNodes.h"
#include "shr/Exception.h"

#include <algorithm>
#include <bitset>

namespace core {

namespace {

// Nodes of a row taken together by the blank-free linear form.
constexpr unsigned int kRun = 128;

// The corner values of a run of nodes, corner n of node m in corners[n][m]
// in Interpolate's corner order, their x fractions, and the sums.
struct CornerRun {
    double corners[8][kRun];
    double fx[kRun];
    double sums[kRun];
};

// Component c of the two x corners of each node in the four rows.
template <class T, class Cell>
inline void GatherCorners(const T* in, const uint64_t* rows, const Cell* cells, unsigned int count,
                          unsigned int components, unsigned int c, CornerRun& run)
{
    for (unsigned int n = 0; n < count; ++n) {
        const uint64_t lo = cells[n].lo, hi = cells[n].hi;
        for (int r = 0; r < 4; ++r) {
            run.corners[2 * r][n] = PrimConvert<double>(in[(rows[r] + lo) * components + c]);
            run.corners[2 * r + 1][n] = PrimConvert<double>(in[(rows[r] + hi) * components + c]);
        }
    }
}

// Interpolate's weighted sum for each node of the run: the weight of corner
// n is the product of its x, y and z factors in that order, and the terms
// are added in corner order. Compiled also for AVX2 (without fused
// multiply-add), which gives the same numbers four nodes at a time.
__attribute__((target_clones("avx2", "default"))) void CornerSums(CornerRun& run, double fy, double fz,
                                                                   unsigned int count)
{
    const double y0 = 1.0 - fy, y1 = fy, z0 = 1.0 - fz, z1 = fz;
    for (unsigned int n = 0; n < count; ++n) {
        const double x0 = 1.0 - run.fx[n], x1 = run.fx[n];
        double sum = 0.0;
        sum += x0 * y0 * z0 * run.corners[0][n];
        sum += x1 * y0 * z0 * run.corners[1][n];
        sum += x0 * y1 * z0 * run.corners[2][n];
        sum += x1 * y1 * z0 * run.corners[3][n];
        sum += x0 * y0 * z1 * run.corners[4][n];
        sum += x1 * y0 * z1 * run.corners[5][n];
        sum += x0 * y1 * z1 * run.corners[6][n];
        sum += x1 * y1 * z1 * run.corners[7][n];
        run.sums[n] = sum;
    }
}

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
        std::vector<AxisCell>& cells = m_Cells[axis];
        cells.resize(outDims[axis]);
        const unsigned int dim = inDims[axis];
        for (unsigned int n = 0; n < outDims[axis]; ++n) {
            unsigned int ijk[3] = {0, 0, 0};
            ijk[axis] = n;
            const double x = m_Input.UVWToIJK(m_Output.IJKToUVW(ijk[0], ijk[1], ijk[2]))[axis];
            AxisCell& cell = cells[n];
            cell.outside = VdLattice::OutsideAxis(x, dim);
            if (m_Method == VdLattice::INTERP_NEAREST) {
                cell.lo = VdLattice::NearestNode(x, dim);
                continue;
            }
            cell.lo = dim == 1 ? 0 : VdLattice::LowNode(x, dim);
            cell.hi = dim == 1 ? 0 : cell.lo + 1;
            cell.f = x - cell.lo;
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
    const bool completed = ParallelNodes(m_Output.VertexCount(), *this, progress);
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
    for (uint32_t node = first; node < end;) {
        unsigned int i, j, k;
        m_Output.IndexToIJK(node, i, j, k);
        const unsigned int iEnd = static_cast<unsigned int>(std::min<uint64_t>(uint64_t(i) + (end - node), columns));
        if (m_Method == VdLattice::INTERP_NEAREST)
            m_InputBlanks ? NearestRow<T, true>(node, i, iEnd, j, k) : NearestRow<T, false>(node, i, iEnd, j, k);
        else
            m_InputBlanks ? LinearRow<T, true>(node, i, iEnd, j, k) : LinearRowWithoutBlanks<T>(node, i, iEnd, j, k);
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
    const unsigned int* dims = m_Input.GetDims();
    const unsigned int components = m_Components;
    const AxisCell& cy = m_Cells[1][j];
    const AxisCell& cz = m_Cells[2][k];
    // The first node of the rows of the corner pairs (j lo, k lo), (j hi, k lo), (j lo, k hi), (j hi, k hi).
    const uint32_t rows[4] = {(dims[1] * cz.lo + cy.lo) * dims[0], (dims[1] * cz.lo + cy.hi) * dims[0],
                              (dims[1] * cz.hi + cy.lo) * dims[0], (dims[1] * cz.hi + cy.hi) * dims[0]};
    const double fy = cy.f, fz = cz.f;
    double values[VdLattice::MaxBlankBits];
    for (; i < iEnd; ++i, ++node) {
        const AxisCell& cx = m_Cells[0][i];
        if (cx.outside || cy.outside || cz.outside) {
            StoreBlankTuple(node);
            continue;
        }
        const double fx = cx.f;
        const double weights[8] = {(1.0 - fx) * (1.0 - fy) * (1.0 - fz), fx * (1.0 - fy) * (1.0 - fz),
                                   (1.0 - fx) * fy * (1.0 - fz),         fx * fy * (1.0 - fz),
                                   (1.0 - fx) * (1.0 - fy) * fz,         fx * (1.0 - fy) * fz,
                                   (1.0 - fx) * fy * fz,                 fx * fy * fz};
        const uint32_t corners[8] = {rows[0] + cx.lo, rows[0] + cx.hi, rows[1] + cx.lo, rows[1] + cx.hi,
                                     rows[2] + cx.lo, rows[2] + cx.hi, rows[3] + cx.lo, rows[3] + cx.hi};
        unsigned int blankCount = 0;
        for (unsigned int c = 0; c < components; ++c) {
            bool blank = false;
            for (int n = 0; Blanks && n < 8 && !blank; ++n)
                blank = m_Input.IsBlank(corners[n], c);
            if (blank) {
                values[c] = VdVertexData::BlankVal;
                ++blankCount;
                continue;
            }
            double sum = 0.0;
            for (int n = 0; n < 8; ++n)
                sum += weights[n] * PrimConvert<double>(in[uint64_t(corners[n]) * components + c]);
            values[c] = sum;
        }
        StoreTuple(out, node, values, blankCount);
    }
}

// The same without blanks in the input, for speed: the eight corner values of
// a run of nodes are gathered into columns of doubles first, so that the
// weighted sums, still in Interpolate's order for each node, run over plain
// arrays and several nodes at a time. A node outside is left at 0 and
// blanked, as Interpolate's blank results are.
template <class T>
void LatticeResampler::LinearRowWithoutBlanks(uint32_t node, unsigned int i, unsigned int iEnd, unsigned int j,
                                              unsigned int k) const
{
    const AxisCell& cy = m_Cells[1][j];
    const AxisCell& cz = m_Cells[2][k];
    if (cy.outside || cz.outside) {
        for (; i < iEnd; ++i, ++node)
            StoreBlankTuple(node);
        return;
    }
    const T* in = static_cast<const T*>(m_Input.DataPtr());
    T* out = static_cast<T*>(m_Output.DataWritePtr());
    const unsigned int* dims = m_Input.GetDims();
    const unsigned int components = m_Components;
    const uint64_t rows[4] = {uint64_t(dims[1] * cz.lo + cy.lo) * dims[0], uint64_t(dims[1] * cz.lo + cy.hi) * dims[0],
                              uint64_t(dims[1] * cz.hi + cy.lo) * dims[0], uint64_t(dims[1] * cz.hi + cy.hi) * dims[0]};
    const AxisCell* cells = m_Cells[0].data();
    CornerRun run;
    for (; i < iEnd; i += kRun, node += kRun) {
        const unsigned int count = std::min(kRun, iEnd - i);
        for (unsigned int n = 0; n < count; ++n)
            run.fx[n] = cells[i + n].f;
        for (unsigned int c = 0; c < components; ++c) {
            if (components == 1)
                GatherCorners(in, rows, cells + i, count, 1, 0, run);
            else
                GatherCorners(in, rows, cells + i, count, components, c, run);
            CornerSums(run, cy.f, cz.f, count);
            StoreConverted(out + uint64_t(node) * components + c, components, run.sums, count);
        }
        for (unsigned int n = 0; n < count; ++n)
            if (cells[i + n].outside) {
                std::fill_n(out + uint64_t(node + n) * components, components, T(0));
                StoreBlankTuple(node + n);
            }
    }
}

template <class T, bool Blanks>
void LatticeResampler::NearestRow(uint32_t node, unsigned int i, unsigned int iEnd, unsigned int j,
                                  unsigned int k) const
{
    const T* in = static_cast<const T*>(m_Input.DataPtr());
    T* out = static_cast<T*>(m_Output.DataWritePtr());
    const unsigned int* dims = m_Input.GetDims();
    const unsigned int components = m_Components;
    const AxisCell& cy = m_Cells[1][j];
    const AxisCell& cz = m_Cells[2][k];
    const uint32_t row = (dims[1] * cz.lo + cy.lo) * dims[0];
    double values[VdLattice::MaxBlankBits];
    for (; i < iEnd; ++i, ++node) {
        const AxisCell& cx = m_Cells[0][i];
        if (cx.outside || cy.outside || cz.outside) {
            StoreBlankTuple(node);
            continue;
        }
        const uint32_t source = row + cx.lo;
        unsigned int blankCount = 0;
        for (unsigned int c = 0; c < components; ++c) {
            if (Blanks && m_Input.IsBlank(source, c)) {
                values[c] = VdVertexData::BlankVal;
                ++blankCount;
            } else {
                values[c] = PrimConvert<double>(in[uint64_t(source) * components + c]);
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
