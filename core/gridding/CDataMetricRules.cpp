#include "core/gridding/CDataMetricRules.h"

namespace core {

namespace {

const char* const kMetricLabels[] = {
    "Minimum",
    "Lower quartile",
    "Median",
    "Upper quartile",
    "Maximum",
    "Range",
    "Midrange",
    "Inter-quartile range",
    "Mean",
    "Standard deviation",
    "Variance",
    "Coefficient of variation",
    "Sum",
    "Median absolute deviation",
    "Root mean square",
    "Count",
    "Density",
    "Nearest",
    "Farthest",
    "Median distance",
    "Average distance",
};

static_assert(sizeof(kMetricLabels) / sizeof(kMetricLabels[0]) == 21, "one label per metric");

} // namespace

CDataMetricRules::CDataMetricRules() : m_Index(0), m_Metric(Count) {}

CDataMetricRules::CDataMetricRules(int index, const METRIC& metric) : m_Index(index), m_Metric(metric) {}

const char* CDataMetricRules::MetricLabel(int metric)
{
    if (metric < 0 || metric >= MetricCount())
        return nullptr;
    return kMetricLabels[metric];
}

} // namespace core
