// The legend drawn offscreen from its callback node, in a scene of nothing
// else: the strip's colours along its length, the background rectangle, the
// labels and the title where the layout puts them, and nothing elsewhere.
#include "PictureSupport.h"
#include "VisualSupport.h"

#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/VbColorMap.h"
#include "core/graphics/VgRenderer.h"
#include "core/visual/VbLegend.h"
#include "render/Image.h"
#include "shr/Exception.h"

#include <Inventor/nodes/SoSeparator.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>

namespace core {

// Reaches the drawing entry that only the callback node uses.
class VbLegendTestAccess {
public:
    static void Render(VbLegend& legend, SoGLRenderAction* action) { legend.Render(action); }
};

} // namespace core

namespace {

using core::VbLegend;
using shr::Color4b;

const int kSize = 300;
const Color4b kScene(0, 64, 0); // the picture's background
const Color4b kRed(255, 0, 0), kBlue(0, 0, 255), kYellow(255, 255, 0);
// Points to pixels at the legend's 96 pixels per inch.
const double kPixels = 96.0 / 72.0;

// Adds the legend's node to an empty scene and draws it in a square view.
render::Image Draw(VbLegend& legend)
{
    core::InvSmartPtr<SoSeparator> root(new SoSeparator);
    {
        core::VgRenderer renderer{core::SceneTransform()};
        renderer.PushNode(root);
        legend.Execute(renderer);
    }
    return testsupport::Draw(root.get(), kSize, kSize, kScene);
}

// The pixel at GL window coordinates (x, y), row 0 at the bottom.
Color4b At(const render::Image& image, double x, double y)
{
    return image.At(int(std::floor(x)), kSize - 1 - int(std::floor(y)));
}

using visualtest::Near;

// Pixels in a window rectangle (inclusive bounds) for which `test` holds.
int Count(const render::Image& image, int x0, int y0, int x1, int y1, const std::function<bool(Color4b)>& test)
{
    int count = 0;
    for (int y = std::max(y0, 0); y <= std::min(y1, kSize - 1); ++y)
        for (int x = std::max(x0, 0); x <= std::min(x1, kSize - 1); ++x)
            count += test(At(image, x, y)) ? 1 : 0;
    return count;
}

class LegendDrawTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        map.ClearColorNodes();
        map.AddColorNode(0.0, kRed);
        map.AddColorNode(1.0, kBlue);
        map.SetScalingLimits(0.0, 10.0);
        legend.Show(true);
        legend.m_XPos = 0.1f; // 30 pixels
        legend.m_YPos = 0.2f; // 60 pixels
        legend.m_Width = 30.0f;   // 40 pixels
        legend.m_Length = 150.0f; // 200 pixels
        legend.m_NumLabels = 0;
        legend.m_FGColor = Color4b::White;
    }

    core::VbColorMap map{nullptr, 0, 256};
    VbLegend legend{&map};
};

TEST_F(LegendDrawTest, StripRunsThroughTheMapAlongItsLengthAndNothingElseIsDrawn)
{
    for (bool vertical : {true, false}) {
        SCOPED_TRACE(vertical ? "vertical" : "horizontal");
        legend.m_Vertical = vertical;
        const render::Image image = Draw(legend);
        const double x0 = 30, y0 = 60, across = 40, along = 200;
        for (double pos = 0.05; pos < 1.0; pos += 0.1) {
            const double s = along * pos, t = across / 2;
            const Color4b pixel = vertical ? At(image, x0 + t, y0 + s) : At(image, x0 + s, y0 + t);
            EXPECT_TRUE(Near(pixel, map.PosToColor(pos), 4)) << pos << ": " << int(pixel.r) << " " << int(pixel.b);
        }
        // The minimum's end is red, the maximum's blue.
        EXPECT_GT(At(image, x0 + 5, y0 + 5).r, 200);
        EXPECT_GT((vertical ? At(image, x0 + 5, y0 + along - 5) : At(image, x0 + along - 5, y0 + 5)).b, 200);
        // Zero labels: the strip and its outline only.
        const double x1 = x0 + (vertical ? across : along), y1 = y0 + (vertical ? along : across);
        const auto ink = [](Color4b c) { return c != kScene; };
        const int outside = Count(image, 0, 0, kSize - 1, kSize - 1, ink) -
                            Count(image, int(x0), int(y0), int(x1) - 1, int(y1) - 1, ink);
        EXPECT_EQ(outside, 0);
        EXPECT_EQ(At(image, x0, y0 + 20), Color4b::White); // outline
    }
}

