#pragma once
// Key 1, values of any type: no text form. Text is accepted and changes nothing.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbAnyPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 1; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
