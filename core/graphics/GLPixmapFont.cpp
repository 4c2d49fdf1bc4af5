#include "core/graphics/GLPixmapFont.h"

#include "core/graphics/GLRasterScope.h"

#include <algorithm>

namespace core {

GLPixmapFont::GLPixmapFont(const shr::GString& face, double size, unsigned flags)
    : GLFont(face, size, Pixmap, flags)
{
}

const GLFontFace::Bitmap& GLPixmapFont::GlyphOf(char32_t code)
{
    auto it = m_Glyphs.find(code);
    if (it != m_Glyphs.end())
        return it->second;
    GLFontFace::Bitmap image = FaceOf().Render(code, false);
    // glDrawPixels reads the bottom row first.
    for (int y = 0; y < image.rows / 2; ++y)
        std::swap_ranges(image.coverage.begin() + ptrdiff_t(y) * image.width,
                         image.coverage.begin() + ptrdiff_t(y + 1) * image.width,
                         image.coverage.begin() + ptrdiff_t(image.rows - 1 - y) * image.width);
    return m_Glyphs.emplace(code, std::move(image)).first->second;
}

void GLPixmapFont::Draw(const char* line, double x, double y, double z)
{
    std::lock_guard<std::mutex> lock(Mutex());
    GLRasterScope scope;
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glRasterPos3d(x, y, z);
    GLfloat color[4];
    glGetFloatv(GL_CURRENT_RASTER_COLOR, color);
    std::vector<GLubyte> rgba;
    char32_t previous = 0;
    for (char32_t code : Decode(line)) {
        if (const double kerning = KerningOf(previous, code))
            GLRasterScope::Move(kerning, 0.0);
        previous = code;
        const GLFontFace::Bitmap& glyph = GlyphOf(code);
        if (glyph.width > 0 && glyph.rows > 0) {
            rgba.resize(glyph.coverage.size() * 4);
            for (size_t i = 0; i < glyph.coverage.size(); ++i) {
                for (int c = 0; c < 3; ++c)
                    rgba[4 * i + c] = GLubyte(std::clamp(color[c], 0.0f, 1.0f) * 255.0f + 0.5f);
                rgba[4 * i + 3] = GLubyte(glyph.coverage[i] * std::clamp(color[3], 0.0f, 1.0f) + 0.5f);
            }
            const double down = glyph.rows - glyph.top;
            GLRasterScope::Move(glyph.left, -down);
            glDrawPixels(glyph.width, glyph.rows, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
            GLRasterScope::Move(glyph.advance - glyph.left, down);
        } else {
            GLRasterScope::Move(glyph.advance, 0.0);
        }
    }
}

} // namespace core
