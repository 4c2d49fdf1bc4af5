// The three lattice kinds: topology, coordinates, interpolation, sub-lattices,
// the curvilinear cell search, and loading, which is all or nothing.
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLatticeFactory.h"
#include "tests/support/LatticeSupport.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

using core::CellLocator;
using core::VdCurvilinearLattice;
using core::VdLattice;
using core::VdRectilinearLattice;
using core::VdUniformLattice;
using testsupport::Linear;
using testsupport::MakeCurvilinear;
using testsupport::MakeUniform;
using testsupport::RaisedText;
using testsupport::Sheared;
using testsupport::Warped;
using Bytes = std::vector<unsigned char>;

namespace {

constexpr double kBlank = core::VdVertexData::BlankVal;
constexpr double kInf = std::numeric_limits<double>::infinity();
const shr::Vec3d kOutside(-1.0, -1.0, -1.0);

TEST(LatticeTopology, IndicesBlanksNamesAndSizes)
{
    const unsigned int dims[3] = {4, 3, 2};
    VdUniformLattice lattice = MakeUniform(dims, 2);
    EXPECT_EQ(lattice.Index(1, 2, 1), (3u * 1 + 2) * 4 + 1);
    for (uint32_t index = 0; index < lattice.VertexCount(); ++index) {
        unsigned int i, j, k;
        lattice.IndexToIJK(index, i, j, k);
        EXPECT_EQ(lattice.Index(i, j, k), index);
    }
    EXPECT_TRUE(lattice.InRange(3, 2, 1, 1) && !lattice.InRange(3, 2, 1, 2) && !lattice.InRange(4, 0, 0));
    const struct {
        unsigned int dims[3];
        unsigned int expected;
    } shapes[] = {{{4, 1, 1}, 1}, {{1, 1, 1}, 0}, {{1, 5, 2}, 2}, {{2, 2, 2}, 3}};
    for (const auto& c : shapes)
        EXPECT_EQ(MakeUniform(c.dims).GetDimensionality(), c.expected);

    // A layer is blank when every node of it is, per component.
    lattice.SetBlank(0, 0, 1);
    EXPECT_TRUE(lattice.IsBlank(0, 0, 1, 0) && lattice.IsBlank(0, 0, 1, 1));
    for (unsigned int j = 0; j < 3; ++j)
        for (unsigned int i = j == 2 ? 1 : 0; i < 4; ++i)
            lattice.SetBlank(i, j, 1, 0);
    EXPECT_FALSE(lattice.IsLayerBlank(1, 0)) << "node (0, 2, 1) is not blank";
    lattice.SetBlank(0, 2, 1, 0);
    EXPECT_TRUE(lattice.IsLayerBlank(1, 0));
    EXPECT_FALSE(lattice.IsLayerBlank(1, 1) || lattice.IsLayerBlank(0, 0));
    EXPECT_EQ(lattice.GetComponentName(2), "");

    const unsigned int huge[3] = {65536, 65536, 1};
    EXPECT_EQ(testsupport::RaisedBy([&] { VdUniformLattice(shr::UInt8, huge, nullptr, 1); }).code, 46);
    for (const auto& empty : {std::array<unsigned int, 3>{3, 0, 2}, std::array<unsigned int, 3>{2, 2, 0}})
        EXPECT_EQ(RaisedText([&] { VdUniformLattice(shr::UInt8, empty.data(), nullptr, 1); }),
                  "Core: Invalid target lattice size.");
}

TEST(UniformLattice, CoordinatesSpacingTransformAndFactory)
{
    const unsigned int dims[3] = {3, 5, 1};
    VdUniformLattice lattice = MakeUniform(dims);
    EXPECT_EQ(lattice.GetSpacing(), shr::Vec3d(1.0, 1.0, 0.0));
    lattice.SetUVWBounds(shr::Box3d(10.0, -2.0, 7.0, 14.0, 6.0, 9.0));
    EXPECT_EQ(lattice.GetSpacing(), shr::Vec3d(2.0, 2.0, 0.0));
    EXPECT_EQ(lattice.IJKToUVW(shr::Vec3d(-1.0, 0.5, 3.0)), shr::Vec3d(8.0, -1.0, 7.0));
    EXPECT_EQ(lattice.UVWToIJK(shr::Vec3d(13.0, 6.0, 100.0)), shr::Vec3d(1.5, 4.0, 0.0));
    const shr::Mat4d toUVW = lattice.GetTransform();
    EXPECT_EQ(shr::Vec3d(1.0, 2.0, 0.0) * toUVW, shr::Vec3d(12.0, 2.0, 7.0));
    EXPECT_EQ(toUVW.m[2][2], 1.0) << "no spacing on the flat axis";
    lattice.SetUserTransform(shr::Mat4d::MakeTranslation(1.0, 0.0, 0.0));
    EXPECT_EQ(lattice.GetXYZBounds(), shr::Box3d(11.0, -2.0, 7.0, 15.0, 6.0, 9.0));
    EXPECT_EQ(lattice.XYZToIJK(shr::Vec3d(13.0, -2.0, 7.0)), shr::Vec3d(1.0, 0.0, 0.0));

    const unsigned int small[3] = {4, 2, 1};
    const struct {
        int format;
        shr::PrimType type;
        unsigned int components;
    } formats[] = {{1, shr::UInt8, 1}, {4, shr::UInt16, 1}, {5, shr::UInt32, 1}, {6, shr::UInt8, 4},
                   {13, shr::UInt8, 4}, {15, shr::UInt8, 1}};
    for (const auto& c : formats) {
        auto made = core::VdUniformLatticeFactory::Construct(small, static_cast<shr::ColorFormat>(c.format));
        EXPECT_TRUE(made->DataType() == c.type && made->ComponentCount() == c.components) << c.format;
    }
    for (int bad : {0, 14})
        EXPECT_EQ(RaisedText([&] { core::VdUniformLatticeFactory::Construct(small, shr::ColorFormat(bad)); }),
                  "Core: Invalid color format.");
}

TEST(LatticeInterpolate, MethodsInAndOutOfRange)
{
    const unsigned int dims[3] = {3, 2, 2};
    const VdUniformLattice lattice = MakeUniform(dims);
    const struct {
        VdLattice::InterpMethod method;
        shr::Vec3d ijk;
        double expected; // kBlank for a blank result
    } cases[] = {
        {VdLattice::INTERP_LINEAR, {0.5, 0.5, 0.5}, 55.5},
        {VdLattice::INTERP_LINEAR, {2.0, 1.0, 1.0}, 112.0},
        {VdLattice::INTERP_LINEAR, {2.00005, 0.0, 0.0}, 2.00005}, // within tolerance: last cell, fraction > 1
        {VdLattice::INTERP_LINEAR, {2.001, 0.0, 0.0}, kBlank},
        {VdLattice::INTERP_LINEAR, {0.0, -0.01, 0.0}, kBlank},
        {VdLattice::INTERP_LINEAR_EXTEND, {-1.5, 0.0, 0.0}, -1.5},
        {VdLattice::INTERP_NEAREST, {1.5, 0.4, 0.6}, 102.0}, // half away from zero
        {VdLattice::INTERP_NEAREST, {-0.7, 0.0, 0.0}, kBlank},
        {VdLattice::INTERP_NEAREST_EXTEND, {-0.3, 0.0, 0.0}, 0.0},
        {VdLattice::INTERP_NEAREST_EXTEND, {-0.7, 0.0, 0.0}, 2.0}, // wraps to the last node
        {VdLattice::INTERP_NEAREST_EXTEND, {9.0, 9.0, 9.0}, 112.0},
    };
    for (const auto& c : cases) {
        double out = 0.0;
        std::bitset<128> blanks;
        EXPECT_EQ(lattice.Interpolate(c.method, c.ijk, &out, 0, 1, blanks), c.expected == kBlank ? 1u : 0u);
        EXPECT_EQ(blanks[0], c.expected == kBlank);
        EXPECT_NEAR(out, c.expected, 1e-9) << c.method << " " << c.ijk.x;
    }
    // Bad arguments, on a lattice of two components.
    const VdUniformLattice pairs = MakeUniform(dims, 2);
    double out[2];
    const shr::Vec3d p(0.5, 0.5, 0.5);
    EXPECT_THROW(pairs.Interpolate(VdLattice::INTERP_LINEAR, p, nullptr, 0, 1), shr::Exception);
    for (const auto& range : {std::make_pair(1u, 1u), std::make_pair(0u, 3u), std::make_pair(2u, 2u)})
        EXPECT_THROW(pairs.Interpolate(VdLattice::INTERP_LINEAR, p, out, range.first, range.second), shr::Exception);
    EXPECT_THROW(pairs.Interpolate(static_cast<VdLattice::InterpMethod>(7), p, out, 0, 1), shr::Exception);
}

TEST(LatticeInterpolate, BlanksComponentsTransformAndTheBitLimit)
{
    const unsigned int dims[3] = {3, 2, 1};
    VdUniformLattice lattice = MakeUniform(dims, 2);
    lattice.SetBlank(1, 0, 0, 1);
    double out[2];
    std::bitset<128> blanks;
    // The blank corner has weight 0 here, and still blanks the result.
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {0.0, 0.0, 0.0}, out, 0, 2, blanks), 1u);
    EXPECT_TRUE(out[0] == 0.0 && out[1] == kBlank && blanks[1] && !blanks[0]);
    // Bits are absolute component numbers.
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_NEAREST, {1.0, 0.0, 0.0}, out, 1, 2, blanks), 1u);
    EXPECT_TRUE(blanks[1]);
    // A single-node axis uses its node at both ends.
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {1.5, 1.0, 0.0}, out, 0, 1), 0u);
    EXPECT_DOUBLE_EQ(out[0], 11.5);
    lattice.SetUserTransform(shr::Mat4d::MakeScale(2.0, 2.0, 2.0));
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {3.0, 1.0, 0.0}, out, 0, 1), 0u);
    EXPECT_DOUBLE_EQ(out[0], 6.5);

    const unsigned int line[3] = {2, 1, 1};
    VdUniformLattice wide = MakeUniform(line, 130);
    std::vector<double> values(2);
    wide.SetBlank(0, 0, 0, 129);
    EXPECT_EQ(RaisedText([&] { wide.Interpolate(VdLattice::INTERP_LINEAR, {0.5, 0, 0}, values.data(), 128, 130); }),
              "Core: invalid bitset<N> position");
}

