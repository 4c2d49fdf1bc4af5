#pragma once
// InvVolume: a shape that draws a uniform lattice by direct volume rendering
// with textured slices, through a strategy: dvr2dTex (three stacks of 2-D
// textures, one per axis) or dvr3dTex (bricks of 3-D texture cut by slices
// facing the viewer). Voxel colours and opacities come from the colour map, or
// straight from an RGBA lattice.
//
// The volume draws after the opaque geometry: in the normal pass it only asks
// to be drawn again among the delayed paths. Textures are made in the drawing
// thread and redone only for what changed (the dirty bits); opacity and
// composition act at draw time and cost nothing. When the context cannot do
// what is asked, the volume falls back: paletted textures to RGBA ("Turned off
// paletted textures", logged once), 3-D textures to 2-D ("Turned off 3D
// Textures", once), and compositions without their blend extension to alpha
// blending.
//
// The update thread calls the setters while the host may draw: every member
// is guarded by the node's lock. The node holds a counted reference to the
// lattice and its own copy of the colour map, so that a scene keeps drawing
// whatever becomes of the module that made it.
#include "core/graphics/VbColorMap.h"
#include "core/graphics/VolumeTexels.h"
#include "shr/Box3d.h"
#include "shr/Mat4d.h"
#include "shr/Vec3.h"

#include <Inventor/nodes/SoShape.h>
#include <Inventor/nodes/SoSubNode.h>

#include <cstdint>
#include <memory>
#include <mutex>

class SoState;

namespace core {

class VdUniformLattice;
class dvrBase;

class InvVolume : public SoShape {
    typedef SoShape inherited;
    SO_NODE_HEADER(InvVolume);

public:
    enum RenderMethod : uint32_t { Textures2D = 0, Textures3D = 1 };
    enum Composition : uint32_t { MaximumIntensity = 0, SumIntensity = 1, AlphaBlending = 2 };
    enum Interpolation : uint32_t { Nearest = 0, Linear = 1 };
    enum DirtyBit : uint32_t {
        DirtyData = 1,
        DirtyColorMap = 2,
        DirtyInterpolation = 4,
        DirtyComposition = 8,
        DirtySlices = 32,
        DirtyOpacity = 64,
        DirtyTextureMode = 128,
        DirtyAll = 0xffffffffu
    };
    // Phase 0 while textures are made, with the fraction done; phase 1 once a
    // drawing has ended. False in phase 0 cancels the textures.
    using ProgressCallback = bool (*)(int phase, double fraction, void* userData);

    // Idempotent.
    static void initClass();
    InvVolume();

    // Lattice frame to scene: the lattice's own transform and the scene offset.
    void SetTransform(const shr::Mat4d& transform);
    // The lattice (counted while held) and whether it holds colours. A lattice
    // handed in again counts as new data: its values may have changed in place.
    void SetLattice(const VdUniformLattice* lattice);
    void SetComponent(unsigned int component);
    // The box the voxels fill, in the lattice frame.
    void SetBoundingBox(const shr::Box3d& box);
    // A copy is kept; null removes the map.
    void SetColorMap(const VbColorMap* colorMap);
    // Each value as the enumerations above; a change of method sets every dirty bit.
    void SetRenderMethod(uint32_t method);
    void SetTextureMode(uint32_t mode);
    void SetComposition(uint32_t composition);
    void SetInterpolation(uint32_t interpolation);
    // View-aligned slices of 3-D textures; 0 is one per voxel along the diagonal.
    void SetSlices(uint32_t slices);
    void SetOpacity(double opacity);
    void SetProgressCallback(ProgressCallback callback, void* userData);
    // The largest brick edge of 3-D textures; 0 takes the driver's limit.
    void SetMaxBrickSize(int size);
    // Outlines each brick of 3-D textures in red.
    void SetShowBricks(bool show);

    uint32_t GetDirty() const;
    uint32_t GetRenderMethod() const;

    void GLRender(SoGLRenderAction* action) override;
    // The blend state of the composition: maximum intensity and sum intensity
    // need the blend equation and the blend colour, and draw as alpha
    // blending without them.
    void SetCompositeState(SoState* state);

protected:
    ~InvVolume() override;
    void computeBBox(SoAction* action, SbBox3f& box, SbVec3f& center) override;
    void generatePrimitives(SoAction* action) override;
    // Texels of the voxels from `origin` up to `end` into a block of `size`
    // texels (see FillTexels).
    void FillBrick(const shr::Vec3i& origin, const shr::Vec3i& end, const shr::Vec3i& size, unsigned char* target,
                   int mode) const;

private:
    friend class dvrBase;
    friend class dvr2dTex;
    friend class dvr3dTex;

    void MarkDirty(uint32_t bits);
    // Makes the strategy of `method` if it is not the one alive, and draws through it.
    void RenderWith(uint32_t method, SoGLRenderAction* action, int mode);
    int EffectiveTextureMode();
    uint32_t EffectiveRenderMethod();
    // Voxel steps and the box centre: from voxels centred on the origin to the lattice frame.
    shr::Mat4d BoxFrame() const;
    // Then through the transform: what the volume multiplies the model matrix by.
    shr::Mat4d VoxelFrame() const;
    shr::Vec3i Dims() const;
    bool Progress(double fraction) const;
    TexelSource Source() const;

    mutable std::recursive_mutex m_Lock;
    shr::Mat4d m_Transform;
    bool m_RGBA = false;
    uint32_t m_Component = 0;
    const VdUniformLattice* m_Lattice = nullptr;
    std::unique_ptr<VbColorMap> m_ColorMap;
    uint32_t m_RenderMethod = Textures2D;
    uint32_t m_TextureMode = TexRGBA;
    uint32_t m_Composition = AlphaBlending;
    uint32_t m_Interpolation = Linear;
    uint32_t m_Slices = 0;
    double m_Opacity = 1.0;
    shr::Box3d m_Box;
    uint32_t m_Dirty = DirtyAll;
    ProgressCallback m_Progress = nullptr;
    void* m_ProgressData = nullptr;
    int m_MaxBrickSize = 0;
    bool m_ShowBricks = false;
    std::unique_ptr<dvrBase> m_Strategy;
    uint32_t m_StrategyKind = Textures2D;
};

} // namespace core
