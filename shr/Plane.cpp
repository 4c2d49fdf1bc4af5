#include "shr/Plane.h"

#include "shr/Exception.h"
#include "shr/Line3d.h"

#include <cmath>

namespace shr {

namespace {

Vec3d UnitNormal(const Vec3d& normal)
{
    Vec3d n = normal;
    if (!n.Normalize())
        SHR_THROW(0, "A plane needs a non-zero normal (got %g, %g, %g).", normal.x, normal.y, normal.z);
    return n;
}

} // namespace

Plane::Plane(const Vec3d& normal, double distance) : m_Normal(UnitNormal(normal)), m_Distance(distance)
{
}

Plane::Plane(const Vec3d& normal, const Vec3d& point) : m_Normal(UnitNormal(normal)), m_Distance(m_Normal.Dot(point))
{
}

Plane::Plane(const Vec3d& p0, const Vec3d& p1, const Vec3d& p2)
    : m_Normal(UnitNormal((p1 - p0).Cross(p2 - p0))), m_Distance(m_Normal.Dot(p0))
{
}

bool Plane::Intersect(const Line3d& line, Vec3d& point) const
{
    const double denominator = m_Normal.Dot(line.GetDirection());
    // The direction is of unit length, so this is the sine of the angle
    // between line and plane.
    if (std::abs(denominator) < 1e-12)
        return false;
    const double t = (m_Distance - m_Normal.Dot(line.GetPosition())) / denominator;
    point = line.GetPosition() + line.GetDirection() * t;
    return true;
}

} // namespace shr
