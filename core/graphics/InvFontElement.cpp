#include "core/graphics/InvFontElement.h"

#include "core/graphics/GLFont.h"
#include "core/network/VoNetwork.h"

#include <Inventor/actions/SoCallbackAction.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/actions/SoGetPrimitiveCountAction.h>
#include <Inventor/actions/SoPickAction.h>

namespace core {

SO_ELEMENT_SOURCE(InvFontElement);

namespace {
const bool s_Registered = (VoNetwork::RegisterSceneClass(&InvFontElement::initClass), true);
}

void InvFontElement::initClass()
{
    if (getClassTypeId() != SoType::badType())
        return;
    SO_ELEMENT_INIT_CLASS(InvFontElement, inherited);
    SO_ENABLE(SoGLRenderAction, InvFontElement);
    SO_ENABLE(SoGetBoundingBoxAction, InvFontElement);
    SO_ENABLE(SoCallbackAction, InvFontElement);
    SO_ENABLE(SoPickAction, InvFontElement);
    SO_ENABLE(SoGetPrimitiveCountAction, InvFontElement);
}

InvFontElement::~InvFontElement() = default;

void InvFontElement::init(SoState* state)
{
    inherited::init(state);
    m_Font.reset();
}

void InvFontElement::push(SoState* state)
{
    inherited::push(state);
    const auto* below = static_cast<const InvFontElement*>(getNextInStack());
    m_Font = below->m_Font;
    nodeId = below->nodeId;
}

void InvFontElement::set(SoState* state, SoNode* node, std::shared_ptr<GLFont> font)
{
    auto* element = static_cast<InvFontElement*>(getElement(state, classStackIndex, node));
    if (element)
        element->m_Font = std::move(font);
}

std::shared_ptr<GLFont> InvFontElement::get(SoState* state)
{
    return static_cast<const InvFontElement*>(getConstElement(state, classStackIndex))->m_Font;
}

} // namespace core
