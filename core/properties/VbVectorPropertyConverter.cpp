#include "core/properties/VbVectorPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/StringUtil.h"
#include "shr/Vec3.h"

#include <cstdlib>

namespace core {

bool VbVectorPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    // "%f %f %f": each number at float precision, trailing text ignored. strtof
    // reads what %f reads, and gives a defined result on overflow.
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    const char* p = text.c_str();
    for (float& component : xyz) {
        char* end = nullptr;
        component = std::strtof(p, &end);
        if (end == p)
            return false;
        p = end;
    }
    value = shr::Vec3d(xyz[0], xyz[1], xyz[2]);
    return true;
}

shr::GString VbVectorPropertyConverter::ToString(const boost::any& value) const
{
    const shr::Vec3d& v = PropertyValueCast<shr::Vec3d>(value);
    return shr::ToString("%.10g %.10g %.10g", v.x, v.y, v.z);
}

} // namespace core
