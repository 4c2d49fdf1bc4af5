#pragma once
// The arithmetic of the volume textures, apart from any GL context: texel
// formats and sizes, the byte budget of a slice stack, the bricks of a 3-D
// texture, the stack axis for a view direction, and the filling of texels from
// a lattice through a colour map.
//
// Voxel space: a lattice of n nodes on an axis spans 0 to n on that axis,
// node i owning the voxel from i to i + 1 (its texel centre at i + 0.5).
#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/Vec3.h"

#include <GL/gl.h>

#include <array>
#include <cstdint>
#include <vector>

namespace core {

class VbColorMap;
class VdUniformLattice;

enum VolumeTextureMode : int { TexPaletted = 0, TexIntensity = 1, TexLuminanceAlpha = 2, TexRGBA = 3 };

// 1, 1, 2, 4 by mode; 0 for an unknown mode.
int BytesPerTexel(int mode);

struct TexelFormat {
    GLenum external;
    GLint internal;
};
// The upload formats of a mode (an unknown mode gets RGBA's).
TexelFormat TextureFormat(int mode);

// The wrap of every volume texture. Plain clamping (GL_CLAMP) blends the
// border colour into the outer half texel where a driver implements it to the
// letter, which darkens and clears the faces of the volume; clamping to the
// edge gives the faces the colour of their voxels.
constexpr GLint kVolumeWrap = GL_CLAMP_TO_EDGE;

// The smallest power of two at or above n; 1 for n below 2.
int NextPowerOfTwo(int n);

// A texture larger than this many bytes is not attempted.
constexpr uint64_t kMaxTextureBytes = 0x7fffffff;

// The three stacks of 2-D textures share one buffer of the padded volume.
struct StackBudget {
    shr::Vec3i padded;
    uint64_t bytes = 0;
    bool fits = false; // bytes within kMaxTextureBytes
};
StackBudget TextureStackBudget(const shr::Vec3i& dims, int bytesPerTexel);

// The two axes of a stack's images, columns then rows: X and Y across Z, X
// and Z across Y, Y and Z across X.
void StackImageAxes(int axis, int& columns, int& rows);

// Slice `slice` of the stack across `axis`, cut from a volume of `padded`
// texels of `bytes` bytes (X fastest), as an image on StackImageAxes.
void ExtractSlice(const unsigned char* volume, const shr::Vec3i& padded, int axis, int slice, int bytes,
                  std::vector<unsigned char>& image);

// The stack to draw for a view direction (any length): the axis of the
// largest absolute component, a tie going to the later axis.
int SliceAxis(const shr::Vec3d& direction);

// One brick of a 3-D texture. Bricks overlap their neighbours by one voxel, so
// that linear filtering has no seam; each draws only its share of the volume.
struct Brick {
    shr::Vec3i origin;  // first voxel
    shr::Vec3i extent;  // voxels taken from the lattice
    shr::Vec3i size;    // texture size: each extent padded to a power of two
    shr::Box3d box;     // the part of voxel space the brick draws
    shr::Vec3d scale;   // texture coordinate = voxel position * scale + offset
    shr::Vec3d offset;
};

// The bricks of a volume of `dims` voxels, in Z, Y, X order (X fastest). A
// brick edge is at most `limit` (a power of two) on each axis; axes of one
// voxel take one brick.
std::vector<Brick> BrickLayout(const shr::Vec3i& dims, const shr::Vec3i& limit);

// Where texels come from: one component of a lattice through a colour map,
// or the four bytes of an RGBA lattice as they stand.
struct TexelSource {
    const VdUniformLattice* lattice = nullptr;
    unsigned int component = 0;
    const VbColorMap* colorMap = nullptr;
    bool rgba = false;
};

// Fills the voxels from `origin` up to `end` (exclusive) into `target`, a
// block of size.x * size.y * size.z texels of BytesPerTexel(mode) bytes, the
// origin voxel at its start; what lies beyond the voxels is left alone.
//   mode 0: index 1 + (value - min) * 254 / (max - min), truncated, over the
//           component's data limits; 0, transparent, for a blank;
//   mode 1: the grey of the value's colour; 0 for a blank;
//   mode 2: that grey and the colour's alpha; alpha 0 for a blank;
//   mode 3: the colour, or an RGBA lattice's four bytes; all 0 for a blank.
// Rows are filled in parallel; each texel depends on its voxel only. A source
// without lattice, or with neither colour map nor RGBA data, or a block that
// does not hold the voxels, raises the internal error.
void FillTexels(const TexelSource& source, const shr::Vec3i& origin, const shr::Vec3i& end, const shr::Vec3i& size,
                unsigned char* target, int mode);

// The colour table of mode 0: entry 0 transparent black, entry i from 1 to
// 255 the colour of min + (i - 1) * (max - min) / 254.
std::array<shr::Color4b, 256> BuildPalette(const VbColorMap& colorMap, double min, double max);

// Red 0.3, green 0.59, blue 0.11, rounded.
unsigned char Luminance(const shr::Color4b& color);

} // namespace core
