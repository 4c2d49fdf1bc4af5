// The arithmetic of the volume textures, without a GL context: the texel
// bytes of every mode and where they land, the palette, the stack budgets and
// their padding, the slices of the three stacks, the bricks of 3-D textures,
// and the stack and brick order for a view direction.
#include "core/data/VdUniformLattice.h"
#include "core/graphics/VbColorMap.h"
#include "core/graphics/VolumeTexels.h"
#include "core/graphics/dvr3dTex.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

using namespace core;
using shr::Color4b;
using shr::Vec3i;

namespace {

// 3 x 2 x 2 float nodes valued i + 3 j + 6 k (0 to 11), node (1, 0, 0) blank.
struct Ramp {
    Ramp() : map(nullptr, 0, 256)
    {
        std::vector<float> values(12);
        std::iota(values.begin(), values.end(), 0.0f);
        const unsigned int dims[3] = {3, 2, 2};
        lattice = std::make_unique<VdUniformLattice>(shr::Float, dims, values.data(), 1);
        lattice->SetBlank(1, 0, 0, 0);
        lattice->DataModified();
        map.AddOpacityNode(0.0, 0.0);
        map.AddOpacityNode(1.0, 1.0);
        map.SetDataLimits(0.0, 11.0);
        source.lattice = lattice.get();
        source.colorMap = &map;
    }
    std::unique_ptr<VdUniformLattice> lattice;
    VbColorMap map;
    TexelSource source;
};

std::vector<unsigned char> Expected(const VbColorMap& map, double value, int mode)
{
    const Color4b c = map.PosToColor(map.DatToPos(value));
    switch (mode) {
    case TexPaletted: return {static_cast<unsigned char>(value * 254.0 / 11.0 + 1.5)};
    case TexIntensity: return {Luminance(c)};
    case TexLuminanceAlpha: return {Luminance(c), c.a};
    default: return {c.r, c.g, c.b, c.a};
    }
}

TEST(VolumeTexels, EveryModeFillsItsBytesInLatticeOrderAndClearsBlanks)
{
    Ramp ramp;
    for (int mode = TexPaletted; mode <= TexRGBA; ++mode) {
        SCOPED_TRACE(mode);
        const int bytes = BytesPerTexel(mode);
        std::vector<unsigned char> texels(12 * bytes, 0xee);
        FillTexels(ramp.source, Vec3i(0, 0, 0), Vec3i(3, 2, 2), Vec3i(3, 2, 2), texels.data(), mode);
        for (int node = 0; node < 12; ++node) {
            const std::vector<unsigned char> got(texels.begin() + node * bytes, texels.begin() + (node + 1) * bytes);
            const std::vector<unsigned char> want =
                node == 1 ? std::vector<unsigned char>(bytes, 0) : Expected(ramp.map, node, mode);
            EXPECT_EQ(got, want) << "node " << node;
        }
    }
}

TEST(VolumeTexels, AnInnerBlockLandsAtTheStartOfAPaddedTarget)
{
    Ramp ramp;
    // Nodes i 1..2, j 0..1, k 1 into a 4 x 2 x 1 block; the padding keeps its bytes.
    std::vector<unsigned char> block(8, 0xee);
    FillTexels(ramp.source, Vec3i(1, 0, 1), Vec3i(3, 2, 2), Vec3i(4, 2, 1), block.data(), TexPaletted);
    const int nodes[2][2] = {{7, 8}, {10, 11}};
    for (int j = 0; j < 2; ++j) {
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(block[j * 4 + i], Expected(ramp.map, nodes[j][i], TexPaletted)[0]) << i << "," << j;
        EXPECT_EQ(block[j * 4 + 2], 0xee);
        EXPECT_EQ(block[j * 4 + 3], 0xee);
    }
    // Blocks that cannot hold the voxels, and sources without colours, are refused.
    EXPECT_THROW(FillTexels(ramp.source, Vec3i(0, 0, 0), Vec3i(3, 2, 2), Vec3i(2, 2, 2), block.data(), TexPaletted),
                 shr::Exception);
    TexelSource bare = ramp.source;
    bare.colorMap = nullptr;
    EXPECT_THROW(FillTexels(bare, Vec3i(0, 0, 0), Vec3i(1, 1, 1), Vec3i(1, 1, 1), block.data(), TexRGBA),
                 shr::Exception);
}

TEST(VolumeTexels, RgbaLatticesGiveTheirOwnBytes)
{
    const unsigned char rgba[8] = {10, 20, 30, 40, 50, 60, 70, 80};
    const unsigned int dims[3] = {2, 1, 1};
    VdUniformLattice lattice(shr::UInt8, dims, rgba, 4);
    TexelSource source;
    source.lattice = &lattice;
    source.rgba = true;
    std::vector<unsigned char> texels(8);
    FillTexels(source, Vec3i(0, 0, 0), Vec3i(2, 1, 1), Vec3i(2, 1, 1), texels.data(), TexRGBA);
    EXPECT_EQ(texels, std::vector<unsigned char>(rgba, rgba + 8));
    lattice.SetBlank(1, 0, 0, 2);
    lattice.DataModified();
    FillTexels(source, Vec3i(0, 0, 0), Vec3i(2, 1, 1), Vec3i(2, 1, 1), texels.data(), TexRGBA);
    EXPECT_EQ(texels, (std::vector<unsigned char>{10, 20, 30, 40, 0, 0, 0, 0}));
}

TEST(VolumeTexels, StackBudgetsPadEachAxisToAPowerOfTwo)
{
    struct Case {
        Vec3i dims;
        int bytes;
        Vec3i padded;
        uint64_t total;
        bool fits;
    };
    const Case cases[] = {
        {{300, 300, 300}, 1, {512, 512, 512}, 134217728, true},
        {{300, 300, 300}, 4, {512, 512, 512}, 536870912, true},
        {{1024, 1024, 1024}, 4, {1024, 1024, 1024}, 4294967296ull, false},
        {{5, 3, 1}, 2, {8, 4, 1}, 64, true},
        {{512, 512, 1024}, 8 / 2, {512, 512, 1024}, 1073741824, true},
    };
    for (const Case& c : cases) {
        const StackBudget budget = TextureStackBudget(c.dims, c.bytes);
        EXPECT_EQ(budget.padded, c.padded) << c.dims.x;
        EXPECT_EQ(budget.bytes, c.total) << c.dims.x;
        EXPECT_EQ(budget.fits, c.fits) << c.dims.x;
    }
}

TEST(VolumeTexels, TheStackFacingTheViewerIsDrawnTiesGoingToTheLaterAxis)
{
    struct Case {
        shr::Vec3d direction;
        int axis;
    };
    const Case cases[] = {{{1, 0, 0}, 0}, {{-3, 1, 2}, 0}, {{1, -1, 0}, 1}, {{1, 1, 1}, 2},
                          {{0, -2, 2}, 2}, {{0, -3, 2}, 1}, {{0, 0, 0}, 2}};
    for (const Case& c : cases)
        EXPECT_EQ(SliceAxis(c.direction), c.axis) << c.direction.x << "," << c.direction.y << "," << c.direction.z;
}

TEST(VolumeTexels, BricksOverlapByOneVoxelAndMeetAtTheSameTexel)
{
    // Ten voxels in bricks of at most 4 (a limit of 5 counts as 4): three
    // bricks across X; one each across Y and Z.
    const std::vector<Brick> bricks = BrickLayout(Vec3i(10, 4, 1), Vec3i(5, 4, 4));
    ASSERT_EQ(bricks.size(), 3u);
    const int origins[3] = {0, 3, 6};
    for (size_t b = 0; b < 3; ++b) {
        EXPECT_EQ(bricks[b].origin, Vec3i(origins[b], 0, 0));
        EXPECT_EQ(bricks[b].extent, Vec3i(4, 4, 1));
        EXPECT_EQ(bricks[b].size, Vec3i(4, 4, 1));
    }
    EXPECT_DOUBLE_EQ(bricks[0].box.min.x, 0.0);
    EXPECT_DOUBLE_EQ(bricks[2].box.max.x, 10.0);
    EXPECT_DOUBLE_EQ(bricks[1].box.max.z, 1.0);
    for (size_t b = 0; b + 1 < 3; ++b) {
        const double face = bricks[b].box.max.x;
        EXPECT_DOUBLE_EQ(face, bricks[b + 1].box.min.x);
        // The texel under the face, in lattice voxels, seen from both bricks: a texel centre.
        auto voxel = [face](const Brick& brick) {
            return (face * brick.scale.x + brick.offset.x) * brick.size.x + brick.origin.x - 0.5;
        };
        EXPECT_DOUBLE_EQ(voxel(bricks[b]), voxel(bricks[b + 1]));
        EXPECT_DOUBLE_EQ(voxel(bricks[b]), std::floor(voxel(bricks[b])));
    }
    // Within the driver's limit a volume is one brick, padded.
    const std::vector<Brick> one = BrickLayout(Vec3i(300, 256, 1), Vec3i(2048, 2048, 2048));
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].size, Vec3i(512, 256, 1));
    EXPECT_DOUBLE_EQ(one[0].box.max.x, 300.0);
}

TEST(VolumeTexels, SlicesAndBrickOrderFollowTheView)
{
    EXPECT_EQ(dvr3dTex::SliceCount(0, Vec3i(256, 256, 256)), 443);
    EXPECT_EQ(dvr3dTex::SliceCount(0, Vec3i(1, 1, 1)), 1);
    EXPECT_EQ(dvr3dTex::SliceCount(200, Vec3i(256, 256, 256)), 200);
    const std::vector<Brick> bricks = BrickLayout(Vec3i(7, 1, 1), Vec3i(4, 4, 4));
    ASSERT_EQ(bricks.size(), 2u);
    // Back to front: the brick farther from the viewer first.
    EXPECT_EQ(dvr3dTex::DrawingOrder(bricks, shr::Vec3d(1, 0, 0)), (std::vector<size_t>{0, 1}));
    EXPECT_EQ(dvr3dTex::DrawingOrder(bricks, shr::Vec3d(-1, 0.5, 0)), (std::vector<size_t>{1, 0}));
}

} // namespace
