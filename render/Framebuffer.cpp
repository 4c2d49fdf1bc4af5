#include "render/Framebuffer.h"

#include "render/GlCheck.h"
#include "render/OffscreenContext.h"
#include "render/RenderError.h"

#define GL_GLEXT_PROTOTYPES 1
#include <EGL/egl.h>
#include <GL/gl.h>
#include <GL/glext.h>

#include <utility>

namespace render {

namespace {

const char* FramebufferStatusName(GLenum status)
{
    switch (status) {
    case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT: return "GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT";
    case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT: return "GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT";
    case GL_FRAMEBUFFER_UNSUPPORTED: return "GL_FRAMEBUFFER_UNSUPPORTED";
    case GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE: return "GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE";
    default: return "incomplete";
    }
}

void CheckDimensions(int width, int height, int samples)
{
    GLint maxSize = 0;
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &maxSize);
    if (width < 1 || height < 1 || width > maxSize || height > maxSize)
        RENDER_THROW("A framebuffer cannot be %d x %d pixels (the driver allows 1 to %d).", width, height,
                     static_cast<int>(maxSize));
    GLint maxSamples = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &maxSamples);
    if (samples < 0 || samples > maxSamples)
        RENDER_THROW("A framebuffer cannot take %d samples (the driver allows 0 to %d).", samples,
                     static_cast<int>(maxSamples));
}

GLuint NewRenderbuffer(GLenum format, int samples, int width, int height, GLenum attachment)
{
    GLuint name = 0;
    glGenRenderbuffers(1, &name);
    glBindRenderbuffer(GL_RENDERBUFFER, name);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, name);
    return name;
}

} // namespace

Framebuffer::Framebuffer(int width, int height, int samples)
    : m_Width(width), m_Height(height), m_Samples(samples)
{
    OffscreenContext::RequireCurrent("a framebuffer");
    m_Owner = eglGetCurrentContext();
    Allocate();
}

Framebuffer::~Framebuffer()
{
    Release();
}

void Framebuffer::Allocate()
{
    CheckDimensions(m_Width, m_Height, m_Samples);
    ClearGlErrors();
    try {
        AllocateTarget(m_Draw, m_Samples);
        if (m_Samples > 0)
            AllocateTarget(m_Resolve, 0);
        CheckGlErrors("creating a framebuffer");
    } catch (...) {
        Release();
        throw;
    }
    Bind();
}

void Framebuffer::AllocateTarget(Target& target, int samples)
{
    glGenFramebuffers(1, &target.framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer);
    target.color = NewRenderbuffer(GL_RGBA8, samples, m_Width, m_Height, GL_COLOR_ATTACHMENT0);
    target.depthStencil = NewRenderbuffer(GL_DEPTH24_STENCIL8, samples, m_Width, m_Height,
                                          GL_DEPTH_STENCIL_ATTACHMENT);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE)
        RENDER_THROW("The %d x %d framebuffer with %d samples is not complete: %s (0x%04x).", m_Width, m_Height,
                     samples, FramebufferStatusName(status), static_cast<unsigned>(status));
}

void Framebuffer::Release() noexcept
{
    if (!m_Owner || eglGetCurrentContext() != m_Owner)
        return;
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    ReleaseTarget(m_Draw);
    ReleaseTarget(m_Resolve);
}

void Framebuffer::ReleaseTarget(Target& target) noexcept
{
    if (target.color)
        glDeleteRenderbuffers(1, &target.color);
    if (target.depthStencil)
        glDeleteRenderbuffers(1, &target.depthStencil);
    if (target.framebuffer)
        glDeleteFramebuffers(1, &target.framebuffer);
    target = Target();
}

void Framebuffer::Bind() const
{
    OffscreenContext::RequireCurrent("binding a framebuffer");
    glBindFramebuffer(GL_FRAMEBUFFER, m_Draw.framebuffer);
    glViewport(0, 0, m_Width, m_Height);
}

void Framebuffer::Resize(int width, int height)
{
    if (width == m_Width && height == m_Height)
        return;
    OffscreenContext::RequireCurrent("resizing a framebuffer");
    const int oldWidth = std::exchange(m_Width, width);
    const int oldHeight = std::exchange(m_Height, height);
    try {
        CheckDimensions(width, height, m_Samples);
    } catch (...) {
        m_Width = oldWidth;
        m_Height = oldHeight;
        throw;
    }
    Release();
    Allocate();
}

Image Framebuffer::ReadPixels() const
{
    OffscreenContext::RequireCurrent("reading a framebuffer");
    GLuint source = m_Draw.framebuffer;
    if (m_Samples > 0) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, m_Draw.framebuffer);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_Resolve.framebuffer);
        glBlitFramebuffer(0, 0, m_Width, m_Height, 0, 0, m_Width, m_Height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        source = m_Resolve.framebuffer;
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, source);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    const size_t rowBytes = static_cast<size_t>(m_Width) * 4;
    std::vector<uint8_t> bottomUp(rowBytes * static_cast<size_t>(m_Height));
    glReadPixels(0, 0, m_Width, m_Height, GL_RGBA, GL_UNSIGNED_BYTE, bottomUp.data());
    Bind();
    CheckGlErrors("reading back the framebuffer");
    std::vector<uint8_t> topDown(bottomUp.size());
    for (int row = 0; row < m_Height; ++row) {
        const size_t from = static_cast<size_t>(m_Height - 1 - row) * rowBytes;
        std::copy_n(bottomUp.begin() + static_cast<std::ptrdiff_t>(from), rowBytes,
                    topDown.begin() + static_cast<std::ptrdiff_t>(static_cast<size_t>(row) * rowBytes));
    }
    return Image(m_Width, m_Height, std::move(topDown));
}

} // namespace render
