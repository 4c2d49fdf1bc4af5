#pragma once
// Quat4d: a rotation as a quaternion, public components x, y, z (the vector
// part) and w (the scalar part), in that order.
//
// Rotations follow the library's row-vector convention: q1 * q2 is "q1, then
// q2", matching Mat4d(q1) * Mat4d(q2). A quaternion that is not of unit length
// is normalised where it is used; the zero quaternion acts as no rotation.
#include "shr/Vec3.h"

namespace shr {

class Mat4d;

struct Quat4d {
    double x, y, z, w;

    // The identity rotation.
    constexpr Quat4d() : x(0.0), y(0.0), z(0.0), w(1.0) {}
    constexpr Quat4d(double x_, double y_, double z_, double w_) : x(x_), y(y_), z(z_), w(w_) {}
    // The rotation by `angle` radians about `axis`, right-handed.
    Quat4d(const Vec3d& axis, double angle) { Set(axis, angle); }
    // The rotation part of an affine matrix (scale and shear are not taken out:
    // use Mat4d::GetTransform for a matrix that has them).
    explicit Quat4d(const Mat4d& rotation) { Set(rotation); }

    // A zero axis gives the identity.
    void Set(const Vec3d& axis, double angle);
    // The shortest rotation that takes the direction `from` to `to`. Opposite
    // directions turn half a circle about an axis perpendicular to `from`; a
    // zero vector gives the identity.
    void Set(const Vec3d& from, const Vec3d& to);
    void Set(const Mat4d& rotation);

    void Get(Mat4d& matrix) const;
    // The angle in 0..2 pi, and the unit axis; for no rotation the axis is +Z
    // and the angle 0.
    void Get(Vec3d& axis, double& angle) const;

    // The vector rotated.
    void MultVec(const Vec3d& src, Vec3d& dst) const;
    Vec3d MultVec(const Vec3d& src) const;

    double Length() const;
    // To unit length; false (and the identity) for a zero or non-finite quaternion.
    bool Normalize();
    // The opposite rotation.
    Quat4d Inverse() const;

    friend Quat4d operator*(const Quat4d& first, const Quat4d& then);
    Quat4d& operator*=(const Quat4d& then) { return *this = *this * then; }

    // Exact comparison of components; note q and -q are the same rotation.
    bool operator==(const Quat4d& o) const { return x == o.x && y == o.y && z == o.z && w == o.w; }
    bool operator!=(const Quat4d& o) const { return !(*this == o); }
    // Same rotation within `tolerance` per component, q and -q alike.
    bool Equals(const Quat4d& o, double tolerance) const;

    static const Quat4d IDENTITY, ZERO;
};

inline constexpr Quat4d Quat4d::IDENTITY{0.0, 0.0, 0.0, 1.0};
inline constexpr Quat4d Quat4d::ZERO{0.0, 0.0, 0.0, 0.0};

static_assert(sizeof(Quat4d) == 4 * sizeof(double), "Quat4d is copied as four raw doubles");

} // namespace shr
