#include "core/properties/PropertyError.h"

namespace core {

void ThrowPropertyTypeError()
{
    VB_THROW_CORE("Invalid property type conversion requested.");
}

} // namespace core
