#include "core/properties/TextFormat.h"

#include "shr/Archive.h"

#include <cstdint>

namespace core {

TextFormat::TextFormat() : TextFormat(12.0, shr::Color4b::Black, "Arial", Left, false, true) {}

TextFormat::TextFormat(double height, const shr::Color4b& color, const shr::GString& face,
                       Justification justification, bool flag1, bool flag2)
    : m_Height(height),
      m_Color(color),
      m_Face(face),
      m_Justification(justification),
      m_Flag1(flag1),
      m_Flag2(flag2),
      m_Flag3(false),
      m_Floats{0.0f, 0.0f, 0.0f, 1.0f},
      m_Flag4(false)
{
}

void TextFormat::Serialize(shr::Archive& archive)
{
    // Loading works on a copy so that a truncated archive leaves this as it was.
    TextFormat f = *this;
    const int version = archive.GetVersion();
    archive.Transfer(f.m_Flag1);
    archive.Transfer(f.m_Face);
    if (version >= 104) {
        archive.Transfer(f.m_Height);
        archive.Transfer(f.m_Color);
    }
    if (version >= 119) {
        int32_t justification = f.m_Justification;
        archive.Transfer(justification);
        archive.CheckRange(justification, Left, Center, "the text justification");
        f.m_Justification = static_cast<Justification>(justification);
    }
    if (version >= 120) {
        for (float& value : f.m_Floats)
            archive.Transfer(value);
        archive.Transfer(f.m_Flag4);
    }
    if (version >= 128) {
        archive.Transfer(f.m_Flag2);
        archive.Transfer(f.m_Flag3);
    }
    if (archive.IsLoading())
        *this = f;
}

} // namespace core
