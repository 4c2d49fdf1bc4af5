#pragma once
// The typed property records: each holds one value type under a fixed converter
// key, and refuses a value of any other type, when built as when set.
#include "core/properties/PropertyConversion.h"
#include "core/properties/VbColorMapPair.h"
#include "core/properties/VbProperty.h"
#include "shr/Color4b.h"
#include "shr/GString.h"
#include "shr/Point.h"

#include <typeinfo>

namespace core {

template <class T, unsigned char K>
class VbTypedProperty : public VbProperty {
public:
    using ValueType = T;
    static constexpr unsigned char PropertyKey = K;

    VbTypedProperty(int id, const boost::any& value, int field = 0, bool enabled = true, bool visible = true)
        : VbProperty(K, id, Checked(value), field, enabled, visible)
    {
    }

    using VbProperty::AnyValue;
    void AnyValue(const boost::any& value) override { StoreValue(Checked(value)); }

    // The value as its type; the type error if a conversion has emptied it.
    const T& Value() const { return PropertyValueCast<T>(AnyValue()); }

private:
    static const boost::any& Checked(const boost::any& value)
    {
        // An empty any reports typeid(void), so it fails here too.
        if (value.type() != typeid(T))
            ThrowPropertyTypeError();
        return value;
    }
};

class VbBoolProperty final : public VbTypedProperty<bool, 2> {
public:
    using VbTypedProperty::VbTypedProperty;
};

class VbColorProperty final : public VbTypedProperty<shr::Color4b, 3> {
public:
    using VbTypedProperty::VbTypedProperty;
};

class VbColorMapProperty final : public VbTypedProperty<VbColorMapPair, 4> {
public:
    using VbTypedProperty::VbTypedProperty;
};

class VbDoubleProperty final : public VbTypedProperty<double, 5> {
public:
    using VbTypedProperty::VbTypedProperty;
};

class VbIntProperty final : public VbTypedProperty<int, 6> {
public:
    using VbTypedProperty::VbTypedProperty;
};

class VbPointProperty final : public VbTypedProperty<shr::Point3<double>, 8> {
public:
    using VbTypedProperty::VbTypedProperty;
};

class VbStringProperty final : public VbTypedProperty<shr::GString, 10> {
public:
    using VbTypedProperty::VbTypedProperty;
};

class VbUnsignedProperty final : public VbTypedProperty<unsigned int, 11> {
public:
    using VbTypedProperty::VbTypedProperty;
};

} // namespace core
