#include "core/graphics/GLTextureFont.h"

#include "core/graphics/GLRasterScope.h"

#include <algorithm>

namespace core {

namespace {

// Transparent texels around every glyph, so that filtering between texels
// never picks up a neighbour when the text is scaled.
constexpr int kPadding = 1;

// The texture state of the drawing, restored afterwards: the binding, the
// environment mode and the filters belong to the caller's scene.
class TextureScope {
public:
    TextureScope()
    {
        glPushAttrib(GL_TEXTURE_BIT);
        glGenTextures(1, &m_Name);
        glBindTexture(GL_TEXTURE_2D, m_Name);
    }
    ~TextureScope()
    {
        glDeleteTextures(1, &m_Name);
        glPopAttrib();
    }
    TextureScope(const TextureScope&) = delete;
    TextureScope& operator=(const TextureScope&) = delete;

private:
    GLuint m_Name = 0;
};

} // namespace

GLTextureFont::GLTextureFont(const shr::GString& face, double size, unsigned flags)
    : GLFont(face, size, Texture, flags)
{
}

const GLFontFace::Bitmap& GLTextureFont::GlyphOf(char32_t code)
{
    auto it = m_Glyphs.find(code);
    if (it == m_Glyphs.end())
        it = m_Glyphs.emplace(code, FaceOf().Render(code, false)).first;
    return it->second;
}

GLTextureFont::Layout GLTextureFont::LayOut(const char* line)
{
    Layout layout;
    std::map<char32_t, int> texelX; // each distinct glyph once
    double pen = 0.0;
    char32_t previous = 0;
    for (char32_t code : Decode(line)) {
        pen += KerningOf(previous, code);
        previous = code;
        const GLFontFace::Bitmap& glyph = GlyphOf(code);
        if (glyph.width > 0 && glyph.rows > 0) {
            auto placed = texelX.emplace(code, layout.textureWidth + kPadding);
            if (placed.second) {
                layout.textureWidth += glyph.width + kPadding;
                layout.textureHeight = std::max(layout.textureHeight, glyph.rows);
            }
            Quad quad;
            quad.left = float(pen + glyph.left);
            quad.right = quad.left + float(glyph.width);
            quad.top = float(glyph.top);
            quad.bottom = quad.top - float(glyph.rows);
            quad.texelX = placed.first->second;
            quad.glyph = &glyph;
            layout.quads.push_back(quad);
        }
        pen += glyph.advance;
    }
    if (!layout.quads.empty()) {
        layout.textureWidth += kPadding;
        layout.textureHeight += 2 * kPadding;
    }
    return layout;
}

void GLTextureFont::Draw(const char* line, double x, double y, double z)
{
    std::lock_guard<std::mutex> lock(Mutex());
    const Layout layout = LayOut(line);
    if (layout.quads.empty())
        return;
    const int width = layout.textureWidth, height = layout.textureHeight;
    // Texture rows from the top of the glyphs down, below a row of padding.
    std::vector<GLubyte> alpha(size_t(width) * height, 0);
    for (const Quad& quad : layout.quads) {
        const GLFontFace::Bitmap& glyph = *quad.glyph;
        for (int row = 0; row < glyph.rows; ++row)
            std::copy_n(glyph.coverage.begin() + ptrdiff_t(row) * glyph.width, glyph.width,
                        alpha.begin() + ptrdiff_t(row + kPadding) * width + quad.texelX);
    }

    TextureScope texture;
    GLRasterScope scope; // pixel unpacking, lighting off; blending state saved
    glTexImage2D(GL_TEXTURE_2D, 0, GL_ALPHA8, width, height, 0, GL_ALPHA, GL_UNSIGNED_BYTE, alpha.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);

    const float w = float(width), h = float(height);
    glBegin(GL_QUADS);
    glNormal3f(0.0f, 0.0f, 1.0f);
    for (const Quad& quad : layout.quads) {
        const float s0 = float(quad.texelX) / w, s1 = float(quad.texelX + quad.glyph->width) / w;
        const float t0 = float(kPadding) / h, t1 = float(kPadding + quad.glyph->rows) / h;
        glTexCoord2f(s0, t1);
        glVertex3d(x + quad.left, y + quad.bottom, z);
        glTexCoord2f(s1, t1);
        glVertex3d(x + quad.right, y + quad.bottom, z);
        glTexCoord2f(s1, t0);
        glVertex3d(x + quad.right, y + quad.top, z);
        glTexCoord2f(s0, t0);
        glVertex3d(x + quad.left, y + quad.top, z);
    }
    glEnd();
}

} // namespace core
