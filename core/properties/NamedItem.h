#pragma once
// NamedItem: a base for things with a name, which may be required to be
// non-empty. A rename that breaks the rule is refused and keeps the old name.
#include "shr/GString.h"

namespace core {

class NamedItem {
public:
    const shr::GString& Name() const { return m_Name; }

protected:
    // Raises "Name must be non-empty." for an empty name when one is required.
    NamedItem(const shr::GString& name, bool nameRequired);
    NamedItem(const NamedItem&) = default;
    NamedItem& operator=(const NamedItem&) = default;
    ~NamedItem() = default;

    void Name(const shr::GString& name);
    bool NameRequired() const { return m_NameRequired; }

private:
    void VerifyName(const shr::GString& name) const;

    shr::GString m_Name;
    bool m_NameRequired;
};

} // namespace core
