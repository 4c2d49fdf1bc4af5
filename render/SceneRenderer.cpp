#include "render/SceneRenderer.h"

#include "render/CoinInit.h"
#include "render/Framebuffer.h"
#include "render/GlCheck.h"
#include "render/OffscreenContext.h"
#include "render/RenderError.h"

#include <Inventor/SbViewportRegion.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/elements/SoGLCacheContextElement.h>
#include <Inventor/misc/SoContextHandler.h>
#include <Inventor/nodes/SoDirectionalLight.h>
#include <Inventor/nodes/SoPerspectiveCamera.h>
#include <Inventor/nodes/SoSeparator.h>

#include <GL/gl.h>

#include <climits>

namespace render {

namespace {

// Viewport regions hold 16-bit sizes.
void CheckViewportSize(int width, int height)
{
    if (width > SHRT_MAX || height > SHRT_MAX)
        RENDER_THROW("A view cannot be %d x %d pixels (at most %d a side).", width, height, SHRT_MAX);
}

float Channel(unsigned char value)
{
    return static_cast<float>(value) / 255.0f;
}

void ClearTo(const shr::Color4b& color)
{
    // The scene graph may leave masks and the scissor test as its last node
    // wanted them; a clear must reach every pixel of every buffer.
    glDisable(GL_SCISSOR_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glStencilMask(~0u);
    glClearColor(Channel(color.r), Channel(color.g), Channel(color.b), Channel(color.a));
    glClearDepth(1.0);
    glClearStencil(0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

// The render action takes the depth test and the matrices as it finds them and
// assumes the state a window's scene manager leaves: depth test on, less than,
// identity matrices.
void PrepareForAction()
{
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

// What one drawing adds around the caller's scene, and undoes afterwards: the
// view separator, a reference that keeps a scene with a zero count alive while
// it is a child, and the scene camera's own values when it was reframed.
class ViewScope {
public:
    explicit ViewScope(SoNode* root) : m_Root(root), m_View(new SoSeparator)
    {
        m_Root->ref();
        m_View->ref();
    }
    ~ViewScope()
    {
        if (m_SceneCamera) {
            m_SceneCamera->copyFieldValues(m_Saved);
            m_Saved->unref();
        }
        m_View->unref();
        m_Root->unrefNoDelete();
    }
    ViewScope(const ViewScope&) = delete;
    ViewScope& operator=(const ViewScope&) = delete;

    SoSeparator* View() const { return m_View; }
    void KeepValuesOf(SoCamera* camera)
    {
        m_SceneCamera = camera;
        m_Saved = static_cast<SoCamera*>(camera->copy());
        m_Saved->ref();
    }

private:
    SoNode* m_Root;
    SoSeparator* m_View;
    SoCamera* m_SceneCamera = nullptr;
    SoCamera* m_Saved = nullptr;
};

} // namespace

SceneRenderer::SceneRenderer(OffscreenContext& context, int width, int height, const shr::Color4b& background,
                             int samples)
    : m_Context(context), m_Background(background)
{
    CheckViewportSize(width, height);
    EnsureCoinInit();
    m_Context.MakeCurrent();
    m_Framebuffer = std::make_unique<Framebuffer>(width, height, samples);
    m_Action = std::make_unique<SoGLRenderAction>(SbViewportRegion(width, height));
    m_CacheContext = SoGLCacheContextElement::getUniqueCacheContext();
    m_Action->setCacheContext(m_CacheContext);
    m_Action->setTransparencyType(SoGLRenderAction::SORTED_OBJECT_BLEND);
}

SceneRenderer::~SceneRenderer()
{
    // The scene graph frees what it cached for this cache context; that needs
    // the context current. Without it the context's own teardown frees them.
    try {
        m_Context.MakeCurrent();
        SoContextHandler::destructingContext(m_CacheContext);
    } catch (const shr::Exception&) {
    }
    m_Action.reset();
    m_Framebuffer.reset();
}

int SceneRenderer::Width() const
{
    return m_Framebuffer->Width();
}

int SceneRenderer::Height() const
{
    return m_Framebuffer->Height();
}

void SceneRenderer::SetSize(int width, int height)
{
    CheckViewportSize(width, height);
    m_Context.MakeCurrent();
    m_Framebuffer->Resize(width, height);
}

Image SceneRenderer::Render(SoNode* root)
{
    m_Context.MakeCurrent();
    m_Framebuffer->Bind();
    ClearGlErrors();
    ClearTo(m_Background);
    if (root)
        DrawScene(root);
    CheckGlErrors("drawing the scene");
    return m_Framebuffer->ReadPixels();
}

void SceneRenderer::DrawScene(SoNode* root)
{
    const SbViewportRegion viewport(static_cast<short>(Width()), static_cast<short>(Height()));
    ViewScope scope(root);
    SoSeparator* view = scope.View();

    // A light met before any camera is fixed in eye space: a headlight that
    // follows whichever camera the scene is seen through.
    if (!CameraFraming::HasLight(root)) {
        auto* headlight = new SoDirectionalLight;
        headlight->direction = SbVec3f(0.0f, 0.0f, -1.0f);
        view->addChild(headlight);
    }
    SoCamera* camera = CameraFraming::FindCamera(root);
    if (!camera || m_Framing.Reframe()) {
        SoGetBoundingBoxAction bounds(viewport);
        bounds.apply(root);
        if (camera) {
            scope.KeepValuesOf(camera);
        } else {
            camera = new SoPerspectiveCamera;
            view->addChild(camera);
        }
        m_Framing.Apply(*camera, bounds.getBoundingBox(), viewport.getViewportAspectRatio());
    }
    view->addChild(root);

    m_Action->setViewportRegion(viewport);
    PrepareForAction();
    m_Action->apply(view);
    // Nodes that draw into framebuffers of their own may leave another bound.
    m_Framebuffer->Bind();
}

} // namespace render
