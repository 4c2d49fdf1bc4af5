#include "host/HostPropertyList.h"

#include <strings.h>

#include <algorithm>

namespace host {

namespace {

std::vector<std::string> Strings(const std::vector<shr::GString>& list)
{
    return std::vector<std::string>(list.begin(), list.end());
}

} // namespace

const HostPropertyList::RowInfo* HostPropertyList::Info(int id) const
{
    const auto found = m_Rows.find(id);
    return found == m_Rows.end() ? nullptr : &found->second;
}

int HostPropertyList::FindKey(const std::string& key) const
{
    for (const auto& row : m_Rows) {
        if (!row.second.key.empty() && strcasecmp(row.second.key.c_str(), key.c_str()) == 0 && IsProp(row.first))
            return row.first;
    }
    return -1;
}

void HostPropertyList::Remove(int id)
{
    SimplePropertyCollection::Remove(id);
    m_Rows.erase(id);
    m_ReadOnly.erase(id);
    m_Order.erase(std::remove(m_Order.begin(), m_Order.end(), id), m_Order.end());
}

void HostPropertyList::RemoveAll()
{
    SimplePropertyCollection::RemoveAll();
    m_Rows.clear();
    m_ReadOnly.clear();
    m_Order.clear();
}

void HostPropertyList::Describe(int id, const std::string& key, const char* label, const char* kind,
                                std::vector<std::string> choices)
{
    if (!m_Rows.count(id))
        m_Order.push_back(id);
    m_Rows[id] = RowInfo{key, label ? label : "", kind, std::move(choices)};
}

void HostPropertyList::ReadOnly(int id, bool readOnly)
{
    if (readOnly)
        m_ReadOnly.insert(id);
    else
        m_ReadOnly.erase(id);
}

void HostPropertyList::AddStatic(const core::VbModuleId& module, int id, const char* label, const char* help,
                                 const char* text)
{
    SimplePropertyCollection::AddStatic(module, id, label, help, text);
    Describe(id, std::string(), label, "static");
}

void HostPropertyList::AddCheckImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                    const char* label, const char* help, bool value, const char* dependants)
{
    SimplePropertyCollection::AddCheckImpl(module, key, id, label, help, value, dependants);
    Describe(id, key, label, "check");
}

void HostPropertyList::AddComboImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                    const char* label, const char* help, unsigned int value,
                                    const std::vector<shr::GString>& list, unsigned int flags)
{
    SimplePropertyCollection::AddComboImpl(module, key, id, label, help, value, list, flags);
    Describe(id, key, label, "combo", Strings(list));
}

void HostPropertyList::AddComboImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                    const char* label, const char* help, unsigned int value, size_t count,
                                    const char** list, unsigned int flags)
{
    SimplePropertyCollection::AddComboImpl(module, key, id, label, help, value, count, list, flags);
    std::vector<std::string> choices;
    for (size_t i = 0; list && i < count; ++i)
        choices.emplace_back(list[i] ? list[i] : "");
    Describe(id, key, label, "combo", std::move(choices));
}

void HostPropertyList::AddStringComboImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                          const char* label, const char* help, const shr::GString& value,
                                          const std::vector<shr::GString>& list, unsigned int flags)
{
    SimplePropertyCollection::AddStringComboImpl(module, key, id, label, help, value, list, flags);
    Describe(id, key, label, "string combo", Strings(list));
}

void HostPropertyList::AddEditImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                   const char* label, const char* help, const shr::GString& value, bool flag)
{
    SimplePropertyCollection::AddEditImpl(module, key, id, label, help, value, flag);
    Describe(id, key, label, "text");
}

void HostPropertyList::AddButtonImpl(const shr::GString& key, int id, const char* label)
{
    SimplePropertyCollection::AddButtonImpl(key, id, label);
    Describe(id, key, label, "button");
}

void HostPropertyList::AddButtonImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                     const char* label, const char* help, const char* text)
{
    SimplePropertyCollection::AddButtonImpl(module, key, id, label, help, text);
    Describe(id, key, label, "button");
}

void HostPropertyList::AddHeaderImpl(const core::VbModuleId& module, int id, const shr::GString& text,
                                     const shr::GString& group, const shr::GString& comment,
                                     const shr::GString& help)
{
    SimplePropertyCollection::AddHeaderImpl(module, id, text, group, comment, help);
    Describe(id, std::string(), text.c_str(), "header");
}

void HostPropertyList::AddIntImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                  const char* label, const char* help, int value, core::ValCheck check, int min,
                                  int max, int step, const char* format, bool flag)
{
    SimplePropertyCollection::AddIntImpl(module, key, id, label, help, value, check, min, max, step, format, flag);
    Describe(id, key, label, "integer");
}

void HostPropertyList::AddUnsignedImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                       const char* label, const char* help, unsigned int value,
                                       core::ValCheck check, unsigned int min, unsigned int max, unsigned int step,
                                       const char* format, bool flag)
{
    SimplePropertyCollection::AddUnsignedImpl(module, key, id, label, help, value, check, min, max, step, format,
                                              flag);
    Describe(id, key, label, "unsigned");
}

void HostPropertyList::AddDoubleImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                     const char* label, const char* help, double value, core::ValCheck check,
                                     double min, double max, double step, const char* format, bool flag)
{
    SimplePropertyCollection::AddDoubleImpl(module, key, id, label, help, value, check, min, max, step, format,
                                            flag);
    Describe(id, key, label, "double");
}

void HostPropertyList::AddFilenameImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                       const char* label, const char* help, const shr::GString& path, bool flag,
                                       FilterTypes filter)
{
    SimplePropertyCollection::AddFilenameImpl(module, key, id, label, help, path, flag, filter);
    Describe(id, key, label, "file");
}

void HostPropertyList::AddFilenameImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                       const char* label, const char* help, const shr::GString& path, bool flag,
                                       const char* filter)
{
    SimplePropertyCollection::AddFilenameImpl(module, key, id, label, help, path, flag, filter);
    Describe(id, key, label, "file");
}

void HostPropertyList::AddColorImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                    const char* label, const char* help, const shr::Color4b& value)
{
    SimplePropertyCollection::AddColorImpl(module, key, id, label, help, value);
    Describe(id, key, label, "color");
}

void HostPropertyList::AddColorMapImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                       const char* label, const char* help, const core::VbColorMap& map,
                                       const std::vector<unsigned int>* histogram, bool flag)
{
    SimplePropertyCollection::AddColorMapImpl(module, key, id, label, help, map, histogram, flag);
    Describe(id, key, label, "color map");
}

void HostPropertyList::AddFontImpl(const core::VbModuleId& module, const shr::GString& key, int id,
                                   const char* label, const char* help, const shr::GString& font)
{
    SimplePropertyCollection::AddFontImpl(module, key, id, label, help, font);
    Describe(id, key, label, "font");
}

} // namespace host
