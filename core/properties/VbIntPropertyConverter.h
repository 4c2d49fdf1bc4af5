#pragma once
// Key 6, int: decimal text in the global locale's digit grouping; reads plain
// integer text (shr::StringToInt), so grouped text does not read back.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbIntPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 6; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
