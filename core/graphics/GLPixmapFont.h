#pragma once
// GLPixmapFont: the antialiased pixel form of GLFont. Each glyph's coverage
// becomes the alpha of the current raster colour and is blended over the
// picture with glDrawPixels (blending is switched on for the drawing only).
#include "core/graphics/GLFont.h"

#include <cstdint>
#include <map>
#include <vector>

namespace core {

class GLPixmapFont : public GLFont {
public:
    // Size in pixels; errors as GLFont::Create.
    GLPixmapFont(const shr::GString& face, double size, unsigned flags = 0);

    void Draw(const char* line, double x, double y, double z = 0.0) override;

private:
    const GLFontFace::Bitmap& GlyphOf(char32_t code); // caller holds the lock; rows bottom first

    std::map<char32_t, GLFontFace::Bitmap> m_Glyphs;
};

} // namespace core
