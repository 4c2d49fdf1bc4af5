#include "core/graphics/VgVertexData.h"

namespace core {

namespace {

template <class T>
void Append(std::vector<T>& target, const T* values, size_t count)
{
    if (count == 0)
        return;
    target.insert(target.end(), values, values + count);
}

} // namespace

void VgVertexData::addVertices(const shr::Vec3d* vertices_, size_t count) { Append(vertices, vertices_, count); }

void VgVertexData::addColors(const shr::Color4b* colors_, size_t count) { Append(colors, colors_, count); }

void VgVertexData::addIndices(const int* indices_, size_t count) { Append(indices, indices_, count); }

void VgVertexData::clear()
{
    normalBinding = PER_VERTEX_INDEXED;
    materialBinding = OVERALL;
    textureBinding = PER_VERTEX_INDEXED;
    vertices.clear();
    normals.clear();
    colors.clear();
    texCoords.clear();
    indices.clear();
}

} // namespace core
