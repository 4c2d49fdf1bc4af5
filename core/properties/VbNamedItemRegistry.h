#pragma once
// VbNamedItemRegistry<T, Less>: items of type T by unique, non-empty name, in
// the order of Less. Filled during start-up, read-only afterwards: no lock.
#include "core/properties/PropertyError.h"
#include "shr/GString.h"

#include <cstddef>
#include <map>

namespace core {

template <class T, class Less>
class VbNamedItemRegistry {
public:
    using Map = std::map<shr::GString, T, Less>;
    using const_iterator = typename Map::const_iterator;
    using const_reverse_iterator = typename Map::const_reverse_iterator;

    // Adds an item; an empty name or one already present (by Less) is an error.
    void Set(const shr::GString& name, const T& item)
    {
        RequireName(name);
        if (!m_Items.emplace(name, item).second)
            VB_THROW_CORE("Item name must be unique.");
    }
    // The item of `name`, or T() when there is none.
    T Get(const shr::GString& name) const
    {
        RequireName(name);
        const auto found = m_Items.find(name);
        return found == m_Items.end() ? T() : found->second;
    }
    bool Has(const shr::GString& name) const
    {
        RequireName(name);
        return m_Items.find(name) != m_Items.end();
    }

    size_t size() const { return m_Items.size(); }
    bool empty() const { return m_Items.empty(); }
    const_iterator begin() const { return m_Items.begin(); }
    const_iterator end() const { return m_Items.end(); }
    const_iterator cbegin() const { return m_Items.cbegin(); }
    const_iterator cend() const { return m_Items.cend(); }
    const_reverse_iterator rbegin() const { return m_Items.rbegin(); }
    const_reverse_iterator rend() const { return m_Items.rend(); }

protected:
    VbNamedItemRegistry() = default;
    ~VbNamedItemRegistry() = default;

private:
    static void RequireName(const shr::GString& name)
    {
        if (name.empty())
            VB_THROW_CORE("Item name must be non-empty.");
    }

    Map m_Items;
};

} // namespace core
