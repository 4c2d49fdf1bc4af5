// Node values of the three gridding methods on configurations that can be
// checked by hand, and the serpentine fill of a lattice.
#include "LatticeSupport.h"
#include "TestSupport.h"

#include "core/data/VdUniformLattice.h"
#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchRules.h"
#include "core/gridding/VoGridder3Private.h"
#include "shr/MathUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include <tbb/task_arena.h>

using namespace core;
using namespace core::VoGridder3Private;

namespace {

const double kFlt = 1.1754943508222875e-38;
const double kInf = std::numeric_limits<double>::infinity();
const double kBlank = CDatum::BLANK_VAL; // stands for "the node is blank" in the tables

CPointDatum Datum(double x, double y, double z, double value)
{
    return testsupport::PointRow(x, y, z, {value});
}

// A table and the neighbour list a search would give for a node at the
// origin under the transform (the distances are the transformed ones).
struct Neighbourhood {
    explicit Neighbourhood(std::vector<CPointDatum> rows, const CAffineTransform& t = CAffineTransform())
        : data(1)
    {
        for (CPointDatum& row : rows)
            data.push_back(row);
        for (const CPointDatum& row : data)
            neighbours.emplace_back(t.SquaredDistance(row, Point(0, 0, 0)), &row);
    }
    CPointData data;
    Neighbors neighbours;
};

double Evaluate(const std::function<bool(double&)>& value)
{
    double v = 0.0;
    return value(v) ? v : kBlank;
}

} // namespace

TEST(InverseDistance, WeightingCases)
{
    const CAffineTransform halfX(0.5, 1.0, 1.0);
    struct Case {
        const char* what;
        double power, smooth;
        CAffineTransform anisotropy;
        std::vector<CPointDatum> rows;
        double expected;
    } cases[] = {
        // Weight 1 / FLT against 1: the datum on the node keeps its value up to rounding.
        {"a datum on the node dominates", 2.0, 0.0, {}, {Datum(0, 0, 0, 10), Datum(1, 0, 0, 20)}, 10.0 + 10.0 * kFlt},
        {"smoothing makes it an average", 2.0, 1.0, {}, {Datum(0, 0, 0, 10), Datum(1, 0, 0, 20)}, 20.0 / 1.5},
        {"power 0 is the mean", 0.0, 0.0, {}, {Datum(0, 0, 0, 10), Datum(3, 0, 0, 20), Datum(0, 9, 0, 60)}, 30.0},
        {"power 1 weighs by 1/d", 1.0, 0.0, {}, {Datum(1, 0, 0, 20), Datum(0, 2, 0, 5)}, 22.5 / 1.5},
        {"smooth is added to the powered distance", 1.0, 1.0, {}, {Datum(1, 0, 0, 20), Datum(0, 3, 0, 4)},
         (20.0 / 2 + 4.0 / 4) / (1.0 / 2 + 1.0 / 4)},
        {"above 100 the tied nearest are averaged", 101.0, 0.0, {},
         {Datum(1, 0, 0, 20), Datum(0, 0, 2, 5), Datum(0, 1, 0, 30)}, 25.0},
        {"anisotropy changes the distances", 2.0, 0.0, halfX, {Datum(2, 0, 0, 0), Datum(0, 1, 0, 6)}, 3.0},
        {"no neighbours", 2.0, 0.0, {}, {}, kBlank},
    };
    for (const Case& c : cases) {
        Neighbourhood n(c.rows);
        const CInverseDistanceRules rules(0, c.power, c.smooth, c.anisotropy);
        const double value = Evaluate([&](double& v) { return InverseDistanceValue(rules, Point(0, 0, 0), n.neighbours, v); });
        EXPECT_NEAR(value, c.expected, 1e-12 * std::fabs(c.expected)) << c.what;
    }
}