// Uneven steps along U, with the W coordinates given.
VdRectilinearLattice MakeRectilinear(unsigned int components = 1, const std::vector<double>& w = {5.0})
{
    const unsigned int dims[3] = {4, 2, static_cast<unsigned int>(w.size())};
    const std::vector<double> values = testsupport::NodeValues(dims, components);
    return VdRectilinearLattice(shr::Double, dims, values.data(), components, {0.0, 1.0, 3.0, 7.0}, {-1.0, 1.0}, w);
}

TEST(RectilinearLattice, CoordinateSearchPlanesAndBounds)
{
    VdRectilinearLattice lattice = MakeRectilinear();
    const std::pair<double, double> cases[] = {{0.0, 0.0}, {0.5, 0.5}, {2.0, 1.5}, {5.0, 2.5},
                                               {7.0, 3.0}, {7.5, kInf}, {-0.1, -kInf}};
    for (const auto& c : cases)
        EXPECT_EQ(lattice.UVWToIJK({c.first, 0.0, 5.0}).x, c.second) << c.first;
    EXPECT_TRUE(std::isnan(lattice.UVWToIJK({0.0, 0.0, 5.0}).z)); // one node: 0 / 0
    EXPECT_EQ(lattice.UVWToIJK({0.0, 0.0, 5.5}).z, kInf);
    EXPECT_EQ(lattice.IJKToUVW(shr::Vec3d(2.5, 0.25, 0.0)), shr::Vec3d(5.0, -0.5, 5.0));
    EXPECT_EQ(lattice.IJKToUVW(shr::Vec3d(3.5, 0.0, 0.0)).x, 7.0);
    double out = 0.0;
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {7.5, 0.0, 5.0}, &out, 0, 1), 1u);

    const double u[4] = {10, 11, 12, 13};
    lattice.SetPlanes(u, nullptr, nullptr);
    lattice.SetUserTransform(shr::Mat4d::MakeScale(1.0, -1.0, 1.0));
    EXPECT_EQ(lattice.GetXYZBounds(), shr::Box3d(10.0, -1.0, 5.0, 13.0, 1.0, 5.0));
    const unsigned int empty[3] = {2, 0, 1};
    EXPECT_TRUE(VdRectilinearLattice(shr::Float, empty, nullptr, 1, nullptr, nullptr, nullptr).GetUVWBounds().IsEmpty());
    EXPECT_THROW(VdRectilinearLattice(shr::Float, empty, nullptr, 1, {0.0}, {}, {0.0}), shr::Exception);
}

