// The sample scene of the vector family as `fenrak render` draws it: arrows
// on a layer of the vortex, stream lines wound round its core, the speed
// legend beside them, all coloured through the same rainbow.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using hosttest::Count;
using hosttest::ReadPng;
using hosttest::ScratchFolder;

TEST(VectorScene, ArrowsLinesAndLegendInTheMapsColours)
{
    ScratchFolder folder;
    const std::string picture = folder.Path("vectors.png");
    const hosttest::CommandResult result =
        hosttest::Render({std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/vectors.json", "-o", picture, "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    for (const char* module : {"Arrows", "Paths"})
        EXPECT_NE(result.out.find(module), std::string::npos) << result.out;
    const render::Image image = ReadPng(picture);
    ASSERT_EQ(image.Width(), 1024);

    // The legend's strip: the slowest speed in blue at its foot, the fastest in red at its head.
    const shr::Color4b foot = image.At(50, 700), head = image.At(50, 365);
    EXPECT_TRUE(foot.b > 200 && foot.r < 60) << int(foot.r) << "," << int(foot.g) << "," << int(foot.b);
    EXPECT_TRUE(head.r > 200 && head.b < 60) << int(head.r) << "," << int(head.g) << "," << int(head.b);

    // The fast lines round the core, in red and orange, fill the middle of the view.
    const auto fast = [](const shr::Color4b& c) { return c.r > 200 && c.b < 80 && c.g < 200; };
    EXPECT_GT(Count(image, 420, 300, 610, 450, fast), 2000);
    // The slower arrows at the edge of the layer, in cyan and blue, to the lower left.
    const auto slow = [](const shr::Color4b& c) { return c.b > 180 && c.r < 80; };
    EXPECT_GT(Count(image, 300, 480, 520, 620, slow), 300);
    // Nothing beyond the scene.
    EXPECT_EQ(Count(image, 850, 0, 1024, 200, [](const shr::Color4b& c) { return c.r + c.g + c.b > 0; }), 0);
}

} // namespace
