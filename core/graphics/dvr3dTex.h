#pragma once
// dvr3dTex: volume rendering with 3-D textures, cut by slices parallel to the
// image plane. A volume larger than the driver's 3-D texture limit is split
// into bricks that overlap by one voxel; bricks are drawn back to front, each
// with the slices that cross it.
#include "core/graphics/SoSafeTexture.h"
#include "core/graphics/VolumeTexels.h"
#include "core/graphics/dvrBase.h"

#include <vector>

namespace core {

class dvr3dTex : public dvrBase {
public:
    explicit dvr3dTex(InvVolume* volume);
    ~dvr3dTex() override;

    // The slice count a setting of `slices` gives for a volume of `dims`
    // voxels: the setting, or for 0 one slice per voxel along the diagonal.
    static int SliceCount(int slices, const shr::Vec3i& dims);
    // Bricks back to front for `towardsViewer`, by their centres.
    static std::vector<size_t> DrawingOrder(const std::vector<Brick>& bricks, const shr::Vec3d& towardsViewer);

protected:
    GLenum TextureTarget() const override { return GL_TEXTURE_3D; }
    Outcome BuildTextures(uint32_t context, int mode) override;
    void DeleteTextures(int64_t context) override;
    std::vector<unsigned> TextureNames() const override;
    void Draw(SoState* state, bool textured) override;

private:
    // Fills and uploads one brick; false, after reporting, when it cannot be made.
    Outcome MakeBrick(uint32_t context, size_t index, int mode, std::vector<unsigned char>& buffer);
    void DrawBrick(size_t index, const shr::Vec3d& normal, double first, double spacing, int slices,
                   bool textured) const;
    void DrawOutline(const Brick& brick) const;

    std::vector<Brick> m_Bricks;
    std::vector<SoSafeTexture> m_Textures; // one name per brick
};

} // namespace core
