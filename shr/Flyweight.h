#pragma once
// Flyweight<K, V, Less>: a keyed store of shared values. One value, the "none"
// value (V() unless given), stands for absence: Find returns it for a missing
// key, so it can never be stored ("Invalid flyweight argument."). Factories keep
// their registry in one (V = F*, none = null).
//
// Not synchronised: fill it during start-up, read it from any thread afterwards.
#include "shr/Exception.h"

#include <cstddef>
#include <functional>
#include <map>
#include <utility>

namespace shr {

template <class K, class V, class Less = std::less<K>>
class Flyweight {
public:
    using Map = std::map<K, V, Less>;
    using const_iterator = typename Map::const_iterator;

    explicit Flyweight(V none = V()) : m_None(std::move(none)) {}

    // Stores value under key. False, and nothing changed, if the key is taken.
    bool Insert(const K& key, const V& value)
    {
        if (value == m_None)
            SHR_THROW(0, "Invalid flyweight argument.");
        return m_Items.emplace(key, value).second;
    }
    // The value stored under key, or the none value.
    const V& Find(const K& key) const
    {
        auto it = m_Items.find(key);
        return it == m_Items.end() ? m_None : it->second;
    }
    bool Contains(const K& key) const { return m_Items.find(key) != m_Items.end(); }
    // Removes the key if it holds exactly this value (so that an object can
    // unregister itself without removing a successor). True if removed.
    bool Erase(const K& key, const V& value)
    {
        auto it = m_Items.find(key);
        if (it == m_Items.end() || !(it->second == value))
            return false;
        m_Items.erase(it);
        return true;
    }

    const V& None() const { return m_None; }
    size_t size() const { return m_Items.size(); }
    bool empty() const { return m_Items.empty(); }
    const_iterator begin() const { return m_Items.begin(); }
    const_iterator end() const { return m_Items.end(); }

private:
    V m_None;
    Map m_Items;
};

} // namespace shr
