#include "core/graphics/VgSpotLightDragger.h"

#include "core/graphics/InvConvert.h"

#include <Inventor/manips/SoSpotLightManip.h>

namespace core {

VgSpotLightDragger::VgSpotLightDragger(const shr::Vec3d& direction, double cutoff)
    : m_Manip(new SoSpotLightManip), m_Direction(direction), m_Cutoff(cutoff)
{
    m_Manip->direction.setValue(ToSbVec3f(direction));
    m_Manip->cutOffAngle.setValue(static_cast<float>(cutoff));
    AttachManip(m_Manip.get(), m_Manip->getDragger());
}

VgSpotLightDragger::~VgSpotLightDragger() = default;

void VgSpotLightDragger::SetCutoff(double radians)
{
    if (radians == m_Cutoff)
        return;
    m_Cutoff = radians;
    m_Manip->cutOffAngle.setValue(static_cast<float>(radians));
}

void VgSpotLightDragger::SetDirection(const shr::Vec3d& direction)
{
    if (direction == m_Direction)
        return;
    m_Direction = direction;
    m_Manip->direction.setValue(ToSbVec3f(direction));
}

void VgSpotLightDragger::ReadManip()
{
    const SbVec3f& d = m_Manip->direction.getValue();
    m_Direction = ToVec3d(d);
    m_Cutoff = m_Manip->cutOffAngle.getValue();
    ReadPosition(m_Manip->getDragger());
}

void VgSpotLightDragger::WriteColor() { WriteColorTo(*m_Manip); }

void VgSpotLightDragger::WritePosition() { WritePositionTo(m_Manip->getDragger()); }

} // namespace core
