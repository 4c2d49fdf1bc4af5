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

// The columns of a stretch of the window rows (one position of every row),
// each sorted ascending and followed by infinities enough for any merge that
// reads it.
class SortedColumns {
public:
    SortedColumns(std::vector<double>& columns, size_t count, size_t keep)
        : m_Columns(columns), m_Count(count), m_Stride(count + keep)
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
        return true;
    }

    const double* Column(size_t p) const { return m_Columns.data() + p * m_Stride; }
    size_t Count() const { return m_Count; }

private:
    static constexpr double kInfinity = std::numeric_limits<double>::infinity();

    std::vector<double>& m_Columns;
    size_t m_Count, m_Stride;
};

// For a window 2m + 1 columns wide: the merges of the 2m columns from each
// even position on, up to the highest rank wanted. A window starting at an
// even position is the block there and the column after it; one starting at
// an odd position, its first column and the block after it. So blocks, and
// the pairs of columns they are merged from, are made at even positions only.
class ColumnBlocks {
public:
    ColumnBlocks(const SortedColumns& columns, size_t width, size_t keep, std::vector<double>& pairs,
                 std::vector<double>& blocks)
        : m_Columns(columns), m_Half(width / 2), m_Keep(keep), m_Pairs(pairs), m_Blocks(blocks),
          m_PairLength(std::min(2 * columns.Count(), keep)), m_PairStride(m_PairLength + keep),
          m_BlockLength(std::min(2 * m_Half * columns.Count(), keep))
    {
    }

    // Blocks at the even positions up to `nodes`; `buffers` holds the merges on the way.
    void Make(size_t nodes, std::vector<double>& buffers)
    {
        const size_t blocks = nodes / 2 + 1;
        const size_t pairs = blocks + m_Half - 1;
        m_Pairs.assign(pairs * m_PairStride, std::numeric_limits<double>::infinity());
        for (size_t t = 0; t < pairs; ++t)
            MergePrefix(m_Columns.Column(2 * t), m_Columns.Column(2 * t + 1), m_PairLength, PairAt(t));
        if (m_Half == 1)
            return;
        m_Blocks.resize(blocks * m_Keep);
        buffers.assign(4 * m_Keep, std::numeric_limits<double>::infinity());
        for (size_t b = 0; b < blocks; ++b) {
            const double* merged = PairAt(b);
            size_t length = m_PairLength;
            for (size_t t = 1; t < m_Half; ++t) {
                const size_t taken = std::min(length + m_PairLength, m_Keep);
                double* target = t + 1 == m_Half ? m_Blocks.data() + b * m_Keep : buffers.data() + (t % 2) * 2 * m_Keep;
                MergePrefix(merged, PairAt(b + t), taken, target);
                if (t + 1 < m_Half)
                    std::fill(target + taken, target + 2 * m_Keep, std::numeric_limits<double>::infinity());
                merged = target;
                length = taken;
            }
        }
    }

    // The block at even position p.
    const double* Block(size_t p) const
    {
        return m_Half == 1 ? m_Pairs.data() + p / 2 * m_PairStride : m_Blocks.data() + p / 2 * m_Keep;
    }
    size_t BlockLength() const { return m_BlockLength; }

private:
    double* PairAt(size_t t) { return m_Pairs.data() + t * m_PairStride; }

    const SortedColumns& m_Columns;
    size_t m_Half, m_Keep;
    std::vector<double>& m_Pairs;
    std::vector<double>& m_Blocks;
    size_t m_PairLength, m_PairStride, m_BlockLength;
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
    const size_t width = rows.width, count = size_t(rows.rowCount) * width, nodes = last - first;
    const size_t keep = TopRank(count) + 1;
    SortedColumns columns(window.Scratch(1), rows.rowCount, keep);
    // Windows of an even width have no middle column to pair around; they go node by node.
    if (width % 2 == 0 || !columns.Sort(rows, first, nodes + width - 1, m_ColumnSorter, window.Scratch(0))) {
        CValueFilter::FilterRun(rows, component, first, last, out, ok, window);
        return;
    }
    ColumnBlocks blocks(columns, width, keep, window.Scratch(2), window.Scratch(3));
    if (width > 1)
        blocks.Make(nodes, window.Scratch(0));
    for (size_t q = 0; q < nodes; ++q) {
        const bool even = q % 2 == 0;
        const MergedRuns ranks = width == 1 ? MergedRuns(columns.Column(q), columns.Count(), nullptr, 0)
                                 : even     ? MergedRuns(blocks.Block(q), blocks.BlockLength(),
                                                     columns.Column(q + width - 1), columns.Count())
                                            : MergedRuns(blocks.Block(q + 1), blocks.BlockLength(), columns.Column(q),
                                                     columns.Count());
        const double centre = rows.Centre(first + unsigned(q));
        out[first + q] = FromRanks(ranks, count, &centre);
        ok[first + q] = 1;
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
