// VdLattice, VdUniformLattice, VdRectilinearLattice: topology, coordinates,
// interpolation, sub-lattices and persistence.
#include "ArrayTestHelpers.h"
#include "LatticeTestHelpers.h"

#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLatticeFactory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using arraytest::ExpectCoreError;
using core::VdLattice;
using core::VdRectilinearLattice;
using core::VdUniformLattice;
using latticetest::Linear;
using latticetest::MakeUniform;

namespace {

constexpr double kBlank = core::VdVertexData::BlankVal;
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(LatticeTopology, IndexArithmeticAndDimensionality)
{
    const unsigned int dims[3] = {4, 3, 2};
    VdUniformLattice lattice = MakeUniform(dims);
    EXPECT_EQ(lattice.Index(1, 2, 1), (3u * 1 + 2) * 4 + 1);
    for (uint32_t index = 0; index < lattice.VertexCount(); ++index) {
        unsigned int i, j, k;
        lattice.IndexToIJK(index, i, j, k);
        EXPECT_EQ(lattice.Index(i, j, k), index);
    }
    EXPECT_TRUE(lattice.InRange(3, 2, 1, 0));
    EXPECT_FALSE(lattice.InRange(3, 2, 1, 1));
    EXPECT_FALSE(lattice.InRange(4, 0, 0));
    EXPECT_EQ(lattice.GetDimensionality(), 3u);

    const struct { unsigned int dims[3]; unsigned int expected; } cases[] = {
        {{4, 1, 1}, 1}, {{1, 1, 1}, 0}, {{1, 5, 2}, 2}, {{2, 2, 2}, 3}};
    for (const auto& c : cases)
        EXPECT_EQ(MakeUniform(c.dims).GetDimensionality(), c.expected);
}

TEST(LatticeTopology, BlanksNamesAndSizeLimits)
{
    const unsigned int dims[3] = {2, 2, 2};
    VdUniformLattice lattice = MakeUniform(dims, 2);
    EXPECT_FALSE(lattice.IsLayerBlank(0, 0));
    lattice.SetBlank(0, 0, 1);
    EXPECT_TRUE(lattice.IsBlank(0, 0, 1, 0));
    EXPECT_TRUE(lattice.IsBlank(0, 0, 1, 1));
    lattice.SetBlank(1, 0, 1, 0);
    lattice.SetBlank(0, 1, 1, 0);
    EXPECT_FALSE(lattice.IsLayerBlank(1, 0));
    lattice.SetBlank(1, 1, 1, 0);
    EXPECT_TRUE(lattice.IsLayerBlank(1, 0));
    EXPECT_FALSE(lattice.IsLayerBlank(1, 1));
    EXPECT_FALSE(lattice.IsLayerBlank(0, 0));

    EXPECT_EQ(lattice.GetComponentName(0), "Component 1");
    EXPECT_EQ(lattice.GetComponentName(1), "Component 2");
    EXPECT_EQ(lattice.GetComponentName(2), "");

    const unsigned int huge[3] = {65536, 65536, 1};
    try {
        VdUniformLattice tooBig(shr::UInt8, huge, nullptr, 1);
        ADD_FAILURE() << "no error for 2^32 nodes";
    } catch (const shr::Exception& error) {
        EXPECT_EQ(error.Code(), 46);
    }
    const unsigned int empty[3] = {3, 0, 2};
    ExpectCoreError([&] { VdUniformLattice bad(shr::UInt8, empty, nullptr, 1); }, "Invalid target lattice size.");
}

TEST(UniformLattice, CoordinatesSpacingAndTransform)
{
    const unsigned int dims[3] = {3, 5, 1};
    VdUniformLattice lattice = MakeUniform(dims);
    EXPECT_EQ(lattice.GetSpacing(), shr::Vec3d(1.0, 1.0, 0.0));
    lattice.SetUVWBounds(shr::Box3d(10.0, -2.0, 7.0, 14.0, 6.0, 9.0));
    EXPECT_EQ(lattice.GetSpacing(), shr::Vec3d(2.0, 2.0, 0.0));
    EXPECT_EQ(lattice.IJKToUVW(1, 2, 0), shr::Vec3d(12.0, 2.0, 7.0));
    EXPECT_EQ(lattice.IJKToUVW(shr::Vec3d(-1.0, 0.5, 3.0)), shr::Vec3d(8.0, -1.0, 7.0));
    EXPECT_EQ(lattice.UVWToIJK(shr::Vec3d(13.0, 6.0, 100.0)), shr::Vec3d(1.5, 4.0, 0.0));

    const shr::Mat4d toUVW = lattice.GetTransform();
    EXPECT_EQ(shr::Vec3d(1.0, 2.0, 0.0) * toUVW, shr::Vec3d(12.0, 2.0, 7.0));
    EXPECT_EQ(toUVW.m[2][2], 1.0); // no spacing on the flat axis

    EXPECT_EQ(lattice.GetXYZBounds(), lattice.UVWBounds());
    lattice.SetUserTransform(shr::Mat4d::MakeTranslation(1.0, 0.0, 0.0));
    EXPECT_EQ(lattice.GetXYZBounds(), shr::Box3d(11.0, -2.0, 7.0, 15.0, 6.0, 9.0));
    EXPECT_EQ(lattice.IJKToXYZ(0, 0, 0), shr::Vec3d(11.0, -2.0, 7.0));
    EXPECT_EQ(lattice.XYZToIJK(shr::Vec3d(13.0, -2.0, 7.0)), shr::Vec3d(1.0, 0.0, 0.0));
    double xyz[3];
    lattice.GetXYZCoord(lattice.Index(2, 4, 0), xyz);
    EXPECT_EQ(shr::Vec3d(xyz), shr::Vec3d(15.0, 6.0, 7.0));

    VdUniformLattice empty;
    EXPECT_EQ(empty.UVWBounds(), shr::Box3d(0, 0, 0, 1, 1, 1));
    EXPECT_EQ(empty.GetSpacing(), shr::Vec3d());
}

TEST(UniformLattice, FactoryShapesByColorFormat)
{
    const unsigned int dims[3] = {4, 2, 1};
    const struct { int format; shr::PrimType type; unsigned int components; } cases[] = {
        {1, shr::UInt8, 1}, {4, shr::UInt16, 1}, {5, shr::UInt32, 1}, {6, shr::UInt8, 4},
        {13, shr::UInt8, 4}, {15, shr::UInt8, 1}};
    for (const auto& c : cases) {
        auto lattice = core::VdUniformLatticeFactory::Construct(dims, static_cast<shr::ColorFormat>(c.format));
        EXPECT_EQ(lattice->DataType(), c.type) << c.format;
        EXPECT_EQ(lattice->ComponentCount(), c.components) << c.format;
        EXPECT_EQ(lattice->VertexCount(), 8u);
    }
    for (int bad : {0, 14})
        ExpectCoreError([&] { core::VdUniformLatticeFactory::Construct(dims, static_cast<shr::ColorFormat>(bad)); },
                        "Invalid color format.");
}

struct InterpCase {
    VdLattice::InterpMethod method;
    shr::Vec3d ijk;
    double expected; // of component 0; kBlank for a blank result
};

TEST(LatticeInterpolate, MethodsInAndOutOfRange)
{
    const unsigned int dims[3] = {3, 2, 2};
    const VdUniformLattice lattice = MakeUniform(dims);
    const InterpCase cases[] = {
        {VdLattice::INTERP_LINEAR, {0.5, 0.5, 0.5}, 55.5},
        {VdLattice::INTERP_LINEAR, {2.0, 1.0, 1.0}, 112.0},
        {VdLattice::INTERP_LINEAR, {2.00005, 0.0, 0.0}, 2.00005}, // within tolerance: last cell, fraction > 1
        {VdLattice::INTERP_LINEAR, {2.001, 0.0, 0.0}, kBlank},
        {VdLattice::INTERP_LINEAR, {0.0, -0.01, 0.0}, kBlank},
        {VdLattice::INTERP_LINEAR_EXTEND, {2.5, 0.0, 0.0}, 2.5},
        {VdLattice::INTERP_LINEAR_EXTEND, {-1.5, 0.0, 0.0}, -1.5},
        {VdLattice::INTERP_NEAREST, {1.5, 0.4, 0.6}, 102.0}, // half away from zero
        {VdLattice::INTERP_NEAREST, {-0.00005, 0.0, 0.0}, 0.0},
        {VdLattice::INTERP_NEAREST, {-0.7, 0.0, 0.0}, kBlank},
        {VdLattice::INTERP_NEAREST_EXTEND, {-0.3, 0.0, 0.0}, 0.0},
        {VdLattice::INTERP_NEAREST_EXTEND, {-0.7, 0.0, 0.0}, 2.0}, // wraps to the last node
        {VdLattice::INTERP_NEAREST_EXTEND, {9.0, 9.0, 9.0}, 112.0},
    };
    for (const InterpCase& c : cases) {
        double out = 0.0;
        std::bitset<128> blanks;
        const unsigned int count = lattice.Interpolate(c.method, c.ijk, &out, 0, 1, blanks);
        EXPECT_EQ(count, c.expected == kBlank ? 1u : 0u) << c.method << " " << c.ijk.x;
        EXPECT_EQ(blanks[0], c.expected == kBlank);
        EXPECT_NEAR(out, c.expected, 1e-9) << c.method << " " << c.ijk.x;
    }
}

TEST(LatticeInterpolate, BlanksComponentsAndTransform)
{
    const unsigned int dims[3] = {3, 2, 1};
    VdUniformLattice lattice = MakeUniform(dims, 2);
    lattice.SetBlank(1, 0, 0, 1);
    double out[2];
    std::bitset<128> blanks;
    // The blank corner has weight 0 here, and still blanks the result.
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {0.0, 0.0, 0.0}, out, 0, 2, blanks), 1u);
    EXPECT_EQ(out[0], 0.0);
    EXPECT_EQ(out[1], kBlank);
    EXPECT_TRUE(blanks[1]);
    EXPECT_FALSE(blanks[0]);
    // Bits are absolute component numbers.
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_NEAREST, {1.0, 0.0, 0.0}, out, 1, 2, blanks), 1u);
    EXPECT_TRUE(blanks[1]);
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_NEAREST, {1.0, 1.0, 0.0}, out, 1, 2), 0u);
    EXPECT_EQ(out[0], -11.0);
    // A single-node axis uses its node at both ends.
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {1.5, 1.0, 0.0}, out, 0, 1), 0u);
    EXPECT_DOUBLE_EQ(out[0], 11.5);

    lattice.SetUserTransform(shr::Mat4d::MakeScale(2.0, 2.0, 2.0));
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {3.0, 1.0, 0.0}, out, 0, 1), 0u);
    EXPECT_DOUBLE_EQ(out[0], 6.5);
}

