#pragma once
// PlanePolygon: where a plane cuts an axis-aligned box. Slices texture this
// polygon, the volume renderer stacks such polygons as proxy geometry, and
// contours clip their plane with it.
//
// The result is convex and wound counter-clockwise as seen from the tip of
// the normal (so a right-handed cross product of two successive edges points
// along the normal). A plane that misses the box, or only touches an edge or
// a corner of it, gives no polygon. A plane lying in a face of the box gives
// that face: both extreme offsets of CentredPlanePolygon still cut.
#include "shr/Box3d.h"
#include "shr/Vec3.h"

#include <vector>

namespace core {

// The plane of points p with dot(normal, p) == distance. The normal need not
// be unit length; a zero normal or an empty box gives no polygon.
std::vector<shr::Vec3d> PlaneBoxPolygon(const shr::Box3d& box, const shr::Vec3d& normal, double distance);

// The plane through the box centre moved `offset` along the unit normal:
// the form cutting planes are edited in. Offsets beyond the box's reach along
// the normal (PlaneOffsetLimit) give no polygon.
std::vector<shr::Vec3d> CentredPlanePolygon(const shr::Box3d& box, const shr::Vec3d& normal, double offset);

// How far a plane through the centre can move along the unit normal and
// still meet the box: max over the corners of dot(corner, n) - dot(centre, n).
// 0 for an empty box or a zero normal.
double PlaneOffsetLimit(const shr::Box3d& box, const shr::Vec3d& normal);

// A right-handed frame (u, v, normal) for the plane: u and v span it, u x v
// is the unit normal. The normal must not be zero.
void PlaneFrame(const shr::Vec3d& normal, shr::Vec3d& u, shr::Vec3d& v, shr::Vec3d& w);

// Twice the area of a planar polygon as a vector: along the side from which
// the polygon winds counter-clockwise. Half its length is the area.
shr::Vec3d PolygonAreaVector(const std::vector<shr::Vec3d>& polygon);

} // namespace core
