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

// The segments of the triangles of one block, two end points each, in the
// order the crossing code gives them.
void BlockSegments(double level, const VbTriangulateLattice2D& t, size_t block, std::vector<shr::Vec3d>& points)
{
    constexpr float kInvalid = VbTriangulateLattice2D::kInvalid;
    const size_t end = std::min(t.triangles.size(), (block + 1) * VbTriangulateLattice2D::kBlockSize);
    for (size_t n = block * VbTriangulateLattice2D::kBlockSize; n < end; ++n) {
        const uint32_t a = t.triangles[n][0], b = t.triangles[n][1], c = t.triangles[n][2];
        const float va = t.values[a], vb = t.values[b], vc = t.values[c];
        if (va == kInvalid || vb == kInvalid || vc == kInvalid)
            continue;
        switch ((level > va ? 1u : 0u) + (level > vb ? 2u : 0u) + (level > vc ? 4u : 0u)) {
        case 1:
        case 6:
            points.push_back(Crossing(t, a, b, level));
            points.push_back(Crossing(t, c, a, level));
            break;
        case 2:
        case 5:
            points.push_back(Crossing(t, b, c, level));
            points.push_back(Crossing(t, a, b, level));
            break;
        case 3:
        case 4:
            points.push_back(Crossing(t, c, a, level));
            points.push_back(Crossing(t, b, c, level));
            break;
        default:
            break;
        }
    }
}

// The blocks whose value range holds `level`, in order.
void CrossingBlocks(double level, const VbTriangulateLattice2D& t, std::vector<size_t>& blocks)
{
    constexpr size_t kGroup = VbTriangulateLattice2D::kGroupBlocks;
    for (size_t group = 0; group < t.GroupCount(); ++group) {
        if (!t.GroupMayCross(group, level))
            continue;
        const size_t end = std::min(t.BlockCount(), (group + 1) * kGroup);
        for (size_t block = group * kGroup; block < end; ++block)
            if (t.BlockMayCross(block, level))
                blocks.push_back(block);
    }
}

void PrefetchTriangles(const VbTriangulateLattice2D& t, size_t block)
{
    const char* first = reinterpret_cast<const char*>(t.triangles.data() + block * VbTriangulateLattice2D::kBlockSize);
    for (size_t byte = 0; byte < VbTriangulateLattice2D::kBlockSize * sizeof(VbTriangulateLattice2D::Triangle);
         byte += 64)
        __builtin_prefetch(first + byte);
}

// The vertices and values of a block's first triangle and a few after them:
// the triangles of a block lie close together.
void PrefetchNodes(const VbTriangulateLattice2D& t, size_t block)
{
    const VbTriangulateLattice2D::Triangle& first = t.triangles[block * VbTriangulateLattice2D::kBlockSize];
    for (const uint32_t node : {first[0], first[1]}) {
        __builtin_prefetch(t.values.data() + node);
        const char* vertex = reinterpret_cast<const char*>(t.vertices.data() + node);
        for (size_t byte = 0; byte < 4 * 64; byte += 64)
            __builtin_prefetch(vertex + byte);
    }
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
    std::vector<size_t> blocks;
    CrossingBlocks(level, triangulation, blocks);
    // The blocks lie far apart: their memory is asked for some blocks ahead,
    // the triangles first and then the vertices and values they name.
    constexpr size_t kTrianglesAhead = 16, kNodesAhead = 8;
    for (size_t k = 0; k < blocks.size(); ++k) {
        if (k + kTrianglesAhead < blocks.size())
            PrefetchTriangles(triangulation, blocks[k + kTrianglesAhead]);
        if (k + kNodesAhead < blocks.size())
            PrefetchNodes(triangulation, blocks[k + kNodesAhead]);
        BlockSegments(level, triangulation, blocks[k], points);
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
