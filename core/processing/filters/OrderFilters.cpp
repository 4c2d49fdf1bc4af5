#include "core/processing/filters/OrderFilters.h"

#include <algorithm>
#include <limits>

namespace core {

namespace OrderFiltersPrivate {

// Batcher's odd-even merge sort for n inputs: comparators (low, high) in order.
std::vector<std::pair<unsigned int, unsigned int>> SortingNetwork(unsigned int n)
{
    std::vector<std::pair<unsigned int, unsigned int>> network;
    for (unsigned int p = 1; p < n; p += p)
        for (unsigned int k = p; k >= 1; k /= 2)
            for (unsigned int j = k % p; j + k < n; j += 2 * k)
                for (unsigned int i = 0; i < std::min(k, n - j - k); ++i)
                    if ((i + j) / (2 * p) == (i + j + k) / (2 * p))
                        network.emplace_back(i + j, i + j + k);
    return network;
}

// The first `count` values of the merge of two ascending runs, each of which
// goes on for at least `count` values (padded with infinities). Branch-free:
// a tie takes either, and both are the same value.
void MergePrefix(const double* a, const double* b, size_t count, double* out)
{
    size_t i = 0, j = 0;
    for (size_t t = 0; t < count; ++t) {
        const double x = a[i], y = b[j];
        const bool fromA = x <= y;
        out[t] = fromA ? x : y;
        i += fromA ? 1 : 0;
        j += fromA ? 0 : 1;
    }
}

// The columns of a stretch of the window rows, each sorted ascending, and
// the merges of each with the next; each followed by infinities enough for
// any merge that reads it.
class SortedColumns {
public:
    SortedColumns(std::vector<double>& columns, std::vector<double>& pairs, size_t count, size_t keep)
        : m_Columns(columns), m_Pairs(pairs), m_Count(count), m_PairLength(std::min(2 * count, keep)),
          m_Stride(count + keep), m_PairStride(m_PairLength + keep)
    {
    }

    // False when a value of the stretch is NaN, which the fast ranking leaves
    // to the node-by-node way. `scratch` takes the columns row by row.
    bool Sort(const WindowRows& rows, unsigned int first, size_t positions,
              const std::vector<std::pair<unsigned int, unsigned int>>& network, std::vector<double>& scratch)
    {
        scratch.resize(m_Count * positions);
        bool numbers = true;
        for (size_t r = 0; r < m_Count; ++r)
            for (size_t p = 0; p < positions; ++p) {
                const double value = rows.rows[r][first + p];
                scratch[r * positions + p] = value;
                numbers = numbers && value == value;
            }
        if (!numbers)
            return false;
        // Each comparator over every position at once.
        for (const auto& [low, high] : network) {
            double* x = scratch.data() + low * positions;
            double* y = scratch.data() + high * positions;
            for (size_t p = 0; p < positions; ++p) {
                const double a = x[p], b = y[p];
                x[p] = std::min(a, b);
                y[p] = std::max(a, b);
            }
        }
        m_Columns.assign(positions * m_Stride, kInfinity);
        for (size_t p = 0; p < positions; ++p)
            for (size_t r = 0; r < m_Count; ++r)
                m_Columns[p * m_Stride + r] = scratch[r * positions + p];
        if (m_Count > 0 && positions > 1 && rows.width > 2) {
            m_Pairs.assign((positions - 1) * m_PairStride, kInfinity);
            for (size_t p = 0; p + 1 < positions; ++p)
                MergePrefix(Column(p), Column(p + 1), m_PairLength, m_Pairs.data() + p * m_PairStride);
        }
        return true;
    }

    const double* Column(size_t p) const { return m_Columns.data() + p * m_Stride; }
    const double* Pair(size_t p) const { return m_Pairs.data() + p * m_PairStride; }
    size_t Count() const { return m_Count; }
    size_t PairLength() const { return m_PairLength; }

private:
    static constexpr double kInfinity = std::numeric_limits<double>::infinity();

    std::vector<double>& m_Columns;
    std::vector<double>& m_Pairs;
    size_t m_Count, m_PairLength, m_Stride, m_PairStride;
};

// Ranks in the union of two ascending runs a and b: the (k + 1)-th smallest
// is the least, over the ways of taking k + 1 values from the fronts of both,
// of the largest value taken. Branch-free and independent terms.
class MergedRuns : public RankedValues {
public:
    MergedRuns(const double* a, size_t aLength, const double* b, size_t bLength)
        : m_A(a), m_ALength(aLength), m_B(b), m_BLength(bLength)
    {
    }

