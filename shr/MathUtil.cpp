#include "shr/MathUtil.h"

#include "shr/Exception.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

namespace shr {

double hypot(double x, double y, double z)
{
    return std::hypot(x, y, z);
}

double Normalize(double value, double min, double max)
{
    const double range = max - min;
    return range == 0.0 ? 0.0 : (value - min) / range;
}

double PointLineSegDistSq(const Vec3d& point, const Vec3d& a, const Vec3d& b)
{
    const Vec3d ab = b - a;
    const double lengthSq = ab.LengthSquared();
    double t = 0.0;
    if (lengthSq > 0.0)
        t = std::clamp((point - a).Dot(ab) / lengthSq, 0.0, 1.0);
    return (point - (a + ab * t)).LengthSquared();
}

int CeilPowerOf2(int n)
{
    constexpr int largest = 1 << 30;
    if (n > largest)
        SHR_THROW(0, "No power of two in int range is at least %d.", n);
    int p = 1;
    while (p < n)
        p <<= 1;
    return p;
}

namespace {

// A step written as mantissa x 10^exponent, kept apart so that multiples of
// it can be formed without the rounding of a stored 0.1.
struct NiceStep {
    double mantissa;
    int exponent;

    double Scale(double k) const
    {
        const double p10 = std::pow(10.0, std::abs(exponent));
        return exponent < 0 ? k * mantissa / p10 : k * mantissa * p10;
    }
    double Value() const { return Scale(1.0); }
};

// The smallest nice step at or above `raw` (a positive normal double). The
// small slack keeps a raw step of 2.0000000000000004 at 2.
NiceStep ChooseStep(double raw)
{
    static const double mantissas[] = {1.0, 2.0, 2.5, 5.0, 10.0};
    const int exponent = static_cast<int>(std::floor(std::log10(raw)));
    const double fraction = raw / std::pow(10.0, exponent);
    int i = 0;
    while (i < 4 && mantissas[i] < fraction * (1.0 - 1e-9))
        ++i;
    // Near DBL_MAX a larger mantissa overflows: take the largest that fits.
    while (i > 0 && !std::isfinite(NiceStep{mantissas[i], exponent}.Value()))
        --i;
    return NiceStep{mantissas[i], exponent};
}

double FiniteOrZero(double v)
{
    return std::isfinite(v) ? v : 0.0;
}

void Store(double* target, double value)
{
    if (target)
        *target = value + 0.0; // + 0.0 turns -0 into 0: no "-0" labels
}

} // namespace

double CalcAutoInc(double min, double max, int count, double* first, double* last)
{
    double lo = std::min(min, max), hi = std::max(min, max);
    if (std::isnan(min) || std::isnan(max))
        lo = hi = 0.0;
    const auto fail = [&] {
        Store(first, FiniteOrZero(lo));
        Store(last, FiniteOrZero(hi));
        return 0.0;
    };
    if (!std::isfinite(min) || !std::isfinite(max))
        return fail();

    const double intervals = std::max(count, 1);
    double raw;
    if (lo == hi)
        raw = (lo == 0.0 ? 1.0 : std::abs(lo)) / intervals;
    else if (std::isfinite(hi - lo))
        raw = (hi - lo) / intervals;
    else
        raw = hi / intervals - lo / intervals;
    if (!(raw >= DBL_MIN))
        return fail();

    const NiceStep step = ChooseStep(raw);
    if (lo == hi) {
        Store(first, lo);
        Store(last, lo);
        return step.Value();
    }
    const double stepValue = step.Value();
    // The slack keeps min itself when min / step lands a hair above an integer.
    Store(first, step.Scale(std::ceil(lo / stepValue - 1e-9)));
    Store(last, step.Scale(std::floor(hi / stepValue + 1e-9)));
    return stepValue;
}

} // namespace shr