TEST(LatticeInterpolate, ArgumentErrorsAndBitLimit)
{
    const unsigned int dims[3] = {2, 2, 1};
    VdUniformLattice lattice = MakeUniform(dims, 2);
    double out[2];
    const shr::Vec3d p(0.5, 0.5, 0.0);
    EXPECT_THROW(lattice.Interpolate(VdLattice::INTERP_LINEAR, p, nullptr, 0, 1), shr::Exception);
    EXPECT_THROW(lattice.Interpolate(VdLattice::INTERP_LINEAR, p, out, 2, 2), shr::Exception);
    EXPECT_THROW(lattice.Interpolate(VdLattice::INTERP_LINEAR, p, out, 0, 3), shr::Exception);
    EXPECT_THROW(lattice.Interpolate(VdLattice::INTERP_LINEAR, p, out, 1, 1), shr::Exception);
    EXPECT_THROW(lattice.Interpolate(static_cast<VdLattice::InterpMethod>(7), p, out, 0, 1), shr::Exception);

    const unsigned int line[3] = {2, 1, 1};
    VdUniformLattice wide = MakeUniform(line, 130);
    std::vector<double> values(2);
    EXPECT_EQ(wide.Interpolate(VdLattice::INTERP_LINEAR, {0.5, 0, 0}, values.data(), 128, 130), 0u);
    wide.SetBlank(0, 0, 0, 129);
    ExpectCoreError([&] { wide.Interpolate(VdLattice::INTERP_LINEAR, {0.5, 0, 0}, values.data(), 128, 130); },
                    "invalid bitset<N> position");
}

