#include "tests/support/PictureSupport.h"
#include "tests/support/TestSupport.h"

#include "shr/Exception.h"

#include <GL/gl.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoDirectionalLight.h>
#include <Inventor/nodes/SoMaterial.h>
#include <Inventor/nodes/SoSphere.h>
#include <Inventor/nodes/SoTexture2.h>
#include <gtest/gtest.h>

#include <thread>

using namespace testsupport;
using render::CameraFraming;
using render::Image;
using render::SceneRenderer;

namespace {

const shr::Color4b kRed = shr::Color4b::Red, kBlue = shr::Color4b::Blue;

// A white diffuse sphere with no light of its own, `first` (a camera, light or
// texture of the scene's) ahead of it.
SoSeparator* WhiteSphere(SoNode* first = nullptr)
{
    auto* root = new SoSeparator;
    if (first)
        root->addChild(first);
    auto* material = new SoMaterial;
    material->diffuseColor = SbColor(1, 1, 1);
    material->ambientColor = SbColor(0, 0, 0);
    root->addChild(material);
    root->addChild(new SoSphere);
    return root;
}

struct SizeCase {
    int width, height, samples;
};

TEST(SceneRenderer, PicturesTakeTheirSizeWithTheCubeAtTheCentre)
{
    SceneRef scene(RedCubeWithCamera(10.0f));
    SceneRenderer resized(PictureContext(), 64, 48, kBlue);
    for (const SizeCase size : {SizeCase{64, 64, 0}, SizeCase{120, 40, 0}, SizeCase{33, 97, 0}, SizeCase{64, 48, 4}}) {
        SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " samples " << size.samples);
        SceneRenderer renderer(PictureContext(), size.width, size.height, kBlue, size.samples);
        resized.SetSize(size.width, size.height);
        for (const Image& image : {renderer.Render(scene.get()), resized.Render(scene.get())}) {
            ASSERT_EQ(image.Width(), size.width);
            ASSERT_EQ(image.Height(), size.height);
            EXPECT_EQ(image.At(size.width / 2, size.height / 2), kRed);
            EXPECT_TRUE(BordersAre(image, kBlue));
        }
    }
    for (auto bad : {std::make_pair(0, 10), {10, -1}, {40000, 10}})
        EXPECT_THROW(resized.SetSize(bad.first, bad.second), shr::Exception);
    // A refused size keeps the last good one.
    EXPECT_EQ(resized.Render(scene.get()).Height(), 48);
    for (auto bad : {SizeCase{0, 10, 0}, SizeCase{10, 10, -1}, SizeCase{10, 10, 4096}})
        EXPECT_THROW(SceneRenderer(PictureContext(), bad.width, bad.height, kBlue, bad.samples), shr::Exception)
            << bad.width << "x" << bad.height << " " << bad.samples;
}

TEST(SceneRenderer, HeadlightMakesTheFacingSideBrightestUnlessTheSceneHasALight)
{
    struct Case {
        double azimuth, elevation;
        bool sceneCamera;
    };
    for (const Case c : {Case{0, 0, false}, Case{90, 30, false}, Case{-135, -60, false}, Case{0, 0, true}}) {
        SceneRenderer renderer(PictureContext(), 81, 81, shr::Color4b::Black);
        renderer.SetFraming(CameraFraming(c.azimuth, c.elevation));
        SoPerspectiveCamera* camera = nullptr;
        if (c.sceneCamera) {
            // Looking along -X from the +X side: a world-fixed light would miss.
            camera = new SoPerspectiveCamera;
            camera->position = SbVec3f(6, 0, 0);
            camera->orientation = SbRotation(SbVec3f(0, 1, 0), 1.5707963f);
        }
        SceneRef scene(WhiteSphere(camera));
        const Image image = renderer.Render(scene.get());
        const int centre = Brightness(image.At(40, 40));
        EXPECT_GT(centre, 600) << c.azimuth << " " << c.elevation;
        // Towards the rim the surface turns away from the light.
        for (auto offset : {std::make_pair(18, 0), {-18, 0}, {0, 18}, {0, -18}})
            EXPECT_LT(Brightness(image.At(40 + offset.first, 40 + offset.second)), centre - 100)
                << c.azimuth << " " << c.elevation << " at " << offset.first << "," << offset.second;
    }
    // A light in the scene replaces the headlight: one from +X leaves the left
    // of the default view (north, +X to the right) dark.
    SceneRenderer renderer(PictureContext(), 81, 81, shr::Color4b::Black);
    auto* light = new SoDirectionalLight;
    light->direction = SbVec3f(-1, 0, 0);
    SceneRef scene(WhiteSphere(light));
    const Image image = renderer.Render(scene.get());
    EXPECT_LT(Brightness(image.At(28, 40)) + 100, Brightness(image.At(52, 40)));
}

