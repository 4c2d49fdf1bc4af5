#include "FontTestSupport.h"

#include "core/graphics/GLFontManager.h"
#include "core/graphics/GLOutlineFont.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>

using core::GLFont;
using core::GLFontManager;
using core::TextFormat;
using testsupport::RaisedBy;

namespace {

const GLFont::Form kForms[] = {GLFont::Bitmap, GLFont::Pixmap, GLFont::Outline};

// A one-character bitmap face of 8 pixels, the kind with no outlines.
const char* const kBitmapFace = R"(STARTFONT 2.1
FONT -test-fixed-medium-r-normal--8-80-75-75-c-80-iso10646-1
SIZE 8 75 75
FONTBOUNDINGBOX 8 8 0 -1
STARTPROPERTIES 3
PIXEL_SIZE 8
FONT_ASCENT 7
FONT_DESCENT 1
ENDPROPERTIES
CHARS 1
STARTCHAR A
ENCODING 65
SWIDTH 500 0
DWIDTH 8 0
BBX 8 1 0 0
BITMAP
7E
ENDCHAR
ENDFONT
)";

TEST(GLFont, ArialResolvesToAnInstalledFaceWithConsistentMetricsInEveryForm)
{
    auto arial = GLFontManager::Instance().GetFont("Arial", 12.0, GLFont::Pixmap);
    EXPECT_TRUE(std::ifstream(arial->FileName()).good()) << arial->FileName();
    EXPECT_FALSE(arial->FamilyName().empty());
    for (GLFont::Form form : kForms) {
        SCOPED_TRACE(form);
        auto font = GLFontManager::Instance().GetFont("Arial", 24.0, form);
        EXPECT_GT(font->Ascent(), 0.0);
        EXPECT_GE(font->Descent(), 0.0);
        EXPECT_GE(font->LineHeight(), font->Ascent());
        EXPECT_LT(font->Ascent(), 24.0 * 1.5);
        EXPECT_EQ(font->Advance(nullptr), 0.0);
        EXPECT_DOUBLE_EQ(font->Advance("ii"), 2.0 * font->Advance("i")); // a pair without kerning
        // Twice the size, about twice the width.
        auto twice = GLFontManager::Instance().GetFont("Arial", 48.0, form);
        EXPECT_NEAR(twice->Advance("Hello") / font->Advance("Hello"), 2.0, 0.15);
    }
}

