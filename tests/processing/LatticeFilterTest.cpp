// The lattice filter engine: edge and blank rules, the filters' values on
// small lattices worked out by hand, the point operations over several
// components, the run path against the node path, parallel against
// sequential, and refused settings.
#include "LatticeFilterTestSupport.h"
#include "NetworkFixture.h"

#include "core/processing/filters/CLinearFilter.h"
#include "core/processing/filters/CNeighborhoodFilter.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>
#include <tbb/task_arena.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <optional>
#include <random>

namespace {

using namespace filtertest;
using F = CLatticeFilter;

// Filters report progress to the network, which must not be left aborted by
// an earlier test: a pass brings the flag down.
class LatticeFilterEngine : public testsupport::NetworkFixture {
protected:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        RunPass();
    }
};

// Four nodes [1, 2, 4, 8] along one axis, averaged along that axis only.
TEST_F(LatticeFilterEngine, EachEdgeModeReadsOffTheLatticeAsItSays)
{
    struct Case {
        uint32_t edge;
        unsigned int size;
        std::vector<double> expected;
    } cases[] = {
        {F::EdgeBlank, 3, {B, 7.0 / 3, 14.0 / 3, B}},
        {F::EdgeIgnore, 3, {1.5, 7.0 / 3, 14.0 / 3, 6.0}},
        {F::EdgeReplicate, 3, {4.0 / 3, 7.0 / 3, 14.0 / 3, 20.0 / 3}},
        {F::EdgeMirror, 3, {5.0 / 3, 7.0 / 3, 14.0 / 3, 16.0 / 3}}, // -1 reads node 1, 4 reads node 2
        {F::EdgeMirror, 5, {13.0 / 5, 17.0 / 5, 19.0 / 5, 4.0}},    // -2 reads node 2, 5 reads node 1
        {F::EdgeWrap, 3, {11.0 / 3, 7.0 / 3, 14.0 / 3, 13.0 / 3}},
        {F::EdgeFill, 3, {13.0 / 3, 7.0 / 3, 14.0 / 3, 22.0 / 3}}, // fill 10
    };
    for (int axis = 0; axis < 3; ++axis)
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << "axis " << axis << " edge " << c.edge << " size " << c.size);
            unsigned int dims[3] = {1, 1, 1};
            dims[axis] = 4;
            const auto input = ValueLattice(dims, {1, 2, 4, 8});
            F::Params p = Settings(*input, F::Average);
            p.edgeHandling = c.edge;
            p.edgeFill = {10.0};
            std::fill(p.window, p.window + 3, 1u);
            p.window[axis] = c.size;
            EXPECT_EQ(ComponentValues(*Filtered(p)), c.expected);
        }
}

// [1, 2, blank, 8, 16] averaged over three nodes, edges replicated.
TEST_F(LatticeFilterEngine, EachBlankRuleTreatsTheCentreAndTheWindowAsItSays)
{
    struct Case {
        uint32_t blanks;
        std::vector<double> expected;
    } cases[] = {
        {F::BlankExpanded, {4.0 / 3, B, B, B, 40.0 / 3}},
        {F::BlankLeaveAlone, {4.0 / 3, 1.5, B, 12.0, 40.0 / 3}},
        {F::BlankIgnore, {4.0 / 3, 1.5, 5.0, 12.0, 40.0 / 3}},
        {F::BlankFill, {4.0 / 3, 7.0 / 3, 14.0 / 3, 28.0 / 3, 40.0 / 3}}, // fill 4
    };
    const unsigned int dims[3] = {5, 1, 1};
    const auto input = ValueLattice(dims, {1, 2, B, 8, 16});
    for (const Case& c : cases) {
        F::Params p = Settings(*input, F::Average);
        p.blankHandling = c.blanks;
        p.blankFill = {4.0};
        p.window[1] = p.window[2] = 1;
        EXPECT_EQ(ComponentValues(*Filtered(p)), c.expected) << c.blanks;
    }

    // A stored value equal to the blank value counts as a blank.
    const double stored[5] = {1, 2, DBL_MAX, 8, 16};
    const VdUniformLattice unmarked(shr::Double, dims, stored, 1);
    F::Params p = Settings(unmarked, F::Average);
    p.window[1] = p.window[2] = 1;
    EXPECT_EQ(ComponentValues(*Filtered(p)), cases[1].expected);
}

