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

    void Clear();
    bool Empty() const { return m_Indices.empty(); }
    size_t VertexCount() const { return m_Colors.size(); }
    size_t TriangleCount() const { return m_Indices.size() / 3; }

    // One tube through `count` points (see above); fewer than four distinct
    // points give no segment and add nothing.
    void AddTube(const shr::Vec3d* points, const shr::Color4b* colors, size_t count, double radius);

    // Sends the triangles with their normals and colours; needs a current
    // context with the lighting and colour-material state of the caller.
    void Draw() const;

    const std::vector<float>& Positions() const { return m_Positions; }
    const std::vector<float>& Normals() const { return m_Normals; }
    const std::vector<shr::Color4b>& Colors() const { return m_Colors; }
    const std::vector<uint32_t>& Indices() const { return m_Indices; }

private:
    uint32_t AddVertex(const shr::Vec3d& position, const shr::Vec3d& normal, const shr::Color4b& color);
    void AddCap(const std::vector<shr::Vec3d>& ring, const shr::Vec3d& center, const shr::Vec3d& normal,
                const shr::Color4b& color);

    std::vector<float> m_Positions;
    std::vector<float> m_Normals;
    std::vector<shr::Color4b> m_Colors;
    std::vector<uint32_t> m_Indices;
};

} // namespace core
