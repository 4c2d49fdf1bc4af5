#include "core/wells/WellPathCalculators.h"

#include "shr/MathUtil.h"

#include <cmath>

namespace core {

namespace {

// The unit direction of plunge d and azimuth a (radians), scaled by `length`.
shr::Vec3d Direction(double d, double a, double length)
{
    return shr::Vec3d(std::sin(a) * std::sin(d) * length, std::cos(a) * std::sin(d) * length, std::cos(d) * length);
}

double Plunge(const WellTrajectoryPoint& p) { return p.Pl() * shr::DEG_TO_RAD; }
double Azimuth(const WellTrajectoryPoint& p) { return p.Az() * shr::DEG_TO_RAD; }

} // namespace

shr::Vec3d TangentialWellPathCalculator::Step(const WellTrajectoryPoint&, const WellTrajectoryPoint& b, double dMD)
{
    return Direction(Plunge(b), Azimuth(b), dMD);
}

shr::Vec3d AverageAngleWellPathCalculator::Step(const WellTrajectoryPoint& a, const WellTrajectoryPoint& b, double dMD)
{
    const double d = (a.Pl() + b.Pl()) / 2.0 * shr::DEG_TO_RAD;
    const double az = (a.Az() + b.Az()) / 2.0 * shr::DEG_TO_RAD;
    return Direction(d, az, dMD);
}

shr::Vec3d BalancedTangentialWellPathCalculator::Step(const WellTrajectoryPoint& a, const WellTrajectoryPoint& b,
                                                      double dMD)
{
    const double h = dMD / 2.0;
    const double d1 = Plunge(a), a1 = Azimuth(a), d2 = Plunge(b), a2 = Azimuth(b);
    return shr::Vec3d((std::sin(a2) * std::sin(d2) + std::sin(a1) * std::sin(d1)) * h,
                      (std::cos(a2) * std::sin(d2) + std::cos(a1) * std::sin(d1)) * h,
                      (std::cos(d2) + std::cos(d1)) * h);
}

shr::Vec3d MinimumCurvatureWellPathCalculator::Step(const WellTrajectoryPoint& a, const WellTrajectoryPoint& b,
                                                    double dMD)
{
    const double d1 = Plunge(a), a1 = Azimuth(a), d2 = Plunge(b), a2 = Azimuth(b);
    const double c = std::cos(d2 - d1) - (1.0 - std::cos(a2 - a1)) * std::sin(d2) * std::sin(d1);
    // A c a little beyond 1 by rounding gives a NaN dogleg, which fails the
    // test and keeps the factor at 1.
    const double dogleg = std::acos(c);
    double rf = 1.0;
    if (dogleg * shr::RAD_TO_DEG >= MinDoglegDegrees)
        rf = std::tan(dogleg / 2.0) * (2.0 / dogleg);
    const shr::Vec3d step = BalancedTangentialWellPathCalculator::Step(a, b, dMD);
    return shr::Vec3d(step.x * rf, step.y * rf, step.z * rf);
}

template <class T>
const ConcreteWellPathGeneratorFactory<T> ConcreteWellPathGeneratorFactory<T>::s_Instance;

template class ConcreteWellPathGeneratorFactory<AverageAngleWellPathCalculator>;
template class ConcreteWellPathGeneratorFactory<BalancedTangentialWellPathCalculator>;
template class ConcreteWellPathGeneratorFactory<MinimumCurvatureWellPathCalculator>;
template class ConcreteWellPathGeneratorFactory<TangentialWellPathCalculator>;

} // namespace core