TEST(LocalPolynomial, FitsReproducePolynomialsOfTheirOrder)
{
    const CAffineTransform search(0.1, 0.1, 0.1); // radius 10
    auto cubic = [](double x, double y, double z) { return 1 + x - 2 * y * y + x * y * z + 0.5 * z * z * z; };
    auto plane = [](double x, double y, double z) { return 1 + 2 * x + 3 * y - z; };
    std::vector<CPointDatum> onPlane, onCubic;
    for (int i = 0; i < 20; ++i) {
        // Scattered, well inside the ellipsoid and in general position.
        const double x = std::sin(1.3 * i) * 4, y = std::cos(2.1 * i) * 4, z = std::sin(0.7 * i + 1) * 4;
        onPlane.push_back(Datum(x, y, z, plane(x, y, z)));
        onCubic.push_back(Datum(x, y, z, cubic(x, y, z)));
    }
    struct Case {
        const char* what;
        int order;
        double power;
        std::vector<CPointDatum> rows;
        double expected;
    } cases[] = {
        {"order 0, power 0: the mean", 0, 0.0, {Datum(1, 0, 0, 2), Datum(0, 2, 0, 4), Datum(0, 0, 3, 9)}, 5.0},
        {"order 1 on a plane", 1, 1.0, onPlane, plane(0, 0, 0)},
        {"order 3 with 20 neighbours", 3, 2.0, onCubic, cubic(0, 0, 0)},
        {"order 3 with 19 neighbours", 3, 2.0, std::vector<CPointDatum>(onCubic.begin(), onCubic.end() - 1), kBlank},
        {"a singular system", 1, 1.0, {Datum(1, 0, 0, 1), Datum(2, 0, 0, 2), Datum(3, 0, 0, 3), Datum(4, 0, 0, 4)},
         kBlank},
    };
    for (const Case& c : cases) {
        Neighbourhood n(c.rows, search);
        LocalPolynomialFit fit(CLocalPolynomialRules(0, c.order, c.power), search);
        const double value = Evaluate([&](double& v) { return fit.Value(Point(0, 0, 0), n.neighbours, v); });
        EXPECT_NEAR(value, c.expected, 1e-9) << c.what;
    }
}

TEST(DataMetric, EachMetricOnFiveNeighbours)
{
    // Values 1, 2, 3, 4, 10 at world distances 1 to 5 from the node.
    Neighbourhood n({Datum(0, 0, 3, 3), Datum(1, 0, 0, 10), Datum(0, 5, 0, 1), Datum(0, -2, 0, 4), Datum(-4, 0, 0, 2)},
                    CAffineTransform(0.1, 0.1, 0.1));
    const double expected[] = {
        1.0,                        // Minimum
        2.0,                        // Lower quartile: index 1
        3.0,                        // Median: index 2
        4.0,                        // Upper quartile: index 3
        10.0,                       // Maximum
        9.0,                        // Range
        5.5,                        // Midrange
        2.0,                        // Inter-quartile range
        4.0,                        // Mean
        std::sqrt(10.0),            // Standard deviation, dividing by n
        10.0,                       // Variance
        std::sqrt(10.0) / 4.0,      // Coefficient of variation
        20.0,                       // Sum
        1.0,                        // Median absolute deviation: |v - 3| = 2 1 0 1 7
        std::sqrt(26.0),            // Root mean square
        5.0,                        // Count
        5.0 / (shr::ONE_PI * 25.0), // Density: planar, by the largest squared distance
        1.0,                        // Nearest
        kInf,                       // Farthest: kept at its start value
        3.0,                        // Median distance
        3.0,                        // Average distance
    };
    static_assert(sizeof(expected) / sizeof(expected[0]) == 21, "one row per metric");
    for (int m = 0; m < CDataMetricRules::MetricCount(); ++m) {
        DataMetric metric(CDataMetricRules(0, static_cast<CDataMetricRules::METRIC>(m)));
        Neighbors shuffled = n.neighbours;
        const double value = Evaluate([&](double& v) { return metric.Value(Point(0, 0, 0), shuffled, v); });
        if (std::isinf(expected[m]))
            EXPECT_EQ(value, expected[m]) << CDataMetricRules::MetricLabel(m);
        else
            EXPECT_NEAR(value, expected[m], 1e-12) << CDataMetricRules::MetricLabel(m);
    }
    EXPECT_STREQ(CDataMetricRules::MetricLabel(7), "Inter-quartile range");
    EXPECT_STREQ(CDataMetricRules::MetricLabel(20), "Average distance");
    EXPECT_EQ(CDataMetricRules::MetricLabel(21), nullptr);
}

