#include "core/graphics/VgLightDragger.h"

#include "core/graphics/InvConvert.h"

#include <Inventor/draggers/SoDragger.h>
#include <Inventor/fields/SoSFVec3f.h>
#include <Inventor/nodes/SoLight.h>
#include <Inventor/nodes/SoTransform.h>
#include <Inventor/nodes/SoTransformSeparator.h>

namespace core {

namespace {

SoSFVec3f* TranslationOf(SoDragger* dragger)
{
    SoField* field = dragger ? dragger->getField("translation") : nullptr;
    return field && field->isOfType(SoSFVec3f::getClassTypeId()) ? static_cast<SoSFVec3f*>(field) : nullptr;
}

} // namespace

VgLightDragger::VgLightDragger() : m_Root(new SoTransformSeparator), m_Transform(new SoTransform)
{
    m_Root->addChild(m_Transform.get());
}

VgLightDragger::~VgLightDragger() = default;

InvSmartPtr<SoNode> VgLightDragger::GetNode() const { return InvSmartPtr<SoNode>(m_Root.get()); }

void VgLightDragger::SetCutoff(double) {}

void VgLightDragger::SetDirection(const shr::Vec3d&) {}

void VgLightDragger::SetPosition(const shr::Vec3d& position)
{
    if (position == m_Position)
        return;
    m_Position = position;
    WritePosition();
}

void VgLightDragger::SetColor(const shr::Color4b& color)
{
    if (color == m_Color)
        return;
    m_Color = color;
    WriteColor();
}

void VgLightDragger::SetScale(const shr::Vec3d& scale)
{
    if (scale == m_Scale)
        return;
    m_Scale = scale;
    m_Transform->scaleFactor.setValue(ToSbVec3f(scale));
}

void VgLightDragger::AttachManip(SoLight* manip, SoDragger* dragger)
{
    m_Root->addChild(manip);
    HookDragger(dragger, [this] { ReadManip(); });
}

void VgLightDragger::ReadPosition(SoDragger* dragger)
{
    const SbVec3f& base = m_Transform->translation.getValue();
    m_Position = shr::Vec3d(base[0], base[1], base[2]);
    if (const SoSFVec3f* translation = TranslationOf(dragger)) {
        const SbVec3f& t = translation->getValue();
        m_Position += shr::Vec3d(t[0] * m_Scale.x, t[1] * m_Scale.y, t[2] * m_Scale.z);
    }
}

void VgLightDragger::WriteColorTo(SoLight& light) const
{
    light.color.setValue(static_cast<float>(m_Color.r / 255.0), static_cast<float>(m_Color.g / 255.0),
                         static_cast<float>(m_Color.b / 255.0));
}

void VgLightDragger::WritePositionTo(SoDragger* dragger)
{
    m_Transform->translation.setValue(ToSbVec3f(m_Position));
    if (SoSFVec3f* translation = TranslationOf(dragger))
        translation->setValue(0.0f, 0.0f, 0.0f);
}

} // namespace core
