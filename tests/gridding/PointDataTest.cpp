// Point data table and the ellipsoid transform.
#include "LatticeSupport.h"

#include "core/gridding/CAffineTransform.h"
#include "core/gridding/CPointData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>
#include <vector>

using namespace core;
using Point = shr::Point3<double>;

namespace {

using testsupport::PointRow;
using testsupport::RowIds;

const std::pair<double, double> kEmpty(-DBL_MAX, DBL_MAX);

} // namespace

TEST(PointData, BoundsKeepTheirQuirk)
{
    const double blank = CDatum::BLANK_VAL;
    struct Case {
        const char* name;
        std::vector<std::pair<double, double>> xw; // x and w per row
        std::pair<double, double> x, w;
    };
    const Case cases[] = {
        {"empty", {}, kEmpty, kEmpty},
        {"one row", {{2.0, 5.0}}, {2.0, -DBL_MAX}, kEmpty},
        {"falling", {{3.0, 3.0}, {2.0, 2.0}, {1.0, 1.0}}, {1.0, -DBL_MAX}, kEmpty},
        {"rising", {{1.0, 1.0}, {2.0, 2.0}, {3.0, 3.0}}, {1.0, 3.0}, {1.0, 3.0}},
        {"blanks skipped", {{1.0, blank}, {0.0, 4.0}, {5.0, blank}, {6.0, 7.0}}, {0.0, 6.0}, {4.0, 7.0}},
        {"all blank", {{1.0, blank}, {2.0, blank}}, {1.0, 2.0}, kEmpty},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CPointData data(1);
        for (const auto& xw : c.xw)
            data.push_back(PointRow(xw.first, -xw.first, 0.0, {xw.second}, 0));
        EXPECT_EQ(c.x, data.XBounds());
        EXPECT_EQ(c.w, data.WBounds(0));
    }
}

TEST(PointData, SortIsStableAndCleanKeepsOrder)
{
    const double nan = std::nan("");
    CPointData data(1);
    data.push_back(PointRow(2, 0, 0, {0.0}, 0));
    data.push_back(PointRow(1, 5, 0, {0.0}, 1));
    data.push_back(PointRow(1, 5, 0, {0.0}, 2)); // same position as row 1: stays after it
    data.push_back(PointRow(1, 4, 9, {0.0}, 3));
    data.push_back(PointRow(1, 4, 1, {0.0}, 4));
    data.push_back(PointRow(0, 9, 9, {0.0}, 5));
    data.push_back(PointRow(1, 5, 0, {0.0}, 6));
    data.Sort();
    EXPECT_EQ((std::vector<uint32_t>{5, 4, 3, 1, 2, 6, 0}), RowIds(data));

    // A NaN X ties with everything, so Y decides against each neighbour.
    CPointData withNan(1);
    withNan.push_back(PointRow(3, 0, 0, {0.0}, 0));
    withNan.push_back(PointRow(nan, 1, 0, {0.0}, 1));
    withNan.push_back(PointRow(1, 2, 0, {0.0}, 2));
    withNan.Sort();
    std::vector<uint32_t> ids = RowIds(withNan);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ((std::vector<uint32_t>{0, 1, 2}), ids);

    data[1].Void();
    data[6].Void();
    data.Clean();
    EXPECT_EQ((std::vector<uint32_t>{5, 3, 1, 2, 6}), RowIds(data));
}

TEST(AffineTransform, EllipsoidsMapToTheUnitSphere)
{
    EXPECT_EQ(Point(-2, 0, 1), CAffineTransform(2.0, 4.0, 0.5).TransformDifference(Point(0, 1, 3), Point(1, 1, 1)));

    // The tips of the semi-axes lie on the unit sphere, by the Gram matrix
    // and by the forward map alike.
    const Point u(2, 1, 0), v(-0.5, 1, 0.25), w(0.1, 0.2, 3);
    const CAffineTransform general(u, v, w);
    for (const Point& tip : {u, v, w}) {
        EXPECT_NEAR(1.0, general.SquaredDistance(tip, Point(0, 0, 0)), 1e-14);
        const Point f = general.Transform(tip);
        EXPECT_NEAR(1.0, f.X() * f.X() + f.Y() * f.Y() + f.Z() * f.Z(), 1e-14);
    }
    // InverseGram is A^T A, not the inverse of Gram.
    EXPECT_EQ(u.X() * u.X() + u.Y() * u.Y() + u.Z() * u.Z(), general.InverseGram()[0]);
}