TEST(DataMetric, SmallAndDegenerateNeighbourhoods)
{
    using M = CDataMetricRules;
    struct Case {
        const char* what;
        M::METRIC metric;
        std::vector<CPointDatum> rows;
        double expected;
    } cases[] = {
        {"count of nothing", M::Count, {}, 0.0},
        {"mean of nothing", M::Mean, {}, kBlank},
        {"farthest of nothing", M::Farthest, {}, kBlank},
        {"CV over a zero mean", M::CoefficientOfVariation, {Datum(1, 0, 0, -1), Datum(2, 0, 0, 1)}, kBlank},
        {"CV of one", M::CoefficientOfVariation, {Datum(1, 0, 0, -5)}, 0.0},
        {"deviation of one", M::StandardDeviation, {Datum(1, 0, 0, 5)}, 0.0},
        {"MAD of one", M::MedianAbsoluteDeviation, {Datum(1, 0, 0, 5)}, 0.0},
        {"density with all on the node", M::Density, {Datum(0, 0, 0, 1)}, kInf},
        {"median distance of two", M::MedianDistance, {Datum(3, 0, 0, 1), Datum(0, 4, 0, 1)}, 4.0},
    };
    for (const Case& c : cases) {
        Neighbourhood n(c.rows);
        DataMetric metric(CDataMetricRules(0, c.metric));
        const double value = Evaluate([&](double& v) { return metric.Value(Point(0, 0, 0), n.neighbours, v); });
        EXPECT_EQ(value, c.expected) << c.what;
    }
}

namespace {

using testsupport::Digest;

// Rows at positions from the generator's raw output, so that no library's
// distribution enters; every tenth row repeats an earlier position.
CPointData ScatteredRows(size_t count)
{
    std::mt19937 rng(99);
    auto coordinate = [&rng] { return (rng() >> 8) * (12.0 / 16777216.0) - 1.0; };
    CPointData data(1);
    for (size_t i = 0; i < count; ++i) {
        const double x = coordinate(), y = coordinate(), z = coordinate();
        if (i % 10 == 9)
            data.push_back(Datum(data[i / 2].X(), data[i / 2].Y(), data[i / 2].Z(), x));
        else
            data.push_back(Datum(x, y, z, x * y - z + 0.25 * x * x));
    }
    return data;
}

} // namespace

// Filled lattices pinned by digests of their values and blanks, as the one
// serpentine walk made them: the split walk must give the same bits at any
// thread count, for every method, with seeds, ties, anisotropy and nodes out
// of reach (blank).
TEST(GriddingFill, ValuesStayAsPinnedAtAnyThreadCount)
{
    const CPointData data = ScatteredRows(1500);
    const CSearchRules simple(3, 16, 2.5);
    const CSearchRules axes(1, 24, 3.0, 1.5, 2.0);
    const CSearchRules all;
    const CAffineTransform stretch(1.0, 0.5, 2.0);
    using FillFunction = std::function<bool(VdLattice&)>;
    struct Case {
        const char* what;
        FillFunction fill;
        uint64_t digest;
    } cases[] = {
        {"inverse distance", [&](VdLattice& l) { return InverseDistanceFill(l, CInverseDistanceRules(0, 2, 0, {}), simple, data); }, 0x78c73957b15b4a40ull},
        {"inverse distance, power 3, smooth, anisotropic",
         [&](VdLattice& l) { return InverseDistanceFill(l, CInverseDistanceRules(0, 3, 0.1, stretch), axes, data); }, 0xf21a71b09b77d19eull},
        {"nearest", [&](VdLattice& l) { return InverseDistanceFill(l, CInverseDistanceRules(0, 101, 0, {}), simple, data); }, 0xbb2c224e705c5fb7ull},
        {"local polynomial", [&](VdLattice& l) { return LocalPolynomialFill(l, CLocalPolynomialRules(0, 1, 2), axes, data); }, 0x25970276692c522dull},
        {"median", [&](VdLattice& l) { return DataMetricFill(l, CDataMetricRules(0, CDataMetricRules::Median), simple, data); }, 0xfd3cb38578bbee04ull},
        {"all data", [&](VdLattice& l) { return InverseDistanceFill(l, CInverseDistanceRules(0, 2, 0, {}), all, data); }, 0xb7d1624242a506c9ull},
    };
    const unsigned dims[3] = {19, 14, 11};
    for (const Case& c : cases) {
        for (int threads : {1, 2, 8}) {
            VdUniformLattice lattice(shr::Double, dims, nullptr, 1);
            lattice.SetUVWBounds(shr::Box3d(-2, -1, 0, 12, 11, 9));
            tbb::task_arena arena(threads);
            bool finished = false;
            arena.execute([&] { finished = c.fill(lattice); });
            ASSERT_TRUE(finished);
            uint64_t hash = Digest(lattice.DataPtr(), lattice.VertexCount() * sizeof(double));
            for (unsigned n = 0; n < lattice.VertexCount(); ++n) {
                const char blank = lattice.IsBlank(n, 0) ? 1 : 0;
                hash = Digest(&blank, 1, hash);
            }
            EXPECT_EQ(hash, c.digest) << c.what << ", " << threads << " threads";
        }
    }
}
