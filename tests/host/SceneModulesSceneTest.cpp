// The sample scene of the scene modules as `fenrak render` draws it: the
// global settings' background, a shell cut open on its red core, and the
// title in the upper left corner.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

TEST(SceneModulesScene, ClippedShellLightsAndTitle)
{
    hosttest::ScratchFolder folder;
    const std::string picture = folder.Path("scene-modules.png");
    const hosttest::CommandResult result = hosttest::Render(
        {std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/scene-modules.json", "-o", picture, "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    std::istringstream table(result.out);
    std::string line;
    std::getline(table, line); // the header
    int modules = 0;
    for (; std::getline(table, line); ++modules)
        EXPECT_NE(line.find(" ok "), std::string::npos) << line;
    EXPECT_EQ(modules, 9);
    const render::Image image = hosttest::ReadPng(picture);
    ASSERT_EQ(image.Width(), 1024);

    EXPECT_EQ(image.At(1000, 740), shr::Color4b(22, 26, 34)) << "the settings' background";
    int title = 0, core = 0;
    for (int y = 20; y < 75; ++y)
        for (int x = 25; x < 400; ++x)
            title += image.At(x, y).r > 200 && image.At(x, y).b > 200 ? 1 : 0;
    for (int y = 420; y < 520; ++y)
        for (int x = 420; x < 520; ++x) {
            const shr::Color4b c = image.At(x, y);
            core += c.r > 120 && c.g < c.r / 2 && c.b < c.r / 2 ? 1 : 0;
        }
    EXPECT_GT(title, 400) << "the title's white strokes";
    EXPECT_GT(core, 5000) << "the red core, seen through the cut";
}

} // namespace
