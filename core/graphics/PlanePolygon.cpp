#include "core/graphics/PlanePolygon.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

namespace core {

namespace {

// The twelve edges of a box, as pairs of Box3d::GetCorners indices.
const int kEdges[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                           {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

// Above this |dot(w, helper)| the Y helper axis is too close to the normal
// and Z is taken instead (the float just below 1).
const double kHelperLimit = 0.9999998807907104;

double LargestMagnitude(const shr::Vec3d corners[8])
{
    double largest = 0.0;
    for (int c = 0; c < 8; ++c)
        for (int axis = 0; axis < 3; ++axis)
            largest = std::max(largest, std::fabs(corners[c][axis]));
    return largest;
}

// The corners on the plane and the crossings of edges whose ends lie on
// opposite sides. A corner counts as on the plane within the rounding of the
// distance itself, so that a plane in a face keeps the face whichever side it
// was computed from.
std::vector<shr::Vec3d> CutPoints(const shr::Vec3d corners[8], const shr::Vec3d& n, double distance)
{
    const double magnitude = (std::fabs(n.x) + std::fabs(n.y) + std::fabs(n.z)) * LargestMagnitude(corners) +
                             std::fabs(distance);
    const double tolerance = 16.0 * DBL_EPSILON * magnitude;
    double side[8];
    std::vector<shr::Vec3d> points;
    for (int c = 0; c < 8; ++c) {
        side[c] = n.Dot(corners[c]) - distance;
        if (std::fabs(side[c]) <= tolerance) {
            side[c] = 0.0;
            points.push_back(corners[c]);
        }
    }
    for (const auto& edge : kEdges) {
        const double a = side[edge[0]], b = side[edge[1]];
        if ((a < 0.0 && b > 0.0) || (a > 0.0 && b < 0.0)) {
            const double t = a / (a - b);
            points.push_back(corners[edge[0]] * (1.0 - t) + corners[edge[1]] * t);
        }
    }
    return points;
}

// Orders the points counter-clockwise round their centroid as seen from the
// normal, and drops points that coincide (a flat box repeats its corners).
std::vector<shr::Vec3d> WindAroundCentroid(std::vector<shr::Vec3d> points, const shr::Vec3d& normal, double scale)
{
    shr::Vec3d centroid(0.0, 0.0, 0.0);
    for (const shr::Vec3d& p : points)
        centroid += p;
    centroid /= static_cast<double>(points.size());
    shr::Vec3d u, v, w;
    PlaneFrame(normal, u, v, w);
    std::vector<std::pair<double, shr::Vec3d>> byAngle;
    for (const shr::Vec3d& p : points) {
        const shr::Vec3d d = p - centroid;
        byAngle.emplace_back(std::atan2(d.Dot(v), d.Dot(u)), p);
    }
    std::sort(byAngle.begin(), byAngle.end(),
              [](const std::pair<double, shr::Vec3d>& a, const std::pair<double, shr::Vec3d>& b) {
                  return a.first < b.first;
              });
    const double same = 1e-12 * scale;
    std::vector<shr::Vec3d> wound;
    for (const auto& entry : byAngle)
        if (wound.empty() || (entry.second - wound.back()).Length() > same)
            wound.push_back(entry.second);
    while (wound.size() > 1 && (wound.front() - wound.back()).Length() <= same)
        wound.pop_back();
    return wound;
}

} // namespace

void PlaneFrame(const shr::Vec3d& normal, shr::Vec3d& u, shr::Vec3d& v, shr::Vec3d& w)
{
    w = normal.Normalized();
    const shr::Vec3d helper =
        std::fabs(w.Dot(shr::Vec3d(0.0, 1.0, 0.0))) >= kHelperLimit ? shr::Vec3d(0.0, 0.0, 1.0) : shr::Vec3d(0.0, 1.0, 0.0);
    u = helper.Cross(w).Normalized();
    v = w.Cross(u).Normalized();
}

std::vector<shr::Vec3d> PlaneBoxPolygon(const shr::Box3d& box, const shr::Vec3d& normal, double distance)
{
    if (box.IsEmpty() || normal.LengthSquared() == 0.0 || !std::isfinite(distance))
        return {};
    shr::Vec3d corners[8];
    box.GetCorners(corners);
    std::vector<shr::Vec3d> points = CutPoints(corners, normal, distance);
    if (points.size() < 3)
        return {};
    const double scale = std::max(box.Diagonal(), LargestMagnitude(corners));
    std::vector<shr::Vec3d> polygon = WindAroundCentroid(std::move(points), normal, scale);
    // Fewer than three distinct points, or all on one line: the plane only
    // grazes the box.
    if (polygon.size() < 3 || PolygonAreaVector(polygon).Length() <= 1e-12 * scale * scale)
        return {};
    return polygon;
}

std::vector<shr::Vec3d> CentredPlanePolygon(const shr::Box3d& box, const shr::Vec3d& normal, double offset)
{
    if (box.IsEmpty() || normal.LengthSquared() == 0.0)
        return {};
    const shr::Vec3d n = normal.Normalized();
    return PlaneBoxPolygon(box, n, n.Dot(box.Center()) + offset);
}

double PlaneOffsetLimit(const shr::Box3d& box, const shr::Vec3d& normal)
{
    if (box.IsEmpty() || normal.LengthSquared() == 0.0)
        return 0.0;
    const shr::Vec3d n = normal.Normalized();
    shr::Vec3d corners[8];
    box.GetCorners(corners);
    double reach = -DBL_MAX;
    for (const shr::Vec3d& corner : corners)
        reach = std::max(reach, corner.Dot(n));
    return reach - box.Center().Dot(n);
}

shr::Vec3d PolygonAreaVector(const std::vector<shr::Vec3d>& polygon)
{
    // Taken from the first vertex: the same sum, without the cancellation
    // that large coordinates would bring.
    shr::Vec3d sum(0.0, 0.0, 0.0);
    for (size_t i = 1; i + 1 < polygon.size(); ++i)
        sum += (polygon[i] - polygon[0]).Cross(polygon[i + 1] - polygon[0]);
    return sum;
}

} // namespace core
