// The structure map of the source tree (data/scenes/contours.json), drawn by
// the host: a depth surface coloured from red crest to blue flank, black
// contour lines over it, and the depth legend on the left.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

namespace {

TEST(ContourScene, StructureMapShowsCrestContoursAndLegend)
{
    hosttest::ScratchFolder folder;
    const std::string picture = folder.Path("contours.png");
    const hosttest::CommandResult result =
        hosttest::Render({std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/contours.json", "-o", picture});
    ASSERT_EQ(result.status, 0) << result.err;
    const render::Image image = hosttest::ReadPng(picture);
    ASSERT_EQ(image.Width(), 1024);
    EXPECT_EQ(image.At(5, 5), shr::Color4b(40, 40, 48, 255));

    const shr::Color4b crest = image.At(420, 385), flank = image.At(600, 600);
    EXPECT_GT(crest.r, 180);
    EXPECT_LT(crest.b, 90);
    EXPECT_GT(flank.b, 150);
    EXPECT_GT(flank.b, flank.r);

    // Lines of 1 and 2.5 points over some 730 x 545 pixels of map.
    int dark = 0;
    for (int y = 110; y < 655; ++y)
        for (int x = 145; x < 878; ++x) {
            const shr::Color4b c = image.At(x, y);
            dark += c.r < 40 && c.g < 40 && c.b < 40;
        }
    EXPECT_GT(dark, 10000);
    EXPECT_LT(dark, 60000);

    // The legend strip: shallow red at the bottom, deep blue at the top.
    const shr::Color4b shallow = image.At(45, 560), deep = image.At(45, 190);
    EXPECT_GT(shallow.r, 180);
    EXPECT_GT(deep.b, 150);
    EXPECT_LT(deep.r, 90);
}

} // namespace