VdRectilinearLattice MakeRectilinear()
{
    const unsigned int dims[3] = {4, 2, 1};
    const std::vector<double> values = latticetest::NodeValues(dims, 1, Linear);
    return VdRectilinearLattice(shr::Double, dims, values.data(), 1, {0.0, 1.0, 3.0, 7.0}, {-1.0, 1.0}, {5.0});
}

TEST(RectilinearLattice, CoordinateSearch)
{
    const VdRectilinearLattice lattice = MakeRectilinear();
    const struct { double u; double expected; } cases[] = {
        {0.0, 0.0}, {0.5, 0.5}, {1.0, 1.0}, {2.0, 1.5}, {5.0, 2.5}, {7.0, 3.0}, {7.5, kInf}, {-0.1, -kInf}};
    for (const auto& c : cases)
        EXPECT_EQ(lattice.UVWToIJK({c.u, 0.0, 5.0}).x, c.expected) << c.u;
    EXPECT_EQ(lattice.UVWToIJK({0.0, 0.0, 5.0}).y, 0.5);
    EXPECT_TRUE(std::isnan(lattice.UVWToIJK({0.0, 0.0, 5.0}).z)); // one node: 0 / 0
    EXPECT_EQ(lattice.UVWToIJK({0.0, 0.0, 5.5}).z, kInf);

    EXPECT_EQ(lattice.IJKToUVW(3, 1, 0), shr::Vec3d(7.0, 1.0, 5.0));
    EXPECT_EQ(lattice.IJKToUVW(shr::Vec3d(2.5, 0.25, 0.0)), shr::Vec3d(5.0, -0.5, 5.0));
    EXPECT_EQ(lattice.IJKToUVW(shr::Vec3d(3.5, 0.0, 0.0)).x, 7.0);
    EXPECT_EQ(lattice.GetUVWBounds(), shr::Box3d(0.0, -1.0, 5.0, 7.0, 1.0, 5.0));

    double out = 0.0;
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, {7.5, 0.0, 5.0}, &out, 0, 1), 1u);
    EXPECT_EQ(out, kBlank);
}

