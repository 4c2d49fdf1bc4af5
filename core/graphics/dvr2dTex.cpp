#include "core/graphics/dvr2dTex.h"

#include "core/graphics/InvVolume.h"
#include "core/graphics/SoGLExtension.h"

#include <algorithm>
#include <functional>
#include <new>

namespace core {

namespace {

// Filling takes the first 70 per cent of the progress, the upload the rest.
constexpr double kFillShare = 0.7;
constexpr double kUploadShare = 0.30000000000000004;

} // namespace

dvr2dTex::dvr2dTex(InvVolume* volume) : dvrBase(volume) {}

dvr2dTex::~dvr2dTex() = default;

void dvr2dTex::DeleteTextures(int64_t context)
{
    for (SoSafeTexture& stack : m_Textures)
        stack.deleteTextures(context);
}

std::vector<unsigned> dvr2dTex::TextureNames() const
{
    std::vector<unsigned> names;
    for (const SoSafeTexture& stack : m_Textures)
        names.insert(names.end(), stack.names().begin(), stack.names().end());
    return names;
}

dvrBase::Outcome dvr2dTex::BuildTextures(uint32_t context, int mode)
{
    const shr::Vec3i dims = m_Volume->Dims();
    const int bytes = BytesPerTexel(mode);
    const StackBudget budget = TextureStackBudget(dims, bytes);
    int sides[3] = {budget.padded.x, budget.padded.y, budget.padded.z};
    std::sort(sides, sides + 3, std::greater<int>());
    if (!SoGLExtManager::getInstance()->isTextureSizeLegal(sides[0], sides[1], 0, bytes)) {
        ReportTextureMemory();
        return Outcome::Failed;
    }
    std::vector<unsigned char> volume;
    try {
        if (budget.fits)
            volume.assign(budget.bytes, 0);
    } catch (const std::bad_alloc&) {
    }
    if (volume.empty()) {
        ReportInsufficientMemory();
        return Outcome::Failed;
    }
    m_Padded = budget.padded;
    const Outcome filled = FillVolume(dims, mode, volume);
    if (filled != Outcome::Built)
        return filled;
    DrainGlErrors();
    const Outcome uploaded = Upload(context, volume, mode);
    if (uploaded == Outcome::Built && DrainGlErrors()) {
        ReportTextureMemory();
        return Outcome::Failed;
    }
    if (uploaded == Outcome::Built)
        m_TextureSize = dims;
    return uploaded;
}

dvrBase::Outcome dvr2dTex::FillVolume(const shr::Vec3i& dims, int mode, std::vector<unsigned char>& volume) const
{
    if (!m_Volume->m_Progress) {
        m_Volume->FillBrick(shr::Vec3i(0, 0, 0), dims, m_Padded, volume.data(), mode);
        return Outcome::Built;
    }
    const size_t layer = static_cast<size_t>(m_Padded.x) * m_Padded.y * BytesPerTexel(mode);
    const shr::Vec3i slab(m_Padded.x, m_Padded.y, 1);
    for (int k = 0; k < dims.z; ++k) {
        if (!m_Volume->Progress(k * kFillShare / dims.z))
            return Outcome::Cancelled;
        m_Volume->FillBrick(shr::Vec3i(0, 0, k), shr::Vec3i(dims.x, dims.y, k + 1), slab, volume.data() + k * layer,
                            mode);
    }
    return Outcome::Built;
}

dvrBase::Outcome dvr2dTex::Upload(uint32_t context, const std::vector<unsigned char>& volume, int mode)
{
    const shr::Vec3i dims = m_Volume->Dims();
    const TexelFormat format = TextureFormat(mode);
    const GLint filter = m_Volume->m_Interpolation == InvVolume::Linear ? GL_LINEAR : GL_NEAREST;
    const double total = static_cast<double>(dims.x) + dims.y + dims.z;
    int done = 0;
    std::vector<unsigned char> image;
    const GLUnpackScope unpack;
    for (int axis = 0; axis < 3; ++axis) {
        m_Textures[axis].genTextures(context, dims[axis]);
        int columns = 0, rows = 0;
        StackImageAxes(axis, columns, rows);
        for (int slice = 0; slice < dims[axis]; ++slice, ++done) {
            if (!m_Volume->Progress(kFillShare + done * kUploadShare / total))
                return Outcome::Cancelled;
            ExtractSlice(volume.data(), m_Padded, axis, slice, BytesPerTexel(mode), image);
            glBindTexture(GL_TEXTURE_2D, m_Textures[axis][slice]);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, kVolumeWrap);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, kVolumeWrap);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
            glTexImage2D(GL_TEXTURE_2D, 0, format.internal, m_Padded[columns], m_Padded[rows], 0, format.external,
                         GL_UNSIGNED_BYTE, image.data());
        }
    }
    return Outcome::Built;
}

void dvr2dTex::Draw(SoState* state, bool textured)
{
    const shr::Vec3d direction = ViewDirection(state);
    const int axis = SliceAxis(direction);
    const int count = m_TextureSize[axis];
    int columns = 0, rows = 0;
    StackImageAxes(axis, columns, rows);
    const double sMax = static_cast<double>(m_TextureSize[columns]) / m_Padded[columns];
    const double tMax = static_cast<double>(m_TextureSize[rows]) / m_Padded[rows];
    static const double kCorners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    glScaled(m_TextureSize.x, m_TextureSize.y, m_TextureSize.z);
    for (int step = 0; step < count; ++step) {
        const int slice = direction[axis] >= 0.0 ? step : count - 1 - step;
        double corner[3];
        corner[axis] = count == 1 ? 0.5 : static_cast<double>(slice) / (count - 1);
        if (textured)
            glBindTexture(GL_TEXTURE_2D, m_Textures[axis][slice]);
        glBegin(GL_QUADS);
        for (const auto& uv : kCorners) {
            corner[columns] = uv[0];
            corner[rows] = uv[1];
            glTexCoord2d(uv[0] * sMax, uv[1] * tMax);
            glVertex3dv(corner);
        }
        glEnd();
    }
}

} // namespace core
