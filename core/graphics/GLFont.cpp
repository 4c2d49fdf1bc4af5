#include "core/graphics/GLFont.h"

#include "core/graphics/GLBitmapFont.h"
#include "core/graphics/GLOutlineFont.h"
#include "core/graphics/GLPixmapFont.h"
#include "core/graphics/GLTextureFont.h"
#include "core/network/CoreError.h"
#include "shr/StringUtil.h"

#include <cmath>
#include <cstring>

namespace core {

namespace {

// The size a face is opened at, once it has been found acceptable.
double CheckedSize(const shr::GString& face, double size, GLFont::Form form)
{
    std::string why;
    if (!std::isfinite(size) || size <= 0.0)
        shr::FormatString(why, "The size %g is not a positive number.", size);
    else if (form != GLFont::Outline && (size < 0.5 || size >= GLFont::kMaxPixelSize + 0.5))
        shr::FormatString(why, "The size %g is outside 1 to %g pixels.", size, GLFont::kMaxPixelSize);
    if (!why.empty())
        CORE_THROW(16, face.c_str(), why.c_str());
    return size;
}

// The length of the UTF-8 sequence a lead byte starts, 0 for a byte that
// cannot lead one.
int SequenceLength(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

// The character of a complete, shortest-form sequence, or 0 when it is not one.
char32_t DecodeSequence(const unsigned char* p, int length)
{
    static const char32_t kLeadMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    static const char32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
    char32_t code = p[0] & kLeadMask[length];
    for (int i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (p[i] & 0x3F);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kMinimum[length] || code > 0x10FFFF || surrogate ? 0 : code;
}

} // namespace

std::unique_ptr<GLFont> GLFont::Create(const shr::GString& face, double size, Form form, unsigned flags)
{
    switch (form) {
    case Bitmap:
        return std::make_unique<GLBitmapFont>(face, size, flags);
    case Pixmap:
        return std::make_unique<GLPixmapFont>(face, size, flags);
    case Outline:
        return std::make_unique<GLOutlineFont>(face, size, flags);
    case Texture:
        return std::make_unique<GLTextureFont>(face, size, flags);
    }
    CORE_THROW(16, face.c_str(), "Unknown font form.");
    return nullptr;
}

GLFont::GLFont(const shr::GString& face, double size, Form form, unsigned flags)
    : m_Name(face), m_Size(size), m_Form(form), m_Flags(flags),
      m_Face(face, CheckedSize(face, size, form), flags, form == Outline), m_Kerning(m_Face.HasKerning())
{
}

GLFont::~GLFont() = default;

double GLFont::AdvanceOf(char32_t code) const
{
    auto it = m_Advances.find(code);
    if (it == m_Advances.end())
        it = m_Advances.emplace(code, m_Face.Advance(code)).first;
    return it->second;
}

double GLFont::KerningOf(char32_t previous, char32_t code) const
{
    return m_Kerning && previous != 0 ? m_Face.Kerning(previous, code) : 0.0;
}

double GLFont::Advance(const char* line) const
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    double advance = 0.0;
    char32_t previous = 0;
    for (char32_t code : Decode(line)) {
        advance += KerningOf(previous, code) + AdvanceOf(code);
        previous = code;
    }
    return advance;
}

shr::Vec2f GLFont::LineOrigin(const char* line, size_t index, Justification justification) const
{
    double x = 0.0;
    if (justification == TextFormat::Right)
        x = -Advance(line);
    else if (justification == TextFormat::Center)
        x = -0.5 * Advance(line);
    return shr::Vec2f(float(x), float(-double(index) * LineHeight()));
}

shr::Box2f GLFont::Bounds(const char* text, Justification justification) const
{
    shr::Box2f box;
    if (!text || !*text)
        return box;
    const std::vector<std::string> lines = SplitLines(text);
    for (size_t i = 0; i < lines.size(); ++i) {
        const shr::Vec2f origin = LineOrigin(lines[i].c_str(), i, justification);
        const float advance = float(Advance(lines[i].c_str()));
        box.ExtendBy(shr::Vec2f(origin.x, origin.y - float(Descent())));
        box.ExtendBy(shr::Vec2f(origin.x + advance, origin.y + float(Ascent())));
    }
    return box;
}

void GLFont::DrawLines(const char* text, double x, double y, Justification justification)
{
    const std::vector<std::string> lines = SplitLines(text);
    for (size_t i = 0; i < lines.size(); ++i) {
        const shr::Vec2f origin = LineOrigin(lines[i].c_str(), i, justification);
        Draw(lines[i].c_str(), x + origin.x, y + origin.y);
    }
}

std::vector<std::string> GLFont::SplitLines(const char* text)
{
    std::vector<std::string> lines;
    if (!text)
        return lines;
    for (const char* p = text;; ++p) {
        const char* end = std::strchr(p, '\n');
        const size_t length = end ? size_t(end - p) : std::strlen(p);
        const bool carriageReturn = length > 0 && p[length - 1] == '\r';
        lines.emplace_back(p, carriageReturn ? length - 1 : length);
        if (!end)
            break;
        p = end;
    }
    return lines;
}

std::u32string GLFont::Decode(const char* text)
{
    std::u32string codes;
    if (!text)
        return codes;
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    while (*p) {
        const int length = SequenceLength(*p);
        bool complete = length > 0;
        for (int i = 1; i < length && complete; ++i)
            complete = p[i] != 0;
        const char32_t code = complete ? DecodeSequence(p, length) : 0;
        if (code || *p < 0x80) {
            codes.push_back(code ? code : *p);
            p += length;
        } else {
            codes.push_back(*p); // Latin-1
            ++p;
        }
    }
    return codes;
}

} // namespace core
