#pragma once
// GLTesselator: turns closed planar contours (glyph outlines, polygons with
// holes) into independent triangles through GLU's tessellator. It needs no GL
// context. The triangles are counter-clockwise seen from +Z.
#include "shr/Vec2.h"

#include <boost/noncopyable.hpp>

#include <vector>

namespace core {

class GLTesselator : private boost::noncopyable {
public:
    // Which regions count as inside where contours overlap or nest.
    enum Winding { Odd, NonZero };
    using Contour = std::vector<shr::Vec2d>;

    // Throws error 40 when GLU cannot give a tessellator.
    GLTesselator();
    ~GLTesselator();

    // Three vertices per triangle. Contours of fewer than three points add
    // nothing. A degenerate or out-of-range input throws error 41 naming
    // GLU's complaint.
    std::vector<shr::Vec2d> Tesselate(const std::vector<Contour>& contours, Winding winding);

private:
    void* m_Tess; // GLUtesselator
};

} // namespace core
