// The textured form of GLFont, kerning in every form, and the errors of glyphs
// that cannot be loaded.
#include "FontTestSupport.h"

#include "core/graphics/GLFontFace.h"
#include "core/graphics/GLFontManager.h"
#include "core/graphics/GLOutlineFont.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

using core::GLFont;
using core::GLFontManager;
using testsupport::DrawInPixelSpace;
using testsupport::Ink;
using testsupport::InkOf;

namespace {

const GLFont::Form kAllForms[] = {GLFont::Bitmap, GLFont::Pixmap, GLFont::Outline, GLFont::Texture};

TEST(TextureFont, FollowsTheTransformAndRestoresTheTextureState)
{
    auto font = GLFontManager::Instance().GetFont("Arial", 16.0, GLFont::Texture);
    bool restored = true;
    const auto draw = [&](double scale) {
        return DrawInPixelSpace(
            [&] {
                GLuint name = 0;
                glGenTextures(1, &name);
                glBindTexture(GL_TEXTURE_2D, name);
                glScaled(scale, scale, 1.0);
                font->Draw("Wide", 5, 5);
                GLint bound = 0;
                glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
                restored = restored && GLuint(bound) == name && !glIsEnabled(GL_TEXTURE_2D) &&
                           !glIsEnabled(GL_BLEND);
                glBindTexture(GL_TEXTURE_2D, 0);
                glDeleteTextures(1, &name);
            },
            300, 120);
    };
    const Ink once = InkOf(draw(1.0), shr::Color4b::Black);
    const Ink twice = InkOf(draw(2.0), shr::Color4b::Black);
    ASSERT_FALSE(once.Empty());
    EXPECT_NEAR(twice.Columns(), 2 * once.Columns(), 3);
    EXPECT_NEAR(twice.minX, 2 * once.minX, 2);
    EXPECT_TRUE(restored);
}

// Pairs such as "AV" tuck together where the face says so; the advance of a
// line and the pen of every form agree on it.
TEST(GLFont, KerningIsInTheAdvanceAndInTheDrawing)
{
    for (GLFont::Form form : kAllForms) {
        SCOPED_TRACE(form);
        auto font = GLFontManager::Instance().GetFont("Arial", 48.0, form);
        const double kerning = font->Advance("AV") - font->Advance("A") - font->Advance("V");
        if (form == GLFont::Bitmap && kerning == 0.0)
            GTEST_SKIP() << "the installed face has no kerning table";
        EXPECT_LT(kerning, 0.0);
        EXPECT_DOUBLE_EQ(font->Advance("AVA"), font->Advance("AV") + font->Advance("VA") - font->Advance("V"));
        // "AV" ends where "V" ends when drawn at the kerned pen position.
        const Ink pair = InkOf(DrawInPixelSpace([&] { font->Draw("AV", 10, 20); }, 200, 80), shr::Color4b::Black);
        const double pen = 10 + font->Advance("A") + kerning;
        const Ink alone = InkOf(DrawInPixelSpace([&] { font->Draw("V", pen, 20); }, 200, 80), shr::Color4b::Black);
        EXPECT_NEAR(pair.maxX, alone.maxX, form == GLFont::Outline ? 1 : 0);
    }
}

// A copy of the installed face with its glyph data overwritten: the file
// opens and sizes, but no glyph loads.
class BrokenGlyphs {
public:
    BrokenGlyphs()
    {
        auto font = GLFontManager::Instance().GetFont("Arial", 12.0, GLFont::Outline);
        std::vector<unsigned char> bytes = testsupport::ReadBytes(font->FileName());
        const auto u16 = [&](size_t at) { return bytes[at] << 8 | bytes[at + 1]; };
        const auto u32 = [&](size_t at) { return size_t(u16(at)) << 16 | u16(at + 2); };
        const size_t tables = bytes.size() >= 12 ? u16(4) : 0;
        for (size_t i = 0; i < tables && 12 + 16 * (i + 1) <= bytes.size(); ++i) {
            const size_t record = 12 + 16 * i;
            const size_t offset = u32(record + 8), length = u32(record + 12);
            if (std::memcmp(&bytes[record], "glyf", 4) == 0 && offset + length <= bytes.size()) {
                std::fill_n(bytes.begin() + ptrdiff_t(offset), length, 0xFF);
                m_Broken = true;
            }
        }
        m_Path = m_Folder.Write("broken-glyphs.ttf", bytes);
    }

    // False when the face keeps its outlines elsewhere than a glyph table.
    bool Broken() const { return m_Broken; }
    const std::string& Path() const { return m_Path; }

private:
    testsupport::ScratchFolder m_Folder;
    std::string m_Path;
    bool m_Broken = false;
};

TEST(GLFont, GlyphErrorsAreNumbered)
{
    const BrokenGlyphs face;
    if (!face.Broken())
        GTEST_SKIP() << "the installed face has no glyph table to break";
    testsupport::PictureContext().MakeCurrent();
    const auto font = [&](GLFont::Form form) { return GLFont::Create(face.Path(), 12.0, form); };
    struct Case {
        const char* what;
        std::function<void()> action;
        int code;
        std::string message;
    } cases[] = {
        {"advance", [&] { font(GLFont::Pixmap)->Advance("xA"); }, 18, "Unable to load glyph 120 metrics."},
        {"outline advance", [&] { font(GLFont::Outline)->Advance("A"); }, 18, "Unable to load glyph 65 metrics."},
        {"bitmap", [&] { font(GLFont::Bitmap)->Draw("A", 0, 0); }, 19, "Unable to load glyph 65."},
        {"pixmap", [&] { font(GLFont::Pixmap)->Draw("B", 0, 0); }, 19, "Unable to load glyph 66."},
        {"texture", [&] { font(GLFont::Texture)->Draw("C", 0, 0); }, 19, "Unable to load glyph 67."},
        {"outline",
         [&] {
             std::vector<shr::Vec2f> triangles;
             static_cast<core::GLOutlineFont&>(*font(GLFont::Outline)).AppendTriangles("D", 0, 0, triangles);
         },
         19, "Unable to load glyph 68."},
        {"raster face outline",
         [&] { core::GLFontFace("Arial", 12.0, 0, false).GetOutline(U'A'); },
         20, "Unable to get glyph outline.\nThe font was made for raster glyphs."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const testsupport::Raised error = testsupport::RaisedBy(c.action);
        EXPECT_EQ(error.code, c.code);
        EXPECT_EQ(error.message, c.message);
    }
}

} // namespace
