#pragma once
// ContourGenerator: the body of the contour module's parallel loop over its
// levels. Each level is traced over the shared triangulation into its own
// buffers: a segment per crossed triangle, joined into polylines, moved by the
// lattice's user transform, and drawn in the colour of the level. Only the
// drawing touches the renderer, inside the one process-wide contour lock, so
// the levels reach the scene in the order they finish.
#include "core/graphics/VgVertexData.h"
#include "shr/Vec3.h"

#include <tbb/blocked_range.h>

#include <cstddef>
#include <mutex>
#include <vector>

namespace core {

class VbColorMap;
class VbTriangulateLattice2D;
class VgRenderer;

class ContourGenerator {
public:
    // One level's lines: the chains' vertices one after the other, and the
    // vertex count of each chain.
    struct Lines {
        VgVertexData data;
        std::vector<int> counts;
        // The segments' end points, two a segment; kept for their memory.
        std::vector<shr::Vec3d> segments;
    };

    // All shared, read-only, but the renderer. The colour map's table must be
    // fresh (one PosToColor call makes it so) before the loop starts.
    ContourGenerator(const std::vector<double>& levels, const VbTriangulateLattice2D& triangulation,
                     const VbColorMap& colorMap, VgRenderer& renderer)
        : m_Levels(&levels), m_Triangulation(&triangulation), m_ColorMap(&colorMap), m_Renderer(&renderer)
    {
    }

    void operator()(const tbb::blocked_range<size_t>& range) const;

    // The crossings of `level` with the triangles, two end points a segment.
    // A corner counts as below when level > its value; a triangle with an
    // invalid corner is passed over. Both triangles of an edge cut it at the
    // same point, bit for bit.
    static void Segments(double level, const VbTriangulateLattice2D& triangulation,
                         std::vector<shr::Vec3d>& points);
    // The segments of `level` joined into chains, in scene coordinates.
    static void Trace(double level, const VbTriangulateLattice2D& triangulation, Lines& lines);
    // Guards every use of the renderer from the loop's tasks.
    static std::mutex& ContourLock();

private:
    void Draw(double level, const Lines& lines) const;

    const std::vector<double>* m_Levels;
    const VbTriangulateLattice2D* m_Triangulation;
    const VbColorMap* m_ColorMap;
    VgRenderer* m_Renderer;
};

} // namespace core