TEST(RectilinearLattice, PlanesAndBounds)
{
    VdRectilinearLattice lattice = MakeRectilinear();
    const double u[4] = {10, 11, 12, 13};
    lattice.SetPlanes(u, nullptr, nullptr);
    EXPECT_EQ(lattice.GetUVWBounds(), shr::Box3d(10.0, -1.0, 5.0, 13.0, 1.0, 5.0));
    EXPECT_EQ(lattice.GetVCoords(), (std::vector<double>{-1.0, 1.0}));
    lattice.SetUserTransform(shr::Mat4d::MakeScale(1.0, -1.0, 1.0));
    EXPECT_EQ(lattice.GetXYZBounds(), shr::Box3d(10.0, -1.0, 5.0, 13.0, 1.0, 5.0));

    const unsigned int empty[3] = {2, 0, 1};
    VdRectilinearLattice none(shr::Float, empty, nullptr, 1, nullptr, nullptr, nullptr);
    EXPECT_TRUE(none.GetUVWBounds().IsEmpty());
    EXPECT_THROW(VdRectilinearLattice(shr::Float, empty, nullptr, 1, {0.0}, {}, {0.0}), shr::Exception);
}

TEST(SubLattice, UniformAndRectilinearClones)
{
    const unsigned int dims[3] = {5, 4, 3};
    VdUniformLattice lattice = MakeUniform(dims, 3);
    lattice.SetUVWBounds(shr::Box3d(0, 0, 0, 8, 3, 2));
    lattice.SetBlank(2, 1, 2, 2);
    const std::deque<bool> mask = {true, false, true};
    auto sub = lattice.Clone(mask, 0, 4, 2, 1, 3, 2, 2, 2, 1);
    const unsigned int* subDims = sub->GetDims();
    EXPECT_EQ(std::vector<unsigned int>(subDims, subDims + 3), (std::vector<unsigned int>{3, 2, 1}));
    ASSERT_EQ(sub->ComponentCount(), 2u);
    EXPECT_EQ(sub->DataType(), shr::Double);
    const double* values = static_cast<const double*>(sub->DataPtr(1, 1, 0));
    EXPECT_EQ(values[0], Linear(2, 3, 2, 0));
    EXPECT_EQ(values[1], Linear(2, 3, 2, 2));
    EXPECT_TRUE(sub->IsBlank(1, 0, 0, 1));
    EXPECT_FALSE(sub->IsBlank(1, 0, 0, 0));
    EXPECT_EQ(sub->GetUVWBounds(), shr::Box3d(0, 1, 2, 8, 3, 2));

    // 0..3 step 2 reaches node 2 only, but the bounds run to node 3's position.
    auto stretched = lattice.Clone(mask, 0, 3, 2, 0, 3, 1, 0, 2, 1);
    EXPECT_EQ(stretched->GetDims()[0], 2u);
    EXPECT_EQ(stretched->IJKToUVW(1, 0, 0).x, 6.0);

    EXPECT_THROW(lattice.Clone({true, false}, 0, 4, 1, 0, 3, 1, 0, 2, 1), shr::Exception);
    EXPECT_THROW(lattice.Clone(mask, 0, 5, 1, 0, 3, 1, 0, 2, 1), shr::Exception);
    EXPECT_THROW(lattice.Clone(mask, 0, 4, 0, 0, 3, 1, 0, 2, 1), shr::Exception);

    const VdRectilinearLattice rect = MakeRectilinear();
    auto rectSub = rect.Clone({true}, 1, 3, 2, 0, 1, 1, 0, 0, 1);
    EXPECT_EQ(static_cast<const VdRectilinearLattice&>(*rectSub).GetUCoords(), (std::vector<double>{1.0, 7.0}));
}

