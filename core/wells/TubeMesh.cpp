#include "core/wells/TubeMesh.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace core {

namespace {

using shr::Vec3d;

// Cosine and sine of each side's angle.
const std::array<std::array<double, 2>, TubeMesh::Sides>& Angles()
{
    static const auto table = [] {
        std::array<std::array<double, 2>, TubeMesh::Sides> angles{};
        for (int k = 0; k < TubeMesh::Sides; ++k) {
            const double a = 2.0 * M_PI * k / TubeMesh::Sides;
            angles[size_t(k)] = {std::cos(a), std::sin(a)};
        }
        return angles;
    }();
    return table;
}

// A unit vector square to the unit vector d.
Vec3d Perpendicular(const Vec3d& d)
{
    const Vec3d axis = std::fabs(d.x) < 0.9 ? Vec3d(1, 0, 0) : Vec3d(0, 1, 0);
    return (axis - d * axis.Dot(d)).Normalized();
}

// The normal of the plane that bisects the bend from `in` to `out` (unit
// vectors or zero); `fallback` where they cancel.
Vec3d Bisector(const Vec3d& in, const Vec3d& out, const Vec3d& fallback)
{
    const Vec3d sum = in + out;
    return sum.Length() > 1e-9 ? sum.Normalized() : fallback;
}

// A bend sharper than this (cosine between axis and plane normal) is cut as
// if it were this sharp, so that a reversal cannot stretch a ring to infinity.
constexpr double kMinMitreCosine = 0.1;

// The ring of the circle of `radius` round `axis` (frame u, v) at `center`,
// carried along the axis onto the plane through `center` with normal `plane`.
void MitredRing(const Vec3d& center, const Vec3d& axis, const Vec3d& u, const Vec3d& v, double radius,
                const Vec3d& plane, std::vector<Vec3d>& ring)
{
    const double slope = std::max(axis.Dot(plane), kMinMitreCosine);
    ring.resize(TubeMesh::Sides);
    for (int k = 0; k < TubeMesh::Sides; ++k) {
        const auto& cs = Angles()[size_t(k)];
        const Vec3d offset = (u * cs[0] + v * cs[1]) * radius;
        ring[size_t(k)] = center + offset - axis * (offset.Dot(plane) / slope);
    }
}

} // namespace

void TubeMesh::Clear()
{
    m_Vertices.clear();
    m_Indices.clear();
}

size_t TubeMesh::Bytes() const
{
    return m_Vertices.capacity() * sizeof(Vertex) + m_Indices.capacity() * sizeof(uint32_t);
}

void TubeMesh::ShrinkToFit()
{
    m_Vertices.shrink_to_fit();
    m_Indices.shrink_to_fit();
}

uint32_t TubeMesh::AddVertex(const Vec3d& position, const Vec3d& normal, const shr::Color4b& color)
{
    const uint32_t index = static_cast<uint32_t>(m_Vertices.size());
    // A unit normal's components lie in -1..1: the bytes lie in -127..127.
    const auto byte = [](double c) { return static_cast<int8_t>(std::lround(std::clamp(c, -1.0, 1.0) * 127.0)); };
    m_Vertices.push_back(Vertex{{float(position.x), float(position.y), float(position.z)},
                                {byte(normal.x), byte(normal.y), byte(normal.z), 0},
                                color});
    return index;
}

// A fan round `center`, facing along `normal`.
void TubeMesh::AddCap(const std::vector<Vec3d>& ring, const Vec3d& center, const Vec3d& normal,
                      const shr::Color4b& color)
{
    const uint32_t middle = AddVertex(center, normal, color);
    for (const Vec3d& point : ring)
        AddVertex(point, normal, color);
    // The ring turns counter-clockwise round the tube's direction; a cap
    // that faces backwards takes its triangles the other way round.
    const bool forwards = (ring[1] - ring[0]).Cross(ring[2] - ring[1]).Dot(normal) > 0.0;
    for (uint32_t k = 0; k < Sides; ++k) {
        const uint32_t a = middle + 1 + k, b = middle + 1 + (k + 1) % Sides;
        m_Indices.insert(m_Indices.end(), {middle, forwards ? a : b, forwards ? b : a});
    }
}

void TubeMesh::AddTube(const Vec3d* points, const shr::Color4b* colors, size_t count, double radius, unsigned caps)
{
    if (count < 4)
        return;
    // The drawn points, each place once.
    std::vector<size_t>& drawn = m_Drawn;
    drawn.clear();
    for (size_t i = 1; i + 1 < count; ++i)
        if (drawn.empty() || points[i] != points[drawn.back()])
            drawn.push_back(i);
    if (drawn.size() < 2)
        return;
    const size_t segments = drawn.size() - 1;
    std::vector<Vec3d>& axes = m_Axes;
    axes.resize(segments);
    for (size_t j = 0; j < segments; ++j)
        axes[j] = (points[drawn[j + 1]] - points[drawn[j]]).Normalized();
    const Vec3d before = (points[drawn.front()] - points[0]).Normalized();
    const Vec3d after = (points[count - 1] - points[drawn.back()]).Normalized();
    const auto plane = [&](size_t j) {
        const Vec3d& in = j == 0 ? before : axes[j - 1];
        const Vec3d& out = j == segments ? after : axes[j];
        return Bisector(in, out, axes[std::min(j, segments - 1)]);
    };

    // Each ring is made once, with the frame of the segment that ends there,
    // and shared by the segment that starts there: the joins close.
    Vec3d u = Perpendicular(axes[0]);
    std::vector<Vec3d>& start = m_Start;
    std::vector<Vec3d>& end = m_End;
    MitredRing(points[drawn[0]], axes[0], u, axes[0].Cross(u), radius, plane(0), start);
    if (caps & StartCap)
        AddCap(start, points[drawn[0]], -plane(0), colors[drawn[0]]);
    for (size_t j = 0; j < segments; ++j) {
        const Vec3d& axis = axes[j];
        if (j > 0) // the frame carried onto this segment's axis
            u = (u - axis * u.Dot(axis)).Normalized();
        const Vec3d& origin = points[drawn[j]];
        MitredRing(points[drawn[j + 1]], axis, u, axis.Cross(u), radius, plane(j + 1), end);
        const auto normal = [&](const Vec3d& p) {
            const Vec3d w = p - origin;
            return (w - axis * w.Dot(axis)).Normalized();
        };
        const uint32_t first = static_cast<uint32_t>(m_Vertices.size());
        for (const Vec3d& p : start)
            AddVertex(p, normal(p), colors[drawn[j]]);
        for (const Vec3d& p : end)
            AddVertex(p, normal(p), colors[drawn[j + 1]]);
        for (uint32_t k = 0; k < Sides; ++k) {
            const uint32_t a0 = first + k, a1 = first + (k + 1) % Sides;
            const uint32_t b0 = a0 + Sides, b1 = a1 + Sides;
            m_Indices.insert(m_Indices.end(), {a0, a1, b0, b0, a1, b1});
        }
        start.swap(end);
    }
    if (caps & EndCap)
        AddCap(start, points[drawn.back()], plane(segments), colors[drawn.back()]);
}

void TubeMesh::Draw() const
{
    if (m_Indices.empty())
        return;
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    const Vertex* vertices = m_Vertices.data();
    glVertexPointer(3, GL_FLOAT, sizeof(Vertex), vertices->position);
    glNormalPointer(GL_BYTE, sizeof(Vertex), vertices->normal);
    glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(Vertex), &vertices->color);
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(m_Indices.size()), GL_UNSIGNED_INT, m_Indices.data());
    glPopClientAttrib();
}

} // namespace core
