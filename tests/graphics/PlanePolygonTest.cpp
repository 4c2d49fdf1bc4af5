// The cut of a plane through a box: shape, area, winding and the planes that
// only graze or miss the box.
#include "core/graphics/PlanePolygon.h"

#include <gtest/gtest.h>

#include <cmath>

using core::CentredPlanePolygon;
using core::PlaneBoxPolygon;
using core::PlaneOffsetLimit;
using core::PolygonAreaVector;
using shr::Box3d;
using shr::Vec3d;

namespace {

const Box3d kUnitCube(0, 0, 0, 1, 1, 1);
const double kSqrt2 = std::sqrt(2.0), kSqrt3 = std::sqrt(3.0);

// Every turn bends the same way as the normal: convex and counter-clockwise
// as seen from the normal's tip.
void ExpectConvexCounterClockwise(const std::vector<Vec3d>& polygon, const Vec3d& normal)
{
    const size_t n = polygon.size();
    for (size_t i = 0; i < n; ++i) {
        const Vec3d a = polygon[(i + 1) % n] - polygon[i];
        const Vec3d b = polygon[(i + 2) % n] - polygon[(i + 1) % n];
        EXPECT_GT(a.Cross(b).Dot(normal), 0.0) << "turn at vertex " << (i + 1) % n;
    }
}

// Every vertex lies on the plane and in the box.
void ExpectOnPlaneInBox(const std::vector<Vec3d>& polygon, const Box3d& box, const Vec3d& normal, double offset)
{
    const Vec3d n = normal.Normalized();
    for (const Vec3d& p : polygon) {
        EXPECT_NEAR(n.Dot(p - box.Center()), offset, 1e-9 * (1.0 + box.Diagonal()));
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_GE(p[axis], box.min[axis] - 1e-9);
            EXPECT_LE(p[axis], box.max[axis] + 1e-9);
        }
    }
}

double Area(const std::vector<Vec3d>& polygon) { return 0.5 * PolygonAreaVector(polygon).Length(); }

struct CutCase {
    const char* name;
    Box3d box;
    Vec3d normal;
    double offset;
    size_t vertices;
    double area;
};

TEST(PlanePolygon, CutsHaveTheExpectedShapeAndArea)
{
    const Box3d far(1e6, 2e6, -500, 1e6 + 2, 2e6 + 3, -496);
    const CutCase cases[] = {
        {"XY through the centre", kUnitCube, {0, 0, 1}, 0.0, 4, 1.0},
        {"XZ off centre", kUnitCube, {0, 1, 0}, 0.3, 4, 1.0},
        {"YZ with a long normal", kUnitCube, {5, 0, 0}, -0.2, 4, 1.0},
        {"downward normal", kUnitCube, {0, 0, -1}, 0.25, 4, 1.0},
        {"diagonal of two axes", kUnitCube, {1, 1, 0}, 0.0, 4, kSqrt2},
        {"diagonal of three axes", kUnitCube, {1, 1, 1}, 0.0, 6, 3.0 * kSqrt3 / 4.0},
        // x + y + z = 2.5 cuts the corner (1, 1, 1) off: legs of 0.5.
        {"corner cut", kUnitCube, {1, 1, 1}, 1.0 / kSqrt3, 3, kSqrt3 / 2.0 * 0.25},
        {"geological coordinates", far, {0, 0, 1}, 1.0, 4, 6.0},
        {"box face at the upper limit", kUnitCube, {0, 0, 1}, 0.5, 4, 1.0},
        {"box face at the lower limit", kUnitCube, {0, 0, 1}, -0.5, 4, 1.0},
    };
    for (const CutCase& c : cases) {
        SCOPED_TRACE(c.name);
        const std::vector<Vec3d> polygon = CentredPlanePolygon(c.box, c.normal, c.offset);
        ASSERT_EQ(polygon.size(), c.vertices);
        EXPECT_NEAR(Area(polygon), c.area, 1e-9 * (1.0 + c.area));
        ExpectConvexCounterClockwise(polygon, c.normal);
        ExpectOnPlaneInBox(polygon, c.box, c.normal, c.offset);
    }
}

TEST(PlanePolygon, PlanesThatMissOrGrazeGiveNothing)
{
    const Box3d flat(0, 0, 2, 4, 4, 2);
    const CutCase cases[] = {
        {"beyond the top", kUnitCube, {0, 0, 1}, 0.51, 0, 0},
        {"beyond the bottom", kUnitCube, {0, 0, 1}, -2.0, 0, 0},
        {"touching one corner", kUnitCube, {1, 1, 1}, kSqrt3 / 2.0, 0, 0},
        {"touching one edge", kUnitCube, {1, 1, 0}, kSqrt2 / 2.0, 0, 0},
        {"zero normal", kUnitCube, {0, 0, 0}, 0.0, 0, 0},
        {"empty box", Box3d(), {0, 0, 1}, 0.0, 0, 0},
        {"across a flat box", flat, {1, 0, 0}, 0.0, 0, 0},
    };
    for (const CutCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(CentredPlanePolygon(c.box, c.normal, c.offset).empty());
    }
    // A flat box seen along its own normal is its own cut.
    EXPECT_NEAR(Area(CentredPlanePolygon(flat, {0, 0, 1}, 0.0)), 16.0, 1e-12);
}

TEST(PlanePolygon, OffsetLimitIsTheReachOfTheBoxAlongTheNormal)
{
    EXPECT_DOUBLE_EQ(PlaneOffsetLimit(kUnitCube, {0, 0, 1}), 0.5);
    EXPECT_DOUBLE_EQ(PlaneOffsetLimit(kUnitCube, {0, 0, -3}), 0.5);
    EXPECT_NEAR(PlaneOffsetLimit(kUnitCube, {1, 1, 1}), kSqrt3 / 2.0, 1e-15);
    EXPECT_DOUBLE_EQ(PlaneOffsetLimit(Box3d(0, 0, 0, 4, 2, 1), {1, 0, 0}), 2.0);
    EXPECT_EQ(PlaneOffsetLimit(Box3d(), {1, 0, 0}), 0.0);
    EXPECT_EQ(PlaneOffsetLimit(kUnitCube, {0, 0, 0}), 0.0);
    // Just inside the limit there is still a cut, just outside none.
    const double limit = PlaneOffsetLimit(kUnitCube, {1, 2, 3});
    EXPECT_FALSE(CentredPlanePolygon(kUnitCube, {1, 2, 3}, limit * 0.999).empty());
    EXPECT_TRUE(CentredPlanePolygon(kUnitCube, {1, 2, 3}, limit * 1.001).empty());
}

} // namespace
