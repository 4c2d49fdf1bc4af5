#pragma once
// VgVertexData: the double-precision vertex container a visual module fills
// (often on worker threads) and hands to VgRenderer, which offsets and narrows
// the positions to float. Bindings use the scene graph's binding numbers.
// Modules fill the vectors directly, so the fields are public.
#include "shr/Color4b.h"
#include "shr/Vec3.h"

#include <Inventor/SbVec2f.h>
#include <Inventor/SbVec3f.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

class VgVertexData {
public:
    // The scene graph's binding numbers (vertex property bindings).
    enum Binding : int32_t {
        OVERALL = 2,
        PER_PART = 3,
        PER_PART_INDEXED = 4,
        PER_FACE = 5,
        PER_FACE_INDEXED = 6,
        PER_VERTEX = 7,
        PER_VERTEX_INDEXED = 8
    };

    VgVertexData() = default;
    VgVertexData(const VgVertexData&) = default;
    VgVertexData& operator=(const VgVertexData&) = default;

    // Each appends `count` entries; a count of 0 does nothing.
    void addVertices(const shr::Vec3d* vertices, size_t count);
    void addColors(const shr::Color4b* colors, size_t count);
    void addIndices(const int* indices, size_t count);

    // Default bindings, empty vectors; the capacity is kept for reuse.
    void clear();

    Binding normalBinding = PER_VERTEX_INDEXED;
    Binding materialBinding = OVERALL;
    Binding textureBinding = PER_VERTEX_INDEXED;
    std::vector<shr::Vec3d> vertices;  // not yet offset
    std::vector<SbVec3f> normals;
    std::vector<shr::Color4b> colors;
    std::vector<SbVec2f> texCoords;
    std::vector<int> indices;  // coordinate indices, -1 ends a face or line
};

} // namespace core
