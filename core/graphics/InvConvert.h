#pragma once
// Conversions between the library's double-precision math types and the
// scene graph's float ones. Narrowing is a plain cast: these are directions,
// sizes and handle positions, not scene coordinates (those go through the
// renderer's scene offset).
#include "shr/Mat4d.h"
#include "shr/Quat4d.h"
#include "shr/Vec3.h"

#include <Inventor/SbMatrix.h>
#include <Inventor/SbRotation.h>
#include <Inventor/SbVec3f.h>

namespace core {

inline SbVec3f ToSbVec3f(const shr::Vec3d& v)
{
    return SbVec3f(static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z));
}

inline shr::Vec3d ToVec3d(const SbVec3f& v) { return shr::Vec3d(v[0], v[1], v[2]); }

// Component for component, (x, y, z, w) both sides.
inline SbRotation ToSbRotation(const shr::Quat4d& q)
{
    return SbRotation(static_cast<float>(q.x), static_cast<float>(q.y), static_cast<float>(q.z),
                      static_cast<float>(q.w));
}

inline shr::Quat4d ToQuat4d(const SbRotation& r)
{
    const float* q = r.getValue();
    return shr::Quat4d(q[0], q[1], q[2], q[3]);
}

// Element for element; both take points as row vectors.
inline SbMatrix ToSbMatrix(const shr::Mat4d& m)
{
    SbMatrix result;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            result[row][column] = static_cast<float>(m.m[row][column]);
    return result;
}

inline shr::Mat4d ToMat4d(const SbMatrix& m)
{
    return shr::Mat4d(m[0][0], m[0][1], m[0][2], m[0][3], m[1][0], m[1][1], m[1][2], m[1][3], m[2][0], m[2][1],
                      m[2][2], m[2][3], m[3][0], m[3][1], m[3][2], m[3][3]);
}

} // namespace core
