#pragma once
// VbHeaderProperty: the record of a header row. Its value is the header text and
// comment as a pair of strings, or a single string once one has been set. A
// header has no text form: StringValue() is empty and text is refused.
#include "core/properties/VbProperty.h"
#include "shr/GString.h"

#include <utility>

namespace core {

class VbHeaderProperty final : public VbProperty {
public:
    // Header text and comment.
    using ValueType = std::pair<shr::GString, shr::GString>;
    static constexpr unsigned char PropertyKey = 1;

    VbHeaderProperty(int id, const boost::any& value, int field = 0, bool enabled = true, bool visible = true);

    shr::GString StringValue() const override;
    bool StringValue(const shr::GString& text) override;

    using VbProperty::AnyValue;
    // Takes the pair or a string; anything else raises the type error.
    void AnyValue(const boost::any& value) override;

private:
    static const boost::any& Checked(const boost::any& value);
};

} // namespace core
