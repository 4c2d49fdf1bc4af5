#include "core/graphics/VolumeTexels.h"

#include "core/data/PrimConvert.h"
#include "core/data/ParallelFor.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/VbColorMap.h"
#include "core/network/CoreError.h"

#include <tbb/blocked_range.h>

#include <algorithm>
#include <cmath>

namespace core {

namespace {

// A texel byte from a computed level: the truncation of levels within the
// byte's range. A level outside it (a value beyond the data limits, a NaN)
// would make the conversion undefined; it is clamped, NaN giving 0.
unsigned char LevelByte(double level)
{
    if (!(level > 0.0))
        return 0;
    if (level >= 255.0)
        return 255;
    return static_cast<unsigned char>(level);
}

// Writes the texel of one voxel in one mode.
class TexelWriter {
public:
    TexelWriter(const TexelSource& source, int mode) : m_Map(source.colorMap), m_Mode(mode)
    {
        if (mode != TexPaletted || source.rgba)
            return;
        const std::pair<double, double> limits = source.lattice->DataMinMax(source.component);
        m_Min = limits.first;
        m_Factor = limits.second > limits.first ? 254.0 / (limits.second - limits.first) : 0.0;
    }

    void Value(double value, unsigned char* out) const
    {
        if (m_Mode == TexPaletted) {
            out[0] = LevelByte((value - m_Min) * m_Factor + 1.5);
            return;
        }
        const shr::Color4b color = m_Map->PosToColor(m_Map->DatToPos(value));
        switch (m_Mode) {
        case TexIntensity: out[0] = Luminance(color); break;
        case TexLuminanceAlpha:
            out[0] = Luminance(color);
            out[1] = color.a;
            break;
        default:
            out[0] = color.r;
            out[1] = color.g;
            out[2] = color.b;
            out[3] = color.a;
        }
    }

