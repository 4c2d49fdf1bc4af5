#pragma once
// The gradient filters: a gradient along each axis, from the window's valid
// elements; invalid elements add nothing, and a window with no valid element
// gives a blank.
//
// Sobel's tables are fixed 3 x 3 (planar: two gradients, the third is 0) and
// 3 x 3 x 3 (three gradients), so the Sobel filters use a window of 3 on every
// side that the orientation uses, whatever the kernel size. A table's weights
// change sign across the window's middle, so a gradient is summed as weight
// times the difference of each element and its mirror image: for each weight
// in the order it first appears, the differences of its elements in window
// order. Prewitt takes any window: each gradient is the sum of the elements
// on the high side of an axis less the sum of those on the low side.
#include "core/processing/filters/CNonlinearFilter.h"

#include <vector>

namespace core {

// Mirrored gradients laid out flat for the run kernels: per gradient its
// number of weights, per weight its number of differences, the differences.
struct MirroredTables {
    std::vector<unsigned int> groupsPerGradient;
    std::vector<double> weights;
    std::vector<unsigned int> termsPerGroup;
    std::vector<WindowDifference> terms;
};

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
    // A gradient from a table of weights, one per window element, that
    // change sign across the window's middle along lattice axis `axis`.
    void AddMirroredGradient(const std::vector<double>& table, unsigned int axis);
    // The Sobel tables of the orientation, on a window fixed at 3.
    void AddSobelGradients();

private:
    struct WeightedSum {
        std::vector<double> weights;
        std::vector<WindowTap> taps;
    };
    // The elements (and their mirror images) that one weight of a table
    // stands for.
    struct MirroredPairs {
        double weight;
        std::vector<std::pair<size_t, size_t>> elements;
        std::vector<WindowDifference> differences;
    };
    // Mirrored pairs by weight, or else a plus and a minus sum.
    struct Gradient {
        std::vector<MirroredPairs> pairs;
        WeightedSum plus, minus;
    };

    WeightedSum MakeSum(const std::vector<double>& weights) const;
    size_t Mirror(size_t element, unsigned int axis) const;
    void FilterBlock(const WindowRows& rows, unsigned int first, unsigned int last, double* out,
                     std::vector<double>& sums) const;
    static double Sum(const WeightedSum& sum, const FilterWindow& window);
    static double Value(const Gradient& gradient, const FilterWindow& window);
    double Combine(const double* gradients) const;

    Combination m_Combination;
    std::vector<Gradient> m_Gradients;
    // The same, when every gradient is mirrored.
    MirroredTables m_Mirrored;
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
