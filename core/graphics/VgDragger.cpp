#include "core/graphics/VgDragger.h"

#include "shr/Logger.h"

#include <Inventor/draggers/SoDragger.h>

namespace core {

VgDragger::VgDragger() = default;

VgDragger::~VgDragger()
{
    if (m_InCallback)
        shr::g_Logger.SendVA(8, "Destroying dragger from callback");
    UnhookDragger();
}

void VgDragger::Callback(CallbackFunc func, void* data)
{
    m_Callback = func;
    m_UserData = data;
}

void VgDragger::RemoveCallback() { m_Callback = nullptr; }

void VgDragger::SendEvent(Event event)
{
    if (!m_Callback)
        return;
    struct FlagGuard {
        bool& flag;
        explicit FlagGuard(bool& f) : flag(f) { flag = true; }
        ~FlagGuard() { flag = false; }
    } guard(m_InCallback);
    m_Callback(event, this, m_UserData);
}

void VgDragger::HookDragger(SoDragger* dragger, std::function<void()> read)
{
    UnhookDragger();
    m_Hooked = dragger;
    m_Read = std::move(read);
    if (!dragger)
        return;
    dragger->addValueChangedCallback(&VgDragger::ValueChangedCB, this);
    dragger->addFinishCallback(&VgDragger::FinishCB, this);
}

void VgDragger::UnhookDragger()
{
    if (!m_Hooked)
        return;
    m_Hooked->removeValueChangedCallback(&VgDragger::ValueChangedCB, this);
    m_Hooked->removeFinishCallback(&VgDragger::FinishCB, this);
    m_Hooked.reset();
}

void VgDragger::ValueChangedCB(void* data, SoDragger*)
{
    auto* self = static_cast<VgDragger*>(data);
    if (self->m_Read)
        self->m_Read();
    self->SendEvent(CHANGED);
}

void VgDragger::FinishCB(void* data, SoDragger*) { static_cast<VgDragger*>(data)->SendEvent(FINISHED); }

} // namespace core
