#pragma once
// The linear filters: each fixes the weights of its window from the kernel
// coordinates of the elements (normalised u, v, w and their length d).
#include "core/processing/filters/CLinearFilter.h"

namespace core {

// Weight 1.
class Filter_Average : public CLinearFilter {
public:
    explicit Filter_Average(const Params& params);
};

// Weight 1 inside the ellipsoid u^2 + v^2 + w^2 <= 1, else 0.
class Filter_Ellipsoid : public CLinearFilter {
public:
    explicit Filter_Ellipsoid(const Params& params);
};

// 1 - max(|u|, |v|, |w|): the window's rim weighs nothing.
class Filter_InfNorm : public CLinearFilter {
public:
    explicit Filter_InfNorm(const Params& params);
};

// 1 - min(d, 1).
class Filter_Dist : public CLinearFilter {
public:
    explicit Filter_Dist(const Params& params);
};

// 1 / max(1, e), e the distance from the centre in index units: the centre
// and its direct neighbours weigh 1.
class Filter_InvDist : public CLinearFilter {
public:
    explicit Filter_InvDist(const Params& params);
};

// exp(-alpha d^2), alpha the first parameter.
class Filter_Gaussian : public CLinearFilter {
public:
    explicit Filter_Gaussian(const Params& params);
};

// The ellipsoid's mask with the centre at minus the count of ones. The
// weights sum to -1, so a constant field keeps its value.
class Filter_Laplacian : public CLinearFilter {
public:
    explicit Filter_Laplacian(const Params& params);
};

// The Gaussian of the first parameter, g, against the centre value v with the
// sharpness c (the second parameter): a v - b g, with a = c / (2c - 1) and
// b = (1 - c) / (2c - 1). A blank centre gives a blank.
class Filter_Unsharp : public CLinearFilter {
public:
    explicit Filter_Unsharp(const Params& params);
    bool FilterNode(const FilterWindow& window, unsigned int component, double& out) const override;
    void FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last, double* out,
                   unsigned char* ok, FilterWindow& window) const override;

private:
    double m_CentreScale;
    double m_BlurScale;
};

} // namespace core