TEST(LatticePersistence, UniformAndRectilinearRoundTrips)
{
    const unsigned int dims[3] = {3, 2, 2};
    VdUniformLattice uniform = MakeUniform(dims, 2);
    uniform.SetUVWBounds(shr::Box3d(1, 2, 3, 5, 6, 7));
    uniform.SetBlank(2, 1, 1, 1);
    uniform.SetUserTransform(shr::Mat4d::MakeTranslation(0.0, 0.0, 4.0));
    VdUniformLattice loaded;
    latticetest::Load(latticetest::Store(uniform), loaded);
    EXPECT_EQ(loaded.GetDims()[2], 2u);
    EXPECT_EQ(loaded.ComponentCount(), 2u);
    EXPECT_EQ(loaded.UVWBounds(), uniform.UVWBounds());
    EXPECT_EQ(loaded.GetSpacing(), uniform.GetSpacing());
    EXPECT_EQ(loaded.GetXYZBounds(), uniform.GetXYZBounds());
    EXPECT_TRUE(loaded.IsBlank(2, 1, 1, 1));
    EXPECT_EQ(*static_cast<const double*>(loaded.DataPtr(1, 1, 1, 0)), Linear(1, 1, 1, 0));

    VdRectilinearLattice rect = MakeRectilinear();
    VdRectilinearLattice rectLoaded;
    latticetest::Load(latticetest::Store(rect), rectLoaded);
    EXPECT_EQ(rectLoaded.GetUCoords(), rect.GetUCoords());
    EXPECT_EQ(rectLoaded.GetWCoords(), rect.GetWCoords());
    EXPECT_EQ(rectLoaded.GetUVWBounds(), rect.GetUVWBounds());

    // Every truncation of the stream is an error; coordinates are replaced only once read whole.
    const std::vector<unsigned char> bytes = latticetest::Store(rect);
    for (size_t size : {bytes.size() - 1, bytes.size() / 2, size_t(20)}) {
        std::vector<unsigned char> cut(bytes.begin(), bytes.begin() + size);
        VdRectilinearLattice target = MakeRectilinear();
        target.SetPlanes(std::vector<double>{9, 10, 11, 12}.data(), nullptr, nullptr);
        EXPECT_THROW(latticetest::Load(cut, target), shr::Exception) << size;
        EXPECT_EQ(target.GetUCoords()[0], 9.0);
    }
}

TEST(LatticeVisiting, LatticeVisitorTakesEveryKind)
{
    struct LatticeCounter : shr::BaseConstVisitor, shr::ConstVisitor<VdLattice> {
        bool Visit(const VdLattice&) override { return true; }
    } visitor;
    const VdUniformLattice uniform = MakeUniform(std::array<unsigned int, 3>{2, 2, 2}.data());
    EXPECT_TRUE(uniform.Accept(visitor));
    EXPECT_TRUE(MakeRectilinear().Accept(visitor));
    EXPECT_STREQ(MakeRectilinear().GetTypeName(), "Rectilinear lattice");
    EXPECT_EQ(uniform.GetType(), 2u);
}

} // namespace
