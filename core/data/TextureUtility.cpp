#include "core/data/TextureUtility.h"

#include "core/data/LatticeUtility.h"
#include "core/data/VdUniformLattice.h"
#include "shr/Exception.h"
#include "shr/MathUtil.h"

#include <algorithm>
#include <cstring>

namespace core {

namespace {

constexpr double kTexelTolerance = 1e-6;

using NodeRange = std::pair<unsigned int, unsigned int>;

[[noreturn]] void ThrowTextureError(int line, const char* text)
{
    shr::ThrowSharedError("Core", "TextureUtility", line, 0, text);
}

// The slice and component check of the collectors, along `axis`.
void CheckSlice(const VdLattice& lattice, int axis, unsigned int slice, unsigned int component)
{
    const unsigned int dim = lattice.GetDims()[axis];
    if (dim == 0 || slice > dim - 1)
        ThrowTextureError(__LINE__, "Invalid texture slice.");
    if (!IsRGBA(lattice) && lattice.ComponentCount() < component)
        ThrowTextureError(__LINE__, "Invalid texture component.");
}

bool IsPlainRGBA(const VdLattice& lattice)
{
    return IsRGBA(lattice) && !lattice.HasBlanks();
}

shr::Color4b NodeRGBA(const VdLattice& lattice, uint32_t node)
{
    for (unsigned int c = 0; c < 4; ++c)
        if (lattice.IsBlank(node, c))
            return shr::Color4b::Black;
    const unsigned char* bytes = static_cast<const unsigned char*>(lattice.DataPtr(node));
    return shr::Color4b(bytes[0], bytes[1], bytes[2], bytes[3]);
}

} // namespace

namespace TextureUtilityPrivate {

void CollectTexture(const VdLattice& lattice, const NodeRange& i, const NodeRange& j, const NodeRange& k,
                    unsigned int component, const ColorInterpolator& interp, std::vector<shr::Color4b>& out)
{
    const uint64_t texels = uint64_t(i.second - i.first) * (j.second - j.first) * (k.second - k.first);
    if (out.size() < texels)
        ThrowTextureError(__LINE__, "Texture buffer is too small.");
    const bool rgba = IsRGBA(lattice);
    const double low = rgba ? 0.0 : lattice.DataMin(component);
    size_t texel = 0;
    for (unsigned int nk = k.first; nk < k.second; ++nk) {
        for (unsigned int nj = j.first; nj < j.second; ++nj) {
            for (unsigned int ni = i.first; ni < i.second; ++ni, ++texel) {
                const uint32_t node = lattice.Index(ni, nj, nk);
                if (rgba) {
                    out[texel] = NodeRGBA(lattice, node);
                    continue;
                }
                out[texel] = interp(lattice.IsBlank(node, component) ? low : NodeValue(lattice, node, component));
            }
        }
    }
}

} // namespace TextureUtilityPrivate

void CollectTextureXY(const VdLattice& lattice, unsigned int slice, unsigned int component,
                      const ColorInterpolator& interp, std::vector<shr::Color4b>& out)
{
    CheckSlice(lattice, 2, slice, component);
    const unsigned int* dims = lattice.GetDims();
    out.resize(size_t(dims[0]) * dims[1]);
    if (out.empty())
        return;
    if (IsPlainRGBA(lattice)) {
        std::memcpy(out.data(), lattice.DataPtr(0, 0, slice), out.size() * sizeof(shr::Color4b));
        return;
    }
    TextureUtilityPrivate::CollectTexture(lattice, {0, dims[0]}, {0, dims[1]}, {slice, slice + 1}, component, interp,
                                          out);
}

void CollectTextureXZ(const VdLattice& lattice, unsigned int slice, unsigned int component,
                      const ColorInterpolator& interp, std::vector<shr::Color4b>& out)
{
    CheckSlice(lattice, 1, slice, component);
    const unsigned int* dims = lattice.GetDims();
    out.resize(size_t(dims[0]) * dims[2]);
    if (out.empty())
        return;
    if (IsPlainRGBA(lattice)) {
        for (unsigned int k = 0; k < dims[2]; ++k)
            std::memcpy(&out[size_t(k) * dims[0]], lattice.DataPtr(0, slice, k), dims[0] * sizeof(shr::Color4b));
        return;
    }
    TextureUtilityPrivate::CollectTexture(lattice, {0, dims[0]}, {slice, slice + 1}, {0, dims[2]}, component, interp,
                                          out);
}

void CollectTextureYZ(const VdLattice& lattice, unsigned int slice, unsigned int component,
                      const ColorInterpolator& interp, std::vector<shr::Color4b>& out)
{
    CheckSlice(lattice, 0, slice, component);
    const unsigned int* dims = lattice.GetDims();
    out.resize(size_t(dims[1]) * dims[2]);
    TextureUtilityPrivate::CollectTexture(lattice, {slice, slice + 1}, {0, dims[1]}, {0, dims[2]}, component, interp,
                                          out);
}

void CollectPaddedTextureXY(const VdLattice& lattice, unsigned int slice, unsigned int component,
                            const ColorInterpolator& interp, std::vector<shr::Color4b>& out)
{
    std::vector<shr::Color4b> image;
    CollectTextureXY(lattice, slice, component, interp, image);
    const unsigned int* dims = lattice.GetDims();
    const size_t width = size_t(dims[0]) + 1;
    std::vector<shr::Color4b> padded(width * (dims[1] + 1), shr::Color4b(255, 255, 255, 0));
    for (unsigned int row = 0; row < dims[1]; ++row)
        std::copy_n(image.data() + size_t(row) * dims[0], dims[0], padded.data() + (row + 1) * width + 1);
    out.swap(padded);
}

void CollectTextureClipped(const VdUniformLattice& source, const VdLattice& target, unsigned int sourceSlice,
                           unsigned int targetSlice, unsigned int component, const ColorInterpolator& interp,
                           std::vector<shr::Color4b>& colors, std::vector<float>& coords)
{
    colors.clear();
    coords.clear();
    const unsigned int* targetDims = target.GetDims();
    if (targetDims[2] == 0 || targetSlice > targetDims[2] - 1)
        ThrowTextureError(__LINE__, "Invalid texture slice.");
    CollectPaddedTextureXY(source, sourceSlice, component, interp, colors);
    coords.assign(size_t(targetDims[0]) * targetDims[1] * 2, 0.0f);
    const unsigned int* dims = source.GetDims();
    const shr::Vec3d low = source.IJKToXYZ(0, 0, sourceSlice);
    const shr::Vec3d high = source.IJKToXYZ(dims[0] - 1, dims[1] - 1, sourceSlice);
    const double dx = source.GetSpacing().x, dy = source.GetSpacing().y;
    const double lastA = dims[0] - 1.0, lastB = dims[1] - 1.0;
    size_t n = 0;
    for (unsigned int j = 0; j < targetDims[1]; ++j) {
        for (unsigned int i = 0; i < targetDims[0]; ++i, n += 2) {
            shr::Vec3d abc = source.XYZToIJK(target.IJKToXYZ(i, j, targetSlice));
            if (!(abc.x >= -kTexelTolerance && abc.x <= lastA + kTexelTolerance && abc.y >= -kTexelTolerance &&
                  abc.y <= lastB + kTexelTolerance))
                continue;
            abc.x = std::clamp(abc.x, 0.0, lastA);
            abc.y = std::clamp(abc.y, 0.0, lastB);
            const shr::Vec3d xyz = source.IJKToXYZ(abc);
            if (xyz.x < low.x || xyz.x > high.x || xyz.y < low.y || xyz.y > high.y)
                continue;
            coords[n] = static_cast<float>(shr::Normalize(xyz.x, low.x - dx, high.x));
            coords[n + 1] = static_cast<float>(shr::Normalize(xyz.y, low.y - dy, high.y));
        }
    }
}

} // namespace core
