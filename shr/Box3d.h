#pragma once
// Box3d: an axis-aligned box in double, the bounds of every data object.
//
// Public members min and max, six doubles in the order x, y, z minimum, then
// x, y, z maximum (archives copy them as such). The default box is EMPTY: the
// inverted box, min all +DBL_MAX and max all -DBL_MAX, which any ExtendBy turns
// into a real box. A box is empty when min exceeds max on any axis.
//
// Geometric queries on an empty box: Size and Center give zero vectors,
// Diagonal gives 0, Intersects is false, IsDegenerate is true.
#include "shr/Vec3.h"

#include <cfloat>
#include <cstddef>

namespace shr {

struct Box3d {
    Vec3d min, max;

    constexpr Box3d() : min(DBL_MAX, DBL_MAX, DBL_MAX), max(-DBL_MAX, -DBL_MAX, -DBL_MAX) {}
    constexpr Box3d(double xmin, double ymin, double zmin, double xmax, double ymax, double zmax)
        : min(xmin, ymin, zmin), max(xmax, ymax, zmax)
    {
    }
    // Taken as given: a min above max makes an empty box.
    constexpr Box3d(const Vec3d& lo, const Vec3d& hi) : min(lo), max(hi) {}

    void Set(double xmin, double ymin, double zmin, double xmax, double ymax, double zmax);
    void Set(const Vec3d& lo, const Vec3d& hi) { min = lo; max = hi; }
    void MakeEmpty() { *this = Box3d(); }
    bool IsEmpty() const { return min.x > max.x || min.y > max.y || min.z > max.z; }

    // The smallest box around the points; empty for no points.
    void BoundPoints(const Vec3d* points, size_t count);
    void ExtendBy(const Vec3d& p);
    // Extending by an empty box changes nothing.
    void ExtendBy(const Box3d& b);

    Vec3d Center() const;
    Vec3d Size() const;
    double Diagonal() const;

    // Corners 0 to 3 run round the z-minimum face starting at min:
    // (x0,y0), (x1,y0), (x1,y1), (x0,y1); corners 4 to 7 are the same on the
    // z-maximum face, so corner i+4 lies above corner i. Face index lists
    // follow: 0 1 2 3 is the XY face, 0 4 5 1 the XZ face, 0 3 7 4 the YZ face.
    void GetCorners(Vec3d corners[8]) const;

    // Closed boxes: touching faces, edges or corners intersect. An empty box
    // intersects nothing.
    bool Intersects(const Box3d& b) const;
    // The point lies inside or on the surface of the box.
    bool Intersects(const Vec3d& p) const;

    // True when the box has no volume: empty, or zero extent on some axis
    // (a point, a segment, a flat rectangle).
    bool IsDegenerate() const;

    bool operator==(const Box3d& o) const { return min == o.min && max == o.max; }
    bool operator!=(const Box3d& o) const { return !(*this == o); }
};

static_assert(sizeof(Box3d) == 6 * sizeof(double), "Box3d is copied as six raw doubles");

} // namespace shr
