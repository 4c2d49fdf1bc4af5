#include "core/graphics/dvr3dTex.h"

#include "core/graphics/InvVolume.h"
#include "core/graphics/PlanePolygon.h"
#include "core/graphics/SoGLExtension.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>

namespace core {

namespace {

// Filling a brick takes 70 per cent of its share of the progress, the upload the rest.
constexpr double kFillShare = 0.7;
// A brick edge when the driver has not said its limit.
constexpr int kDefaultBrickSize = 256;

double Diagonal(const shr::Vec3i& dims)
{
    return std::sqrt(static_cast<double>(dims.x) * dims.x + static_cast<double>(dims.y) * dims.y +
                     static_cast<double>(dims.z) * dims.z);
}

// The lowest and highest value of dot(normal, p) over the box.
void Reach(const shr::Box3d& box, const shr::Vec3d& normal, double& low, double& high)
{
    low = high = 0.0;
    for (int a = 0; a < 3; ++a) {
        const double lo = normal[a] * box.min[a], hi = normal[a] * box.max[a];
        low += std::min(lo, hi);
        high += std::max(lo, hi);
    }
}

} // namespace

dvr3dTex::dvr3dTex(InvVolume* volume) : dvrBase(volume) {}

dvr3dTex::~dvr3dTex() = default;

int dvr3dTex::SliceCount(int slices, const shr::Vec3i& dims)
{
    if (slices > 0)
        return slices;
    return std::max(1, static_cast<int>(Diagonal(dims)));
}

std::vector<size_t> dvr3dTex::DrawingOrder(const std::vector<Brick>& bricks, const shr::Vec3d& towardsViewer)
{
    std::vector<double> depth(bricks.size());
    for (size_t b = 0; b < bricks.size(); ++b)
        depth[b] = towardsViewer.Dot(bricks[b].box.Center());
    std::vector<size_t> order(bricks.size());
    std::iota(order.begin(), order.end(), size_t(0));
    std::sort(order.begin(), order.end(),
              [&depth](size_t a, size_t b) { return depth[a] < depth[b] || (depth[a] == depth[b] && a < b); });
    return order;
}

void dvr3dTex::DeleteTextures(int64_t context)
{
    for (SoSafeTexture& texture : m_Textures)
        texture.deleteTextures(context);
    m_Textures.clear();
}

std::vector<unsigned> dvr3dTex::TextureNames() const
{
    std::vector<unsigned> names;
    for (const SoSafeTexture& texture : m_Textures)
        names.insert(names.end(), texture.names().begin(), texture.names().end());
    return names;
}

dvrBase::Outcome dvr3dTex::BuildTextures(uint32_t context, int mode)
{
    const shr::Vec3i dims = m_Volume->Dims();
    int limit = m_Volume->m_MaxBrickSize;
    if (limit <= 0)
        limit = SoGLExtManager::getInstance()->getMax3DTextureSize();
    if (limit <= 0)
        limit = kDefaultBrickSize;
    m_Bricks = BrickLayout(dims, shr::Vec3i(limit, limit, limit));
    m_Textures.resize(m_Bricks.size());
    std::vector<unsigned char> buffer;
    DrainGlErrors();
    Outcome outcome = Outcome::Built;
    for (size_t b = 0; b < m_Bricks.size() && outcome == Outcome::Built; ++b)
        outcome = MakeBrick(context, b, mode, buffer);
    // One brick missing leaves a hole: then none is drawn.
    if (outcome != Outcome::Built) {
        m_Bricks.clear();
        return outcome;
    }
    m_TextureSize = dims;
    return Outcome::Built;
}

dvrBase::Outcome dvr3dTex::MakeBrick(uint32_t context, size_t index, int mode, std::vector<unsigned char>& buffer)
{
    const Brick& brick = m_Bricks[index];
    const double count = static_cast<double>(m_Bricks.size());
    if (!m_Volume->Progress(index / count))
        return Outcome::Cancelled;
    const int bytes = BytesPerTexel(mode);
    const SoGLExtension* extension = SoGLExtManager::getInstance();
    if (!extension->isTextureSizeLegal(brick.size.x, brick.size.y, brick.size.z, bytes)) {
        ReportTextureMemory();
        return Outcome::Failed;
    }
    const uint64_t total = static_cast<uint64_t>(brick.size.x) * brick.size.y * brick.size.z * bytes;
    try {
        if (total <= kMaxTextureBytes)
            buffer.assign(total, 0);
    } catch (const std::bad_alloc&) {
        buffer.clear();
    }
    if (buffer.size() != total) {
        ReportInsufficientMemory();
        return Outcome::Failed;
    }
    m_Volume->FillBrick(brick.origin, brick.origin + brick.extent, brick.size, buffer.data(), mode);
    if (!m_Volume->Progress((index + kFillShare) / count))
        return Outcome::Cancelled;
    const TexelFormat format = TextureFormat(mode);
    const GLint filter = m_Volume->m_Interpolation == InvVolume::Linear ? GL_LINEAR : GL_NEAREST;
    const GLUnpackScope unpack;
    m_Textures[index].genTextures(context, 1);
    glBindTexture(GL_TEXTURE_3D, m_Textures[index][0]);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R})
        glTexParameteri(GL_TEXTURE_3D, wrap, kVolumeWrap);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, filter);
    extension->glTexImage3D(GL_TEXTURE_3D, 0, static_cast<GLenum>(format.internal), brick.size.x, brick.size.y,
                            brick.size.z, format.external, GL_UNSIGNED_BYTE, buffer.data());
    if (DrainGlErrors()) {
        ReportTextureMemory();
        return Outcome::Failed;
    }
    return Outcome::Built;
}

