// The four path calculators on a published two-station example, an analytic
// arc, and the surveys that trip up a walk: repeated, short, across north.
#include "WellTestSupport.h"

#include "core/wells/VdWellData.h"
#include "core/wells/WellPathCalculators.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

using namespace core;

namespace {

constexpr double kPi = 3.14159265358979323846;
using Station = WellTrajectoryPoint;

// The path of a well at the origin with these stations (Az, Pl, MD).
std::unique_ptr<Well> Path(const char* key, std::initializer_list<Station> stations)
{
    auto well = std::make_unique<Well>("W");
    well->Top(shr::Point3<double>(0, 0, 0));
    for (const Station& station : stations)
        well->AddTrajectoryPoint(station);
    WellPathGeneratorFactory::Construct(key)->Generate(*well);
    return well;
}

WellPathPoint At(const Well& well, size_t n) { return *(well.path_begin() + static_cast<std::ptrdiff_t>(n)); }
WellPathPoint Last(const Well& well) { return At(well, well.path_size() - 1); }

// The classic worked example: stations at MD 3500 ft (inclination 15, azimuth
// 20) and 3600 ft (25, 45), a dogleg of 12.95 degrees. Published results, to
// 0.01 ft, for minimum curvature: 27.22 N, 19.45 E, 94.01 TVD. The reference
// figures below were worked out at 40 digits from the methods' formulas.
TEST(WellPathTest, WorkedExampleByEveryMethod)
{
    const struct {
        const char* key;
        double east, north, tvd;
    } cases[] = {
        {"MinimumCurvature", 19.4507737466773, 27.2183285697544, 94.0123432321611},
        {"BalancedTangential", 19.3678782815748, 27.1023292765907, 93.6116806662859},
        {"Tangential", 29.883623873012, 29.883623873012, 90.630778703665},
        {"AverageAngle", 18.3767289055606, 28.8456863176566, 93.9692620785908},
    };
    for (const auto& c : cases) {
        // A third station below the example's two makes the survey long enough.
        const auto well = Path(c.key, {Station(20, 15, 3500), Station(45, 25, 3600), Station(45, 25, 3700)});
        ASSERT_EQ(well->path_size(), 3u);
        EXPECT_EQ(At(*well, 0), WellPathPoint(0, 0, 0, 3500)) << c.key;
        const WellPathPoint end = At(*well, 1);
        EXPECT_EQ(end.MD(), 3600);
        EXPECT_NEAR(end.X(), c.east, 1e-6) << c.key;
        EXPECT_NEAR(end.Y(), c.north, 1e-6) << c.key;
        EXPECT_NEAR(-end.Z(), c.tvd, 1e-6) << c.key;
    }
}

// A constant build from vertical to horizontal over 100 units, heading east:
// a quarter circle of radius 100 / (pi / 2). Minimum curvature follows it
// exactly; balanced tangential cuts the corners and falls short.
TEST(WellPathTest, ConstantBuildArc)
{
    const double radius = 100 / (kPi / 2);
    const std::initializer_list<Station> build = {Station(90, 0, 0),   Station(90, 18, 20), Station(90, 36, 40),
                                                  Station(90, 54, 60), Station(90, 72, 80), Station(90, 90, 100)};
    const auto arc = Path("MinimumCurvature", build);
    ASSERT_EQ(arc->path_size(), 6u);
    for (auto p = arc->path_begin(); p != arc->path_end(); ++p) {
        const double angle = p->MD() / radius;
        EXPECT_NEAR(p->X(), radius * (1 - std::cos(angle)), 1e-9) << p->MD();
        EXPECT_NEAR(p->Z(), -radius * std::sin(angle), 1e-9) << p->MD();
        EXPECT_NEAR(p->Y(), 0.0, 1e-12);
    }
    const auto chords = Path("BalancedTangential", build);
    EXPECT_LT(Last(*chords).X(), radius - 0.01);
    EXPECT_GT(Last(*chords).Z(), -radius + 0.01);
}

TEST(WellPathTest, RepeatedAndMissingStations)
{
    const auto repeated = Path("MinimumCurvature", {Station(0, 0, 0), Station(0, 10, 100), Station(0, 10, 100),
                                                    Station(0, 20, 200)});
    std::vector<double> depths;
    for (auto p = repeated->path_begin(); p != repeated->path_end(); ++p)
        depths.push_back(p->MD());
    EXPECT_EQ(depths, (std::vector<double>{0, 100, 200})) << "the second of two equal stations gets no point";

    // All stations at one depth: every pair is skipped, and the closing test
    // compares 0 with that depth, leaving one point at the top at MD 0.
    const auto flat = Path("MinimumCurvature", {Station(0, 0, 50), Station(0, 0, 50), Station(0, 0, 50)});
    ASSERT_EQ(flat->path_size(), 1u);
    EXPECT_EQ(At(*flat, 0), WellPathPoint(0, 0, 0, 0));

    // Two stations, then three without a top: refused, the old path left alone.
    Well two("two");
    two.Top(shr::Point3<double>(0, 0, 0));
    two.AddTrajectoryPoint(Station(0, 0, 0));
    two.AddTrajectoryPoint(Station(0, 5, 100));
    two.AddPathPoint(WellPathPoint(1, 2, 3, 4));
    const auto mc = WellPathGeneratorFactory::Construct("MinimumCurvature");
    welltest::ExpectError([&] { mc->Generate(two); }, "Well trajectory must have at least three points.");
    two.AddTrajectoryPoint(Station(0, 5, 200));
    two.Top(Well::BadTop());
    welltest::ExpectError([&] { mc->Generate(two); }, "Well must have a valid top.");
    EXPECT_EQ(two.path_size(), 1u);
}

// From azimuth 350 to 10 the well heads north; the average angle method takes
// the plain mean, 180, and heads south, as it always has.
TEST(WellPathTest, AzimuthThroughNorth)
{
    const std::initializer_list<Station> survey = {Station(350, 30, 0), Station(350, 30, 100), Station(10, 30, 200)};
    for (const char* key : {"MinimumCurvature", "BalancedTangential", "Tangential"}) {
        const auto well = Path(key, survey);
        const WellPathPoint mid = At(*well, 1), end = Last(*well);
        EXPECT_GT(end.Y() - mid.Y(), 45) << key;
        EXPECT_NEAR(end.X() - mid.X(), key[0] == 'T' ? 50 * std::sin(10 * kPi / 180) : 0.0, 1e-9) << key;
    }
    const auto average = Path("AverageAngle", survey);
    EXPECT_LT(Last(*average).Y() - At(*average, 1).Y(), -45);
}

// 0.2 degrees of azimuth at 40 degrees of inclination is a dogleg of 0.13:
// no ratio factor, bit for bit the balanced tangential step; 2 degrees is not.
TEST(WellPathTest, SmallDoglegsTakeNoRatioFactor)
{
    for (double turn : {0.2, 2.0}) {
        const std::initializer_list<Station> survey = {Station(0, 40, 0), Station(0, 40, 30), Station(turn, 40, 60)};
        const bool same = Last(*Path("MinimumCurvature", survey)) == Last(*Path("BalancedTangential", survey));
        EXPECT_EQ(same, turn < 1) << turn;
    }
}

TEST(WellPathTest, FactoryKeysAndWholeGroups)
{
    EXPECT_EQ(WellPathGeneratorFactory::Construct("Averageangle")->Key(), "AverageAngle") << "keys ignore case";
    EXPECT_FALSE(WellPathGeneratorFactory::Construct("Spline"));
    welltest::ExpectError([] { WellPathGeneratorFactory::Get("Spline"); }, "Invalid factory key requested.");

    // Paths of a group on the TBB workers equal those made one by one.
    WellGroup group;
    for (int w = 0; w < 40; ++w) {
        auto well = std::make_shared<Well>("W" + std::to_string(w));
        if (w % 7 != 3)
            well->Top(shr::Point3<double>(w, 0, 0));
        for (int s = 0; s < 50; ++s)
            well->AddTrajectoryPoint(Station(w * 9 + s * 0.7, s * 1.3, s * 30.0));
        group.AddWell(well);
    }
    const std::unique_ptr<WellGroup> serial = group.Clone();
    const auto mc = WellPathGeneratorFactory::Construct("MinimumCurvature");
    EXPECT_EQ(mc->GenerateAll(group).size(), 6u) << "the wells without a top are left";
    for (const auto& well : *serial) {
        const auto parallel = group.Well(well->Name());
        if (mc->ValidWell(*well))
            mc->Generate(*well);
        ASSERT_EQ(parallel->path_size(), well->path_size());
        EXPECT_TRUE(std::equal(well->path_begin(), well->path_end(), parallel->path_begin())) << well->Name();
    }
}

} // namespace
