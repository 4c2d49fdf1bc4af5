#pragma once
// VbSegCombiner: joins loose line segments that share end points exactly into
// polylines (chains of vertex indices), so that contour and slice lines draw
// as strips. Only the two immediate neighbours in sorted order are examined at
// each end point: where more than two segments meet, chains break in an order
// fixed by the sort. Shared end points must be bit-identical.
#include "shr/Vec3.h"

#include <cstddef>
#include <vector>

namespace core {

class VbSegCombiner {
public:
    // The sorted positions of a segment's two end vertices; the first is -1
    // once the segment has been taken into a chain.
    struct CSeg {
        int pos[2] = {-1, -1};
    };
    typedef std::vector<int> Chain;

    VbSegCombiner() = default;
    VbSegCombiner(const VbSegCombiner&) = default;
    VbSegCombiner& operator=(const VbSegCombiner&) = default;

    // `vertices` holds 2 * segmentCount positions, segment i being vertices
    // 2i and 2i + 1. Replaces the chains by those of these segments.
    void Connect(const shr::Vec3d* vertices, size_t segmentCount);

    const std::vector<Chain>& GetChains() const { return m_Chains; }
    size_t GetTotalVertexCount() const;
    void Clear() { m_Chains.clear(); }

    // The sorted position of the far end of an unused segment that starts
    // where the end point at sorted position k lies, looking only at k's two
    // sorted neighbours; -1 when there is none.
    static int FindNextSeg(const shr::Vec3d* vertices, const std::vector<int>& order, const std::vector<CSeg>& segs,
                           size_t segmentCount, int k);

private:
    // Follows segments from sorted position `start`, appending the ids met.
    static void Follow(const shr::Vec3d* vertices, const std::vector<int>& order, std::vector<CSeg>& segs,
                       size_t segmentCount, int start, Chain& ids);

    std::vector<Chain> m_Chains;
};

} // namespace core
