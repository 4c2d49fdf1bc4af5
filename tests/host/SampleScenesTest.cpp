// The borehole and block-model sample scenes drawn by `fenrak render`: every
// module runs, and the picture shows the assays, their labels and the axes.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

using hosttest::CommandResult;
using hosttest::Render;
using hosttest::ScratchFolder;

namespace {

// Pixels between the legends at the sides that pass `test`.
int Middle(const render::Image& image, const std::function<bool(const shr::Color4b&)>& test)
{
    int count = 0;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = image.Width() / 5; x < image.Width() * 4 / 5; ++x)
            count += test(image.At(x, y)) ? 1 : 0;
    return count;
}

// The lines of the statistics table after its heading, one per module, up
// to the blank line before what the point files gave.
std::vector<std::string> ModuleRows(const std::string& out)
{
    std::vector<std::string> rows;
    std::istringstream lines(out);
    bool table = false;
    for (std::string line; std::getline(lines, line);) {
        if (table && line.empty())
            break;
        if (table)
            rows.push_back(line);
        table = table || line.rfind("module ", 0) == 0;
    }
    return rows;
}

// Draws a sample scene; every module must have run.
render::Image DrawSample(const char* scene)
{
    ScratchFolder folder;
    const std::string picture = folder.Path("sample.png");
    const CommandResult result =
        Render({std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/" + scene, "-o", picture, "--stats"});
    EXPECT_EQ(result.status, 0) << result.err;
    for (const std::string& row : ModuleRows(result.out))
        EXPECT_NE(row.find(" ok "), std::string::npos) << row;
    return result.status == 0 ? hosttest::ReadPng(picture) : render::Image(1, 1);
}

TEST(SampleScenes, BoreholesShowAssaysLabelsAndAxes)
{
    const render::Image image = DrawSample("boreholes.json");
    // Low grades are blue symbols, the labels white, the X axis red and the Y axis green.
    EXPECT_GT(Middle(image, [](const shr::Color4b& c) { return c.b > 200 && c.r < 60 && c.g < 120; }), 500);
    EXPECT_GT(Middle(image, [](const shr::Color4b& c) { return c.r > 230 && c.g > 230 && c.b > 230; }), 300);
    EXPECT_GT(Middle(image, [](const shr::Color4b& c) { return c.r > 200 && c.g < 60 && c.b < 60; }), 300);
    EXPECT_GT(Middle(image, [](const shr::Color4b& c) { return c.g > 200 && c.r < 60 && c.b < 60; }), 300);
}

TEST(SampleScenes, BlockModelShowsTheOreBlocks)
{
    const render::Image image = DrawSample("block-model.json");
    // Yellow to red ore blocks fill much of the middle.
    EXPECT_GT(Middle(image, [](const shr::Color4b& c) { return c.r > 150 && c.b < 80; }), 10000);
}

} // namespace
