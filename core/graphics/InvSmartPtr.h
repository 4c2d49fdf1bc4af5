#pragma once
// InvSmartPtr<T>: holds one reference on a scene-graph object (ref on taking,
// unref on release). May be null. The scene graph's counts are not atomic:
// a pointer is taken and dropped only by the thread that owns the graph at
// the time (the update thread during a pass, the host between passes).
#include <utility>

namespace core {

template <class T>
class InvSmartPtr {
public:
    InvSmartPtr() = default;
    InvSmartPtr(T* object) : m_Object(object) { Ref(); }
    InvSmartPtr(const InvSmartPtr& other) : m_Object(other.m_Object) { Ref(); }
    InvSmartPtr(InvSmartPtr&& other) noexcept : m_Object(std::exchange(other.m_Object, nullptr)) {}
    template <class U>
    InvSmartPtr(const InvSmartPtr<U>& other) : m_Object(other.get())
    {
        Ref();
    }
    ~InvSmartPtr() { Unref(); }

    InvSmartPtr& operator=(InvSmartPtr other) noexcept
    {
        std::swap(m_Object, other.m_Object);
        return *this;
    }

    void reset() { InvSmartPtr().swap(*this); }
    void swap(InvSmartPtr& other) noexcept { std::swap(m_Object, other.m_Object); }

    T* get() const { return m_Object; }
    T* operator->() const { return m_Object; }
    T& operator*() const { return *m_Object; }
    explicit operator bool() const { return m_Object != nullptr; }

private:
    void Ref()
    {
        if (m_Object)
            m_Object->ref();
    }
    void Unref()
    {
        if (m_Object)
            m_Object->unref();
    }

    T* m_Object = nullptr;
};

} // namespace core
