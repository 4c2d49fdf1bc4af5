#include "core/properties/VbStringPropertyConverter.h"

#include "core/properties/PropertyConversion.h"

namespace core {

bool VbStringPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    value = text;
    return true;
}

shr::GString VbStringPropertyConverter::ToString(const boost::any& value) const
{
    return PropertyValueCast<shr::GString>(value);
}

} // namespace core
