#include "core/properties/VbBoolPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/StringUtil.h"

namespace core {

bool VbBoolPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    bool parsed = false;
    if (!shr::StringToBool(text, parsed))
        return false;
    value = parsed;
    return true;
}

shr::GString VbBoolPropertyConverter::ToString(const boost::any& value) const
{
    return shr::BoolToString(PropertyValueCast<bool>(value));
}

} // namespace core
