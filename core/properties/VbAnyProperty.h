#pragma once
// VbAnyProperty: a record that holds a value of any type, unchecked. Its key
// (1) gives it an empty text form, and text sets nothing.
#include "core/properties/VbProperty.h"

namespace core {

class VbAnyProperty final : public VbProperty {
public:
    static constexpr unsigned char PropertyKey = 1;

    VbAnyProperty(int id, const boost::any& value, int field = 0, bool enabled = true, bool visible = true);

    using VbProperty::AnyValue;
    void AnyValue(const boost::any& value) override;
};

} // namespace core
