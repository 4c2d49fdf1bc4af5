#pragma once
// TextFormat: how a module draws a text: size, colour, face, justification and
// a few settings whose meaning belongs to the module that draws (flags, and
// four floats such as offsets and widths).
#include "shr/Color4b.h"
#include "shr/GString.h"

namespace shr {
class Archive;
}

namespace core {

struct TextFormat {
    enum Justification : int { Left = 0, Right = 1, Center = 2 };

    TextFormat();
    TextFormat(double height, const shr::Color4b& color, const shr::GString& face, Justification justification,
               bool flag1, bool flag2);

    // Fields gated by the document version: the face and the first flag always;
    // height and colour from 104, justification from 119, the floats and the
    // fourth flag from 120, the second and third flags from 128. Fields that an
    // older document lacks keep their values. No section marker.
    void Serialize(shr::Archive& archive);

    double m_Height;   // in points
    shr::Color4b m_Color;
    shr::GString m_Face;
    Justification m_Justification;
    bool m_Flag1;
    bool m_Flag2;
    bool m_Flag3;
    float m_Floats[4];
    bool m_Flag4;
};

} // namespace core
