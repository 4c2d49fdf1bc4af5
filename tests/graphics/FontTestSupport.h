#pragma once
// Shared pieces of the font tests: the scene-graph and font classes set up
// once, and pixel-space drawing of a GLFont.
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/GLFont.h"
#include "core/graphics/InvFont.h"
#include "core/graphics/InvText3.h"
#include "tests/support/PictureSupport.h"
#include "tests/support/TestSupport.h"

#include <GL/gl.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoSeparator.h>

#include <functional>

namespace fonttest {

inline void EnsureFontClasses()
{
    render::EnsureCoinInit();
    core::InvFont::initClass();
    core::InvText3::initClass();
}

inline render::OffscreenContext& Context()
{
    EnsureFontClasses();
    return testsupport::PictureContext();
}

using testsupport::Ink;
using testsupport::InkOf;
using testsupport::SceneRef;

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
    EnsureFontClasses();
    return testsupport::Draw(scene.get(), width, height, shr::Color4b::Black);
}

// `text` drawn with `font` at pixel (x, y).
inline render::Image DrawInPixels(core::GLFont& font, const char* text, double x, double y, int width = 200,
                                  int height = 60)
{
    return DrawInPixelSpace([&] { font.Draw(text, x, y); }, width, height);
}

using Error = testsupport::Raised;
inline constexpr auto& ErrorOf = testsupport::RaisedBy;

} // namespace fonttest
