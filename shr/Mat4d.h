#pragma once
// Mat4d: a 4x4 transform in double, with a classification that lets callers
// skip work on the plain cases.
//
// Convention: points are ROW vectors. p' = [x y z 1] * M, so the translation
// is row 3 (m[3][0..2]) and A * B applies A first, then B. A matrix whose
// column 3 is not (0, 0, 0, 1) is projective; points then undergo the
// perspective divide by w (skipped when w is 0: the point is at infinity and
// comes back undivided rather than as inf or NaN).
//
// Classification: every operation that changes the matrix re-classifies it, so
// GetType() is always current. m is public for reading and for the archive;
// after writing m[][] directly, call Reclassify() (or write through SetValue).
#include "shr/Vec3.h"
#include "shr/Vec4.h"

#include <cstddef>

namespace shr {

struct Quat4d;

class Mat4d {
public:
    enum Type : int {
        Unknown = 0,          // not (yet) known; never the type of a classified matrix
        Identity = 1,         // exactly the identity: callers skip the work
        Translation = 2,      // identity 3x3 part, a translation
        ScaleTranslation = 3, // axis-aligned scale (any sign, possibly 0), then translation
        Affine = 4,           // any other 3x3 part (rotation, shear), column 3 = (0, 0, 0, 1)
        Projective = 5        // column 3 other than (0, 0, 0, 1)
    };

    // Where RotateX/Y/Z put the new rotation.
    enum Order : int {
        PreMultiply = 0,  // M = R * M: the rotation acts first, in the matrix's own frame
        PostMultiply = 1  // M = M * R: the rotation acts after the matrix, in the outer frame
    };

    double m[4][4];

    // The identity.
    constexpr Mat4d() : m{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}, m_Type(Identity) {}
    // Row by row. The matrix classifies itself from its values: `type` is only
    // what the caller knew, and is not trusted.
    Mat4d(double a00, double a01, double a02, double a03,
          double a10, double a11, double a12, double a13,
          double a20, double a21, double a22, double a23,
          double a30, double a31, double a32, double a33, Type type = Unknown);
    // Sixteen doubles row by row, as an archive stores m.
    explicit Mat4d(const double* rowMajor16);
    // The rotation of the quaternion.
    explicit Mat4d(const Quat4d& rotation);

    Type GetType() const { return m_Type; }
    // Writes one element and re-classifies; throws for a row or column outside 0..3.
    void SetValue(int row, int col, double value);
    // Classifies again after direct writes to m.
    void Reclassify() { ClassifyType(); }
    void MakeIdentity();

    // this = this * b: b acts after this.
    Mat4d& operator*=(const Mat4d& b);
    friend Mat4d operator*(const Mat4d& a, const Mat4d& b);

    // In place.
    void Transpose();
    // Inverts in place. A singular matrix (relative to the size of its rows)
    // is left unchanged and the result is false.
    bool Inverse();

    // Every element within `tolerance`.
    bool Equals(const Mat4d& other, double tolerance) const;
    // Exact element comparison; the type follows from the elements.
    bool operator==(const Mat4d& o) const;
    bool operator!=(const Mat4d& o) const { return !(*this == o); }

    // dst[i] = src[i] * M for count points; dst may be src.
    void Transform(const Vec3d* src, Vec3d* dst, size_t count) const;
    // A direction: the 3x3 part only, no translation or divide.
    Vec3d TransformVector(const Vec3d& v) const;
    Vec3d GetTranslation() const { return Vec3d(m[3][0], m[3][1], m[3][2]); }

    // Right-handed rotations by `angle` radians about the axes.
    void RotateX(double angle, Order order);
    void RotateY(double angle, Order order);
    void RotateZ(double angle, Order order);

    // The scene-graph decomposition M = SO^-1 * S * SO * R * T (row vectors:
    // scale in the frame of the scale orientation, then rotate, then
    // translate). A mirroring matrix gives negative scales. Column 3 is
    // ignored. When the 3x3 part is singular the rotation is not recoverable:
    // it comes back as the identity.
    void GetTransform(Vec3d& translation, Quat4d& rotation, Vec3d& scale, Quat4d& scaleOrientation) const;
    // M = S * R * T.
    void SetTransform(const Vec3d& translation, const Quat4d& rotation, const Vec3d& scale);
    // M = T(-center) * SO^-1 * S * SO * R * T(center) * T(translation): scale
    // and rotation about `center`.
    void SetTransform(const Vec3d& translation, const Quat4d& rotation, const Vec3d& scale,
                      const Quat4d& scaleOrientation, const Vec3d& center);

    static Mat4d MakeScale(double sx, double sy, double sz);
    static Mat4d MakeTranslation(double tx, double ty, double tz);
    static Mat4d MakeTranslation(const Vec3d& t);

    static const Mat4d IDENTITY;

private:
    void ClassifyType();
    void Rotate(int axis, double angle, Order order);
    bool InverseAffine();
    bool InverseGeneral();

    Type m_Type;
};

inline constexpr Mat4d Mat4d::IDENTITY{};

// The point [p 1] * M, divided by w for a projective M (see above).
Vec3d operator*(const Vec3d& p, const Mat4d& m);
// The homogeneous product, no divide.
Vec4d operator*(const Vec4d& p, const Mat4d& m);

} // namespace shr
