// The search engine against a brute-force oracle, and its edge cases.
#include "LatticeSupport.h"

#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchEngine.h"
#include "core/gridding/CSearchRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace core;
using Point = shr::Point3<double>;

namespace {

using testsupport::PointRow;

// Scattered rows in a 10-unit cube, a tenth of them repeating earlier
// positions exactly, so that ties by position occur, and a run of a hundred
// at one position, which the tree's selections meet as a long run of equal keys.
CPointData RandomData(size_t count, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> coord(0.0, 10.0);
    CPointData data(1);
    for (size_t i = 0; i < count; ++i) {
        if (i >= 200 && i < 300) {
            data.push_back(PointRow(5.0, 5.0, 5.0, {0.0}, static_cast<uint32_t>(i)));
        } else if (i > 10 && i % 10 == 0) {
            const CPointDatum& earlier = data[rng() % i];
            data.push_back(PointRow(earlier.X(), earlier.Y(), earlier.Z(), {0.0}, static_cast<uint32_t>(i)));
        } else {
            data.push_back(PointRow(coord(rng), coord(rng), coord(rng), {0.0}, static_cast<uint32_t>(i)));
        }
    }
    return data;
}

// The answer by definition: rows at squared ellipsoid distance at most 1,
// nearest first by distance then by table position, the first maxData kept,
// listed farthest first.
std::vector<CNeighbor> Oracle(const CPointData& data, const CAffineTransform& t, int maxData, const Point& q)
{
    std::vector<std::pair<double, size_t>> inside;
    for (size_t i = 0; i < data.size(); ++i) {
        const double d = t.SquaredDistance(data[i], q);
        if (d <= 1.0)
            inside.emplace_back(d, i);
    }
    std::sort(inside.begin(), inside.end());
    if (inside.size() > static_cast<size_t>(maxData))
        inside.resize(static_cast<size_t>(maxData));
    std::vector<CNeighbor> result;
    for (auto it = inside.rbegin(); it != inside.rend(); ++it)
        result.emplace_back(it->first, &data[it->second]);
    return result;
}

// The neighbours as (table row, distance), to compare and print.
std::vector<std::pair<long, double>> Rows(const std::vector<CNeighbor>& neighbours, const CPointData& data)
{
    std::vector<std::pair<long, double>> rows;
    for (const CNeighbor& n : neighbours)
        rows.emplace_back(n.datum - &data[0], n.distance);
    return rows;
}

enum class Order { Serpentine, Random, Unseeded };

// Lattice nodes over the data's extent and a little beyond, walked as the
// gridder walks them (serpentine) or shuffled.
std::vector<Point> Queries(Order order)
{
    const int nx = 7, ny = 6, nz = 5;
    std::vector<Point> nodes;
    for (int k = 0; k < nz; ++k)
        for (int js = 0; js < ny; ++js) {
            const int j = k % 2 == 0 ? js : ny - 1 - js;
            for (int is = 0; is < nx; ++is) {
                const int i = j % 2 == 0 ? is : nx - 1 - is;
                nodes.emplace_back(-0.5 + 11.0 * i / (nx - 1), -0.5 + 11.0 * j / (ny - 1), -0.5 + 11.0 * k / (nz - 1));
            }
        }
    if (order == Order::Random) {
        std::mt19937 rng(99);
        std::shuffle(nodes.begin(), nodes.end(), rng);
    }
    return nodes;
}

// A sphere, an axis-aligned ellipsoid and a rotated one.
const std::pair<const char*, CAffineTransform> kEllipsoids[] = {
    {"sphere", CSearchRules(1, 1, 1.7).AffineTransform()},
    {"axis-aligned", CSearchRules(1, 1, 3.0, 1.2, 0.7).AffineTransform()},
    {"rotated", CAffineTransform(Point(2.0, 1.5, 0.0), Point(-0.6, 0.8, 0.3), Point(0.1, -0.2, 0.9))},
};

} // namespace

