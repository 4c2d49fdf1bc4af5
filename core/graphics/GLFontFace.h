#pragma once
// GLFontFace: one FreeType face at one size, the platform end of the font
// family. A face name is resolved through fontconfig (so "Arial" finds the
// installed sans face when Arial itself is missing); a name with a '/' is
// taken as the path of a font file. Sizes are in the caller's output units:
// pixels for raster glyphs, any unit for outlines (unhinted, from the face's
// design units).
//
// Not thread safe: the owning GLFont serialises calls.
#include "core/graphics/GLTesselator.h"
#include "shr/GString.h"

#include <boost/noncopyable.hpp>

#include <cstdint>
#include <vector>

namespace core {

class GLFontFace : private boost::noncopyable {
public:
    // Face flags: the style asked of fontconfig.
    enum Style : unsigned { Bold = 1, Italic = 2 };

    // A glyph as coverage, 0 to 255, `width` x `rows`, top row first; its top
    // left pixel lies `left` right of and `top` above the pen position.
    struct Bitmap {
        int width = 0;
        int rows = 0;
        int left = 0;
        int top = 0;
        double advance = 0.0;
        std::vector<uint8_t> coverage;
    };

    // A glyph's closed contours, flattened, with the filled area on the left
    // of each contour's direction (outer contours counter-clockwise).
    struct Outline {
        std::vector<GLTesselator::Contour> contours;
        GLTesselator::Winding winding = GLTesselator::NonZero;
        double advance = 0.0;
    };

    // outlines: unhinted design outlines scaled to `size` (the face must be
    // scalable); otherwise hinted raster glyphs of `size` pixels. Throws error
    // 16 when the face cannot be found or opened, 17 when it has no metrics at
    // that size (a bitmap face without such a strike, or no outlines).
    GLFontFace(const shr::GString& name, double size, unsigned style, bool outlines);
    ~GLFontFace();

    const shr::GString& FileName() const { return m_FileName; }
    const shr::GString& FamilyName() const { return m_FamilyName; }

    // Above and below the baseline (both positive for usual faces), and the
    // baseline-to-baseline distance.
    double Ascent() const { return m_Ascent; }
    double Descent() const { return m_Descent; }
    double LineHeight() const { return m_LineHeight; }

    // Horizontal advance of character `code`; error 18 on failure.
    double Advance(char32_t code);
    // Whether the face has a kerning table; without one Kerning is always 0.
    bool HasKerning() const;
    // The correction of the pen between `left` and `right` set next to each
    // other (negative where they tuck together), in the units of Advance:
    // whole pixels for raster glyphs, unhinted for outlines.
    double Kerning(char32_t left, char32_t right);
    // The glyph drawn at the face's size, antialiased or one bit deep (`mono`,
    // coverage 0 or 255); error 19 on failure.
    Bitmap Render(char32_t code, bool mono);
    // Error 19 when the glyph cannot be loaded, 20 when it has no outline.
    Outline GetOutline(char32_t code);

private:
    void Open(const shr::GString& name, unsigned style);
    void SetSize(const shr::GString& name, double size);
    void LoadGlyph(char32_t code, int flags, int errorCode);

    void* m_Face = nullptr; // FT_Face
    bool m_Outlines;
    double m_Scale = 1.0;   // output units per design unit, for outlines
    shr::GString m_FileName;
    shr::GString m_FamilyName;
    double m_Ascent = 0.0;
    double m_Descent = 0.0;
    double m_LineHeight = 0.0;
};

} // namespace core
