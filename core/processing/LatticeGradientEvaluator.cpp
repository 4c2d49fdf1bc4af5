#include "core/processing/LatticeGradientEvaluator.h"

#include "core/data/LatticeUtility.h"
#include "core/data/ParallelFor.h"
#include "core/data/PrimConvert.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VbPort.h"
#include "core/processing/ConvertedStore.h"
#include "core/processing/VectorClones.h"
#include "shr/Exception.h"
#include "shr/LeastSquares.h"
#include "shr/RMatrix.h"

#include <algorithm>

namespace core {

namespace {

// The node and its face neighbours on the three axes, as index offsets.
constexpr int kStencil[7][3] = {{0, 0, 0}, {-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
// The fewest points that fix a plane in three dimensions.
constexpr size_t kMinFitPoints = 4;

[[noreturn]] void ThrowMismatch(int line)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "The gradient lattice does not match the input.");
}

// Nodes of a row differenced together.
constexpr unsigned int kRun = 256;

// The differences of a run of nodes along the three axes, each node's divisor
// along x, and the quotients, three per node as the output holds them.
struct DifferenceRun {
    double differences[3][kRun];
    double divisors[kRun];
    double quotients[3 * kRun];
};

// Along x by each node's divisor, along y and z by the row's.
FENRAK_VECTOR_CLONES void Quotients(DifferenceRun& run, double yDivisor, double zDivisor, unsigned int count)
{
    for (unsigned int n = 0; n < count; ++n) {
        run.quotients[3 * n] = run.differences[0][n] / run.divisors[n];
        run.quotients[3 * n + 1] = run.differences[1][n] / yDivisor;
        run.quotients[3 * n + 2] = run.differences[2][n] / zDivisor;
    }
}

} // namespace

LatticeGradientEvaluator::LatticeGradientEvaluator(const VdLattice& input, unsigned int component, VdLattice& output)
    : m_Input(input), m_Component(component), m_Output(output),
      m_Curvilinear(input.GetType() == PortCurvilinearLattice), m_Blanks(input.HasBlanks())
{
    if (component >= input.ComponentCount())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Component index out of range.");
    if (output.ComponentCount() != 3 || (output.DataType() != shr::Float && output.DataType() != shr::Double) ||
        !std::equal(input.GetDims(), input.GetDims() + 3, output.GetDims()))
        ThrowMismatch(__LINE__);
    if (const auto* uniform = dynamic_cast<const VdUniformLattice*>(&input)) {
        m_Spacing = uniform->GetSpacing();
    } else if (const auto* rectilinear = dynamic_cast<const VdRectilinearLattice*>(&input)) {
        m_Coords[0] = &rectilinear->GetUCoords();
        m_Coords[1] = &rectilinear->GetVCoords();
        m_Coords[2] = &rectilinear->GetWCoords();
    } else if (!m_Curvilinear) {
        ThrowMismatch(__LINE__);
    }
    if (m_Curvilinear)
        return;
    for (int axis = 0; axis < 3; ++axis) {
        const unsigned int dim = input.GetDims()[axis];
        m_Steps[axis].resize(dim);
        for (unsigned int n = 0; n < dim; ++n) {
            AxisStep& step = m_Steps[axis][n];
            step.lo = n == 0 ? n : n - 1;
            step.hi = n + 1 < dim ? n + 1 : n;
            // An axis of one node has no divisor; 1 keeps the blank-free loop from dividing by 0.
            step.divisor = step.lo != step.hi ? Divisor(axis, step.lo, step.hi) : 1.0;
        }
    }
}

double LatticeGradientEvaluator::Divisor(int axis, unsigned int lo, unsigned int hi) const
{
    if (m_Coords[axis])
        return (*m_Coords[axis])[hi] - (*m_Coords[axis])[lo];
    return (hi - lo) * m_Spacing[axis];
}

bool LatticeGradientEvaluator::Run(VbProgress* progress) const
{
    const unsigned int count = m_Output.VertexCount();
    const bool completed = ParallelForWithProgress(count, 1u, *this, progress, 0, count, m_Output.DataPtr());
    m_Output.DataModified();
    return completed;
}

void LatticeGradientEvaluator::operator()(const tbb::blocked_range<unsigned int>& nodes) const
{
    const auto run = [&](auto outputTag) {
        using O = decltype(outputTag);
        if (m_Curvilinear) {
            CurvilinearNodes<O>(nodes.begin(), nodes.end());
            return;
        }
        DispatchPrimType(m_Input.DataType(), [&](auto tag) {
            using T = typename decltype(tag)::Type;
            if (m_Blanks)
                AxisAlignedNodesWithBlanks<T, O>(nodes.begin(), nodes.end());
            else
                AxisAlignedRows<T, O>(nodes.begin(), nodes.end());
        });
    };
    if (m_Output.DataType() == shr::Double)
        run(double());
    else
        run(float());
}

// Without blanks each node's neighbours follow from its indices alone: the
// steps of the row's j and k hold for the whole row, and inside the row the
// x neighbours are the nodes on either side. The differences of a run of
// nodes are taken first, then divided all together.
template <class T, class O>
void LatticeGradientEvaluator::AxisAlignedRows(unsigned int first, unsigned int end) const
{
    const T* in = static_cast<const T*>(m_Input.DataPtr());
    O* out = static_cast<O*>(m_Output.DataWritePtr());
    const unsigned int stride = m_Input.ComponentCount();
    const unsigned int component = m_Component;
    const auto value = [&](uint64_t node) { return PrimConvert<double>(in[node * stride + component]); };
    const unsigned int nx = m_Input.GetDims()[0], ny = m_Input.GetDims()[1];
    DifferenceRun run;
    for (uint32_t node = first; node < end;) {
        unsigned int i, j, k;
        m_Input.IndexToIJK(node, i, j, k);
        const unsigned int iEnd = static_cast<unsigned int>(std::min<uint64_t>(uint64_t(i) + (end - node), nx));
        const AxisStep& sy = m_Steps[1][j];
        const AxisStep& sz = m_Steps[2][k];
        const bool valid[3] = {nx > 1, sy.lo != sy.hi, sz.lo != sz.hi};
        const uint64_t row = node - i;
        const uint64_t rowLoY = uint64_t(ny * k + sy.lo) * nx, rowHiY = uint64_t(ny * k + sy.hi) * nx;
        const uint64_t rowLoZ = uint64_t(ny * sz.lo + j) * nx, rowHiZ = uint64_t(ny * sz.hi + j) * nx;
        for (unsigned int count = 0; i < iEnd; i += count, node += count) {
            count = std::min(kRun, iEnd - i);
            for (unsigned int n = 0; n < count; ++n) {
                const AxisStep& sx = m_Steps[0][i + n];
                run.differences[0][n] = value(row + sx.hi) - value(row + sx.lo);
                run.divisors[n] = sx.divisor;
            }
            for (unsigned int n = 0; n < count; ++n)
                run.differences[1][n] = value(rowHiY + i + n) - value(rowLoY + i + n);
            for (unsigned int n = 0; n < count; ++n)
                run.differences[2][n] = value(rowHiZ + i + n) - value(rowLoZ + i + n);
            // An axis without a second node differences the node with itself
            // over a divisor of 1; its quotients are then replaced by the 0
            // that a blank holds (an infinite value would leave NaN).
            Quotients(run, sy.divisor, sz.divisor, count);
            StoreConverted(out + uint64_t(node) * 3, 1, run.quotients, 3 * count);
            for (int axis = 0; axis < 3; ++axis)
                for (unsigned int n = 0; !valid[axis] && n < count; ++n)
                    Store(out, node + n, axis, false, 0.0);
        }
    }
}

// Per axis: the lower neighbour unless the node is the first or that
// neighbour is blank, in which case the node itself; the same above. Two
// distinct nodes, both valid, give the difference; anything else a blank,
// so a node between two blanks has none.
template <class T, class O>
void LatticeGradientEvaluator::AxisAlignedNodesWithBlanks(unsigned int first, unsigned int end) const
{
    const T* in = static_cast<const T*>(m_Input.DataPtr());
    O* out = static_cast<O*>(m_Output.DataWritePtr());
    const unsigned int stride = m_Input.ComponentCount();
    const unsigned int* dims = m_Input.GetDims();
    const uint32_t steps[3] = {1, dims[0], dims[0] * dims[1]};
    const auto blank = [&](uint32_t node) { return m_Input.IsBlank(node, m_Component); };
    const auto value = [&](uint32_t node) { return PrimConvert<double>(in[uint64_t(node) * stride + m_Component]); };
    for (uint32_t node = first; node < end; ++node) {
        unsigned int index[3];
        m_Input.IndexToIJK(node, index[0], index[1], index[2]);
        for (int axis = 0; axis < 3; ++axis) {
            const unsigned int n = index[axis];
            const uint32_t step = steps[axis];
            const unsigned int lo = n == 0 || blank(node - step) ? n : n - 1;
            const unsigned int hi = n + 1 >= dims[axis] || blank(node + step) ? n : n + 1;
            const uint32_t loNode = node - (n - lo) * step, hiNode = node + (hi - n) * step;
            const bool valid = lo != hi && !blank(loNode) && !blank(hiNode);
            Store(out, node, axis, valid, valid ? (value(hiNode) - value(loNode)) / Divisor(axis, lo, hi) : 0.0);
        }
    }
}

template <class O>
void LatticeGradientEvaluator::CurvilinearNodes(unsigned int first, unsigned int end) const
{
    O* out = static_cast<O*>(m_Output.DataWritePtr());
    const unsigned int* dims = m_Input.GetDims();
    shr::RMatrix a;
    shr::RVector values, solution;
    shr::Vec3d points[7];
    double pointValues[7];
    for (uint32_t node = first; node < end; ++node) {
        unsigned int index[3];
        m_Input.IndexToIJK(node, index[0], index[1], index[2]);
        const shr::Vec3d origin = m_Input.IJKToUVW(index[0], index[1], index[2]);
        size_t count = 0;
        for (const int* offset : kStencil) {
            unsigned int at[3];
            bool inside = true;
            for (int axis = 0; axis < 3; ++axis) {
                at[axis] = index[axis] + offset[axis]; // wraps below 0, and is then out of range
                inside = inside && at[axis] < dims[axis];
            }
            if (!inside)
                continue;
            const uint32_t neighbour = m_Input.Index(at[0], at[1], at[2]);
            if (m_Input.IsBlank(neighbour, m_Component))
                continue;
            points[count] = m_Input.IJKToUVW(at[0], at[1], at[2]) - origin;
            pointValues[count++] = NodeValue(m_Input, neighbour, m_Component);
        }
        bool fitted = count >= kMinFitPoints;
        if (fitted) {
            a.Resize(count, 4);
            values.Resize(count);
            for (size_t p = 0; p < count; ++p) {
                a(p, 0) = points[p].x;
                a(p, 1) = points[p].y;
                a(p, 2) = points[p].z;
                a(p, 3) = 1.0;
                values[p] = pointValues[p];
            }
            fitted = shr::MGSLeastSquares(a, solution, values);
        }
        for (int axis = 0; axis < 3; ++axis)
            Store(out, node, axis, fitted, fitted ? solution[axis] : 0.0);
    }
}

template <class O>
void LatticeGradientEvaluator::Store(O* out, uint32_t node, int axis, bool valid, double value) const
{
    out[uint64_t(node) * 3 + axis] = valid ? PrimConvert<O>(value) : O(0);
    if (!valid)
        m_Output.SetBlank(node, static_cast<unsigned int>(axis));
}

} // namespace core
