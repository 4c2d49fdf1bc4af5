#pragma once
// VbLabelFormat: turns a number into label text, the way the user chose it:
// fixed, exponential or general notation with a number of digits, between a
// prefix and a postfix. It brings its own rows for a module's property list.
#include "shr/GString.h"

namespace shr {
class Archive;
struct Vec3d;
} // namespace shr

namespace core {

class VbModuleId;
class VbPropList;
class VbPropertyEvent;

class VbLabelFormat {
public:
    enum Type : unsigned char { Fixed = 0, Exponential = 1, General = 2 };

    VbLabelFormat(unsigned char type, unsigned char digits);

    unsigned char GetType() const { return m_Type; }
    void SetType(unsigned char type) { m_Type = type; }
    unsigned char Digits() const { return m_Digits; }
    void Digits(unsigned char digits) { m_Digits = digits; }
    const shr::GString& Prefix() const { return m_Prefix; }
    void Prefix(const shr::GString& prefix) { m_Prefix = prefix; }
    const shr::GString& Postfix() const { return m_Postfix; }
    void Postfix(const shr::GString& postfix) { m_Postfix = postfix; }
    // The start of the property keys of this format's rows, as a module gave it.
    const shr::GString& KeyPrefix() const { return m_KeyPrefix; }
    void KeyPrefix(const shr::GString& keyPrefix) { m_KeyPrefix = keyPrefix; }

    // The number by type and digits, between prefix and postfix. A type of 3
    // or more raises "Format out of range.".
    shr::GString Format(double value) const;
    // The text between prefix and postfix.
    shr::GString Format(const shr::GString& text) const;
    // "x,y,z" (or "x, y, z" when spaced), each by type and digits.
    shr::GString Format(const shr::Vec3d& value, bool spaced) const;
    // A sample of the format with 'd' for each digit: d.ddd for Fixed with three
    // digits, d.dddE+dd for Exponential.
    shr::GString Preview() const;

    // Section marker, type (1 byte), digits (1 byte), prefix, postfix. A load
    // that fails leaves the format as it was.
    void Serialize(shr::Archive& archive);

    // Rows under the closed header "Label Format" at `id`: type at id + 1,
    // digits at id + 2, prefix at id + 3, postfix at id + 4; the header's
    // comment shows the preview. `keyPrefix` starts the rows' keys and is kept
    // for the digits row, which is rebuilt when the type changes.
    void GetProperties(const VbModuleId& module, VbPropList& list, const shr::GString& keyPrefix, int id);
    // Replaces the digits row, whose label depends on the type. Raises an
    // internal error unless GetProperties has given the key prefix.
    void UpdateDigits(const VbModuleId& module, int id, VbPropList& list) const;
    void UpdatePreview(int id, VbPropList& list) const;
    // Takes a changed row of this format (event ids id + 1 to id + 4) and
    // refreshes the preview; other ids are ignored. A value that the format
    // cannot show raises and leaves the format as it was.
    void PropertyEvent(const VbModuleId& module, VbPropList& list, const VbPropertyEvent& event, int id);
    // Enables or disables the header row only.
    void EnableProperties(VbPropList& list, int id, bool enable) const;

private:
    const char* NumberFormat() const;
    shr::GString Attach(const shr::GString& text) const;
    // Reads the row at `offset` from the header into this format; false for an
    // offset that is not one of the format's rows.
    bool ReadRow(const VbModuleId& module, VbPropList& list, int id, long long offset);

    unsigned char m_Type;
    unsigned char m_Digits;
    shr::GString m_Prefix;
    shr::GString m_Postfix;
    shr::GString m_KeyPrefix; // not persisted
};

} // namespace core
