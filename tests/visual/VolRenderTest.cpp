// The volume render module driven through the network and drawn offscreen:
// the opaque region where the data put it, in both texture modes; the
// transfer function changing what is seen; the nearer of two regions in
// front; the compositions and their fallbacks; the resets to 2-D textures;
// the stored form.
#include "PictureSupport.h"
#include "LatticeSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvVolume.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/SoLogMessage.h"
#include "core/visual/VoVolRender.h"
#include "render/Image.h"
#include "shr/Logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

using namespace core;
using shr::Color4b;

namespace {

using NodeValue = std::function<double(unsigned, unsigned, unsigned)>;
using visualtest::Text;

// n x n x nz float nodes over [-1, 1] x [-1, 1] x [-1, 1] (a single layer sits at z = 0).
VdUniformLattice* Cube(unsigned n, unsigned nz, const NodeValue& value)
{
    VdUniformLattice* lattice = testsupport::NodeLattice(n, n, nz, value);
    const double z = nz > 1 ? 1.0 : 0.0;
    lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(-1, -1, -z), shr::Vec3d(1, 1, z)));
    return lattice;
}

// A map of the given colours at positions 0, 0.5 and 1 and opacity nodes.
void SetMap(VoVolRender& module, const Color4b& low, const Color4b& middle, const Color4b& high,
            const std::vector<std::pair<double, double>>& opacity)
{
    VbColorMap& map = module.GetColorMap();
    map.ClearAllNodes();
    map.AddColorNode(0.0, low);
    map.AddColorNode(0.5, middle);
    map.AddColorNode(1.0, high);
    for (const auto& node : opacity)
        map.AddOpacityNode(node.first, node.second);
    module.ColorMapChanged();
    module.SetModified();
}

const Color4b kRed(255, 0, 0), kGreen(0, 255, 0), kBlack(0, 0, 0);

class VolRenderTest : public visualtest::ModuleFixture<testsupport::NetworkFixture> {
protected:
    void TearDown() override
    {
        SoGLExtManager::getInstance()->setDisabled(0);
        NetworkFixture::TearDown();
    }
    // Seen from above: the cube spans pixels 16 to 144 on both axes.
    static render::Image Picture(VoVolRender& module)
    {
        return testsupport::TopDownPicture(module.OutputGeometry(0).GetRoot().get(), 2.5f);
    }
    VoVolRender* Volume(VdLattice* lattice, uint32_t method)
    {
        auto* module = Feed(lattice, new VoVolRender);
        module->Method(method);
        return module;
    }

    testsupport::ErrorProxy proxy;
};

TEST_F(VolRenderTest, OpaqueRegionFollowsTheDataAndTheTransferFunction)
{
    for (const uint32_t method : {VoVolRender::Textures2D, VoVolRender::Textures3D}) {
        SCOPED_TRACE(method);
        // High values in the half x < 0.
        auto* module = Volume(Cube(16, 16, [](unsigned i, unsigned, unsigned) { return i < 8 ? 1.0 : 0.0; }), method);
        Pass({module});
        render::Image image = Picture(*module);
        // The default function: grey ramp, high values opaque, low ones clear.
        EXPECT_GT(image.At(40, 80).r, 200) << Text(image.At(40, 80));
        EXPECT_LT(image.At(120, 80).r, 30) << Text(image.At(120, 80));
        EXPECT_EQ(image.At(80, 5), kBlack) << "nothing beyond the cube";
        if (method == VoVolRender::Textures2D) {
            // The legend's strip starts at the clear end of the map, and is opaque all the same.
            module->GetLegend().Show(true);
            Rerun(module);
            const Color4b strip = Picture(*module).At(10, 150);
            EXPECT_EQ(strip.a, 255) << Text(strip);
            module->GetLegend().Show(false);
        }

        // Now the low values are opaque red and the high ones clear.
        SetMap(*module, kRed, kRed, kGreen, {{0.0, 1.0}, {0.25, 1.0}, {0.75, 0.0}, {1.0, 0.0}});
        RunPass();
        image = Picture(*module);
        EXPECT_LT(image.At(40, 80).g + image.At(40, 80).r, 30) << Text(image.At(40, 80));
        EXPECT_GT(image.At(120, 80).r, 200) << Text(image.At(120, 80));
        EXPECT_LT(image.At(120, 80).g, 30) << Text(image.At(120, 80));
        network().DeleteAllNodes();
    }
    EXPECT_TRUE(proxy.Errors().empty());
}

TEST_F(VolRenderTest, NearerRegionHidesTheFartherAndCompositionsFallBack)
{
    for (const uint32_t method : {VoVolRender::Textures2D, VoVolRender::Textures3D}) {
        SCOPED_TRACE(method);
        // Over the half x < 0: red values in the lower half, green ones above.
        auto* module = Volume(Cube(16, 16, [](unsigned i, unsigned, unsigned k) { return i < 8 ? (k < 8 ? 0.5 : 1.0) : 0.0; }),
                              method);
        SetMap(*module, kBlack, kRed, kGreen, {{0.0, 0.0}, {0.3, 1.0}, {1.0, 1.0}});
        RunPass();
        // Seen from above, drawn back to front: the nearer green hides the red.
        Color4b seen = Picture(*module).At(40, 80);
        EXPECT_TRUE(seen.g > 200 && seen.r < 60) << Text(seen);

        // Maximum and sum intensity both reach full red and full green along the
        // ray; without their blend extensions both draw as alpha blending.
        for (const bool blending : {true, false}) {
            SoGLExtManager::getInstance()->setDisabled(
                blending ? 0 : SoGLExtension::BlendEquation | SoGLExtension::BlendColor);
            for (const uint32_t composition : {VoVolRender::MaximumIntensity, VoVolRender::SumIntensity}) {
                module->CompositionMethod(composition);
                Rerun(module);
                seen = Picture(*module).At(40, 80);
                EXPECT_TRUE(blending ? seen.r > 200 && seen.g > 200 : seen.g > 200 && seen.r < 60)
                    << composition << ": " << Text(seen);
            }
        }
        SoGLExtManager::getInstance()->setDisabled(0);
        network().DeleteAllNodes();
    }
}

