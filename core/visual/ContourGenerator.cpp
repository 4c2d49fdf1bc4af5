#include "core/visual/ContourGenerator.h"

#include "core/data/VdLattice.h"
#include "core/graphics/VbColorMap.h"
#include "core/graphics/VbSegCombiner.h"
#include "core/graphics/VgRenderer.h"
#include "core/visual/VbTriangulateLattice2D.h"

#include <algorithm>
#include <utility>

namespace core {

namespace ContourGeneratorPrivate {

// The crossing of `level` with the edge (a, b), interpolated from the vertex
// of the lower number whichever triangle asks, so that the two triangles of
// an edge get the same bits.
inline shr::Vec3d Crossing(const VbTriangulateLattice2D& t, uint32_t a, uint32_t b, double level)
{
    if (b < a)
        std::swap(a, b);
    const double va = t.values[a], vb = t.values[b];
    const double fraction = (level - va) / (vb - va);
    return t.vertices[a] + (t.vertices[b] - t.vertices[a]) * fraction;
}

} // namespace ContourGeneratorPrivate

using namespace ContourGeneratorPrivate;

std::mutex& ContourGenerator::ContourLock()
{
    static std::mutex lock;
    return lock;
}

void ContourGenerator::Segments(double level, const VbTriangulateLattice2D& triangulation,
                                std::vector<shr::Vec3d>& points)
{
    points.clear();
    const std::vector<float>& v = triangulation.values;
    const size_t blocks = triangulation.BlockBounds().size();
    const size_t triangleCount = triangulation.triangles.size();
    for (size_t block = 0; block < blocks; ++block) {
        if (!triangulation.BlockMayCross(block, level))
            continue;
        const size_t end = std::min(triangleCount, (block + 1) * VbTriangulateLattice2D::kBlockSize);
        for (size_t n = block * VbTriangulateLattice2D::kBlockSize; n < end; ++n) {
            const uint32_t a = triangulation.triangles[n][0], b = triangulation.triangles[n][1],
                           c = triangulation.triangles[n][2];
            const float va = v[a], vb = v[b], vc = v[c];
            if (va == VbTriangulateLattice2D::kInvalid || vb == VbTriangulateLattice2D::kInvalid ||
                vc == VbTriangulateLattice2D::kInvalid)
                continue;
            const unsigned int code = (level > va ? 1u : 0u) + (level > vb ? 2u : 0u) + (level > vc ? 4u : 0u);
            switch (code) {
            case 1:
            case 6:
                points.push_back(Crossing(triangulation, a, b, level));
                points.push_back(Crossing(triangulation, c, a, level));
                break;
            case 2:
            case 5:
                points.push_back(Crossing(triangulation, b, c, level));
                points.push_back(Crossing(triangulation, a, b, level));
                break;
            case 3:
            case 4:
                points.push_back(Crossing(triangulation, c, a, level));
                points.push_back(Crossing(triangulation, b, c, level));
                break;
            default:
                break;
            }
        }
    }
}

void ContourGenerator::Trace(double level, const VbTriangulateLattice2D& triangulation, Lines& lines)
{
    lines.data.clear();
    lines.counts.clear();
    Segments(level, triangulation, lines.segments);
    if (lines.segments.size() < 2)
        return;
    VbSegCombiner combiner;
    combiner.Connect(lines.segments.data(), lines.segments.size() / 2);
    std::vector<shr::Vec3d>& out = lines.data.vertices;
    out.reserve(combiner.GetTotalVertexCount());
    for (const VbSegCombiner::Chain& chain : combiner.GetChains()) {
        lines.counts.push_back(static_cast<int>(chain.size()));
        for (const int id : chain)
            out.push_back(lines.segments[static_cast<size_t>(id)]);
    }
    const VdLattice& lattice = triangulation.Lattice();
    if (lattice.HasUserTransform())
        for (shr::Vec3d& p : out)
            p = lattice.UVWToXYZ(p);
}

void ContourGenerator::operator()(const tbb::blocked_range<size_t>& range) const
{
    Lines lines;
    for (size_t l = range.begin(); l != range.end(); ++l) {
        const double level = (*m_Levels)[l];
        Trace(level, *m_Triangulation, lines);
        if (!lines.counts.empty())
            Draw(level, lines);
    }
}

void ContourGenerator::Draw(double level, const Lines& lines) const
{
    const std::lock_guard<std::mutex> hold(ContourLock());
    m_Renderer->setBaseColor(m_ColorMap->PosToColor(m_ColorMap->DatToPos(level)));
    m_Renderer->drawLineStripSet(lines.data, lines.counts.data(), lines.counts.size());
}

} // namespace core
