#pragma once
// Conversions between the library's double-precision math types and the
// scene graph's float ones. Narrowing is a plain cast: these are directions,
// sizes and handle positions, not scene coordinates (those go through the
// renderer's scene offset).
#include "shr/Quat4d.h"
#include "shr/Vec3.h"

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

} // namespace core
