#include "core/graphics/InvVolume.h"

#include "core/data/LatticeUtility.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvConvert.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/SoLogMessage.h"
#include "core/graphics/dvr2dTex.h"
#include "core/graphics/dvr3dTex.h"
#include "core/network/UiProxy.h"
#include "core/network/VoNetwork.h"
#include "shr/Exception.h"

#include <Inventor/SbBox3f.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/elements/SoCacheElement.h>
#include <Inventor/elements/SoComplexityTypeElement.h>
#include <Inventor/elements/SoDrawStyleElement.h>
#include <Inventor/elements/SoGLCacheContextElement.h>
#include <Inventor/elements/SoModelMatrixElement.h>
#include <Inventor/misc/SoState.h>

#include <cmath>
#include <new>

namespace core {

SO_NODE_SOURCE(InvVolume);

namespace {

const bool s_Registered = (VoNetwork::RegisterSceneClass(&InvVolume::initClass), true);

// A box extent below this has no voxel step of its own: the step is 1.
constexpr double kMinExtent = 1.1920928955078125e-7;

} // namespace

void InvVolume::initClass()
{
    if (getClassTypeId() != SoType::badType())
        return;
    SO_NODE_INIT_CLASS(InvVolume, SoShape, "Shape");
}

InvVolume::InvVolume() { SO_NODE_CONSTRUCTOR(InvVolume); }

InvVolume::~InvVolume()
{
    m_Strategy.reset();
    if (m_Lattice)
        m_Lattice->DecRef();
}

// ---- setters ----------------------------------------------------------------------------

void InvVolume::MarkDirty(uint32_t bits)
{
    m_Dirty |= bits;
    touch();
}

namespace {

// Stores `value` and marks `bits` when it differs from what `member` held.
template <class T>
bool Assign(T& member, const T& value)
{
    if (member == value)
        return false;
    member = value;
    return true;
}

} // namespace

void InvVolume::SetTransform(const shr::Mat4d& transform)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_Transform, transform))
        touch();
}

void InvVolume::SetLattice(const VdUniformLattice* lattice)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (lattice)
        lattice->AddRef();
    if (m_Lattice)
        m_Lattice->DecRef();
    m_Lattice = lattice;
    m_RGBA = lattice && IsRGBA(*lattice);
    MarkDirty(DirtyData);
}

void InvVolume::SetComponent(unsigned int component)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_Component, static_cast<uint32_t>(component)))
        MarkDirty(DirtyData);
}

void InvVolume::SetBoundingBox(const shr::Box3d& box)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_Box, box))
        touch();
}

void InvVolume::SetColorMap(const VbColorMap* colorMap)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (!colorMap && !m_ColorMap)
        return;
    if (colorMap && m_ColorMap && m_ColorMap->Equivalent(*colorMap, true))
        return;
    m_ColorMap = colorMap ? std::make_unique<VbColorMap>(*colorMap) : nullptr;
    MarkDirty(DirtyColorMap);
}

void InvVolume::SetRenderMethod(uint32_t method)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_RenderMethod, method))
        MarkDirty(DirtyAll);
}

void InvVolume::SetTextureMode(uint32_t mode)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_TextureMode, mode))
        MarkDirty(DirtyTextureMode);
}

void InvVolume::SetComposition(uint32_t composition)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_Composition, composition))
        MarkDirty(DirtyComposition);
}

void InvVolume::SetInterpolation(uint32_t interpolation)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_Interpolation, interpolation))
        MarkDirty(DirtyInterpolation);
}

void InvVolume::SetSlices(uint32_t slices)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_Slices, slices))
        MarkDirty(DirtySlices);
}

void InvVolume::SetOpacity(double opacity)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_Opacity, opacity))
        MarkDirty(DirtyOpacity);
}

void InvVolume::SetProgressCallback(ProgressCallback callback, void* userData)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    m_Progress = callback;
    m_ProgressData = userData;
}

void InvVolume::SetMaxBrickSize(int size)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_MaxBrickSize, size))
        MarkDirty(DirtyData);
}

void InvVolume::SetShowBricks(bool show)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (Assign(m_ShowBricks, show))
        touch();
}

uint32_t InvVolume::GetDirty() const
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    return m_Dirty;
}

uint32_t InvVolume::GetRenderMethod() const
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    return m_RenderMethod;
}

// ---- drawing ----------------------------------------------------------------------------

void InvVolume::GLRender(SoGLRenderAction* action)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    if (!m_Lattice || (!m_RGBA && !m_ColorMap))
        return;
    SoState* state = action->getState();
    if (SoDrawStyleElement::get(state) == SoDrawStyleElement::INVISIBLE)
        return;
    if (SoComplexityTypeElement::get(state) == SoComplexityTypeElement::BOUNDING_BOX) {
        GLRenderBoundingBox(action);
        return;
    }
    // Textures and blending never go into a cache of the separators above.
    SoCacheElement::invalidate(state);
    if (!action->isRenderingDelayedPaths()) {
        action->addDelayedPath(action->getCurPath()->copy());
        return;
    }
    SoGLExtManager::getInstance()->getMetrics(SoGLCacheContextElement::get(state));
    const int mode = EffectiveTextureMode();
    const uint32_t method = EffectiveRenderMethod();
    state->push();
    SoModelMatrixElement::mult(state, this, ToSbMatrix(VoxelFrame()));
    // Nothing may leave a drawing by an exception: the traversal above it would be left half done.
    try {
        RenderWith(method, action, mode);
    } catch (const shr::Exception& error) {
        UiProxy::Instance()->ErrorMsg(error);
    } catch (const std::bad_alloc&) {
        dvrBase::ReportInsufficientMemory();
    }
    if (m_Progress)
        m_Progress(1, 1.0, m_ProgressData);
    state->pop();
}

