#include "core/properties/VbUnsignedPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/StringUtil.h"

namespace core {

bool VbUnsignedPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    unsigned int parsed = 0;
    if (!shr::StringToUnsigned(text, parsed))
        return false;
    value = static_cast<unsigned int>(parsed);
    return true;
}

shr::GString VbUnsignedPropertyConverter::ToString(const boost::any& value) const
{
    return DecimalText(PropertyValueCast<unsigned int>(value));
}

} // namespace core
