#include "core/processing/filters/LinearFilters.h"

#include <algorithm>
#include <cmath>

namespace core {

namespace LinearFiltersPrivate {

using KernelPoint = CLinearFilter::KernelPoint;

double SquaredLength(const KernelPoint& p) { return p.u * p.u + p.v * p.v + p.w * p.w; }

template <class WeightOf>
std::vector<double> MakeWeights(const std::vector<KernelPoint>& points, WeightOf weightOf)
{
    std::vector<double> weights;
    weights.reserve(points.size());
    for (const KernelPoint& point : points)
        weights.push_back(weightOf(point));
    return weights;
}

double EllipsoidMask(const KernelPoint& p) { return SquaredLength(p) <= 1.0 ? 1.0 : 0.0; }

std::vector<double> GaussianWeights(const std::vector<KernelPoint>& points, double alpha)
{
    return MakeWeights(points, [alpha](const KernelPoint& p) { return std::exp(-alpha * SquaredLength(p)); });
}

} // namespace LinearFiltersPrivate

using namespace LinearFiltersPrivate;

Filter_Average::Filter_Average(const Params& params) : CLinearFilter(params)
{
    SetWeights(std::vector<double>(WindowCount(), 1.0));
}

Filter_Ellipsoid::Filter_Ellipsoid(const Params& params) : CLinearFilter(params)
{
    SetWeights(MakeWeights(KernelPoints(), EllipsoidMask));
}

Filter_InfNorm::Filter_InfNorm(const Params& params) : CLinearFilter(params)
{
    SetWeights(MakeWeights(KernelPoints(), [](const KernelPoint& p) {
        return 1.0 - std::max({std::fabs(p.u), std::fabs(p.v), std::fabs(p.w)});
    }));
}

Filter_Dist::Filter_Dist(const Params& params) : CLinearFilter(params)
{
    SetWeights(MakeWeights(KernelPoints(),
                           [](const KernelPoint& p) { return 1.0 - std::min(std::sqrt(SquaredLength(p)), 1.0); }));
}

Filter_InvDist::Filter_InvDist(const Params& params) : CLinearFilter(params)
{
    SetWeights(MakeWeights(KernelPoints(), [](const KernelPoint& p) {
        const double m[3] = {double(p.offset[0]), double(p.offset[1]), double(p.offset[2])};
        return 1.0 / std::max(1.0, std::sqrt(m[0] * m[0] + m[1] * m[1] + m[2] * m[2]));
    }));
}

Filter_Gaussian::Filter_Gaussian(const Params& params) : CLinearFilter(params)
{
    SetWeights(GaussianWeights(KernelPoints(), Param(0)));
}

Filter_Laplacian::Filter_Laplacian(const Params& params) : CLinearFilter(params)
{
    const std::vector<KernelPoint> points = KernelPoints();
    std::vector<double> weights = MakeWeights(points, EllipsoidMask);
    const double ones = static_cast<double>(std::count(weights.begin(), weights.end(), 1.0));
    const auto centre = std::find_if(points.begin(), points.end(), [](const KernelPoint& p) {
        return p.offset[0] == 0 && p.offset[1] == 0 && p.offset[2] == 0;
    });
    weights[static_cast<size_t>(centre - points.begin())] = -ones;
    SetWeights(std::move(weights));
}

Filter_Unsharp::Filter_Unsharp(const Params& params) : CLinearFilter(params)
{
    SetWeights(GaussianWeights(KernelPoints(), Param(0)));
    const double sharpness = Param(1);
    m_CentreScale = sharpness / (2.0 * sharpness - 1.0);
    m_BlurScale = (1.0 - sharpness) / (2.0 * sharpness - 1.0);
}

bool Filter_Unsharp::FilterNode(const FilterWindow& window, unsigned int component, double& out) const
{
    if (!window.Centre().valid || !CLinearFilter::FilterNode(window, component, out))
        return false;
    out = m_CentreScale * window.Centre().value - m_BlurScale * out;
    return true;
}

void Filter_Unsharp::FilterRun(const WindowRows& rows, unsigned int component, unsigned int first,
                               unsigned int last, double* out, unsigned char* ok, FilterWindow& window) const
{
    CLinearFilter::FilterRun(rows, component, first, last, out, ok, window);
    for (unsigned int x = first; x < last; ++x)
        if (ok[x])
            out[x] = m_CentreScale * rows.Centre(x) - m_BlurScale * out[x];
}

} // namespace core
