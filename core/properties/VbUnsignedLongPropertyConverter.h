#pragma once
// Key 12, unsigned long: decimal text in the global locale's digit grouping;
// reads what shr::StringToUnsigned reads, so no more than an unsigned int holds.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbUnsignedLongPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 12; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
