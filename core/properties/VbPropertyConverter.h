#pragma once
// VbPropertyConverter: the text form of one property value type, in both
// directions. The host's command language and its display of values go through
// it. Each concrete converter has a static Key() (1 to 13) under which its
// factory registers (VbPropertyConverterFactory.h).
//
// ToString raises "Invalid property type conversion requested." when the value
// is not of the converter's type. FromString returns false for text that does
// not parse and then leaves the value alone, except where a converter says so.
#include "shr/GString.h"

#include <boost/any.hpp>

namespace core {

class VbPropertyConverter {
public:
    virtual ~VbPropertyConverter();
    virtual bool FromString(const shr::GString& text, boost::any& value) const = 0;
    virtual shr::GString ToString(const boost::any& value) const = 0;

protected:
    VbPropertyConverter() = default;
    VbPropertyConverter(const VbPropertyConverter&) = default;
    VbPropertyConverter& operator=(const VbPropertyConverter&) = default;
};

} // namespace core
