#pragma once
// VgClipPlaneDragger: the handle of a clip plane, a clip-plane manipulator as
// its own root. The stored plane follows drags only; SetValue places the
// handle without touching it.
#include "core/graphics/VgDragger.h"
#include "shr/Plane.h"

class SoClipPlaneManip;

namespace shr {
struct Box3d;
}

namespace core {

class VgClipPlaneDragger : public VgDragger {
public:
    VgClipPlaneDragger();
    ~VgClipPlaneDragger() override;

    InvSmartPtr<SoNode> GetNode() const override;

    // Fits the handle to `box`, facing `normal`, sized by `draggerScale`.
    void SetValue(const shr::Box3d& box, const shr::Vec3d& normal, double draggerScale);

    const shr::Plane& Plane() const { return m_Plane; }

private:
    void ReadManip();

    InvSmartPtr<SoClipPlaneManip> m_Root;
    shr::Plane m_Plane;
};

} // namespace core
