// The four path calculators on a published two-station example, an analytic
// arc, and the surveys that trip up a walk: repeated, short, across north.
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

std::unique_ptr<WellPathGenerator> Generator(const char* key)
{
    std::unique_ptr<WellPathGenerator> generator = WellPathGeneratorFactory::Construct(key);
    EXPECT_TRUE(generator) << key;
    return generator;
}

// A well at the origin with stations (Az, Pl, MD).
std::unique_ptr<Well> Surveyed(std::initializer_list<WellTrajectoryPoint> stations)
{
    auto well = std::make_unique<Well>("W");
    well->Top(shr::Point3<double>(0, 0, 0));
    for (const WellTrajectoryPoint& station : stations)
        well->AddTrajectoryPoint(station);
    return well;
}

WellPathPoint Last(const Well& well) { return *(well.path_end() - 1); }

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
        SCOPED_TRACE(c.key);
        // A third station below the example's two makes the survey long enough.
        const auto wellHolder = Surveyed({WellTrajectoryPoint(20, 15, 3500), WellTrajectoryPoint(45, 25, 3600),
                                          WellTrajectoryPoint(45, 25, 3700)});
        Well& well = *wellHolder;
        Generator(c.key)->Generate(well);
        ASSERT_EQ(well.path_size(), 3u);
        const WellPathPoint start = *well.path_begin(), end = *(well.path_begin() + 1);
        EXPECT_EQ(start, WellPathPoint(0, 0, 0, 3500));
        EXPECT_EQ(end.MD(), 3600);
        EXPECT_NEAR(end.X(), c.east, 1e-6);
        EXPECT_NEAR(end.Y(), c.north, 1e-6);
        EXPECT_NEAR(-end.Z(), c.tvd, 1e-6);
    }
}

// A constant build from vertical to horizontal over 100 units, heading east:
// a quarter circle of radius 100 / (pi / 2). Minimum curvature follows it
// exactly; balanced tangential cuts the corners and falls short.
TEST(WellPathTest, ConstantBuildArc)
{
    const double radius = 100 / (kPi / 2);
    auto build = [] {
        auto well = Surveyed({});
        for (int n = 0; n <= 10; ++n)
            well->AddTrajectoryPoint(WellTrajectoryPoint(90, 9.0 * n, 10.0 * n));
        return well;
    };
    const auto arcHolder = build();
    Well& arc = *arcHolder;
    Generator("MinimumCurvature")->Generate(arc);
    ASSERT_EQ(arc.path_size(), 11u);
    for (const WellPathPoint& p : std::vector<WellPathPoint>(arc.path_begin(), arc.path_end())) {
        const double angle = p.MD() / radius;
        EXPECT_NEAR(p.X(), radius * (1 - std::cos(angle)), 1e-9) << p.MD();
        EXPECT_NEAR(p.Z(), -radius * std::sin(angle), 1e-9) << p.MD();
        EXPECT_NEAR(p.Y(), 0.0, 1e-12);
    }
    const auto chordsHolder = build();
    Well& chords = *chordsHolder;
    Generator("BalancedTangential")->Generate(chords);
    EXPECT_LT(Last(chords).X(), radius - 0.01);
    EXPECT_GT(Last(chords).Z(), -radius + 0.01);
}

TEST(WellPathTest, StraightSurveysUnderEveryMethod)
{
    for (const char* key : {"MinimumCurvature", "BalancedTangential", "Tangential", "AverageAngle"}) {
        SCOPED_TRACE(key);
        const auto downHolder = Surveyed({WellTrajectoryPoint(30, 0, 0), WellTrajectoryPoint(60, 0, 100),
                                          WellTrajectoryPoint(90, 0, 250)});
        Well& down = *downHolder;
        down.Top(shr::Point3<double>(5, 6, 7));
        Generator(key)->Generate(down);
        EXPECT_EQ(Last(down), WellPathPoint(5, 6, 7 - 250, 250));

        const auto eastHolder = Surveyed({WellTrajectoryPoint(90, 90, 0), WellTrajectoryPoint(90, 90, 100),
                                          WellTrajectoryPoint(90, 90, 200)});
        Well& east = *eastHolder;
        Generator(key)->Generate(east);
        EXPECT_NEAR(Last(east).X(), 200, 1e-12);
        EXPECT_NEAR(Last(east).Y(), 0, 1e-12);
        EXPECT_NEAR(Last(east).Z(), 0, 1e-12);
    }
}

