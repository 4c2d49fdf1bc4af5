#pragma once
// Array<T>: a growable array of values, stored contiguously. Unchecked access
// by operator[] for inner loops; At() checks the index and raises a "Shared"
// error, for indices that come from outside.
#include "shr/Exception.h"

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace shr {

template <class T>
class Array {
public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    Array() = default;
    explicit Array(size_t count, const T& value = T()) : m_Items(count, value) {}
    Array(std::initializer_list<T> items) : m_Items(items) {}

    // Appends a value and returns its index.
    size_t Add(const T& value)
    {
        m_Items.push_back(value);
        return m_Items.size() - 1;
    }
    size_t Add(T&& value)
    {
        m_Items.push_back(std::move(value));
        return m_Items.size() - 1;
    }
    // Removes the value at index, moving the rest down.
    void RemoveAt(size_t index)
    {
        CheckIndex(index);
        m_Items.erase(m_Items.begin() + static_cast<std::ptrdiff_t>(index));
    }

    T& At(size_t index)
    {
        CheckIndex(index);
        return m_Items[index];
    }
    const T& At(size_t index) const
    {
        CheckIndex(index);
        return m_Items[index];
    }
    T& operator[](size_t index) { return m_Items[index]; }
    const T& operator[](size_t index) const { return m_Items[index]; }

    void Resize(size_t count, const T& value = T()) { m_Items.resize(count, value); }
    void Reserve(size_t count) { m_Items.reserve(count); }
    void clear() { m_Items.clear(); }
    size_t size() const { return m_Items.size(); }
    bool empty() const { return m_Items.empty(); }
    T* data() { return m_Items.data(); }
    const T* data() const { return m_Items.data(); }

    iterator begin() { return m_Items.begin(); }
    iterator end() { return m_Items.end(); }
    const_iterator begin() const { return m_Items.begin(); }
    const_iterator end() const { return m_Items.end(); }

    bool operator==(const Array& other) const { return m_Items == other.m_Items; }
    bool operator!=(const Array& other) const { return m_Items != other.m_Items; }

private:
    void CheckIndex(size_t index) const
    {
        if (index >= m_Items.size())
            SHR_THROW(0, "Array index %zu out of range (size %zu).", index, m_Items.size());
    }

    std::vector<T> m_Items;
};

} // namespace shr