TEST(SearchEngine, MatchesOracleForEveryLimitAndOrder)
{
    const CPointData data = RandomData(3000, 7);
    const Order orders[] = {Order::Serpentine, Order::Random, Order::Unseeded};
    for (const auto& [name, transform] : kEllipsoids)
        for (int maxData : {1, 2, 5, 16, 64, 100000})
            for (int minData : {1, 4, 40})
                for (Order order : orders) {
                    SCOPED_TRACE(testing::Message() << name << " max " << maxData << " min " << minData
                                                    << " order " << static_cast<int>(order));
                    CSearchEngine engine(CSearchRules(minData, maxData, transform), data);
                    std::vector<CNeighbor> neighbours;
                    for (const Point& q : Queries(order)) {
                        if (order == Order::Unseeded)
                            neighbours.clear();
                        const bool enough = engine.Search(q, neighbours);
                        const std::vector<CNeighbor> want = Oracle(data, transform, maxData, q);
                        ASSERT_EQ(Rows(want, data), Rows(neighbours, data))
                            << "query " << q.X() << " " << q.Y() << " " << q.Z();
                        ASSERT_EQ(static_cast<int>(want.size()) >= minData, enough);
                    }
                }
}

// Rows on an integer grid searched with radius 2 (a power of two, so every
// distance is exact): ties at equal distance, rows exactly on the sphere, and
// repeated positions.
TEST(SearchEngine, TiesAndBoundaryFollowTablePosition)
{
    CPointData data(1);
    uint32_t id = 0;
    for (int z = -2; z <= 2; ++z)
        for (int y = -2; y <= 2; ++y)
            for (int x = -2; x <= 2; ++x)
                data.push_back(PointRow(x, y, z, {0.0}, id++));
    data.push_back(PointRow(0, 0, 2, {0.0}, id++)); // repeats a row on the sphere
    data.push_back(PointRow(1, 0, 0, {0.0}, id++)); // repeats a row at distance 1/4
    const CAffineTransform sphere = CSearchRules(1, 1, 2.0).AffineTransform();

    // 35 rows at distance at most 1: the centre, 6 at 1/4, 12 at 1/2, 8 at 3/4,
    // 6 on the sphere, and the two repeats.
    for (int maxData : {1, 4, 7, 8, 20, 34, 40, 1000})
        for (bool seeded : {false, true}) {
            SCOPED_TRACE(testing::Message() << "max " << maxData << (seeded ? " seeded" : ""));
            CSearchEngine engine(CSearchRules(1, maxData, sphere), data);
            std::vector<CNeighbor> neighbours;
            if (seeded)
                engine.Search(Point(0.5, 0.25, 0.0), neighbours);
            engine.Search(Point(0, 0, 0), neighbours);
            ASSERT_EQ(std::min<size_t>(maxData, 35), neighbours.size());
            EXPECT_EQ(Rows(Oracle(data, sphere, maxData, Point(0, 0, 0)), data), Rows(neighbours, data));
        }
}

TEST(SearchEngine, SmallTablesAllDataAndDegenerateRules)
{
    CPointData data(1);
    data.push_back(PointRow(100, 0, 0, {0.0}, 0));
    data.push_back(PointRow(0, 0, 0, {0.0}, 1));
    data.push_back(PointRow(0, 3, 4, {0.0}, 2));
    std::vector<CNeighbor> neighbours;
    CPointData empty(1);
    EXPECT_FALSE(CSearchEngine(CSearchRules(1, 10, 2.0), empty).Search(Point(0, 0, 0), neighbours));

    // All data: every row in table order, whatever the seeds.
    CSearchEngine all{CSearchRules(), data};
    neighbours = {CNeighbor(0.5, &data[1])};
    EXPECT_TRUE(all.Search(Point(0, 0, 0), neighbours));
    ASSERT_EQ(3u, neighbours.size());
    const double want[] = {10000.0, 0.0, 25.0};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(&data[i], neighbours[i].datum);
        EXPECT_EQ(want[i], neighbours[i].distance);
    }
    CSearchRules needFour;
    needFour.MinData(4);
    EXPECT_FALSE(CSearchEngine(needFour, data).Search(Point(0, 0, 0), neighbours));
    EXPECT_EQ(3u, neighbours.size());
}

