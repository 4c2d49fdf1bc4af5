#pragma once
// VbRect: an integer rectangle by its edges, the value of rectangle properties.
namespace core {

struct VbRect {
    VbRect() : left(0), top(0), right(0), bottom(0) {}
    VbRect(int l, int t, int r, int b) : left(l), top(t), right(r), bottom(b) {}

    bool operator==(const VbRect& o) const
    {
        return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
    }
    bool operator!=(const VbRect& o) const { return !(*this == o); }

    int left, top, right, bottom;
};

} // namespace core