TEST(SceneRenderer, RepeatedRendersGiveIdenticalPixels)
{
    auto* texture = new SoTexture2; // a cached texture object in the render cache
    const unsigned char checker[] = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255};
    texture->image.setValue(SbVec2s(2, 2), 4, checker);
    auto* root = WhiteSphere(texture);
    root->renderCaching = SoSeparator::ON;
    SceneRef scene(root);
    SceneRenderer renderer(PictureContext(), 50, 40, kBlue);
    renderer.SetFraming(CameraFraming(20, 35, 1.2));
    const Image first = renderer.Render(scene.get());
    SceneRenderer other(PictureContext(), 50, 40, kBlue);
    other.SetFraming(renderer.Framing());
    EXPECT_EQ(other.Render(scene.get()), first);
    EXPECT_EQ(renderer.Render(scene.get()), first);

    // The context follows the renderer to another thread and back.
    PictureContext().ReleaseCurrent();
    Image there;
    std::thread worker([&] {
        there = renderer.Render(scene.get());
        PictureContext().ReleaseCurrent();
    });
    worker.join();
    EXPECT_EQ(there, first);
    EXPECT_EQ(renderer.Render(scene.get()), first);
}

// A scene's own camera is used unless reframing is asked for, and the scene is
// left as it was: an unreferenced root keeps its zero count, a reframed camera
// gets its own values back. The picture comes back top row first: a cube up
// and right of the camera's axis lands in the upper right quarter. A reframed
// orthographic camera is as high as the sphere round the bounding box (radius
// sqrt(3) for the unit sphere): in a 50 pixel high picture the sphere spans
// 50 / sqrt(3) pixels.
TEST(SceneRenderer, SceneCameraIsUsedUnlessReframing)
{
    SceneRenderer renderer(PictureContext(), 60, 60, kBlue);
    SoSeparator* loose = RedCubeWithCamera(60.0f, SbVec3f(6, 6, 0)); // far away: a small cube
    const Image own = renderer.Render(loose);
    EXPECT_EQ(loose->getRefCount(), 0);
    SceneRef scene(loose);
    const int small = CountPixels(own, kRed);
    EXPECT_GT(small, 0);
    EXPECT_LT(small, 60 * 60 / 20);
    const Ink ink = InkOf(own, kBlue);
    EXPECT_GT(ink.minX, 30);
    EXPECT_LT(ink.maxY, 30);

    CameraFraming framing(0, 0, 1);
    framing.SetReframe(true);
    renderer.SetFraming(framing);
    EXPECT_GT(CountPixels(renderer.Render(scene.get()), kRed), 10 * small);
    auto* camera = static_cast<SoPerspectiveCamera*>(loose->getChild(0));
    EXPECT_EQ(camera->position.getValue(), SbVec3f(0, 0, 60));
    EXPECT_EQ(camera->farDistance.getValue(), 120.0f);
    EXPECT_EQ(loose->getNumChildren(), 2);

    auto* root = new SoSeparator;
    root->addChild(new SoOrthographicCamera);
    root->addChild(UnlitShape(new SoSphere, SbColor(1, 0, 0), SbVec3f(-40, 7, 3)));
    SceneRef sphere(root);
    renderer.SetSize(70, 50);
    const Image image = renderer.Render(sphere.get());
    EXPECT_TRUE(BordersAre(image, kBlue));
    for (const auto& [offset, color] : {std::pair(0, kRed), {-12, kRed}, {12, kRed}, {-17, kBlue}, {17, kBlue}})
        EXPECT_EQ(image.At(35, 25 + offset), color) << offset;
}

TEST(SceneRenderer, GlErrorsWhileDrawingThrow)
{
    SceneRenderer renderer(PictureContext(), 16, 16, kBlue);
    auto* root = new SoSeparator;
    auto* callback = new SoCallback;
    callback->setCallback([](void*, SoAction* action) {
        if (action->isOfType(SoGLRenderAction::getClassTypeId()))
            glEnable(0x7fff); // no such capability
    });
    root->addChild(callback);
    SceneRef scene(root);
    EXPECT_NE(RaisedText([&] { renderer.Render(scene.get()); }).find("OpenGL reported GL_INVALID_ENUM"),
              std::string::npos);
    // The error is reported once; the next picture is clean. Empty scenes are all background.
    SceneRef empty(new SoSeparator);
    for (const shr::Color4b background : {shr::Color4b(10, 200, 30), shr::Color4b(1, 2, 3, 128)}) {
        renderer.SetBackground(background);
        for (SoNode* root : {static_cast<SoNode*>(nullptr), empty.get()})
            EXPECT_EQ(CountPixels(renderer.Render(root), background), 16 * 16);
    }
}

} // namespace
