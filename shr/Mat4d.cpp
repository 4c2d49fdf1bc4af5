#include "shr/Mat4d.h"

#include "shr/Exception.h"
#include "shr/Quat4d.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace shr {

namespace {

// A row below this fraction of its largest element counts as zero when
// inverting: the matrix is singular.
constexpr double kSingularTolerance = 1e-12;

using Mat3 = double[3][3];

double Det3(const Mat3& a)
{
    return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
           a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
           a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
}

double RowNorm3(const double* row)
{
    return std::sqrt(row[0] * row[0] + row[1] * row[1] + row[2] * row[2]);
}

// Eigen-decomposition of a symmetric 3x3 matrix by cyclic Jacobi rotations:
// on return `a` is diagonal (the eigenvalues) and the COLUMNS of v are the
// eigenvectors.
void Jacobi3(Mat3& a, Mat3& v)
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            v[i][j] = i == j ? 1.0 : 0.0;
    for (int sweep = 0; sweep < 50; ++sweep) {
        const double off = std::abs(a[0][1]) + std::abs(a[0][2]) + std::abs(a[1][2]);
        const double diag = std::abs(a[0][0]) + std::abs(a[1][1]) + std::abs(a[2][2]);
        if (off <= 1e-300 || off <= 1e-17 * diag)
            return;
        for (int p = 0; p < 2; ++p) {
            for (int q = p + 1; q < 3; ++q) {
                if (a[p][q] == 0.0)
                    continue;
                const double theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
                const double t = (theta >= 0.0 ? 1.0 : -1.0) / (std::abs(theta) + std::sqrt(theta * theta + 1.0));
                const double c = 1.0 / std::sqrt(t * t + 1.0), s = t * c;
                // a = J^T a J, with J the rotation in the (p, q) plane.
                for (int k = 0; k < 3; ++k) {
                    const double akp = a[k][p], akq = a[k][q];
                    a[k][p] = c * akp - s * akq;
                    a[k][q] = s * akp + c * akq;
                }
                for (int k = 0; k < 3; ++k) {
                    const double apk = a[p][k], aqk = a[q][k];
                    a[p][k] = c * apk - s * aqk;
                    a[q][k] = s * apk + c * aqk;
                }
                for (int k = 0; k < 3; ++k) {
                    const double vkp = v[k][p], vkq = v[k][q];
                    v[k][p] = c * vkp - s * vkq;
                    v[k][q] = s * vkp + c * vkq;
                }
            }
        }
    }
}

Mat4d FromMat3(const Mat3& a)
{
    return Mat4d(a[0][0], a[0][1], a[0][2], 0.0, a[1][0], a[1][1], a[1][2], 0.0, a[2][0], a[2][1], a[2][2], 0.0,
                 0.0, 0.0, 0.0, 1.0);
}

void Multiply3(const Mat3& a, const Mat3& b, Mat3& out)
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
}

} // namespace

Mat4d::Mat4d(double a00, double a01, double a02, double a03, double a10, double a11, double a12, double a13,
             double a20, double a21, double a22, double a23, double a30, double a31, double a32, double a33,
             Type /*type*/)
    : m{{a00, a01, a02, a03}, {a10, a11, a12, a13}, {a20, a21, a22, a23}, {a30, a31, a32, a33}}, m_Type(Unknown)
{
    ClassifyType();
}

Mat4d::Mat4d(const double* rowMajor16) : m_Type(Unknown)
{
    for (int i = 0; i < 16; ++i)
        m[i / 4][i % 4] = rowMajor16[i];
    ClassifyType();
}

Mat4d::Mat4d(const Quat4d& rotation) : Mat4d()
{
    rotation.Get(*this);
}

void Mat4d::ClassifyType()
{
    if (!(m[0][3] == 0.0 && m[1][3] == 0.0 && m[2][3] == 0.0 && m[3][3] == 1.0)) {
        m_Type = Projective;
        return;
    }
    const bool diagonal = m[0][1] == 0.0 && m[0][2] == 0.0 && m[1][0] == 0.0 && m[1][2] == 0.0 &&
                          m[2][0] == 0.0 && m[2][1] == 0.0;
    if (!diagonal) {
        m_Type = Affine;
        return;
    }
    if (!(m[0][0] == 1.0 && m[1][1] == 1.0 && m[2][2] == 1.0)) {
        m_Type = ScaleTranslation;
        return;
    }
    const bool moved = !(m[3][0] == 0.0 && m[3][1] == 0.0 && m[3][2] == 0.0);
    m_Type = moved ? Translation : Identity;
}

void Mat4d::SetValue(int row, int col, double value)
{
    if (row < 0 || row > 3 || col < 0 || col > 3)
        SHR_THROW(0, "Matrix element (%d, %d) does not exist.", row, col);
    m[row][col] = value;
    ClassifyType();
}

void Mat4d::MakeIdentity()
{
    *this = IDENTITY;
}