TEST(SubLattice, EveryKindClonesAStridedRange)
{
    const unsigned int dims[3] = {5, 4, 3};
    VdUniformLattice lattice = MakeUniform(dims, 3);
    lattice.SetUVWBounds(shr::Box3d(0, 0, 0, 8, 3, 2));
    lattice.SetBlank(2, 1, 2, 2);
    const std::deque<bool> mask = {true, false, true};
    auto sub = lattice.Clone(mask, 0, 4, 2, 1, 3, 2, 2, 2, 1);
    EXPECT_EQ(std::vector<unsigned int>(sub->GetDims(), sub->GetDims() + 3), (std::vector<unsigned int>{3, 2, 1}));
    ASSERT_EQ(sub->ComponentCount(), 2u);
    const double* values = static_cast<const double*>(sub->DataPtr(1, 1, 0));
    EXPECT_EQ(values[0], Linear(2, 3, 2, 0));
    EXPECT_EQ(values[1], Linear(2, 3, 2, 2));
    EXPECT_TRUE(sub->IsBlank(1, 0, 0, 1) && !sub->IsBlank(1, 0, 0, 0));
    EXPECT_EQ(sub->GetUVWBounds(), shr::Box3d(0, 1, 2, 8, 3, 2));
    // 0..3 step 2 reaches node 2 only, but the bounds run to node 3's position.
    EXPECT_EQ(lattice.Clone(mask, 0, 3, 2, 0, 3, 1, 0, 2, 1)->IJKToUVW(1, 0, 0).x, 6.0);
    EXPECT_THROW(lattice.Clone({true, false}, 0, 4, 1, 0, 3, 1, 0, 2, 1), shr::Exception);
    EXPECT_THROW(lattice.Clone(mask, 0, 5, 1, 0, 3, 1, 0, 2, 1), shr::Exception);
    EXPECT_THROW(lattice.Clone(mask, 0, 4, 0, 0, 3, 1, 0, 2, 1), shr::Exception);

    auto rectSub = MakeRectilinear().Clone({true}, 1, 3, 2, 0, 1, 1, 0, 0, 1);
    EXPECT_EQ(static_cast<const VdRectilinearLattice&>(*rectSub).GetUCoords(), (std::vector<double>{1.0, 7.0}));

    // Curvilinear coordinates keep their type.
    const unsigned int curvedDims[3] = {5, 4, 3};
    std::vector<float> coords;
    for (double c : testsupport::NodePositions(curvedDims, Warped))
        coords.push_back(static_cast<float>(c));
    const std::vector<double> curvedValues = testsupport::NodeValues(curvedDims, 2);
    VdCurvilinearLattice curved(shr::Float, shr::Double, curvedDims, coords.data(), curvedValues.data(), 2);
    auto curvedSub = curved.Clone({false, true}, 1, 4, 3, 0, 3, 1, 0, 2, 2);
    ASSERT_EQ(curvedSub->GetCoordType(), shr::Float);
    EXPECT_EQ(curvedSub->IJKToUVW(1, 2, 1), curved.IJKToUVW(4, 2, 2));
    EXPECT_EQ(*static_cast<const double*>(curvedSub->DataPtr(1, 2, 1)), Linear(4, 2, 2, 1));
}

