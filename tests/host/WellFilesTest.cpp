// Well tables told apart by their headers, and whole sets of well files
// merged into well data in one call.
#include "host/WellSetLoader.h"
#include "host/WellTableReader.h"

#include "HostTestSupport.h"
#include "core/wells/VdWellData.h"
#include "host/PointFileReader.h"
#include "shr/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace host;
using ::testing::HasSubstr;

namespace {

WellTable Parse(const std::string& text, LengthUnit unit = LengthUnit::Metre)
{
    return WellTableReader::Parse(text, "t.csv", "file-well", unit);
}

std::string ErrorOf(const std::string& text)
{
    try {
        Parse(text);
    } catch (const shr::Exception& error) {
        return error.Message();
    }
    return "no error";
}

TEST(WellTableTest, KindsFromTheHeader)
{
    // Feet converted, a decimal comma with semicolons.
    const WellTable heads = Parse("Well Name;Easting [ft];Northing;KB Elev (m)\nA-1;1000;200,5;35\n");
    ASSERT_EQ(heads.kind, WellTableKind::Heads);
    EXPECT_EQ(heads.heads[0].well, "A-1");
    EXPECT_DOUBLE_EQ(heads.heads[0].x, 304.8);
    EXPECT_EQ(heads.heads[0].y, 200.5);

    // No well column: the caller's well. Feet asked for, feet given.
    const WellTable survey = Parse("MD(ft)\tInc\tAzi\n0\t0\t0\n100\t2.5\t355\n", LengthUnit::Foot);
    ASSERT_EQ(survey.kind, WellTableKind::Survey);
    EXPECT_EQ(survey.stations[1].well, "file-well");
    EXPECT_EQ(survey.stations[1].md, 100);

    const WellTable zones = Parse("UWI,Zone,Top,Base\nA,Sand,10,20\nA,Shale,20,35\n");
    ASSERT_EQ(zones.kind, WellTableKind::Intervals);
    EXPECT_EQ(zones.pickName, "Zone");

    // A text column called Top is the marker's name, not its depth.
    const WellTable tops = Parse("Well,Top,MD\nA,Base Cover,12\nA,Porphyry,300\n");
    ASSERT_EQ(tops.kind, WellTableKind::Markers);
    EXPECT_EQ(tops.pickName, "Top");
    EXPECT_EQ(tops.picks[1].top, 300);
    EXPECT_EQ(tops.picks[1].base, 300);
}

TEST(WellTableTest, BadTablesNameTheLineAndColumn)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Name,X,Y\nA,1,2\n", "t.csv: line 1: the well heads need a reference elevation column"},
        {"X,Y,KB\n1,2,3\n", "t.csv: line 1: the well heads need a well name column"},
        {"Well,X,Y,KB\nA,1,,3\n", "t.csv: line 2, column 3 (\"Y\"): a number is needed, found \"\""},
        {"MD,Inc,Az\n0,0,0\n10,181,0\n", "t.csv: line 3, column 2 (\"Inc\"): an inclination from 0 to 180"},
        {"Well,Zone,Top,Base\nA,S,20,10\n", "t.csv: line 2, column 4 (\"Base\"): the base lies above the top"},
        {"MD (yd),Inc,Az\n0,0,0\n", "t.csv: line 1, column 1 (\"MD (yd)\"): the unit \"yd\" is not a length"},
        {"Well,MD\nA,10\n", "t.csv: line 1: no column names the zones or markers"},
        {"Well,Colour\nA,red\n", "t.csv: line 1: the header names no known well table"},
        {"Well,MD,Inc,Az\nA,0,0,0,5\n", "t.csv: line 2: 5 fields where the header has 4"},
        {"Well,MD,Inc,Az\n", "t.csv: a well table needs a header row and at least one row of data"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(ErrorOf(c.first), HasSubstr(c.second)) << c.first;
}

class WellSetTest : public ::testing::Test {
protected:
    hosttest::ScratchFolder folder;

