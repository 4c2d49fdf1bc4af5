#include "core/graphics/InvFont.h"

#include "core/graphics/GLFontManager.h"
#include "core/graphics/InvFontElement.h"
#include "core/network/VoNetwork.h"
#include "shr/Exception.h"
#include "shr/Logger.h"

#include <Inventor/actions/SoCallbackAction.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/actions/SoGetPrimitiveCountAction.h>
#include <Inventor/actions/SoPickAction.h>

namespace core {

SO_NODE_SOURCE(InvFont);

namespace {
const bool s_Registered = (VoNetwork::RegisterSceneClass(&InvFont::initClass), true);
}

void InvFont::initClass()
{
    if (getClassTypeId() != SoType::badType())
        return;
    InvFontElement::initClass();
    SO_NODE_INIT_CLASS(InvFont, SoFont, "Font");
}

InvFont::InvFont()
{
    SO_NODE_CONSTRUCTOR(InvFont);
    SO_NODE_ADD_FIELD(flags, (0u));
}

InvFont::~InvFont() = default;

std::shared_ptr<GLFont> InvFont::GetFont() const
{
    return GLFontManager::Instance().GetFont(name.getValue().getString(), size.getValue(), GLFont::Outline,
                                             flags.getValue());
}

std::shared_ptr<GLFont> InvFont::FontOrNull()
{
    try {
        auto font = GetFont();
        m_LastError.clear();
        return font;
    } catch (const shr::Exception& e) {
        if (m_LastError != e.Message()) {
            m_LastError = e.Message();
            shr::g_Logger.SendVA(1, "InvFont: %s", m_LastError.c_str());
        }
    }
    return nullptr;
}

void InvFont::doAction(SoAction* action)
{
    inherited::doAction(action);
    InvFontElement::set(action->getState(), this, FontOrNull());
}

// The library's font node does its work in its own doAction, not ours.
void InvFont::GLRender(SoGLRenderAction* action) { InvFont::doAction(action); }
void InvFont::callback(SoCallbackAction* action) { InvFont::doAction(action); }
void InvFont::getBoundingBox(SoGetBoundingBoxAction* action) { InvFont::doAction(action); }
void InvFont::pick(SoPickAction* action) { InvFont::doAction(action); }
void InvFont::getPrimitiveCount(SoGetPrimitiveCountAction* action) { InvFont::doAction(action); }

} // namespace core
