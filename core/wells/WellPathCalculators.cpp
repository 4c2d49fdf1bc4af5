#include "core/wells/WellPathCalculators.h"

#include "shr/MathUtil.h"

#include <cmath>

namespace core {

namespace {

double Radians(double degrees) { return degrees * shr::DEG_TO_RAD; }

} // namespace

shr::Vec3d TangentialWellPathCalculator::Step(const Station&, const Station& b, double dMD)
{
    return shr::Vec3d(b.sinAz * b.sinPl * dMD, b.cosAz * b.sinPl * dMD, b.cosPl * dMD);
}

shr::Vec3d AverageAngleWellPathCalculator::Step(const Station& a, const Station& b, double dMD)
{
    const double d = Radians((a.point->Pl() + b.point->Pl()) / 2.0);
    const double az = Radians((a.point->Az() + b.point->Az()) / 2.0);
    return shr::Vec3d(std::sin(az) * std::sin(d) * dMD, std::cos(az) * std::sin(d) * dMD, std::cos(d) * dMD);
}

shr::Vec3d BalancedTangentialWellPathCalculator::Step(const Station& a, const Station& b, double dMD)
{
    const double h = dMD / 2.0;
    return shr::Vec3d((b.sinAz * b.sinPl + a.sinAz * a.sinPl) * h, (b.cosAz * b.sinPl + a.cosAz * a.sinPl) * h,
                      (b.cosPl + a.cosPl) * h);
}

shr::Vec3d MinimumCurvatureWellPathCalculator::Step(const Station& a, const Station& b, double dMD)
{
    const double c = std::cos(Radians(b.point->Pl()) - Radians(a.point->Pl())) -
                     (1.0 - std::cos(Radians(b.point->Az()) - Radians(a.point->Az()))) * b.sinPl * a.sinPl;
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
