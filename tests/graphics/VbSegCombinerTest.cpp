#include "core/graphics/VbSegCombiner.h"

#include <gtest/gtest.h>

#include <vector>

using core::VbSegCombiner;
using shr::Vec3d;

namespace {

typedef std::vector<std::vector<int>> Chains;

Chains Connect(const std::vector<Vec3d>& vertices)
{
    VbSegCombiner combiner;
    combiner.Connect(vertices.data(), vertices.size() / 2);
    return combiner.GetChains();
}

// Each chain lists vertex ids; consecutive ids of a chain lie at the same
// place or form a segment.
TEST(VbSegCombiner, JoinsSegmentsThatShareEndPointsExactly)
{
    const Vec3d a(0, 0, 0), b(1, 0, 0), c(2, 0, 0), d(3, 0, 0), e(5, 5, 0), f(6, 5, 0);
    struct Case {
        const char* name;
        std::vector<Vec3d> vertices;
        Chains chains;
    } cases[] = {
        {"none", {}, {}},
        {"one segment", {a, b}, {{0, 1}}},
        {"in order", {a, b, b, c, c, d}, {{0, 1, 3, 5}}},
        // The middle segment comes first: the chain grows at both ends.
        {"grown both ways", {b, c, a, b, c, d}, {{2, 0, 1, 5}}},
        {"reversed segment", {a, b, c, b}, {{0, 1, 2}}},
        {"two pieces", {a, b, e, f, b, c}, {{0, 1, 5}, {2, 3}}},
        {"closed loop", {a, b, b, c, c, a}, {{0, 1, 3, 5}}},
        // Exact comparison: a shift in the last bit breaks the chain.
        {"not bit identical", {a, b, Vec3d(1.0000000000000002, 0, 0), c}, {{0, 1}, {2, 3}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Connect(c.vertices), c.chains);
    }
}

TEST(VbSegCombiner, EverySegmentIsUsedOnceAtAStar)
{
    // Four segments meet at the origin: chains break there, but every segment
    // appears once and the total counts each chain's ids.
    const Vec3d o(0, 0, 0);
    const std::vector<Vec3d> star = {o, Vec3d(1, 0, 0), o, Vec3d(-1, 0, 0), o, Vec3d(0, 1, 0), o, Vec3d(0, -1, 0)};
    VbSegCombiner combiner;
    combiner.Connect(star.data(), 4);
    std::vector<int> seen(8, 0);
    size_t total = 0;
    for (const auto& chain : combiner.GetChains()) {
        total += chain.size();
        for (int id : chain)
            ++seen[size_t(id)];
    }
    EXPECT_EQ(combiner.GetTotalVertexCount(), total);
    for (int id = 1; id < 8; id += 2)
        EXPECT_EQ(seen[size_t(id)], 1) << id; // the far ends, once each
    EXPECT_LT(combiner.GetChains().size(), 4u);
    // A new call starts afresh.
    combiner.Connect(star.data(), 0);
    EXPECT_TRUE(combiner.GetChains().empty());
}

} // namespace
