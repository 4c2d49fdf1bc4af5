// The interactive viewer on a hidden X server (the build runs this suite
// under xvfb-run); without a display the tests are skipped.
#include "../host/HostTestSupport.h"

#include "host/ViewCommand.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>
#include <sstream>

namespace {

// Mean absolute difference per channel, 0 to 255.
double MeanDifference(const render::Image& a, const render::Image& b)
{
    double sum = 0.0;
    for (size_t n = 0; n < a.Pixels().size(); ++n)
        sum += std::abs(int(a.Pixels()[n]) - int(b.Pixels()[n]));
    return sum / double(a.Pixels().size());
}

bool Uniform(const render::Image& image)
{
    const shr::Color4b corner = image.At(0, 0);
    const auto other = [&](const shr::Color4b& c) { return c != corner; };
    return hosttest::Count(image, 0, 0, image.Width(), image.Height(), other) == 0;
}

const char* const kSlicedScene = R"({"modules": [
  {"name": "Field", "type": "TestLattice",
   "properties": {"SampleLatticeXNum": "24", "SampleLatticeYNum": "24", "SampleLatticeZNum": "24"}},
  {"name": "Cut", "type": "ObliqueImage", "inputs": ["Field"],
   "properties": {"ObliqueSlicePlaneShowDragger": "1", "ObliqueSlicePlaneOrientation": "2",
                  "ObliqueSliceColormap": "Rainbow:"}}],
  "view": {"size": [320, 240], "azimuth": 30, "elevation": 30}})";

class ViewerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!host::ViewCommand::DisplayAvailable())
            GTEST_SKIP() << "no X display (DISPLAY=\"" << (std::getenv("DISPLAY") ? std::getenv("DISPLAY") : "")
                         << "\"): run under xvfb-run to test the viewer";
    }
};

// One viewer per process (the toolkit starts once): the demo scene is drawn
// as `render` draws it, a plane dragger moved by script runs a pass that
// redraws the slice elsewhere, and the viewer quits cleanly.
TEST_F(ViewerTest, DrawsTheSceneAndRerunsPassesWhenADraggerMoves)
{
    hosttest::ScratchFolder folder;
    const std::string scene = folder.Write("sliced.json", kSlicedScene);
    ASSERT_EQ(hosttest::Render({scene, "-o", folder.Path("render.png")}).status, 0);
    const render::Image rendered = hosttest::ReadPng(folder.Path("render.png"));
    render::Image before, after;
    int passesBefore = -1, passesAfter = -1;
    bool dragged = false;
    host::ViewOptions options;
    options.scene = scene;
    std::ostringstream err;
    const int status = host::ViewCommand::Run(options, err, [&](host::ViewSession& session) {
        before = session.Grab();
        passesBefore = session.PassCount();
        dragged = session.DragPlane(0.3);
        session.WaitForPass();
        passesAfter = session.PassCount();
        after = session.Grab();
    });
    ASSERT_EQ(status, 0) << err.str();
    ASSERT_EQ(before.Width(), 320);
    ASSERT_EQ(before.Height(), 240);
    EXPECT_FALSE(Uniform(before));
    EXPECT_LT(MeanDifference(before, rendered), 6.0);
    ASSERT_TRUE(dragged);
    EXPECT_EQ(passesAfter, passesBefore + 1);
    EXPECT_GT(MeanDifference(before, after), 0.5);
}

// The command line: a screenshot after the given time, then a clean exit;
// a screenshot without a time to quit is refused before anything opens.
TEST_F(ViewerTest, CommandWritesAScreenshotAndQuits)
{
    hosttest::ScratchFolder folder;
    const std::string scene = folder.Write("sliced.json", kSlicedScene);
    const std::string program = FENRAK_PROGRAM;
    const std::string shot = folder.Path("shot.png");
    EXPECT_EQ(std::system((program + " view " + scene + " --screenshot " + shot + " --quit-after 0.5 2>/dev/null").c_str()), 0);
    const render::Image image = hosttest::ReadPng(shot);
    EXPECT_EQ(image.Width(), 320);
    EXPECT_FALSE(Uniform(image));
    EXPECT_EQ(WEXITSTATUS(std::system((program + " view " + scene + " --screenshot x.png 2>/dev/null").c_str())), 1);
    EXPECT_EQ(folder.Files(), (std::vector<std::string>{"shot.png", "sliced.json"}));
}

} // namespace
