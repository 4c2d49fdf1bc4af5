#pragma once
// VbModuleId: the identifier of a module in the network, a signed 64-bit
// number. 0 is Bad(); the network gives out 1 first and counts up.
#include "shr/GString.h"

#include <cstdint>

namespace core {

class VbModuleId {
public:
    explicit VbModuleId(int64_t value = 0) : m_Value(value) {}

    static const VbModuleId& Bad();
    // The largest value an id may be incremented from, less one.
    static const VbModuleId& Maximum();

    bool IsBad() const { return m_Value == Bad().m_Value; }
    int64_t Value() const { return m_Value; }

    bool operator==(const VbModuleId& o) const { return m_Value == o.m_Value; }
    bool operator!=(const VbModuleId& o) const { return m_Value != o.m_Value; }
    bool operator<(const VbModuleId& o) const { return m_Value < o.m_Value; }
    bool operator>(const VbModuleId& o) const { return m_Value > o.m_Value; }

    // Raises "Id exceeds maximum allowable value." at or above Maximum().
    VbModuleId& operator++();

    // False, and the id unchanged, for empty or non-numeric text.
    bool FromString(const shr::GString& text);
    // Decimal text; honours the digit grouping of the global locale.
    shr::GString ToString() const;

private:
    int64_t m_Value;
};

} // namespace core
