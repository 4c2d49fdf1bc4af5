#include "core/processing/filters/GradientFilters.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/processing/filters/FilterLanes.h"
#include "shr/Exception.h"

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
FENRAK_VECTOR_CLONES void Norms(const double* gradients, size_t stride, size_t count, size_t nodes, double* out)
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

using namespace FilterLanes;

inline void Load(const double* values, double& value) { value = *values; }
inline void Load(const double* values, Lanes& lanes) { FilterLanes::Load(values, lanes); }
inline void Abs(double& value) { value = std::fabs(value); }
// The sign bits cleared, as fabs does.
inline void Abs(Lanes& values)
{
    typedef unsigned long long Bits __attribute__((vector_size(sizeof(Lanes))));
    Bits bits;
    std::memcpy(&bits, &values, sizeof bits);
    bits &= 0x7fffffffffffffffull;
    std::memcpy(&values, &bits, sizeof bits);
}

// The combined gradients of one node (T double) or of kLanes nodes from x (T
// Lanes), in the order and with the operations of CGradientFilter::Value and
// Combine, so that the bits agree; for the norm, the sum of the squares, whose
// root the caller takes.
template <bool Norm, class T>
inline void Combined(const MirroredTables& tables, const WindowRows& rows, unsigned int x, T& result)
{
    size_t term = 0, group = 0;
    for (size_t g = 0; g < tables.groupsPerGradient.size(); ++g) {
        T value = {};
        for (unsigned int n = 0; n < tables.groupsPerGradient[g]; ++n, ++group) {
            T sum = {};
            for (unsigned int t = 0; t < tables.termsPerGroup[group]; ++t, ++term) {
                const WindowDifference& d = tables.terms[term];
                T high, low;
                Load(rows.rows[d.highRow] + d.highOffset + x, high);
                Load(rows.rows[d.lowRow] + d.lowOffset + x, low);
                sum += high - low;
            }
            value += tables.weights[group] * sum;
        }
        if (Norm) {
            result = g == 0 ? value * value : result + value * value;
        } else {
            Abs(value);
            result = g == 0 ? value : value > result ? value : result;
        }
    }
}

template <bool Norm>
inline void CombinedRun(const MirroredTables& tables, const WindowRows& rows, unsigned int first, unsigned int last,
                        double* out)
{
    unsigned int x = first;
    for (; x + kLanes <= last; x += kLanes) {
        Lanes result = {};
        Combined<Norm>(tables, rows, x, result);
        Store(result, out + x);
    }
    for (; x < last; ++x)
        Combined<Norm>(tables, rows, x, out[x]);
    if (Norm)
        for (x = first; x < last; ++x)
            out[x] = std::sqrt(out[x]);
}

FENRAK_VECTOR_CLONES void MirroredNorms(const MirroredTables& tables, const WindowRows& rows, unsigned int first,
                                        unsigned int last, double* out)
{
    CombinedRun<true>(tables, rows, first, last, out);
}

FENRAK_VECTOR_CLONES void MirroredLargest(const MirroredTables& tables, const WindowRows& rows, unsigned int first,
                                          unsigned int last, double* out)
{
    CombinedRun<false>(tables, rows, first, last, out);
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
    m_Gradients.push_back(Gradient{{}, MakeSum(plus), MakeSum(minus)});
}

size_t CGradientFilter::Mirror(size_t element, unsigned int axis) const
{
    const unsigned int* size = WindowSize();
    size_t index[3] = {element % size[0], element / size[0] % size[1], element / (size_t(size[0]) * size[1])};
    index[axis] = size[axis] - 1 - index[axis];
    return index[0] + size[0] * (index[1] + size_t(size[1]) * index[2]);
}

void CGradientFilter::AddMirroredGradient(const std::vector<double>& table, unsigned int axis)
{
    Gradient gradient;
    for (size_t e = 0; e < table.size(); ++e) {
        if (table[e] <= 0.0)
            continue;
        const size_t mirror = Mirror(e, axis);
        if (table[mirror] != -table[e])
            shr::ThrowSharedError("Core", __FILE__, __LINE__, 2);
        auto group = std::find_if(gradient.pairs.begin(), gradient.pairs.end(),
                                  [&](const MirroredPairs& pairs) { return pairs.weight == table[e]; });
        if (group == gradient.pairs.end())
            group = gradient.pairs.insert(gradient.pairs.end(), MirroredPairs{table[e], {}, {}});
        group->elements.emplace_back(e, mirror);
        const WindowTap high = TapAt(e, 1.0), low = TapAt(mirror, 1.0);
        group->differences.push_back(WindowDifference{high.row, high.offset, low.row, low.offset});
    }
    m_Mirrored.groupsPerGradient.push_back(static_cast<unsigned int>(gradient.pairs.size()));
    for (const MirroredPairs& pairs : gradient.pairs) {
        m_Mirrored.weights.push_back(pairs.weight);
        m_Mirrored.termsPerGroup.push_back(static_cast<unsigned int>(pairs.differences.size()));
        m_Mirrored.terms.insert(m_Mirrored.terms.end(), pairs.differences.begin(), pairs.differences.end());
    }
    m_Gradients.push_back(std::move(gradient));
}

