#pragma once
// Shared pieces of the font tests: the scene-graph and font classes set up
// once, one offscreen context for the program, pixel-space drawing of a
// GLFont, and pixel predicates.
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/GLFont.h"
#include "core/graphics/InvFont.h"
#include "core/graphics/InvText3.h"
#include "render/CoinInit.h"
#include "render/Image.h"
#include "render/OffscreenContext.h"
#include "render/SceneRenderer.h"
#include "shr/Exception.h"

#include <GL/gl.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoSeparator.h>

#include <functional>
#include <string>

namespace fonttest {

inline void EnsureFontClasses()
{
    render::EnsureCoinInit();
    core::InvFont::initClass();
    core::InvText3::initClass();
}

inline render::OffscreenContext& Context()
{
    static render::OffscreenContext context;
    EnsureFontClasses();
    return context;
}

// Holds a scene for one test.
using SceneRef = core::InvSmartPtr<SoNode>;

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

// Draws `text` with `font` in white at pixel (x, y) of a black width x height
// picture, inside an orthographic projection of the viewport in pixels, as
// legends and annotations do.
inline render::Image DrawInPixels(core::GLFont& font, const char* text, double x, double y, int width = 200,
                                  int height = 60)
{
    struct Call {
        core::GLFont* font;
        const char* text;
        double x, y;
        int width, height;
    } call{&font, text, x, y, width, height};
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
            c.font->Draw(c.text, c.x, c.y);
            glPopMatrix();
            glMatrixMode(GL_PROJECTION);
            glPopMatrix();
            glMatrixMode(GL_MODELVIEW);
            glPopAttrib();
        },
        &call);
    root->addChild(callback);
    SceneRef scene(root);
    render::SceneRenderer renderer(Context(), width, height, shr::Color4b::Black);
    return renderer.Render(scene.get());
}

// The code and message of the shr::Exception `action` throws; code -1 when none.
struct Error {
    int code = -1;
    std::string message;
};

inline Error ErrorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return {e.Code(), e.Message()};
    }
    return {};
}

} // namespace fonttest
