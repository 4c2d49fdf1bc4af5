#include "FontTestSupport.h"

#include "core/graphics/GLFontManager.h"
#include "core/graphics/InvFontElement.h"

#include <Inventor/SbViewportRegion.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/nodes/SoOrthographicCamera.h>
#include <gtest/gtest.h>

#include <cmath>

using core::GLFont;
using core::GLFontManager;
using core::InvFont;
using core::InvText3;
using namespace fonttest;
using namespace testsupport;

namespace {


class PixelFormTest : public testing::TestWithParam<GLFont::Form> {};

// Text lands where the raster position and the metrics say, and nowhere else.
TEST_P(PixelFormTest, TextInkStaysInsideItsBox)
{
    auto font = GLFontManager::Instance().GetFont("Arial", 20.0, GetParam());
    const int height = 60, x = 10, baseline = 20;
    const render::Image image = DrawInPixelSpace([&] { font->Draw("Hello", x, baseline); }, 200, height);
    const Ink ink = InkOf(image, shr::Color4b::Black);
    ASSERT_FALSE(ink.Empty());
    // Rows count down from the top; the baseline is at row height - 1 - baseline.
    const int baselineRow = height - 1 - baseline;
    EXPECT_GE(ink.minX, x - 1);
    EXPECT_LE(ink.maxX, x + int(std::ceil(font->Advance("Hello"))) + 1);
    EXPECT_GE(ink.minY, baselineRow - int(std::ceil(font->Ascent())) - 1);
    EXPECT_LE(ink.maxY, baselineRow + int(std::ceil(font->Descent())) + 1);
    // "Hello" has no descender: the ink sits on the baseline.
    EXPECT_NEAR(ink.maxY, baselineRow, 1);
    // Drawn in the current colour: the strongest pixel is white.
    int brightest = 0;
    for (int y = ink.minY; y <= ink.maxY; ++y)
        for (int xx = ink.minX; xx <= ink.maxX; ++xx) {
            const shr::Color4b c = image.At(xx, y);
            EXPECT_TRUE(c.r == c.g && c.g == c.b) << xx << "," << y;
            brightest = std::max(brightest, int(c.r));
        }
    EXPECT_EQ(brightest, 255);
}

INSTANTIATE_TEST_SUITE_P(Forms, PixelFormTest, testing::Values(GLFont::Bitmap, GLFont::Pixmap));

// Scene text: an orthographic camera 4 units wide and 2 high over a 200 x 100
// picture, so the origin is at pixel (100, 50) and a unit is 50 pixels.
SoSeparator* TextScene(const char* face, float size, InvText3::Justification justification, float depth = 0.0f)
{
    EnsureFontClasses();
    auto* root = new SoSeparator;
    auto* camera = new SoOrthographicCamera;
    camera->position = SbVec3f(0, 0, 10);
    camera->height = 2.0f;
    camera->nearDistance = 1.0f;
    camera->farDistance = 20.0f;
    root->addChild(camera);
    auto* font = new InvFont;
    font->name = face;
    font->size = size;
    auto* text = new InvText3;
    text->string = "Tx";
    text->justification = justification;
    text->depth = depth;
    auto* group = new SoSeparator;
    group->addChild(font);
    group->addChild(text);
    root->addChild(testsupport::UnlitShape(group, SbColor(1, 0, 0)));
    return root;
}

Ink InkOfScene(SoNode* root)
{
    SceneRef scene(root);
    return InkOf(testsupport::Draw(scene.get(), 200, 100, shr::Color4b::Black), shr::Color4b::Black);
}

TEST(InvText3, JustificationPlacesTheTextAboutTheOrigin)
{
    struct Case {
        InvText3::Justification justification;
        int minX, maxX; // allowed ink columns
    } cases[] = {
        {InvText3::LEFT, 99, 199},
        {InvText3::RIGHT, 0, 101},
        {InvText3::CENTER, 60, 140},
    };
    auto font = GLFontManager::Instance().GetFont("Arial", 0.5, GLFont::Outline);
    const int width = int(std::lround(font->Advance("Tx") * 50.0));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.justification);
        const Ink ink = InkOfScene(TextScene("Arial", 0.5f, c.justification));
        ASSERT_FALSE(ink.Empty());
        EXPECT_GE(ink.minX, c.minX);
        EXPECT_LE(ink.maxX, c.maxX);
        EXPECT_NEAR(ink.Columns(), width, 4);
        // Above the baseline (row 50) by at most the ascent.
        EXPECT_LE(ink.maxY, 51);
        EXPECT_GE(ink.minY, 50 - int(std::ceil(font->Ascent() * 50.0)) - 1);
        if (c.justification == InvText3::CENTER) {
            EXPECT_NEAR(ink.minX + ink.maxX, 200, 6);
        }
    }
}

TEST(InvText3, BoundingBoxIsTheFontsBoxAndTheDepthAndDrawsLikeFlatText)
{
    auto font = GLFontManager::Instance().GetFont("Arial", 0.5, GLFont::Outline);
    const shr::Box2f expected = font->Bounds("Tx", core::TextFormat::Center);
    for (float depth : {0.0f, 0.25f}) {
        SceneRef scene(TextScene("Arial", 0.5f, InvText3::CENTER, depth));
        SoGetBoundingBoxAction action(SbViewportRegion(200, 100));
        action.apply(scene.get());
        const SbBox3f box = action.getBoundingBox();
        EXPECT_FLOAT_EQ(box.getMin()[0], expected.min.x);
        EXPECT_FLOAT_EQ(box.getMax()[0], expected.max.x);
        EXPECT_FLOAT_EQ(box.getMin()[1], expected.min.y);
        EXPECT_FLOAT_EQ(box.getMax()[1], expected.max.y);
        EXPECT_FLOAT_EQ(box.getMin()[2], -depth);
        EXPECT_FLOAT_EQ(box.getMax()[2], 0.0f);
    }
    // Extruded text draws like flat text from the front.
    const Ink flat = InkOfScene(TextScene("Arial", 0.5f, InvText3::LEFT));
    const Ink deep = InkOfScene(TextScene("Arial", 0.5f, InvText3::LEFT, 0.3f));
    EXPECT_NEAR(deep.count, flat.count, flat.count / 20);
    EXPECT_EQ(deep.minX, flat.minX);
}

// An InvFont that cannot make its font leaves the default face at its size;
// a size no face can take leaves nothing to draw.
TEST(InvText3, AFontThatCannotBeMadeFallsBackToTheDefaultFace)
{
    const Ink fallback = InkOfScene(TextScene("/no/such/face.ttf", 0.5f, InvText3::LEFT));
    const Ink usual = InkOfScene(TextScene(InvText3::kDefaultFace, 0.5f, InvText3::LEFT));
    EXPECT_EQ(fallback.count, usual.count);
    EXPECT_GT(fallback.count, 0);
    EXPECT_TRUE(InkOfScene(TextScene("Arial", -1.0f, InvText3::LEFT)).Empty());
    SceneRef scene(TextScene("Arial", -1.0f, InvText3::LEFT));
    SoGetBoundingBoxAction action(SbViewportRegion(200, 100));
    action.apply(scene.get());
    EXPECT_TRUE(action.getBoundingBox().isEmpty());
}

} // namespace
