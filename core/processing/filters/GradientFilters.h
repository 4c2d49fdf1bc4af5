#pragma once
// The gradient filters. Each gradient is a sum over the window's valid
// elements, in window order, of a table's weight times the value (less a
// second such sum for Prewitt's low side); invalid elements add nothing, and
// a window with no valid element gives a blank.
//
// Sobel's tables are fixed 3 x 3 (planar: two gradients, the third is 0) and
// 3 x 3 x 3 (three gradients), so the Sobel filters use a window of 3 on every
// side that the orientation uses, whatever the kernel size. Prewitt takes any
// window: each gradient is the sum of the elements on the high side of an axis
// less the sum of those on the low side.
#include "core/processing/filters/CNonlinearFilter.h"

#include <vector>

namespace core {

class CGradientFilter : public CNonlinearFilter {
public:
    bool FilterNode(const FilterWindow& window, unsigned int component, double& out) const override;
    void FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last, double* out,
                   unsigned char* ok, FilterWindow& window) const override;

protected:
    // How the gradients make the node's value.
    enum Combination { LargestMagnitude, Norm };

    CGradientFilter(const Params& params, Combination combination);
    // A gradient: the weighted sum over `plus` less the one over `minus`,
    // each one weight per window element in window order (0: not summed).
    void AddGradient(const std::vector<double>& plus, const std::vector<double>& minus);
    // The Sobel tables of the orientation, on a window fixed at 3.
    void AddSobelGradients();

private:
    struct WeightedSum {
        std::vector<double> weights;
        std::vector<WindowTap> taps;
    };
    struct Gradient {
        WeightedSum plus, minus;
    };

    WeightedSum MakeSum(const std::vector<double>& weights) const;
    void FilterBlock(const WindowRows& rows, unsigned int first, unsigned int last, double* out,
                     std::vector<double>& sums) const;
    static double Sum(const WeightedSum& sum, const FilterWindow& window);
    double Combine(const double* gradients) const;

    Combination m_Combination;
    std::vector<Gradient> m_Gradients;
};

// The largest magnitude of the Sobel gradients.
class Filter_SobelA : public CGradientFilter {
public:
    explicit Filter_SobelA(const Params& params);
};

// The length of the Sobel gradient.
class Filter_SobelB : public CGradientFilter {
public:
    explicit Filter_SobelB(const Params& params);
};

// The length of the Prewitt gradient.
class Filter_Prewitt : public CGradientFilter {
public:
    explicit Filter_Prewitt(const Params& params);
};

} // namespace core
