#pragma once
// Factory<F, P, K, Less>: the base of a concrete factory family F that makes
// products P by key K. Each concrete factory object registers itself under its
// key when constructed (usually as a static object, during static
// initialisation) and unregisters when destroyed; Construct(key) then makes a
// product through the registered factory's ConstructImpl.
//
//   class ConverterFactory : public shr::Factory<ConverterFactory, Converter, unsigned char> {
//   protected:
//       explicit ConverterFactory(unsigned char key) : Factory(key, this) {}
//   };
//   class IntConverterFactory : public ConverterFactory {
//       Converter* ConstructImpl() const override { return new IntConverter; }
//   };
//
// The registry is filled during start-up and read-only afterwards: no lock.
#include "shr/Exception.h"
#include "shr/Flyweight.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>

namespace shr {

template <class F, class P, class K, class Less = std::less<K>>
class Factory {
public:
    using RegistryType = Flyweight<K, F*, Less>;

    Factory(const Factory&) = delete;
    Factory& operator=(const Factory&) = delete;

    virtual ~Factory() { Registry().Erase(m_Key, m_Self); }

    // The registry of concrete factories by key. Made at the first use, so that
    // it exists before the first factory registers whatever the order of static
    // initialisation, and never destroyed, so that static factories in any
    // library may unregister at exit whatever the order of destruction.
    static RegistryType& Registry()
    {
        static RegistryType* registry = new RegistryType(nullptr);
        return *registry;
    }

    static bool CanConstruct(const K& key) { return Registry().Contains(key); }

    // A new product of the factory registered under key, or null if none is.
    static std::unique_ptr<P> Construct(const K& key)
    {
        F* factory = Registry().Find(key);
        if (!factory)
            return nullptr;
        return std::unique_ptr<P>(static_cast<const Factory*>(factory)->ConstructImpl());
    }

    // The factory registered under key; an unknown key is an error.
    static F& Get(const K& key)
    {
        F* factory = Registry().Find(key);
        if (!factory)
            SHR_THROW(0, "Invalid factory key requested.");
        return *factory;
    }

    static size_t size() { return Registry().size(); }

    // Factories have identity, not value: comparing them is a programming error.
    bool operator==(const Factory&) const { throw std::logic_error("Factory::operator==() cannot be called."); }

protected:
    // Registers `self` (the concrete factory being constructed) under key. A
    // second registration of a key is an error; a null factory is refused by
    // the registry.
    Factory(const K& key, F* self) : m_Key(key), m_Self(self)
    {
        if (!Registry().Insert(key, self))
            SHR_THROW(0, "Invalid factory initialization.");
    }

    // A new product, owned by the caller.
    virtual P* ConstructImpl() const = 0;

    const K& FactoryKey() const { return m_Key; }

private:
    K m_Key;
    F* m_Self;
};

} // namespace shr