// Random real node coordinates inside the lattice, away from the boundary faces.
std::vector<shr::Vec3d> InteriorPoints(const unsigned int* dims, size_t count, unsigned int seed)
{
    std::mt19937 random(seed);
    std::vector<shr::Vec3d> points(count);
    for (shr::Vec3d& p : points)
        for (int axis = 0; axis < 3; ++axis)
            p[axis] = std::uniform_real_distribution<double>(0.01, dims[axis] - 1.01)(random);
    return points;
}

TEST(CurvilinearLattice, PositionsRoundTripOnShearedAndWarpedGridsAndOutsideIsOutside)
{
    const unsigned int dims[3] = {6, 5, 4};
    for (auto place : {&Sheared, &Warped}) {
        const VdCurvilinearLattice lattice = MakeCurvilinear(dims, place);
        for (const shr::Vec3d& ijk : InteriorPoints(dims, 300, 7))
            EXPECT_TRUE(testsupport::Near(lattice.UVWToIJK(lattice.IJKToUVW(ijk)), ijk, 1e-7));
    }
    const VdCurvilinearLattice lattice = MakeCurvilinear(dims, Warped);
    for (const shr::Vec3d& p : {shr::Vec3d(-3, 1, 1), shr::Vec3d(1e9, -1e9, 0), Warped(2.5, 2.5, -0.2),
                                 Warped(5.3, 1.5, 1.5)})
        EXPECT_EQ(lattice.UVWToIJK(p), kOutside) << p.x << " " << p.y << " " << p.z;
    double out = 0.0;
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, Warped(5.3, 1.5, 1.5), &out, 0, 1), 1u);
    const unsigned int flatDims[3] = {4, 4, 1};
    const VdCurvilinearLattice flat = MakeCurvilinear(flatDims, Sheared);
    EXPECT_EQ(flat.UVWToIJK(Sheared(1.5, 1.5, 0.0)), kOutside) << "a flat lattice has no cells";
    EXPECT_FALSE(flat.GetLocator().IsBuilt());
}

