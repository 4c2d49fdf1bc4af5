#include "core/processing/filters/GradientFilters.h"

#include <algorithm>
#include <cmath>

namespace core {

namespace GradientFiltersPrivate {

// The planar kernels, first axis fastest.
const double kPlanarSobel[2][9] = {{1, 0, -1, 2, 0, -2, 1, 0, -1}, {1, 2, 1, 0, 0, 0, -1, -2, -1}};

// The 3D kernels, i fastest, then j, then k.
const double kVolumeSobel[3][27] = {
    {-1, 0, 1, -2, 0, 2, -1, 0, 1, -2, 0, 2, -3, 0, 3, -2, 0, 2, -1, 0, 1, -2, 0, 2, -1, 0, 1},
    {-1, -2, -1, 0, 0, 0, 1, 2, 1, -2, -3, -2, 0, 0, 0, 2, 3, 2, -1, -2, -1, 0, 0, 0, 1, 2, 1},
    {-1, -2, -1, -2, -3, -2, -1, -2, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 1, 2, 3, 2, 1, 2, 1},
};

// The gradients never exceed three: one per axis.
constexpr size_t kMaxGradients = 3;
// Nodes of a run filtered at a time.
constexpr unsigned int kRunBlock = 256;

// The length of each node's gradient: the square root of the sum of the
// squared gradients, in gradient order. Built for the vector units at hand.
__attribute__((target_clones("avx512f", "avx2", "default"))) void Norms(const double* gradients, size_t stride,
                                                                        size_t count, size_t nodes, double* out)
{
    for (size_t x = 0; x < nodes; ++x)
        out[x] = gradients[x] * gradients[x];
    for (size_t g = 1; g < count; ++g)
        for (size_t x = 0; x < nodes; ++x)
            out[x] += gradients[g * stride + x] * gradients[g * stride + x];
    for (size_t x = 0; x < nodes; ++x)
        out[x] = std::sqrt(out[x]);
}

// The largest magnitude of each node's gradients; the first one wins a tie.
void LargestMagnitudes(const double* gradients, size_t stride, size_t count, size_t nodes, double* out)
{
    for (size_t x = 0; x < nodes; ++x)
        out[x] = std::fabs(gradients[x]);
    for (size_t g = 1; g < count; ++g)
        for (size_t x = 0; x < nodes; ++x)
            out[x] = std::fabs(gradients[g * stride + x]) > out[x] ? std::fabs(gradients[g * stride + x]) : out[x];
}

} // namespace GradientFiltersPrivate

using namespace GradientFiltersPrivate;

CGradientFilter::CGradientFilter(const Params& params, Combination combination)
    : CNonlinearFilter(params), m_Combination(combination)
{
}

CGradientFilter::WeightedSum CGradientFilter::MakeSum(const std::vector<double>& weights) const
{
    WeightedSum sum;
    sum.weights = weights;
    sum.weights.resize(WindowCount(), 0.0);
    for (size_t e = 0; e < sum.weights.size(); ++e)
        if (sum.weights[e] != 0.0)
            sum.taps.push_back(TapAt(e, sum.weights[e]));
    return sum;
}

void CGradientFilter::AddGradient(const std::vector<double>& plus, const std::vector<double>& minus)
{
    m_Gradients.push_back(Gradient{MakeSum(plus), MakeSum(minus)});
}

double CGradientFilter::Sum(const WeightedSum& sum, const FilterWindow& window)
{
    double total = 0.0;
    for (size_t e = 0; e < window.size(); ++e)
        if (window[e].valid && sum.weights[e] != 0.0)
            total += sum.weights[e] * window[e].value;
    return total;
}

double CGradientFilter::Combine(const double* gradients) const
{
    if (m_Gradients.empty())
        return 0.0; // a window one node wide on every axis
    double result = m_Combination == Norm ? gradients[0] * gradients[0] : std::fabs(gradients[0]);
    for (size_t g = 1; g < m_Gradients.size(); ++g) {
        if (m_Combination == Norm)
            result += gradients[g] * gradients[g];
        else if (std::fabs(gradients[g]) > result)
            result = std::fabs(gradients[g]);
    }
    return m_Combination == Norm ? std::sqrt(result) : result;
}

bool CGradientFilter::FilterNode(const FilterWindow& window, unsigned int, double& out) const
{
    bool anyValid = false;
    for (size_t e = 0; e < window.size() && !anyValid; ++e)
        anyValid = window[e].valid;
    if (!anyValid)
        return false;
    double gradients[kMaxGradients];
    for (size_t g = 0; g < m_Gradients.size(); ++g)
        gradients[g] = Sum(m_Gradients[g].plus, window) - Sum(m_Gradients[g].minus, window);
    out = Combine(gradients);
    return true;
}

void CGradientFilter::FilterRun(const WindowRows& rows, unsigned int, unsigned int first, unsigned int last,
                                double* out, unsigned char* ok, FilterWindow& window) const
{
    // A block of nodes at a time, its sums kept in the fastest cache.
    for (unsigned int from = first; from < last; from += kRunBlock)
        FilterBlock(rows, from, std::min(last, from + kRunBlock), out, window.Scratch());
    std::fill(ok + first, ok + last, 1);
}

// Per gradient, its plus and minus sums side by side, then the gradients
// combined as Combine does, the whole block at a time.
void CGradientFilter::FilterBlock(const WindowRows& rows, unsigned int first, unsigned int last, double* out,
                                  std::vector<double>& sums) const
{
    const size_t stride = kRunBlock;
    sums.resize(stride * 2 * m_Gradients.size());
    const size_t count = last - first;
    out += first;
    for (size_t g = 0; g < m_Gradients.size(); ++g) {
        double* plus = sums.data() + stride * 2 * g;
        const double* minus = plus + stride;
        SumTaps(m_Gradients[g].plus.taps, rows, first, last, plus);
        // Less an empty sum, 0.0, leaves every value as it is.
        if (m_Gradients[g].minus.taps.empty())
            continue;
        SumTaps(m_Gradients[g].minus.taps, rows, first, last, plus + stride);
        for (size_t x = 0; x < count; ++x)
            plus[x] -= minus[x];
    }
    if (m_Gradients.empty())
        std::fill(out, out + count, 0.0);
    else if (m_Combination == Norm)
        Norms(sums.data(), 2 * stride, m_Gradients.size(), count, out);
    else
        LargestMagnitudes(sums.data(), 2 * stride, m_Gradients.size(), count, out);
}

void CGradientFilter::AddSobelGradients()
{
    FixWindowSize(3);
    if (Planar())
        for (const auto& table : kPlanarSobel)
            AddGradient(std::vector<double>(std::begin(table), std::end(table)), {});
    else
        for (const auto& table : kVolumeSobel)
            AddGradient(std::vector<double>(std::begin(table), std::end(table)), {});
}

Filter_SobelA::Filter_SobelA(const Params& params) : CGradientFilter(params, LargestMagnitude)
{
    AddSobelGradients();
}

Filter_SobelB::Filter_SobelB(const Params& params) : CGradientFilter(params, Norm)
{
    AddSobelGradients();
}

Filter_Prewitt::Filter_Prewitt(const Params& params) : CGradientFilter(params, Norm)
{
    // Along each axis the orientation uses: weight 1 on the high side, and on
    // the low side for the sum that is taken away.
    const unsigned int* size = WindowSize();
    for (int axis = 0; axis < 3; ++axis) {
        if (size[axis] == 1)
            continue;
        std::vector<double> high(WindowCount(), 0.0), low(WindowCount(), 0.0);
        const unsigned int half = size[axis] / 2;
        for (size_t e = 0; e < high.size(); ++e) {
            const size_t below = axis == 0 ? 1 : axis == 1 ? size[0] : size_t(size[0]) * size[1];
            const unsigned int index = static_cast<unsigned int>((e / below) % size[axis]);
            (index > half ? high : low)[e] = index == half ? 0.0 : 1.0;
        }
        AddGradient(high, low);
    }
}

} // namespace core
