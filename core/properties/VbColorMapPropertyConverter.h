#pragma once
// Key 4, colour map and histogram: "<name>:<the map's saved text>". Reads a
// catalogue name alone, or a name and a saved map; the histogram comes back empty.
// The value is cleared first, so a text that does not convert leaves it empty.
#include "core/properties/VbPropertyConverter.h"

namespace core {

class VbColorMapPropertyConverter final : public VbPropertyConverter {
public:
    static unsigned char Key() { return 4; }
    bool FromString(const shr::GString& text, boost::any& value) const override;
    shr::GString ToString(const boost::any& value) const override;
};

} // namespace core
