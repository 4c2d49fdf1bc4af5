#pragma once
// Key 5, double: "%.10g" out, shr::StringToDouble in.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbDoublePropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 5; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
