#pragma once
// Key 10, shr::GString: the text itself, both ways.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbStringPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 10; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
