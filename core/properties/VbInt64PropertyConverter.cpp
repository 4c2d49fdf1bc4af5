#include "core/properties/VbInt64PropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/StringUtil.h"

#include <cstdint>

namespace core {

bool VbInt64PropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    int64_t parsed = 0;
    if (!shr::StringToInt64(text, parsed))
        return false;
    value = static_cast<int64_t>(parsed);
    return true;
}

shr::GString VbInt64PropertyConverter::ToString(const boost::any& value) const
{
    return DecimalText(PropertyValueCast<int64_t>(value));
}

} // namespace core
