#pragma once
// LatticeMerger: the body of the merging loop. For each node of a uniform
// output lattice it interpolates every input at the node's scene position
// and combines, per component, the values of the inputs that have one there
// (not blank, and with that many components), in input order, by the
// overlap rule. No value at all leaves the element blank, except under
// "Count", which stores 0.
#include "core/data/VdLattice.h"
#include "shr/Array.h"

#include <tbb/blocked_range.h>

#include <cstddef>

namespace core {

class VbProgress;
class VdUniformLattice;

class LatticeMerger {
public:
    enum Overlap : unsigned int {
        OverlapAverage = 0,
        OverlapCount = 1,
        OverlapFirst = 2,
        OverlapLast = 3,
        OverlapMaximum = 4,
        OverlapMedian = 5,
        OverlapMinimum = 6,
        OverlapMethods = 7
    };

    // The output's component count is that of the widest input; more than
    // VdLattice::MaxBlankBits is the bit set's error.
    LatticeMerger(const shr::Array<const VdLattice*>& inputs, VdUniformLattice& output, VdLattice::InterpMethod method,
                  unsigned int overlap);

    void operator()(const tbb::blocked_range<unsigned int>& nodes) const;
    // Every node, in parallel, with progress; false when the progress asked to stop.
    bool Run(VbProgress* progress) const;

    // The rule over `count` values (at least one); the values may be reordered.
    static double Combine(unsigned int overlap, double* values, size_t count);
    // `overlap`, or an error for a number that names no rule.
    static unsigned int CheckedOverlap(unsigned int overlap);

private:
    const shr::Array<const VdLattice*>& m_Inputs;
    VdUniformLattice& m_Output;
    VdLattice::InterpMethod m_Method;
    unsigned int m_Overlap;
};

} // namespace core
