#include "render/OffscreenContext.h"

#include "render/RenderError.h"
#include "shr/StringUtil.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>

#include <cstring>

namespace render {

namespace {

const char* EglErrorName(EGLint code)
{
    switch (code) {
    case EGL_SUCCESS: return "EGL_SUCCESS";
    case EGL_NOT_INITIALIZED: return "EGL_NOT_INITIALIZED";
    case EGL_BAD_ACCESS: return "EGL_BAD_ACCESS";
    case EGL_BAD_ALLOC: return "EGL_BAD_ALLOC";
    case EGL_BAD_ATTRIBUTE: return "EGL_BAD_ATTRIBUTE";
    case EGL_BAD_CONFIG: return "EGL_BAD_CONFIG";
    case EGL_BAD_CONTEXT: return "EGL_BAD_CONTEXT";
    case EGL_BAD_CURRENT_SURFACE: return "EGL_BAD_CURRENT_SURFACE";
    case EGL_BAD_DISPLAY: return "EGL_BAD_DISPLAY";
    case EGL_BAD_MATCH: return "EGL_BAD_MATCH";
    case EGL_BAD_NATIVE_PIXMAP: return "EGL_BAD_NATIVE_PIXMAP";
    case EGL_BAD_NATIVE_WINDOW: return "EGL_BAD_NATIVE_WINDOW";
    case EGL_BAD_PARAMETER: return "EGL_BAD_PARAMETER";
    case EGL_BAD_SURFACE: return "EGL_BAD_SURFACE";
    case EGL_CONTEXT_LOST: return "EGL_CONTEXT_LOST";
    default: return "unknown EGL error";
    }
}

[[noreturn]] void ThrowEglError(const char* call)
{
    const EGLint code = eglGetError();
    RENDER_THROW("%s failed: %s (0x%04x).", call, EglErrorName(code), static_cast<unsigned>(code));
}

bool HasExtension(const char* list, const char* name)
{
    if (!list)
        return false;
    const size_t length = std::strlen(name);
    for (const char* p = std::strstr(list, name); p; p = std::strstr(p + length, name)) {
        const bool startsWord = p == list || p[-1] == ' ';
        const bool endsWord = p[length] == ' ' || p[length] == '\0';
        if (startsWord && endsWord)
            return true;
    }
    return false;
}

bool HasClientExtension(const char* name)
{
    const char* list = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (!list)
        eglGetError(); // EGL 1.4 without client extensions: clear the error
    return HasExtension(list, name);
}

template <class Function>
Function LoadEgl(const char* name)
{
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

EGLDisplay SurfacelessDisplay()
{
    if (!HasClientExtension("EGL_MESA_platform_surfaceless"))
        RENDER_THROW("The EGL client lacks EGL_MESA_platform_surfaceless.");
    auto getPlatformDisplay = LoadEgl<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
    if (!getPlatformDisplay)
        RENDER_THROW("The EGL client lacks eglGetPlatformDisplayEXT.");
    EGLDisplay display = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (display == EGL_NO_DISPLAY)
        ThrowEglError("eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA)");
    return display;
}

// The first device whose display initialises; it is returned initialised.
EGLDisplay DeviceDisplay()
{
    if (!HasClientExtension("EGL_EXT_platform_device") || !HasClientExtension("EGL_EXT_device_enumeration"))
        RENDER_THROW("The EGL client lacks EGL_EXT_platform_device or EGL_EXT_device_enumeration.");
    auto queryDevices = LoadEgl<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
    auto getPlatformDisplay = LoadEgl<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
    if (!queryDevices || !getPlatformDisplay)
        RENDER_THROW("The EGL client lacks eglQueryDevicesEXT or eglGetPlatformDisplayEXT.");
    EGLDeviceEXT devices[16];
    EGLint count = 0;
    if (!queryDevices(16, devices, &count))
        ThrowEglError("eglQueryDevicesEXT");
    for (EGLint i = 0; i < count; ++i) {
        EGLDisplay display = getPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr);
        if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr))
            return display;
    }
    if (count == 0)
        RENDER_THROW("eglQueryDevicesEXT found no EGL device.");
    ThrowEglError("eglInitialize on every EGL device");
}

EGLDisplay DefaultDisplay()
{
    EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (display == EGL_NO_DISPLAY)
        ThrowEglError("eglGetDisplay(EGL_DEFAULT_DISPLAY)");
    return display;
}

EGLDisplay OpenDisplay(OffscreenContext::Platform platform)
{
    EGLDisplay display = EGL_NO_DISPLAY;
    switch (platform) {
    case OffscreenContext::Platform::Surfaceless: display = SurfacelessDisplay(); break;
    case OffscreenContext::Platform::Device: display = DeviceDisplay(); break;
    default: display = DefaultDisplay(); break;
    }
    if (!eglInitialize(display, nullptr, nullptr))
        ThrowEglError("eglInitialize");
    return display;
}

