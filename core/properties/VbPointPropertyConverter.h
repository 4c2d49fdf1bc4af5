#pragma once
// Key 8, shr::Point3<double>: three numbers separated by one blank, written by a
// standard stream (six significant digits). Reading needs exactly three numbers
// and nothing else but white space.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbPointPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 8; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
