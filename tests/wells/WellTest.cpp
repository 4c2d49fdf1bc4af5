// Wells, groups and well data: look-ups by name, positions along the path,
// straight paths, bounds, well references and stored forms.
#include "WellTestSupport.h"

#include "core/wells/VdWellData.h"
#include "core/wells/WellLogInterpolator.h"
#include "core/wells/WellUtility.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/Mat4d.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace core;

namespace {

using welltest::ExpectError;
const auto Log = welltest::MakeLog;

// A well down a staircase: MD 0, 100, 100 (a repeated depth), 200.
std::shared_ptr<Well> StairWell(const char* name)
{
    auto well = std::make_shared<Well>(name);
    well->Top(shr::Point3<double>(1000, 2000, 50));
    for (const auto& p : {WellPathPoint(1000, 2000, 50, 0), WellPathPoint(1000, 2100, -50, 100),
                          WellPathPoint(1010, 2100, -50, 100), WellPathPoint(1010, 2200, -150, 200)})
        well->AddPathPoint(p);
    well->AddTrajectoryPoint(WellTrajectoryPoint(10, 5, 0));
    well->AddLog(Log("GR", {LogEntry(0, 50), LogEntry(150, 80)}));
    return well;
}

TEST(WellTest, InterpolateAlongThePath)
{
    const auto well = StairWell("W");
    // At 100 the first of two points at one depth; at 200 exactly the last.
    const std::pair<double, WellPathPoint> cases[] = {
        {-1, WellPathPoint(0, 0, 0, 0)},          {0, WellPathPoint(1000, 2000, 50, 0)},
        {50, WellPathPoint(1000, 2050, 0, 50)},   {100, WellPathPoint(1000, 2100, -50, 100)},
        {150, WellPathPoint(1010, 2150, -100, 150)}, {200, WellPathPoint(1010, 2200, -150, 200)},
        {200.5, WellPathPoint(0, 0, 0, 0)},
    };
    for (const auto& c : cases) {
        WellPathPoint out(9, 9, 9, 9);
        EXPECT_EQ(well->Interpolate(c.first, out), c.first >= 0 && c.first <= 200) << c.first;
        EXPECT_EQ(out, c.second) << c.first;
    }
}

TEST(WellTest, StraightPathFromTheTop)
{
    Well well("S");
    ExpectError([&] { well.UpdatePath(0, -90, 100); }, "Well path update requires a valid well top.");
    well.Top(shr::Point3<double>(10, 20, 30));
    const struct {
        double azimuth, dip, depth;
        shr::Vec3d end;
    } cases[] = {
        {0, -90, 100, {10, 20, -70}},  // straight down
        {450, 0, 100, {110, 20, 30}},  // level, east: azimuths wrap
        {180, -30, 10, {10, 20 - 10 * std::cos(M_PI / 6), 25}},
    };
    for (const auto& c : cases) {
        well.UpdatePath(c.azimuth, c.dip, c.depth);
        ASSERT_EQ(well.path_size(), 2u);
        EXPECT_EQ(*well.path_begin(), WellPathPoint(10, 20, 30, 0));
        const WellPathPoint& end = *(well.path_begin() + 1);
        EXPECT_LT((shr::Vec3d(end) - c.end).Length(), 1e-12) << c.azimuth;
        EXPECT_EQ(end.MD(), c.depth);
    }
    ExpectError([&] { well.UpdatePath(0, -91, 100); }, "Well path dip must be -90.0 <= dip <= 90.0.");
    ExpectError([&] { well.UpdatePath(0, -45, 0); }, "Well path depth must be greater than zero.");
    EXPECT_EQ(well.path_size(), 2u) << "a refused update keeps the old path";
}

// Names compare without regard to case; refused requests change nothing.
TEST(WellTest, LogsAndWellsByName)
{
    Well well("W");
    for (const char* name : {"RT", "gr", "Nphi"})
        well.AddLog(Log(name, {}));
    EXPECT_EQ((*well.log_begin())->Name(), "gr");
    EXPECT_EQ(well.RemoveLog("rt")->Name(), "RT");
    EXPECT_FALSE(well.RemoveLog("rt"));

    WellGroup group;
    for (const char* name : {"b-2", "A-1", "c-3"})
        group.AddWell(std::make_shared<Well>(name));
    const std::pair<std::function<void()>, const char*> refused[] = {
        {[&] { well.AddLog(Log("NPHI", {})); }, "Cannot add log with duplicate name to well."},
        {[&] { well.AddLog(nullptr); }, "Cannot add invalid log to well."},
        {[&] { well.HasLog(""); }, "Log name must be non-empty."},
        {[&] { group.AddWell(std::make_shared<Well>("B-2")); }, "Cannot add well with duplicate name to well group."},
        {[&] { group.AddWell(nullptr); }, "Cannot add invalid well to well group."},
        {[&] { group.Well(""); }, "Name of well to retrieve must be non-empty."},
        {[&] { group.DeleteWell(""); }, "Name of well to delete must be non-empty."},
        {[&] { group.DeleteWell("Z"); }, "Cannot delete non-existent well."},
        {[&] { group.RenameWell("A-1", ""); }, "Desired name of well must be non-empty."},
        {[&] { group.RenameWell("A-1", "C-3"); }, "Desired name of well must be unique."},
    };
    for (const auto& r : refused)
        ExpectError(r.first, r.second);
    EXPECT_EQ(well.log_size(), 2u);

    group.RenameWell("A-1", "d-4");
    group.RenameWell("b-2", "B-2"); // a change of case only
    std::vector<std::string> names;
    for (const auto& w : group)
        names.push_back(w->Name());
    EXPECT_EQ(names, (std::vector<std::string>{"B-2", "c-3", "d-4"}));
}

TEST(WellTest, WellReferences)
{
    VdWellData data;
    data.AddWell(std::make_shared<Well>("W-1"));
    data.AddWell(std::make_shared<Well>(" W-2"));
    const std::pair<const char*, const char*> cases[] = {
        {"W-1", "W-1"},       {"Well=W-1", "W-1"},  {"  WELL =w-1", "w-1"}, {"well= W-2", " W-2"},
        {"Well= W-1", ""},    {"Well=W-1 ", ""},    {"W-3", ""},             {"Well=", ""},
        {"Log=W-1", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ExtractValidWellName(data, c.first), c.second) << '"' << c.first << '"';
    ExpectError([&] { ExtractValidWellName(data, ""); }, "Name of well to retrieve must be non-empty.");
}

TEST(WellTest, LogWalkAlongThePath)
{
    Well well("W");
    for (double md : {0.0, 100.0, 200.0})
        well.AddPathPoint(WellPathPoint(0, 0, -md, md));
    const double null = WellLog::DefaultNullValue;
    const auto log = Log("L", {LogEntry(-10, 1), LogEntry(0, 2), LogEntry(50, 3), LogEntry(100, 4),
                               LogEntry(150, null), LogEntry(250, 6)});
    std::vector<double> depths;
    for (const WellPathPoint& p : CollectSamples(well, *log)) {
        EXPECT_EQ(p.Z(), -p.MD());
        depths.push_back(p.MD());
    }
    EXPECT_EQ(depths, (std::vector<double>{0, 50, 100, 150, 200}));
    well.AddLog(log);
    well.UpdateLogIntervals();
    EXPECT_EQ(log->begin()->EndMD(), 0) << "the log's samples become intervals";

    WellLogInterpolator<WellLog::filtered_iterator> valid(well, log->filtered_begin(), log->filtered_end());
    depths.clear();
    WellPathPoint p;
    while (valid.Next(p))
        depths.push_back(p.MD());
    EXPECT_EQ(depths, (std::vector<double>{0, 50, 100, 200})) << "the null entry at 150 is passed over";

    EXPECT_EQ(CollectSamples(well, *Log("A", {LogEntry(-20, 1), LogEntry(-10, 2)})).size(), 3u);
    Well stub("stub");
    stub.AddPathPoint(WellPathPoint(0, 0, 0, 0));
    ExpectError([&] { CollectSamples(stub, *log); }, "Well path must be non-empty.");
}

TEST(WellTest, WellDataBoundsStoredFormAndItsFailures)
{
    VdWellData data;
    EXPECT_TRUE(data.GetUVWBounds().IsEmpty());
    data.AddWell(StairWell("A"));
    data.AddWell(std::make_shared<Well>("no path"));
    auto second = StairWell("B");
    second->Top(Well::BadTop());
    second->AddLog(Log("RT", {LogEntry(5, 7, 1.5)}));
    data.AddWell(second);
    data.SetUserTransform(shr::Mat4d::MakeTranslation(1, 2, 3));
    // Wells without a path add nothing.
    EXPECT_EQ(data.GetXYZBounds(), shr::Box3d(1001, 2002, -147, 1011, 2202, 53));
    std::vector<unsigned char> bytes;
    {
        shr::Archive out(bytes, "");
        data.Serialize(out);
    }
    VdWellData loaded;
    shr::Archive in(bytes.data(), bytes.size());
    loaded.Serialize(in);
    EXPECT_EQ(in.BytesRemaining(), 0u);
    ASSERT_EQ(loaded.size(), 3u);
    EXPECT_EQ(loaded.GetXYZBounds(), data.GetXYZBounds());
    const auto b = loaded.Well("b");
    EXPECT_FALSE(b->HasTop());
    EXPECT_TRUE(std::equal(b->path_begin(), b->path_end(), data.Well("B")->path_begin()));
    ASSERT_EQ(b->trajectory_size(), 1u);
    EXPECT_EQ(*b->trajectory_begin(), WellTrajectoryPoint(10, 5, 0));
    EXPECT_EQ(b->Log("RT")->begin()->EndMD(), 7);
    EXPECT_EQ(b->Log("GR")->size(), 2u);

    // Cut anywhere, the data stay as they were.
    for (size_t cut = 1; cut + 8 < bytes.size(); cut += 13) { // the header stays
        VdWellData target;
        target.AddWell(std::make_shared<Well>("kept"));
        shr::Archive part(bytes.data(), bytes.size() - cut);
        EXPECT_THROW(target.Serialize(part), shr::Exception) << cut;
        ASSERT_EQ(target.size(), 1u);
        EXPECT_EQ((*target.begin())->Name(), "kept");
        EXPECT_FALSE(target.HasUserTransform());
    }

    const std::unique_ptr<VdWellData> copy = data.Clone();
    copy->Well("A")->path_clear();
    EXPECT_EQ(data.Well("A")->path_size(), 4u) << "a clone owns its wells";
}

} // namespace
