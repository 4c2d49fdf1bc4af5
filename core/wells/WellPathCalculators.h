#pragma once
// The four path calculators. Each gives the step from an upper station (plunge
// d1, azimuth a1) to a lower one (d2, a2), `dMD` apart:
//   Tangential           the lower station's direction over the whole step;
//   AverageAngle         the direction of the mean plunge and mean azimuth
//                        (averaged as numbers: 359 and 1 average 180);
//   BalancedTangential   the mean of the two stations' direction vectors;
//   MinimumCurvature     the balanced tangential step scaled by the ratio
//                        factor tan(dogleg / 2) * 2 / dogleg of the circular
//                        arc between the two directions, or 1 for doglegs
//                        under 0.25 degrees.
// A step is (east, north, depth).
#include "core/wells/WellPathGenerator.h"

namespace core {

// What the calculators share: the walk with Derived::Step, and the key.
template <class Derived>
class WellPathCalculator : public WellPathGenerator {
private:
    void GenerateImpl(Well& well) const override { Walk(well, &Derived::Step); }
    shr::GString KeyImpl() const override { return Derived::Key(); }
};

class AverageAngleWellPathCalculator : public WellPathCalculator<AverageAngleWellPathCalculator> {
public:
    static shr::GString Key() { return "AverageAngle"; }
    static shr::Vec3d Step(const Station& a, const Station& b, double dMD);
};

class BalancedTangentialWellPathCalculator : public WellPathCalculator<BalancedTangentialWellPathCalculator> {
public:
    static shr::GString Key() { return "BalancedTangential"; }
    static shr::Vec3d Step(const Station& a, const Station& b, double dMD);
};

class MinimumCurvatureWellPathCalculator : public WellPathCalculator<MinimumCurvatureWellPathCalculator> {
public:
    static shr::GString Key() { return "MinimumCurvature"; }
    static shr::Vec3d Step(const Station& a, const Station& b, double dMD);
    // Doglegs below this many degrees take a ratio factor of 1.
    static constexpr double MinDoglegDegrees = 0.25;
};

class TangentialWellPathCalculator : public WellPathCalculator<TangentialWellPathCalculator> {
public:
    static shr::GString Key() { return "Tangential"; }
    static shr::Vec3d Step(const Station& a, const Station& b, double dMD);
};

} // namespace core
