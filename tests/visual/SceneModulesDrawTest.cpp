// Pictures of the scene modules at work in the network's scene: a clip
// plane opens a shell to show what lies inside, a red light tints a white
// surface, a title stands at its corner of the view whatever the camera,
// and as many clip planes as the driver has draw together, one more failing.
#include "MeshSupport.h"
#include "PictureSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/graphics/SoGLExtension.h"
#include "core/visual/VoAnnotation.h"
#include "core/visual/VoClipPlane.h"
#include "core/visual/VoIsoSurface.h"
#include "core/visual/VoLight.h"
#include "render/Image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using core::VoModule;
using shr::Color4b;

constexpr int kSize = 160; // the pictures' side, as TopDownPicture draws them

// The network's scene seen straight down -Z, `units` scene units across.
render::Image Picture(float units)
{
    return testsupport::TopDownPicture(core::VoNetwork::Instance().SceneRoot().get(), units);
}

bool Blue(const Color4b& c) { return c.b > 40 && c.b >= c.r + 30 && c.b >= c.g + 30; }
bool Red(const Color4b& c) { return c.r > 40 && c.r >= c.g + 30 && c.r >= c.b + 30; }

class SceneModulesDrawTest : public visualtest::ModuleFixture<testsupport::UnshiftedSceneFixture> {
protected:
    // A sphere surface of radius `radius` about the origin, in one colour.
    core::VoIsoSurface* Sphere(double radius, const Color4b& color)
    {
        auto* surface = Add(new core::VoIsoSurface);
        if (!field)
            field = Add(new core::VoLatticeSrc(
                isotest::Sample(isotest::Kind::Uniform, 41, isotest::Sphere).release(), ""));
        Link(surface, field);
        surface->Isovalue(radius * radius);
        surface->ColorMethod(core::VoIsoSurface::Fixed);
        surface->Material().diffuse = color;
        return surface;
    }

    core::VoLatticeSrc* field = nullptr;
};

// Seen from above, a shell cut at z = 0 keeping its lower half shows its red
// core inside the blue bowl; keeping the upper half, or hiding the clip plane,
// shows the shell's blue top.
TEST_F(SceneModulesDrawTest, AClippedShellShowsItsInside)
{
    auto* shell = Sphere(0.8, Color4b(0, 0, 255));
    auto* core = Sphere(0.4, Color4b(255, 0, 0));
    auto* clip = Add(new core::VoClipPlane);
    Link(clip, shell);
    clip->SetOrientation(core::VoClipPlane::AlongZ);
    struct Case {
        bool swap, shown, inside;
    } cases[] = {{true, true, true}, {false, true, false}, {true, false, false}};
    for (const Case& c : cases) {
        clip->Swap(c.swap);
        clip->ShowGeometry(c.shown, false);
        clip->SetModified();
        Pass({shell, core, clip});
        // 40 pixels a unit: the core spans 16 pixels about the centre, the shell 32.
        const render::Image image = Picture(4.0f);
        const Color4b centre = image.At(80, 80), ring = image.At(80 + 24, 80);
        EXPECT_TRUE(c.inside ? Red(centre) : Blue(centre)) << c.swap << c.shown;
        EXPECT_TRUE(Blue(ring)) << c.swap << c.shown << " the shell, outside or in";
        EXPECT_EQ(image.At(80 + 36, 80), Color4b::Black);
    }
}

// A red light on a white surface leaves red alone; a white one lights it grey:
// the light's node reaches the geometry of the other modules.
TEST_F(SceneModulesDrawTest, ARedLightTintsTheSurface)
{
    auto* surface = Sphere(0.8, Color4b::White);
    auto* light = Add(new core::VoLight);
    for (const Color4b& color : {Color4b(255, 0, 0), Color4b::White}) {
        light->Color(color);
        light->SetModified();
        Pass({surface, light});
        const Color4b lit = Picture(4.0f).At(80, 80);
        if (color == Color4b::White) {
            EXPECT_GT(lit.g, 150);
            EXPECT_LE(std::abs(lit.r - lit.g), 2);
        } else {
            EXPECT_GT(lit.r, 150);
            EXPECT_LT(lit.g, 60) << "only the ambient light is not red";
            EXPECT_EQ(lit.g, lit.b);
        }
    }
}

