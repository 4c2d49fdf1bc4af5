#pragma once
// Line3d: the infinite line through two points, as picking rays and plane
// intersections use it. The direction runs from the first point to the second.
#include "shr/Vec3.h"

namespace shr {

class Line3d {
public:
    Line3d() = default;
    Line3d(const Vec3d& p0, const Vec3d& p1) { SetValue(p0, p1); }

    void SetValue(const Vec3d& p0, const Vec3d& p1)
    {
        m_Position = p0;
        m_Direction = (p1 - p0).Normalized();
    }

    const Vec3d& GetPosition() const { return m_Position; }
    // Unit length; zero when the two points coincide (the line is degenerate).
    const Vec3d& GetDirection() const { return m_Direction; }
    bool IsDegenerate() const { return m_Direction == Vec3d::ZERO; }

    // The point of the line nearest to p (the position itself on a degenerate line).
    Vec3d GetClosestPoint(const Vec3d& p) const
    {
        return m_Position + m_Direction * (p - m_Position).Dot(m_Direction);
    }

private:
    Vec3d m_Position;
    Vec3d m_Direction;
};

} // namespace shr
