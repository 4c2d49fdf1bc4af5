#include "core/processing/filters/CLatticeFilter.h"

#include "core/data/PrimConvert.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/filters/GradientFilters.h"
#include "core/processing/filters/LinearFilters.h"
#include "core/processing/filters/OrderFilters.h"
#include "core/processing/filters/PointFilters.h"
#include "core/processing/filters/StatisticFilters.h"
#include "core/network/VbProgress.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <cstring>

namespace core {

namespace LatticeFilterPrivate {

const char* const kThresholdLabel = "Threshold";
const char* const kAlphaComment = "The Gaussian Range parameter.  The weights die-off faster for larger alpha.";

const CLatticeFilter::Info kFilters[CLatticeFilter::FilterCount] = {
    {"Average (rectangular)", 0, {}},
    {"Average (spherical)", 0, {}},
    {"Distance 'Inf Norm'", 0, {}},
    {"Distance", 0, {}},
    {"Distance (inverse)", 0, {}},
    {"Gauss", 1, {{"Alpha", kAlphaComment}}},
    {"Laplacian Edge Detect", 0, {}},
    {"Unsharp Mask", 2,
     {{"Alpha", kAlphaComment},
      {"Sharpness (c)", "The sharpness parameter.  It determines the relation between the original and blurred "
                        "image, effectively controlling the amount of sharpness."}}},
    {"Minimum (erosion)", 0, {}},
    {"Quartile (lower)", 0, {}},
    {"Median", 0, {}},
    {"Quartile (upper)", 0, {}},
    {"Maximum (dilation)", 0, {}},
    {"Range", 0, {}},
    {"Interquartile Range", 0, {}},
    {"Standard Deviation", 0, {}},
    {"Coefficient of Variation", 0, {}},
    {"Central Moment", 1,
     {{"Power", "The power parameter. A power of 2 yields the variance, a power of 3 the skewness."}}},
    {"Rank", 0, {}},
    {"Mean Removal", 0, {}},
    {"Median Difference", 0, {}},
    {"Threshold Averaging", 1,
     {{kThresholdLabel, "The outlier threshold. Deviations from the local average greater than the threshold are "
                        "truncated."}}},
    {"Sobel Max", 0, {}},
    {"Sobel Norm", 0, {}},
    {"Prewitt", 0, {}},
    {"Zero Crossing", 0, {}},
    {"Threshold Crossing", 1,
     {{kThresholdLabel, "The critical threshold. If the threshold is crossed in the neighborhood, the node is 1, "
                        "otherwise the node is 0."}}},
    {"Bounding", 2,
     {{"Lower bound", "Values less than this will be set to this value."},
      {"Upper bound", "Values greater than this will be set to this value."}}},
    {"Brightness & Contrast", 2,
     {{"Brightness", "Brightness offset.  Larger values increase the overall brightness."},
      {"Contrast", "Contrast scale factor.  Larger values increase the contrast."}}},
    {"Gamma Correction", 1, {{"Gamma", "Gamma < 1 reduces gamma, Gamma > 1 increases gamma."}}},
    {"Histogram Equalization", 0, {}},
};

// How many copies of each parameter the filter reads: one per component for
// the filters whose parameters are per component, else one.
unsigned int CopiesPerParameter(uint32_t filter, unsigned int components)
{
    switch (filter) {
    case CLatticeFilter::ThresholdAverage:
    case CLatticeFilter::ThresholdCrossing:
    case CLatticeFilter::Gamma:
    case CLatticeFilter::Bounding:
    case CLatticeFilter::Brightness:
        return components;
    default:
        return 1;
    }
}

[[noreturn]] void ThrowInternal(int line) { shr::ThrowSharedError("Core", __FILE__, line, 2); }

// The settings and vectors of `params` against the lattices and the tables.
void CheckParams(const CLatticeFilter::Params& params)
{
    using F = CLatticeFilter;
    F::CheckSetting(params.filter, CLatticeFilter::FilterCount, "lattice filter");
    F::CheckSetting(params.edgeHandling, CLatticeFilter::EdgeCount, "edge handling");
    F::CheckSetting(params.blankHandling, CLatticeFilter::BlankCount, "blank handling");
    F::CheckSetting(params.orientation, CLatticeFilter::OrientationCount, "filter orientation");
    for (unsigned int size : params.window)
        if (size == 0 || size > CLatticeFilter::MaxWindowSize)
            shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid kernel size %u.", size);

    const VdUniformLattice& in = *params.input;
    const VdUniformLattice& out = *params.output;
    const unsigned int components = in.ComponentCount();
    if (out.ComponentCount() != components || out.DataType() != in.DataType() ||
        std::memcmp(out.GetDims(), in.GetDims(), sizeof(unsigned int) * 3) != 0)
        ThrowInternal(__LINE__);
    if (params.components.size() != components || params.edgeFill.size() != components ||
        params.blankFill.size() != components)
        ThrowInternal(__LINE__);
    const CLatticeFilter::Info& info = kFilters[params.filter];
    if (params.params.size() < size_t(info.parameterCount) * CopiesPerParameter(params.filter, components))
        ThrowInternal(__LINE__);
}

std::unique_ptr<CLatticeFilter> MakeFilter(const CLatticeFilter::Params& p)
{
    using F = CLatticeFilter;
    switch (p.filter) {
    case F::Average: return std::make_unique<Filter_Average>(p);
    case F::Ellipsoid: return std::make_unique<Filter_Ellipsoid>(p);
    case F::InfNorm: return std::make_unique<Filter_InfNorm>(p);
    case F::Dist: return std::make_unique<Filter_Dist>(p);
    case F::InvDist: return std::make_unique<Filter_InvDist>(p);
    case F::Gaussian: return std::make_unique<Filter_Gaussian>(p);
    case F::Laplacian: return std::make_unique<Filter_Laplacian>(p);
    case F::Unsharp: return std::make_unique<Filter_Unsharp>(p);
    case F::Minimum: return std::make_unique<Filter_Minimum>(p);
    case F::LowerQuartile: return std::make_unique<Filter_LowerQuartile>(p);
    case F::Median: return std::make_unique<Filter_Median>(p);
    case F::UpperQuartile: return std::make_unique<Filter_UpperQuartile>(p);
    case F::Maximum: return std::make_unique<Filter_Maximum>(p);
    case F::Range: return std::make_unique<Filter_Range>(p);
    case F::InterQuartileRange: return std::make_unique<Filter_InterQuartileRange>(p);
    case F::StandardDeviation: return std::make_unique<Filter_StandardDeviation>(p);
    case F::CoefVariation: return std::make_unique<Filter_CoefVariation>(p);
    case F::CentralMoment: return std::make_unique<Filter_CentralMoment>(p);
    case F::Rank: return std::make_unique<Filter_Rank>(p);
    case F::MeanRemoval: return std::make_unique<Filter_MeanRemoval>(p);
    case F::MedianDifference: return std::make_unique<Filter_MedianDifference>(p);
    case F::ThresholdAverage: return std::make_unique<Filter_ThresholdAverage>(p);
    case F::SobelA: return std::make_unique<Filter_SobelA>(p);
    case F::SobelB: return std::make_unique<Filter_SobelB>(p);
    case F::Prewitt: return std::make_unique<Filter_Prewitt>(p);
    case F::ZeroCrossing: return std::make_unique<Filter_ZeroCrossing>(p);
    case F::ThresholdCrossing: return std::make_unique<Filter_ThresholdCrossing>(p);
    case F::Bounding: return std::make_unique<Filter_Bounding>(p);
    case F::Brightness: return std::make_unique<Filter_Brightness>(p);
    case F::Gamma: return std::make_unique<Filter_Gamma>(p);
    case F::Histogram: return std::make_unique<Filter_Histogram>(p);
    default: break;
    }
    ThrowInternal(__LINE__);
}

} // namespace LatticeFilterPrivate

using namespace LatticeFilterPrivate;

int CLatticeFilter::NormalAxis(uint32_t orientation)
{
    static const int kNormal[OrientationCount] = {2, 1, 0, -1};
    return orientation < OrientationCount ? kNormal[orientation] : -1;
}

const unsigned int* CLatticeFilter::SliceAxes(uint32_t orientation)
{
    static const unsigned int kAxes[OrientationCount][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {0, 1, 2}};
    return kAxes[orientation < OrientationCount ? orientation : Volume];
}

void CLatticeFilter::CheckSetting(uint32_t value, uint32_t count, const char* what)
{
    if (value >= count)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid %s %u.", what, value);
}

const CLatticeFilter::Info& CLatticeFilter::GetInfo(uint32_t filter)
{
    CheckSetting(filter, FilterCount, "lattice filter");
    return kFilters[filter];
}

std::vector<double> CLatticeFilter::ParameterVector(uint32_t filter, const double* params, unsigned int components)
{
    const unsigned int copies = CopiesPerParameter(filter, components);
    if (copies == 1 || filter >= FilterCount)
        return std::vector<double>(params, params + ParameterSlots);
    std::vector<double> vector;
    for (unsigned int p = 0; p < kFilters[filter].parameterCount; ++p)
        vector.insert(vector.end(), copies, params[p]);
    return vector;
}

bool CLatticeFilter::Execute(const Params& params)
{
    if (!params.input || !params.output)
        ThrowInternal(__LINE__);
    const unsigned int* dims = params.input->GetDims();
    if (dims[0] == 0 || dims[1] == 0 || dims[2] == 0 || params.input->ComponentCount() == 0)
        return true;
    return Create(params)->Run();
}

std::unique_ptr<CLatticeFilter> CLatticeFilter::Create(const Params& params)
{
    if (!params.input || !params.output)
        ThrowInternal(__LINE__);
    CheckParams(params);
    return MakeFilter(params);
}

CLatticeFilter::CLatticeFilter(const Params& params) : m_Params(params)
{
    if (!params.input || !params.output)
        ThrowInternal(__LINE__);
}

CLatticeFilter::~CLatticeFilter() = default;

unsigned int CLatticeFilter::ComponentCount() const { return m_Params.input->ComponentCount(); }

double CLatticeFilter::Param(size_t index) const
{
    if (index >= m_Params.params.size())
        ThrowInternal(__LINE__);
    return m_Params.params[index];
}

void CLatticeFilter::GetSliceDims(unsigned int& width, unsigned int& height, unsigned int& depth) const
{
    const unsigned int* n = m_Params.input->GetDims();
    const unsigned int* axes = SliceAxes(m_Params.orientation);
    width = n[axes[0]], height = n[axes[1]], depth = n[axes[2]];
}

bool CLatticeFilter::RunComponents(size_t units, const ComponentFilter& filter) const
{
    VbProgress progress(shr::ToString("Filtering: %s", GetInfo(m_Params.filter).label).c_str(), 0, 500, 100);
    const auto& flags = m_Params.components;
    const size_t flagged = static_cast<size_t>(std::count(flags.begin(), flags.end(), true));
    size_t done = 0;
    for (unsigned int c = 0; c < ComponentCount(); ++c) {
        if (!m_Params.components[c]) {
            CopyComponent(c);
            continue;
        }
        if (!filter(c, progress, done, units * flagged))
            return false;
        done += units;
    }
    Output().DataModified();
    return true;
}

void CLatticeFilter::CopyComponent(unsigned int component) const
{
    const VdUniformLattice& in = Input();
    VdUniformLattice& out = Output();
    const unsigned int nodes = in.VertexCount();
    const unsigned int stride = ComponentCount();
    DispatchPrimType(in.DataType(), [&](auto tag) {
        using T = typename decltype(tag)::Type;
        const T* from = static_cast<const T*>(in.DataPtr()) + component;
        T* to = static_cast<T*>(out.DataWritePtr()) + component;
        for (unsigned int n = 0; n < nodes; ++n)
            to[size_t(n) * stride] = from[size_t(n) * stride];
    });
    if (!in.HasBlanks())
        return;
    for (unsigned int n = 0; n < nodes; ++n)
        if (in.IsBlank(n, component))
            out.SetBlank(n, component);
}

} // namespace core
