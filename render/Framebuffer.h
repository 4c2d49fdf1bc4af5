#pragma once
// Framebuffer: an OpenGL framebuffer object to draw into without a window: an
// RGBA8 colour renderbuffer and a packed 24-bit depth, 8-bit stencil
// renderbuffer. With samples > 0 it draws multisampled and resolves into a
// single-sampled twin before reading back.
//
// It belongs to the context that was current when it was made: make that
// context current before Bind, ReadPixels and Resize, and destroy the
// framebuffer before its context (a framebuffer whose context is no longer
// current at destruction leaves its names to the context's own teardown).
#include "render/Image.h"

namespace render {

class Framebuffer {
public:
    // Throws when no context is current, the size is not positive or beyond the
    // driver's limit, or the driver cannot complete the framebuffer.
    Framebuffer(int width, int height, int samples = 0);
    ~Framebuffer();
    Framebuffer(const Framebuffer&) = delete;
    Framebuffer& operator=(const Framebuffer&) = delete;

    int Width() const { return m_Width; }
    int Height() const { return m_Height; }
    int Samples() const { return m_Samples; }

    // Makes this the draw and read target and sets the viewport to cover it.
    void Bind() const;
    // New storage of the given size; the contents are undefined afterwards.
    void Resize(int width, int height);
    // The colour buffer, top row first.
    Image ReadPixels() const;

private:
    struct Target {
        unsigned framebuffer = 0;
        unsigned color = 0;
        unsigned depthStencil = 0;
    };

    void Allocate();
    void Release() noexcept;
    void AllocateTarget(Target& target, int samples);
    static void ReleaseTarget(Target& target) noexcept;

    int m_Width;
    int m_Height;
    int m_Samples;
    void* m_Owner = nullptr; // the EGL context the names belong to
    Target m_Draw;
    Target m_Resolve; // used only when multisampling
};

} // namespace render
