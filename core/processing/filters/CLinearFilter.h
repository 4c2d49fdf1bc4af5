#pragma once
// CLinearFilter: a weighted sum over the window. The weights, one per window
// element, are made once by the concrete class's constructor from each
// element's place in the kernel. A node's value is, over the elements that are
// valid and weigh something, the sum of weight times value divided by the sum
// of weights; a sum of weights within 2.220446049250313e-16 of zero leaves the
// sum of products as it is; with no such element the node is blank.
#include "core/processing/filters/CNeighborhoodFilter.h"

#include <vector>

namespace core {

class CLinearFilter : public CNeighborhoodFilter {
public:
    bool FilterNode(const FilterWindow& window, unsigned int component, double& out) const override;
    void FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last, double* out,
                   unsigned char* ok, FilterWindow& window) const override;

    // In window order.
    const std::vector<double>& Weights() const { return m_Weights; }

    // A window element's place in the kernel.
    struct KernelPoint {
        // Normalised coordinates: the index offset from the middle over the
        // half size, so -1 to 1 across the window; 0 across a flat axis.
        double u, v, w;
        // The index offsets from the half sizes, in i, j and k.
        int offset[3];
    };

protected:
    explicit CLinearFilter(const Params& params);

    // The window's elements in window order.
    std::vector<KernelPoint> KernelPoints() const;
    // One weight per window element, in window order.
    void SetWeights(std::vector<double> weights);

private:
    std::vector<double> m_Weights;
    // The elements that weigh something, and the sum of their weights in window order.
    std::vector<WindowTap> m_Taps;
    double m_TapWeights = 0.0;
};

} // namespace core