TEST_F(VolRenderTest, FallbacksAreLoggedOnceAndStillDraw)
{
    auto* module = Volume(Cube(8, 8, [](unsigned i, unsigned, unsigned) { return i < 4 ? 1.0 : 0.0; }),
                          VoVolRender::Textures3D);
    RunPass();
    ASSERT_EQ(module->Method(), VoVolRender::Textures3D);
    // The context cannot do paletted or 3-D textures after all: the node
    // falls back to RGBA 2-D textures and says so once.
    SoGLExtManager::getInstance()->setDisabled(SoGLExtension::PalettedTexture | SoGLExtension::Texture3D);
    const int level = shr::g_Logger.GetMaxLevel();
    shr::g_Logger.SetMaxLevel(SoLogMessage::kLevel);
    testsupport::LogCapture log;
    for (int drawing = 0; drawing < 2; ++drawing)
        EXPECT_GT(Picture(*module).At(40, 80).r, 200);
    shr::g_Logger.SetMaxLevel(level);
    const auto lines = log.Lines();
    for (const std::string text : {"Turned off paletted textures", "Turned off 3D Textures"})
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [&](const auto& line) { return line.second.find(text) != std::string::npos; }),
                  1)
            << text;
    EXPECT_EQ(module->Volume()->GetRenderMethod(), InvVolume::Textures3D) << "the setting stays";

    // The module's next run learns it and resets itself, with the message.
    Rerun(module);
    EXPECT_EQ(module->Method(), VoVolRender::Textures2D);
    EXPECT_EQ(proxy.LastError(), "VolRender: 3D Texture support is not available on the current hardware.  "
                                 "Resetting to 2D rendering.");
}

TEST_F(VolRenderTest, FlatLatticeResetsToTwoDimensionalTexturesAndDraws)
{
    auto* module = Volume(Cube(8, 1, [](unsigned i, unsigned, unsigned) { return i < 4 ? 1.0 : 0.0; }),
                          VoVolRender::Textures3D);
    Pass({module});
    EXPECT_EQ(module->Method(), VoVolRender::Textures2D);
    ASSERT_EQ(proxy.Errors().size(), 1u);
    EXPECT_EQ(proxy.Errors()[0], "3D volume rendering cannot be used with 2D lattices.  Resetting to 2D rendering.");
    const render::Image image = Picture(*module);
    EXPECT_GT(image.At(40, 80).r, 200);
    EXPECT_LT(image.At(120, 80).r, 30);
}

TEST_F(VolRenderTest, RowsKeepTheirLimitsAndTheStoredFormRoundTrips)
{
    auto* module = Volume(Cube(4, 4, [](unsigned i, unsigned, unsigned) { return double(i); }),
                          VoVolRender::Textures3D);
    Edit(module, {{VoVolRender::IdNumSlices, "0"}, {VoVolRender::IdComposition, "0"},
                  {VoVolRender::IdInterpolation, "0"}, {VoVolRender::IdUsePalette, "0"}, {VoVolRender::IdOpacity, "0.5"}});
    EXPECT_EQ(module->NumSlices(), 1u) << "fewer than one slice is one";
    EXPECT_EQ(module->CompositionMethod(), VoVolRender::MaximumIntensity);
    ASSERT_TRUE(list.IsProp(VoVolRender::IdNumSlices));
    EXPECT_TRUE(list.Visible(VoVolRender::IdNumSlices)) << "3-D textures show their slice count";
    // Stored and loaded alone: a module with links would store its sources too.
    VoVolRender original;
    original.NumSlices(0x017c3b); // a count the stored bytes hold nowhere else
    original.Method(VoVolRender::Textures3D);
    original.CompositionMethod(VoVolRender::MaximumIntensity);
    original.InterpolationMethod(VoVolRender::NearestNeighbor);
    original.UsePalette(false);
    original.Opacity(0.5);
    original.GetColorMap().AddColorNode(0.5, kRed);
    // A cut archive and settings out of range are refused, and change nothing.
    std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(original, {1, 100});
    // The method is stored right after the slice count.
    const unsigned char slices[4] = {0x3b, 0x7c, 0x01, 0};
    const auto at = std::search(bytes.begin(), bytes.end(), slices, slices + 4);
    ASSERT_NE(at, bytes.end());
    at[4] = 7;
    VoVolRender target;
    EXPECT_THROW(testsupport::Load(target, bytes), shr::Exception);
    at[4] = 1;
    at[2] = 0x77; // beyond the row's limit: every frame would draw them all
    EXPECT_THROW(testsupport::Load(target, bytes), shr::Exception);
    std::fill(at, at + 4, 0); // a stored slice count of 0 loads as 1
    EXPECT_EQ(testsupport::Load(target, bytes), 0u);
    EXPECT_EQ(target.NumSlices(), 1u);
}

} // namespace
