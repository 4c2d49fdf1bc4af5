#include "core/graphics/VgJackDragger.h"

#include "core/graphics/InvConvert.h"

#include <Inventor/draggers/SoJackDragger.h>

namespace core {

VgJackDragger::VgJackDragger() : m_Root(new SoJackDragger)
{
    HookDragger(m_Root.get(), [this] { ReadDragger(); });
}

VgJackDragger::~VgJackDragger() = default;

InvSmartPtr<SoNode> VgJackDragger::GetNode() const { return InvSmartPtr<SoNode>(m_Root.get()); }

void VgJackDragger::SetTranslation(const shr::Vec3d& translation)
{
    if (translation == m_Translation)
        return;
    m_Translation = translation;
    m_Root->translation.setValue(ToSbVec3f(translation));
}

void VgJackDragger::SetScale(const shr::Vec3d& scale)
{
    if (scale == m_Scale)
        return;
    m_Scale = scale;
    m_Root->scaleFactor.setValue(ToSbVec3f(scale));
}

void VgJackDragger::SetRotation(const shr::Quat4d& rotation)
{
    if (rotation == m_Rotation)
        return;
    m_Rotation = rotation;
    m_Root->rotation.setValue(ToSbRotation(rotation));
}

void VgJackDragger::ReadDragger()
{
    m_Translation = ToVec3d(m_Root->translation.getValue());
    m_Scale = ToVec3d(m_Root->scaleFactor.getValue());
    m_Rotation = ToQuat4d(m_Root->rotation.getValue());
}

} // namespace core
