#pragma once
// Key 11, unsigned int: decimal text in the global locale's digit grouping;
// reads plain integer text (shr::StringToUnsigned).
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbUnsignedPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 11; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
