#include "core/properties/VbUnsignedLongPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/StringUtil.h"

namespace core {

bool VbUnsignedLongPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    unsigned int parsed = 0;
    if (!shr::StringToUnsigned(text, parsed))
        return false;
    value = static_cast<unsigned long>(parsed);
    return true;
}

shr::GString VbUnsignedLongPropertyConverter::ToString(const boost::any& value) const
{
    return DecimalText(PropertyValueCast<unsigned long>(value));
}

} // namespace core
