#include "core/graphics/VgPointLightDragger.h"

#include <Inventor/manips/SoPointLightManip.h>

namespace core {

VgPointLightDragger::VgPointLightDragger() : m_Manip(new SoPointLightManip)
{
    AttachManip(m_Manip.get(), m_Manip->getDragger());
}

VgPointLightDragger::~VgPointLightDragger() = default;

void VgPointLightDragger::ReadManip() { ReadPosition(m_Manip->getDragger()); }

void VgPointLightDragger::WriteColor() { WriteColorTo(*m_Manip); }

void VgPointLightDragger::WritePosition() { WritePositionTo(m_Manip->getDragger()); }

} // namespace core
