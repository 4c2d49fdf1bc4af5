// The cutting-plane kit: the edge table, the outline of the cut, the handles'
// placement, the events of a drag, and writing and reading the kit as a file.
#include "tests/support/DraggerTestSupport.h"

#include "core/graphics/InvInterface.h"
#include "core/graphics/InvPlaneDragger.h"
#include "core/graphics/VgPlaneDragger.h"
#include "shr/Box3d.h"

#include <Inventor/draggers/SoTrackballDragger.h>
#include <Inventor/draggers/SoTranslate1Dragger.h>
#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoDrawStyle.h>
#include <Inventor/nodes/SoFaceSet.h>
#include <Inventor/nodes/SoRotation.h>
#include <Inventor/nodes/SoSwitch.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using core::InvPlaneDragger;
using core::InvSmartPtr;
using core::VgDragger;
using core::VgPlaneDragger;
using Recorder = draggertest::EventRecorder;

std::vector<int> Row(unsigned mask)
{
    std::vector<int> row;
    for (int8_t e : InvPlaneDragger::CutEdges(mask)) {
        if (e < 0)
            break;
        row.push_back(e);
    }
    return row;
}

// Whether two edges of the cube lie on one face: they meet at a corner, or
// two further edges join their ends (every 4-cycle of the cube is a face).
bool OnOneFace(int e, int f)
{
    const auto joined = [](int a, int b) {
        for (int k = 0; k < 12; ++k) {
            const int s = InvPlaneDragger::kEdgeStart[k], t = InvPlaneDragger::kEdgeEnd[k];
            if ((s == a && t == b) || (s == b && t == a))
                return true;
        }
        return false;
    };
    const int a = InvPlaneDragger::kEdgeStart[e], b = InvPlaneDragger::kEdgeEnd[e];
    const int c = InvPlaneDragger::kEdgeStart[f], d = InvPlaneDragger::kEdgeEnd[f];
    if (a == c || a == d || b == c || b == d)
        return e != f;
    return (joined(a, c) && joined(b, d)) || (joined(a, d) && joined(b, c));
}

TEST(InvPlaneDraggerTable, RowsListTheCrossedEdgesAsOneRing)
{
    int empty = 0;
    for (unsigned mask = 0; mask < 256; ++mask) {
        const std::vector<int> row = Row(mask);
        if (row.empty()) {
            ++empty;
            continue;
        }
        EXPECT_GE(row.size(), 3u) << mask;
        EXPECT_LE(row.size(), 6u) << mask;
        int crossed = 0;
        for (int e = 0; e < 12; ++e) {
            const bool a = (mask >> InvPlaneDragger::kEdgeStart[e]) & 1, b = (mask >> InvPlaneDragger::kEdgeEnd[e]) & 1;
            crossed += a != b;
            EXPECT_EQ(std::count(row.begin(), row.end(), e), a != b ? 1 : 0) << mask << " edge " << e;
        }
        EXPECT_EQ(static_cast<int>(row.size()), crossed) << mask;
        // In ring order: each step crosses one face of the cube.
        for (size_t i = 0; i < row.size(); ++i)
            EXPECT_TRUE(OnOneFace(row[i], row[(i + 1) % row.size()])) << mask << " step " << i;
    }
    EXPECT_EQ(empty, 130);
    for (unsigned mask : {0u, 5u, 255u})
        EXPECT_TRUE(Row(mask).empty()) << mask;
}

class InvPlaneDraggerTest : public ::testing::Test {
protected:
    void SetUp() override { draggertest::EnsureDraggerClasses(); }

    static std::vector<shr::Vec3d> Outline(const InvPlaneDragger& node)
    {
        std::vector<shr::Vec3d> points;
        for (int i = 0; i < node.FrameFace()->numVertices[0]; ++i) {
            const SbVec3f& p = node.FrameCoords()->point[i];
            points.emplace_back(p[0], p[1], p[2]);
        }
        return points;
    }

    const shr::Box3d box{0, 0, 0, 2, 2, 2};
};

