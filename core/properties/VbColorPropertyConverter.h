#pragma once
// Key 3, shr::Color4b: "red green blue alpha" as four decimal numbers. Reads four
// numbers (each clamped to 255) or, failing that, a colour name of shr::CColorTable
// (opaque).
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbColorPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 3; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
