#pragma once
// Key 7, int64_t: decimal text in the global locale's digit grouping; reads plain
// integer text (shr::StringToInt64).
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbInt64PropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 7; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
