#include "core/graphics/VgClipPlaneDragger.h"

#include "core/graphics/InvConvert.h"
#include "shr/Box3d.h"

#include <Inventor/SbBox3f.h>
#include <Inventor/manips/SoClipPlaneManip.h>

namespace core {

VgClipPlaneDragger::VgClipPlaneDragger() : m_Root(new SoClipPlaneManip)
{
    ReadManip();
    HookDragger(m_Root->getDragger(), [this] { ReadManip(); });
}

VgClipPlaneDragger::~VgClipPlaneDragger() = default;

InvSmartPtr<SoNode> VgClipPlaneDragger::GetNode() const { return InvSmartPtr<SoNode>(m_Root.get()); }

void VgClipPlaneDragger::SetValue(const shr::Box3d& box, const shr::Vec3d& normal, double draggerScale)
{
    const SbBox3f sbBox(ToSbVec3f(box.min), ToSbVec3f(box.max));
    m_Root->setValue(sbBox, ToSbVec3f(normal), static_cast<float>(draggerScale));
}

void VgClipPlaneDragger::ReadManip()
{
    const SbPlane& plane = m_Root->plane.getValue();
    m_Plane = shr::Plane(ToVec3d(plane.getNormal()), static_cast<double>(plane.getDistanceFromOrigin()));
}

} // namespace core