EGLConfig ChooseConfig(EGLDisplay display, bool needsPbuffer)
{
    const EGLint attributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                 EGL_SURFACE_TYPE, needsPbuffer ? EGL_PBUFFER_BIT : 0,
                                 EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8,
                                 EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, attributes, &config, 1, &count))
        ThrowEglError("eglChooseConfig");
    if (count < 1)
        RENDER_THROW("eglChooseConfig found no configuration for desktop OpenGL.");
    return config;
}

// A compatibility-profile context; drivers that refuse the profile attribute
// (EGL 1.4 without EGL_KHR_create_context) give a legacy context, which is one.
EGLContext CreateCompatibilityContext(EGLDisplay display, EGLConfig config)
{
    const EGLint compatibility[] = {EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                    EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT, EGL_NONE};
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, compatibility);
    if (context == EGL_NO_CONTEXT)
        context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    if (context == EGL_NO_CONTEXT)
        ThrowEglError("eglCreateContext");
    return context;
}

// The current context is per thread and per client API, and a thread's API is
// OpenGL ES until told otherwise: bind desktop OpenGL before every query or
// change of the current context.
void BindOpenGl()
{
    if (!eglBindAPI(EGL_OPENGL_API))
        ThrowEglError("eglBindAPI(EGL_OPENGL_API)");
}

} // namespace

OffscreenContext::OffscreenContext(Platform platform, Surface surface)
{
    if (platform != Platform::Any) {
        Create(platform, surface);
        return;
    }
    std::string failures;
    for (Platform candidate : {Platform::Surfaceless, Platform::Device, Platform::Default}) {
        try {
            Create(candidate, surface);
            return;
        } catch (const shr::Exception& e) {
            failures += shr::ToString(" %s: %s", PlatformName(candidate), e.what());
        }
    }
    RENDER_THROW("No OpenGL context could be created without a display.%s", failures.c_str());
}

OffscreenContext::~OffscreenContext()
{
    Destroy();
}

void OffscreenContext::Create(Platform platform, Surface surface)
{
    EGLDisplay display = OpenDisplay(platform);
    m_Display = display;
    m_Platform = platform;
    try {
        CreateOnDisplay(display, surface);
    } catch (...) {
        Destroy();
        throw;
    }
}

void OffscreenContext::CreateOnDisplay(void* display, Surface surface)
{
    BindOpenGl();
    const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
    const bool surfaceless =
        surface == Surface::Auto && HasExtension(extensions, "EGL_KHR_surfaceless_context");
    const bool configless = HasExtension(extensions, "EGL_KHR_no_config_context") ||
                            HasExtension(extensions, "EGL_MESA_configless_context");
    EGLConfig config = surfaceless && configless ? EGL_NO_CONFIG_KHR : ChooseConfig(display, !surfaceless);
    m_Context = CreateCompatibilityContext(display, config);
    if (!surfaceless) {
        const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
        m_Surface = eglCreatePbufferSurface(display, config, size);
        if (m_Surface == EGL_NO_SURFACE) {
            m_Surface = nullptr;
            ThrowEglError("eglCreatePbufferSurface");
        }
    }
    MakeCurrent();
}

void OffscreenContext::Destroy() noexcept
{
    if (!m_Display)
        return;
    ReleaseCurrent();
    if (m_Context)
        eglDestroyContext(m_Display, m_Context);
    if (m_Surface)
        eglDestroySurface(m_Display, m_Surface);
    m_Display = m_Context = m_Surface = nullptr;
}

void OffscreenContext::MakeCurrent() const
{
    if (IsCurrent())
        return;
    BindOpenGl();
    EGLSurface surface = m_Surface ? m_Surface : EGL_NO_SURFACE;
    if (!eglMakeCurrent(m_Display, surface, surface, m_Context))
        ThrowEglError("eglMakeCurrent");
}

void OffscreenContext::ReleaseCurrent() const
{
    if (IsCurrent())
        eglMakeCurrent(m_Display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

bool OffscreenContext::IsCurrent() const
{
    return m_Context && eglBindAPI(EGL_OPENGL_API) && eglGetCurrentContext() == m_Context;
}

shr::GString OffscreenContext::Description() const
{
    MakeCurrent();
    const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    const auto* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    return shr::ToString("%s, OpenGL %s, EGL platform %s%s", renderer ? renderer : "?", version ? version : "?",
                         PlatformName(m_Platform), m_Surface ? " with a pbuffer" : "");
}

const char* OffscreenContext::PlatformName(Platform platform)
{
    switch (platform) {
    case Platform::Surfaceless: return "surfaceless";
    case Platform::Device: return "device";
    case Platform::Default: return "default";
    default: return "any";
    }
}

void OffscreenContext::RequireCurrent(const char* operation)
{
    if (!eglBindAPI(EGL_OPENGL_API) || eglGetCurrentContext() == EGL_NO_CONTEXT)
        RENDER_THROW("No OpenGL context is current on this thread: %s needs one.", operation);
}

} // namespace render