Mat4d operator*(const Mat4d& a, const Mat4d& b)
{
    if (a.m_Type == Mat4d::Identity)
        return b;
    if (b.m_Type == Mat4d::Identity)
        return a;
    Mat4d r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            r.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j] + a.m[i][3] * b.m[3][j];
    r.ClassifyType();
    return r;
}

Mat4d& Mat4d::operator*=(const Mat4d& b)
{
    return *this = *this * b;
}

void Mat4d::Transpose()
{
    for (int i = 0; i < 4; ++i)
        for (int j = i + 1; j < 4; ++j)
            std::swap(m[i][j], m[j][i]);
    ClassifyType();
}

bool Mat4d::Inverse()
{
    switch (m_Type) {
    case Identity:
        return true;
    case Translation:
        m[3][0] = -m[3][0];
        m[3][1] = -m[3][1];
        m[3][2] = -m[3][2];
        ClassifyType();
        return true;
    case ScaleTranslation:
    case Affine:
        return InverseAffine();
    default:
        return InverseGeneral();
    }
}

bool Mat4d::InverseAffine()
{
    const Mat3 a = {{m[0][0], m[0][1], m[0][2]}, {m[1][0], m[1][1], m[1][2]}, {m[2][0], m[2][1], m[2][2]}};
    const double det = Det3(a);
    const double scale = RowNorm3(a[0]) * RowNorm3(a[1]) * RowNorm3(a[2]);
    if (!(std::abs(det) > kSingularTolerance * scale) || !std::isfinite(det))
        return false;
    Mat3 inv;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            // Cofactor of a[j][i] (the adjugate is the transposed cofactor matrix).
            const int r0 = (j + 1) % 3, r1 = (j + 2) % 3, c0 = (i + 1) % 3, c1 = (i + 2) % 3;
            inv[i][j] = (a[r0][c0] * a[r1][c1] - a[r0][c1] * a[r1][c0]) / det;
        }
    }
    const Vec3d t = GetTranslation();
    for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < 3; ++i)
            m[i][j] = inv[i][j];
        // t' = -t * A^-1
        m[3][j] = -(t.x * inv[0][j] + t.y * inv[1][j] + t.z * inv[2][j]);
    }
    ClassifyType();
    return true;
}

bool Mat4d::InverseGeneral()
{
    // Gauss-Jordan with partial pivoting on the row-equilibrated matrix D*M:
    // (D M)^-1 = M^-1 D^-1, so M^-1 = (D M)^-1 D.
    double a[4][4], inv[4][4], rowScale[4];
    for (int i = 0; i < 4; ++i) {
        rowScale[i] = 0.0;
        for (int j = 0; j < 4; ++j)
            rowScale[i] = std::max(rowScale[i], std::abs(m[i][j]));
        if (!(rowScale[i] > 0.0) || !std::isfinite(rowScale[i]))
            return false;
        for (int j = 0; j < 4; ++j) {
            a[i][j] = m[i][j] / rowScale[i];
            inv[i][j] = i == j ? 1.0 : 0.0;
        }
    }
    for (int col = 0; col < 4; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 4; ++r)
            if (std::abs(a[r][col]) > std::abs(a[pivot][col]))
                pivot = r;
        if (!(std::abs(a[pivot][col]) > kSingularTolerance))
            return false;
        std::swap(a[pivot], a[col]);
        std::swap(inv[pivot], inv[col]);
        const double p = a[col][col];
        for (int j = 0; j < 4; ++j) {
            a[col][j] /= p;
            inv[col][j] /= p;
        }
        for (int r = 0; r < 4; ++r) {
            if (r == col || a[r][col] == 0.0)
                continue;
            const double f = a[r][col];
            for (int j = 0; j < 4; ++j) {
                a[r][j] -= f * a[col][j];
                inv[r][j] -= f * inv[col][j];
            }
        }
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            m[i][j] = inv[i][j] / rowScale[j];
    ClassifyType();
    return true;
}

bool Mat4d::Equals(const Mat4d& other, double tolerance) const
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (!(std::abs(m[i][j] - other.m[i][j]) <= tolerance))
                return false;
    return true;
}

bool Mat4d::operator==(const Mat4d& o) const
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (m[i][j] != o.m[i][j])
                return false;
    return true;
}

Vec3d operator*(const Vec3d& p, const Mat4d& m)
{
    switch (m.GetType()) {
    case Mat4d::Identity:
        return p;
    case Mat4d::Translation:
        return p + m.GetTranslation();
    case Mat4d::Projective: {
        const Vec4d h = Vec4d(p, 1.0) * m;
        return h.w == 0.0 ? h.XYZ() : h.XYZ() / h.w;
    }
    default:
        return m.TransformVector(p) + m.GetTranslation();
    }
}