TEST(GLFont, BoundsFollowJustificationAndLines)
{
    auto font = GLFontManager::Instance().GetFont("Arial", 1.0, GLFont::Outline);
    const float w = float(font->Advance("Wide")), a = float(font->Ascent()), d = float(font->Descent());
    const float h = float(font->LineHeight());
    struct Case {
        const char* text;
        TextFormat::Justification justification;
        shr::Box2f expected;
    } cases[] = {
        {"Wide", TextFormat::Left, {0, -d, w, a}},
        {"Wide", TextFormat::Right, {-w, -d, 0, a}},
        {"Wide", TextFormat::Center, {-w / 2, -d, w / 2, a}},
        {"Wide\nW", TextFormat::Left, {0, -h - d, w, a}},
        {"W\nWide", TextFormat::Right, {-w, -h - d, 0, a}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const shr::Box2f box = font->Bounds(c.text, c.justification);
        EXPECT_FLOAT_EQ(box.min.x, c.expected.min.x);
        EXPECT_FLOAT_EQ(box.min.y, c.expected.min.y);
        EXPECT_FLOAT_EQ(box.max.x, c.expected.max.x);
        EXPECT_FLOAT_EQ(box.max.y, c.expected.max.y);
    }
    EXPECT_TRUE(font->Bounds("").IsEmpty());
    EXPECT_TRUE(font->Bounds(nullptr).IsEmpty());
}

TEST(GLFont, DecodeTakesUtf8AndFallsBackToLatin1)
{
    struct Case {
        const char* text;
        std::u32string expected;
    } cases[] = {
        {"Az", U"Az"},
        {"\xC3\xA9t\xC3\xA9", U"\u00E9t\u00E9"},
        {"\xE2\x82\xAC", U"\u20AC"},
        {"\xF0\x9F\x98\x80", U"\U0001F600"},
        {"caf\xE9", U"caf\u00E9"},             // Latin-1 byte
        {"\xE2\x82", U"\u00E2\u0082"},         // cut short
        {"\xC0\x80", U"\u00C0\u0080"},         // overlong
        {"\xED\xA0\x80", U"\u00ED\u00A0\u0080"}, // surrogate
    };
    for (const Case& c : cases)
        EXPECT_EQ(GLFont::Decode(c.text), c.expected) << c.text;
    EXPECT_TRUE(GLFont::Decode(nullptr).empty());
}

TEST(GLFont, CreationErrorsAreNumbered)
{
    const testsupport::ScratchFolder folder;
    const std::string notAFont = folder.Write("not-a-font.ttf", "This is plain text.\n");
    const std::string bitmapFace = folder.Write("bitmap-face.bdf", kBitmapFace);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        std::string face;
        double size;
        GLFont::Form form;
        int code;
        std::string detail;
    } cases[] = {
        {"", 12.0, GLFont::Pixmap, 16, "No face name was given."},
        {"Arial", 0.0, GLFont::Pixmap, 16, "The size 0 is not a positive number."},
        {"Arial", -3.0, GLFont::Outline, 16, "The size -3 is not a positive number."},
        {"Arial", nan, GLFont::Bitmap, 16, "not a positive number"},
        {"Arial", 0.25, GLFont::Bitmap, 16, "The size 0.25 is outside 1 to 2048 pixels."},
        {"Arial", 1e6, GLFont::Pixmap, 16, "outside 1 to 2048 pixels"},
        {"/no/such/dir/face.ttf", 12.0, GLFont::Pixmap, 16, "/no/such/dir/face.ttf: "},
        {notAFont, 12.0, GLFont::Outline, 16, notAFont + ": "},
        {bitmapFace, 8.0, GLFont::Outline, 17, "The face has no outlines."},
        {bitmapFace, 12.0, GLFont::Pixmap, 17, "The face has no 12 pixel size."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.face + " " + std::to_string(c.size));
        const testsupport::Raised error = RaisedBy([&] { GLFontManager::Instance().GetFont(c.face, c.size, c.form); });
        EXPECT_EQ(error.code, c.code);
        const std::string head = std::string(c.code == 16 ? "Unable to create font '"
                                                          : "Unable to get text metrics for font '") +
                                 c.face + "'.\n";
        EXPECT_EQ(error.message.substr(0, head.size()), head);
        EXPECT_NE(error.message.find(c.detail, head.size()), std::string::npos) << error.message;
    }
    // The bitmap face at its own size is a working raster font.
    auto font = GLFont::Create(bitmapFace, 8.0, GLFont::Bitmap);
    EXPECT_EQ(font->Advance("AA"), 16.0);
    EXPECT_EQ(font->Ascent(), 7.0);
    EXPECT_EQ(font->Descent(), 1.0);
}

// Labels may be measured on the update thread while the host draws: one font
// serves many threads and gives each the same answers.
TEST(GLFontManager, FontsAreSharedSafelyBetweenThreads)
{
    const char* const texts[] = {"Depth (m)", "1250.5", "WWW", "\xC3\xA9t\xC3\xA9", "Porosity"};
    std::vector<double> expected;
    {
        auto reference = GLFont::Create("Arial", 17.0, GLFont::Outline);
        for (const char* text : texts)
            expected.push_back(reference->Advance(text));
    }
    GLFontManager::Instance().Clear();
    std::vector<std::vector<double>> results(4);
    testsupport::RunThreads(4, [&texts, &results](unsigned int id) {
        auto font = GLFontManager::Instance().GetFont("Arial", 17.0, GLFont::Outline);
        for (int round = 0; round < 20; ++round)
            for (const char* text : texts) {
                std::vector<shr::Vec2f> triangles;
                static_cast<core::GLOutlineFont*>(font.get())->AppendTriangles(text, 0.0f, 0.0f, triangles);
                if (round == 0)
                    results[id].push_back(font->Advance(text));
            }
    });
    for (const auto& result : results)
        EXPECT_EQ(result, expected);
}

} // namespace
