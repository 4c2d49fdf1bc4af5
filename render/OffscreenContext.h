#pragma once
// OffscreenContext: an OpenGL context (compatibility profile) without a window,
// for drawing into framebuffer objects on a machine with no display. It works on
// a software rasteriser (Mesa llvmpipe) and on a GPU's EGL alike.
//
// Platforms, tried in this order by Platform::Any:
//   Surfaceless  Mesa's surfaceless EGL platform: no native display at all;
//   Device       the first EGL device that initialises (GPU drivers without the
//                surfaceless platform);
//   Default      eglGetDisplay(EGL_DEFAULT_DISPLAY).
// On each, the context is made current without a surface when the display
// supports surfaceless contexts; otherwise a 1x1 pbuffer is created and made
// current with it (nothing is ever drawn into it: drawing goes to a
// Framebuffer). On a machine with Mesa and no display (llvmpipe), Any gives
// Surfaceless without a pbuffer; Device and the pbuffer work there too, while
// Default fails when there is no window system to connect to.
//
// Displays stay initialised for the life of the process: EGL's initialisation
// is not counted, so terminating one display would end every other context on
// it, and terminating the last unloads the driver, which then has to be loaded
// again for the next context and loses what the driver keeps in its globals.
// EGL itself finishes its displays at exit.
//
// A context is current on one thread at a time; MakeCurrent moves it to the
// calling thread. Failures throw shr::Exception naming the EGL call and its
// error code.
#include "shr/GString.h"

namespace render {

class OffscreenContext {
public:
    enum class Platform { Any, Surfaceless, Device, Default };
    // Auto makes the context current without a surface where the display
    // allows it; Pbuffer always uses the 1x1 pbuffer (to exercise that path
    // on displays that would not need it).
    enum class Surface { Auto, Pbuffer };

    // Creates the context and makes it current on the calling thread.
    explicit OffscreenContext(Platform platform = Platform::Any, Surface surface = Surface::Auto);
    ~OffscreenContext();
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

    void MakeCurrent() const;
    // Leaves the calling thread with no current context, if this one is current.
    void ReleaseCurrent() const;
    bool IsCurrent() const;

    // The platform that gave the context (never Any), and whether a pbuffer
    // stands in for the missing surfaceless support.
    Platform UsedPlatform() const { return m_Platform; }
    bool UsesPbuffer() const { return m_Surface != nullptr; }
    // GL_RENDERER and GL_VERSION of the context, for logs.
    shr::GString Description() const;

    static const char* PlatformName(Platform platform);
    // Throws unless some OpenGL context is current on the calling thread;
    // `operation` names what needed it.
    static void RequireCurrent(const char* operation);

private:
    void Create(Platform platform, Surface surface);
    void CreateOnDisplay(void* display, Surface surface);
    void Destroy() noexcept;

    // EGLDisplay, EGLContext, EGLSurface: kept opaque so that users of this
    // header need no EGL headers.
    void* m_Display = nullptr;
    void* m_Context = nullptr;
    void* m_Surface = nullptr;
    Platform m_Platform = Platform::Any;
};

} // namespace render