void dvr3dTex::Draw(SoState* state, bool textured)
{
    const shr::Mat4d toEye = VoxelToEye(state);
    // Eye depth grows towards the viewer: its gradient in voxel space is the
    // normal of slices parallel to the image plane.
    shr::Vec3d normal(toEye.m[0][2], toEye.m[1][2], toEye.m[2][2]);
    const double length = normal.Length();
    if (!(length > 0.0) || m_Bricks.empty())
        return;
    normal /= length;
    const int slices = SliceCount(static_cast<int>(m_Volume->m_Slices), m_TextureSize);
    const double diagonal = Diagonal(m_TextureSize);
    const double spacing = diagonal / (slices + 1);
    const shr::Vec3d centre(0.5 * m_TextureSize.x, 0.5 * m_TextureSize.y, 0.5 * m_TextureSize.z);
    const double first = normal.Dot(centre) - 0.5 * diagonal;
    for (const size_t b : DrawingOrder(m_Bricks, normal))
        DrawBrick(b, normal, first, spacing, slices, textured);
}

void dvr3dTex::DrawBrick(size_t index, const shr::Vec3d& normal, double first, double spacing, int slices,
                         bool textured) const
{
    const Brick& brick = m_Bricks[index];
    if (textured)
        glBindTexture(GL_TEXTURE_3D, m_Textures[index][0]);
    if (m_Volume->m_ShowBricks)
        DrawOutline(brick);
    double low = 0.0, high = 0.0;
    Reach(brick.box, normal, low, high);
    for (int s = 0; s < slices; ++s) {
        const double distance = first + (s + 1) * spacing;
        if (distance <= low || distance >= high)
            continue;
        const std::vector<shr::Vec3d> polygon = PlaneBoxPolygon(brick.box, normal, distance);
        if (polygon.size() < 3)
            continue;
        glBegin(textured ? GL_POLYGON : GL_LINE_LOOP);
        for (const shr::Vec3d& v : polygon) {
            glTexCoord3d(v.x * brick.scale.x + brick.offset.x, v.y * brick.scale.y + brick.offset.y,
                         v.z * brick.scale.z + brick.offset.z);
            glVertex3d(v.x, v.y, v.z);
        }
        glEnd();
    }
}

void dvr3dTex::DrawOutline(const Brick& brick) const
{
    glPushAttrib(GL_CURRENT_BIT | GL_ENABLE_BIT);
    glDisable(GL_TEXTURE_3D);
    glDisable(GL_BLEND);
    glColor3f(1.0f, 0.0f, 0.0f);
    auto corner = [&brick](int bits) {
        glVertex3d(bits & 1 ? brick.box.max.x : brick.box.min.x, bits & 2 ? brick.box.max.y : brick.box.min.y,
                   bits & 4 ? brick.box.max.z : brick.box.min.z);
    };
    glBegin(GL_LINES);
    for (int from = 0; from < 8; ++from)
        for (const int axis : {1, 2, 4})
            if (!(from & axis)) {
                corner(from);
                corner(from | axis);
            }
    glEnd();
    glPopAttrib();
}

} // namespace core