Vec4d operator*(const Vec4d& p, const Mat4d& m)
{
    Vec4d r;
    for (int j = 0; j < 4; ++j)
        r[j] = p.x * m.m[0][j] + p.y * m.m[1][j] + p.z * m.m[2][j] + p.w * m.m[3][j];
    return r;
}

void Mat4d::Transform(const Vec3d* src, Vec3d* dst, size_t count) const
{
    for (size_t i = 0; i < count; ++i)
        dst[i] = src[i] * *this;
}

Vec3d Mat4d::TransformVector(const Vec3d& v) const
{
    return Vec3d(v.x * m[0][0] + v.y * m[1][0] + v.z * m[2][0], v.x * m[0][1] + v.y * m[1][1] + v.z * m[2][1],
                 v.x * m[0][2] + v.y * m[1][2] + v.z * m[2][2]);
}

void Mat4d::Rotate(int axis, double angle, Order order)
{
    // In the plane of the two other axes (u, v): u -> (c, s), v -> (-s, c).
    const int u = (axis + 1) % 3, v = (axis + 2) % 3;
    const double c = std::cos(angle), s = std::sin(angle);
    Mat4d r;
    r.m[u][u] = c;
    r.m[u][v] = s;
    r.m[v][u] = -s;
    r.m[v][v] = c;
    r.ClassifyType();
    *this = order == PreMultiply ? r * *this : *this * r;
}

void Mat4d::RotateX(double angle, Order order)
{
    Rotate(0, angle, order);
}

void Mat4d::RotateY(double angle, Order order)
{
    Rotate(1, angle, order);
}

void Mat4d::RotateZ(double angle, Order order)
{
    Rotate(2, angle, order);
}

void Mat4d::GetTransform(Vec3d& translation, Quat4d& rotation, Vec3d& scale, Quat4d& scaleOrientation) const
{
    translation = GetTranslation();
    const Mat3 a = {{m[0][0], m[0][1], m[0][2]}, {m[1][0], m[1][1], m[1][2]}, {m[2][0], m[2][1], m[2][2]}};

    // Polar decomposition A = P Q: P = SO^-1 S SO symmetric, Q a rotation.
    // A A^T = P^2 = V L V^T, so SO = V^T and S = sqrt(L).
    Mat3 aat, v;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            aat[i][j] = a[i][0] * a[j][0] + a[i][1] * a[j][1] + a[i][2] * a[j][2];
    Jacobi3(aat, v);
    if (Det3(v) < 0.0)
        for (int i = 0; i < 3; ++i)
            v[i][2] = -v[i][2];

    // A mirror is carried by the scale, so that Q stays a proper rotation.
    const double sign = Det3(a) < 0.0 ? -1.0 : 1.0;
    double s[3];
    for (int i = 0; i < 3; ++i)
        s[i] = sign * std::sqrt(std::max(aat[i][i], 0.0));
    scale = Vec3d(s[0], s[1], s[2]);

    Mat3 so;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            so[i][j] = v[j][i];
    scaleOrientation.Set(FromMat3(so));

    const double largest = std::max({std::abs(s[0]), std::abs(s[1]), std::abs(s[2])});
    if (!(std::min({std::abs(s[0]), std::abs(s[1]), std::abs(s[2])}) > kSingularTolerance * largest)) {
        rotation = Quat4d::IDENTITY;
        return;
    }
    // Q = P^-1 A = V S^-1 V^T A.
    Mat3 pinv, q;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            pinv[i][j] = v[i][0] * v[j][0] / s[0] + v[i][1] * v[j][1] / s[1] + v[i][2] * v[j][2] / s[2];
    Multiply3(pinv, a, q);
    rotation.Set(FromMat3(q));
}

void Mat4d::SetTransform(const Vec3d& translation, const Quat4d& rotation, const Vec3d& scale)
{
    *this = MakeScale(scale.x, scale.y, scale.z) * Mat4d(rotation) * MakeTranslation(translation);
}

void Mat4d::SetTransform(const Vec3d& translation, const Quat4d& rotation, const Vec3d& scale,
                         const Quat4d& scaleOrientation, const Vec3d& center)
{
    *this = MakeTranslation(-center) * Mat4d(scaleOrientation.Inverse()) * MakeScale(scale.x, scale.y, scale.z) *
            Mat4d(scaleOrientation) * Mat4d(rotation) * MakeTranslation(center) * MakeTranslation(translation);
}

Mat4d Mat4d::MakeScale(double sx, double sy, double sz)
{
    return Mat4d(sx, 0.0, 0.0, 0.0, 0.0, sy, 0.0, 0.0, 0.0, 0.0, sz, 0.0, 0.0, 0.0, 0.0, 1.0);
}

Mat4d Mat4d::MakeTranslation(double tx, double ty, double tz)
{
    return Mat4d(1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, tx, ty, tz, 1.0);
}

Mat4d Mat4d::MakeTranslation(const Vec3d& t)
{
    return MakeTranslation(t.x, t.y, t.z);
}

} // namespace shr
