#include "host/PropertyEditor.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbPropertyConverterFactory.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "host/HostError.h"
#include "shr/StringUtil.h"

namespace host {

PropertyEditor::PropertyEditor(core::VoModule& module) : m_Module(module)
{
    Refresh();
}

// Listed anew, so that the rows stand in the module's order, each under its
// header, whatever rows the last change added or dropped.
void PropertyEditor::Refresh()
{
    m_List.RemoveAll();
    m_Module.UpdateProperties(m_List);
}

std::string PropertyEditor::ValueText(int id) const
{
    try {
        return m_List.StringValue(id);
    } catch (const shr::Exception&) {
        return std::string(); // a row whose value has no text form
    }
}

// The text as the row's value: through the converter the key is registered
// with, or, for a key the registry does not know, the row's own.
boost::any PropertyEditor::Convert(int id, const std::string& key, const std::string& text)
{
    const core::VbPropertyRegistry& registry = core::VbPropertyRegistry::Instance();
    const core::PropertyRegistryPair pair = registry.Get(key);
    boost::any value = m_List.AnyValue(id);
    bool parsed = false;
    if (pair.converterKey != 0 && pair.id == id) {
        core::VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
        parsed = core::VbPropertyConverterFactory::Construct(pair.converterKey)->FromString(text, value);
        if (parsed)
            m_List.AnyValue(id, value, false); // raises when the converter's type is not the row's
    } else {
        parsed = m_List.StringValue(id, text);
        value = m_List.AnyValue(id);
    }
    if (!parsed)
        HOST_USER_ERROR("bad value \"%s\" for property key \"%s\"", text.c_str(), key.c_str());
    return value;
}

void PropertyEditor::Set(const std::string& key, const std::string& text)
{
    const int id = m_List.FindKey(key);
    if (id < 0)
        HOST_USER_ERROR("unknown property key \"%s\"", key.c_str());
    if (m_List.Info(id)->kind == "button") {
        // A button is pressed by a true value; "0" or "false" leaves it alone.
        bool press = false;
        if (!shr::StringToBool(text, press))
            HOST_USER_ERROR("bad value \"%s\" for property key \"%s\": a button takes 1 (press) or 0",
                            text.c_str(), key.c_str());
        if (!press)
            return;
    }
    const std::string before = ValueText(id);
    try {
        const boost::any value = Convert(id, key, text);
        core::VoNetwork::Instance().ModifyNode(m_Module, m_List, core::VbPropertyEvent(id, value), true, false);
    } catch (const shr::Exception& error) {
        if (IsUserError(error))
            throw;
        m_List.StringValue(id, before);
        HOST_USER_ERROR("bad value \"%s\" for property key \"%s\": %s", text.c_str(), key.c_str(), error.what());
    }
    Refresh();
}

} // namespace host