TEST_F(LegendDrawTest, BackgroundRectangleFramesTheLegendWhenAsked)
{
    legend.m_BGColor = kYellow;
    const double margin = 3.0 * kPixels; // 4 pixels around the strip
    for (bool background : {false, true}) {
        SCOPED_TRACE(background);
        legend.m_ShowBackground = background;
        const render::Image image = Draw(legend);
        const Color4b inside = At(image, 30 - margin + 2, 150), frame = At(image, 30 - margin, 150);
        EXPECT_EQ(inside, background ? kYellow : kScene);
        EXPECT_EQ(frame, background ? Color4b::White : kScene);
        EXPECT_EQ(At(image, 30 + 40 + margin + 3, 150), kScene);
        EXPECT_EQ(At(image, 50, 60 + 200 + margin + 3), kScene);
        EXPECT_TRUE(Near(At(image, 50, 150), map.PosToColor(0.45), 4)); // the strip on top
    }
}

TEST_F(LegendDrawTest, LabelsAndTitleAppearBesideTheStrip)
{
    legend.m_NumLabels = 3;
    legend.m_Title = "Depth";
    legend.m_LabelFormat = core::VbLabelFormat(core::VbLabelFormat::Fixed, 1);
    const auto ink = [](Color4b c) { return c != kScene; };
    render::Image image;
    for (bool antialias : {false, true}) {
        SCOPED_TRACE(antialias);
        legend.m_Antialias = antialias;
        legend.m_Vertical = true;
        image = Draw(legend);
        // Right of the strip and its ticks, at each label's height.
        for (double y : {60.0, 160.0, 260.0})
            EXPECT_GT(Count(image, 75, int(y) - 6, 140, int(y) + 6, ink), 10) << y;
        EXPECT_EQ(Count(image, 75, 100, 140, 120, ink), 0); // between labels
        // The title above the strip, left of where the top label's text begins.
        EXPECT_GT(Count(image, 30, 268, 72, 295, ink), 20);

        legend.m_Vertical = false;
        legend.m_Title.clear();
        image = Draw(legend);
        // The strip stands on its labels: text at the bottom, centred on the ticks.
        for (double x : {30.0, 130.0, 230.0})
            EXPECT_GT(Count(image, int(x) - 12, 60, int(x) + 12, 75, ink), 10) << x;
        EXPECT_EQ(Count(image, 60, 60, 100, 75, ink), 0);
        legend.m_Title = "Depth";
    }
}

TEST_F(LegendDrawTest, SceneKeepsItsOwnCopyOfTheLegend)
{
    core::InvSmartPtr<SoSeparator> root(new SoSeparator);
    {
        auto owner = std::make_unique<core::VbColorMap>(map);
        VbLegend shown(owner.get());
        shown = legend;
        shown.SetColorMap(owner.get());
        core::VgRenderer renderer{core::SceneTransform()};
        renderer.PushNode(root);
        shown.Execute(renderer);
        shown.Show(false);
        shown.Execute(renderer); // hidden: adds nothing
    }
    EXPECT_EQ(root->getNumChildren(), 1);
    const render::Image image = testsupport::Draw(root.get(), kSize, kSize, kScene);
    EXPECT_TRUE(Near(At(image, 50, 70), map.PosToColor(0.05), 4));
}

} // namespace
