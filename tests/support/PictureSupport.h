#pragma once
// Pictures in tests, for the areas that draw through render/: one offscreen
// context for the test program, unlit shapes that keep their exact colour,
// PNG files read back through libpng's own reader, and pixel predicates.
#include "core/graphics/InvSmartPtr.h"
#include "render/CoinInit.h"
#include "render/Image.h"
#include "render/OffscreenContext.h"
#include "render/SceneRenderer.h"

#include <GL/gl.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoCube.h>
#include <Inventor/nodes/SoLightModel.h>
#include <Inventor/nodes/SoOrthographicCamera.h>
#include <Inventor/nodes/SoPerspectiveCamera.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoTranslation.h>
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace testsupport {

// Scenes are built before anything is drawn: the scene-graph library must be
// ready before the first test makes a node.
class SceneGraphEnvironment : public ::testing::Environment {
public:
    void SetUp() override { render::EnsureCoinInit(); }
};
inline const ::testing::Environment* const g_SceneGraphEnvironment =
    ::testing::AddGlobalTestEnvironment(new SceneGraphEnvironment);

inline render::OffscreenContext& PictureContext()
{
    static render::OffscreenContext context;
    render::EnsureCoinInit();
    return context;
}

// Holds a scene for one test.
using SceneRef = core::InvSmartPtr<SoNode>;

// `scene` drawn into a width x height picture on `background`.
inline render::Image Draw(SoNode* scene, int width, int height, const shr::Color4b& background)
{
    render::SceneRenderer renderer(PictureContext(), width, height, background);
    return renderer.Render(scene);
}

// Unlit (base colour) shapes keep their exact colour in the picture.
inline SoSeparator* UnlitShape(SoNode* shape, const SbColor& color, const SbVec3f& at = SbVec3f(0, 0, 0))
{
    auto* group = new SoSeparator;
    auto* model = new SoLightModel;
    model->model = SoLightModel::BASE_COLOR;
    auto* base = new SoBaseColor;
    base->rgb = color;
    auto* move = new SoTranslation;
    move->translation = at;
    for (SoNode* node : {static_cast<SoNode*>(model), static_cast<SoNode*>(base), static_cast<SoNode*>(move), shape})
        group->addChild(node);
    return group;
}

// A 2-unit red cube at `at` seen from `distance` along +Z.
inline SoSeparator* RedCubeWithCamera(float distance, const SbVec3f& at = SbVec3f(0, 0, 0))
{
    auto* root = new SoSeparator;
    auto* camera = new SoPerspectiveCamera;
    camera->position = SbVec3f(0, 0, distance);
    camera->nearDistance = 0.1f;
    camera->farDistance = 2.0f * distance;
    root->addChild(camera);
    root->addChild(UnlitShape(new SoCube, SbColor(1, 0, 0), at));
    return root;
}

// Runs `draw` in white inside an orthographic projection of a black width x
// height picture in pixels, unlit, as legends and annotations draw.
inline render::Image DrawInPixelSpace(const std::function<void()>& draw, int width = 200, int height = 60)
{
    struct Call {
        const std::function<void()>* draw;
        int width, height;
    } call{&draw, width, height};
    auto* root = new SoSeparator;
    auto* callback = new SoCallback;
    callback->setCallback(
        [](void* data, SoAction* action) {
            if (!action->isOfType(SoGLRenderAction::getClassTypeId()))
                return;
            const Call& c = *static_cast<const Call*>(data);
            glPushAttrib(GL_ALL_ATTRIB_BITS);
            glMatrixMode(GL_PROJECTION);
            glPushMatrix();
            glLoadIdentity();
            glOrtho(0, c.width, 0, c.height, -1, 1);
            glMatrixMode(GL_MODELVIEW);
            glPushMatrix();
            glLoadIdentity();
            glDisable(GL_LIGHTING);
            glDisable(GL_DEPTH_TEST);
            glColor4f(1, 1, 1, 1);
            (*c.draw)();
            glPopMatrix();
            glMatrixMode(GL_PROJECTION);
            glPopMatrix();
            glMatrixMode(GL_MODELVIEW);
            glPopAttrib();
        },
        &call);
    root->addChild(callback);
    SceneRef scene(root);
    return Draw(scene.get(), width, height, shr::Color4b::Black);
}

// `scene` seen straight down -Z, `units` scene units across a 160 x 160
// picture on black centred on the scene origin.
inline render::Image TopDownPicture(SoNode* scene, float units)
{
    SceneRef root(new SoSeparator);
    auto* camera = new SoOrthographicCamera;
    camera->position = SbVec3f(0, 0, 50);
    camera->height = units;
    camera->nearDistance = 1.0f;
    camera->farDistance = 100.0f;
    static_cast<SoSeparator*>(root.get())->addChild(camera);
    static_cast<SoSeparator*>(root.get())->addChild(scene);
    return Draw(root.get(), 160, 160, shr::Color4b::Black);
}

inline int Brightness(const shr::Color4b& c)
{
    return c.r + c.g + c.b;
}

inline int CountPixels(const render::Image& image, const shr::Color4b& color)
{
    int count = 0;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            count += image.At(x, y) == color;
    return count;
}

// Where something other than the background was drawn, in image columns and
// rows (row 0 at the top); empty when nothing was.
struct Ink {
    int minX = 1 << 30, maxX = -1, minY = 1 << 30, maxY = -1, count = 0;
    bool Empty() const { return count == 0; }
    int Columns() const { return Empty() ? 0 : maxX - minX + 1; }
};

inline Ink InkOf(const render::Image& image, const shr::Color4b& background)
{
    Ink ink;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            if (image.At(x, y) != background) {
                ink.minX = std::min(ink.minX, x);
                ink.maxX = std::max(ink.maxX, x);
                ink.minY = std::min(ink.minY, y);
                ink.maxY = std::max(ink.maxY, y);
                ++ink.count;
            }
    return ink;
}

// Whether every pixel on the image's outermost rows and columns is `color`.
inline bool BordersAre(const render::Image& image, const shr::Color4b& color)
{
    const Ink ink = InkOf(image, color);
    return ink.Empty() || (ink.minX > 0 && ink.minY > 0 && ink.maxX < image.Width() - 1 &&
                           ink.maxY < image.Height() - 1);
}

// A PNG file as read by libpng's own reader, independent of the writer's
// code; an empty image when it cannot be read.
inline render::Image ReadPng(const std::string& path)
{
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&header, path.c_str()))
        return render::Image();
    header.format = PNG_FORMAT_RGBA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(header));
    if (!png_image_finish_read(&header, nullptr, pixels.data(), 0, nullptr)) {
        png_image_free(&header);
        return render::Image();
    }
    return render::Image(static_cast<int>(header.width), static_cast<int>(header.height), std::move(pixels));
}

} // namespace testsupport
