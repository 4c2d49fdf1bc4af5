#include "core/processing/filters/StatisticFilters.h"

#include <cmath>

namespace core {

namespace StatisticFiltersPrivate {

// With n - 1 in the divisor; 0 for fewer than two values.
double SampleDeviation(const std::vector<double>& values)
{
    if (values.size() < 2)
        return 0.0;
    const double mean = CNonlinearFilter::Mean(values);
    double sum = 0.0;
    for (double value : values)
        sum += (value - mean) * (value - mean);
    return std::sqrt(sum / static_cast<double>(values.size() - 1));
}

// Whether the values hold one strictly above `level` and one strictly below.
bool Crosses(const std::vector<double>& values, double level)
{
    bool above = false, below = false;
    for (double value : values) {
        above = above || value > level;
        below = below || value < level;
        if (above && below)
            return true;
    }
    return false;
}

} // namespace StatisticFiltersPrivate

using namespace StatisticFiltersPrivate;

bool Filter_StandardDeviation::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    out = SampleDeviation(values);
    return true;
}

bool Filter_CoefVariation::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    out = SampleDeviation(values) / Mean(values);
    return true;
}

bool Filter_CentralMoment::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    if (values.size() < 2) {
        out = 0.0;
        return true;
    }
    const double mean = Mean(values), power = Param(0);
    double sum = 0.0;
    for (double value : values)
        sum += std::pow(value - mean, power);
    out = sum / static_cast<double>(values.size() - 1);
    return true;
}

bool Filter_MeanRemoval::FromValues(std::vector<double>& values, size_t centre, unsigned int, double& out) const
{
    out = centre == NoCentre ? 0.0 : values[centre] - Mean(values);
    return true;
}

bool Filter_ThresholdAverage::FromValues(std::vector<double>& values, size_t centre, unsigned int component,
                                         double& out) const
{
    double sum = 0.0;
    size_t others = 0;
    for (size_t v = 0; v < values.size(); ++v)
        if (v != centre)
            sum += values[v], ++others;
    if (others == 0) {
        if (centre == NoCentre)
            return false;
        out = values[centre];
        return true;
    }
    const double mean = sum / static_cast<double>(others);
    const bool outlier = centre == NoCentre || std::fabs(values[centre] - mean) > Param(component);
    out = outlier ? mean : values[centre];
    return true;
}

bool Filter_ZeroCrossing::FromValues(std::vector<double>& values, size_t, unsigned int, double& out) const
{
    if (values.empty())
        return false;
    out = Crosses(values, 0.0) ? 1.0 : 0.0;
    return true;
}

bool Filter_ThresholdCrossing::FromValues(std::vector<double>& values, size_t, unsigned int component,
                                          double& out) const
{
    if (values.empty())
        return false;
    out = Crosses(values, Param(component)) ? 1.0 : 0.0;
    return true;
}

} // namespace core