TEST(WellPathTest, RepeatedAndMissingStations)
{
    const auto mc = Generator("MinimumCurvature");
    const auto repeatedHolder = Surveyed({WellTrajectoryPoint(0, 0, 0), WellTrajectoryPoint(0, 10, 100),
                                          WellTrajectoryPoint(0, 10, 100), WellTrajectoryPoint(0, 20, 200)});
    Well& repeated = *repeatedHolder;
    mc->Generate(repeated);
    std::vector<double> depths;
    for (auto p = repeated.path_begin(); p != repeated.path_end(); ++p)
        depths.push_back(p->MD());
    EXPECT_EQ(depths, (std::vector<double>{0, 100, 200})) << "the second of two equal stations gets no point";

    // All stations at one depth: every pair is skipped, and the closing test
    // compares 0 with that depth, leaving one point at the top at MD 0.
    const auto flatHolder = Surveyed({WellTrajectoryPoint(0, 0, 50), WellTrajectoryPoint(0, 0, 50),
                                      WellTrajectoryPoint(0, 0, 50)});
    Well& flat = *flatHolder;
    mc->Generate(flat);
    ASSERT_EQ(flat.path_size(), 1u);
    EXPECT_EQ(*flat.path_begin(), WellPathPoint(0, 0, 0, 0));

    const auto twoHolder = Surveyed({WellTrajectoryPoint(0, 0, 0), WellTrajectoryPoint(0, 5, 100)});
    Well& two = *twoHolder;
    two.AddPathPoint(WellPathPoint(1, 2, 3, 4));
    EXPECT_FALSE(mc->ValidWell(two));
    try {
        mc->Generate(two);
        ADD_FAILURE();
    } catch (const shr::Exception& error) {
        EXPECT_EQ(error.Message(), "Well trajectory must have at least three points.");
        EXPECT_EQ(error.File(), "WellPathGenerator");
    }
    EXPECT_EQ(two.path_size(), 1u) << "the path is left alone";
    Well noTop("N");
    for (int n = 0; n < 3; ++n)
        noTop.AddTrajectoryPoint(WellTrajectoryPoint(0, 0, n));
    EXPECT_THROW(mc->Generate(noTop), shr::Exception);
}

// From azimuth 350 to 10 the well heads north; the average angle method takes
// the plain mean, 180, and heads south, as it always has.
TEST(WellPathTest, AzimuthThroughNorth)
{
    auto survey = [] {
        return Surveyed({WellTrajectoryPoint(350, 30, 0), WellTrajectoryPoint(350, 30, 100),
                         WellTrajectoryPoint(10, 30, 200)});
    };
    for (const char* key : {"MinimumCurvature", "BalancedTangential", "Tangential"}) {
        const auto wellHolder = survey();
        Well& well = *wellHolder;
        Generator(key)->Generate(well);
        const WellPathPoint mid = *(well.path_begin() + 1), end = Last(well);
        EXPECT_GT(end.Y() - mid.Y(), 45) << key;
        EXPECT_NEAR(end.X() - mid.X(), key[0] == 'T' ? 50 * std::sin(10 * kPi / 180) : 0.0, 1e-9) << key;
    }
    const auto averageHolder = survey();
    Well& average = *averageHolder;
    Generator("AverageAngle")->Generate(average);
    EXPECT_LT(Last(average).Y() - (average.path_begin() + 1)->Y(), -45);
}

TEST(WellPathTest, SmallDoglegsTakeNoRatioFactor)
{
    const auto survey = [](double turn) {
        return Surveyed({WellTrajectoryPoint(0, 40, 0), WellTrajectoryPoint(0, 40, 30),
                         WellTrajectoryPoint(turn, 40, 60)});
    };
    // 0.2 degrees of azimuth at 40 degrees of inclination: a dogleg of 0.13.
    const auto mcHolder = survey(0.2), btHolder = survey(0.2);
    Well &mc = *mcHolder, &bt = *btHolder;
    Generator("MinimumCurvature")->Generate(mc);
    Generator("BalancedTangential")->Generate(bt);
    EXPECT_EQ(Last(mc), Last(bt)) << "bit for bit";
    const auto mc2Holder = survey(2), bt2Holder = survey(2);
    Well &mc2 = *mc2Holder, &bt2 = *bt2Holder;
    Generator("MinimumCurvature")->Generate(mc2);
    Generator("BalancedTangential")->Generate(bt2);
    EXPECT_NE(Last(mc2), Last(bt2));
}

TEST(WellPathTest, FactoryKeysAndWholeGroups)
{
    EXPECT_EQ(WellPathGeneratorFactory::size(), 4u);
    EXPECT_EQ(Generator("Averageangle")->Key(), "AverageAngle") << "keys compare without regard to case";
    EXPECT_FALSE(WellPathGeneratorFactory::Construct("Spline"));
    try {
        WellPathGeneratorFactory::Get("Spline");
        ADD_FAILURE();
    } catch (const shr::Exception& error) {
        EXPECT_EQ(error.Message(), "Invalid factory key requested.");
    }

    // Paths of a group on the TBB workers equal those made one by one.
    WellGroup group;
    for (int w = 0; w < 40; ++w) {
        auto well = std::make_shared<Well>("W" + std::to_string(w));
        if (w % 7 != 3)
            well->Top(shr::Point3<double>(w, 0, 0));
        for (int s = 0; s < 50; ++s)
            well->AddTrajectoryPoint(WellTrajectoryPoint(w * 9 + s * 0.7, s * 1.3, s * 30.0));
        group.AddWell(well);
    }
    const std::unique_ptr<WellGroup> serial = group.Clone();
    const auto mc = Generator("MinimumCurvature");
    const std::vector<std::shared_ptr<Well>> left = mc->GenerateAll(group);
    EXPECT_EQ(left.size(), 6u);
    for (const auto& well : *serial) {
        const auto parallel = group.Well(well->Name());
        if (!mc->ValidWell(*well)) {
            EXPECT_TRUE(parallel->path_empty());
            continue;
        }
        mc->Generate(*well);
        ASSERT_EQ(parallel->path_size(), well->path_size());
        EXPECT_TRUE(std::equal(well->path_begin(), well->path_end(), parallel->path_begin())) << well->Name();
    }
}

} // namespace
