#include "core/graphics/dvrBase.h"

#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvConvert.h"
#include "core/graphics/InvVolume.h"
#include "core/graphics/SoGLExtension.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"

#include <Inventor/SbViewVolume.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/bundles/SoMaterialBundle.h>
#include <Inventor/elements/SoDrawStyleElement.h>
#include <Inventor/elements/SoGLCacheContextElement.h>
#include <Inventor/elements/SoModelMatrixElement.h>
#include <Inventor/elements/SoTextureQualityElement.h>
#include <Inventor/elements/SoViewVolumeElement.h>
#include <Inventor/elements/SoViewingMatrixElement.h>
#include <Inventor/errors/SoMemoryError.h>

#include <array>

namespace core {

namespace {

// Every attribute group; the client side is pushed where texels are unpacked.
constexpr GLbitfield kAllAttributes = 0xfffff;
// "Insufficient memory to perform operation".
constexpr int kInsufficientMemory = 46;

// Every server attribute, and the model-view matrix, for the life of a drawing.
class DrawingScope {
public:
    DrawingScope()
    {
        glPushAttrib(kAllAttributes);
        glMatrixMode(GL_MODELVIEW);
        glPushMatrix();
    }
    ~DrawingScope()
    {
        glMatrixMode(GL_MODELVIEW);
        glPopMatrix();
        glPopAttrib();
    }
    DrawingScope(const DrawingScope&) = delete;
    DrawingScope& operator=(const DrawingScope&) = delete;
};

} // namespace

GLUnpackScope::GLUnpackScope()
{
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    for (const GLenum zero : {GL_UNPACK_ROW_LENGTH, GL_UNPACK_IMAGE_HEIGHT, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS,
                              GL_UNPACK_SKIP_IMAGES, GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST})
        glPixelStorei(zero, 0);
}

GLUnpackScope::~GLUnpackScope() { glPopClientAttrib(); }

dvrBase::dvrBase(InvVolume* volume) : m_Volume(volume) {}

dvrBase::~dvrBase() = default;

void dvrBase::render(SoGLRenderAction* action, int textureMode)
{
    SoState* state = action->getState();
    SoMaterialBundle material(action);
    material.sendFirst();
    const bool textured = SoTextureQualityElement::get(state) > 0.0f &&
                          SoDrawStyleElement::get(state) == SoDrawStyleElement::FILLED;
    const DrawingScope scope;
    glDisable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
    for (const GLenum target : {GL_TEXTURE_1D, GL_TEXTURE_2D, GL_TEXTURE_3D})
        glDisable(target);
    glEnable(TextureTarget());
    glDepthMask(GL_FALSE);
    if (!PrepareTextures(state, textureMode))
        return;
    if (textured) {
        m_Volume->SetCompositeState(state);
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    } else {
        glDisable(TextureTarget());
        glDisable(GL_BLEND);
    }
    glTranslated(-0.5 * m_TextureSize.x, -0.5 * m_TextureSize.y, -0.5 * m_TextureSize.z);
    Draw(state, textured);
}

uint32_t dvrBase::Dirty(uint32_t context, int mode) const
{
    uint32_t dirty = m_Volume->m_Dirty;
    if (static_cast<int64_t>(context) != m_Context || mode != m_Mode)
        dirty |= InvVolume::DirtyData;
    if (dirty & InvVolume::DirtyTextureMode)
        dirty |= InvVolume::DirtyData;
    if ((dirty & InvVolume::DirtyColorMap) && mode != TexPaletted)
        dirty |= InvVolume::DirtyData;
    return dirty;
}

bool dvrBase::PrepareTextures(SoState* state, int mode)
{
    const uint32_t context = SoGLCacheContextElement::get(state);
    const uint32_t dirty = Dirty(context, mode);
    if (dirty & InvVolume::DirtyData) {
        DeleteTextures(context);
        m_TextureSize = shr::Vec3i(0, 0, 0);
        const Outcome outcome = m_Volume->m_Lattice ? BuildTextures(context, mode) : Outcome::Built;
        if (outcome != Outcome::Built) {
            DeleteTextures(context);
            m_TextureSize = shr::Vec3i(0, 0, 0);
        }
        // A cancelled build leaves every dirty bit standing: the next drawing starts over.
        if (outcome == Outcome::Cancelled)
            return false;
    } else if (dirty & InvVolume::DirtyInterpolation) {
        SetFilters();
    }
    m_Context = context;
    m_Mode = mode;
    if (mode == TexPaletted && (dirty & (InvVolume::DirtyData | InvVolume::DirtyColorMap)))
        LoadPalette();
    m_Volume->m_Dirty = 0;
    return m_TextureSize.x > 0 && !TextureNames().empty();
}

void dvrBase::SetFilters() const
{
    const GLint filter = m_Volume->m_Interpolation == InvVolume::Linear ? GL_LINEAR : GL_NEAREST;
    for (const unsigned name : TextureNames()) {
        glBindTexture(TextureTarget(), name);
        glTexParameteri(TextureTarget(), GL_TEXTURE_MAG_FILTER, filter);
        glTexParameteri(TextureTarget(), GL_TEXTURE_MIN_FILTER, filter);
    }
}

void dvrBase::LoadPalette() const
{
    const VdUniformLattice* lattice = m_Volume->m_Lattice;
    if (!lattice || !m_Volume->m_ColorMap)
        return;
    const std::pair<double, double> limits = lattice->DataMinMax(m_Volume->m_Component);
    const std::array<shr::Color4b, 256> palette = BuildPalette(*m_Volume->m_ColorMap, limits.first, limits.second);
    const SoGLExtension* extension = SoGLExtManager::getInstance();
    for (const unsigned name : TextureNames()) {
        glBindTexture(TextureTarget(), name);
        extension->glColorTable(TextureTarget(), GL_RGBA, 256, GL_RGBA, GL_UNSIGNED_BYTE, palette.data());
    }
}

shr::Mat4d dvrBase::VoxelToEye(SoState* state) const
{
    const shr::Vec3d half(-0.5 * m_TextureSize.x, -0.5 * m_TextureSize.y, -0.5 * m_TextureSize.z);
    return shr::Mat4d::MakeTranslation(half) * ToMat4d(SoModelMatrixElement::get(state)) *
           ToMat4d(SoViewingMatrixElement::get(state));
}

shr::Vec3d dvrBase::ViewDirection(SoState* state) const
{
    // The model matrix holds the voxel frame: the box part taken off again, it
    // maps the lattice frame to the world.
    shr::Mat4d boxPart = m_Volume->BoxFrame();
    boxPart.Inverse();
    shr::Mat4d eyeToFrame =
        boxPart * ToMat4d(SoModelMatrixElement::get(state)) * ToMat4d(SoViewingMatrixElement::get(state));
    if (!eyeToFrame.Inverse())
        return shr::Vec3d(0.0, 0.0, 1.0);
    if (SoViewVolumeElement::get(state).getProjectionType() == SbViewVolume::ORTHOGRAPHIC)
        return eyeToFrame.TransformVector(shr::Vec3d(0.0, 0.0, 1.0));
    return shr::Vec3d(0.0, 0.0, 0.0) * eyeToFrame - m_Volume->m_Box.Center();
}

bool dvrBase::DrainGlErrors()
{
    // Bounded: a lost context reports its loss for ever.
    bool any = false;
    for (int n = 0; n < 64 && glGetError() != GL_NO_ERROR; ++n)
        any = true;
    return any;
}

void dvrBase::ReportTextureMemory() { SoMemoryError::post("sufficient texture memory"); }

void dvrBase::ReportInsufficientMemory()
{
    UiProxy::Instance()->ErrorMsg(__FILE__, __LINE__, CoreErrorFormat(kInsufficientMemory));
}

} // namespace core