    std::vector<shr::GString> Files(const std::vector<std::pair<std::string, std::string>>& files) const
    {
        std::vector<shr::GString> paths;
        for (const auto& file : files)
            paths.push_back(folder.Write(file.first, file.second));
        return paths;
    }
};

const char* const kLogFeet = "~V\n VERS. 2.0 :\n WRAP. NO :\n~W\n NULL. -999.25 :\n WELL. b-2 :\n"
                             "~C\n DEPT.F :\n GR.GAPI :\n~A\n0 10\n250 -999.25\n500 30\n";

TEST_F(WellSetTest, MergesEveryKindOfFileIntoTheWells)
{
    core::VdWellData wells;
    const WellLoadReport report = WellSetLoader::Load(
        Files({{"heads.csv", "Well,X,Y,KB\nA-1,1000,2000,50\nB-2,0,0,10\nC-3,5,5,5\n"},
               {"survey.csv", "Well,MD,Inc,Azi\nA-1,100,90,90\nA-1,0,0,0\nA-1,200,90,90\nD-4,0,0,0\n"},
               {"B-2.las", kLogFeet},
               {"zones.csv", "Well,Zone,Top,Base\nB-2,Sand,10,20\nB-2,Clay,30,40\nA-1,Clay,0,5\n"},
               {"tops.csv", "Well,Surface,MD\nb-2,Top B,50\nb-2,Top A,20\n"}}),
        wells);
    ASSERT_EQ(wells.size(), 4u);

    // the survey sorted, then the minimum curvature path: a quarter
    // circle east from (1000, 2000, 50), then level.
    const auto a = wells.Well("A-1");
    ASSERT_EQ(a->path_size(), 3u);
    EXPECT_EQ((a->path_begin() + 1)->MD(), 100);
    EXPECT_NEAR((a->path_end() - 1)->X(), 1000 + 200 / 3.14159265358979323846 + 100, 1e-9);
    EXPECT_NEAR((a->path_end() - 1)->Z(), 50 - 200 / 3.14159265358979323846, 1e-9);

    // B-2: no survey, so straight down to its deepest log depth; the log in metres.
    const auto b = wells.Well("B-2");
    ASSERT_TRUE(b->HasLog("GR"));
    const auto gr = b->Log("GR");
    ASSERT_EQ(gr->size(), 3u);
    EXPECT_NEAR((gr->begin() + 2)->MD(), 152.4, 1e-9);
    double value = 0;
    EXPECT_FALSE(gr->Interpolate(100, value)) << "a NULL value is a gap";
    EXPECT_NEAR((b->path_end() - 1)->Z(), 10 - 152.4, 1e-9);

    // Intervals: codes in name order (Clay 1, Sand 2), a gap between them.
    const auto zone = b->Log("Zone");
    EXPECT_EQ(report.zoneCodes.at("Zone"), (std::vector<std::string>{"Clay", "Sand"}));
    for (const auto& probe : {std::make_pair(15.0, 2.0), std::make_pair(25.0, zone->NullValue()),
                              std::make_pair(35.0, 1.0), std::make_pair(40.0, zone->NullValue())}) {
        zone->Interpolate(probe.first, value);
        EXPECT_EQ(value, probe.second) << probe.first;
    }
    // Markers: each zone reaches down to the next top.
    const auto tops = b->Log("Surface");
    double end = 0;
    EXPECT_TRUE(tops->ExtractValue(20, end, value));
    EXPECT_EQ(end, 50);
    EXPECT_EQ(value, 1) << "Top A";

    // C-3 has a head only, D-4 a survey only.
    EXPECT_TRUE(wells.Well("C-3")->path_empty());
    EXPECT_THAT(report.notes, ::testing::ElementsAre(HasSubstr("C-3: no path, the well has neither"),
                                                     HasSubstr("D-4: no path, the well has no head")));
}

TEST_F(WellSetTest, AnErrorInAnyFileLeavesTheWellsAsTheyWere)
{
    core::VdWellData wells;
    wells.AddWell(std::make_shared<core::Well>("Old"));
    const std::vector<shr::GString> paths =
        Files({{"heads.csv", "Well,X,Y,KB\nA-1,1,2,3\n"}, {"bad.las", "~V\n VERS. 2.0 :\n~C\n DEPT.M :\n"}});
    try {
        WellSetLoader::Load(paths, wells);
        ADD_FAILURE();
    } catch (const shr::Exception& error) {
        EXPECT_THAT(error.Message(), HasSubstr("bad.las: no ~A (data) section"));
    }
    ASSERT_EQ(wells.size(), 1u);
    EXPECT_TRUE(wells.Well("Old"));

    WellLoadOptions options;
    options.pathMethod = "Spline";
    EXPECT_THROW(WellSetLoader::Load({paths[0]}, wells, options), shr::Exception);
    EXPECT_EQ(wells.size(), 1u);
}

// The sample wells load as they stand and run through the borehole field.
TEST(WellSamplesTest, LoadAndCrossTheBoreholeField)
{
    const std::string folder = FENRAK_SOURCE_DATA_DIR "/samples/wells/";
    std::vector<shr::GString> paths;
    for (const char* name : {"heads.csv", "surveys.csv", "tops.csv", "zones.csv"})
        paths.push_back(folder + name);
    for (int n = 101; n <= 105; ++n)
        paths.push_back(folder + "KV-" + std::to_string(n) + ".las");
    core::VdWellData wells;
    const WellLoadReport report = WellSetLoader::Load(paths, wells);
    EXPECT_TRUE(report.notes.empty());
    const shr::Box3d field =
        PointFileReader::Read(FENRAK_SOURCE_DATA_DIR "/samples/boreholes.csv").points->GetUVWBounds();
    ASSERT_EQ(wells.size(), 5u);
    for (const auto& well : wells) {
        SCOPED_TRACE(well->Name());
        for (const char* log : {"GR", "RT", "NPHI", "Surface", "Zone"})
            EXPECT_TRUE(well->HasLog(log)) << log;
        const auto nphi = well->Log("NPHI");
        EXPECT_LT(std::distance(nphi->filtered_begin(), nphi->filtered_end()), static_cast<long>(nphi->size()))
            << "porosity has gaps";
        std::pair<double, double> range;
        ASSERT_TRUE(well->Log("GR")->MDRange(range));
        EXPECT_NEAR(range.first, 10.0, 1e-6) << "every log in metres, KV-103's read in feet";
        EXPECT_NEAR(range.second, (well->path_end() - 1)->MD(), 20.0);
        size_t inside = 0;
        for (auto p = well->path_begin(); p != well->path_end(); ++p)
            inside += field.Intersects(shr::Vec3d(*p)) ? 1 : 0;
        EXPECT_GT(inside, 10u);
    }
}

} // namespace
