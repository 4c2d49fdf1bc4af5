#pragma once
// Surfaces for tests: fields sampled as floats on the three kinds of lattice
// with the same node coordinates, and checks of the meshes modules make from
// them (closed, consistently wound, Euler characteristic).
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/VgVertexData.h"
#include "shr/Box3d.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace isotest {

using Field = std::function<double(double, double, double)>;

enum class Kind { Uniform, Rectilinear, Curvilinear };

// `field` sampled as floats on n^3 nodes spanning [lo, hi] on each axis. The
// rectilinear and curvilinear kinds get the very same node coordinates as the
// uniform one, unless `stretch` bends the rectilinear axes (x -> x + s x^3).
inline std::unique_ptr<core::VdLattice> Sample(Kind kind, const unsigned int dims[3], const Field& field,
                                               double lo = -1.0, double hi = 1.0, double stretch = 0.0)
{
    std::vector<double> axes[3];
    for (int a = 0; a < 3; ++a)
        for (unsigned int n = 0; n < dims[a]; ++n) {
            const double c = lo + n * ((hi - lo) / (dims[a] - 1));
            axes[a].push_back(kind == Kind::Rectilinear ? c + stretch * c * c * c : c);
        }
    std::vector<float> values;
    std::vector<double> coords;
    for (unsigned int k = 0; k < dims[2]; ++k)
        for (unsigned int j = 0; j < dims[1]; ++j)
            for (unsigned int i = 0; i < dims[0]; ++i) {
                values.push_back(static_cast<float>(field(axes[0][i], axes[1][j], axes[2][k])));
                coords.insert(coords.end(), {axes[0][i], axes[1][j], axes[2][k]});
            }
    switch (kind) {
    case Kind::Uniform: {
        auto lattice = std::make_unique<core::VdUniformLattice>(shr::Float, dims, values.data(), 1);
        lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(lo, lo, lo), shr::Vec3d(hi, hi, hi)));
        return lattice;
    }
    case Kind::Rectilinear:
        return std::make_unique<core::VdRectilinearLattice>(shr::Float, dims, values.data(), 1, axes[0], axes[1],
                                                            axes[2]);
    case Kind::Curvilinear:
        return std::make_unique<core::VdCurvilinearLattice>(shr::Double, shr::Float, dims, coords.data(),
                                                            values.data(), 1);
    }
    return nullptr;
}

inline std::unique_ptr<core::VdLattice> Sample(Kind kind, unsigned int n, const Field& field)
{
    const unsigned int dims[3] = {n, n, n};
    return Sample(kind, dims, field);
}

inline double Sphere(double x, double y, double z) { return x * x + y * y + z * z; }

// What the triangles of a surface say about its shape.
struct MeshReport {
    size_t triangles = 0;
    size_t vertices = 0;
    size_t badTriangles = 0;       // wrong terminator or a repeated vertex
    size_t openEdges = 0;          // used by one triangle only
    size_t overusedEdges = 0;      // used by more than two
    size_t inconsistentEdges = 0;  // walked the same way by both triangles
    size_t unusedVertices = 0;
    size_t edges = 0;
    long long Euler() const
    {
        return static_cast<long long>(vertices) - static_cast<long long>(edges) + static_cast<long long>(triangles);
    }
    bool Closed() const { return badTriangles == 0 && openEdges == 0 && overusedEdges == 0 && inconsistentEdges == 0; }
};

inline MeshReport Inspect(const core::VgVertexData& data)
{
    MeshReport report;
    report.vertices = data.vertices.size();
    std::map<std::pair<int, int>, int> directed;
    std::vector<char> used(data.vertices.size(), 0);
    const std::vector<int>& idx = data.indices;
    for (size_t t = 0; t < idx.size(); t += 4) {
        ++report.triangles;
        if (t + 3 >= idx.size() || idx[t + 3] != -1) {
            ++report.badTriangles;
            continue;
        }
        const int a = idx[t], b = idx[t + 1], c = idx[t + 2];
        const int count = static_cast<int>(data.vertices.size());
        if (a == b || b == c || a == c || std::min({a, b, c}) < 0 || std::max({a, b, c}) >= count) {
            ++report.badTriangles;
            continue;
        }
        for (const auto& e : {std::make_pair(a, b), std::make_pair(b, c), std::make_pair(c, a)})
            ++directed[e];
        used[a] = used[b] = used[c] = 1;
    }
    auto uses = [&](int from, int to) {
        const auto found = directed.find(std::make_pair(from, to));
        return found == directed.end() ? 0 : found->second;
    };
    for (const auto& entry : directed) {
        const auto [u, v] = entry.first;
        if (u > v && uses(v, u) > 0)
            continue; // counted with its reverse
        ++report.edges;
        const int forward = uses(u, v), backward = uses(v, u);
        if (forward + backward == 1)
            ++report.openEdges;
        else if (forward + backward > 2)
            ++report.overusedEdges;
        else if (forward != 1)
            ++report.inconsistentEdges;
    }
    for (char u : used)
        report.unusedVertices += u ? 0 : 1;
    return report;
}

// The right-handed normal of each triangle, from its winding.
inline shr::Vec3d WindingNormal(const core::VgVertexData& data, size_t triangle)
{
    const shr::Vec3d& a = data.vertices[data.indices[4 * triangle]];
    const shr::Vec3d& b = data.vertices[data.indices[4 * triangle + 1]];
    const shr::Vec3d& c = data.vertices[data.indices[4 * triangle + 2]];
    return (b - a).Cross(c - a);
}

inline shr::Vec3d Normal(const core::VgVertexData& data, size_t vertex)
{
    const SbVec3f& n = data.normals[vertex];
    return shr::Vec3d(n[0], n[1], n[2]);
}

} // namespace isotest
