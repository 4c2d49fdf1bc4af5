// Property keys as a scene uses them: the listing shows every key of a type,
// under its own header, with the condition that shows it; a scene's keys are
// taken in any order; a button set to 0 stays unpressed.
#include "HostTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using hosttest::CommandResult;
using hosttest::Render;
using hosttest::ScratchFolder;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

namespace {

// The position of `text` in `listing`, which must hold it.
size_t At(const std::string& listing, const std::string& text)
{
    const size_t at = listing.find(text);
    EXPECT_NE(at, std::string::npos) << text;
    return at;
}

// `extra` goes into the gridder's entry: ", \"compute\": false".
std::string GridderScene(const std::string& properties, const std::string& extra = "")
{
    return R"({"modules": [{"name": "Points", "type": "PointSet", "file": "points.csv"},
                           {"name": "Grid", "type": "Gridder", "inputs": ["Points"])" +
           extra + R"(, "properties": {)" + properties + "}}]}";
}

const char* const kPoints = "x,y,z,v\n0,0,0,1\n1,0,0,2\n0,1,0,3\n1,1,1,4\n";

} // namespace

TEST(PropertyKeys, ListingShowsEveryKeyUnderItsHeaderAndWhenItShows)
{
    const CommandResult result = hosttest::Properties({"Gridder"});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string& listing = result.out;
    EXPECT_THAT(listing, ContainsRegex("Gridder3Component +unsigned +1 +Input component +\\(with data\\)"));
    EXPECT_THAT(listing, ContainsRegex("Gridder3SearchRadius +double .*\\(with data, "));
    EXPECT_THAT(listing, ContainsRegex("Gridder3AnisoXLength .*\\(with data, Anisotropy = Anisotropic\\)"));
    // Rows in the module's order: each between its header and the next one.
    EXPECT_LT(At(listing, "[Resolution]"), At(listing, "Gridder3XNum"));
    EXPECT_LT(At(listing, "Gridder3ZNum"), At(listing, "[Spacing]"));
    EXPECT_LT(At(listing, "[Method]"), At(listing, "Gridder3Method "));
    EXPECT_LT(At(listing, "Gridder3DistanceSmooth"), At(listing, "[Geometry]"));

    // Rows of the data a source holds, and of each well that arrives.
    const std::pair<const char*, const char*> held[] = {
        {"Lattice", "LatticeSrcXNum +.*\\(with data\\)"},
        {"WellData", "WellDataXTop +.*\\(with data\\)"},
        {"WellRender", "WellRenderShowWell +check .*\\(with data\\)"},
    };
    for (const auto& type : held) {
        const CommandResult rows = hosttest::Properties({type.first});
        EXPECT_THAT(rows.out, ContainsRegex(type.second)) << type.first;
    }
}

// Local polynomial hides the anisotropy: in either order the scene is taken,
// the key that cannot take effect is named in a warning.
TEST(PropertyKeys, SceneKeysAreTakenInAnyOrder)
{
    ScratchFolder folder;
    folder.Write("points.csv", kPoints);
    for (const std::string& keys : {std::string(R"("Gridder3Method": "2", "Gridder3Aniso": "1")"),
                                    std::string(R"("Gridder3Aniso": "1", "Gridder3Method": "2")")}) {
        SCOPED_TRACE(keys);
        const std::string scene = folder.Write("scene.json", GridderScene(keys + R"(, "Gridder3SearchXLength": "2", "Gridder3XNum": "5", "Gridder3DoIt": "1")"));
        const CommandResult result = Render({scene, "--stats"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(result.out, ContainsRegex("Grid +Gridder +ok"));
    }
    const std::string scene = folder.Write("scene.json", GridderScene(R"("Gridder3Method": "2", "Gridder3Aniso": "1")"));
    EXPECT_THAT(Render({scene, "--stats"}).err,
                HasSubstr("fenrak: warning: " + scene +
                          ": module \"Grid\": property key \"Gridder3Aniso\" has no effect with the other settings"));
}

TEST(PropertyKeys, AButtonSetToZeroOrFalseIsNotPressed)
{
    ScratchFolder folder;
    folder.Write("points.csv", kPoints);
    const std::pair<const char*, const char*> cases[] = {
        {"0", "idle"}, {"false", "idle"}, {"1", "ok"}, {"true", "ok"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        const std::string scene = folder.Write(
            "scene.json", GridderScene(std::string(R"("Gridder3XNum": "5", "Gridder3DoIt": ")") + c.first + "\"",
                                       R"(, "compute": false)"));
        const CommandResult result = Render({scene, "--stats"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(result.out, ContainsRegex(std::string("Grid +Gridder +") + c.second));
    }
}