TEST_F(LatticeFilterEngine, AWindowWithNothingValidGivesABlankButMeanRemovalGivesZero)
{
    const unsigned int dims[3] = {1, 1, 1};
    const auto input = ValueLattice(dims, {B});
    for (uint32_t filter = 0; filter < F::Bounding; ++filter) {
        F::Params p = Settings(*input, filter, {1.0, 0.75});
        p.edgeHandling = F::EdgeIgnore;
        p.blankHandling = F::BlankIgnore;
        EXPECT_EQ(ComponentValues(*Filtered(p)), std::vector<double>{filter == F::MeanRemoval ? 0.0 : B})
            << F::GetInfo(filter).label;
    }
}

// Each planar orientation filters within its planes: a field constant in
// the planes of one orientation passes it unchanged and not the others.
TEST_F(LatticeFilterEngine, PlanarOrientationsFilterThePlanesApart)
{
    const unsigned int dims[3] = {4, 5, 6};
    for (uint32_t orientation : {F::XYPlanes, F::XZPlanes, F::YZPlanes}) {
        const int normal = orientation == F::XYPlanes ? 2 : orientation == F::XZPlanes ? 1 : 0;
        std::vector<double> field;
        for (unsigned int k = 0; k < dims[2]; ++k)
            for (unsigned int j = 0; j < dims[1]; ++j)
                for (unsigned int i = 0; i < dims[0]; ++i) {
                    const unsigned int across[3] = {i, j, k};
                    field.push_back(double(across[normal] * across[normal]));
                }
        const auto input = ValueLattice(dims, field);
        for (uint32_t filtered : {F::XYPlanes, F::XZPlanes, F::YZPlanes}) {
            F::Params p = Settings(*input, F::Average);
            p.orientation = filtered;
            EXPECT_EQ(ComponentValues(*Filtered(p)) == field, filtered == orientation) << orientation << " " << filtered;
        }
    }
}

// ---- the filters' values ----------------------------------------------------------------------

// A 3 x 3 plane with edges ignored: the centre's window holds all nine
// values, the corner's four (an even count).
TEST_F(LatticeFilterEngine, RanksAndMomentsOnAPlane)
{
    const unsigned int dims[3] = {3, 3, 1};
    const auto input = ValueLattice(dims, {7, 2, 9, 4, 7, 1, 8, 3, 6});
    // Centre: 1 2 3 4 6 7 7 8 9 with 7 at the centre; corner: 2 4 7 7 with 7 at the centre.
    struct Case {
        uint32_t filter;
        std::vector<double> parameters;
        double corner;
        std::optional<double> centre;
    } cases[] = {
        {F::Minimum, {}, 2, 1},
        {F::LowerQuartile, {}, 4, 3},
        {F::Median, {}, 7, 6}, // the upper of the middle two, not 5.5
        {F::UpperQuartile, {}, 7, 7},
        {F::Maximum, {}, 7, 9},
        {F::Range, {}, 5, 8},
        {F::InterQuartileRange, {}, 3, 4},
        {F::Rank, {}, 3, 6}, // ties take the lowest rank
        {F::MedianDifference, {}, 0, 1},
        {F::StandardDeviation, {}, std::sqrt(6.0), {}},
        {F::CoefVariation, {}, std::sqrt(6.0) / 5, {}},
        {F::CentralMoment, {3}, -4, {}},
        {F::MeanRemoval, {}, 2, {}},
        {F::ThresholdAverage, {1.5}, 13.0 / 3, {}},
        {F::ThresholdAverage, {3}, 7, {}},
        {F::ZeroCrossing, {}, 0, {}},
        {F::ThresholdCrossing, {5}, 1, {}},
        {F::ThresholdCrossing, {7}, 0, {}},
    };
    for (const Case& c : cases) {
        F::Params p = Settings(*input, c.filter, c.parameters);
        p.edgeHandling = F::EdgeIgnore;
        p.orientation = F::XYPlanes;
        const std::vector<double> out = ComponentValues(*Filtered(p));
        EXPECT_EQ(out[0], c.corner) << F::GetInfo(c.filter).label;
        if (c.centre) {
            EXPECT_EQ(out[4], *c.centre) << F::GetInfo(c.filter).label;
        }
    }

    const auto constant = ValueLattice(dims, std::vector<double>(9, 5.0));
    for (uint32_t filter : {F::ThresholdCrossing, F::Laplacian})
        EXPECT_EQ(ComponentValues(*Filtered(Settings(*constant, filter, {5.0}))),
                  std::vector<double>(9, filter == F::Laplacian ? 5 : 0));
}

