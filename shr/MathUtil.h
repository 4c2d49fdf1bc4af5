#pragma once
// Numeric constants and small helpers shared by the geometry and gridding code.
#include "shr/Vec3.h"

namespace shr {

inline constexpr double ONE_PI = 3.14159265358979323846;
inline constexpr double HALF_PI = ONE_PI / 2.0;
inline constexpr double TWO_PI = ONE_PI * 2.0;
inline constexpr double DEG_TO_RAD = ONE_PI / 180.0;
inline constexpr double RAD_TO_DEG = 180.0 / ONE_PI;
// The tolerance below which a value counts as zero: lengths, determinants and
// differences of coordinates in data units. Coordinates run to millions of
// metres, so this is as small as a double still resolves there.
inline constexpr double EPSILON = 1.0e-6;

// sqrt(x*x + y*y + z*z) without overflow or underflow in the squares.
double hypot(double x, double y, double z);

// Where value lies between min and max, linearly: 0 at min, 1 at max, and
// beyond those outside the range (no clamping). An empty range (min == max)
// gives 0.
double Normalize(double value, double min, double max);

// The squared distance from `point` to the segment from a to b; to a when the
// segment has no length.
double PointLineSegDistSq(const Vec3d& point, const Vec3d& a, const Vec3d& b);

// The smallest power of two not below n: 1 for n <= 1. Throws when the answer
// does not fit an int (n above 2^30).
int CeilPowerOf2(int n);

// Axis labelling: a "nice" increment of the form {1, 2, 2.5, 5} x 10^k, the
// smallest such step that divides [min, max] into at most `count` intervals.
// *first is the first multiple of the step at or above min and *last the last
// multiple at or below max (within rounding; multiples are formed as integer
// times the nice mantissa over a power of ten, so 0.3 reads 0.3); either
// pointer may be null. Returns the increment.
//
// Awkward input: min above max is taken as the range [max, min]; count below 1
// counts as 1. A range of zero width (min == max) gets the increment for
// [0, |min|] (or 1 at zero) and first = last = min. A step too large for a
// double falls back to a smaller mantissa, so very wide ranges get more than
// `count` intervals. No increment can be made for a non-finite min or max, or
// for a range so narrow that its step is not a normal double: then the result
// is 0.0, *first is the lower and *last the upper end (0.0 where not finite).
double CalcAutoInc(double min, double max, int count, double* first, double* last);

} // namespace shr