// The yellow pixels' box, in pixels from the top left: left, top, right, bottom.
std::vector<int> Ink(const render::Image& image)
{
    std::vector<int> box = {kSize, kSize, -1, -1};
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x)
            if (const Color4b c = image.At(x, y); c.r > 128 && c.g > 128 && c.b < 100) {
                box = {std::min(box[0], x), std::min(box[1], y), std::max(box[2], x), std::max(box[3], y)};
            }
    return box;
}

// A title 16 pixels high (16 points at the viewport's 72 per inch) stands a
// tenth of the view in from its corner, the same whatever the camera, also
// over a surface that fills the view.
TEST_F(SceneModulesDrawTest, ATitleStandsAtItsCornerOfTheView)
{
    Sphere(0.8, Color4b(0, 0, 255));
    auto* title = Add(new core::VoAnnotation);
    core::VoAnnotation::Block& block = title->GetBlock();
    block.text = "TITLE";
    block.format.m_Height = 16.0;
    block.format.m_Color = Color4b(255, 255, 0);
    block.format.m_Face = "DejaVu Sans";
    block.x = block.y = 0.1f;
    const int near = 16; // the corner's edge, counted in pixels from the border
    for (uint32_t origin : {0u, 1u, 2u, 3u}) {
        block.origin = origin;
        title->SetModified();
        Pass({title});
        const std::vector<int> ink = Ink(Picture(4.0f));
        ASSERT_GE(ink[2], 0) << origin << ": nothing drawn";
        EXPECT_EQ(Ink(Picture(1.0f)), ink) << origin << ": moves with the camera, or hides behind the surface";
        const bool left = origin == core::VoAnnotation::UpperLeft || origin == core::VoAnnotation::LowerLeft;
        const bool upper = origin == core::VoAnnotation::UpperLeft || origin == core::VoAnnotation::UpperRight;
        // Glyphs start at most a few pixels inside the block: the bearing, the
        // space above capitals and below the baseline.
        const int fromSide = left ? ink[0] - near : (kSize - 1 - near) - ink[2];
        const int fromEdge = upper ? ink[1] - near : (kSize - 1 - near) - ink[3];
        EXPECT_GE(fromSide, 0) << origin;
        EXPECT_LE(fromSide, 3) << origin;
        EXPECT_GE(fromEdge, 0) << origin;
        EXPECT_LE(fromEdge, 6) << origin;
        EXPECT_GE(ink[3] - ink[1], 9) << origin << ": capitals of a 16 pixel face";
        EXPECT_GE(ink[2] - ink[0], 40) << origin;
    }
}

// As many clip planes as the driver clips with at once draw together: each
// cuts a thin slab off the same sphere. One more fails with the count, and
// those before it are unharmed; a hidden plane does not count.
TEST_F(SceneModulesDrawTest, AsManyClipPlanesAsTheDriverHasDrawTogether)
{
    const int maximum = core::SoGLExtManager::getInstance()->getMaxClipPlanes();
    VoModule* upstream = Sphere(0.8, Color4b(0, 0, 255));
    std::vector<core::VoClipPlane*> planes;
    const auto addPlane = [&] {
        planes.push_back(Add(new core::VoClipPlane));
        Link(planes.back(), upstream);
        planes.back()->SetOrientation(core::VoClipPlane::AlongX);
        planes.back()->Distance(-0.7 + 0.01 * double(planes.size() - 1));
        upstream = planes.back();
    };
    for (int i = 0; i < maximum; ++i)
        addPlane();
    Pass({upstream});
    const render::Image image = Picture(4.0f);
    EXPECT_TRUE(Blue(image.At(80, 80)));
    EXPECT_EQ(image.At(80 - 26, 80), Color4b::Black) << "the last plane cuts too";

    addPlane();
    RunPass();
    EXPECT_EQ(upstream->GetStatus(), VoModule::ModuleFailed);
    EXPECT_EQ(proxy.LastError(), "The maximum number of clip planes (" + std::to_string(maximum) +
                                     ") has been exceeded.");
    EXPECT_EQ(planes[size_t(maximum) - 1]->GetStatus(), VoModule::ModuleOk);
    planes[0]->ShowGeometry(false, false);
    Pass({upstream});
    EXPECT_EQ(planes.back()->ActivePlaneCount(), maximum);
}

} // namespace
