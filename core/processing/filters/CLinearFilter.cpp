#include "core/processing/filters/CLinearFilter.h"

#include "shr/MathUtil.h"

#include <algorithm>
#include <cmath>

namespace core {

namespace CLinearFilterPrivate {

// A sum of weights within this of zero is not divided by.
constexpr double kMinWeightSum = 2.220446049250313e-16;

inline double Normalise(double products, double weights)
{
    return std::fabs(weights) > kMinWeightSum ? products / weights : products;
}

} // namespace CLinearFilterPrivate

using namespace CLinearFilterPrivate;

CLinearFilter::CLinearFilter(const Params& params) : CNeighborhoodFilter(params) {}

std::vector<CLinearFilter::KernelPoint> CLinearFilter::KernelPoints() const
{
    const unsigned int* size = WindowSize();
    int half[3];
    double radius[3];
    for (int axis = 0; axis < 3; ++axis) {
        half[axis] = static_cast<int>(size[axis] / 2);
        radius[axis] = half[axis] < shr::EPSILON ? shr::EPSILON : half[axis];
    }
    std::vector<KernelPoint> points;
    points.reserve(WindowCount());
    for (unsigned int k = 0; k < size[2]; ++k)
        for (unsigned int j = 0; j < size[1]; ++j)
            for (unsigned int i = 0; i < size[0]; ++i) {
                const int offset[3] = {int(i) - half[0], int(j) - half[1], int(k) - half[2]};
                points.push_back(KernelPoint{offset[0] / radius[0], offset[1] / radius[1], offset[2] / radius[2],
                                             {offset[0], offset[1], offset[2]}});
            }
    return points;
}

void CLinearFilter::SetWeights(std::vector<double> weights)
{
    m_Weights = std::move(weights);
    m_Taps.clear();
    m_TapWeights = 0.0;
    for (size_t e = 0; e < m_Weights.size(); ++e) {
        if (m_Weights[e] == 0.0)
            continue;
        m_Taps.push_back(TapAt(e, m_Weights[e]));
        m_TapWeights += m_Weights[e];
    }
}

bool CLinearFilter::FilterNode(const FilterWindow& window, unsigned int, double& out) const
{
    double weights = 0.0, products = 0.0;
    bool counted = false;
    for (size_t e = 0; e < window.size(); ++e) {
        const double weight = m_Weights[e];
        if (!window[e].valid || weight == 0.0)
            continue;
        weights += weight;
        products += weight * window[e].value;
        counted = true;
    }
    if (!counted)
        return false;
    out = Normalise(products, weights);
    return true;
}

void CLinearFilter::FilterRun(const WindowRows& rows, unsigned int, unsigned int first, unsigned int last,
                              double* out, unsigned char* ok, FilterWindow&) const
{
    const bool counted = !m_Taps.empty();
    std::fill(ok + first, ok + last, counted ? 1 : 0);
    if (!counted)
        return;
    if (std::fabs(m_TapWeights) > kMinWeightSum)
        SumTapsOver(m_Taps, rows, first, last, m_TapWeights, out + first);
    else
        SumTaps(m_Taps, rows, first, last, out + first);
}

} // namespace core
