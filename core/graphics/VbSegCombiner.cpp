#include "core/graphics/VbSegCombiner.h"

#include <algorithm>
#include <numeric>

namespace core {

namespace {

// The partner's sorted position if the end point `id` belongs to an unused
// segment and lies exactly at `v`; -1 otherwise.
int PartnerIfJoined(const shr::Vec3d* vertices, const std::vector<VbSegCombiner::CSeg>& segs, int id,
                    const shr::Vec3d& v)
{
    const VbSegCombiner::CSeg& seg = segs[static_cast<size_t>(id / 2)];
    if (seg.pos[0] == -1 || !(vertices[id] == v))
        return -1;
    return seg.pos[1 - (id & 1)];
}

} // namespace

void VbSegCombiner::Connect(const shr::Vec3d* vertices, size_t segmentCount)
{
    Clear();
    const size_t endCount = 2 * segmentCount;
    std::vector<int> order(endCount);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [vertices](int a, int b) { return vertices[a] < vertices[b]; });

    std::vector<CSeg> segs(segmentCount);
    for (size_t k = 0; k < endCount; ++k)
        segs[static_cast<size_t>(order[k] / 2)].pos[order[k] & 1] = static_cast<int>(k);

    for (CSeg& seg : segs) {
        if (seg.pos[0] == -1)
            continue;
        const int a = seg.pos[0];
        const int b = seg.pos[1];
        seg.pos[0] = -1;
        Chain forward{order[a], order[b]};
        Follow(vertices, order, segs, segmentCount, b, forward);
        Chain backward;
        Follow(vertices, order, segs, segmentCount, a, backward);
        Chain chain(backward.rbegin(), backward.rend());
        chain.insert(chain.end(), forward.begin(), forward.end());
        m_Chains.push_back(std::move(chain));
    }
}

void VbSegCombiner::Follow(const shr::Vec3d* vertices, const std::vector<int>& order, std::vector<CSeg>& segs,
                           size_t segmentCount, int start, Chain& ids)
{
    for (int p = FindNextSeg(vertices, order, segs, segmentCount, start); p != -1;
         p = FindNextSeg(vertices, order, segs, segmentCount, p)) {
        const int id = order[p];
        segs[static_cast<size_t>(id / 2)].pos[0] = -1;
        ids.push_back(id);
    }
}

int VbSegCombiner::FindNextSeg(const shr::Vec3d* vertices, const std::vector<int>& order,
                               const std::vector<CSeg>& segs, size_t segmentCount, int k)
{
    const shr::Vec3d& v = vertices[order[k]];
    const int last = static_cast<int>(2 * segmentCount) - 1;
    if (k < last) {
        const int partner = PartnerIfJoined(vertices, segs, order[k + 1], v);
        if (partner != -1)
            return partner;
    }
    if (k >= 1)
        return PartnerIfJoined(vertices, segs, order[k - 1], v);
    return -1;
}

size_t VbSegCombiner::GetTotalVertexCount() const
{
    size_t total = 0;
    for (const Chain& chain : m_Chains)
        total += chain.size();
    return total;
}

} // namespace core
