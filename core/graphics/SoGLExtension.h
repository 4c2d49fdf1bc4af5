#pragma once
// SoGLExtension: what the OpenGL of the drawing context offers the volume
// textures: 3-D textures, paletted textures, the blend equation and the blend
// colour, separate blend factors for alpha, and whether a texture of a given
// size fits; and how many lights and clip planes it has. There is one for the
// process (SoGLExtManager::getInstance).
//
// getMetrics fills it from the context current on the calling thread. The
// answers come from the GL version and the extension string only, never from
// whether an entry point resolves: drivers hand out working-looking stubs for
// functions they do not implement (Mesa's colour-table entries, for one).
// Until a context has been measured every capability reads as available, so
// that a setting made before the first drawing is not thrown away; the drawing
// code measures before it asks, and falls back there.
//
// A mask of capabilities can be turned off whatever the context offers: tests
// take the fallback paths with it on any driver. Each fallback is noted once
// (noteFallback) until the set of capabilities changes.
//
// Readers may be on any thread; measuring and the entry points belong to the
// thread that draws.
#include "core/graphics/InvSmartPtr.h"

#include <GL/gl.h>
#include <Inventor/nodes/SoCallback.h>

#include <atomic>
#include <cstdint>

struct cc_glglue;

namespace core {

class SoGLExtension {
public:
    enum Capability : unsigned {
        BlendColor = 1,
        BlendEquation = 2,
        Texture3D = 4,
        PalettedTexture = 8,
        BlendFuncSeparate = 16, // separate factors for alpha: keeps the picture's alpha right
        AllCapabilities = 31
    };

    // Reads the context current on the calling thread; `contextId` is the
    // scene graph's cache context id of that context.
    void getMetrics(uint32_t contextId);
    bool isMeasured() const { return m_Measured.load(); }

    bool isBlendColorAvailable() const { return isAvailable(BlendColor); }
    bool isBlendEquationAvailable() const { return isAvailable(BlendEquation); }
    bool isTexture3DAvailable() const { return isAvailable(Texture3D); }
    bool isPalettedTextureAvailable() const { return isAvailable(PalettedTexture); }
    bool isAvailable(Capability capability) const;

    // Whether the driver takes a texture of x by y texels (2-D when z is 0,
    // else x by y by z) at `bytesPerTexel` bytes each, asked through a proxy
    // texture. Needs a current context; false for sizes below 1.
    bool isTextureSizeLegal(int x, int y, int z, int bytesPerTexel) const;
    // GL_MAX_3D_TEXTURE_SIZE of the measured context; 0 before measuring.
    int getMax3DTextureSize() const { return m_Max3DSize.load(); }
    // GL_MAX_LIGHTS and GL_MAX_CLIP_PLANES of the measured context; before
    // measuring 8 each, what Mesa gives (and OpenGL promises for lights).
    int getMaxLights() const { return m_MaxLights.load(); }
    int getMaxClipPlanes() const { return m_MaxClipPlanes.load(); }

    // Capabilities reported as missing whatever the context offers.
    void setDisabled(unsigned mask);
    unsigned getDisabled() const { return m_Disabled.load(); }

    // True the first time a fallback for `capability` is noted since the
    // capabilities last changed: the caller logs it then.
    bool noteFallback(Capability capability);

    // Entry points of the measured context.
    void glTexImage3D(GLenum target, GLint level, GLenum internalFormat, GLsizei width, GLsizei height,
                      GLsizei depth, GLenum format, GLenum type, const GLvoid* pixels) const;
    void glColorTable(GLenum target, GLenum internalFormat, GLsizei width, GLenum format, GLenum type,
                      const GLvoid* table) const;
    void glBlendEquation(GLenum mode) const;
    void glBlendColor(GLclampf red, GLclampf green, GLclampf blue, GLclampf alpha) const;
    void glBlendFuncSeparate(GLenum sourceColor, GLenum destinationColor, GLenum sourceAlpha,
                             GLenum destinationAlpha) const;

private:
    void setOffered(unsigned offered);

    std::atomic<bool> m_Measured{false};
    std::atomic<unsigned> m_Offered{AllCapabilities};
    std::atomic<unsigned> m_Disabled{0};
    std::atomic<unsigned> m_Noted{0};
    std::atomic<int> m_Max3DSize{0};
    std::atomic<int> m_MaxLights{8};
    std::atomic<int> m_MaxClipPlanes{8};
    std::atomic<const cc_glglue*> m_Glue{nullptr};
    std::atomic<void*> m_BlendColor{nullptr};
};

class SoGLExtManager {
public:
    static SoGLExtension* getInstance();
    // A node that measures the context each time a scene that holds it is
    // drawn, for modules that ask between drawings (they run on a thread
    // without a context).
    static InvSmartPtr<SoCallback> newMeasuringNode();
};

} // namespace core
