#pragma once
// The box that the modules which only look at their input (axes, bounding
// box) draw around it: spatial data give their own UVW box and their user
// transform; scene geometry gives its box moved back by the scene transform,
// so that labels read true coordinates.
#include "shr/Box3d.h"
#include "shr/Mat4d.h"

namespace core {

class VdData;
class VgRenderer;

// False for no data, data of another kind, or an empty box (a minimum above
// its maximum on any axis); `matrix` is the identity unless the data have a
// user transform. The scene transform is the pass's, from its renderer, or
// the network's without one.
bool GetInputBounds(const VdData* data, const VgRenderer* renderer, shr::Box3d& box, shr::Mat4d& matrix);

} // namespace core
