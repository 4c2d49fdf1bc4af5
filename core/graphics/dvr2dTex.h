#pragma once
// dvr2dTex: volume rendering with three stacks of 2-D textures, one texture
// per slice of nodes across each axis. It draws the stack whose slices face
// the viewer most, back to front. The volume is padded to powers of two once,
// and every stack is cut from that buffer.
#include "core/graphics/SoSafeTexture.h"
#include "core/graphics/dvrBase.h"

namespace core {

class dvr2dTex : public dvrBase {
public:
    explicit dvr2dTex(InvVolume* volume);
    ~dvr2dTex() override;

protected:
    GLenum TextureTarget() const override { return GL_TEXTURE_2D; }
    Outcome BuildTextures(uint32_t context, int mode) override;
    void DeleteTextures(int64_t context) override;
    std::vector<unsigned> TextureNames() const override;
    void Draw(SoState* state, bool textured) override;

private:
    // The padded volume; empty when the build is cancelled or fails.
    Outcome FillVolume(const shr::Vec3i& dims, int mode, std::vector<unsigned char>& volume) const;
    // The three stacks, cut from the padded volume.
    Outcome Upload(uint32_t context, const std::vector<unsigned char>& volume, int mode);

    shr::Vec3i m_Padded{0, 0, 0};
    SoSafeTexture m_Textures[3];
};

} // namespace core
