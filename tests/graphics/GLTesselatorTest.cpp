#include "core/graphics/GLTesselator.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using core::GLTesselator;
using Contour = GLTesselator::Contour;

namespace {

Contour Square(double x0, double y0, double size, bool counterClockwise = true)
{
    Contour c{{x0, y0}, {x0 + size, y0}, {x0 + size, y0 + size}, {x0, y0 + size}};
    if (!counterClockwise)
        std::reverse(c.begin(), c.end());
    return c;
}

// Signed areas of the triangles: their sum, and whether none is clockwise
// (slivers of no area may come where contours cross).
double Area(const std::vector<shr::Vec2d>& t, bool& allCounterClockwise)
{
    double total = 0.0;
    allCounterClockwise = true;
    for (size_t i = 0; i + 2 < t.size(); i += 3) {
        const double a = 0.5 * ((t[i + 1].x - t[i].x) * (t[i + 2].y - t[i].y) -
                                (t[i + 2].x - t[i].x) * (t[i + 1].y - t[i].y));
        allCounterClockwise = allCounterClockwise && a >= 0.0;
        total += a;
    }
    return total;
}

TEST(GLTesselator, FillsByTheWindingRule)
{
    struct Case {
        const char* name;
        std::vector<Contour> contours;
        GLTesselator::Winding winding;
        double area;
    } cases[] = {
        {"square", {Square(0, 0, 1)}, GLTesselator::NonZero, 1.0},
        {"clockwise square", {Square(0, 0, 1, false)}, GLTesselator::NonZero, 1.0},
        {"nested alike, nonzero", {Square(0, 0, 2), Square(0.5, 0.5, 1)}, GLTesselator::NonZero, 4.0},
        {"nested alike, odd", {Square(0, 0, 2), Square(0.5, 0.5, 1)}, GLTesselator::Odd, 3.0},
        {"reversed hole", {Square(0, 0, 2), Square(0.5, 0.5, 1, false)}, GLTesselator::NonZero, 3.0},
        {"overlapping", {Square(0, 0, 2), Square(1, 1, 2)}, GLTesselator::NonZero, 7.0},
        {"too short", {Contour{{0, 0}, {1, 1}}}, GLTesselator::NonZero, 0.0},
        {"nothing", {}, GLTesselator::Odd, 0.0},
    };
    GLTesselator tesselator;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto triangles = tesselator.Tesselate(c.contours, c.winding);
        EXPECT_EQ(triangles.size() % 3, 0u);
        bool counterClockwise = false;
        EXPECT_NEAR(Area(triangles, counterClockwise), c.area, 1e-12);
        EXPECT_TRUE(counterClockwise);
    }
}

TEST(GLTesselator, BadCoordinatesAreNumberedErrors)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (double bad : {nan, std::numeric_limits<double>::infinity(), 1e160}) {
        GLTesselator tesselator;
        const testsupport::Raised error = testsupport::RaisedBy(
            [&] { tesselator.Tesselate({Contour{{0, 0}, {bad, 0}, {1, 1}}}, GLTesselator::NonZero); });
        EXPECT_EQ(error.code, 41) << bad;
        EXPECT_EQ(error.message.rfind("Tesselation error: ", 0), 0u) << error.message;
        EXPECT_GT(error.message.size(), std::string("Tesselation error: ").size());
        // The tessellator stays usable.
        bool ccw = false;
        EXPECT_NEAR(Area(tesselator.Tesselate({Square(0, 0, 1)}, GLTesselator::Odd), ccw), 1.0, 1e-12);
    }
}

} // namespace
