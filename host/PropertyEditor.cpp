#include "host/PropertyEditor.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbPropertyConverterFactory.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "host/HostError.h"
#include "shr/StringUtil.h"

namespace host {

namespace {

// The key's value from `text` through its registered converter into `value`;
// false when the text does not convert or the key has no converter.
bool FromText(const core::PropertyRegistryPair& pair, const std::string& text, boost::any& value)
{
    if (pair.converterKey == 0)
        return false;
    core::VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
    return core::VbPropertyConverterFactory::Construct(pair.converterKey)->FromString(text, value);
}

} // namespace

PropertyEditor::PropertyEditor(core::VoModule& module, Keys keys) : m_Module(module), m_Keys(keys)
{
    Refresh();
}

const std::vector<CatalogueRow>& PropertyEditor::Catalogue() const
{
    if (!m_Catalogue)
        m_Catalogue = std::make_unique<std::vector<CatalogueRow>>(
            PropertyCatalogue::Explore(m_Module.GetModuleInfo()->UiName()));
    return *m_Catalogue;
}

const CatalogueRow* PropertyEditor::Unshown(const std::string& key) const
{
    if (m_Keys == kRowKeys || !m_Module.GetModuleInfo())
        return nullptr;
    const CatalogueRow* row = PropertyCatalogue::Find(Catalogue(), key);
    return row && (row->source == CatalogueRow::kSecondKey || row->source == CatalogueRow::kModuleKey) ? row
                                                                                                        : nullptr;
}

int PropertyEditor::RowOf(const std::string& key) const
{
    const int id = m_List.FindKey(key);
    if (id >= 0)
        return id;
    const CatalogueRow* row = Unshown(key);
    return row && row->source == CatalogueRow::kSecondKey && m_List.IsProp(row->id) ? row->id : -1;
}

bool PropertyEditor::ModuleKey(const std::string& key) const
{
    const CatalogueRow* row = m_List.FindKey(key) < 0 ? Unshown(key) : nullptr;
    return row && row->source == CatalogueRow::kModuleKey;
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
    const core::PropertyRegistryPair pair = core::VbPropertyRegistry::Instance().Get(key);
    boost::any value = m_List.AnyValue(id);
    bool parsed = false;
    if (pair.converterKey != 0 && pair.id == id) {
        parsed = FromText(pair, text, value);
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
    const int id = RowOf(key);
    if (id < 0 && ModuleKey(key)) {
        SetWithoutRow(key, text);
        return;
    }
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

// The module takes the value as it takes one restored from an older document.
void PropertyEditor::SetWithoutRow(const std::string& key, const std::string& text)
{
    const core::PropertyRegistryPair pair = core::VbPropertyRegistry::Instance().Get(key);
    boost::any value;
    if (!FromText(pair, text, value))
        HOST_USER_ERROR("bad value \"%s\" for property key \"%s\"", text.c_str(), key.c_str());
    try {
        core::VoNetwork::Instance().ModifyNode(m_Module, m_List, core::VbPropertyEvent(pair.id, value), true, true);
    } catch (const shr::Exception& error) {
        if (IsUserError(error))
            throw;
        HOST_USER_ERROR("bad value \"%s\" for property key \"%s\": %s", text.c_str(), key.c_str(), error.what());
    }
    Refresh();
}

} // namespace host
