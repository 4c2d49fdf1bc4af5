#include "core/properties/VbColorPropertyConverter.h"

#include "core/properties/PropertyConversion.h"
#include "shr/Color4b.h"
#include "shr/ColorTable.h"
#include "shr/StringUtil.h"

#include <cctype>
#include <cstddef>
#include <cstdlib>

namespace core {

namespace {

// Reads up to `count` unsigned numbers as "%u %u ..." would, each clamped to
// 255, and returns how many were read. strtoul stands in for sscanf, whose
// overflow is undefined; a number out of range (or negative, which %u wraps
// to a huge value) clamps to 255 either way.
int ScanClampedBytes(const char* text, unsigned char* bytes, int count)
{
    int read = 0;
    const char* p = text;
    while (read < count) {
        while (std::isspace(static_cast<unsigned char>(*p)))
            ++p;
        // A sign must be followed by a digit for %u to convert anything.
        const char* digits = (*p == '+' || *p == '-') ? p + 1 : p;
        if (!std::isdigit(static_cast<unsigned char>(*digits)))
            break;
        const bool negative = *p == '-';
        char* end = nullptr;
        const unsigned long magnitude = std::strtoul(digits, &end, 10);
        const bool zero = magnitude == 0;
        bytes[read++] = static_cast<unsigned char>((negative && !zero) || magnitude > 255 ? 255 : magnitude);
        p = end;
    }
    return read;
}

} // namespace

bool VbColorPropertyConverter::FromString(const shr::GString& text, boost::any& value) const
{
    unsigned char rgba[4] = {0, 0, 0, 0};
    if (ScanClampedBytes(text.c_str(), rgba, 4) == 4) {
        value = shr::Color4b(rgba[0], rgba[1], rgba[2], rgba[3]);
        return true;
    }
    if (text.empty())
        return false;
    const shr::CColorTable& table = shr::CColorTable::Instance();
    size_t index = 0;
    if (!table.IndexFromColor(text, index))
        return false;
    const shr::CColorTableEntry& entry = table[index];
    value = shr::Color4b(entry.red, entry.green, entry.blue, 255);
    return true;
}

shr::GString VbColorPropertyConverter::ToString(const boost::any& value) const
{
    const shr::Color4b& color = PropertyValueCast<shr::Color4b>(value);
    return shr::ToString("%u %u %u %u", unsigned(color.r), unsigned(color.g), unsigned(color.b), unsigned(color.a));
}

} // namespace core
