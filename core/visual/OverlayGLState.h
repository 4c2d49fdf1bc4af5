#pragma once
// OverlayGLState: the OpenGL state that the screen-space overlays (legends,
// annotations) draw under, set for the life of the object: flat colours that
// win the depth test against the whole scene (depth range 0 to `farDepth`),
// no clip planes, in an orthographic projection of the viewport in pixels
// with (0, 0) at the lower left. Everything is restored on destruction.
#include <boost/noncopyable.hpp>

namespace core {

class OverlayGLState : private boost::noncopyable {
public:
    OverlayGLState(double width, double height, double farDepth);
    ~OverlayGLState();
};

} // namespace core
