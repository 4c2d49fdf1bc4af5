#pragma once
// VgRenderer: the one door through which modules write the scene graph. One
// renderer is made per pass and shared by all modules of the pass; it keeps
// the current group that nodes are added to and a working copy of the scene
// transform, which the network takes back at the end of the pass.
// (Only the part the module network uses so far; the class grows with the renderer.)
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/SceneTransform.h"

#include <boost/noncopyable.hpp>

#include <deque>
#include <vector>

#include <Inventor/nodes/SoGroup.h>

namespace shr {
struct Vec3d;
}

namespace core {

class VdGeometry;

class VgRenderer : private boost::noncopyable {
public:
    explicit VgRenderer(const SceneTransform& transform);
    ~VgRenderer();

    const SceneTransform& Transform() const { return m_Transform; }
    void Transform(const SceneTransform& transform) { m_Transform = transform; }

    // A new SoSeparator (or SoGroup) becomes current and is handed to the geometry.
    void PushNode(VdGeometry& geometry, bool separator);
    void PushNode(InvSmartPtr<SoGroup> group);
    void popState();
    InvSmartPtr<SoGroup> CurrentGroup() const { return m_CurrentGroup; }

    // Makes the transform valid with the offset that brings `position` to the
    // origin in X and Y; nothing if it is valid already.
    void UpdateTransform(const shr::Vec3d& position);

private:
    void UpdateTransformFrom(const std::vector<shr::Vec3d>& positions);

    InvSmartPtr<SoGroup> m_CurrentGroup;
    std::deque<InvSmartPtr<SoGroup>> m_Stack;
    SceneTransform m_Transform;
};

} // namespace core
