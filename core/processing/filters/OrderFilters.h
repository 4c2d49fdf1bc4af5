#pragma once
// The rank filters: order statistics of the window's valid values, found by
// partial sorting. With n values the quartiles and the median are the values
// at sorted positions n / 4, n / 2 and 3n / 4 (integer division, from 0): no
// averaging, so the median of an even count is the upper of the two middle
// values. No valid value gives a blank.
#include "core/processing/filters/CNonlinearFilter.h"

namespace core {

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
FENRAK_VALUE_FILTER(Filter_LowerQuartile);
// The value at n / 2.
FENRAK_VALUE_FILTER(Filter_Median);
// The value at 3n / 4.
FENRAK_VALUE_FILTER(Filter_UpperQuartile);
// The largest value (dilation).
FENRAK_VALUE_FILTER(Filter_Maximum);
// The largest less the smallest.
FENRAK_VALUE_FILTER(Filter_Range);
// The value at 3n / 4 less the value at n / 4.
FENRAK_VALUE_FILTER(Filter_InterQuartileRange);
// The 1-based place of the centre among the sorted values, ties taking the
// lowest; a blank centre gives a blank.
FENRAK_VALUE_FILTER(Filter_Rank);
// The centre less the median; a blank centre gives 0.
FENRAK_VALUE_FILTER(Filter_MedianDifference);

} // namespace core
