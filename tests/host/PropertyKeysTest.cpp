// Property keys as a scene uses them: the listing shows every key of a type,
// under its own header, with the condition that shows it; a scene's keys are
// taken in any order; a button set to 0 stays unpressed.
#include "HostTestSupport.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/wells/VdWellData.h"
#include "core/wells/VoWellData.h"
#include "host/HostUiProxy.h"
#include "host/PropertyCatalogue.h"
#include "host/PropertyEditor.h"
#include "host/SceneBuilder.h"
#include "host/SceneFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <sstream>

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

std::string Lower(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
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

// Keys no row shows as its own: a second key of a row, keys the module takes
// itself (the seed plane's whole vectors, a well to delete), numbered runs of
// rows that grow with the data. Each registered key is listed by one type.
TEST(PropertyKeys, KeysWithoutARowOfTheirOwnAreListedAndTaken)
{
    core::VoNetwork& network = core::VoNetwork::Instance();
    network.Init();
    network.SetModified(false);
    std::map<std::string, std::string> listedBy;
    for (const core::VbModuleInfo* info : core::VbModuleRegistry::Instance()) {
        for (const host::CatalogueRow& row : host::PropertyCatalogue::Explore(info->UiName())) {
            if (!row.key.empty()) {
                EXPECT_TRUE(listedBy.emplace(Lower(row.key), info->UiName()).second)
                    << row.key << " listed by " << info->UiName() << " and " << listedBy[Lower(row.key)];
            }
        }
    }
    for (const auto& key : core::VbPropertyRegistry::Instance())
        EXPECT_TRUE(listedBy.count(Lower(key.first))) << key.first << " is listed by no type";
    EXPECT_FALSE(network.IsModified()) << "exploring leaves the network as it was";

    const std::pair<const char*, const char*> listings[] = {
        {"Axes", "AxesColorGrid +color .*Grid color  \\(second key of AxesGridColor\\)"},
        {"StreamLines", "\\[Normal Direction\\]\n  StreamLinesSeedPlaneNormal +vector .*no row of its own"},
        {"WellData", "WellDataDeleteWell +text .*no row of its own"},
        {"Subset", "SubsetComp3 to SubsetComp20 +check .*Component 3  \\(with further components\\)"},
    };
    for (const auto& listing : listings)
        EXPECT_THAT(hosttest::Properties({listing.first}).out, ContainsRegex(listing.second)) << listing.first;

    ScratchFolder folder;
    const std::string wells = std::string(FENRAK_SOURCE_DATA_DIR) + "/samples/wells/";
    const std::string scene = folder.Write("scene.json", R"({"modules": [
        {"name": "Flow", "type": "TestLattice", "properties": {"SampleLatticeFunction": "4"}},
        {"name": "Paths", "type": "StreamLines", "inputs": ["Flow"],
         "properties": {"StreamLinesSeedPlaneNormal": "1 0 0", "StreamLinesSeedPlanePos": "0.25 0.5 0.75"}},
        {"name": "Axes", "type": "Axes", "inputs": ["Flow"], "properties": {"AxesColorGrid": "255 0 0 255"}},
        {"name": "Part", "type": "Subset", "inputs": ["Flow"], "properties": {"SubsetAuto": "0", "SubsetXLast": "3"}},
        {"name": "Wells", "type": "WellData", "files": [")" + wells + R"(heads.csv"],
         "properties": {"WellDataDeleteWell": "Well=KV-102"}}]})");
    std::ostringstream log;
    const host::HostUiProxy proxy(log, false); // imports the well files
    const host::SceneDescription description = host::SceneFile::Read(scene);
    host::SceneBuilder builder(description);
    builder.Build();
    network.Update();
    network.WaitUntilDone(60000);
    builder.RestoreReplacedValues();
    const auto value = [&](const char* module, const char* key) {
        host::PropertyEditor editor(*network.FindNode(shr::GString(module)));
        return editor.ValueText(editor.RowOf(key));
    };
    EXPECT_EQ(value("Paths", "StreamLinesXNormal"), "1");
    EXPECT_EQ(value("Paths", "StreamLinesZNormal"), "0");
    EXPECT_EQ(value("Paths", "StreamLinesZPos"), "0.75");
    EXPECT_EQ(value("Axes", "AxesGridColor"), "255 0 0 255");
    EXPECT_EQ(value("Part", "SubsetILast"), "3");
    const auto* wellData = dynamic_cast<const core::VoWellData*>(network.FindNode(shr::GString("Wells")));
    ASSERT_NE(wellData, nullptr);
    EXPECT_TRUE(wellData->OutputWellData()->Well("KV-101"));
    EXPECT_EQ(wellData->OutputWellData()->size(), 4u) << "KV-102 is deleted";
    network.DeleteAllNodes();
}
