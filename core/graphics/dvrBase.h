#pragma once
// dvrBase: the drawing strategy of an InvVolume. It owns the GL textures of
// the volume, made for one context: a drawing in another context makes them
// again. The drawing itself is common: the GL state of textured, blended,
// unlit slices that do not write depth; the strategies make their textures
// and draw their slices, in voxel space (see VolumeTexels.h).
#include "shr/Mat4d.h"
#include "shr/Vec3.h"

#include <GL/gl.h>

#include <cstdint>
#include <vector>

class SoGLRenderAction;
class SoState;

namespace core {

class InvVolume;

// Tightly packed texel blocks for the life of the object; the client's pixel
// store is restored afterwards, also when an upload ends in an exception.
class GLUnpackScope {
public:
    GLUnpackScope();
    ~GLUnpackScope();
    GLUnpackScope(const GLUnpackScope&) = delete;
    GLUnpackScope& operator=(const GLUnpackScope&) = delete;
};

class dvrBase {
public:
    explicit dvrBase(InvVolume* volume);
    virtual ~dvrBase();
    dvrBase(const dvrBase&) = delete;
    dvrBase& operator=(const dvrBase&) = delete;

    // Draws the volume with textures of `textureMode`, the node's lock held.
    virtual void render(SoGLRenderAction* action, int textureMode);

    // Reports a texture that does not fit, and one too large to attempt.
    static void ReportTextureMemory();
    static void ReportInsufficientMemory();

protected:
    enum class Outcome { Built, Cancelled, Failed };

    virtual GLenum TextureTarget() const = 0;
    // Makes the textures of the node's lattice in the current context.
    virtual Outcome BuildTextures(uint32_t context, int mode) = 0;
    // Releases every texture; `context` is the one current, -1 if unknown.
    virtual void DeleteTextures(int64_t context) = 0;
    virtual std::vector<unsigned> TextureNames() const = 0;
    // Draws the slices in voxel space, back to front.
    virtual void Draw(SoState* state, bool textured) = 0;

    // The dirty bits that hold for this drawing: a new context or texture
    // mode is new data, and so is a new colour map unless it is a palette.
    uint32_t Dirty(uint32_t context, int mode) const;
    // Brings the textures up to date; false when there is nothing to draw.
    bool PrepareTextures(SoState* state, int mode);
    void SetFilters() const;
    void LoadPalette() const;
    // Voxel space to eye space (row vectors), from the state's matrices.
    shr::Mat4d VoxelToEye(SoState* state) const;
    // The direction towards the viewer in the lattice frame, at the volume.
    shr::Vec3d ViewDirection(SoState* state) const;
    // Empties the GL error queue; true when it held an error.
    static bool DrainGlErrors();

    shr::Vec3i m_TextureSize{0, 0, 0};
    InvVolume* m_Volume;
    int64_t m_Context = -1;
    int m_Mode = -1;
};

} // namespace core
