#include "core/graphics/GLFontFace.h"

#include "core/network/CoreError.h"
#include "shr/StringUtil.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cmath>
#include <mutex>

namespace core {

namespace {

// Straight pieces per curved outline segment: smooth at label sizes, cheap to
// tessellate.
constexpr int kCurveSteps = 8;

// One FreeType library for the process. Faces are created and destroyed under
// this lock (the library's face list is shared); each face is then used by one
// thread at a time.
std::mutex& LibraryMutex()
{
    static std::mutex mutex;
    return mutex;
}

FT_Library Library()
{
    static FT_Library library = [] {
        FT_Library lib = nullptr;
        return FT_Init_FreeType(&lib) == 0 ? lib : nullptr;
    }();
    return library;
}

FT_Face Face(void* face) { return static_cast<FT_Face>(face); }

// FreeType's own texts for its error codes (its library may be built without
// them), made from its error list.
struct ErrorName {
    int code;
    const char* text;
};
#undef FTERRORS_H_
#define FT_ERRORDEF(e, v, s) {v, s},
#define FT_ERROR_START_LIST {
#define FT_ERROR_END_LIST {0, nullptr}};
const ErrorName kErrorNames[] =
#include FT_ERRORS_H

shr::GString ErrorText(FT_Error error)
{
    for (const ErrorName* e = kErrorNames; e->text; ++e)
        if (e->code == int(error))
            return shr::GString(e->text) + ".";
    std::string text;
    shr::FormatString(text, "FreeType error %d.", int(error));
    return text;
}

struct Resolved {
    shr::GString file;
    int index = 0;
};

// The file fontconfig picks for a family name and style; an empty file when
// nothing matches (only when no font is installed at all).
Resolved Match(const shr::GString& family, unsigned style)
{
    Resolved found;
    if (!FcInit())
        return found;
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    FcPatternAddInteger(pattern, FC_WEIGHT, (style & GLFontFace::Bold) ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern, FC_SLANT, (style & GLFontFace::Italic) ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(nullptr, pattern, &result);
    FcChar8* file = nullptr;
    if (match && FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch) {
        found.file = reinterpret_cast<const char*>(file);
        if (FcPatternGetInteger(match, FC_INDEX, 0, &found.index) != FcResultMatch)
            found.index = 0;
    }
    if (match)
        FcPatternDestroy(match);
    FcPatternDestroy(pattern);
    return found;
}

// Flattens outline segments into contours while FreeType walks the outline.
struct Flattener {
    std::vector<GLTesselator::Contour> contours;
    double scale;
    shr::Vec2d last;

    shr::Vec2d Point(const FT_Vector* v) const { return shr::Vec2d(v->x * scale, v->y * scale); }
    void Add(const shr::Vec2d& p)
    {
        contours.back().push_back(p);
        last = p;
    }

    static int MoveTo(const FT_Vector* to, void* user)
    {
        auto& self = *static_cast<Flattener*>(user);
        self.contours.emplace_back();
        self.Add(self.Point(to));
        return 0;
    }
    static int LineTo(const FT_Vector* to, void* user)
    {
        auto& self = *static_cast<Flattener*>(user);
        self.Add(self.Point(to));
        return 0;
    }
    static int ConicTo(const FT_Vector* control, const FT_Vector* to, void* user)
    {
        auto& self = *static_cast<Flattener*>(user);
        const shr::Vec2d p0 = self.last, p1 = self.Point(control), p2 = self.Point(to);
        for (int i = 1; i <= kCurveSteps; ++i) {
            const double t = double(i) / kCurveSteps, s = 1.0 - t;
            self.Add(p0 * (s * s) + p1 * (2.0 * s * t) + p2 * (t * t));
        }
        return 0;
    }
    static int CubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user)
    {
        auto& self = *static_cast<Flattener*>(user);
        const shr::Vec2d p0 = self.last, p1 = self.Point(c1), p2 = self.Point(c2), p3 = self.Point(to);
        for (int i = 1; i <= kCurveSteps; ++i) {
            const double t = double(i) / kCurveSteps, s = 1.0 - t;
            self.Add(p0 * (s * s * s) + p1 * (3.0 * s * s * t) + p2 * (3.0 * s * t * t) + p3 * (t * t * t));
        }
        return 0;
    }

    // Outline walks end each contour on its first point again; the repeat is dropped.
    void DropClosingPoints()
    {
        for (auto& contour : contours)
            if (contour.size() > 1 && contour.back() == contour.front())
                contour.pop_back();
    }
};

uint8_t CoverageOf(const FT_Bitmap& bitmap, int x, int y)
{
    const unsigned char* row = bitmap.buffer + y * bitmap.pitch;
    if (bitmap.pixel_mode == FT_PIXEL_MODE_MONO)
        return (row[x >> 3] & (0x80 >> (x & 7))) ? 255 : 0;
    const int grays = bitmap.num_grays > 1 ? bitmap.num_grays - 1 : 255;
    return static_cast<uint8_t>(row[x] * 255 / grays);
}

} // namespace

GLFontFace::GLFontFace(const shr::GString& name, double size, unsigned style, bool outlines)
    : m_Outlines(outlines)
{
    Open(name, style);
    try {
        SetSize(name, size);
    } catch (...) {
        std::lock_guard<std::mutex> lock(LibraryMutex());
        FT_Done_Face(Face(m_Face));
        throw;
    }
}

GLFontFace::~GLFontFace()
{
    std::lock_guard<std::mutex> lock(LibraryMutex());
    FT_Done_Face(Face(m_Face));
}

void GLFontFace::Open(const shr::GString& name, unsigned style)
{
    if (name.empty())
        CORE_THROW(16, "", "No face name was given.");
    std::lock_guard<std::mutex> lock(LibraryMutex());
    if (!Library())
        CORE_THROW(16, name.c_str(), "The font library could not be initialised.");
    // A path names its file; any other name is a family for fontconfig.
    const Resolved resolved = name.find('/') != std::string::npos ? Resolved{name, 0} : Match(name, style);
    if (resolved.file.empty())
        CORE_THROW(16, name.c_str(), "No installed font matches the name.");
    FT_Face face = nullptr;
    if (const FT_Error error = FT_New_Face(Library(), resolved.file.c_str(), resolved.index, &face))
        CORE_THROW(16, name.c_str(), (resolved.file + ": " + ErrorText(error)).c_str());
    m_Face = face;
    m_FileName = resolved.file;
    m_FamilyName = face->family_name ? face->family_name : "";
}

void GLFontFace::SetSize(const shr::GString& name, double size)
{
    FT_Face face = Face(m_Face);
    if (m_Outlines) {
        if (!FT_IS_SCALABLE(face) || face->units_per_EM == 0)
            CORE_THROW(17, name.c_str(), "The face has no outlines.");
        m_Scale = size / face->units_per_EM;
        m_Ascent = face->ascender * m_Scale;
        m_Descent = -face->descender * m_Scale;
        m_LineHeight = face->height * m_Scale;
        return;
    }
    const int pixels = static_cast<int>(std::lround(size));
    if (FT_IS_SCALABLE(face)) {
        if (const FT_Error error = FT_Set_Pixel_Sizes(face, 0, FT_UInt(pixels)))
            CORE_THROW(17, name.c_str(), ErrorText(error).c_str());
    } else {
        // A bitmap face: only its own strikes exist.
        int strike = -1;
        for (int i = 0; i < face->num_fixed_sizes && strike < 0; ++i)
            if ((face->available_sizes[i].y_ppem + 32) >> 6 == pixels)
                strike = i;
        std::string why;
        shr::FormatString(why, "The face has no %d pixel size.", pixels);
        if (strike < 0 || FT_Select_Size(face, strike) != 0)
            CORE_THROW(17, name.c_str(), why.c_str());
    }
    const FT_Size_Metrics& metrics = face->size->metrics;
    m_Ascent = metrics.ascender / 64.0;
    m_Descent = -metrics.descender / 64.0;
    m_LineHeight = metrics.height / 64.0;
}

void GLFontFace::LoadGlyph(char32_t code, int flags, int errorCode)
{
    FT_Face face = Face(m_Face);
    const FT_UInt index = FT_Get_Char_Index(face, FT_ULong(code));
    if (FT_Load_Glyph(face, index, flags) != 0)
        CORE_THROW(errorCode, int(code));
}

double GLFontFace::Advance(char32_t code)
{
    LoadGlyph(code, m_Outlines ? FT_LOAD_NO_SCALE : FT_LOAD_DEFAULT, 18);
    const FT_Pos advance = Face(m_Face)->glyph->advance.x;
    return m_Outlines ? advance * m_Scale : advance / 64.0;
}

bool GLFontFace::HasKerning() const
{
    return FT_HAS_KERNING(Face(m_Face));
}

double GLFontFace::Kerning(char32_t left, char32_t right)
{
    FT_Face face = Face(m_Face);
    if (!FT_HAS_KERNING(face))
        return 0.0;
    FT_Vector kerning{0, 0};
    const FT_UInt mode = m_Outlines ? FT_KERNING_UNSCALED : FT_KERNING_DEFAULT;
    // A pair the table cannot answer for is simply not kerned.
    if (FT_Get_Kerning(face, FT_Get_Char_Index(face, FT_ULong(left)), FT_Get_Char_Index(face, FT_ULong(right)),
                       mode, &kerning) != 0)
        return 0.0;
    return m_Outlines ? kerning.x * m_Scale : kerning.x / 64.0;
}

GLFontFace::Bitmap GLFontFace::Render(char32_t code, bool mono)
{
    LoadGlyph(code, FT_LOAD_RENDER | (mono ? FT_LOAD_TARGET_MONO : FT_LOAD_TARGET_NORMAL), 19);
    const FT_GlyphSlot slot = Face(m_Face)->glyph;
    const FT_Bitmap& source = slot->bitmap;
    if (source.pixel_mode != FT_PIXEL_MODE_MONO && source.pixel_mode != FT_PIXEL_MODE_GRAY)
        CORE_THROW(19, int(code));
    Bitmap bitmap;
    bitmap.width = int(source.width);
    bitmap.rows = int(source.rows);
    bitmap.left = slot->bitmap_left;
    bitmap.top = slot->bitmap_top;
    bitmap.advance = slot->advance.x / 64.0;
    bitmap.coverage.resize(size_t(bitmap.width) * bitmap.rows);
    for (int y = 0; y < bitmap.rows; ++y)
        for (int x = 0; x < bitmap.width; ++x) {
            const uint8_t c = CoverageOf(source, x, y);
            bitmap.coverage[size_t(y) * bitmap.width + x] = mono ? (c >= 128 ? 255 : 0) : c;
        }
    return bitmap;
}

GLFontFace::Outline GLFontFace::GetOutline(char32_t code)
{
    if (!m_Outlines)
        CORE_THROW(20, "The font was made for raster glyphs.");
    LoadGlyph(code, FT_LOAD_NO_SCALE | FT_LOAD_NO_BITMAP, 19);
    const FT_GlyphSlot slot = Face(m_Face)->glyph;
    if (slot->format != FT_GLYPH_FORMAT_OUTLINE)
        CORE_THROW(20, "The glyph is not an outline.");
    FT_Outline_Funcs funcs{};
    funcs.move_to = &Flattener::MoveTo;
    funcs.line_to = &Flattener::LineTo;
    funcs.conic_to = &Flattener::ConicTo;
    funcs.cubic_to = &Flattener::CubicTo;
    Flattener flattener{{}, m_Scale, {}};
    if (const FT_Error error = FT_Outline_Decompose(&slot->outline, &funcs, &flattener))
        CORE_THROW(20, ErrorText(error).c_str());
    flattener.DropClosingPoints();
    Outline outline;
    if (FT_Outline_Get_Orientation(&slot->outline) == FT_ORIENTATION_TRUETYPE)
        for (auto& contour : flattener.contours)
            std::reverse(contour.begin(), contour.end());
    outline.contours = std::move(flattener.contours);
    outline.advance = slot->advance.x * m_Scale;
    outline.winding = (slot->outline.flags & FT_OUTLINE_EVEN_ODD_FILL) ? GLTesselator::Odd : GLTesselator::NonZero;
    return outline;
}

} // namespace core
