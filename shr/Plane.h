#pragma once
// Plane: the points p with dot(normal, p) == distance, normal of unit length.
// The normal side (dot(normal, p) > distance) is the positive half-space.
#include "shr/Vec3.h"

namespace shr {

class Line3d;

class Plane {
public:
    // The plane z = 0 facing +Z.
    Plane() : m_Normal(Vec3d::UNIT_Z), m_Distance(0.0) {}
    // From a normal and the signed distance of the plane from the origin along
    // it. The normal is normalised (the distance kept as given); a zero normal
    // throws.
    Plane(const Vec3d& normal, double distance);
    // From a normal and a point on the plane; a zero normal throws.
    Plane(const Vec3d& normal, const Vec3d& point);
    // Through three points, normal (p1 - p0) x (p2 - p0); collinear points throw.
    Plane(const Vec3d& p0, const Vec3d& p1, const Vec3d& p2);

    const Vec3d& GetNormal() const { return m_Normal; }
    double GetDistance() const { return m_Distance; }
    // Signed distance of p from the plane, positive on the normal side.
    double Distance(const Vec3d& p) const { return m_Normal.Dot(p) - m_Distance; }
    bool IsInHalfSpace(const Vec3d& p) const { return Distance(p) >= 0.0; }

    // Where the (infinite) line meets the plane. False, `point` untouched, when
    // the line is parallel to the plane (or lies in it) or is degenerate.
    bool Intersect(const Line3d& line, Vec3d& point) const;

    bool operator==(const Plane& o) const { return m_Normal == o.m_Normal && m_Distance == o.m_Distance; }
    bool operator!=(const Plane& o) const { return !(*this == o); }

private:
    Vec3d m_Normal;
    double m_Distance;
};

} // namespace shr
