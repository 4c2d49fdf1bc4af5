#pragma once
// Key 2, bool: "true" or "false"; reads the words of shr::StringToBool.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbBoolPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 2; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
