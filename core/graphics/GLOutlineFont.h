#pragma once
// GLOutlineFont: the outline form of GLFont, for text placed in the scene. A
// glyph's outline is flattened and tessellated once (GLTesselator); the text
// is then triangles in the XY plane, facing +Z, one em of `size` model units
// high. The contours are kept as well, for the walls of extruded text.
#include "core/graphics/GLFont.h"
#include "core/graphics/GLTesselator.h"

#include <map>
#include <memory>
#include <vector>

namespace core {

class GLOutlineFont : public GLFont {
public:
    // Errors as GLFont::Create; error 17 also for a face without outlines.
    GLOutlineFont(const shr::GString& face, double size, unsigned flags = 0);
    ~GLOutlineFont() override;

    // Triangles with the normal +Z, in the current model coordinates.
    void Draw(const char* line, double x, double y, double z = 0.0) override;

    // Appends the triangles of one line with its origin at (x, y): three
    // vertices each, counter-clockwise seen from +Z. Glyph errors 19, 20, 41.
    void AppendTriangles(const char* line, float x, float y, std::vector<shr::Vec2f>& triangles) const;
    // Appends the closed contours of one line's glyphs, the filled area on the
    // left of each.
    void AppendContours(const char* line, float x, float y, std::vector<GLTesselator::Contour>& contours) const;

private:
    struct Glyph {
        std::vector<shr::Vec2f> triangles;
        std::vector<GLTesselator::Contour> contours;
        double advance = 0.0;
    };
    const Glyph& GlyphOf(char32_t code) const; // caller holds the lock
    // Calls visit(glyph, penX) for each character of the line, under the lock.
    template <class Visit>
    void ForEachGlyph(const char* line, float x, Visit visit) const;

    mutable std::map<char32_t, Glyph> m_Glyphs;
    mutable std::unique_ptr<GLTesselator> m_Tesselator;
};

} // namespace core
