#include "core/properties/VbAnyPropertyConverter.h"

namespace core {

bool VbAnyPropertyConverter::FromString(const shr::GString&, boost::any&) const
{
    return true;
}

shr::GString VbAnyPropertyConverter::ToString(const boost::any&) const
{
    return shr::GString();
}

} // namespace core
