#include "core/properties/NamedItem.h"

#include "core/properties/PropertyError.h"

namespace core {

NamedItem::NamedItem(const shr::GString& name, bool nameRequired) : m_Name(name), m_NameRequired(nameRequired)
{
    VerifyName(name);
}

void NamedItem::Name(const shr::GString& name)
{
    VerifyName(name);
    m_Name = name;
}

void NamedItem::VerifyName(const shr::GString& name) const
{
    if (m_NameRequired && name.empty())
        VB_THROW_CORE("Name must be non-empty.");
}

} // namespace core
