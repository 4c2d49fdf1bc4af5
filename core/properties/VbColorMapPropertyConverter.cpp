#include "core/properties/VbColorMapPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "core/properties/VbColorMapPair.h"

namespace core {

bool VbColorMapPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    value = boost::any();
    VbColorMap map;
    if (!VbColorMap::FromString(text, map))
        return false;
    value = VbColorMapPair(std::move(map), std::vector<unsigned int>());
    return true;
}

shr::GString VbColorMapPropertyConverter::ToString(const boost::any& value) const
{
    return PropertyValueCast<VbColorMapPair>(value).first.ToString();
}

} // namespace core