TEST(CurvilinearLattice, LocatorStructureAndInvalidation)
{
    const unsigned int dims[3] = {11, 11, 11};
    VdCurvilinearLattice lattice = MakeCurvilinear(dims, Sheared);
    EXPECT_FALSE(lattice.GetLocator().IsBuilt());
    lattice.UVWToIJK(Sheared(1, 1, 1));
    const CellLocator& locator = lattice.GetLocator();
    ASSERT_TRUE(locator.IsBuilt());
    EXPECT_EQ(locator.Level(), 2); // 1000 cells, about 20 a leaf
    EXPECT_EQ(locator.Leaves().size(), 64u);
    std::vector<int> seen(1000, 0);
    for (int32_t head : locator.Leaves())
        for (int32_t b = head; b != -1; b = locator.Buckets()[b].next)
            for (int32_t n = 0; n < locator.Buckets()[b].count; ++n)
                ++seen[locator.Buckets()[b].cells[n]];
    EXPECT_EQ(std::count(seen.begin(), seen.end(), 0), 0) << "every cell is in some leaf";

    EXPECT_FALSE(VdCurvilinearLattice(lattice).GetLocator().IsBuilt()) << "a copy builds its own";
    lattice.SetModifiedCoords();
    EXPECT_FALSE(lattice.GetLocator().IsBuilt());
    lattice.SetUserTransform(shr::Mat4d::MakeTranslation(100.0, 0.0, 0.0));
    EXPECT_TRUE(testsupport::Near(lattice.XYZToIJK(Sheared(2.5, 3.5, 4.5) + shr::Vec3d(100, 0, 0)),
                                  shr::Vec3d(2.5, 3.5, 4.5), 1e-9));

    // On a unit cube the inverse is exact, faces included; outside or on a
    // collapsed cell it fails.
    shr::Vec3d corners[8] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    shr::Vec3d rst;
    for (const shr::Vec3d& p : {shr::Vec3d(0.25, 0.5, 1.0), shr::Vec3d(0.0, 0.5, 0.5)}) {
        EXPECT_TRUE(CellLocator::InvertTrilinear(corners, p, rst));
        EXPECT_EQ(rst, p);
    }
    EXPECT_FALSE(CellLocator::InvertTrilinear(corners, {1.5, 0.5, 0.5}, rst));
    EXPECT_DOUBLE_EQ(rst.x, 1.5) << "the estimate stays behind on failure";
    for (shr::Vec3d& c : corners)
        c.z = 0.0;
    EXPECT_FALSE(CellLocator::InvertTrilinear(corners, {0.5, 0.5, 0.0}, rst));
}

// Threads that search a fresh lattice together build the locator once and
// all find their points (run under the thread sanitizer too).
TEST(CurvilinearLattice, ConcurrentFirstSearchesBuildOnce)
{
    const unsigned int dims[3] = {17, 17, 17};
    const VdCurvilinearLattice lattice = MakeCurvilinear(dims, Warped);
    const std::vector<shr::Vec3d> points = InteriorPoints(dims, 200, 11);
    std::atomic<int> failures{0};
    testsupport::RunThreads(4, [&](unsigned int) {
        for (const shr::Vec3d& ijk : points) {
            double value = 0.0;
            if (lattice.Interpolate(VdLattice::INTERP_LINEAR, lattice.IJKToUVW(ijk), &value, 0, 1) != 0 ||
                std::fabs(value - (ijk.x + 10 * ijk.y + 100 * ijk.z)) > 1e-5)
                ++failures;
        }
    });
    EXPECT_EQ(failures.load(), 0);
}

