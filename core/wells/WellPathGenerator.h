#pragma once
// WellPathGenerator: turns a well's directional survey into its path. The
// walk starts at the top and visits the stations in their stored order; each
// pair of stations adds the path point of the upper one and moves by the
// method's increment (X east, Y north, Z up: depth is subtracted from Z). The
// four methods differ only in that increment. Sort the survey by MD first
// (Well::UpdateByDepth): a step with a negative MD difference runs backwards.
//
// Generators hold no state: one instance may serve many wells at once.
// WellPathGeneratorFactory makes them by key ("MinimumCurvature", ...), the
// key compared without regard to case.
#include "core/wells/WellPoint.h"
#include "shr/Factory.h"
#include "shr/GString.h"
#include "shr/NonComparable.h"
#include "shr/StringLess.h"
#include "shr/Vec3.h"

#include <boost/noncopyable.hpp>

#include <memory>
#include <vector>

namespace core {

class Well;
class WellGroup;

class WellPathGenerator : private boost::noncopyable, private shr::NonComparable {
public:
    virtual ~WellPathGenerator();

    shr::GString Key() const { return KeyImpl(); }
    // A top and at least three survey stations.
    bool ValidWell(const Well& well) const;
    // Replaces the well's path by the one its survey gives. "Well must have a
    // valid top." and "Well trajectory must have at least three points." are
    // raised before the path is touched.
    void Generate(Well& well) const;
    // Generate on every valid well of the group, the wells spread over TBB
    // workers (each well is touched by one task only); returns the wells that
    // were left alone, in group order.
    std::vector<std::shared_ptr<Well>> GenerateAll(WellGroup& group) const;

    // A station with the sines and cosines of its plunge and azimuth, worked
    // out once for the two steps the station takes part in.
    struct Station {
        explicit Station(const WellTrajectoryPoint& point);

        const WellTrajectoryPoint* point;
        double sinPl, cosPl, sinAz, cosAz;
    };

protected:
    WellPathGenerator() = default;

    // The change of position (east, north, depth) from station a to station b,
    // `dMD` apart.
    using Increment = shr::Vec3d (*)(const Station& a, const Station& b, double dMD);
    // The walk common to all methods.
    static void Walk(Well& well, Increment increment);

private:
    virtual void GenerateImpl(Well& well) const = 0;
    virtual shr::GString KeyImpl() const = 0;
};

class WellPathGeneratorFactory
    : public shr::Factory<WellPathGeneratorFactory, WellPathGenerator, shr::GString, shr::StringLess> {
protected:
    explicit WellPathGeneratorFactory(const shr::GString& key) : Factory(key, this) {}
};

// Registers T under T::Key() in its one static instance.
template <class T>
class ConcreteWellPathGeneratorFactory : public WellPathGeneratorFactory {
public:
    ConcreteWellPathGeneratorFactory() : WellPathGeneratorFactory(T::Key()) {}

private:
    WellPathGenerator* ConstructImpl() const override { return new T; }
    static const ConcreteWellPathGeneratorFactory s_Instance;
};

} // namespace core
