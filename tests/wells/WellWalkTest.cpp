// The walks that place log data on a path: the positions at a log's valid
// entries, and the piece of a path between two depths.
#include "WellTestSupport.h"

#include "core/wells/WellEntryWalk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

using namespace core;

namespace {

using welltest::ExpectError;

// Down Y from the origin: MD 10 at (0, 0, 0), 20 at (0, 10, 0), 40 at (0, 10, -20).
std::unique_ptr<Well> BentWell()
{
    auto well = std::make_unique<Well>("B");
    for (const auto& p : {WellPathPoint(0, 0, 0, 10), WellPathPoint(0, 10, 0, 20), WellPathPoint(0, 10, -20, 40)})
        well->AddPathPoint(p);
    return well;
}

std::vector<double> Depths(const std::vector<WellPathPoint>& points)
{
    std::vector<double> depths;
    for (const WellPathPoint& p : points)
        depths.push_back(p.MD());
    return depths;
}

TEST(WellEntryWalk, PositionsAtValidEntriesWithinThePath)
{
    const auto well = BentWell();
    // Above the path, a gap, at a path point, between points, then below the
    // path (which ends the walk even though a valid entry at 30 follows).
    const auto log = welltest::MakeLog("DIP", {LogEntry(5, 1), LogEntry(10, 2), LogEntry(12, -999.25),
                                               LogEntry(20, 3), LogEntry(30, 4), LogEntry(41, 5),
                                               LogEntry(42, 6)});
    WellEntryWalk walk(*well, *log);
    WellPathPoint point;
    const LogEntry* entry = nullptr;
    std::vector<WellPathPoint> points;
    std::vector<double> values;
    while (walk.Next(point, entry)) {
        points.push_back(point);
        values.push_back(entry->Data());
    }
    EXPECT_EQ(values, (std::vector<double>{2, 3, 4}));
    ASSERT_EQ(points.size(), 3u);
    EXPECT_EQ(points[0], WellPathPoint(0, 0, 0, 10));
    EXPECT_EQ(points[1], WellPathPoint(0, 10, 0, 20));
    EXPECT_EQ(points[2], WellPathPoint(0, 10, -10, 30));

    Well single("S");
    single.AddPathPoint(WellPathPoint(0, 0, 0, 0));
    ExpectError([&] { WellEntryWalk(single, *log); }, "Well path must be non-empty.");
}

TEST(ExtractPathSegment, ThePathBetweenTwoDepths)
{
    const auto well = BentWell();
    const struct {
        double md, thickness;
        std::vector<double> depths;
    } cases[] = {
        {12, 5, {12, 17}},            // inside one chord
        {15, 10, {15, 20, 25}},       // across a path point
        {10, 10, {10, 20}},           // from a path point to a path point
        {5, 20, {10, 20, 25}},        // starting above the path: clipped at its top
        {35, 20, {35, 40}},           // ending below it: clipped at its foot
        {20, 0, {20}},                // no length: one point, which draws nothing
        {50, 5, {}},                  // beside the path
    };
    std::vector<WellPathPoint> out;
    for (const auto& c : cases) {
        ExtractPathSegment(*well, c.md, c.thickness, out);
        EXPECT_EQ(Depths(out), c.depths) << c.md << " + " << c.thickness;
    }
    ExtractPathSegment(*well, 15, 10, out);
    EXPECT_EQ(out[0], WellPathPoint(0, 5, 0, 15));
    EXPECT_EQ(out[2], WellPathPoint(0, 10, -5, 25));
    ExpectError([&] { ExtractPathSegment(*well, 15, -1, out); }, "Thickness must be greater than or equal to zero.");
}

} // namespace
