#include "tests/support/PictureSupport.h"

#include "render/CameraFraming.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace testsupport;
using render::CameraFraming;
using render::Image;
using render::SceneRenderer;

namespace {

const shr::Color4b kRed = shr::Color4b::Red, kBlue = shr::Color4b::Blue;

TEST(CameraFraming, AzimuthIsACompassBearingElevationLooksDownBadViewsThrow)
{
    const float h = std::sqrt(0.5f);
    const float c30 = std::cos(0.5235988f), s30 = 0.5f;
    struct Case {
        double azimuth, elevation;
        SbVec3f direction, up;
    };
    const Case cases[] = {
        {0, 0, SbVec3f(0, 1, 0), SbVec3f(0, 0, 1)},       // north, level
        {90, 0, SbVec3f(1, 0, 0), SbVec3f(0, 0, 1)},      // east
        {180, 0, SbVec3f(0, -1, 0), SbVec3f(0, 0, 1)},    // south
        {-90, 0, SbVec3f(-1, 0, 0), SbVec3f(0, 0, 1)},    // west
        {450, 0, SbVec3f(1, 0, 0), SbVec3f(0, 0, 1)},     // wraps round
        {0, 90, SbVec3f(0, 0, -1), SbVec3f(0, 1, 0)},     // straight down, north up
        {90, 90, SbVec3f(0, 0, -1), SbVec3f(1, 0, 0)},    // straight down, east up
        {0, -90, SbVec3f(0, 0, 1), SbVec3f(0, -1, 0)},    // straight up
        {45, 30, SbVec3f(h * c30, h * c30, -s30), SbVec3f(h * s30, h * s30, c30)},
    };
    for (const Case& c : cases) {
        SbVec3f direction, up;
        const SbRotation orientation = CameraFraming(c.azimuth, c.elevation).Orientation();
        orientation.multVec(SbVec3f(0, 0, -1), direction);
        orientation.multVec(SbVec3f(0, 1, 0), up);
        SCOPED_TRACE(testing::Message() << "azimuth " << c.azimuth << " elevation " << c.elevation);
        EXPECT_TRUE(direction.equals(c.direction, 1e-5f));
        EXPECT_TRUE(up.equals(c.up, 1e-5f));
    }
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const double bad[][3] = {{nan, 0, 1}, {inf, 0, 1}, {0, 90.5, 1}, {0, -91, 1}, {0, nan, 1},
                             {0, 0, 0},   {0, 0, -2},  {0, 0, nan},  {0, 0, inf}};
    for (const auto& view : bad)
        EXPECT_THROW(CameraFraming(view[0], view[1], view[2]), shr::Exception) << view[0] << " " << view[1];
    EXPECT_NO_THROW(CameraFraming(-720, -90, 1e-3));
}

// An off-centre, elongated box framed at zoom 1 lies wholly inside the
// picture from every side, in wide and tall pictures alike; zoom 3 spills over.
TEST(CameraFraming, ZoomOneKeepsTheWholeBoxInView)
{
    auto* box = new SoCube;
    box->width = 40;
    box->height = 6;
    box->depth = 12;
    SceneRef scene(UnlitShape(box, SbColor(1, 0, 0), SbVec3f(500, -3000, 120)));
    struct Case {
        int width, height;
        double azimuth, elevation;
    };
    const Case cases[] = {{80, 80, 0, 0},    {80, 80, 90, 0},   {120, 50, 30, 25}, {50, 120, 30, 25},
                          {90, 60, 0, 90},   {60, 90, 200, -90}, {100, 100, 315, -40}, {150, 40, 90, 10}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " az " << c.azimuth << " el "
                                        << c.elevation);
        SceneRenderer renderer(PictureContext(), c.width, c.height, kBlue);
        renderer.SetFraming(CameraFraming(c.azimuth, c.elevation, 1));
        const Image framed = renderer.Render(scene.get());
        EXPECT_TRUE(BordersAre(framed, kBlue));
        EXPECT_EQ(framed.At(c.width / 2, c.height / 2), kRed);

        renderer.SetFraming(CameraFraming(c.azimuth, c.elevation, 3));
        EXPECT_FALSE(BordersAre(renderer.Render(scene.get()), kBlue));
    }
}

} // namespace
