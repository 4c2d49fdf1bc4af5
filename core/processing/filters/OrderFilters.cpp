#include "core/processing/filters/OrderFilters.h"

#include <algorithm>

namespace core {

namespace OrderFiltersPrivate {

// The value at sorted position (n * quarters) / 4; false for no values.
bool Quantile(std::vector<double>& values, size_t quarters, double& out)
{
    if (values.empty())
        return false;
    out = CNonlinearFilter::Select(values, values.size() * quarters / 4);
    return true;
}

} // namespace OrderFiltersPrivate

using namespace OrderFiltersPrivate;
using F = CNonlinearFilter;

bool Filter_Minimum::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    out = *std::min_element(values.begin(), values.end(), F::Before);
    return true;
}

bool Filter_LowerQuartile::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    return Quantile(values, 1, out);
}

bool Filter_Median::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    return Quantile(values, 2, out);
}

bool Filter_UpperQuartile::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    return Quantile(values, 3, out);
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

bool Filter_InterQuartileRange::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    double lower = 0.0, upper = 0.0;
    if (!Quantile(values, 3, upper))
        return false;
    Quantile(values, 1, lower);
    out = upper - lower;
    return true;
}

bool Filter_Rank::FromValues(std::vector<double>& values, size_t centre, unsigned int, double& out) const
{
    if (centre == NoCentre)
        return false;
    const double value = values[centre];
    std::sort(values.begin(), values.end(), F::Before);
    out = static_cast<double>(std::lower_bound(values.begin(), values.end(), value, F::Before) - values.begin() + 1);
    return true;
}

bool Filter_MedianDifference::FromValues(std::vector<double>& values, size_t centre, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    if (centre == NoCentre) {
        out = 0.0;
        return true;
    }
    const double value = values[centre];
    double median = 0.0;
    Quantile(values, 2, median);
    out = value - median;
    return true;
}

} // namespace core
