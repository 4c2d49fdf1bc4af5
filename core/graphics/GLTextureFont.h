#pragma once
// GLTextureFont: the textured form of GLFont. A line's glyphs are packed into
// one alpha texture and drawn as quads in the current model coordinates, one
// unit to a pixel of the font's size, modulated by the current colour and
// blended over the picture. Unlike the raster forms the text follows the
// transform (it scales, turns and is clipped like geometry); drawn one unit to
// a pixel it matches the pixmap form.
//
// The texture lives only for the Draw call, so one font serves any number of
// contexts without keeping GL names in any of them; the glyphs' coverage is
// cached like the other forms' glyphs.
#include "core/graphics/GLFont.h"

#include <map>
#include <vector>

namespace core {

class GLTextureFont : public GLFont {
public:
    // Size in pixels; errors as GLFont::Create.
    GLTextureFont(const shr::GString& face, double size, unsigned flags = 0);

    // Quads with their origin at (x, y, z), facing +Z.
    void Draw(const char* line, double x, double y, double z = 0.0) override;

private:
    // A glyph's quad: its corners in model units from the line's origin, and
    // where its texels start in the line's texture.
    struct Quad {
        float left = 0.0f, bottom = 0.0f, right = 0.0f, top = 0.0f;
        int texelX = 0;
        const GLFontFace::Bitmap* glyph = nullptr;
    };
    // The quads of one line (glyphs without pixels left out) and the size of
    // the texture that holds each distinct glyph once.
    struct Layout {
        std::vector<Quad> quads;
        int textureWidth = 0;
        int textureHeight = 0;
    };

    Layout LayOut(const char* line); // caller holds the lock
    const GLFontFace::Bitmap& GlyphOf(char32_t code); // caller holds the lock; rows top first

    std::map<char32_t, GLFontFace::Bitmap> m_Glyphs;
};

} // namespace core