// Gradients and the Laplacian at the middle of a 5^3 lattice, on a linear
// field 2i - 3j + 5k and a quadratic one i^2 + 2j^2.
TEST_F(LatticeFilterEngine, GradientsAndLaplacianOnLinearAndQuadraticFields)
{
    const unsigned int dims[3] = {5, 5, 5};
    std::vector<double> linear, quadratic;
    for (int k = 0; k < 5; ++k)
        for (int j = 0; j < 5; ++j)
            for (int i = 0; i < 5; ++i) {
                linear.push_back(2 * i - 3 * j + 5 * k);
                quadratic.push_back(i * i + 2 * j * j);
            }
    const auto linearField = ValueLattice(dims, linear), quadraticField = ValueLattice(dims, quadratic);
    const unsigned int middle = 62;
    struct Case {
        const VdUniformLattice& input;
        uint32_t filter, orientation, size;
        double expected;
    } cases[] = {
        {*linearField, F::SobelA, F::Volume, 3, 30 * 5},
        {*linearField, F::SobelA, F::Volume, 5, 30 * 5}, // the Sobel window stays 3
        {*linearField, F::SobelB, F::Volume, 3, 30 * std::sqrt(38.0)},
        {*linearField, F::SobelB, F::XYPlanes, 3, 8 * std::sqrt(13.0)},
        {*linearField, F::SobelB, F::XZPlanes, 3, 8 * std::sqrt(29.0)},
        {*linearField, F::SobelA, F::YZPlanes, 3, 8 * 5},
        {*linearField, F::Prewitt, F::Volume, 3, 18 * std::sqrt(38.0)},
        {*linearField, F::Prewitt, F::Volume, 5, 150 * std::sqrt(38.0)},
        {*linearField, F::Prewitt, F::XYPlanes, 3, 6 * std::sqrt(13.0)},
        {*linearField, F::Laplacian, F::Volume, 3, linear[middle]},
        {*quadraticField, F::Laplacian, F::Volume, 3, quadratic[middle] - 6},
        {*quadraticField, F::Laplacian, F::XZPlanes, 3, quadratic[middle] - 2},
    };
    for (const Case& c : cases) {
        F::Params p = Settings(c.input, c.filter);
        p.orientation = c.orientation;
        std::fill(p.window, p.window + 3, c.size);
        EXPECT_DOUBLE_EQ(ComponentValues(*Filtered(p))[middle], c.expected)
            << F::GetInfo(c.filter).label << " orientation " << c.orientation << " size " << c.size;
    }
}

