#pragma once
// Box2f: an axis-aligned rectangle in float, for screen and texture extents.
// The default box is empty (inverted): minimum +FLT_MAX, maximum -FLT_MAX, so
// that the first ExtendBy makes it the point itself.
#include "shr/Vec2.h"

#include <algorithm>
#include <cfloat>

namespace shr {

struct Box2f {
    Vec2f min, max;

    constexpr Box2f() : min(FLT_MAX, FLT_MAX), max(-FLT_MAX, -FLT_MAX) {}
    constexpr Box2f(const Vec2f& lo, const Vec2f& hi) : min(lo), max(hi) {}
    constexpr Box2f(float xmin, float ymin, float xmax, float ymax) : min(xmin, ymin), max(xmax, ymax) {}

    // True while min exceeds max on some axis (nothing has been added).
    bool IsEmpty() const { return min.x > max.x || min.y > max.y; }
    void MakeEmpty() { *this = Box2f(); }

    void ExtendBy(const Vec2f& p)
    {
        min.x = std::min(min.x, p.x);
        min.y = std::min(min.y, p.y);
        max.x = std::max(max.x, p.x);
        max.y = std::max(max.y, p.y);
    }
    void ExtendBy(const Box2f& b)
    {
        if (b.IsEmpty())
            return;
        ExtendBy(b.min);
        ExtendBy(b.max);
    }

    // The corners counter-clockwise from the minimum: (min.x, min.y),
    // (max.x, min.y), (max.x, max.y), (min.x, max.y).
    void GetCorners(Vec2f corners[4]) const
    {
        corners[0] = Vec2f(min.x, min.y);
        corners[1] = Vec2f(max.x, min.y);
        corners[2] = Vec2f(max.x, max.y);
        corners[3] = Vec2f(min.x, max.y);
    }

    bool operator==(const Box2f& o) const { return min == o.min && max == o.max; }
    bool operator!=(const Box2f& o) const { return !(*this == o); }
};

} // namespace shr
