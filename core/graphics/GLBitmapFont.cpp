#include "core/graphics/GLBitmapFont.h"

#include "core/graphics/GLRasterScope.h"

namespace core {

GLBitmapFont::GLBitmapFont(const shr::GString& face, double size, unsigned flags)
    : GLFont(face, size, Bitmap, flags)
{
}

const GLBitmapFont::Glyph& GLBitmapFont::GlyphOf(char32_t code)
{
    auto it = m_Glyphs.find(code);
    if (it != m_Glyphs.end())
        return it->second;
    const GLFontFace::Bitmap image = FaceOf().Render(code, true);
    Glyph glyph;
    glyph.width = image.width;
    glyph.rows = image.rows;
    glyph.xorig = float(-image.left);
    glyph.yorig = float(image.rows - image.top);
    glyph.advance = float(image.advance);
    const int pitch = (image.width + 7) / 8;
    glyph.bits.assign(size_t(pitch) * image.rows, 0);
    for (int y = 0; y < image.rows; ++y) {
        uint8_t* row = glyph.bits.data() + size_t(image.rows - 1 - y) * pitch;
        for (int x = 0; x < image.width; ++x)
            if (image.coverage[size_t(y) * image.width + x])
                row[x >> 3] |= uint8_t(0x80 >> (x & 7));
    }
    return m_Glyphs.emplace(code, std::move(glyph)).first->second;
}

void GLBitmapFont::Draw(const char* line, double x, double y, double z)
{
    std::lock_guard<std::mutex> lock(Mutex());
    GLRasterScope scope;
    glRasterPos3d(x, y, z);
    char32_t previous = 0;
    for (char32_t code : Decode(line)) {
        if (const double kerning = KerningOf(previous, code))
            GLRasterScope::Move(kerning, 0.0);
        previous = code;
        const Glyph& glyph = GlyphOf(code);
        glBitmap(glyph.width, glyph.rows, glyph.xorig, glyph.yorig, glyph.advance, 0.0f,
                 glyph.bits.empty() ? nullptr : glyph.bits.data());
    }
}

} // namespace core
