#pragma once
// CAffineTransform: the linear map that turns a search or anisotropy ellipsoid
// into the unit sphere, so that "inside the ellipsoid" becomes a squared
// distance of at most 1. Besides the forward matrix it keeps its inverse and
// the Gram matrix (forward-transposed times forward), from which the squared
// transformed distance of two points comes straight from their difference.
// Matrices are 3 by 3, row major. Both origins are zero in every transform the
// gridder builds, but the point operations honour them.
#include "shr/Point.h"

namespace core {

class CAffineTransform {
public:
    using Point = shr::Point3<double>;

    // Identity.
    CAffineTransform();
    // Scales X by sx, Y by sy, Z by sz.
    CAffineTransform(double sx, double sy, double sz);
    // Maps the tips of the semi-axes u, v, w onto unit length: forward is the
    // inverse of the matrix whose columns are u, v, w. InverseGram holds
    // A-transposed times A, which is not the inverse of Gram; nothing reads it.
    CAffineTransform(const Point& u, const Point& v, const Point& w);

    // forward * (p - fromOrigin) + toOrigin.
    Point Transform(const Point& p) const;
    // Component `axis` (0..2) of Transform(p).
    double TransformAxis(const Point& p, int axis) const
    {
        const double* row = m_Forward + 3 * axis;
        return row[0] * (p.X() - m_FromOrigin[0]) + row[1] * (p.Y() - m_FromOrigin[1]) +
               row[2] * (p.Z() - m_FromOrigin[2]) + m_ToOrigin[axis];
    }
    // forward * (p - q); the origins do not enter.
    Point TransformDifference(const Point& p, const Point& q) const;
    // (p - q)^T * gram * (p - q).
    double SquaredDistance(const Point& p, const Point& q) const
    {
        const double dx = p.X() - q.X();
        const double dy = p.Y() - q.Y();
        const double dz = p.Z() - q.Z();
        const double* g = m_Gram;
        return dx * (g[0] * dx + g[1] * dy + g[2] * dz) + dy * (g[3] * dx + g[4] * dy + g[5] * dz) +
               dz * (g[6] * dx + g[7] * dy + g[8] * dz);
    }

    // True when forward (and so gram) has no off-diagonal terms and both
    // origins are zero, the transforms of radius and axis-length searches.
    bool IsDiagonal() const;

    const double* FromOrigin() const { return m_FromOrigin; }
    const double* ToOrigin() const { return m_ToOrigin; }
    const double* Forward() const { return m_Forward; }
    const double* Inverse() const { return m_Inverse; }
    const double* Gram() const { return m_Gram; }
    const double* InverseGram() const { return m_InverseGram; }

    bool operator==(const CAffineTransform& o) const;
    bool operator!=(const CAffineTransform& o) const { return !(*this == o); }

    // Inverts a 3 by 3 row-major matrix by its adjugate and returns the
    // condition number (largest absolute row sum norm). A matrix whose
    // determinant is too small against its adjugate counts as singular: the
    // result is the unscaled adjugate and the condition number is DBL_MAX.
    static double Invert(const double matrix[9], double inverse[9]);

private:
    double m_FromOrigin[3];
    double m_ToOrigin[3];
    double m_Forward[9];
    double m_Inverse[9];
    double m_Gram[9];
    double m_InverseGram[9];
};

} // namespace core
