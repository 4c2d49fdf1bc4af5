#include "core/properties/VbIntPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/StringUtil.h"

namespace core {

bool VbIntPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    int parsed = 0;
    if (!shr::StringToInt(text, parsed))
        return false;
    value = static_cast<int>(parsed);
    return true;
}

shr::GString VbIntPropertyConverter::ToString(const boost::any& value) const
{
    return DecimalText(PropertyValueCast<int>(value));
}

} // namespace core