// Weights of a 5 x 5 planar window (3 x 3 for the Laplacian) at offsets (di, dj).
TEST_F(LatticeFilterEngine, KernelWeights)
{
    const unsigned int dims[3] = {5, 5, 1};
    const auto input = ValueLattice(dims, std::vector<double>(25, 0.0));
    VdUniformLattice output(shr::Double, dims, nullptr, 1);
    struct Case {
        uint32_t filter;
        unsigned int size;
        int di, dj;
        double weight;
    } cases[] = {
        {F::Ellipsoid, 5, 2, 0, 1},     {F::Ellipsoid, 5, 2, 1, 0},     {F::Ellipsoid, 5, 1, 1, 1},
        {F::InfNorm, 5, 1, 0, 0.5},     {F::InfNorm, 5, -2, 1, 0},      {F::InfNorm, 5, 0, 0, 1},
        {F::Dist, 5, 1, 1, 1 - std::sqrt(0.5)}, {F::Dist, 5, 0, -2, 0},
        {F::InvDist, 5, 1, 0, 1},       {F::InvDist, 5, 2, 1, 1 / std::sqrt(5.0)},
        {F::InvDist, 5, -1, 1, 1 / std::sqrt(2.0)},
        {F::Gaussian, 5, 2, 2, std::exp(-4.0)}, {F::Gaussian, 5, 1, 0, std::exp(-0.5)},
        {F::Unsharp, 5, 2, -2, std::exp(-4.0)},
        {F::Laplacian, 3, 0, 0, -5},    {F::Laplacian, 3, 1, 0, 1},     {F::Laplacian, 3, 1, 1, 0},
    };
    for (const Case& c : cases) {
        F::Params p = Settings(*input, c.filter, {2.0, 0.75});
        p.output = &output;
        p.orientation = F::XYPlanes;
        std::fill(p.window, p.window + 3, c.size);
        const auto filter = F::Create(p);
        const auto& weights = dynamic_cast<const core::CLinearFilter&>(*filter).Weights();
        const int half = int(c.size / 2);
        EXPECT_DOUBLE_EQ(weights[size_t((c.di + half) + int(c.size) * (c.dj + half))], c.weight)
            << F::GetInfo(c.filter).label << " (" << c.di << ", " << c.dj << ")";
    }
}

// ---- the point operations -----------------------------------------------------------------------

// Two components, each with its own parameters: lower bounds first for
// every component, then upper bounds.
TEST_F(LatticeFilterEngine, PointOperationParametersArePerComponent)
{
    const double bounding[F::ParameterSlots] = {2.0, 8.0};
    EXPECT_EQ(F::ParameterVector(F::Bounding, bounding, 3), (std::vector<double>{2, 2, 2, 8, 8, 8}));
    EXPECT_EQ(F::ParameterVector(F::Gamma, bounding, 2), (std::vector<double>{2, 2}));
    EXPECT_EQ(F::ParameterVector(F::Gaussian, bounding, 2).size(), size_t(F::ParameterSlots));

    const unsigned int dims[3] = {4, 1, 1};
    const auto input = ValueLattice(dims, {0, 100, 2.5, 150, 10, 200, B, 250}, 2);
    struct Case {
        uint32_t filter;
        std::vector<double> params, first, second;
    } cases[] = {
        {F::Bounding, {2, 120, 8, 180}, {2, 2.5, 8, B}, {120, 150, 180, 180}},
        {F::Brightness, {0, 10, 1, 2}, {0, 2.5, 10, B}, {35, 135, 235, 335}},
        {F::Gamma, {2, 1}, {0, 5, 10, B}, {100, 150, 200, 250}}, // (0.25)^(1/2) 10 = 5
    };
    for (const Case& c : cases) {
        F::Params p = Settings(*input, c.filter);
        p.params = c.params;
        const auto out = Filtered(p);
        EXPECT_EQ(ComponentValues(*out, 0), c.first) << F::GetInfo(c.filter).label;
        EXPECT_EQ(ComponentValues(*out, 1), c.second) << F::GetInfo(c.filter).label;
    }

    // An unflagged component is copied with its blanks.
    F::Params p = Settings(*input, F::Bounding, {1000, 2000});
    p.components = {false, true};
    const auto out = Filtered(p);
    EXPECT_EQ(ComponentValues(*out, 0), ComponentValues(*input, 0));
    EXPECT_EQ(ComponentValues(*out, 1), std::vector<double>(4, 1000));
}

