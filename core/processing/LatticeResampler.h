#pragma once
// LatticeResampler: the body of the resampling loop. For each node of a
// uniform output lattice it takes the node's scene position (through the
// output's user transform, if it has one) and asks the input lattice for its
// values there with VdLattice::Interpolate. A tuple without blanks is written
// whole; otherwise each element that came back as the blank value is blanked
// and the others are stored.
//
// Where positions separate by axis (a uniform or rectilinear input of the
// output's element type, a ranged method, no user transform on either side)
// the input node coordinates are worked out once per output column, row and
// layer, and the interpolation runs row by row on the element type. It does
// per node what Interpolate does, in the same order, so the values are the
// same bit for bit; only the repeated position arithmetic is saved, and the
// input rows that neighbouring output rows share are read once.
#include "core/data/VdLattice.h"

#include <tbb/blocked_range.h>

#include <cstdint>
#include <vector>

namespace core {

class VbProgress;
class VdUniformLattice;

class LatticeResampler {
public:
    // The output holds the input's component count; its values are overwritten.
    LatticeResampler(const VdLattice& input, VdUniformLattice& output, VdLattice::InterpMethod method);

    // The nodes of a range of flat output indices.
    void operator()(const tbb::blocked_range<unsigned int>& nodes) const;
    // Every node, in parallel, with progress; false when the progress asked
    // to stop. Marks the output's values modified.
    bool Run(VbProgress* progress) const;

    // Whether the row-by-row form is in use.
    bool Separable() const { return !m_Cells[0].lo.empty(); }

private:
    // Where the output nodes of one axis fall on the input's axis, by output
    // index: the nearest node (`lo`) or the linear cell (`lo`, `hi`, fraction
    // `f`), and the range test.
    struct AxisCells {
        std::vector<uint32_t> lo;
        std::vector<uint32_t> hi;
        std::vector<double> f;
        std::vector<unsigned char> outside;
    };

    void BuildCells();
    template <class T>
    void SampleNodes(unsigned int first, unsigned int end) const;
    template <class T>
    void SampleRows(unsigned int first, unsigned int end) const;
    template <class T, bool Blanks>
    void LinearRow(uint32_t node, unsigned int i, unsigned int iEnd, unsigned int j, unsigned int k) const;
    template <class T, class Expander>
    void LinearRowWithoutBlanks(Expander& expander, uint32_t node, unsigned int i, unsigned int iEnd, unsigned int j,
                                unsigned int k) const;
    template <class T, bool Blanks>
    void NearestRow(uint32_t node, unsigned int i, unsigned int iEnd, unsigned int j, unsigned int k) const;
    // The storing rule for one tuple of `blankCount` blank results.
    template <class T>
    void StoreTuple(T* out, uint32_t node, const double* values, unsigned int blankCount) const;
    void StoreBlankTuple(uint32_t node) const;
    // The first node of input row (j, k).
    uint64_t InputRow(uint32_t j, uint32_t k) const;

    const VdLattice& m_Input;
    VdUniformLattice& m_Output;
    VdLattice::InterpMethod m_Method;
    unsigned int m_Components;
    bool m_InputBlanks;
    // Per output axis; empty when positions do not separate.
    AxisCells m_Cells[3];
};

} // namespace core
