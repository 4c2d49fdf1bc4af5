#include "core/properties/VbPropertyConverter.h"

namespace core {

VbPropertyConverter::~VbPropertyConverter() = default;

} // namespace core
