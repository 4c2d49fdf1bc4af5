#include "core/graphics/VgTransformDragger.h"

#include "core/graphics/InvConvert.h"

#include <Inventor/manips/SoTransformerManip.h>
#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoPointSet.h>
#include <Inventor/nodes/SoSeparator.h>

namespace core {

VgTransformDragger::VgTransformDragger(const shr::Vec3d& translation, const shr::Vec3d& scale,
                                       const shr::Quat4d& rotation, const shr::Box3d& box)
    : m_Root(new SoSeparator),
      m_Manip(new SoTransformerManip),
      m_Coords(new SoCoordinate3),
      m_Points(new SoPointSet),
      m_Translation(translation),
      m_Scale(scale),
      m_Rotation(rotation),
      m_Box(box)
{
    m_Points->numPoints.setValue(2);
    WriteCorners();
    m_Root->addChild(m_Manip.get());
    m_Root->addChild(m_Coords.get());
    m_Root->addChild(m_Points.get());
    HookDragger(m_Manip->getDragger(), [this] { ReadManip(); });
}

VgTransformDragger::~VgTransformDragger() = default;

InvSmartPtr<SoNode> VgTransformDragger::GetNode() const { return InvSmartPtr<SoNode>(m_Root.get()); }

void VgTransformDragger::SetTranslation(const shr::Vec3d& translation)
{
    m_Translation = translation;
    m_Manip->translation.setValue(ToSbVec3f(translation));
}

void VgTransformDragger::SetScale(const shr::Vec3d& scale)
{
    m_Scale = scale;
    m_Manip->scaleFactor.setValue(ToSbVec3f(scale));
}

void VgTransformDragger::SetRotation(const shr::Quat4d& rotation)
{
    m_Rotation = rotation;
    m_Manip->rotation.setValue(ToSbRotation(rotation));
}

void VgTransformDragger::SetBox(const shr::Box3d& box)
{
    m_Box = box;
    m_Manip->center.setValue(ToSbVec3f(box.Center()));
    WriteCorners();
}

void VgTransformDragger::UnsquishKnobs() { m_Manip->unsquishKnobs(); }

void VgTransformDragger::ReadManip()
{
    m_Translation = ToVec3d(m_Manip->translation.getValue());
    m_Scale = ToVec3d(m_Manip->scaleFactor.getValue());
    m_Rotation = ToQuat4d(m_Manip->rotation.getValue());
}

void VgTransformDragger::WriteCorners()
{
    m_Coords->point.set1Value(0, ToSbVec3f(m_Box.min));
    m_Coords->point.set1Value(1, ToSbVec3f(m_Box.max));
}

} // namespace core