    void Blank(unsigned char* out, int bytes) const { std::fill(out, out + bytes, static_cast<unsigned char>(0)); }

private:
    const VbColorMap* m_Map;
    int m_Mode;
    double m_Min = 0.0;
    double m_Factor = 0.0;
};

void CheckBlock(const TexelSource& source, const shr::Vec3i& origin, const shr::Vec3i& end, const shr::Vec3i& size,
                int mode)
{
    bool valid = source.lattice && (source.rgba || source.colorMap) && BytesPerTexel(mode) > 0;
    if (valid) {
        const unsigned int* dims = source.lattice->GetDims();
        for (int a = 0; a < 3; ++a)
            valid = valid && origin[a] >= 0 && end[a] <= static_cast<int>(dims[a]) && end[a] - origin[a] <= size[a];
        valid = valid && (source.rgba ? source.lattice->ComponentCount() == 4 && source.lattice->DataType() == shr::UInt8
                                      : source.component < source.lattice->ComponentCount());
    }
    if (!valid)
        CORE_THROW(1);
}

template <class Element>
void FillRows(const TexelSource& source, const Element* values, const shr::Vec3i& origin, const shr::Vec3i& end,
              const shr::Vec3i& size, unsigned char* target, int mode)
{
    const VdUniformLattice& lattice = *source.lattice;
    const int bytes = BytesPerTexel(mode);
    const int nx = end.x - origin.x, ny = end.y - origin.y;
    const size_t rows = static_cast<size_t>(ny) * static_cast<size_t>(end.z - origin.z);
    const uint64_t stride = lattice.ComponentCount();
    const bool blanks = lattice.HasBlanks();
    const unsigned int component = source.rgba ? 0 : source.component;
    const TexelWriter writer(source, mode);
    auto fillRow = [&](size_t row) {
        const int j = origin.y + static_cast<int>(row % ny), k = origin.z + static_cast<int>(row / ny);
        unsigned char* out =
            target + ((static_cast<size_t>(k - origin.z) * size.y + (j - origin.y)) * size.x) * bytes;
        const uint32_t first = lattice.Index(origin.x, j, k);
        for (int i = 0; i < nx; ++i, out += bytes) {
            const uint32_t node = first + i;
            const Element* tuple = values + node * stride;
            bool blank = blanks && lattice.IsBlank(node, component);
            if (source.rgba) {
                for (unsigned int c = 1; blanks && c < 4; ++c)
                    blank = blank || lattice.IsBlank(node, c);
                if (blank)
                    writer.Blank(out, bytes);
                else
                    for (int c = 0; c < 4; ++c)
                        out[c] = PrimConvert<unsigned char>(tuple[c]);
            } else if (blank) {
                writer.Blank(out, bytes);
            } else {
                writer.Value(PrimConvert<double>(tuple[component]), out);
            }
        }
    };
    tbb::task_group_context context;
    ParallelForRanges(rows, 1, [&fillRow](const tbb::blocked_range<size_t>& range) {
        for (size_t row = range.begin(); row != range.end(); ++row)
            fillRow(row);
    }, context);
}

} // namespace

int BytesPerTexel(int mode)
{
    static const int kBytes[4] = {1, 1, 2, 4};
    return mode >= 0 && mode < 4 ? kBytes[mode] : 0;
}

TexelFormat TextureFormat(int mode)
{
    switch (mode) {
    case TexPaletted: return {GL_COLOR_INDEX, 0x80e5}; // 8-bit colour index
    case TexIntensity: return {GL_LUMINANCE, GL_INTENSITY8};
    case TexLuminanceAlpha: return {GL_LUMINANCE_ALPHA, GL_LUMINANCE8_ALPHA8};
    default: return {GL_RGBA, 4};
    }
}

int NextPowerOfTwo(int n)
{
    int power = 1;
    while (power < n && power < (1 << 30))
        power <<= 1;
    return power;
}

StackBudget TextureStackBudget(const shr::Vec3i& dims, int bytesPerTexel)
{
    StackBudget budget;
    budget.bytes = static_cast<uint64_t>(bytesPerTexel);
    for (int a = 0; a < 3; ++a) {
        budget.padded[a] = NextPowerOfTwo(dims[a]);
        budget.bytes *= static_cast<uint64_t>(budget.padded[a]);
    }
    budget.fits = budget.bytes <= kMaxTextureBytes;
    return budget;
}

void StackImageAxes(int axis, int& columns, int& rows)
{
    columns = axis == 0 ? 1 : 0;
    rows = axis == 2 ? 1 : 2;
}

void ExtractSlice(const unsigned char* volume, const shr::Vec3i& padded, int axis, int slice, int bytes,
                  std::vector<unsigned char>& image)
{
    int columns = 0, rows = 0;
    StackImageAxes(axis, columns, rows);
    const size_t width = static_cast<size_t>(padded[columns]), height = static_cast<size_t>(padded[rows]);
    const size_t rowBytes = static_cast<size_t>(padded.x) * bytes;
    const size_t layerBytes = rowBytes * static_cast<size_t>(padded.y);
    image.resize(width * height * bytes);
    unsigned char* out = image.data();
    if (axis == 2) {
        std::copy_n(volume + slice * layerBytes, layerBytes, out);
    } else if (axis == 1) {
        for (size_t k = 0; k < height; ++k, out += rowBytes)
            std::copy_n(volume + k * layerBytes + slice * rowBytes, rowBytes, out);
    } else {
        // Across X the image is transposed: each texel comes from another row.
        for (size_t k = 0; k < height; ++k)
            for (size_t j = 0; j < width; ++j, out += bytes)
                std::copy_n(volume + k * layerBytes + j * rowBytes + static_cast<size_t>(slice) * bytes, bytes, out);
    }
}

int SliceAxis(const shr::Vec3d& direction)
{
    const double x = std::fabs(direction.x), y = std::fabs(direction.y), z = std::fabs(direction.z);
    if (x > y && x > z)
        return 0;
    return y > z ? 1 : 2;
}

std::vector<Brick> BrickLayout(const shr::Vec3i& dims, const shr::Vec3i& limit)
{
    int edge[3], count[3];
    for (int a = 0; a < 3; ++a) {
        // A limit between powers of two counts as the one below it.
        const int wanted = std::max(limit[a], 1), power = NextPowerOfTwo(wanted);
        edge[a] = std::min(power > wanted ? power / 2 : power, NextPowerOfTwo(dims[a]));
        count[a] = edge[a] > 1 ? std::max((dims[a] - 3 + edge[a]) / (edge[a] - 1), 1) : std::max(dims[a], 1);
    }
    std::vector<Brick> bricks;
    bricks.reserve(static_cast<size_t>(count[0]) * count[1] * count[2]);
    int at[3];
    for (at[2] = 0; at[2] < count[2]; ++at[2])
        for (at[1] = 0; at[1] < count[1]; ++at[1])
            for (at[0] = 0; at[0] < count[0]; ++at[0]) {
                Brick brick;
                for (int a = 0; a < 3; ++a) {
                    const int step = std::max(edge[a] - 1, 1);
                    const int first = at[a] * step, last = std::min(first + edge[a], dims[a]);
                    brick.origin[a] = first;
                    brick.extent[a] = last - first;
                    brick.size[a] = NextPowerOfTwo(last - first);
                    // Inner faces lie half-way into the shared voxel.
                    brick.box.min[a] = first == 0 ? 0.0 : first + 0.5;
                    brick.box.max[a] = last == dims[a] ? dims[a] : last - 0.5;
                    brick.scale[a] = 1.0 / brick.size[a];
                    brick.offset[a] = -first * brick.scale[a];
                }
                bricks.push_back(brick);
            }
    return bricks;
}

void FillTexels(const TexelSource& source, const shr::Vec3i& origin, const shr::Vec3i& end, const shr::Vec3i& size,
                unsigned char* target, int mode)
{
    CheckBlock(source, origin, end, size, mode);
    if (end.x <= origin.x || end.y <= origin.y || end.z <= origin.z)
        return;
    if (source.colorMap)
        source.colorMap->PosToColor(0.0); // a fresh table before the workers read it
    DispatchPrimType(source.lattice->DataType(), [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        FillRows(source, static_cast<const Element*>(source.lattice->DataPtr()), origin, end, size, target, mode);
    });
}

std::array<shr::Color4b, 256> BuildPalette(const VbColorMap& colorMap, double min, double max)
{
    std::array<shr::Color4b, 256> palette;
    palette[0] = shr::Color4b(0, 0, 0, 0);
    for (int i = 1; i < 256; ++i)
        palette[i] = colorMap.PosToColor(colorMap.DatToPos(min + (i - 1) * (max - min) / 254.0));
    return palette;
}

unsigned char Luminance(const shr::Color4b& color)
{
    return static_cast<unsigned char>(color.g * 0.59 + color.r * 0.3 + color.b * 0.11 + 0.5);
}

} // namespace core
