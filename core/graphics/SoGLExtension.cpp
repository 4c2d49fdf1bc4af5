#include "core/graphics/SoGLExtension.h"

#include <GL/glext.h>
#include <Inventor/C/glue/gl.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/elements/SoGLCacheContextElement.h>

namespace core {

namespace {

using BlendColorFunction = void (*)(GLclampf, GLclampf, GLclampf, GLclampf);

bool Extension(const cc_glglue* glue, const char* name) { return cc_glglue_glext_supported(glue, name) != 0; }

bool Version(const cc_glglue* glue, unsigned major, unsigned minor)
{
    return cc_glglue_glversion_matches_at_least(glue, major, minor, 0) != 0;
}

// Internal formats with the texel sizes the volume textures use; 0 for others.
GLenum ProxyFormat(int bytesPerTexel)
{
    switch (bytesPerTexel) {
    case 1: return GL_INTENSITY8;
    case 2: return GL_LUMINANCE8_ALPHA8;
    case 3: return GL_RGB8;
    case 4: return GL_RGBA8;
    default: return 0;
    }
}

} // namespace

SoGLExtension* SoGLExtManager::getInstance()
{
    static SoGLExtension extension;
    return &extension;
}

namespace {

void MeasureCallback(void*, SoAction* action)
{
    if (action && action->isOfType(SoGLRenderAction::getClassTypeId()))
        SoGLExtManager::getInstance()->getMetrics(SoGLCacheContextElement::get(action->getState()));
}

} // namespace

InvSmartPtr<SoCallback> SoGLExtManager::newMeasuringNode()
{
    InvSmartPtr<SoCallback> node(new SoCallback);
    node->setCallback(&MeasureCallback, nullptr);
    return node;
}

void SoGLExtension::getMetrics(uint32_t contextId)
{
    const cc_glglue* glue = cc_glglue_instance(static_cast<int>(contextId));
    m_Glue = glue;
    unsigned offered = 0;
    if (Version(glue, 1, 2) || Extension(glue, "GL_EXT_texture3D"))
        offered |= Texture3D;
    if (Extension(glue, "GL_EXT_paletted_texture"))
        offered |= PalettedTexture;
    if (Version(glue, 1, 4) || Extension(glue, "GL_EXT_blend_minmax") || Extension(glue, "GL_ARB_imaging"))
        offered |= BlendEquation;
    if (Version(glue, 1, 4) || Extension(glue, "GL_EXT_blend_func_separate"))
        offered |= BlendFuncSeparate;
    void* blendColor = nullptr;
    if (Version(glue, 1, 4) || Extension(glue, "GL_EXT_blend_color") || Extension(glue, "GL_ARB_imaging")) {
        blendColor = cc_glglue_getprocaddress(glue, "glBlendColor");
        if (!blendColor)
            blendColor = cc_glglue_getprocaddress(glue, "glBlendColorEXT");
        if (blendColor)
            offered |= BlendColor;
    }
    m_BlendColor = blendColor;
    GLint max3D = 0;
    if (offered & Texture3D)
        glGetIntegerv(GL_MAX_3D_TEXTURE_SIZE, &max3D);
    m_Max3DSize = max3D;
    GLint lights = 0, planes = 0;
    glGetIntegerv(GL_MAX_LIGHTS, &lights);
    glGetIntegerv(GL_MAX_CLIP_PLANES, &planes);
    if (lights > 0 && planes > 0) {
        m_MaxLights = lights;
        m_MaxClipPlanes = planes;
    }
    setOffered(offered);
    m_Measured = true;
}

bool SoGLExtension::isAvailable(Capability capability) const
{
    return (m_Offered.load() & ~m_Disabled.load() & capability) == capability;
}

bool SoGLExtension::isTextureSizeLegal(int x, int y, int z, int bytesPerTexel) const
{
    const GLenum format = ProxyFormat(bytesPerTexel);
    if (x < 1 || y < 1 || z < 0 || format == 0 || (z > 0 && !isTexture3DAvailable()))
        return false;
    GLint width = 0;
    if (z == 0) {
        glTexImage2D(GL_PROXY_TEXTURE_2D, 0, format, x, y, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        glGetTexLevelParameteriv(GL_PROXY_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    } else {
        glTexImage3D(GL_PROXY_TEXTURE_3D, 0, format, x, y, z, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        glGetTexLevelParameteriv(GL_PROXY_TEXTURE_3D, 0, GL_TEXTURE_WIDTH, &width);
    }
    // A size beyond the limits is an error besides the zero width; it is
    // ours. Bounded: a lost context reports its loss for ever.
    for (int n = 0; n < 64 && glGetError() != GL_NO_ERROR; ++n) {
    }
    return width != 0;
}

void SoGLExtension::setDisabled(unsigned mask)
{
    if (m_Disabled.exchange(mask & AllCapabilities) != (mask & AllCapabilities))
        m_Noted = 0;
}

void SoGLExtension::setOffered(unsigned offered)
{
    if (m_Offered.exchange(offered) != offered)
        m_Noted = 0;
}

bool SoGLExtension::noteFallback(Capability capability)
{
    return (m_Noted.fetch_or(capability) & capability) == 0;
}

void SoGLExtension::glTexImage3D(GLenum target, GLint level, GLenum internalFormat, GLsizei width, GLsizei height,
                                 GLsizei depth, GLenum format, GLenum type, const GLvoid* pixels) const
{
    cc_glglue_glTexImage3D(m_Glue.load(), target, level, internalFormat, width, height, depth, 0, format, type, pixels);
}

void SoGLExtension::glColorTable(GLenum target, GLenum internalFormat, GLsizei width, GLenum format, GLenum type,
                                 const GLvoid* table) const
{
    cc_glglue_glColorTable(m_Glue.load(), target, internalFormat, width, format, type, table);
}

void SoGLExtension::glBlendEquation(GLenum mode) const { cc_glglue_glBlendEquation(m_Glue.load(), mode); }

void SoGLExtension::glBlendFuncSeparate(GLenum sourceColor, GLenum destinationColor, GLenum sourceAlpha,
                                        GLenum destinationAlpha) const
{
    cc_glglue_glBlendFuncSeparate(m_Glue.load(), sourceColor, destinationColor, sourceAlpha, destinationAlpha);
}

void SoGLExtension::glBlendColor(GLclampf red, GLclampf green, GLclampf blue, GLclampf alpha) const
{
    if (void* entry = m_BlendColor.load())
        reinterpret_cast<BlendColorFunction>(entry)(red, green, blue, alpha);
}

} // namespace core
