#pragma once
// TubeMesh: the triangles of poly-cylinders, built as the well renderer's tube
// call draws them and kept in arrays that one draw call sends to OpenGL.
//
// The tube call takes points, a colour per point and a radius. The first and
// the last point are control points: the tube runs from the second point to
// the second last, and the control points fix the planes of its end caps.
// The geometry follows the extrusion library's join style 530
// (TUBE_NORM_EDGE | TUBE_JN_ANGLE | TUBE_JN_CAP) with 20 sides:
//
//   - each segment is a prism of 20 sides around the chord, its vertices
//     shared with the next segment's on the plane that bisects the angle
//     between the two (mitred joins), so that no crack opens at a bend;
//   - normals per edge: every vertex carries the direction from the axis,
//     which shades the tube smoothly round its girth;
//   - flat caps at both ends, in the plane that bisects the angle between
//     the end segment and its control point (a control point that repeats
//     the end point gives a cap square to the segment);
//   - colours: each ring takes its point's colour, so a segment shades from
//     one colour to the next; a cap takes the colour of its end point.
//
// Consecutive points at the same place are taken once. Positions arrive in
// double, already in the scene's shifted frame, and are stored as floats.
#include "shr/Color4b.h"
#include "shr/Vec3.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

class TubeMesh {
public:
    static constexpr int Sides = 20;
    // The extrusion library's join style that the geometry follows.
    static constexpr int JoinStyle = 530;
    // The caps a call draws; a caller leaves out a cap that nothing can see
    // (one that lies inside an opaque tube that goes on from there).
    enum Caps : unsigned { NoCaps = 0, StartCap = 1, EndCap = 2, BothCaps = 3 };

    // 20 bytes, as OpenGL reads them: the position, the normal in signed
    // bytes (127 is 1), the colour.
    struct Vertex {
        float position[3];
        int8_t normal[4];
        shr::Color4b color;
    };

    void Clear();
    bool Empty() const { return m_Indices.empty(); }
    size_t VertexCount() const { return m_Vertices.size(); }
    size_t TriangleCount() const { return m_Indices.size() / 3; }
    // The memory the geometry holds.
    size_t Bytes() const;
    // Gives back spare capacity, for a mesh that is kept.
    void ShrinkToFit();

    // One tube through `count` points (see above); fewer than two distinct
    // drawn points give no segment and add nothing.
    void AddTube(const shr::Vec3d* points, const shr::Color4b* colors, size_t count, double radius,
                 unsigned caps = BothCaps);

    // Sends the triangles with their normals and colours; needs a current
    // context with no buffer object bound, and the lighting and colour
    // material state of the caller.
    void Draw() const;

    const std::vector<Vertex>& Vertices() const { return m_Vertices; }
    const std::vector<uint32_t>& Indices() const { return m_Indices; }

private:
    uint32_t AddVertex(const shr::Vec3d& position, const shr::Vec3d& normal, const shr::Color4b& color);
    void AddCap(const std::vector<shr::Vec3d>& ring, const shr::Vec3d& center, const shr::Vec3d& normal,
                const shr::Color4b& color);

    std::vector<Vertex> m_Vertices;
    std::vector<uint32_t> m_Indices;
    // Working storage of AddTube, kept from one call to the next.
    std::vector<size_t> m_Drawn;
    std::vector<shr::Vec3d> m_Axes, m_Start, m_End;
};

static_assert(sizeof(TubeMesh::Vertex) == 20, "OpenGL reads the vertices with a stride of 20 bytes");

} // namespace core
