#include "core/graphics/VgDirectionalLightDragger.h"

#include "core/graphics/InvConvert.h"

#include <Inventor/manips/SoDirectionalLightManip.h>

namespace core {

VgDirectionalLightDragger::VgDirectionalLightDragger(const shr::Vec3d& direction)
    : m_Manip(new SoDirectionalLightManip), m_Direction(direction)
{
    m_Manip->direction.setValue(ToSbVec3f(direction));
    AttachManip(m_Manip.get(), m_Manip->getDragger());
}

VgDirectionalLightDragger::~VgDirectionalLightDragger() = default;

void VgDirectionalLightDragger::SetDirection(const shr::Vec3d& direction)
{
    if (direction == m_Direction)
        return;
    m_Direction = direction;
    m_Manip->direction.setValue(ToSbVec3f(direction));
}

void VgDirectionalLightDragger::ReadManip()
{
    const SbVec3f& d = m_Manip->direction.getValue();
    m_Direction = ToVec3d(d);
    ReadPosition(m_Manip->getDragger());
}

void VgDirectionalLightDragger::WriteColor() { WriteColorTo(*m_Manip); }

void VgDirectionalLightDragger::WritePosition() { WritePositionTo(m_Manip->getDragger()); }

} // namespace core
