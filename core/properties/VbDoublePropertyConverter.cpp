#include "core/properties/VbDoublePropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/StringUtil.h"

namespace core {

bool VbDoublePropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    double parsed = 0.0;
    if (!shr::StringToDouble(text, parsed))
        return false;
    value = parsed;
    return true;
}

shr::GString VbDoublePropertyConverter::ToString(const boost::any& value) const
{
    return shr::ToString("%.10g", PropertyValueCast<double>(value));
}

} // namespace core