TEST_F(LatticeFilterEngine, BrightnessClipsToTheTypeAndHistogramEqualizes)
{
    const unsigned int dims[3] = {3, 1, 1};
    const auto bytes = ValueLattice(dims, {0, 100, 200}, 1, shr::UInt8);
    EXPECT_EQ(ComponentValues(*Filtered(Settings(*bytes, F::Brightness, {0, 2}))), (std::vector<double>{0, 100, 255}));

    // Bins of 10 / 4096: 0 -> 0, 1 -> 409, 2 -> 819, 10 -> 4095; the running
    // counts 1, 2, 3, 4 stretch back over 0 to 10.
    const unsigned int four[3] = {5, 1, 1};
    const auto spread = ValueLattice(four, {0, 1, B, 2, 10});
    EXPECT_EQ(ComponentValues(*Filtered(Settings(*spread, F::Histogram))), (std::vector<double>{0, 10.0 / 3, B, 20.0 / 3, 10}));
    // A constant has one bin: it stays as it is.
    const auto constant = ValueLattice(dims, {4, 4, 4});
    EXPECT_EQ(ComponentValues(*Filtered(Settings(*constant, F::Histogram))), (std::vector<double>{4, 4, 4}));
}

// ---- run path, node path, threads -------------------------------------------------------------

// For every window filter, a run of nodes gives what the nodes give one by one.
TEST_F(LatticeFilterEngine, ARunEqualsItsNodesBitForBit)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> tenths(-50, 50);
    const unsigned int length = 21;
    const unsigned int dims[3] = {length, 5, 5};
    const auto input = ValueLattice(dims, std::vector<double>(length * 25, 0.0));
    VdUniformLattice output(shr::Double, dims, nullptr, 1);
    for (uint32_t orientation : {F::XYPlanes, F::Volume})
        for (uint32_t filter = 0; filter < F::Bounding; ++filter) {
            F::Params p = Settings(*input, filter, {0.7, 0.8});
            p.output = &output;
            p.orientation = orientation;
            std::fill(p.window, p.window + 3, 3 + 2 * (filter % 2)); // sizes 3 and 5
            const auto made = F::Create(p);
            const auto& neighborhood = dynamic_cast<const core::CNeighborhoodFilter&>(*made);
            const unsigned int width = neighborhood.RowWidth(), count = neighborhood.WindowCount();
            std::vector<std::vector<double>> rows(count / width, std::vector<double>(length + width - 1));
            std::vector<const double*> pointers;
            for (auto& row : rows) {
                for (double& value : row)
                    value = tenths(random) / 10.0; // ties happen
                pointers.push_back(row.data());
            }
            if ((filter / 2) % 2 == 0)
                rows[0][3] = std::nan(""); // NaN sorts last
            const unsigned int centreRow = unsigned(rows.size() / 2);
            const core::WindowRows view{pointers.data(), unsigned(rows.size()), width, centreRow, width / 2};
            core::FilterWindow window(count, size_t(centreRow) * width + width / 2);
            std::vector<double> out(length);
            std::vector<unsigned char> ok(length);
            const unsigned int last = length - filter % 3; // runs of odd and even lengths
            neighborhood.FilterRun(view, 0, 1, last, out.data(), ok.data(), window);
            for (unsigned int x = 1; x < last; ++x) {
                for (size_t e = 0; e < count; ++e)
                    window[e] = core::WindowElement{rows[e / width][x + e % width], true};
                double node = 0.0;
                EXPECT_EQ(neighborhood.FilterNode(window, 0, node), ok[x] != 0);
                EXPECT_EQ(std::memcmp(&node, &out[x], sizeof node), 0)
                    << F::GetInfo(filter).label << " " << orientation << " node " << x << ": " << node << " "
                    << out[x];
            }
        }
}

