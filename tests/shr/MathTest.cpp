// Vectors, boxes, planes and the numeric helpers.
#include "shr/Box2f.h"
#include "shr/Box3d.h"
#include "shr/Exception.h"
#include "shr/LeastSquares.h"
#include "shr/Line3d.h"
#include "shr/MathUtil.h"
#include "shr/Plane.h"
#include "shr/Point.h"
#include "shr/RMatrix.h"
#include "shr/Vec2.h"
#include "shr/Vec4.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

using namespace shr;

TEST(Vec3d, NormalizeAndOrdering)
{
    Vec3d v(3, 0, 4);
    EXPECT_TRUE(v.Normalize());
    EXPECT_EQ(v, Vec3d(0.6, 0, 0.8));
    Vec3d inf(INFINITY, 0, 0);
    EXPECT_FALSE(inf.Normalize());
    EXPECT_EQ(inf, Vec3d::ZERO) << "what cannot be normalised becomes zero";

    std::vector<Vec3d> sorted = {Vec3d(1, 2, 3), Vec3d(1, 1, 9), Vec3d(0, 5, 5), Vec3d(1, 2, -1)};
    std::sort(sorted.begin(), sorted.end());
    const std::vector<Vec3d> want = {Vec3d(0, 5, 5), Vec3d(1, 1, 9), Vec3d(1, 2, -1), Vec3d(1, 2, 3)};
    EXPECT_EQ(sorted, want);
}

TEST(MathUtil, ScalarHelpers)
{
    EXPECT_DOUBLE_EQ(shr::hypot(2, 3, 6), 7.0);
    EXPECT_DOUBLE_EQ(shr::hypot(3e200, 4e200, 0), 5e200); // no overflow in the squares
    EXPECT_DOUBLE_EQ(Normalize(5, 0, 10), 0.5);
    EXPECT_DOUBLE_EQ(Normalize(15, 0, 10), 1.5);
    EXPECT_DOUBLE_EQ(Normalize(2, 10, 0), 0.8);
    EXPECT_EQ(Normalize(3, 3, 3), 0.0);

    const Vec3d a(0, 0, 0), b(10, 0, 0);
    EXPECT_DOUBLE_EQ(PointLineSegDistSq(Vec3d(5, 3, 4), a, b), 25.0);
    EXPECT_DOUBLE_EQ(PointLineSegDistSq(Vec3d(-3, 4, 0), a, b), 25.0);
    EXPECT_DOUBLE_EQ(PointLineSegDistSq(Vec3d(13, 0, 4), a, b), 25.0);
    EXPECT_DOUBLE_EQ(PointLineSegDistSq(Vec3d(3, 4, 0), a, a), 25.0);
}

TEST(MathUtil, CeilPowerOf2)
{
    const int rows[][2] = {{INT_MIN, 1}, {-5, 1}, {0, 1},       {1, 1},       {2, 2},
                           {3, 4},       {1023, 1024}, {1024, 1024}, {1025, 2048}, {1 << 30, 1 << 30}};
    for (const auto& row : rows)
        EXPECT_EQ(CeilPowerOf2(row[0]), row[1]) << row[0];
    EXPECT_THROW(CeilPowerOf2((1 << 30) + 1), Exception);
    EXPECT_THROW(CeilPowerOf2(INT_MAX), Exception);
}

TEST(MathUtil, CalcAutoIncOnAwkwardRanges)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        double min, max;
        int count;
        double step, first, last;
    } rows[] = {
        {0, 10, 5, 2, 0, 10}, {0, 10, 7, 2, 0, 10}, {0.3, 2.1, 6, 0.5, 0.5, 2.0}, {-7, 13, 4, 5, -5, 10},
        {0.1, 0.7, 6, 0.1, 0.1, 0.7},   // multiples read as written
        {-0.5, 0.5, 1, 1, 0, 0},        // no "-0"
        {10, 0, 5, 2, 0, 10},           // reversed
        {0, 10, 0, 10, 0, 10},          // count 0 counts as 1
        {0, 10, -3, 10, 0, 10}, {0, 0.9, 4, 0.25, 0, 0.75},
        {0, 1, 3, 0.5, 0, 1},           // 1/3 rounds up to 0.5
        {5, 5, 7, 1, 5, 5},             // zero width
        {0, 0, 5, 0.2, 0, 0}, {1e20, 1e20 + 1e6, 5, 2e5, 1e20, 1e20 + 1e6}, {1e-300, 2e-300, 4, 2.5e-301, 1e-300, 2e-300},
        {nan, 1, 5, 0, 0, 0}, {0, INFINITY, 5, 0, 0, 0},
        {0, 1e-310, 5, 0, 0, 1e-310},   // step below the normal range
        {0, 2.0000000000000004, 1, 2, 0, 2}, // a hair above a nice step keeps it
    };
    for (const Row& row : rows) {
        double first = -1, last = -1;
        const double step = CalcAutoInc(row.min, row.max, row.count, &first, &last);
        const auto where = ::testing::Message() << row.min << ".." << row.max << " count " << row.count;
        EXPECT_DOUBLE_EQ(step, row.step) << where;
        EXPECT_DOUBLE_EQ(first, row.first) << where;
        EXPECT_DOUBLE_EQ(last, row.last) << where;
        EXPECT_FALSE(std::signbit(first) && first == 0.0) << where;
    }
    // The widest range still gives finite, ordered results.
    double first = 0, last = 0;
    const double step = CalcAutoInc(-DBL_MAX, DBL_MAX, 5, &first, &last);
    EXPECT_TRUE(std::isfinite(step) && step > 0);
    EXPECT_TRUE(std::isfinite(first) && std::isfinite(last) && first <= last);
    // Null outputs are allowed.
    EXPECT_EQ(CalcAutoInc(0, 10, 5, nullptr, nullptr), 2.0);
}

