#include "core/gridding/CAffineTransform.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace core {

namespace {

void SetIdentity(double m[9])
{
    std::fill(m, m + 9, 0.0);
    m[0] = m[4] = m[8] = 1.0;
}

void SetDiagonal(double m[9], double a, double b, double c)
{
    std::fill(m, m + 9, 0.0);
    m[0] = a;
    m[4] = b;
    m[8] = c;
}

// result = a-transposed * a.
void TransposeTimesSelf(const double a[9], double result[9])
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            result[3 * i + j] = a[i] * a[j] + a[3 + i] * a[3 + j] + a[6 + i] * a[6 + j];
}

double RowSumNorm(const double m[9])
{
    double norm = 0.0;
    for (int i = 0; i < 3; ++i)
        norm = std::max(norm, std::fabs(m[3 * i]) + std::fabs(m[3 * i + 1]) + std::fabs(m[3 * i + 2]));
    return norm;
}

} // namespace

CAffineTransform::CAffineTransform()
{
    std::fill(m_FromOrigin, m_FromOrigin + 3, 0.0);
    std::fill(m_ToOrigin, m_ToOrigin + 3, 0.0);
    SetIdentity(m_Forward);
    SetIdentity(m_Inverse);
    SetIdentity(m_Gram);
    SetIdentity(m_InverseGram);
}

CAffineTransform::CAffineTransform(double sx, double sy, double sz)
{
    std::fill(m_FromOrigin, m_FromOrigin + 3, 0.0);
    std::fill(m_ToOrigin, m_ToOrigin + 3, 0.0);
    SetDiagonal(m_Forward, sx, sy, sz);
    SetDiagonal(m_Inverse, 1.0 / sx, 1.0 / sy, 1.0 / sz);
    SetDiagonal(m_Gram, sx * sx, sy * sy, sz * sz);
    SetDiagonal(m_InverseGram, 1.0 / (sx * sx), 1.0 / (sy * sy), 1.0 / (sz * sz));
}

CAffineTransform::CAffineTransform(const Point& u, const Point& v, const Point& w)
{
    std::fill(m_FromOrigin, m_FromOrigin + 3, 0.0);
    std::fill(m_ToOrigin, m_ToOrigin + 3, 0.0);
    const Point* axes[3] = {&u, &v, &w};
    for (int col = 0; col < 3; ++col) {
        m_Inverse[col] = axes[col]->X();
        m_Inverse[3 + col] = axes[col]->Y();
        m_Inverse[6 + col] = axes[col]->Z();
    }
    Invert(m_Inverse, m_Forward);
    TransposeTimesSelf(m_Forward, m_Gram);
    TransposeTimesSelf(m_Inverse, m_InverseGram);
}

double CAffineTransform::Invert(const double a[9], double inverse[9])
{
    double adj[9];
    adj[0] = a[4] * a[8] - a[5] * a[7];
    adj[1] = a[2] * a[7] - a[1] * a[8];
    adj[2] = a[1] * a[5] - a[2] * a[4];
    adj[3] = a[5] * a[6] - a[3] * a[8];
    adj[4] = a[0] * a[8] - a[2] * a[6];
    adj[5] = a[2] * a[3] - a[0] * a[5];
    adj[6] = a[3] * a[7] - a[4] * a[6];
    adj[7] = a[1] * a[6] - a[0] * a[7];
    adj[8] = a[0] * a[4] - a[1] * a[3];
    const double det = a[0] * adj[0] + a[1] * adj[3] + a[2] * adj[6];
    const double adjNorm = RowSumNorm(adj);
    const double absDet = std::fabs(det);
    if (!(absDet > adjNorm / DBL_MAX)) {
        std::copy(adj, adj + 9, inverse);
        return DBL_MAX;
    }
    for (int i = 0; i < 9; ++i)
        inverse[i] = adj[i] / det;
    // The quotient overflows when the determinant is tiny against the norms.
    const double condition = RowSumNorm(a) * adjNorm / absDet;
    return condition <= DBL_MAX ? condition : DBL_MAX;
}

CAffineTransform::Point CAffineTransform::Transform(const Point& p) const
{
    return Point(TransformAxis(p, 0), TransformAxis(p, 1), TransformAxis(p, 2));
}

CAffineTransform::Point CAffineTransform::TransformDifference(const Point& p, const Point& q) const
{
    const double dx = p.X() - q.X();
    const double dy = p.Y() - q.Y();
    const double dz = p.Z() - q.Z();
    const double* f = m_Forward;
    return Point(f[0] * dx + f[1] * dy + f[2] * dz, f[3] * dx + f[4] * dy + f[5] * dz,
                 f[6] * dx + f[7] * dy + f[8] * dz);
}

bool CAffineTransform::IsDiagonal() const
{
    const int offDiagonal[6] = {1, 2, 3, 5, 6, 7};
    for (int i : offDiagonal)
        if (m_Forward[i] != 0.0 || m_Gram[i] != 0.0)
            return false;
    for (int i = 0; i < 3; ++i)
        if (m_FromOrigin[i] != 0.0 || m_ToOrigin[i] != 0.0)
            return false;
    return true;
}

bool CAffineTransform::operator==(const CAffineTransform& o) const
{
    return std::equal(m_FromOrigin, m_FromOrigin + 3, o.m_FromOrigin) &&
           std::equal(m_ToOrigin, m_ToOrigin + 3, o.m_ToOrigin) &&
           std::equal(m_Forward, m_Forward + 9, o.m_Forward) && std::equal(m_Inverse, m_Inverse + 9, o.m_Inverse) &&
           std::equal(m_Gram, m_Gram + 9, o.m_Gram) &&
           std::equal(m_InverseGram, m_InverseGram + 9, o.m_InverseGram);
}

} // namespace core
