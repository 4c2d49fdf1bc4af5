#pragma once
// The rank filters: order statistics of the window's valid values. With n
// values the quartiles and the median are the values at sorted positions
// n / 4, n / 2 and 3n / 4 (integer division, from 0): no averaging, so the
// median of an even count is the upper of the two middle values. No valid
// value gives a blank.
#include "core/processing/filters/CNonlinearFilter.h"

#include <utility>

namespace core {

// The values of a window by rank, from 0, smallest first.
class RankedValues {
public:
    virtual double At(size_t rank) const = 0;

protected:
    ~RankedValues() = default;
};

// The filters that read the sorted values at fixed ranks. A window is sorted
// as it stands; a run of windows free of NaN is ranked faster: each column of
// the window rows (one position in every row) is sorted once, for all the
// windows that cover it, neighbouring columns are merged in pairs, and a
// window merges its pairs up to the highest rank it reads.
class CRankFilter : public CValueFilter {
public:
    void FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last, double* out,
                   unsigned char* ok, FilterWindow& window) const override;

protected:
    explicit CRankFilter(const Params& params);

    // The highest rank read from n values, n > 0.
    virtual size_t TopRank(size_t n) const = 0;
    // The node's value from its n values and its centre (null when not valid).
    virtual double FromRanks(const RankedValues& values, size_t n, const double* centre) const = 0;

private:
    bool FromValues(std::vector<double>& values, size_t centre, unsigned int component,
                    double& out) const final;

    // The comparators of a sorting network over a column of the window rows.
    std::vector<std::pair<unsigned int, unsigned int>> m_ColumnSorter;
};

#define FENRAK_RANK_FILTER(Name)                                                                        \
    class Name : public CRankFilter {                                                                   \
    public:                                                                                             \
        explicit Name(const Params& params) : CRankFilter(params) {}                                    \
                                                                                                        \
    private:                                                                                            \
        size_t TopRank(size_t n) const override;                                                        \
        double FromRanks(const RankedValues& values, size_t n, const double* centre) const override;    \
    }

#define FENRAK_VALUE_FILTER(Name)                                                                       \
    class Name : public CValueFilter {                                                                  \
    public:                                                                                             \
        explicit Name(const Params& params) : CValueFilter(params) {}                                   \
                                                                                                        \
    private:                                                                                            \
        bool FromValues(std::vector<double>& values, size_t centre, unsigned int component,             \
                        double& out) const override;                                                    \
    }

// The smallest value (erosion).
FENRAK_VALUE_FILTER(Filter_Minimum);
// The value at n / 4.
FENRAK_RANK_FILTER(Filter_LowerQuartile);
// The value at n / 2.
FENRAK_RANK_FILTER(Filter_Median);
// The value at 3n / 4.
FENRAK_RANK_FILTER(Filter_UpperQuartile);
// The largest value (dilation).
FENRAK_VALUE_FILTER(Filter_Maximum);
// The largest less the smallest.
FENRAK_VALUE_FILTER(Filter_Range);
// The value at 3n / 4 less the value at n / 4.
FENRAK_RANK_FILTER(Filter_InterQuartileRange);
// The 1-based place of the centre among the sorted values, ties taking the
// lowest; a blank centre gives a blank.
FENRAK_VALUE_FILTER(Filter_Rank);
// The centre less the median; a blank centre gives 0.
FENRAK_RANK_FILTER(Filter_MedianDifference);

} // namespace core
