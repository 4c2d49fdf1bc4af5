#include "core/properties/VbLabelFormat.h"

#include "core/properties/PropertyError.h"
#include "shr/Archive.h"
#include "shr/StringUtil.h"
#include "shr/Vec3.h"

#include <algorithm>

namespace core {

namespace {

// The printf conversion of each type.
const char* const kNumberFormats[] = {"%.*f", "%.*E", "%.*G"};
const char* const kVectorFormats[] = {"%.*f,%.*f,%.*f", "%.*E,%.*E,%.*E", "%.*G,%.*G,%.*G"};
const char* const kSpacedVectorFormats[] = {"%.*f, %.*f, %.*f", "%.*E, %.*E, %.*E", "%.*G, %.*G, %.*G"};
constexpr unsigned char kTypeCount = 3;

// The value whose formatted digits the preview turns into 'd's.
constexpr double kPreviewValue = 1.1111111111111112;

} // namespace

VbLabelFormat::VbLabelFormat(unsigned char type, unsigned char digits) : m_Type(type), m_Digits(digits) {}

const char* VbLabelFormat::NumberFormat() const
{
    if (m_Type >= kTypeCount)
        VB_THROW_CORE("Format out of range.");
    return kNumberFormats[m_Type];
}

shr::GString VbLabelFormat::Attach(const shr::GString& text) const
{
    return m_Prefix + text + m_Postfix;
}

shr::GString VbLabelFormat::Format(double value) const
{
    std::string text;
    shr::FormatString(text, NumberFormat(), int(m_Digits), value);
    return Attach(text);
}

shr::GString VbLabelFormat::Format(const shr::GString& text) const
{
    return Attach(text);
}

shr::GString VbLabelFormat::Format(const shr::Vec3d& value, bool spaced) const
{
    if (m_Type >= kTypeCount)
        VB_THROW_CORE("Format out of range.");
    const char* format = spaced ? kSpacedVectorFormats[m_Type] : kVectorFormats[m_Type];
    const int digits = m_Digits;
    std::string text;
    shr::FormatString(text, format, digits, value.x, digits, value.y, digits, value.z);
    return Attach(text);
}

shr::GString VbLabelFormat::Preview() const
{
    std::string text;
    shr::FormatString(text, NumberFormat(), int(m_Digits), kPreviewValue);
    std::replace(text.begin(), text.end(), '1', 'd');
    if (m_Type == Exponential)
        std::replace(text.begin(), text.end(), '0', 'd');
    return Attach(text);
}

void VbLabelFormat::Serialize(shr::Archive& archive)
{
    archive.SyncCheck();
    VbLabelFormat f = *this;
    archive.Transfer(f.m_Type);
    archive.Transfer(f.m_Digits);
    archive.Transfer(f.m_Prefix);
    archive.Transfer(f.m_Postfix);
    if (archive.IsLoading())
        *this = f;
}

} // namespace core
