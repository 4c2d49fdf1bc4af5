#include "shr/Quat4d.h"

#include "shr/Mat4d.h"

#include <algorithm>
#include <cmath>

namespace shr {

namespace {

Quat4d Unit(const Quat4d& q)
{
    Quat4d u = q;
    u.Normalize();
    return u;
}

// A unit vector perpendicular to v (v of unit length).
Vec3d Perpendicular(const Vec3d& v)
{
    Vec3d p = v.Cross(Vec3d::UNIT_X);
    if (p.LengthSquared() < 1e-6)
        p = v.Cross(Vec3d::UNIT_Y);
    p.Normalize();
    return p;
}

} // namespace

void Quat4d::Set(const Vec3d& axis, double angle)
{
    Vec3d u = axis;
    if (!u.Normalize()) {
        *this = IDENTITY;
        return;
    }
    const double s = std::sin(angle * 0.5);
    *this = Quat4d(u.x * s, u.y * s, u.z * s, std::cos(angle * 0.5));
}

void Quat4d::Set(const Vec3d& from, const Vec3d& to)
{
    Vec3d a = from, b = to;
    if (!a.Normalize() || !b.Normalize()) {
        *this = IDENTITY;
        return;
    }
    const double d = a.Dot(b);
    if (d < -1.0 + 1e-12) {
        const Vec3d p = Perpendicular(a);
        *this = Quat4d(p.x, p.y, p.z, 0.0);
        return;
    }
    // Half-way quaternion: (a x b, 1 + a.b) normalised has half the angle.
    const Vec3d c = a.Cross(b);
    *this = Unit(Quat4d(c.x, c.y, c.z, 1.0 + d));
}

void Quat4d::Set(const Mat4d& rotation)
{
    // r(i, j): the column-vector rotation, the transpose of the row-vector one.
    const auto r = [&](int i, int j) { return rotation.m[j][i]; };
    const double trace = r(0, 0) + r(1, 1) + r(2, 2);
    if (trace > 0.0) {
        const double s = 2.0 * std::sqrt(trace + 1.0);
        *this = Quat4d((r(2, 1) - r(1, 2)) / s, (r(0, 2) - r(2, 0)) / s, (r(1, 0) - r(0, 1)) / s, 0.25 * s);
    } else if (r(0, 0) > r(1, 1) && r(0, 0) > r(2, 2)) {
        const double s = 2.0 * std::sqrt(1.0 + r(0, 0) - r(1, 1) - r(2, 2));
        *this = Quat4d(0.25 * s, (r(0, 1) + r(1, 0)) / s, (r(0, 2) + r(2, 0)) / s, (r(2, 1) - r(1, 2)) / s);
    } else if (r(1, 1) > r(2, 2)) {
        const double s = 2.0 * std::sqrt(1.0 + r(1, 1) - r(0, 0) - r(2, 2));
        *this = Quat4d((r(0, 1) + r(1, 0)) / s, 0.25 * s, (r(1, 2) + r(2, 1)) / s, (r(0, 2) - r(2, 0)) / s);
    } else {
        const double s = 2.0 * std::sqrt(1.0 + r(2, 2) - r(0, 0) - r(1, 1));
        *this = Quat4d((r(0, 2) + r(2, 0)) / s, (r(1, 2) + r(2, 1)) / s, 0.25 * s, (r(1, 0) - r(0, 1)) / s);
    }
    Normalize();
}

void Quat4d::Get(Mat4d& matrix) const
{
    const Quat4d q = Unit(*this);
    const double xx = q.x * q.x, yy = q.y * q.y, zz = q.z * q.z;
    const double xy = q.x * q.y, xz = q.x * q.z, yz = q.y * q.z;
    const double wx = q.w * q.x, wy = q.w * q.y, wz = q.w * q.z;
    // Rows are the images of the unit axes (row vectors).
    matrix = Mat4d(1.0 - 2.0 * (yy + zz), 2.0 * (xy + wz), 2.0 * (xz - wy), 0.0,
                   2.0 * (xy - wz), 1.0 - 2.0 * (xx + zz), 2.0 * (yz + wx), 0.0,
                   2.0 * (xz + wy), 2.0 * (yz - wx), 1.0 - 2.0 * (xx + yy), 0.0,
                   0.0, 0.0, 0.0, 1.0);
}

void Quat4d::Get(Vec3d& axis, double& angle) const
{
    const Quat4d q = Unit(*this);
    const double s = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z);
    if (s < 1e-15) {
        axis = Vec3d::UNIT_Z;
        angle = 0.0;
        return;
    }
    axis = Vec3d(q.x / s, q.y / s, q.z / s);
    angle = 2.0 * std::atan2(s, q.w);
}

void Quat4d::MultVec(const Vec3d& src, Vec3d& dst) const
{
    const Quat4d q = Unit(*this);
    const Vec3d u(q.x, q.y, q.z);
    const Vec3d t = u.Cross(src) * 2.0;
    dst = src + t * q.w + u.Cross(t);
}

Vec3d Quat4d::MultVec(const Vec3d& src) const
{
    Vec3d dst;
    MultVec(src, dst);
    return dst;
}

double Quat4d::Length() const
{
    return std::sqrt(x * x + y * y + z * z + w * w);
}

bool Quat4d::Normalize()
{
    const double len = Length();
    if (!(len > 0.0) || !std::isfinite(len)) {
        *this = IDENTITY;
        return false;
    }
    x /= len;
    y /= len;
    z /= len;
    w /= len;
    return true;
}

Quat4d Quat4d::Inverse() const
{
    const Quat4d q = Unit(*this);
    return Quat4d(-q.x, -q.y, -q.z, q.w);
}

Quat4d operator*(const Quat4d& first, const Quat4d& then)
{
    // The Hamilton product then (x) first: `first` is applied to a vector first.
    const Quat4d& p = then;
    const Quat4d& q = first;
    return Quat4d(p.w * q.x + p.x * q.w + p.y * q.z - p.z * q.y,
                  p.w * q.y - p.x * q.z + p.y * q.w + p.z * q.x,
                  p.w * q.z + p.x * q.y - p.y * q.x + p.z * q.w,
                  p.w * q.w - p.x * q.x - p.y * q.y - p.z * q.z);
}

bool Quat4d::Equals(const Quat4d& o, double tolerance) const
{
    const auto near = [tolerance](const Quat4d& a, const Quat4d& b) {
        return std::abs(a.x - b.x) <= tolerance && std::abs(a.y - b.y) <= tolerance &&
               std::abs(a.z - b.z) <= tolerance && std::abs(a.w - b.w) <= tolerance;
    };
    const Quat4d a = Unit(*this), b = Unit(o);
    return near(a, b) || near(a, Quat4d(-b.x, -b.y, -b.z, -b.w));
}

} // namespace shr
