#pragma once
// Lattice slices as colour images, for textured slices and height fields.
//
// An RGBA lattice (four UInt8 components) gives its own colours: a node with
// any blank component is black, and a slice without blanks is copied as bytes.
// Any other lattice goes through a ColorInterpolator, component by component;
// a blank takes the colour of the component's minimum, not a transparent texel.
//
// Errors: "Invalid texture slice." for a slice past the lattice (or a lattice
// without nodes on that axis); "Invalid texture component." for a component
// above the count (the count itself passes the check).
#include "core/graphics/ColorInterpolator.h"
#include "shr/Color4b.h"

#include <utility>
#include <vector>

namespace core {

class VdLattice;
class VdUniformLattice;

// The XY slice at k = slice, dims[0] * dims[1] texels, i fastest.
void CollectTextureXY(const VdLattice& lattice, unsigned int slice, unsigned int component,
                      const ColorInterpolator& interp, std::vector<shr::Color4b>& out);
// The XZ slice at j = slice, dims[0] * dims[2] texels.
void CollectTextureXZ(const VdLattice& lattice, unsigned int slice, unsigned int component,
                      const ColorInterpolator& interp, std::vector<shr::Color4b>& out);
// The YZ slice at i = slice, dims[1] * dims[2] texels.
void CollectTextureYZ(const VdLattice& lattice, unsigned int slice, unsigned int component,
                      const ColorInterpolator& interp, std::vector<shr::Color4b>& out);
// The XY slice with one transparent white row and column before it:
// (dims[0] + 1) * (dims[1] + 1) texels.
void CollectPaddedTextureXY(const VdLattice& lattice, unsigned int slice, unsigned int component,
                            const ColorInterpolator& interp, std::vector<shr::Color4b>& out);
// The padded XY slice of `source`, and for each node of the target's layer
// (i fastest) a texture coordinate pair that lays it on the target: (0, 0),
// the transparent corner, for target nodes outside the source.
void CollectTextureClipped(const VdUniformLattice& source, const VdLattice& target, unsigned int sourceSlice,
                           unsigned int targetSlice, unsigned int component, const ColorInterpolator& interp,
                           std::vector<shr::Color4b>& colors, std::vector<float>& coords);

namespace TextureUtilityPrivate {

// The colours of the nodes of half-open ranges, k outer and i inner, written
// from the start of `out`, which must hold them all.
void CollectTexture(const VdLattice& lattice, const std::pair<unsigned int, unsigned int>& i,
                    const std::pair<unsigned int, unsigned int>& j, const std::pair<unsigned int, unsigned int>& k,
                    unsigned int component, const ColorInterpolator& interp, std::vector<shr::Color4b>& out);

} // namespace TextureUtilityPrivate

} // namespace core
