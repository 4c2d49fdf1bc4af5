#pragma once
// Lattice helpers that many modules share: per-cell values over a range of a
// lattice, the corners of a cell, and the naming of components.
//
// CollectCellValues evaluates the cells of a 3-D range on TBB workers; each
// worker writes its own entries and only reads the lattice, so the result is
// the same as a serial run, bit for bit. A range that is flat on one axis is
// evaluated in the calling thread as quadrilaterals, always by their mean.
#include "core/data/LatticeLocator.h"
#include "core/data/PrimConvert.h"
#include "core/data/ThreadHandOver.h"
#include "core/data/VdLattice.h"
#include "shr/GString.h"
#include "shr/Vec3.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace core {

class VdUniformLattice;
class VdVertexData;

// A cell's value: the mean of its eight nodes.
struct CellComponentAverage {
    static constexpr int Nodes = 8; // the nodes Evaluate reads, in node order
    static double Evaluate(const double* v) { return (v[0] + v[1] + v[2] + v[3] + v[4] + v[5] + v[6] + v[7]) * 0.125; }
};

// A cell's value: that of its first node (i, j, k).
struct CellComponentCorner {
    static constexpr int Nodes = 1;
    static double Evaluate(const double* nodes) { return nodes[0]; }
};

// Component c of a vertex as a double, whatever the data type; blanks not tested.
double NodeValue(const VdVertexData& data, uint32_t vertex, unsigned int c);
// Exactly four components of type UInt8.
bool IsRGBA(const VdLattice& lattice);
// Each coordinate relative to the lattice's UVW bounds: 0 at min, 1 at max.
void NormalizeUVW(const VdUniformLattice& lattice, shr::Vec3d& uvw);
// The eight corners of cell (i, j, k) in XYZ: (i, j+1), (i+1, j+1), (i+1, j),
// (i, j) at k, then the same at k+1. Cell volume code relies on this order.
void CellCorners(const VdLattice& lattice, unsigned int i, unsigned int j, unsigned int k,
                 std::vector<shr::Vec3d>& corners);
// A lattice of the same kind, node counts, node positions and user transform
// as `lattice`, with `componentCount` zero components of `type` per node.
std::unique_ptr<VdLattice> MakeLatticeLike(const VdLattice& lattice, shr::PrimType type, unsigned int componentCount);
// "Component 1", "Component 2", ... one per component.
std::vector<shr::GString> CollectComponents(const VdVertexData& data);
// The component number each name stands for, counting from 1 ("Component 3"
// and "3" both give 3); 0 for a name that names none.
std::vector<unsigned int> ParseComponentNames(const std::vector<shr::GString>& names);

// Checks a range for CollectCellValues and reports whether it is flat
// (exactly one axis of one node); raises the errors of CollectCellValues.
bool CheckCellRange(const VdLattice& lattice, unsigned int component, const LatticeRange& range);
// The flat form of CollectCellValues: the mean of each quadrilateral.
std::vector<double> CollectFlatCellValues(const VdLattice& lattice, unsigned int component,
                                          const LatticeRange& range);

namespace LatticeUtilityPrivate {

// The body of the parallel per-cell loop over cell numbers. Each task finds
// its first cell and then steps from cell to cell; blanks are looked for only
// when the lattice has any, and only the nodes the policy reads are read.
template <class Index, class Policy>
class CellComponentEvaluator {
public:
    CellComponentEvaluator(const VdLattice& lattice, const LatticeLocator& locator, unsigned int component,
                           std::vector<double>& out)
        : m_Lattice(lattice), m_Locator(locator), m_Component(component), m_Out(out.data()),
          m_Blanks(lattice.HasBlanks())
    {
    }

    void operator()(const tbb::blocked_range<size_t>& cells) const
    {
        TakeOver(m_Out);
        DispatchPrimType(m_Lattice.DataType(), [&](auto tag) {
            using Element = typename decltype(tag)::Type;
            Run(static_cast<const Element*>(m_Lattice.DataPtr()), cells);
        });
        HandOver(m_Out);
    }

private:
    template <class Element>
    void Run(const Element* values, const tbb::blocked_range<size_t>& cells) const
    {
        const unsigned int* dims = m_Lattice.GetDims();
        const uint64_t stride = m_Lattice.ComponentCount();
        const Index row = dims[0], layer = dims[0] * dims[1];
        const Index offsets[8] = {0, 1, row, row + 1, layer, layer + 1, layer + row, layer + row + 1};
        const LatticeRange& range = m_Locator.Range();
        double nodes[8];
        unsigned int i, j, k;
        m_Locator.Locate(cells.begin(), i, j, k);
        for (size_t n = cells.begin(); n != cells.end(); ++n) {
            const Index first = m_Lattice.Index(i, j, k);
            bool blank = false;
            for (int corner = 0; m_Blanks && corner < 8 && !blank; ++corner)
                blank = m_Lattice.IsBlank(first + offsets[corner], m_Component);
            if (!blank) {
                for (int corner = 0; corner < Policy::Nodes; ++corner)
                    nodes[corner] = PrimConvert<double>(values[(first + offsets[corner]) * stride + m_Component]);
            }
            m_Out[n] = blank ? VdVertexData::BlankVal : Policy::Evaluate(nodes);
            if (++i + 1 == range.iEnd) {
                i = range.iFirst;
                if (++j + 1 == range.jEnd) {
                    j = range.jFirst;
                    ++k;
                }
            }
        }
    }

    const VdLattice& m_Lattice;
    const LatticeLocator& m_Locator;
    unsigned int m_Component;
    double* m_Out;
    bool m_Blanks;
};

} // namespace LatticeUtilityPrivate

// One value per cell of the range, i fastest; BlankVal for a cell with a blank
// node. Errors: "Component index out of range.", "Lattice range must describe
// at least one cell.", "Invalid lattice range.", "Lattice range describes
// more than one 2D axis.". This form fills `values`, whose memory is reused
// from one call to the next.
template <class Policy>
void CollectCellValues(const VdLattice& lattice, unsigned int component, const LatticeRange& range,
                       std::vector<double>& values)
{
    if (CheckCellRange(lattice, component, range)) {
        values = CollectFlatCellValues(lattice, component, range);
        return;
    }
    const LatticeLocator locator(range);
    values.resize(locator.CellCount());
    const LatticeUtilityPrivate::CellComponentEvaluator<unsigned int, Policy> body(lattice, locator, component, values);
    tbb::task_group_context context;
    HandOver(values.data());
    tbb::parallel_for(tbb::blocked_range<size_t>(0, values.size()), body, tbb::auto_partitioner(), context);
    TakeOver(values.data());
}

template <class Policy>
std::vector<double> CollectCellValues(const VdLattice& lattice, unsigned int component, const LatticeRange& range)
{
    std::vector<double> values;
    CollectCellValues<Policy>(lattice, component, range, values);
    return values;
}

} // namespace core
