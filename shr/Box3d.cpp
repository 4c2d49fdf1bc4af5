#include "shr/Box3d.h"

#include <algorithm>
#include <cmath>

namespace shr {

void Box3d::Set(double xmin, double ymin, double zmin, double xmax, double ymax, double zmax)
{
    min.SetValue(xmin, ymin, zmin);
    max.SetValue(xmax, ymax, zmax);
}

void Box3d::BoundPoints(const Vec3d* points, size_t count)
{
    MakeEmpty();
    for (size_t i = 0; i < count; ++i)
        ExtendBy(points[i]);
}

void Box3d::ExtendBy(const Vec3d& p)
{
    for (size_t a = 0; a < 3; ++a) {
        min[a] = std::min(min[a], p[a]);
        max[a] = std::max(max[a], p[a]);
    }
}

void Box3d::ExtendBy(const Box3d& b)
{
    if (b.IsEmpty())
        return;
    ExtendBy(b.min);
    ExtendBy(b.max);
}

Vec3d Box3d::Center() const
{
    return IsEmpty() ? Vec3d::ZERO : (min + max) * 0.5;
}

Vec3d Box3d::Size() const
{
    return IsEmpty() ? Vec3d::ZERO : max - min;
}

double Box3d::Diagonal() const
{
    return Size().Length();
}

void Box3d::GetCorners(Vec3d corners[8]) const
{
    const double xs[4] = {min.x, max.x, max.x, min.x};
    const double ys[4] = {min.y, min.y, max.y, max.y};
    for (int i = 0; i < 4; ++i) {
        corners[i] = Vec3d(xs[i], ys[i], min.z);
        corners[i + 4] = Vec3d(xs[i], ys[i], max.z);
    }
}

bool Box3d::Intersects(const Box3d& b) const
{
    if (IsEmpty() || b.IsEmpty())
        return false;
    for (size_t a = 0; a < 3; ++a)
        if (b.max[a] < min[a] || b.min[a] > max[a])
            return false;
    return true;
}

bool Box3d::Intersects(const Vec3d& p) const
{
    for (size_t a = 0; a < 3; ++a)
        if (!(p[a] >= min[a] && p[a] <= max[a]))
            return false;
    return true;
}

bool Box3d::IsDegenerate() const
{
    return IsEmpty() || min.x == max.x || min.y == max.y || min.z == max.z;
}

} // namespace shr
