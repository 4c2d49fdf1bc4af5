#include "core/graphics/GLOutlineFont.h"

#include <GL/gl.h>

namespace core {

GLOutlineFont::GLOutlineFont(const shr::GString& face, double size, unsigned flags)
    : GLFont(face, size, Outline, flags)
{
}

GLOutlineFont::~GLOutlineFont() = default;

const GLOutlineFont::Glyph& GLOutlineFont::GlyphOf(char32_t code) const
{
    auto it = m_Glyphs.find(code);
    if (it != m_Glyphs.end())
        return it->second;
    GLFontFace::Outline outline = FaceOf().GetOutline(code);
    if (!m_Tesselator)
        m_Tesselator = std::make_unique<GLTesselator>();
    Glyph glyph;
    for (const shr::Vec2d& p : m_Tesselator->Tesselate(outline.contours, outline.winding))
        glyph.triangles.emplace_back(float(p.x), float(p.y));
    glyph.contours = std::move(outline.contours);
    glyph.advance = outline.advance;
    return m_Glyphs.emplace(code, std::move(glyph)).first->second;
}

template <class Visit>
void GLOutlineFont::ForEachGlyph(const char* line, float x, Visit visit) const
{
    std::lock_guard<std::mutex> lock(Mutex());
    double pen = x;
    char32_t previous = 0;
    for (char32_t code : Decode(line)) {
        pen += KerningOf(previous, code);
        previous = code;
        const Glyph& glyph = GlyphOf(code);
        visit(glyph, float(pen));
        pen += glyph.advance;
    }
}

void GLOutlineFont::AppendTriangles(const char* line, float x, float y, std::vector<shr::Vec2f>& triangles) const
{
    ForEachGlyph(line, x, [&](const Glyph& glyph, float pen) {
        for (const shr::Vec2f& p : glyph.triangles)
            triangles.emplace_back(p.x + pen, p.y + y);
    });
}

void GLOutlineFont::AppendContours(const char* line, float x, float y,
                                   std::vector<GLTesselator::Contour>& contours) const
{
    ForEachGlyph(line, x, [&](const Glyph& glyph, float pen) {
        for (const GLTesselator::Contour& contour : glyph.contours) {
            contours.emplace_back();
            for (const shr::Vec2d& p : contour)
                contours.back().emplace_back(p.x + pen, p.y + y);
        }
    });
}

void GLOutlineFont::Draw(const char* line, double x, double y, double z)
{
    std::vector<shr::Vec2f> triangles;
    AppendTriangles(line, float(x), float(y), triangles);
    glBegin(GL_TRIANGLES);
    glNormal3f(0.0f, 0.0f, 1.0f);
    for (const shr::Vec2f& p : triangles)
        glVertex3d(p.x, p.y, z);
    glEnd();
}

} // namespace core