void InvVolume::RenderWith(uint32_t method, SoGLRenderAction* action, int mode)
{
    if (!m_Strategy || m_StrategyKind != method) {
        m_Strategy.reset();
        m_Dirty = DirtyAll;
        if (method == Textures3D)
            m_Strategy = std::make_unique<dvr3dTex>(this);
        else
            m_Strategy = std::make_unique<dvr2dTex>(this);
        m_StrategyKind = method;
    }
    m_Strategy->render(action, mode);
}

int InvVolume::EffectiveTextureMode()
{
    if (m_RGBA || m_TextureMode > TexRGBA)
        return TexRGBA;
    if (m_TextureMode != TexPaletted)
        return static_cast<int>(m_TextureMode);
    SoGLExtension* extension = SoGLExtManager::getInstance();
    if (extension->isPalettedTextureAvailable())
        return TexPaletted;
    if (extension->noteFallback(SoGLExtension::PalettedTexture))
        SoLogMessage::post(__FILE__, __LINE__, "Turned off paletted textures");
    return TexRGBA;
}

uint32_t InvVolume::EffectiveRenderMethod()
{
    if (m_RenderMethod != Textures3D)
        return Textures2D;
    SoGLExtension* extension = SoGLExtManager::getInstance();
    if (extension->isTexture3DAvailable())
        return Textures3D;
    if (extension->noteFallback(SoGLExtension::Texture3D))
        SoLogMessage::post(__FILE__, __LINE__, "Turned off 3D Textures");
    return Textures2D;
}

void InvVolume::SetCompositeState(SoState*)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    const SoGLExtension* extension = SoGLExtManager::getInstance();
    glEnable(GL_BLEND);
    if (m_Composition == MaximumIntensity && extension->isBlendEquationAvailable()) {
        extension->glBlendEquation(GL_MAX);
        glBlendFunc(GL_ONE, GL_ONE);
        glColor4d(m_Opacity, m_Opacity, m_Opacity, m_Opacity);
        return;
    }
    if (m_Composition == SumIntensity && extension->isBlendColorAvailable()) {
        glBlendFunc(GL_CONSTANT_ALPHA, GL_ONE);
        extension->glBlendColor(1.0f, 1.0f, 1.0f, static_cast<GLclampf>(m_Opacity));
        glColor4d(1.0, 1.0, 1.0, 1.0);
        return;
    }
    // The colours blend as they are; where the driver allows, alpha blends as
    // coverage, so that a picture read back stays opaque over an opaque scene.
    if (extension->isAvailable(SoGLExtension::BlendFuncSeparate))
        extension->glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    else
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glColor4d(1.0, 1.0, 1.0, m_Opacity);
    // A clear fragment changes nothing here; dropping it spares the blend.
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_GREATER, 0.0f);
}

void InvVolume::FillBrick(const shr::Vec3i& origin, const shr::Vec3i& end, const shr::Vec3i& size,
                          unsigned char* target, int mode) const
{
    FillTexels(Source(), origin, end, size, target, mode);
}

TexelSource InvVolume::Source() const
{
    TexelSource source;
    source.lattice = m_Lattice;
    source.component = m_Component;
    source.colorMap = m_ColorMap.get();
    source.rgba = m_RGBA;
    return source;
}

bool InvVolume::Progress(double fraction) const
{
    return !m_Progress || m_Progress(0, fraction, m_ProgressData);
}

shr::Vec3i InvVolume::Dims() const
{
    if (!m_Lattice)
        return shr::Vec3i(0, 0, 0);
    const unsigned int* dims = m_Lattice->GetDims();
    return shr::Vec3i(static_cast<int>(dims[0]), static_cast<int>(dims[1]), static_cast<int>(dims[2]));
}

shr::Mat4d InvVolume::BoxFrame() const
{
    const shr::Vec3i dims = Dims();
    const shr::Vec3d extent = m_Box.IsEmpty() ? shr::Vec3d(0.0, 0.0, 0.0) : m_Box.Size();
    double step[3];
    for (int a = 0; a < 3; ++a)
        step[a] = extent[a] < kMinExtent || dims[a] == 0 ? 1.0 : extent[a] / dims[a];
    const shr::Vec3d centre = m_Box.IsEmpty() ? shr::Vec3d(0.0, 0.0, 0.0) : m_Box.Center();
    return shr::Mat4d::MakeScale(step[0], step[1], step[2]) * shr::Mat4d::MakeTranslation(centre);
}

shr::Mat4d InvVolume::VoxelFrame() const { return BoxFrame() * m_Transform; }

// ---- bounds -----------------------------------------------------------------------------

void InvVolume::computeBBox(SoAction*, SbBox3f& box, SbVec3f& center)
{
    std::lock_guard<std::recursive_mutex> lock(m_Lock);
    box.makeEmpty();
    center.setValue(0.0f, 0.0f, 0.0f);
    if (!m_Lattice || m_Box.IsEmpty())
        return;
    shr::Vec3d corners[8];
    m_Box.GetCorners(corners);
    m_Transform.Transform(corners, corners, 8);
    for (const shr::Vec3d& corner : corners)
        box.extendBy(ToSbVec3f(corner));
    center = box.getCenter();
}

// Nothing to pick: the volume is drawn, not touched.
void InvVolume::generatePrimitives(SoAction*) {}

} // namespace core
