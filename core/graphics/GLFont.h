#pragma once
// GLFont: a face at a size, measured and drawn with raw OpenGL. Fonts come in
// forms that share the metrics and differ in how a glyph reaches the screen:
//
//   Bitmap   one-bit glyphs through glBitmap, at the raster position, in pixels;
//   Pixmap   antialiased glyphs through glDrawPixels, blended, in pixels;
//   Outline  glyph outlines tessellated into triangles, in model units, for
//            text that lives in the scene (flat or extruded);
//   Texture  antialiased glyphs as textured quads, one model unit a pixel of
//            the size, blended; text that follows the current transform yet
//            looks like the pixmap form when drawn one unit to a pixel.
//
// Pixel forms are what legends and annotations draw with, inside an
// orthographic projection of the viewport; the size is then in pixels (for
// the texture form too). For the outline form the size is the em height in
// model units.
//
// Pairs of characters are kerned where the face has a kerning table: the
// advance of a line and every form's pen include the correction.
//
// Text is UTF-8; a byte that does not start a valid sequence stands for the
// Latin-1 character of its value. "\n" breaks lines in the multi-line calls.
// Glyphs are cached on first use. All members may be called from any thread
// (a font is shared through GLFontManager); drawing needs a current context.
#include "core/graphics/GLFontFace.h"
#include "core/properties/TextFormat.h"
#include "shr/Box2f.h"
#include "shr/GString.h"

#include <boost/noncopyable.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace core {

class GLFont : private boost::noncopyable {
public:
    enum Form { Bitmap, Pixmap, Outline, Texture };
    using Justification = TextFormat::Justification;

    // The font of `face` at `size` in the given form, with the style `flags`
    // (GLFontFace::Bold, GLFontFace::Italic). Throws error 16 when the
    // face cannot be opened or the size is not a positive number (pixel forms:
    // 1 to kMaxPixelSize after rounding), 17 when the face has no metrics at
    // that size. Fonts are shared: ask GLFontManager rather than this.
    static std::unique_ptr<GLFont> Create(const shr::GString& face, double size, Form form, unsigned flags = 0);
    static constexpr double kMaxPixelSize = 2048.0;

    virtual ~GLFont();

    const shr::GString& Face() const { return m_Name; }
    double Size() const { return m_Size; }
    unsigned Flags() const { return m_Flags; }
    Form GetForm() const { return m_Form; }
    // What the name resolved to.
    const shr::GString& FileName() const { return m_Face.FileName(); }
    const shr::GString& FamilyName() const { return m_Face.FamilyName(); }

    double Ascent() const { return m_Face.Ascent(); }
    double Descent() const { return m_Face.Descent(); }
    double LineHeight() const { return m_Face.LineHeight(); }

    // The pen's travel over one line of text, kerning included (line breaks
    // are not looked at).
    double Advance(const char* line) const;
    // Where line `index` of a block starts, for the justification: baselines
    // step down by the line height from y = 0; Left starts at x = 0, Right
    // ends there and Center is centred on it.
    shr::Vec2f LineOrigin(const char* line, size_t index, Justification justification) const;
    // The box of a block of lines so placed: from each line's origin to its
    // advance, from the descent below its baseline to the ascent above. Empty
    // for a null or empty text.
    shr::Box2f Bounds(const char* text, Justification justification = TextFormat::Left) const;

    // Draws one line with its origin at (x, y, z) in the current coordinates:
    // for pixel forms the raster position, colour from the current colour.
    virtual void Draw(const char* line, double x, double y, double z = 0.0) = 0;
    // Draws a block of lines placed as LineOrigin says.
    void DrawLines(const char* text, double x, double y, Justification justification);

    // The lines of a text at its "\n" breaks (a "\r" before one is dropped);
    // empty lines are kept. A null text has no lines.
    static std::vector<std::string> SplitLines(const char* text);
    // The characters of a text, as described above.
    static std::u32string Decode(const char* text);

protected:
    GLFont(const shr::GString& face, double size, Form form, unsigned flags);

    // The face, for the forms' glyph loading; the caller holds Mutex().
    GLFontFace& FaceOf() const { return m_Face; }
    // The pen's correction before `code` when it follows `previous` (0 at the
    // start of a line); the caller holds Mutex().
    double KerningOf(char32_t previous, char32_t code) const;
    std::mutex& Mutex() const { return m_Mutex; }

private:
    double AdvanceOf(char32_t code) const; // caller holds the lock

    shr::GString m_Name;
    double m_Size;
    Form m_Form;
    unsigned m_Flags;
    mutable std::mutex m_Mutex;
    mutable GLFontFace m_Face;
    bool m_Kerning; // the face has a kerning table
    mutable std::map<char32_t, double> m_Advances;
};

} // namespace core