// The same output on one thread as on all, for a volume and a single image,
// with blanks and edges in play.
TEST_F(LatticeFilterEngine, ParallelEqualsSequentialBitForBit)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    const unsigned int volume[3] = {37, 23, 19}, image[3] = {161, 133, 1};
    for (const unsigned int* dims : {volume, image}) {
        std::vector<double> values(size_t(dims[0]) * dims[1] * dims[2]);
        for (double& v : values)
            v = value(random) > 0.95 ? B : value(random);
        const auto input = ValueLattice(dims, values, 1, shr::Float);
        for (uint32_t filter : {F::Gaussian, F::Median, F::SobelB, F::StandardDeviation, F::Rank})
            for (uint32_t edge : {F::EdgeIgnore, F::EdgeMirror})
                for (uint32_t blanks : {F::BlankExpanded, F::BlankIgnore}) {
                    F::Params p = Settings(*input, filter, {1.0});
                    p.edgeHandling = edge;
                    p.blankHandling = blanks;
                    p.orientation = dims[2] == 1 ? F::XYPlanes : F::Volume;
                    std::unique_ptr<VdUniformLattice> sequential;
                    tbb::task_arena(1).execute([&] { sequential = Filtered(p); });
                    const auto parallel = Filtered(p);
                    ASSERT_TRUE(sequential && parallel);
                    EXPECT_EQ(std::memcmp(sequential->DataPtr(), parallel->DataPtr(), parallel->DataTotalSize()), 0)
                        << F::GetInfo(filter).label << " edge " << edge << " blanks " << blanks;
                    EXPECT_EQ(ComponentValues(*sequential), ComponentValues(*parallel));
                }
    }
}

// ---- refused settings ---------------------------------------------------------------------------

TEST_F(LatticeFilterEngine, BadSettingsAreRefused)
{
    const unsigned int dims[3] = {2, 2, 2};
    const auto input = ValueLattice(dims, std::vector<double>(8, 1.0));
    VdUniformLattice output(shr::Double, dims, nullptr, 1);
    struct Case {
        void (*spoil)(F::Params&);
        const char* message;
    } cases[] = {
        {[](F::Params& p) { p.filter = F::FilterCount; }, "Invalid lattice filter 31."},
        {[](F::Params& p) { p.edgeHandling = 6; }, "Invalid edge handling 6."},
        {[](F::Params& p) { p.blankHandling = 4; }, "Invalid blank handling 4."},
        {[](F::Params& p) { p.orientation = 4; }, "Invalid filter orientation 4."},
        {[](F::Params& p) { p.window[1] = 0; }, "Invalid kernel size 0."},
        {[](F::Params& p) { p.window[2] = F::MaxWindowSize + 1; }, "Invalid kernel size 100."},
        {[](F::Params& p) { p.components.push_back(true); }, nullptr},
        {[](F::Params& p) { p.blankFill.clear(); }, nullptr},
        {[](F::Params& p) { p.filter = F::Bounding, p.params = {1.0}; }, nullptr},
        {[](F::Params& p) { p.output = nullptr; }, nullptr},
    };
    for (const Case& c : cases) {
        F::Params p = Settings(*input, F::Median);
        p.output = &output;
        c.spoil(p);
        try {
            F::Execute(p);
            ADD_FAILURE() << (c.message ? c.message : "internal error");
        } catch (const shr::Exception& error) {
            if (c.message)
                EXPECT_EQ(error.Message(), c.message);
            else
                EXPECT_EQ(error.Code(), 2) << error.Message();
        }
    }
    // A lattice without nodes is done at once.
    const VdUniformLattice empty;
    F::Params p = Settings(empty, F::Median);
    p.output = &output;
    EXPECT_TRUE(F::Execute(p));
}

} // namespace
