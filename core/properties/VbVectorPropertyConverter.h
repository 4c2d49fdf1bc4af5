#pragma once
// Key 13, shr::Vec3d: "%.10g %.10g %.10g" out; in, three numbers read at float
// precision and widened, so ten digits go out and about seven come back.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbVectorPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 13; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
