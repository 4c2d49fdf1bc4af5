#include "core/wells/WellPathGenerator.h"

#include "core/data/ParallelFor.h"
#include "core/wells/Well.h"
#include "core/wells/WellGroup.h"
#include "shr/Exception.h"
#include "shr/MathUtil.h"

#include <tbb/blocked_range.h>

#include <cmath>

namespace core {

namespace {

[[noreturn]] void ThrowGeneratorError(int line, const char* text)
{
    shr::ThrowSharedError("Core", "WellPathGenerator", line, 0, "%s", text);
}

} // namespace

WellPathGenerator::~WellPathGenerator() = default;

bool WellPathGenerator::ValidWell(const Well& well) const { return well.HasTop() && well.trajectory_size() >= 3; }

void WellPathGenerator::Generate(Well& well) const
{
    if (!well.HasTop())
        ThrowGeneratorError(__LINE__, "Well must have a valid top.");
    if (well.trajectory_size() < 3)
        ThrowGeneratorError(__LINE__, "Well trajectory must have at least three points.");
    well.path_clear();
    GenerateImpl(well);
}

std::vector<std::shared_ptr<Well>> WellPathGenerator::GenerateAll(WellGroup& group) const
{
    std::vector<std::shared_ptr<Well>> valid, invalid;
    for (const std::shared_ptr<Well>& well : group)
        (ValidWell(*well) ? valid : invalid).push_back(well);
    // A loop over the list, whose hand-over to the tasks the thread
    // sanitizer sees (parallel_for_each hides it).
    tbb::task_group_context context;
    ParallelForRanges(valid.size(), 1, [this, &valid](const tbb::blocked_range<size_t>& range) {
        for (size_t n = range.begin(); n != range.end(); ++n)
            Generate(*valid[n]);
    }, context);
    return invalid;
}

WellPathGenerator::Station::Station(const WellTrajectoryPoint& p)
    : point(&p), sinPl(std::sin(p.Pl() * shr::DEG_TO_RAD)), cosPl(std::cos(p.Pl() * shr::DEG_TO_RAD)),
      sinAz(std::sin(p.Az() * shr::DEG_TO_RAD)), cosAz(std::cos(p.Az() * shr::DEG_TO_RAD))
{
}

void WellPathGenerator::Walk(Well& well, Increment increment)
{
    const auto first = well.trajectory_begin(), end = well.trajectory_end();
    shr::Vec3d pos(well.Top().X(), well.Top().Y(), well.Top().Z());
    double lastMD = 0.0;
    Station a(*first);
    for (auto next = first + 1; next != end; ++next) {
        const Station b(*next);
        const double dMD = b.point->MD() - a.point->MD();
        if (std::fabs(dMD) > 1e-10) {
            well.AddPathPoint(WellPathPoint(pos.x, pos.y, pos.z, a.point->MD()));
            const shr::Vec3d step = increment(a, b, dMD);
            pos.x += step.x;
            pos.y += step.y;
            pos.z -= step.z;
            lastMD = b.point->MD();
        }
        a = b;
    }
    // Closes the path at the last station. A survey whose pairs were all
    // skipped compares 0 with the first MD here, and so may end with one point
    // at the top at MD 0.
    if (lastMD != first->MD())
        well.AddPathPoint(WellPathPoint(pos.x, pos.y, pos.z, lastMD));
}

} // namespace core
