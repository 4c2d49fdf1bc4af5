#pragma once
// GLBitmapFont: the one-bit pixel form of GLFont, drawn with glBitmap in the
// current raster colour. Sharp and cheap; no blending needed.
#include "core/graphics/GLFont.h"

#include <cstdint>
#include <map>
#include <vector>

namespace core {

class GLBitmapFont : public GLFont {
public:
    // Size in pixels; errors as GLFont::Create.
    GLBitmapFont(const shr::GString& face, double size, unsigned flags = 0);

    void Draw(const char* line, double x, double y, double z = 0.0) override;

private:
    struct Glyph {
        int width = 0, rows = 0;
        float xorig = 0.0f, yorig = 0.0f, advance = 0.0f;
        std::vector<uint8_t> bits; // rows bottom first, each padded to whole bytes
    };
    const Glyph& GlyphOf(char32_t code); // caller holds the lock

    std::map<char32_t, Glyph> m_Glyphs;
};

} // namespace core
