#pragma once
// SimpleUniqueStorage<Item, Key, Less, KeyOf>: a vector of items kept sorted by
// key, with unique keys; look-up by binary search. Cheap to walk in order and
// small, for indexes that change rarely and are searched often.
//
// Items are pointer-like: a raw pointer (`VoModule*`, `const VbModuleInfo*`) or
// a `std::shared_ptr`. The storage owns exactly what its items own: nothing for
// raw pointers, a share for shared pointers. A null item is never stored.
//
// The key of an item comes from KeyOf, a default-constructible functor called
// with the item itself (not the object it points to), returning the key by
// value or by const reference:
//
//   struct ModuleKey { VbModuleId operator()(const VoModule* m) const { return m->Id(); } };
//   SimpleUniqueStorage<VoModule*, VbModuleId, std::less<VbModuleId>, ModuleKey>
//
// KeyByMember<&Class::Getter> builds such a functor from a const member
// function that takes no argument; IdentityKey makes the item its own key, for
// a Less that compares items.
#include "shr/Exception.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace shr {

template <auto Getter>
struct KeyByMember {
    template <class Item>
    decltype(auto) operator()(const Item& item) const
    {
        return std::invoke(Getter, *item);
    }
};

struct IdentityKey {
    template <class Item>
    const Item& operator()(const Item& item) const
    {
        return item;
    }
};

template <class Item, class Key, class Less = std::less<Key>, class KeyOf = IdentityKey>
class SimpleUniqueStorage {
public:
    using Vector = std::vector<Item>;
    using value_type = Item;
    using const_iterator = typename Vector::const_iterator;
    using const_reverse_iterator = typename Vector::const_reverse_iterator;

    // Adds item in its place. False, and nothing changed, if an item with an
    // equal key is stored. A null item is an error.
    bool Insert(const Item& item)
    {
        if (!item)
            SHR_THROW(0, "Invalid item insertion request in unique storage.");
        if (m_Items.empty() || m_Less(KeyOf()(m_Items.back()), KeyOf()(item))) {
            m_Items.push_back(item);
            return true;
        }
        const size_t index = LowerIndex(KeyOf()(item));
        if (index < m_Items.size() && !m_Less(KeyOf()(item), KeyOf()(m_Items[index])))
            return false;
        m_Items.push_back(item);
        std::rotate(m_Items.begin() + index, m_Items.end() - 1, m_Items.end());
        return true;
    }

    // True if an item with the key of `item` is stored. A null item is an error.
    bool Contains(const Item& item) const
    {
        if (!item)
            SHR_THROW(0, "Invalid item retrieval request in unique storage.");
        return FindPosition(KeyOf()(item)) != m_Items.end();
    }

    // The item stored under key, or a null item.
    Item Find(const Key& key) const
    {
        auto it = FindPosition(key);
        return it == m_Items.end() ? Item() : *it;
    }

    // Removes the item stored under key and returns it, or a null item if none
    // is. The tail moves down by std::vector::erase, which moves the items one by
    // one: the same result as shifting the bytes, and defined for shared pointers.
    Item Erase(const Key& key)
    {
        auto it = FindPosition(key);
        if (it == m_Items.end())
            return Item();
        Item removed = *it;
        m_Items.erase(m_Items.begin() + (it - m_Items.cbegin()));
        return removed;
    }

    void clear() { m_Items.clear(); }
    size_t size() const { return m_Items.size(); }
    bool empty() const { return m_Items.empty(); }
    const Item& operator[](size_t index) const { return m_Items[index]; }
    const_iterator begin() const { return m_Items.begin(); }
    const_iterator end() const { return m_Items.end(); }
    const_iterator cbegin() const { return m_Items.cbegin(); }
    const_iterator cend() const { return m_Items.cend(); }
    const_reverse_iterator rbegin() const { return m_Items.rbegin(); }
    const_reverse_iterator rend() const { return m_Items.rend(); }

private:
    // The index of the first item whose key is not below key.
    size_t LowerIndex(const Key& key) const
    {
        auto it = std::lower_bound(m_Items.begin(), m_Items.end(), key,
                                   [this](const Item& item, const Key& k) { return m_Less(KeyOf()(item), k); });
        return static_cast<size_t>(it - m_Items.begin());
    }
    const_iterator FindPosition(const Key& key) const
    {
        const size_t index = LowerIndex(key);
        if (index < m_Items.size() && !m_Less(key, KeyOf()(m_Items[index])))
            return m_Items.begin() + index;
        return m_Items.end();
    }

    Vector m_Items;
    Less m_Less;
};

} // namespace shr
