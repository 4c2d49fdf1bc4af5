#pragma once
// What the vector plot fills during a run and the geometry of its symbols:
// the three vertex buffers, the arrow-head frame, and the flat normals of
// triangle strips.
#include "core/graphics/VgVertexData.h"
#include "shr/Vec3.h"

#include <array>
#include <cstddef>
#include <vector>

namespace core {
namespace VoVectorPlotPrivate {

// Every symbol of a run goes into these three buffers, so a plot is at most
// three shapes however many vectors it shows.
struct PrimBuffer {
    VgVertexData points;           // base symbols
    VgVertexData lines;            // shafts and line heads
    std::vector<int> lineCounts;   // vertices of each polyline in `lines`
    VgVertexData strips;           // solid heads, indexed, -1 ends a strip

    void clear();
};

// A head point in the frame of its arrow: along the shaft, then along the two
// sides, all in units of the scaled length.
struct HeadPoint {
    double along, side1, side2;
};

// The four head points; styles use the first 0, 2, 4, 4 or 4 of them.
const std::array<HeadPoint, 4>& HeadTable();
// How many head points a style has (none for "Line" and "Fade").
int HeadPointCount(unsigned int style);

// The unit sides of an arrow along unit vector `a`: s1 = a x helper
// normalised, s2 = a x s1, the helper being +Y unless `a` is (nearly) along it.
void ArrowFrame(const shr::Vec3d& a, shr::Vec3d& s1, shr::Vec3d& s2);

// The unit normal of triangle `n` of a strip (a, b, c being its corners in
// strip order); odd triangles have their winding reversed so that the whole
// strip faces one way. A degenerate triangle gets a zero normal.
SbVec3f StripTriangleNormal(const shr::Vec3d& a, const shr::Vec3d& b, const shr::Vec3d& c, size_t n);

// Scale laws of GetScaledLength: `lo` and `hi` are the lengths at the
// magnitude limits `a` and `b`, which differ.
double LinearLength(double m, double lo, double hi, double a, double b);
double SquareRootLength(double m, double lo, double hi, double a, double b);
double LogarithmicLength(double m, double lo, double hi, double a, double b);

} // namespace VoVectorPlotPrivate
} // namespace core
