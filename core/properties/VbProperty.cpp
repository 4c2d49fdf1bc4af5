#include "core/properties/VbProperty.h"

#include "core/properties/PropertyError.h"
#include "core/properties/VbPropertyConverter.h"
#include "core/properties/VbPropertyConverterFactory.h"

namespace core {

VbProperty::VbProperty(unsigned char key, int id, const boost::any& value, int field, bool enabled, bool visible)
    : m_Key(key), m_Value(value), m_Id(id), m_Field(field), m_Enabled(enabled), m_Visible(visible)
{
}

shr::GString VbProperty::StringValue() const
{
    return Converter()->ToString(m_Value);
}

bool VbProperty::StringValue(const shr::GString& text)
{
    return Converter()->FromString(text, m_Value);
}

const boost::any& VbProperty::AnyValue() const
{
    return m_Value;
}

std::unique_ptr<VbPropertyConverter> VbProperty::Converter() const
{
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
    std::unique_ptr<VbPropertyConverter> converter = VbPropertyConverterFactory::Construct(m_Key);
    if (!converter)
        ThrowPropertyTypeError();
    return converter;
}

} // namespace core
