#pragma once
// The points of a well: a survey station (WellTrajectoryPoint) and a point of
// the computed or imported path (WellPathPoint). Both are plain records over
// the foundation's point types; they convert to a Vec3d of their first three
// fields and compare as the underlying point does.
//
// Angles are degrees: Az clockwise from north, Pl (plunge) from straight down,
// so 0 is vertical and 90 horizontal. MD is the measured depth along the hole.
#include "shr/Point.h"
#include "shr/Vec3.h"

namespace core {

template <class Point>
class WellPoint : public Point {
public:
    using Point::Point;

    operator shr::Vec3d() const { return shr::Vec3d(this->X(), this->Y(), this->Z()); }
    bool operator==(const WellPoint& other) const { return static_cast<const Point&>(*this) == other; }
    bool operator!=(const WellPoint& other) const { return !(*this == other); }
};

// One station of a directional survey: (Az, Pl, MD).
class WellTrajectoryPoint : public WellPoint<shr::Point3<double>> {
public:
    WellTrajectoryPoint() = default;
    WellTrajectoryPoint(double az, double pl, double md) : WellPoint(az, pl, md) {}

    double Az() const { return X(); }
    double Pl() const { return Y(); }
    double MD() const { return Z(); }
    double& Az() { return X(); }
    double& Pl() { return Y(); }
    double& MD() { return Z(); }
};

// One point of a path: position X, Y, Z (UVW, Z up) and MD.
class WellPathPoint : public WellPoint<shr::Point4<double, double>> {
public:
    WellPathPoint() = default;
    WellPathPoint(double x, double y, double z, double md) : WellPoint(x, y, z, md) {}

    double MD() const { return W(); }
    double& MD() { return W(); }

    // The point at `md` on the chord from lo to hi; lo itself when the two do
    // not rise in MD. Between path points a well is a straight chord.
    static WellPathPoint Interpolate(const WellPathPoint& lo, const WellPathPoint& hi, double md);
};

inline WellPathPoint WellPathPoint::Interpolate(const WellPathPoint& lo, const WellPathPoint& hi, double md)
{
    const double d = hi.MD() - lo.MD();
    if (!(d > 0.0))
        return lo;
    const double t = (md - lo.MD()) / d;
    return WellPathPoint(lo.X() + (hi.X() - lo.X()) * t, lo.Y() + (hi.Y() - lo.Y()) * t,
                         lo.Z() + (hi.Z() - lo.Z()) * t, md);
}

} // namespace core
