#pragma once
// The point operations: each node's value from itself and the component's
// data limits, no window. Their parameters are per component (see
// CLatticeFilter::ParameterVector).
#include "core/processing/filters/CLatticeFilter.h"

namespace core {

// Values below the lower bound become it, then values above the upper bound become that.
class Filter_Bounding : public CLatticeFilter {
public:
    explicit Filter_Bounding(const Params& params) : CLatticeFilter(params) {}
    bool Run() override;
};

// c v + (mid + b - c mid) with brightness b, contrast c and mid the middle of
// the data limits, clipped to the data type.
class Filter_Brightness : public CLatticeFilter {
public:
    explicit Filter_Brightness(const Params& params) : CLatticeFilter(params) {}
    bool Run() override;
};

// ((v - min) / range)^(1 / g) range + min over the data limits, clipped to the
// data type; values stand when the range or g is within 2.220446049250313e-16 of 0.
class Filter_Gamma : public CLatticeFilter {
public:
    explicit Filter_Gamma(const Params& params) : CLatticeFilter(params) {}
    bool Run() override;
};

// Each value becomes the entry of its bin (4096 over the data limits) in the
// cumulative histogram stretched back over the limits.
class Filter_Histogram : public CLatticeFilter {
public:
    explicit Filter_Histogram(const Params& params) : CLatticeFilter(params) {}
    bool Run() override;

    static constexpr unsigned int BinCount = 4096;
};

} // namespace core
