// Wells in scenes as `fenrak render` draws them: the sample scene (tubes
// through the colour map, the legend, readable labels over the grade shell),
// well files named in a scene and read through the module's Import, a saved
// document that draws the same picture, and the errors of a scene's files.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using hosttest::Count;
using hosttest::ReadPng;
using hosttest::Render;
using hosttest::ScratchFolder;

const std::string kData = FENRAK_SOURCE_DATA_DIR;

std::string Files()
{
    std::string files;
    for (const char* name : {"heads.csv", "surveys.csv", "KV-101.las", "KV-102.las", "KV-103.las", "KV-104.las",
                             "KV-105.las", "tops.csv"})
        files += std::string(files.empty() ? "" : ", ") + "\"" + kData + "/samples/wells/" + name + "\"";
    return files;
}

TEST(WellScene, TubesThroughTheMapWithLegendAndLabels)
{
    ScratchFolder folder;
    const std::string picture = folder.Path("wells.png");
    const hosttest::CommandResult result = Render({kData + "/scenes/wells.json", "-o", picture, "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find("Well logs"), std::string::npos) << result.out;
    const render::Image image = ReadPng(picture);
    ASSERT_EQ(image.Width(), 1024);

    // The legend: low gamma ray blue at its foot, high red at its head.
    const shr::Color4b foot = image.At(35, 725), head = image.At(35, 480);
    EXPECT_TRUE(foot.b > 200 && foot.r < 60) << int(foot.r) << "," << int(foot.g) << "," << int(foot.b);
    EXPECT_TRUE(head.r > 200 && head.b < 60) << int(head.r) << "," << int(head.g) << "," << int(head.b);
    // The cover and andesite near the heads are low in gamma ray (cyan and
    // blue), the potassic core high (yellow to red).
    const auto low = [](const shr::Color4b& c) { return c.b > 150 && c.r < 80; };
    const auto high = [](const shr::Color4b& c) { return c.r > 180 && c.b < 90 && c.g < 230; };
    EXPECT_GT(Count(image, 100, 150, 330, 520, low), 400);
    EXPECT_GT(Count(image, 780, 150, 1000, 500, low), 400);
    EXPECT_GT(Count(image, 330, 380, 700, 600, high), 300);
    // The labels: white text above the heads, KV-103's in the middle.
    const auto white = [](const shr::Color4b& c) { return c.r > 200 && c.g > 200 && c.b > 200; };
    EXPECT_GT(Count(image, 525, 75, 610, 105, white), 60);
    EXPECT_EQ(Count(image, 525, 20, 610, 60, white), 0);
}

TEST(WellScene, FilesOfTheSceneThroughImportAndADocument)
{
    ScratchFolder folder;
    const std::string scene = folder.Write(
        "wells.json", "{\"modules\": [{\"name\": \"Wells\", \"type\": \"WellData\", \"files\": [" + Files() +
                          "]}, {\"name\": \"Tubes\", \"type\": \"WellRender\", \"inputs\": [\"Wells\"],"
                          " \"properties\": {\"WellRenderPathColor\": \"255 255 0 255\", \"WellRenderPathSize\": "
                          "\"12\"}}], \"view\": {\"size\": [200, 150]}}");
    const hosttest::CommandResult drawn =
        Render({scene, "-o", folder.Path("scene.png"), "--save", folder.Path("wells.fkd")});
    ASSERT_EQ(drawn.status, 0) << drawn.err;
    const render::Image picture = ReadPng(folder.Path("scene.png"));
    EXPECT_GT(Count(picture, 0, 0, 200, 150, [](const shr::Color4b& c) { return c.r > 150 && c.g > 150 && c.b < 60; }),
              200);
    // The document holds the wells: no file is read again.
    const hosttest::CommandResult again = Render({folder.Path("wells.fkd"), "-o", folder.Path("doc.png")});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_TRUE(ReadPng(folder.Path("doc.png")) == picture);
}

TEST(WellScene, ErrorsOfTheFiles)
{
    ScratchFolder folder;
    folder.Write("bad.csv", "Well,MD (m),Inclination,Azimuth\nA,0,200,10\n");
    const struct {
        std::string module;
        const char* message;
    } cases[] = {
        {R"({"name": "Wells", "type": "WellData", "files": ["missing.las"]})",
         "module \"Wells\": well file \"missing.las\" not found"},
        {R"({"name": "Wells", "type": "WellData", "files": ["bad.csv"]})", "bad.csv"},
        {R"({"name": "Wells", "type": "WellData", "files": []})", "\"files\" must be a list of file names"},
        {R"({"name": "Grid", "type": "TestLattice", "files": ["bad.csv"]})", "\"files\" is only for a well data"},
    };
    for (const auto& c : cases) {
        const std::string scene = folder.Write("s.json", "{\"modules\": [" + c.module + "]}");
        const hosttest::CommandResult result = Render({scene, "-o", folder.Path("x.png")});
        EXPECT_EQ(result.status, 1) << c.module;
        EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
        EXPECT_FALSE(hosttest::FileExists(folder.Path("x.png")));
    }
}

} // namespace
