#pragma once
// LatticeGradientEvaluator: the body of the gradient loop. For each node it
// writes the three partial derivatives of one input component, in the
// input's own coordinates (UVW), into a three-component output lattice of
// the same shape.
//
// Uniform and rectilinear lattices, per axis: the difference of the two
// neighbours over their distance, or a one-sided difference where a
// neighbour is missing or blank; with no second node the component is blank
// (written as 0). Curvilinear lattices: a least-squares plane through the
// node and its six face neighbours that are not blank, taken relative to the
// node's position so that large coordinates keep their precision; fewer
// than four points, or points that span no volume, give three blanks.
#include "core/data/VdLattice.h"

#include <tbb/blocked_range.h>

#include <cstdint>
#include <vector>

namespace core {

class VbProgress;

class LatticeGradientEvaluator {
public:
    // `output` has the input's node counts and three components of type
    // float or double; `component` counts from 0 and must exist.
    LatticeGradientEvaluator(const VdLattice& input, unsigned int component, VdLattice& output);

    void operator()(const tbb::blocked_range<unsigned int>& nodes) const;
    // Every node, in parallel, with progress; false when the progress asked to stop.
    bool Run(VbProgress* progress) const;

private:
    // The neighbours of a node on one axis when nothing is blank: the lower
    // and upper node index and the distance between them.
    struct AxisStep {
        uint32_t lo = 0;
        uint32_t hi = 0;
        double divisor = 0.0;
    };

    // The distance between nodes lo and hi of an axis, in UVW.
    double Divisor(int axis, unsigned int lo, unsigned int hi) const;
    template <class T, class O>
    void AxisAlignedRows(unsigned int first, unsigned int end) const;
    template <class T, class O>
    void AxisAlignedNodesWithBlanks(unsigned int first, unsigned int end) const;
    template <class O>
    void CurvilinearNodes(unsigned int first, unsigned int end) const;
    template <class O>
    void Store(O* out, uint32_t node, int axis, bool valid, double value) const;

    const VdLattice& m_Input;
    unsigned int m_Component;
    VdLattice& m_Output;
    bool m_Curvilinear;
    bool m_Blanks;
    // Uniform: the spacing; rectilinear: the coordinates of each axis.
    shr::Vec3d m_Spacing;
    const std::vector<double>* m_Coords[3] = {nullptr, nullptr, nullptr};
    std::vector<AxisStep> m_Steps[3];
};

} // namespace core
