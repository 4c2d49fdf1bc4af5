// The sample scene of the lattice tools as `fenrak render` draws it: a coarse
// model resampled finer, the magnitude of its gradient on a horizontal
// section with its legend, and a translucent shell of the refined field.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using hosttest::Count;
using hosttest::ReadPng;
using hosttest::ScratchFolder;

TEST(LatticeToolsScene, GradientRingsAroundTheAnomaliesUnderTheirShells)
{
    ScratchFolder folder;
    const std::string picture = folder.Path("lattice-tools.png");
    const hosttest::CommandResult result = hosttest::Render(
        {std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/lattice-tools.json", "-o", picture, "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    for (const char* module : {"Refined", "Gradient", "Section"})
        EXPECT_NE(result.out.find(module), std::string::npos) << result.out;
    const render::Image image = ReadPng(picture);
    ASSERT_EQ(image.Width(), 1024);

    // The legend: no gradient in black at its foot, the steepest in white at its head.
    const shr::Color4b foot = image.At(50, 700), head = image.At(50, 365);
    EXPECT_TRUE(foot.r < 40 && foot.g < 40) << int(foot.r) << "," << int(foot.g) << "," << int(foot.b);
    EXPECT_TRUE(head.r > 240 && head.g > 200) << int(head.r) << "," << int(head.g) << "," << int(head.b);

    // Steep flanks of the large anomaly in orange beside its shell; the flat
    // field far from both anomalies nearly black.
    const auto steep = [](const shr::Color4b& c) { return c.r > 200 && c.g > 80 && c.b < 40; };
    EXPECT_GT(Count(image, 310, 450, 350, 490, steep), 900);
    const auto flat = [](const shr::Color4b& c) { return c.r < 60 && c.g < 20; };
    EXPECT_GT(Count(image, 680, 460, 720, 500, flat), 1200);
    // The grey shells tint the section where they stand over it.
    EXPECT_GT(Count(image, 380, 390, 540, 510, [](const shr::Color4b& c) { return c.b > 25; }), 5000);
    // Nothing beyond the scene.
    EXPECT_EQ(Count(image, 850, 0, 1024, 200, [](const shr::Color4b& c) { return c.r + c.g + c.b > 0; }), 0);
}

} // namespace
