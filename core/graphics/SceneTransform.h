#pragma once
// SceneTransform: the X and Y offset that moves the whole scene near the
// origin before coordinates are narrowed to float; Z is never offset. The
// network keeps the master copy, each pass's renderer a working copy.
#include "shr/Vec3.h"

namespace core {

class SceneTransform {
public:
    SceneTransform() = default;
    SceneTransform(double x, double y, bool valid) : m_X(x), m_Y(y), m_Valid(valid) {}

    void Invalidate() { *this = SceneTransform(); }
    bool Valid() const { return m_Valid; }
    double XTransform() const { return m_X; }
    double YTransform() const { return m_Y; }
    SceneTransform Inverse() const { return SceneTransform(-m_X, -m_Y, m_Valid); }
    // `position` with the offsets added in double; as it is while not valid.
    shr::Vec3d Moved(const shr::Vec3d& position) const
    {
        return m_Valid ? shr::Vec3d(position.x + m_X, position.y + m_Y, position.z) : position;
    }
    // Positions sampled when an offset is derived from a list of positions.
    static int DefaultSampleSize() { return 5; }

private:
    double m_X = 0.0;
    double m_Y = 0.0;
    bool m_Valid = false;
};

} // namespace core