    double At(size_t k) const override
    {
        const size_t low = k + 1 > m_ALength ? k + 1 - m_ALength : 0;
        const size_t high = std::min(m_BLength, k + 1);
        double least = low == 0 ? m_A[k] : std::numeric_limits<double>::infinity();
        for (size_t j = std::max<size_t>(low, 1); j <= high && j <= k; ++j)
            least = std::min(least, std::max(m_B[j - 1], m_A[k - j]));
        return high == k + 1 ? std::min(least, m_B[k]) : least;
    }

private:
    const double* m_A;
    size_t m_ALength;
    const double* m_B;
    size_t m_BLength;
};

class SortedArray : public RankedValues {
public:
    explicit SortedArray(const double* values) : m_Values(values) {}
    double At(size_t k) const override { return m_Values[k]; }

private:
    const double* m_Values;
};

double Quarter(const RankedValues& values, size_t n, size_t quarters) { return values.At(n * quarters / 4); }

} // namespace OrderFiltersPrivate

using namespace OrderFiltersPrivate;
using F = CNonlinearFilter;

CRankFilter::CRankFilter(const Params& params)
    : CValueFilter(params), m_ColumnSorter(SortingNetwork(WindowCount() / RowWidth()))
{
}

bool CRankFilter::FromValues(std::vector<double>& values, size_t centre, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    const double centreValue = centre == NoCentre ? 0.0 : values[centre];
    std::sort(values.begin(), values.end(), [](double a, double b) { return Before(a, b); });
    out = FromRanks(SortedArray(values.data()), values.size(), centre == NoCentre ? nullptr : &centreValue);
    return true;
}

void CRankFilter::FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last,
                            double* out, unsigned char* ok, FilterWindow& window) const
{
    const size_t width = rows.width, count = size_t(rows.rowCount) * width;
    const size_t keep = TopRank(count) + 1;
    SortedColumns columns(window.Scratch(1), window.Scratch(2), rows.rowCount, keep);
    if (!columns.Sort(rows, first, last - first + width - 1, m_ColumnSorter, window.Scratch(0))) {
        CValueFilter::FilterRun(rows, component, first, last, out, ok, window);
        return;
    }
    // Two buffers taking turns as the merges' output, each padded like a column.
    std::vector<double>& buffers = window.Scratch(0);
    buffers.assign(4 * keep, std::numeric_limits<double>::infinity());
    for (unsigned int x = first; x < last; ++x) {
        const size_t q = x - first;
        // The window's columns q to q + width - 1: pairs merged on while more
        // than two columns are left, then the last one or two ranked directly.
        const double* merged = columns.Column(q);
        size_t length = columns.Count(), c = 1;
        if (width > 2) {
            merged = columns.Pair(q);
            length = columns.PairLength();
            for (c = 2; c + 2 < width; c += 2) {
                double* target = buffers.data() + (c / 2 % 2) * 2 * keep;
                const size_t taken = std::min(length + columns.PairLength(), keep);
                MergePrefix(merged, columns.Pair(q + c), taken, target);
                std::fill(target + taken, target + 2 * keep, std::numeric_limits<double>::infinity());
                merged = target;
                length = taken;
            }
        }
        const bool lastPair = width - c == 2;
        const MergedRuns ranks(merged, length, width == 1 ? nullptr : lastPair ? columns.Pair(q + c) : columns.Column(q + c),
                               width == 1 ? 0 : lastPair ? columns.PairLength() : columns.Count());
        const double centre = rows.Centre(x);
        out[x] = FromRanks(ranks, count, &centre);
        ok[x] = 1;
    }
}

bool Filter_Minimum::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    out = *std::min_element(values.begin(), values.end(), F::Before);
    return true;
}

size_t Filter_LowerQuartile::TopRank(size_t n) const { return n / 4; }

double Filter_LowerQuartile::FromRanks(const RankedValues& values, size_t n, const double*) const
{
    return Quarter(values, n, 1);
}

size_t Filter_Median::TopRank(size_t n) const { return n / 2; }

double Filter_Median::FromRanks(const RankedValues& values, size_t n, const double*) const
{
    return Quarter(values, n, 2);
}

size_t Filter_UpperQuartile::TopRank(size_t n) const { return n * 3 / 4; }

double Filter_UpperQuartile::FromRanks(const RankedValues& values, size_t n, const double*) const
{
    return Quarter(values, n, 3);
}

bool Filter_Maximum::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    out = *std::max_element(values.begin(), values.end(), F::Before);
    return true;
}

bool Filter_Range::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    const auto [low, high] = std::minmax_element(values.begin(), values.end(), F::Before);
    out = *high - *low;
    return true;
}

size_t Filter_InterQuartileRange::TopRank(size_t n) const { return n * 3 / 4; }

double Filter_InterQuartileRange::FromRanks(const RankedValues& values, size_t n, const double*) const
{
    return Quarter(values, n, 3) - Quarter(values, n, 1);
}

bool Filter_Rank::FromValues(std::vector<double>& values, size_t centre, unsigned int, double& out) const
{
    if (centre == NoCentre)
        return false;
    // The place of the first value equal to the centre among the sorted values.
    const double value = values[centre];
    out = static_cast<double>(1 + std::count_if(values.begin(), values.end(),
                                                 [value](double v) { return F::Before(v, value); }));
    return true;
}

size_t Filter_MedianDifference::TopRank(size_t n) const { return n / 2; }

double Filter_MedianDifference::FromRanks(const RankedValues& values, size_t n, const double* centre) const
{
    return centre ? *centre - Quarter(values, n, 2) : 0.0;
}

} // namespace core