double CGradientFilter::Value(const Gradient& gradient, const FilterWindow& window)
{
    if (gradient.pairs.empty())
        return Sum(gradient.plus, window) - Sum(gradient.minus, window);
    const auto value = [&](size_t e) { return window[e].valid ? window[e].value : 0.0; };
    double total = 0.0;
    for (const MirroredPairs& pairs : gradient.pairs) {
        double differences = 0.0;
        for (const auto& [high, low] : pairs.elements)
            differences += value(high) - value(low);
        total += pairs.weight * differences;
    }
    return total;
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
        gradients[g] = Value(m_Gradients[g], window);
    out = Combine(gradients);
    return true;
}

void CGradientFilter::FilterRun(const WindowRows& rows, unsigned int, unsigned int first, unsigned int last,
                                double* out, unsigned char* ok, FilterWindow& window) const
{
    std::fill(ok + first, ok + last, 1);
    if (!m_Gradients.empty() && m_Mirrored.terms.size() > 0) {
        // Every gradient mirrored (Sobel): one pass, all in registers.
        if (m_Combination == Norm)
            MirroredNorms(m_Mirrored, rows, first, last, out);
        else
            MirroredLargest(m_Mirrored, rows, first, last, out);
        return;
    }
    // A block of nodes at a time, its sums kept in the fastest cache.
    for (unsigned int from = first; from < last; from += kRunBlock)
        FilterBlock(rows, from, std::min(last, from + kRunBlock), out, window.Scratch());
}

// Each gradient as Value gives it, then the gradients combined as Combine
// does, the whole block at a time.
void CGradientFilter::FilterBlock(const WindowRows& rows, unsigned int first, unsigned int last, double* out,
                                  std::vector<double>& sums) const
{
    const size_t stride = kRunBlock;
    const size_t count = last - first;
    out += first;
    sums.resize(stride * (m_Gradients.size() + 1));
    double* scratch = sums.data() + stride * m_Gradients.size();
    for (size_t g = 0; g < m_Gradients.size(); ++g) {
        const Gradient& gradient = m_Gradients[g];
        double* value = sums.data() + stride * g;
        if (gradient.pairs.empty()) {
            SumTaps(gradient.plus.taps, rows, first, last, value);
            // Less an empty sum, 0.0, leaves every value as it is.
            if (gradient.minus.taps.empty())
                continue;
            SumTaps(gradient.minus.taps, rows, first, last, scratch);
            for (size_t x = 0; x < count; ++x)
                value[x] -= scratch[x];
            continue;
        }
        std::fill(value, value + count, 0.0);
        for (const MirroredPairs& pairs : gradient.pairs) {
            SumDifferences(pairs.differences, rows, first, last, scratch);
            for (size_t x = 0; x < count; ++x)
                value[x] += pairs.weight * scratch[x];
        }
    }
    if (m_Gradients.empty())
        std::fill(out, out + count, 0.0);
    else if (m_Combination == Norm)
        Norms(sums.data(), stride, m_Gradients.size(), count, out);
    else
        LargestMagnitudes(sums.data(), stride, m_Gradients.size(), count, out);
}

void CGradientFilter::AddSobelGradients()
{
    FixWindowSize(3);
    const unsigned int* axes = SliceAxes(GetParams().orientation);
    if (Planar())
        for (unsigned int g = 0; g < 2; ++g)
            AddMirroredGradient(std::vector<double>(std::begin(kPlanarSobel[g]), std::end(kPlanarSobel[g])), axes[g]);
    else
        for (unsigned int g = 0; g < 3; ++g)
            AddMirroredGradient(std::vector<double>(std::begin(kVolumeSobel[g]), std::end(kVolumeSobel[g])), g);
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
