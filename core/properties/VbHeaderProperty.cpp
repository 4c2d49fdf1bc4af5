#include "core/properties/VbHeaderProperty.h"

#include "core/properties/PropertyError.h"

#include <typeinfo>

namespace core {

VbHeaderProperty::VbHeaderProperty(int id, const boost::any& value, int field, bool enabled, bool visible)
    : VbProperty(PropertyKey, id, Checked(value), field, enabled, visible)
{
}

shr::GString VbHeaderProperty::StringValue() const
{
    return shr::GString();
}

bool VbHeaderProperty::StringValue(const shr::GString&)
{
    return false;
}

void VbHeaderProperty::AnyValue(const boost::any& value)
{
    StoreValue(Checked(value));
}

const boost::any& VbHeaderProperty::Checked(const boost::any& value)
{
    if (value.type() != typeid(ValueType) && value.type() != typeid(shr::GString))
        ThrowPropertyTypeError();
    return value;
}

} // namespace core
