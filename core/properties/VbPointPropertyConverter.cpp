#include "core/properties/VbPointPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/Point.h"

namespace core {

bool VbPointPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    double xyz[3];
    if (!ReadWholeStreamNumbers(text, xyz))
        return false;
    value = shr::Point3<double>(xyz[0], xyz[1], xyz[2]);
    return true;
}

shr::GString VbPointPropertyConverter::ToString(const boost::any& value) const
{
    const shr::Point3<double>& point = PropertyValueCast<shr::Point3<double>>(value);
    const double xyz[3] = {point.X(), point.Y(), point.Z()};
    return StreamNumbersText(xyz);
}

} // namespace core