// The bytes of a count and the doubles that follow it.
Bytes Raw(uint32_t count, std::initializer_list<double> values)
{
    Bytes bytes(4 + 8 * values.size());
    std::memcpy(bytes.data(), &count, 4);
    std::memcpy(bytes.data() + 4, values.begin(), 8 * values.size());
    return bytes;
}

// A lattice's stored form with the run `from` replaced by `to`: a stream that
// reads whole but disagrees with itself.
Bytes Inconsistent(VdLattice& lattice, const Bytes& from, const Bytes& to)
{
    Bytes bytes = testsupport::Store(lattice);
    EXPECT_TRUE(testsupport::ReplaceRun(bytes, from, to));
    return bytes;
}

TEST(LatticeLoad, WholeArchivesReplaceEverythingCutOrBadOnesNothing)
{
    const unsigned int uniformDims[3] = {3, 2, 2}, curvedDims[3] = {4, 3, 3};
    auto uniform = std::make_unique<VdUniformLattice>(MakeUniform(uniformDims, 2));
    uniform->SetUVWBounds(shr::Box3d(1, 2, 3, 5, 6, 7));
    uniform->SetBlank(2, 1, 1, 1);
    uniform->SetUserTransform(shr::Mat4d::MakeTranslation(0.0, 0.0, 4.0));
    auto rect = std::make_unique<VdRectilinearLattice>(MakeRectilinear(2, {5.0, 6.0}));
    rect->SetBlank(0, 1, 0);
    auto curved = std::make_unique<VdCurvilinearLattice>(MakeCurvilinear(curvedDims, Warped, 2));
    curved->SetBlank(1, 1, 1, 0);
    curved->SetUserTransform(shr::Mat4d::MakeTranslation(-5.0, 0.0, 0.0));

    const unsigned int targetDims[3] = {2, 2, 2};
    const float floats[8] = {8, 7, 6, 5, 4, 3, 2, 1};
    auto uniformTarget = std::make_unique<VdUniformLattice>(shr::Float, targetDims, floats, 1);
    uniformTarget->SetUserTransform(shr::Mat4d::MakeScale(2.0, 2.0, 2.0));
    const int32_t ints[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    auto rectTarget = std::make_unique<VdRectilinearLattice>(shr::Int32, targetDims, ints, 1, std::vector<double>{9, 10},
                                                             std::vector<double>{0, 0.5}, std::vector<double>{-3, -2});
    auto curvedTarget = std::make_unique<VdCurvilinearLattice>(MakeCurvilinear(targetDims, Sheared));

    // Dims after their marker told one node short, and a rectilinear U axis
    // told one coordinate short.
    const Bytes dims = {0xC3, 0x5A, 0xA5, 0x3C, 3, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0};
    Bytes fewerDims = dims;
    fewerDims[4] = 2;
    const struct {
        VdLattice *source, *target;
        size_t step; // cut lengths tried: every step-th byte count
        Bytes inconsistent;
        const char* message;
    } cases[] = {
        {uniform.get(), uniformTarget.get(), 1, Inconsistent(*uniform, dims, fewerDims), "nodes holds 12 tuples"},
        {rect.get(), rectTarget.get(), 1, Inconsistent(*rect, Raw(4, {0, 1, 3, 7}), Raw(3, {0, 1, 3})),
         "axis of 4 nodes has 3 coordinates"},
        {curved.get(), curvedTarget.get(), 7, {}, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source->GetTypeName());
        const Bytes bytes = testsupport::Store(*c.source);
        const std::vector<double> before = testsupport::LatticeSnapshot(*c.target); // also builds a curvilinear locator
        for (size_t cut = 1; cut <= bytes.size(); cut += c.step) {
            EXPECT_THROW(testsupport::Load(*c.target, bytes, cut), shr::Exception) << cut;
            EXPECT_EQ(testsupport::LatticeSnapshot(*c.target), before) << "cut " << cut;
        }
        if (c.message) {
            EXPECT_NE(RaisedText([&] { testsupport::Load(*c.target, c.inconsistent); }).find(c.message),
                      std::string::npos);
            EXPECT_EQ(testsupport::LatticeSnapshot(*c.target), before);
        }
        // The whole archive replaces everything, the locator included, and stores back byte for byte.
        testsupport::Load(*c.target, bytes);
        EXPECT_EQ(testsupport::Store(*c.target), bytes);
        EXPECT_EQ(testsupport::LatticeSnapshot(*c.target), testsupport::LatticeSnapshot(*c.source));
    }
}

} // namespace
