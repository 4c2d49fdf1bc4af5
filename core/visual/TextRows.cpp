#include "core/visual/TextRows.h"

#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/RowReader.h"
#include "shr/Archive.h"

#include <cstdint>
#include <iterator>

namespace core {

namespace {

// From this version on, 1 is right and 2 centre.
constexpr int kJustificationOrderVersion = 122;

const char* const kJustificationNames[] = {"Left", "Right", "Center"};

shr::GString Key(const char* prefix, const char* suffix) { return shr::GString(prefix) + suffix; }

} // namespace

TextFormat TextRows::DefaultFormat() { return TextFormat(14.0, shr::Color4b::Black, "Arial", TextFormat::Center, true, true); }

TextRows::KeyRegistrar::KeyRegistrar(const char* prefix)
{
    VbPropertyRegistry& registry = VbPropertyRegistry::Instance();
    registry.Set(Key(prefix, "Text"), IdText, VbStringPropertyConverter::Key());
    registry.Set(Key(prefix, "Justification"), IdJustification, VbUnsignedPropertyConverter::Key());
    registry.Set(Key(prefix, "Size"), IdSize, VbDoublePropertyConverter::Key());
    registry.Set(Key(prefix, "Color"), IdColor, VbColorPropertyConverter::Key());
    registry.Set(Key(prefix, "Font"), IdFont, VbStringPropertyConverter::Key());
}

void TextRows::AddTextRow(const VbModuleId& module, const char* prefix, VbPropList& list, const shr::GString& text)
{
    list.AddEdit(module, Key(prefix, "Text"), IdText, "Text", "The text to draw; line breaks start new lines.", text);
}

void TextRows::AddFormatRows(const VbModuleId& module, const char* prefix, VbPropList& list,
                             const TextFormat& format)
{
    list.AddCombo(module, Key(prefix, "Justification"), IdJustification, "Justification",
                  "How the lines are aligned with each other.", static_cast<unsigned>(format.m_Justification),
                  std::size(kJustificationNames), const_cast<const char**>(kJustificationNames), 0);
    list.AddDouble(module, Key(prefix, "Size"), IdSize, "Size (points)", "The height of the font.", format.m_Height,
                   ValCheckMinMax, kMinSize, kMaxSize, 1.0);
    list.AddColor(module, Key(prefix, "Color"), IdColor, "Color", "The color of the text.", format.m_Color);
    list.AddFont(module, Key(prefix, "Font"), IdFont, "Font", "The face of the text.", format.m_Face);
}

bool TextRows::PropertyEvent(VbPropList& list, int id, shr::GString& text, TextFormat& format)
{
    switch (id) {
    case IdText: list.GetValue(id, text); return true;
    case IdJustification: {
        uint32_t justification = static_cast<uint32_t>(format.m_Justification);
        RowReader::Choice(list, id, std::size(kJustificationNames), justification);
        format.m_Justification = static_cast<TextFormat::Justification>(justification);
        return true;
    }
    case IdSize: RowReader::Clamped(list, id, kMinSize, kMaxSize, format.m_Height); return true;
    case IdColor: list.GetValue(id, format.m_Color); return true;
    case IdFont: RowReader::Face(list, id, format.m_Face); return true;
    default: return false;
    }
}

void TextRows::Transfer(shr::Archive& archive, TextFormat& format, shr::GString& text)
{
    int32_t justification = format.m_Justification;
    archive.Transfer(justification);
    archive.Transfer(text);
    archive.Transfer(format.m_Face);
    archive.Transfer(format.m_Color);
    if (archive.IsStoring())
        return;
    format.m_Color.a = 255;
    if (archive.GetVersion() < kJustificationOrderVersion && (justification == 1 || justification == 2))
        justification = 3 - justification;
    format.m_Justification = static_cast<TextFormat::Justification>(justification);
}

void TextRows::CheckLoaded(const shr::Archive& archive, const TextFormat& format)
{
    const int justification = format.m_Justification;
    if (justification < TextFormat::Left || justification > TextFormat::Center)
        archive.ThrowFormatError("text justification %d out of range", justification);
    if (!(format.m_Height >= kMinSize && format.m_Height <= kMaxSize))
        archive.ThrowFormatError("text size %g out of range", format.m_Height);
}

} // namespace core
