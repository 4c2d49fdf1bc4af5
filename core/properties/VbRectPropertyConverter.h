#pragma once
// Key 9, VbRect: four integers separated by one blank, written by a standard
// stream. Reading needs exactly four integers and nothing else but white space.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbRectPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 9; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
