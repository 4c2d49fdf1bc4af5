// LatticeLocator, LatticeUtility and the texture collectors.
#include "core/data/LatticeUtility.h"
#include "core/data/TextureUtility.h"
#include "tests/support/LatticeSupport.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

using core::CellComponentAverage;
using core::CellComponentCorner;
using core::LatticeRange;
using core::VdUniformLattice;
using testsupport::MakeUniform;
using testsupport::RaisedText;

namespace {

constexpr double kBlank = core::VdVertexData::BlankVal;

TEST(LatticeLocator, CellNumbersRunInNodeOrder)
{
    const core::LatticeLocator locator(LatticeRange{2, 5, 1, 4, 3, 5});
    EXPECT_EQ(locator.CellsPerLayer(), 4u);
    EXPECT_EQ(locator.CellCount(), 4u);
    unsigned int i, j, k, n = 0;
    for (unsigned int ek = 3; ek < 4; ++ek)
        for (unsigned int ej = 1; ej < 3; ++ej)
            for (unsigned int ei = 2; ei < 4; ++ei, ++n) {
                locator.Locate(n, i, j, k);
                EXPECT_EQ(std::vector<unsigned int>({i, j, k}), std::vector<unsigned int>({ei, ej, ek}));
            }
    EXPECT_EQ(RaisedText([] { core::LatticeLocator(LatticeRange{0, 3, 2, 2, 0, 1}); }), "Core: Invalid lattice range.");
}

TEST(LatticeUtility, CellCornersGoRoundEachFaceComponentsHaveNames)
{
    const unsigned int dims[3] = {3, 3, 3};
    VdUniformLattice lattice = MakeUniform(dims);
    lattice.SetUserTransform(shr::Mat4d::MakeTranslation(10.0, 0.0, 0.0));
    std::vector<shr::Vec3d> corners;
    core::CellCorners(lattice, 1, 0, 1, corners);
    const std::vector<shr::Vec3d> expected = {{11, 1, 1}, {12, 1, 1}, {12, 0, 1}, {11, 0, 1},
                                              {11, 1, 2}, {12, 1, 2}, {12, 0, 2}, {11, 0, 2}};
    EXPECT_EQ(corners, expected);

    // Component names, and numbers read back from names as a user may write them.
    const std::vector<shr::GString> names = core::CollectComponents(MakeUniform(dims, 3));
    EXPECT_EQ(names, (std::vector<shr::GString>{"Component 1", "Component 2", "Component 3"}));
    const std::vector<shr::GString> input = {"Component 2", " 7 ", "COMPONENT12", "speed", "Component",
                                             "3x", "component  4", "99999999999", ""};
    EXPECT_EQ(core::ParseComponentNames(input), (std::vector<unsigned int>{2, 7, 12, 0, 0, 0, 4, 0, 0}));
    EXPECT_EQ(core::ParseComponentNames(names), (std::vector<unsigned int>{1, 2, 3}));
}

TEST(CollectCellValues, RangeErrors)
{
    const unsigned int dims[3] = {4, 4, 4};
    const VdUniformLattice lattice = MakeUniform(dims);
    const struct { unsigned int component; LatticeRange range; const char* message; } cases[] = {
        {1, {0, 4, 0, 4, 0, 4}, "Component index out of range."},
        {0, {0, 0, 0, 4, 0, 4}, "Lattice range must describe at least one cell."},
        {0, {2, 2, 0, 4, 0, 4}, "Lattice range must describe at least one cell."},
        {0, {0, 5, 0, 4, 0, 4}, "Invalid lattice range."},
        {0, {0, 4, 4, 5, 0, 4}, "Invalid lattice range."},
        {0, {0, 1, 0, 1, 0, 4}, "Lattice range describes more than one 2D axis."},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RaisedText([&] { core::CollectCellValues<CellComponentAverage>(lattice, c.component, c.range); }),
                  std::string("Core: ") + c.message);
}

TEST(CollectCellValues, PoliciesBlanksAndFlatRanges)
{
    const unsigned int dims[3] = {4, 3, 3};
    VdUniformLattice lattice = MakeUniform(dims);
    lattice.SetBlank(3, 2, 2, 0);
    const LatticeRange range{1, 4, 0, 3, 1, 3};
    const std::vector<double> average = core::CollectCellValues<CellComponentAverage>(lattice, 0, range);
    const std::vector<double> corner = core::CollectCellValues<CellComponentCorner>(lattice, 0, range);
    ASSERT_EQ(average.size(), 4u);
    EXPECT_EQ(average[0], 1.5 + 5.0 + 150.0);
    EXPECT_EQ(corner[0], 101.0);
    EXPECT_EQ(corner[2], 111.0);
    EXPECT_EQ(average[3], kBlank); // holds node (3, 2, 2)
    EXPECT_EQ(corner[3], kBlank);  // blank, though not the first node

    // Flat in j: quadrilaterals over i (inner) and k (outer), always averaged.
    const LatticeRange flat{0, 3, 2, 3, 1, 3};
    for (const std::vector<double>& values : {core::CollectCellValues<CellComponentAverage>(lattice, 0, flat),
                                              core::CollectCellValues<CellComponentCorner>(lattice, 0, flat)}) {
        ASSERT_EQ(values.size(), 2u);
        EXPECT_EQ(values[0], 0.5 + 20.0 + 150.0);
        EXPECT_EQ(values[1], 1.5 + 20.0 + 150.0);
    }
    const LatticeRange flatBlank{2, 4, 0, 3, 2, 3};
    EXPECT_EQ(core::CollectCellValues<CellComponentCorner>(lattice, 0, flatBlank),
              (std::vector<double>{2.5 + 5.0 + 200.0, kBlank}));
}

TEST(CollectCellValues, ParallelEqualsSerial)
{
    const unsigned int dims[3] = {61, 47, 33};
    std::mt19937 random(5);
    std::uniform_real_distribution<double> value(-1e3, 1e3);
    VdUniformLattice lattice = MakeUniform(dims, 2, [&](unsigned, unsigned, unsigned, unsigned) { return value(random); });
    for (int n = 0; n < 500; ++n)
        lattice.SetBlank(random() % lattice.VertexCount(), 1);
    const LatticeRange range{1, 60, 0, 47, 2, 33};
    const core::LatticeLocator locator(range);
    for (unsigned int component : {0u, 1u}) {
        std::vector<double> serial(locator.CellCount(), kBlank);
        core::LatticeUtilityPrivate::CellComponentEvaluator<unsigned int, CellComponentAverage> body(
            lattice, locator, component, serial);
        body(tbb::blocked_range<size_t>(0, serial.size()));
        const std::vector<double> parallel = core::CollectCellValues<CellComponentAverage>(lattice, component, range);
        ASSERT_EQ(parallel.size(), serial.size());
        EXPECT_EQ(0, std::memcmp(parallel.data(), serial.data(), serial.size() * sizeof(double)));
        EXPECT_EQ(std::count(parallel.begin(), parallel.end(), kBlank) > 0, component == 1);
    }
}

// Red channel = the value; opaque.
struct RedRamp : core::ColorInterpolator {
    shr::Color4b operator()(double value) const override { return shr::Color4b(static_cast<unsigned char>(value), 0, 0); }
};

TEST(TextureUtility, ScalarSlicesAndBlanks)
{
    const unsigned int dims[3] = {3, 2, 2};
    VdUniformLattice lattice = MakeUniform(dims, 1, [](unsigned i, unsigned j, unsigned k, unsigned) {
        return 10.0 + i + 3 * j + 6 * k;
    });
    lattice.SetBlank(2, 1, 1, 0);
    const RedRamp ramp;
    std::vector<shr::Color4b> image;
    core::CollectTextureXY(lattice, 1, 0, ramp, image);
    const auto reds = [&] {
        std::vector<int> red;
        for (const shr::Color4b& c : image)
            red.push_back(c.r);
        return red;
    };
    EXPECT_EQ(reds(), (std::vector<int>{16, 17, 18, 19, 20, 10})); // the blank takes the minimum's colour
    core::CollectTextureXZ(lattice, 1, 0, ramp, image);
    EXPECT_EQ(reds(), (std::vector<int>{13, 14, 15, 19, 20, 10}));
    core::CollectTextureYZ(lattice, 2, 0, ramp, image);
    EXPECT_EQ(reds(), (std::vector<int>{12, 15, 18, 10}));

    EXPECT_EQ(RaisedText([&] { core::CollectTextureXY(lattice, 2, 0, ramp, image); }), "Core: Invalid texture slice.");
    EXPECT_EQ(RaisedText([&] { core::CollectTextureYZ(lattice, 3, 0, ramp, image); }), "Core: Invalid texture slice.");
    EXPECT_EQ(RaisedText([&] { core::CollectTextureXY(lattice, 0, 2, ramp, image); }), "Core: Invalid texture component.");
}

TEST(TextureUtility, RgbaSlicesAndPadding)
{
    const unsigned int dims[3] = {2, 2, 2};
    std::vector<unsigned char> bytes(8 * 4);
    for (size_t n = 0; n < bytes.size(); ++n)
        bytes[n] = static_cast<unsigned char>(n);
    VdUniformLattice lattice(shr::UInt8, dims, bytes.data(), 4);
    const RedRamp ramp;
    std::vector<shr::Color4b> image;
    core::CollectTextureXY(lattice, 1, 99, ramp, image); // component ignored for RGBA
    EXPECT_EQ(image[1], shr::Color4b(20, 21, 22, 23));
    core::CollectTextureXZ(lattice, 1, 0, ramp, image);
    EXPECT_EQ(image[2], shr::Color4b(24, 25, 26, 27));

    lattice.SetBlank(1, 0, 1, 3);
    core::CollectTextureXY(lattice, 1, 0, ramp, image);
    EXPECT_EQ(image[1], shr::Color4b::Black);
    EXPECT_EQ(image[3], shr::Color4b(28, 29, 30, 31));

    core::CollectPaddedTextureXY(lattice, 0, 0, ramp, image);
    ASSERT_EQ(image.size(), 9u);
    const shr::Color4b clear(255, 255, 255, 0);
    for (size_t n : {0, 1, 2, 3, 6})
        EXPECT_EQ(image[n], clear) << n;
    EXPECT_EQ(image[4], shr::Color4b(0, 1, 2, 3));
    EXPECT_EQ(image[8], shr::Color4b(12, 13, 14, 15));
}

TEST(TextureUtility, ClippedCoordinates)
{
    const unsigned int sourceDims[3] = {3, 3, 1};
    VdUniformLattice source = MakeUniform(sourceDims);
    source.SetUVWBounds(shr::Box3d(0, 0, 0, 4, 4, 0)); // spacing 2
    const unsigned int targetDims[3] = {3, 1, 2};
    VdUniformLattice target = MakeUniform(targetDims);
    target.SetUVWBounds(shr::Box3d(-1, 2, 0, 5, 2, 1)); // nodes at x = -1, 2, 5
    const RedRamp ramp;
    std::vector<shr::Color4b> colors;
    std::vector<float> coords;
    core::CollectTextureClipped(source, target, 0, 0, 0, ramp, colors, coords);
    EXPECT_EQ(colors.size(), 16u);
    ASSERT_EQ(coords.size(), 6u);
    EXPECT_EQ(coords[0], 0.0f); // outside the source
    EXPECT_EQ(coords[1], 0.0f);
    EXPECT_FLOAT_EQ(coords[2], 4.0f / 6.0f); // x = 2 between -2 (padding) and 4
    EXPECT_FLOAT_EQ(coords[3], 4.0f / 6.0f);
    EXPECT_EQ(coords[4], 0.0f);
    EXPECT_EQ(RaisedText([&] { core::CollectTextureClipped(source, target, 0, 2, 0, ramp, colors, coords); }),
              "Core: Invalid texture slice.");
}

} // namespace
