#include "core/properties/VbAnyProperty.h"

namespace core {

VbAnyProperty::VbAnyProperty(int id, const boost::any& value, int field, bool enabled, bool visible)
    : VbProperty(PropertyKey, id, value, field, enabled, visible)
{
}

void VbAnyProperty::AnyValue(const boost::any& value)
{
    StoreValue(value);
}

} // namespace core
