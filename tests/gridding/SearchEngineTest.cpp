// The search engine against a brute-force oracle, and its edge cases.
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

CPointDatum Row(double x, double y, double z, double w, uint32_t id)
{
    CPointDatum row(1);
    row.X() = x;
    row.Y() = y;
    row.Z() = z;
    row.W(0, w);
    row.ID(id);
    return row;
}

// Scattered rows in a 10-unit cube, a tenth of them repeating earlier
// positions exactly, so that ties by position occur.
CPointData RandomData(size_t count, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> coord(0.0, 10.0);
    CPointData data(1);
    for (size_t i = 0; i < count; ++i) {
        if (i > 10 && i % 10 == 0) {
            const CPointDatum& earlier = data[rng() % i];
            data.push_back(Row(earlier.X(), earlier.Y(), earlier.Z(), 0.0, static_cast<uint32_t>(i)));
        } else {
            data.push_back(Row(coord(rng), coord(rng), coord(rng), 0.0, static_cast<uint32_t>(i)));
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

void ExpectSame(const std::vector<CNeighbor>& want, const std::vector<CNeighbor>& got, const CPointData& data,
                const Point& q)
{
    ASSERT_EQ(want.size(), got.size()) << "query " << q.X() << " " << q.Y() << " " << q.Z();
    for (size_t i = 0; i < want.size(); ++i) {
        ASSERT_EQ(want[i].datum, got[i].datum) << "position " << i << ": row " << (want[i].datum - &data[0])
                                               << " wanted, row " << (got[i].datum - &data[0]) << " found";
        ASSERT_EQ(want[i].distance, got[i].distance);
    }
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

struct Ellipsoid {
    const char* name;
    CAffineTransform transform;
};

std::vector<Ellipsoid> Ellipsoids()
{
    return {
        {"sphere", CSearchRules(1, 1, 1.7).AffineTransform()},
        {"axis-aligned", CSearchRules(1, 1, 3.0, 1.2, 0.7).AffineTransform()},
        {"rotated", CAffineTransform(Point(2.0, 1.5, 0.0), Point(-0.6, 0.8, 0.3), Point(0.1, -0.2, 0.9))},
    };
}

} // namespace

TEST(SearchEngine, MatchesOracleForEveryLimitAndOrder)
{
    const CPointData data = RandomData(3000, 7);
    const int maxCounts[] = {1, 2, 5, 16, 64, 100000};
    const int minCounts[] = {1, 4, 40};
    const Order orders[] = {Order::Serpentine, Order::Random, Order::Unseeded};
    for (const Ellipsoid& e : Ellipsoids())
        for (int maxData : maxCounts)
            for (int minData : minCounts)
                for (Order order : orders) {
                    SCOPED_TRACE(testing::Message() << e.name << " max " << maxData << " min " << minData
                                                    << " order " << static_cast<int>(order));
                    CSearchEngine engine(CSearchRules(minData, maxData, e.transform), data);
                    std::vector<CNeighbor> neighbours;
                    for (const Point& q : Queries(order)) {
                        if (order == Order::Unseeded)
                            neighbours.clear();
                        const bool enough = engine.Search(q, neighbours);
                        const std::vector<CNeighbor> want = Oracle(data, e.transform, maxData, q);
                        ExpectSame(want, neighbours, data, q);
                        ASSERT_EQ(static_cast<int>(want.size()) >= minData, enough);
                    }
                }
}

// Tables whose keys repeat on every axis or on two: many rows at one
// position, rows on a line, rows on a small lattice. The tree's selections
// meet long runs of equal keys.
TEST(SearchEngine, MatchesOracleOnRepeatedKeys)
{
    std::vector<CPointData> tables;
    CPointData& same = tables.emplace_back(1);
    for (uint32_t i = 0; i < 700; ++i)
        same.push_back(Row(i % 7 == 0 ? 5.5 : 5.0, 5.0, 5.0, 0.0, i));
    CPointData& line = tables.emplace_back(1);
    for (uint32_t i = 0; i < 900; ++i)
        line.push_back(Row((i * 37 % 900) * 0.01, 3.0, 3.0, 0.0, i));
    CPointData& lattice = tables.emplace_back(1);
    for (uint32_t i = 0; i < 1000; ++i)
        lattice.push_back(Row(i % 10, i / 10 % 10, i / 100, 0.0, i));
    const CAffineTransform sphere = CSearchRules(1, 1, 2.0).AffineTransform();
    for (const CPointData& data : tables)
        for (int maxData : {1, 16, 200}) {
            CSearchEngine engine(CSearchRules(1, maxData, sphere), data);
            std::vector<CNeighbor> neighbours;
            for (const Point& q : {Point(5, 5, 5), Point(4.5, 3, 3), Point(0.3, 9, 1.5)}) {
                engine.Search(q, neighbours);
                ExpectSame(Oracle(data, sphere, maxData, q), neighbours, data, q);
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
                data.push_back(Row(x, y, z, 0.0, id++));
    data.push_back(Row(0, 0, 2, 0.0, id++)); // repeats a row on the sphere
    data.push_back(Row(1, 0, 0, 0.0, id++)); // repeats a row at distance 1/4
    const CAffineTransform sphere = CSearchRules(1, 1, 2.0).AffineTransform();

    struct Case {
        int maxData;
        size_t count;
    };
    // 33 rows at distance at most 1: the centre, 6 at 1/4, 12 at 1/2, 8 at 3/4,
    // 6 on the sphere, and the two repeats.
    const Case cases[] = {{1, 1}, {4, 4}, {7, 7}, {8, 8}, {20, 20}, {34, 34}, {40, 35}, {1000, 35}};
    for (const Case& c : cases)
        for (bool seeded : {false, true}) {
            SCOPED_TRACE(testing::Message() << "max " << c.maxData << (seeded ? " seeded" : ""));
            CSearchEngine engine(CSearchRules(1, c.maxData, sphere), data);
            std::vector<CNeighbor> neighbours;
            if (seeded)
                engine.Search(Point(0.5, 0.25, 0.0), neighbours);
            engine.Search(Point(0, 0, 0), neighbours);
            ASSERT_EQ(c.count, neighbours.size());
            ExpectSame(Oracle(data, sphere, c.maxData, Point(0, 0, 0)), neighbours, data, Point(0, 0, 0));
        }

    // With room for one of the two rows at equal position, the earlier stays.
    CSearchEngine engine(CSearchRules(1, 1, sphere), data);
    std::vector<CNeighbor> neighbours;
    engine.Search(Point(1, 0, 0), neighbours);
    ASSERT_EQ(1u, neighbours.size());
    EXPECT_EQ(&data[63], neighbours[0].datum); // (1, 0, 0) is row 63 of the grid
    EXPECT_EQ(0.0, neighbours[0].distance);
}

TEST(SearchEngine, SmallTablesAndDegenerateRules)
{
    CPointData one(1);
    one.push_back(Row(1, 1, 1, 5.0, 0));
    CSearchEngine engine(CSearchRules(1, 10, 2.0), one);
    std::vector<CNeighbor> neighbours;
    EXPECT_TRUE(engine.Search(Point(1, 1, 3), neighbours)); // exactly on the sphere
    ASSERT_EQ(1u, neighbours.size());
    EXPECT_EQ(1.0, neighbours[0].distance);
    EXPECT_FALSE(engine.Search(Point(1, 1, 3.001), neighbours));
    EXPECT_TRUE(neighbours.empty());

    CPointData empty(1);
    CSearchEngine none(CSearchRules(1, 10, 2.0), empty);
    EXPECT_FALSE(none.Search(Point(0, 0, 0), neighbours));
    EXPECT_TRUE(neighbours.empty());
    CSearchEngine zeroMin(CSearchRules(0, 10, 2.0), empty);
    EXPECT_TRUE(zeroMin.Search(Point(0, 0, 0), neighbours));

    // No room at all: always an empty answer.
    CSearchEngine noRoom(CSearchRules(0, 0, 2.0), one);
    EXPECT_TRUE(noRoom.Search(Point(1, 1, 1), neighbours));
    EXPECT_TRUE(neighbours.empty());
}

TEST(SearchEngine, AllDataReturnsEveryRowInTableOrder)
{
    CPointData data(1);
    data.push_back(Row(100, 0, 0, 1.0, 0));
    data.push_back(Row(0, 0, 0, 2.0, 1));
    data.push_back(Row(0, 3, 4, 3.0, 2));
    const CSearchRules rules;
    ASSERT_TRUE(rules.AllData());
    CSearchEngine engine(rules, data);
    std::vector<CNeighbor> neighbours = {CNeighbor(0.5, &data[1])};
    EXPECT_TRUE(engine.Search(Point(0, 0, 0), neighbours));
    ASSERT_EQ(3u, neighbours.size());
    const double want[] = {10000.0, 0.0, 25.0};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(&data[i], neighbours[i].datum);
        EXPECT_EQ(want[i], neighbours[i].distance);
    }

    CSearchRules needFour;
    needFour.MinData(4);
    CSearchEngine short4(needFour, data);
    EXPECT_FALSE(short4.Search(Point(0, 0, 0), neighbours));
    EXPECT_EQ(3u, neighbours.size());
}

// Seeds that are not rows of the table, repeated seeds, and rows with NaN or
// infinite coordinates do no harm.
TEST(SearchEngine, ToleratesForeignSeedsAndNonFiniteRows)
{
    CPointData data = RandomData(500, 3);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    data.push_back(Row(nan, 5, 5, 0.0, 500));
    data.push_back(Row(5, inf, 5, 0.0, 501));
    data.push_back(Row(5, 5, -inf, 0.0, 502));
    data.push_back(Row(nan, nan, nan, 0.0, 503));
    const CAffineTransform sphere = CSearchRules(1, 1, 2.5).AffineTransform();
    CSearchEngine engine(CSearchRules(1, 12, sphere), data);

    CPointData other(1);
    other.push_back(Row(5, 5, 5, 0.0, 0));
    const Point q(5, 5, 5);
    std::vector<CNeighbor> neighbours;
    engine.Search(q, neighbours);
    std::vector<CNeighbor> seeds = neighbours;
    seeds.insert(seeds.end(), neighbours.begin(), neighbours.end());
    seeds.emplace_back(0.0, &other[0]);
    seeds.emplace_back(0.0, nullptr);
    seeds.emplace_back(0.0, reinterpret_cast<const CPointDatum*>(reinterpret_cast<const char*>(&data[3]) + 8));
    engine.Search(q, seeds);
    ExpectSame(Oracle(data, sphere, 12, q), seeds, data, q);
}
