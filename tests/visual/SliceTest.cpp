// The slice modules driven through the network: textures with the colour
// map's or the grey window's colours at the right texels, the sampling of the
// oblique plane, and the stored forms.
#include "LatticeSupport.h"
#include "PictureSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/visual/SliceMapping.h"
#include "core/visual/VoHeightField.h"
#include "core/visual/VoObliqueSlice.h"
#include "core/visual/VoOrthoSlice.h"
#include "render/Image.h"
#include "shr/Exception.h"

#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/nodes/SoFaceSet.h>
#include <Inventor/nodes/SoTexture2.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

using namespace core;
using shr::Color4b;
using shr::Vec3d;

namespace {

using visualtest::First;
using visualtest::Near;
using visualtest::Root;

// The first texture of the module's output, its texels row by row from the bottom.
struct Texture {
    int width = 0, height = 0;
    std::vector<Color4b> texels;
};

Texture TextureOf(const VoModule& module)
{
    Texture texture;
    if (auto* node = First<SoTexture2>(module)) {
        SbVec2s size;
        int components = 0;
        const unsigned char* bytes = node->image.getValue(size, components);
        texture.width = size[0];
        texture.height = size[1];
        for (int t = 0; t < texture.width * texture.height; ++t)
            texture.texels.emplace_back(bytes[4 * t], bytes[4 * t + 1], bytes[4 * t + 2], bytes[4 * t + 3]);
    }
    return texture;
}

class SliceTest : public visualtest::ModuleFixture<testsupport::NetworkFixture> {
protected:
    static render::Image Picture(VoModule& module, float units) { return testsupport::TopDownPicture(Root(module), units); }

