#include "core/properties/VbLabelFormat.h"

#include "core/properties/PropertyError.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
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

// Row offsets from the header id.
enum RowOffset { TypeRow = 1, DigitsRow = 2, PrefixRow = 3, PostfixRow = 4 };

const char* kTypeNames[] = {"Fixed", "Exponential", "General"};
constexpr unsigned int kMaxDigitsByRow = 15;
constexpr unsigned int kMaxDigits = 255;

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
    archive.CheckRange(f.m_Type, 0, kTypeCount - 1, "the label format type");
    if (archive.IsLoading())
        *this = f;
}

void VbLabelFormat::GetProperties(const VbModuleId& module, VbPropList& list, const shr::GString& keyPrefix, int id)
{
    m_KeyPrefix = keyPrefix;
    list.AddHeader(module, id, "Label Format", "", "", "");
    list.Expand(id, false);
    list.Indent();
    list.AddCombo(module, keyPrefix + "LabelFormatType", id + TypeRow, "Type",
                  "Fixed=d.ddd, Exponential=d.dddE+ddd, General=Fixed or Exponential, whichever is most compact.",
                  m_Type, kTypeCount, kTypeNames, 0);
    UpdateDigits(module, id, list);
    list.AddEdit(module, keyPrefix + "LabelFormatPrefix", id + PrefixRow, "Prefix",
                 "Arbitrary text to insert before each label.", m_Prefix);
    list.AddEdit(module, keyPrefix + "LabelFormatPostfix", id + PostfixRow, "Postfix",
                 "Arbitrary text to insert after each label.", m_Postfix);
    list.Outdent();
    UpdatePreview(id, list);
}

void VbLabelFormat::UpdateDigits(const VbModuleId& module, int id, VbPropList& list) const
{
    if (m_KeyPrefix.empty())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 2);
    const int row = id + DigitsRow;
    const bool replacing = list.IsProp(row);
    if (replacing) {
        list.Remove(row);
        list.SetInsertionPos(id, id + TypeRow, 1);
    }
    const char* label = m_Type == General ? "Significant digits" : "Decimal digits";
    list.AddUnsigned(module, m_KeyPrefix + "LabelFormatNumDigits", row, label,
                     "If Type is Fixed or Exponential, digits to the right of the decimal point.  "
                     "If Type is General, the number of significant digits.",
                     m_Digits, ValCheckMinMax, 0, kMaxDigitsByRow, 1);
    if (replacing)
        list.SetInsertionPos(-1, -1, 0);
}

void VbLabelFormat::UpdatePreview(int id, VbPropList& list) const
{
    list.SetHeaderCommentFmt(id, "%s", Preview().c_str());
}

bool VbLabelFormat::ReadRow(const VbModuleId& module, VbPropList& list, int id, long long offset)
{
    switch (offset) {
    case TypeRow: {
        int type = 0;
        list.GetValue(id + TypeRow, type);
        // Out-of-range types wrap as a byte would; Preview then refuses them.
        m_Type = static_cast<unsigned char>(type);
        UpdateDigits(module, id, list);
        return true;
    }
    case DigitsRow: {
        unsigned int digits = 0;
        list.GetValue(id + DigitsRow, digits);
        m_Digits = static_cast<unsigned char>(std::min(digits, kMaxDigits));
        return true;
    }
    case PrefixRow:
        list.GetValue(id + PrefixRow, m_Prefix);
        return true;
    case PostfixRow:
        list.GetValue(id + PostfixRow, m_Postfix);
        return true;
    default:
        return false;
    }
}

void VbLabelFormat::PropertyEvent(const VbModuleId& module, VbPropList& list, const VbPropertyEvent& event, int id)
{
    VbLabelFormat changed = *this;
    if (!changed.ReadRow(module, list, id, static_cast<long long>(event.Id()) - id))
        return;
    changed.UpdatePreview(id, list);
    *this = changed;
}

void VbLabelFormat::EnableProperties(VbPropList& list, int id, bool enable) const
{
    list.Enabled(id, enable);
}

} // namespace core