TEST(MathUtil, LeastSquaresFitsOrRefusesAndAccessIsChecked)
{
    // A refused system leaves the solution as it was; a fit leaves the
    // residual in the right-hand side.
    struct Row {
        const char* what;
        size_t rows, cols;
        std::vector<double> values, rhs, solution, residual; // values row-major; no solution: refused
    } rows[] = {
        {"y = 1.5 + x through (0,1), (1,3), (2,4), (3,4)", 4, 2, {1, 0, 1, 1, 1, 2, 1, 3}, {1, 3, 4, 4}, {1.5, 1.0},
         {-0.5, 0.5, 0.5, -0.5}},
        {"dependent columns", 3, 2, {1, 2, 2, 4, 3, 6}, {0, 0, 0}, {}, {}},
        {"zero column", 3, 2, {1, 0, 2, 0, 3, 0}, {0, 0, 0}, {}, {}},
        {"underdetermined", 2, 3, {1, 0, 0, 0, 1, 0}, {0, 0}, {}, {}},
        {"wrong right-hand side", 3, 2, {1, 0, 0, 1, 1, 1}, {0, 0}, {}, {}},
        {"no columns", 3, 0, {}, {0, 0, 0}, {}, {}},
        {"NaN", 2, 2, {1, 0, 0, std::nan("")}, {0, 0}, {}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        RMatrix a(row.rows, row.cols);
        for (size_t i = 0; i < row.values.size(); ++i)
            a(i / row.cols, i % row.cols) = row.values[i];
        RVector b(row.rhs.size()), x(1);
        for (size_t i = 0; i < row.rhs.size(); ++i)
            b[i] = row.rhs[i];
        x[0] = 42;
        EXPECT_EQ(MGSLeastSquares(a, x, b), !row.solution.empty());
        const std::vector<double> solution = row.solution.empty() ? std::vector<double>{42} : row.solution;
        ASSERT_EQ(x.Size(), solution.size());
        for (size_t i = 0; i < solution.size(); ++i)
            EXPECT_NEAR(x[i], solution[i], 1e-13) << i;
        for (size_t i = 0; i < row.residual.size(); ++i)
            EXPECT_NEAR(b[i], row.residual[i], 1e-13) << i;
    }
    // Checked access.
    const RMatrix m(2, 3);
    EXPECT_THROW(m.At(2, 0), Exception);
    EXPECT_THROW(m.At(0, 3), Exception);
    EXPECT_THROW(RVector(3).At(3), Exception);
    EXPECT_THROW(m * RVector(2), Exception);
}

TEST(Box3d, EmptyExtendQueriesAndCorners)
{
    Box3d box;
    EXPECT_TRUE(box.IsEmpty() && box.IsDegenerate());
    EXPECT_TRUE(box.Size() == Vec3d::ZERO && box.Center() == Vec3d::ZERO);
    box.ExtendBy(Box3d()); // nothing
    EXPECT_TRUE(box.IsEmpty());
    box.ExtendBy(Vec3d(1, 2, 3));
    EXPECT_EQ(box, Box3d(1, 2, 3, 1, 2, 3));
    EXPECT_TRUE(box.IsDegenerate());
    box.ExtendBy(Box3d(Vec3d(-1, 0, 0), Vec3d(0, 5, 7)));
    EXPECT_EQ(box, Box3d(-1, 0, 0, 1, 5, 7));
    EXPECT_FALSE(box.IsDegenerate());
    EXPECT_EQ(box.Center(), Vec3d(0, 2.5, 3.5));
    EXPECT_DOUBLE_EQ(box.Diagonal(), std::sqrt(4.0 + 25 + 49));
    EXPECT_TRUE(Box3d(0, 0, 0, 1, 1, 0).IsDegenerate()); // flat

    const Vec3d pts[] = {Vec3d(3, -1, 2), Vec3d(0, 4, 2), Vec3d(1, 1, -6)};
    box.BoundPoints(pts, 3);
    EXPECT_EQ(box, Box3d(0, -1, -6, 3, 4, 2));
    box.BoundPoints(pts, 0);
    EXPECT_TRUE(box.IsEmpty());

    // Corners run round the faces.
    Vec3d c[8];
    Box3d(0, 0, 0, 1, 2, 3).GetCorners(c);
    EXPECT_EQ(std::vector<Vec3d>(c, c + 8),
              (std::vector<Vec3d>{Vec3d(0, 0, 0), Vec3d(1, 0, 0), Vec3d(1, 2, 0), Vec3d(0, 2, 0), Vec3d(0, 0, 3),
                                  Vec3d(1, 0, 3), Vec3d(1, 2, 3), Vec3d(0, 2, 3)}));
    Vec2f c2[4];
    Box2f(Vec2f(-1, 0), Vec2f(1, 2)).GetCorners(c2);
    EXPECT_EQ(std::vector<Vec2f>(c2, c2 + 4), (std::vector<Vec2f>{Vec2f(-1, 0), Vec2f(1, 0), Vec2f(1, 2), Vec2f(-1, 2)}));
}

TEST(Box3d, Intersects)
{
    const Box3d unit(0, 0, 0, 1, 1, 1);
    struct Row {
        Box3d other;
        bool want;
    } rows[] = {
        {Box3d(0.5, 0.5, 0.5, 2, 2, 2), true}, {Box3d(-1, -1, -1, 3, 3, 3), true}, // overlaps, contains
        {Box3d(1, 0, 0, 2, 1, 1), true}, {Box3d(1, 1, 1, 2, 2, 2), true},       // shared face, corner
        {Box3d(1.001, 0, 0, 2, 1, 1), false}, {Box3d(0, 0, -2, 1, 1, -0.5), false},
        {Box3d(), false}, {Box3d(0.5, 0.5, 0.5, 0.5, 0.5, 0.5), true}, // empty, a point inside
    };
    for (const Row& row : rows) {
        EXPECT_EQ(unit.Intersects(row.other), row.want) << row.other.min.x << " " << row.other.max.x;
        EXPECT_EQ(row.other.Intersects(unit), row.want);
    }
    EXPECT_TRUE(unit.Intersects(Vec3d(1, 0.5, 0)));
    EXPECT_FALSE(unit.Intersects(Vec3d(1, 0.5, -0.1)));
    EXPECT_FALSE(Box3d().Intersects(Vec3d::ZERO));
}

TEST(Plane, IntersectsLines)
{
    const Plane z2(Vec3d(0, 0, 5), 2.0); // z = 2; the normal is normalised
    EXPECT_EQ(z2.GetNormal(), Vec3d::UNIT_Z);
    struct Row {
        Line3d line;
        bool hit;
        Vec3d at;
    } rows[] = {
        {Line3d(Vec3d(1, 1, 0), Vec3d(1, 1, 1)), true, Vec3d(1, 1, 2)},
        {Line3d(Vec3d(1, 1, 10), Vec3d(1, 1, 9)), true, Vec3d(1, 1, 2)},     // from above
        {Line3d(Vec3d(0, 0, 0), Vec3d(1, 0, 1)), true, Vec3d(2, 0, 2)},      // slanted, beyond the points
        {Line3d(Vec3d(0, 0, 0), Vec3d(1, 0, 0)), false, Vec3d()},            // parallel
        {Line3d(Vec3d(0, 0, 2), Vec3d(1, 3, 2)), false, Vec3d()},            // in the plane
        {Line3d(Vec3d(0, 0, 0), Vec3d(0, 0, 0)), false, Vec3d()},            // degenerate
    };
    for (size_t i = 0; i < sizeof(rows) / sizeof(rows[0]); ++i) {
        Vec3d at(-7, -7, -7);
        EXPECT_EQ(z2.Intersect(rows[i].line, at), rows[i].hit) << i;
        const Vec3d want = rows[i].hit ? rows[i].at : Vec3d(-7, -7, -7);
        EXPECT_NEAR((at - want).Length(), 0.0, 1e-12) << i;
    }

    EXPECT_DOUBLE_EQ(Plane(Vec3d(0, 2, 0), Vec3d(4, 3, 4)).Distance(Vec3d(9, 1, 9)), -2.0); // normal, point: y = 3
    const Plane three(Vec3d(0, 0, 1), Vec3d(1, 0, 1), Vec3d(0, 1, 1));
    EXPECT_EQ(three, Plane(Vec3d::UNIT_Z, 1.0));
    EXPECT_THROW(Plane(Vec3d::ZERO, 1.0), Exception);
    EXPECT_THROW(Plane(Vec3d::ZERO, Vec3d::ONE), Exception);
    EXPECT_THROW(Plane(Vec3d(0, 0, 0), Vec3d(1, 1, 1), Vec3d(2, 2, 2)), Exception);
}