    testsupport::ErrorProxy proxy;
};

// 4 x 2 x 3 nodes: value i + 10 k, so the XY slice k shows 10 k .. 10 k + 3
// along X. The default map runs black to white over 0 .. 23.
TEST_F(SliceTest, OrthoSliceShowsTheMapsColoursAtTheTexels)
{
    auto* slice = Feed(testsupport::NodeLattice(4, 2, 3, [](unsigned i, unsigned, unsigned k) { return i + 10.0 * k; }),
                       new VoOrthoSlice);
    slice->Lighting(false);
    slice->Quality(0.05); // nearest texels; 0 would turn texturing off
    slice->Slice(1);
    Pass({slice});
    // The quad spans 3 x 1 units centred on the origin; 40 pixels a unit.
    const auto expectTexels = [&](const std::function<Color4b(int)>& expected) {
        const render::Image image = Picture(*slice, 4.0f);
        for (int i = 0; i < 4; ++i) {
            const Color4b seen = image.At(int(80 + 40 * (-1.5 + (i + 0.5) * 0.75)), 80);
            EXPECT_TRUE(Near(seen, expected(i))) << "texel " << i << ": " << visualtest::Text(seen);
        }
        EXPECT_EQ(image.At(80, 10), Color4b::Black) << "nothing above the slice";
    };
    expectTexels([&](int i) { return slice->GetColorMap().DatToColor(10.0 + i); });

    // The grey window: 10 .. 14 spans black to white.
    slice->Mapping().method = SliceMapping::Linear;
    slice->Mapping().width = 4.0;
    slice->Mapping().centre = 12.0;
    Rerun(slice);
    const int levels[4] = {0, 63, 127, 191};
    expectTexels([&](int i) { return Color4b(levels[i], levels[i], levels[i]); });
}

TEST_F(SliceTest, OrthoTexturesHaveTheSliceSizeAndValues)
{
    // Value = i + 10 j + 100 k on 4 x 3 x 2 nodes.
    auto* lattice = testsupport::NodeLattice(4, 3, 2, [](unsigned i, unsigned j, unsigned k) { return i + 10.0 * j + 100.0 * k; });
    std::unique_ptr<VdUniformLattice> owner(lattice);
    const LinearColorInterpolator identity(0.0, 1.0);
    struct Case {
        unsigned int orientation, slice;
        int width, height;
        std::vector<int> firstRow;
    };
    const Case cases[] = {
        {VoOrthoSlice::OrientXY, 1, 4, 3, {100, 101, 102, 103}},
        {VoOrthoSlice::OrientXZ, 2, 4, 2, {20, 21, 22, 23}},
        {VoOrthoSlice::OrientYZ, 3, 3, 2, {3, 13, 23}},
    };
    for (const Case& c : cases) {
        int width = 0, height = 0;
        std::vector<Color4b> pixels;
        VoOrthoSlice::CollectSlice(*lattice, c.orientation, c.slice, 0, identity, width, height, pixels);
        EXPECT_EQ(width, c.width);
        EXPECT_EQ(height, c.height);
        for (size_t t = 0; t < c.firstRow.size(); ++t)
            EXPECT_EQ(pixels[t].r, std::min(c.firstRow[t], 255)) << c.orientation << " texel " << t;
        EXPECT_EQ(VoOrthoSlice::GetSliceCount(lattice, c.orientation), (c.orientation == 0 ? 2u : c.orientation == 1 ? 3u : 4u));
    }
    int width = 0, height = 0;
    std::vector<Color4b> pixels;
    EXPECT_THROW(VoOrthoSlice::CollectSlice(*lattice, 3, 0, 0, identity, width, height, pixels), shr::Exception);
}

TEST_F(SliceTest, OrthoSliceFallsBackToTheMiddleAndSitsAtAFlatAxisMinimum)
{
    auto* flat = testsupport::NodeLattice(3, 3, 1, [](unsigned i, unsigned, unsigned) { return double(i); }, Vec3d(0, 0, 5));
    auto* slice = Feed(flat, new VoOrthoSlice);
    slice->Slice(7);
    RunPass();
    EXPECT_EQ(slice->Slice(), 0);
    SoGetBoundingBoxAction measure(SbViewportRegion(100, 100));
    measure.apply(Root(*slice));
    EXPECT_FLOAT_EQ(measure.getBoundingBox().getMin()[2], 5.0f);
    EXPECT_FLOAT_EQ(measure.getBoundingBox().getMax()[2], 5.0f);
    EXPECT_TRUE(proxy.Errors().empty());
}

// Rows count from 1; the lowest int names no slice, as every value below 1
// does, and the middle one is drawn (the row's arithmetic must not overflow).
TEST_F(SliceTest, SliceRowsBelowOneDrawTheMiddle)
{
    const auto lattice = [] { return testsupport::NodeLattice(2, 2, 5, [](unsigned, unsigned, unsigned k) { return double(k); }); };
    auto* ortho = Feed(lattice(), new VoOrthoSlice);
    auto* height = Feed(lattice(), new VoHeightField);
    for (const char* row : {"-2147483648", "0", "4"}) {
        SCOPED_TRACE(row);
        const int expected = std::string(row) == "4" ? 3 : 2;
        Edit(ortho, {{VoOrthoSlice::IdSlice, row}});
        EXPECT_EQ(ortho->Slice(), expected);
        Edit(height, {{VoHeightField::IdSlice, row}});
        EXPECT_EQ(height->Slice(), expected);
    }
}

TEST_F(SliceTest, OrthoSliceReportsANonUniformLattice)
{
    const unsigned int dims[3] = {2, 2, 2};
    const float values[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    auto* lattice = new VdRectilinearLattice(shr::Float, dims, values, 1, std::vector<double>{0, 1},
                                             std::vector<double>{0, 1}, std::vector<double>{0, 3});
    source = Add(new VoLatticeSrc(lattice, ""));
    auto* slice = Add(new VoOrthoSlice);
    if (!network().ConnectNodes(*slice, source, 0, true))
        GTEST_SKIP() << "the port refuses the link itself";
    Pass({slice});
    ASSERT_EQ(proxy.Errors().size(), 1u);
    EXPECT_EQ(proxy.Errors()[0], "Type mismatch: OrthoImage requires a uniform lattice for input.");
}

TEST_F(SliceTest, ObliqueTextureSizesFollowTheResolution)
{
    const int sizes[4] = {128, 256, 512, 1024};
    for (unsigned int r = 0; r < 4; ++r)
        EXPECT_EQ(VoObliqueSlice::TextureSize(r), sizes[r]);
    struct Case {
        double across, up;
        int size, width, height;
    };
    const Case cases[] = {
        {2, 2, 256, 256, 256}, {4, 2, 256, 256, 128}, {2, 4, 512, 256, 512},
        {3, 1, 128, 128, 64},  {100, 1, 1024, 1024, 64}, {3, 2, 128, 128, 85},
    };
    for (const Case& c : cases) {
        const std::vector<Vec3d> rectangle = {{0, 0, 1}, {c.across, 0, 1}, {c.across, c.up, 1}, {0, c.up, 1}};
        const VoObliqueSlice::TexelGrid grid = VoObliqueSlice::MakeTexelGrid(rectangle, {0, 0, 1}, c.size);
        EXPECT_EQ(grid.width, c.width) << c.across << " x " << c.up;
        EXPECT_EQ(grid.height, c.height) << c.across << " x " << c.up;
        // The texel grid's corners land on the rectangle's, and back.
        const Vec3d far = Vec3d(grid.width, grid.height, 0) * grid.toLattice;
        EXPECT_NEAR((far - Vec3d(c.across, c.up, 1)).Length(), 0.0, 1e-9);
        const Vec3d texel = Vec3d(c.across, c.up, 1) * grid.toTexels;
        EXPECT_NEAR(texel.x, grid.width, 1e-9);
        EXPECT_NEAR(texel.y, grid.height, 1e-9);
    }
    const std::vector<Vec3d> line = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
    EXPECT_EQ(VoObliqueSlice::MakeTexelGrid(line, {0, 0, 1}, 128).width, 0);
}

// A tilted plane through a lattice and through the same lattice moved by its
// user transform (and, separately, by its own coordinates) samples the same.
TEST_F(SliceTest, ObliqueSliceOfAMovedLatticeSamplesTheSameValues)
{
    const auto f = [](unsigned i, unsigned j, unsigned k) { return std::sin(0.7 * i) + 0.3 * j * j - 0.2 * k; };
    auto* still = Feed(testsupport::NodeLattice(9, 7, 5, f), new VoObliqueSlice);
    auto* moved = testsupport::NodeLattice(9, 7, 5, f);
    moved->SetUserTransform(shr::Mat4d::MakeTranslation(5e5, 4e6, -300.0));
    auto* carried = Feed(moved, new VoObliqueSlice);
    auto* shifted = Feed(testsupport::NodeLattice(9, 7, 5, f, Vec3d(-40, 12, 3)), new VoObliqueSlice);
    for (VoObliqueSlice* slice : {still, carried, shifted}) {
        slice->Plane().Orientation(3);
        slice->Plane().Normal(Vec3d(0.3, -0.5, 1.0));
        slice->Plane().Offset(0.4);
        slice->Interpolate(true);
        slice->SetResolution(VoObliqueSlice::Coarse);
    }
    RunPass();
    const Texture a = TextureOf(*still);
    ASSERT_EQ(a.width, 128);
    // The texels differ among themselves: the plane really samples the data.
    EXPECT_NE(a.texels.front(), a.texels[a.texels.size() / 2 + a.width / 2]);
    for (VoObliqueSlice* other : {carried, shifted}) {
        const Texture b = TextureOf(*other);
        ASSERT_EQ(b.width, a.width);
        ASSERT_EQ(b.height, a.height);
        int differing = 0;
        for (size_t t = 0; t < a.texels.size(); ++t)
            differing += !Near(a.texels[t], b.texels[t]);
        EXPECT_EQ(differing, 0);
    }
}

TEST_F(SliceTest, ObliquePlaneThatMissesDrawsNothingAndFlatLatticesDrawWhole)
{
    auto* cube = Feed(testsupport::NodeLattice(3, 3, 3, [](unsigned i, unsigned, unsigned) { return double(i); }), new VoObliqueSlice);
    auto* flat = Feed(testsupport::NodeLattice(4, 4, 1, [](unsigned i, unsigned, unsigned) { return double(i); }), new VoObliqueSlice);
    RunPass();
    // The new input set the flat lattice's plane; an offset far off changes nothing there.
    EXPECT_EQ(flat->Plane().Orientation(), 0u);
    for (VoObliqueSlice* slice : {cube, flat}) {
        slice->Plane().Offset(5.0);
        slice->SetModified();
    }
    Pass({cube});
    EXPECT_EQ(cube->Plane().Offset(), 5.0);
    EXPECT_EQ(First<SoFaceSet>(*cube), nullptr);
    auto* face = First<SoFaceSet>(*flat);
    ASSERT_NE(face, nullptr);
    EXPECT_EQ(face->numVertices[0], 4);
    EXPECT_TRUE(proxy.Errors().empty());
}

// Blank nodes have no value: their texels take the map's first colour, under
// the grey window too.
TEST_F(SliceTest, ObliqueTexelsWithoutDataShowTheMapsStart)
{
    auto* lattice = testsupport::NodeLattice(2, 2, 2, [](unsigned, unsigned, unsigned) { return 6.0; });
    for (unsigned int node = 0; node < 8; node += 2)
        lattice->SetBlank(node, 0); // every node with i = 0
    auto* slice = Feed(lattice, new VoObliqueSlice);
    VbColorMap& map = slice->GetColorMap();
    map.ClearColorNodes();
    map.AddColorNode(0.0, Color4b(255, 0, 0));
    map.AddColorNode(1.0, Color4b(0, 0, 255));
    slice->Mapping().method = SliceMapping::Linear;
    slice->Mapping().width = 4.0;
    slice->Mapping().centre = 5.0; // 6.0 is three quarters up the window
    slice->SetResolution(VoObliqueSlice::Coarse);
    RunPass();
    const Texture texture = TextureOf(*slice);
    ASSERT_EQ(texture.width, 128);
    EXPECT_EQ(texture.texels[0], Color4b(255, 0, 0));
    EXPECT_EQ(texture.texels[127], Color4b(191, 191, 191));
}

// The levels of a window of some width are seen in the pictures above.
TEST(SliceMapping, GreyWindowAndItsThreshold)
{
    SliceMapping mapping;
    mapping.FillWindow(-2.0, 6.0);
    EXPECT_EQ(mapping.width, 8.0);
    EXPECT_EQ(mapping.centre, 2.0);
    mapping.FillWindow(0.0, 1.0); // known already: kept
    EXPECT_EQ(mapping.width, 8.0);

    mapping.method = SliceMapping::Linear;
    mapping.width = 0.0;
    mapping.centre = 5.0;
    EXPECT_EQ(mapping.Factor(), 2139095040.0);
    VbColorMap map(nullptr, 0, 256);
    const std::unique_ptr<ColorInterpolator> grey = mapping.MakeInterpolator(map);
    EXPECT_EQ((*grey)(4.9).r, 0);
    EXPECT_EQ((*grey)(5.0).r, 0);
    EXPECT_EQ((*grey)(5.000001).r, 255);
}

// Stored again, a copy gives the same bytes, and a cut anywhere leaves a
// slice as it was. What the rows refuse is refused in a document (below), so
// each field is read where it is written.
TEST(SliceStoredForm, RoundTripsAndFailsWhole)
{
    VoOrthoSlice ortho;
    ortho.Orientation(2);
    ortho.Slice(4);
    ortho.Lighting(false);
    ortho.Quality(0.8);
    ortho.Opacity(0.25);
    ortho.Mapping().method = SliceMapping::Linear;
    ortho.Mapping().width = 3.0;
    ortho.GetColorMap().SetScalingLimits(-1.0, 9.0);
    testsupport::ExpectRoundTrip(ortho, {5, 60});

    VoObliqueSlice oblique;
    oblique.SetResolution(VoObliqueSlice::VeryFine);
    oblique.Interpolate(true);
    oblique.Opacity(0.5);
    oblique.Mapping().centre = 7.0;
    oblique.Plane().Normal(Vec3d(1, 1, 0));
    oblique.Plane().Orientation(3);
    oblique.Plane().Offset(0.125);
    const size_t size = testsupport::ExpectRoundTrip(oblique, {2, 60, 200}).size();
    EXPECT_GT(size, 200u);
}

// What the rows would refuse is refused in a document too.
TEST(SliceStoredForm, LoadingRefusesWhatTheRowsWouldNotTake)
{
    testsupport::ExpectDamageRefused<VoOrthoSlice>({
        {"orientation", [](VoOrthoSlice& s) { s.Orientation(3); }},
        {"slice", [](VoOrthoSlice& s) { s.Slice(2147483647); }},
        {"quality", [](VoOrthoSlice& s) { s.Quality(std::nan("")); }},
        {"opacity", [](VoOrthoSlice& s) { s.Opacity(-0.5); }},
        {"mapping", [](VoOrthoSlice& s) { s.Mapping().method = SliceMapping::Method(2); }},
    });
    testsupport::ExpectDamageRefused<VoObliqueSlice>({
        {"resolution", [](VoObliqueSlice& s) { s.SetResolution(4); }},
        {"opacity", [](VoObliqueSlice& s) { s.Opacity(1.5); }},
        {"normal", [](VoObliqueSlice& s) { s.Plane().Normal(Vec3d(0, 0, 0)); }},
    });
}

} // namespace
