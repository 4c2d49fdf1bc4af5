#include "core/visual/VoVectorPlotPrivate.h"

#include <cmath>

namespace core {
namespace VoVectorPlotPrivate {

void PrimBuffer::clear()
{
    points.clear();
    lines.clear();
    lineCounts.clear();
    strips.clear();
}

const std::array<HeadPoint, 4>& HeadTable()
{
    static const std::array<HeadPoint, 4> table = {{
        {0.7, 0.15, 0.0},
        {0.7, -0.15, 0.0},
        {0.7, 0.0, 0.15},
        {0.7, 0.0, -0.15},
    }};
    return table;
}

int HeadPointCount(unsigned int style)
{
    static const int counts[5] = {0, 2, 4, 4, 4};
    return style < 5 ? counts[style] : 0;
}

void ArrowFrame(const shr::Vec3d& a, shr::Vec3d& s1, shr::Vec3d& s2)
{
    // The single precision value just below 1: beyond it a and +Y are too
    // close for a cross product with a usable direction.
    const double parallel = 0.9999998807907104;
    shr::Vec3d helper(0.0, 1.0, 0.0);
    if (std::fabs(a.Dot(helper)) >= parallel)
        helper = shr::Vec3d(0.0, 0.0, 1.0);
    s1 = a.Cross(helper).Normalized();
    s2 = a.Cross(s1);
}

SbVec3f StripTriangleNormal(const shr::Vec3d& a, const shr::Vec3d& b, const shr::Vec3d& c, size_t n)
{
    const shr::Vec3d normal = (n % 2 == 0 ? (b - a).Cross(c - a) : (a - b).Cross(c - b)).Normalized();
    return SbVec3f(float(normal.x), float(normal.y), float(normal.z));
}

double LinearLength(double m, double lo, double hi, double a, double b)
{
    const double k = (hi - lo) / (b - a);
    const double length = hi - k * b + k * m;
    return length < 0.0 ? 0.0 : length;
}

double SquareRootLength(double m, double lo, double hi, double a, double b)
{
    const double k = (hi * hi - lo * lo) / (b - a);
    const double x = hi * hi - k * b + k * m;
    return x > 0.0 ? std::sqrt(x) : 0.0;
}

double LogarithmicLength(double m, double lo, double hi, double a, double b)
{
    const double top = std::pow(10.0, hi);
    const double k = (top - std::pow(10.0, lo)) / (b - a);
    const double x = top - k * b + k * m;
    return x > 0.0 ? std::log10(x) : 0.0;
}

} // namespace VoVectorPlotPrivate
} // namespace core
