#pragma once
// CDataMetricRules: which statistic of the neighbourhood a data-metric gridding
// computes, and from which component. METRIC values are the positions in the
// metric list shown to the user.
#include <cstdint>

namespace core {

class CDataMetricRules {
public:
    enum METRIC : int32_t {
        Minimum = 0,
        LowerQuartile = 1,
        Median = 2,
        UpperQuartile = 3,
        Maximum = 4,
        Range = 5,
        Midrange = 6,
        InterQuartileRange = 7,
        Mean = 8,
        StandardDeviation = 9,
        Variance = 10,
        CoefficientOfVariation = 11,
        Sum = 12,
        MedianAbsoluteDeviation = 13,
        RootMeanSquare = 14,
        Count = 15,
        Density = 16,
        Nearest = 17,
        Farthest = 18,
        MedianDistance = 19,
        AverageDistance = 20,
    };

    // Component 0, Count.
    CDataMetricRules();
    CDataMetricRules(int index, const METRIC& metric);
    CDataMetricRules(const CDataMetricRules&) = default;
    CDataMetricRules& operator=(const CDataMetricRules&) = default;

    int Index() const { return m_Index; }
    void Index(int index) { m_Index = index; }
    METRIC Metric() const { return m_Metric; }

    static int MetricCount() { return 21; }
    // The user-visible label of a metric ("Minimum", "Lower quartile", ...), or
    // null outside 0..MetricCount() - 1.
    static const char* MetricLabel(int metric);

private:
    int32_t m_Index;
    METRIC m_Metric;
};

} // namespace core
