#pragma once
// SceneRenderer: draws a scene graph into an offscreen framebuffer and reads
// the picture back. A host draws the network's scene root with it between
// passes, never while a pass runs (the scene graph is not thread safe).
//
// Each renderer has its own render action with its own cache context, so the
// GL objects the scene graph caches (display lists, textures) are made for, and
// reused in, this renderer's context only. The renderer must be destroyed
// before its OffscreenContext.
#include "render/CameraFraming.h"
#include "render/Image.h"
#include "shr/Color4b.h"

#include <memory>

class SoGLRenderAction;
class SoNode;
class SoSeparator;

namespace render {

class Framebuffer;
class OffscreenContext;

class SceneRenderer {
public:
    // Makes `context` current, initialises the scene-graph library and creates
    // a width x height framebuffer (multisampled when samples > 0). Throws on a
    // size or sample count the driver refuses.
    SceneRenderer(OffscreenContext& context, int width, int height,
                  const shr::Color4b& background = shr::Color4b::Black, int samples = 0);
    ~SceneRenderer();
    SceneRenderer(const SceneRenderer&) = delete;
    SceneRenderer& operator=(const SceneRenderer&) = delete;

    int Width() const;
    int Height() const;
    void SetSize(int width, int height);

    const shr::Color4b& Background() const { return m_Background; }
    void SetBackground(const shr::Color4b& color) { m_Background = color; }

    const CameraFraming& Framing() const { return m_Framing; }
    void SetFraming(const CameraFraming& framing) { m_Framing = framing; }

    // The action, for settings such as the transparency type (sorted object
    // blending by default).
    SoGLRenderAction& Action() { return *m_Action; }

    // Clears to the background and draws `root` (null draws the background
    // only). A camera framed on the scene is added unless the scene has its own
    // (see CameraFraming), and a headlight along the view when it has no light.
    // The scene is left as it was, its reference count included. Throws when
    // the context cannot be made current or OpenGL reports an error.
    Image Render(SoNode* root);

private:
    void DrawScene(SoNode* root);
    SoSeparator* BuildView(SoNode* root, SoCamera*& sceneCamera);

    OffscreenContext& m_Context;
    std::unique_ptr<Framebuffer> m_Framebuffer;
    std::unique_ptr<SoGLRenderAction> m_Action;
    unsigned m_CacheContext;
    shr::Color4b m_Background;
    CameraFraming m_Framing;
};

} // namespace render
