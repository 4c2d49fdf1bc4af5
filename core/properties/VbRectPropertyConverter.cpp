#include "core/properties/VbRectPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "core/properties/VbRect.h"

namespace core {

bool VbRectPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    int edges[4];
    if (!ReadWholeStreamNumbers(text, edges))
        return false;
    value = VbRect(edges[0], edges[1], edges[2], edges[3]);
    return true;
}

shr::GString VbRectPropertyConverter::ToString(const boost::any& value) const
{
    const VbRect& rect = PropertyValueCast<VbRect>(value);
    const int edges[4] = {rect.left, rect.top, rect.right, rect.bottom};
    return StreamNumbersText(edges);
}

} // namespace core