TEST_F(InvPlaneDraggerTest, OutlineIsTheCutOfThePlaneThroughTheBox)
{
    struct Case {
        shr::Vec3d normal;
        double offset;
        int count; // -1: hidden
    };
    const std::vector<Case> cases = {
        {{0, 0, 1}, 0.5, 4}, {{1, 1, 1}, 0.0, 6}, {{1, 1, 1}, 1.5, 3}, {{0, 1, 0}, 10.0, -1}, {{0, 1, 0}, -10.0, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.normal.x << c.normal.y << c.normal.z << " " << c.offset);
        VgPlaneDragger dragger(0.25, c.normal, box, c.offset, nullptr, nullptr);
        const InvPlaneDragger& node = dragger.Node();
        if (c.count < 0) {
            EXPECT_EQ(node.FrameSwitch()->whichChild.getValue(), SO_SWITCH_NONE);
            continue;
        }
        EXPECT_EQ(node.FrameSwitch()->whichChild.getValue(), 0);
        const std::vector<shr::Vec3d> outline = Outline(node);
        ASSERT_EQ(static_cast<int>(outline.size()), c.count);
        const shr::Vec3d n = c.normal.Normalized();
        const double level = n.Dot(box.Center()) + c.offset;
        for (const shr::Vec3d& p : outline) {
            EXPECT_NEAR(n.Dot(p), level, 1e-5);
            EXPECT_TRUE(shr::Box3d(-1e-5, -1e-5, -1e-5, 2 + 1e-5, 2 + 1e-5, 2 + 1e-5).Intersects(p));
        }
    }
}

TEST_F(InvPlaneDraggerTest, AnInvertedBoxChangesNeitherScaleNorFrame)
{
    VgPlaneDragger dragger(0.25, shr::Vec3d(0, 0, 1), box, 0.0, nullptr, nullptr);
    const InvPlaneDragger& node = dragger.Node();
    const SbVec3f scale = node.Rotator()->scaleFactor.getValue();
    const std::vector<shr::Vec3d> outline = Outline(node);
    dragger.SetBox(shr::Box3d());
    dragger.SetScale(0.9);
    dragger.SetNormal(shr::Vec3d(1, 0, 0));
    EXPECT_EQ(node.Rotator()->scaleFactor.getValue(), scale);
    EXPECT_EQ(Outline(node), outline);
    EXPECT_EQ(node.FrameSwitch()->whichChild.getValue(), 0);
}

TEST_F(InvPlaneDraggerTest, ADragSendsChangesThenOneFinishAndStartsSendNothing)
{
    Recorder recorder;
    VgPlaneDragger dragger(0.25, shr::Vec3d(0, 0, 1), box, 0.0, &Recorder::Callback, &recorder);
    InvPlaneDragger& node = dragger.Node();
    dragger.SetNormal(shr::Vec3d(0, 1, 0));
    dragger.SetOffset(0.25);
    dragger.SetBox(box);
    EXPECT_TRUE(recorder.events.empty()) << "setters are not drags";

    // Turn the trackball to face X.
    node.DragStarted(node.Rotator()); // the trackball's own start needs a mouse event
    EXPECT_EQ(node.FrameStyle()->style.getValue(), SoDrawStyle::LINES);
    EXPECT_TRUE(recorder.events.empty());
    node.Rotator()->rotation.setValue(SbRotation(SbVec3f(0, 1, 0), SbVec3f(1, 0, 0)));
    ASSERT_EQ(recorder.events, std::vector<VgDragger::Event>{VgDragger::CHANGED});
    EXPECT_NEAR(dragger.Normal().x, 1.0, 1e-6);
    for (const shr::Vec3d& p : Outline(node))
        EXPECT_NEAR(p.x, 1.25, 1e-5);
    node.DragFinished(node.Rotator());
    EXPECT_EQ(recorder.events.back(), VgDragger::FINISHED);
    EXPECT_EQ(node.FrameStyle()->style.getValue(), SoDrawStyle::INVISIBLE);
    SbVec3f along;
    node.TranslatorRotation()->rotation.getValue().multVec(SbVec3f(1, 0, 0), along);
    EXPECT_TRUE(along.equals(SbVec3f(1, 0, 0), 1e-5f));

    // Slide along the normal.
    recorder.events.clear();
    node.DragStarted(node.Translator());
    node.Translator()->translation.setValue(0.75f, 0, 0);
    node.Translator()->translation.setValue(0.75f, 0, 0); // no change: no event
    node.DragFinished(node.Translator());
    EXPECT_EQ(recorder.events, (std::vector<VgDragger::Event>{VgDragger::CHANGED, VgDragger::FINISHED}));
    EXPECT_EQ(dragger.Offset(), 0.75);
    const SbMatrix& motion = node.getMotionMatrix();
    EXPECT_NEAR(motion[3][0], 1.0 + 0.75, 1e-5);
}

} // namespace
