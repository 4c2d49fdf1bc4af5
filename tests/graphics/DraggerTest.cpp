// The manipulator-based draggers and the module mix-in: root nodes, events of
// a drag, the compare-first rules of the setters, and DraggerNode's rules for
// live changes, the release, blocking and the scene.
#include "tests/support/DraggerTestSupport.h"

#include "core/graphics/DraggerNode.h"
#include "core/graphics/VgClipPlaneDragger.h"
#include "core/graphics/VgDirectionalLightDragger.h"
#include "core/graphics/VgJackDragger.h"
#include "core/graphics/VgPointLightDragger.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgSpotLightDragger.h"
#include "core/graphics/VgTransformDragger.h"
#include "shr/Box3d.h"

#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/draggers/SoJackDragger.h>
#include <Inventor/fields/SoSFVec3f.h>
#include <Inventor/manips/SoClipPlaneManip.h>
#include <Inventor/manips/SoDirectionalLightManip.h>
#include <Inventor/manips/SoPointLightManip.h>
#include <Inventor/manips/SoTransformerManip.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoPickStyle.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoTransform.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using core::InvSmartPtr;
using core::VgDragger;
using draggertest::DragRelay;

using Recorder = draggertest::EventRecorder;

class DraggerTest : public ::testing::Test {
protected:
    void SetUp() override { draggertest::EnsureDraggerClasses(); }
};

SoGroup* AsGroup(const InvSmartPtr<SoNode>& node) { return static_cast<SoGroup*>(node.get()); }

// Light setters compare first, the transform's write again: a field changed
// behind the dragger's back shows which.
TEST_F(DraggerTest, LightSettersSkipEqualValuesTransformSettersDoNot)
{
    core::VgPointLightDragger light;
    auto* transformNode = static_cast<SoTransform*>(AsGroup(light.GetNode())->getChild(0));
    auto* manip = static_cast<SoPointLightManip*>(AsGroup(light.GetNode())->getChild(1));

    manip->color.setValue(0, 0, 0);
    light.SetColor(shr::Color4b(255, 255, 255, 255));
    EXPECT_EQ(manip->color.getValue(), SbColor(0, 0, 0)) << "same colour: nothing written";
    light.SetColor(shr::Color4b(255, 0, 51, 7));
    EXPECT_EQ(manip->color.getValue(), SbColor(1.0f, 0.0f, static_cast<float>(51 / 255.0)));

    transformNode->translation.setValue(9, 9, 9);
    light.SetPosition(shr::Vec3d::ZERO);
    EXPECT_EQ(transformNode->translation.getValue(), SbVec3f(9, 9, 9));
    light.SetPosition(shr::Vec3d(1, 2, 3));
    EXPECT_EQ(transformNode->translation.getValue(), SbVec3f(1, 2, 3));

    // A jack's fields are its drag: a write shows as an event.
    core::VgJackDragger jack;
    Recorder recorder;
    jack.Callback(&Recorder::Callback, &recorder);
    jack.SetScale(shr::Vec3d::ONE);
    jack.SetTranslation(shr::Vec3d::ZERO);
    jack.SetRotation(shr::Quat4d::IDENTITY);
    EXPECT_TRUE(recorder.events.empty());
    jack.SetScale(shr::Vec3d(2, 2, 2));
    EXPECT_FALSE(recorder.events.empty());

    core::VgTransformDragger transform(shr::Vec3d::ZERO, shr::Vec3d::ONE, shr::Quat4d::IDENTITY,
                                       shr::Box3d(-1, -1, -1, 1, 1, 1));
    auto* transformManip = static_cast<SoTransformerManip*>(AsGroup(transform.GetNode())->getChild(0));
    transform.SetTranslation(shr::Vec3d(1, 1, 1));
    transformManip->translation.setValue(7, 7, 7);
    transform.SetTranslation(shr::Vec3d(1, 1, 1));
    EXPECT_EQ(transformManip->translation.getValue(), SbVec3f(1, 1, 1));
}

// A drag of the light's own handle is folded into the position: the handle's
// offset counts times the handle's scale, and writing the position puts the
// offset back to zero.
TEST_F(DraggerTest, LightDragReadsTheHandleOffsetAndSendsBothEvents)
{
    core::VgDirectionalLightDragger light(shr::Vec3d(0, 0, -1));
    Recorder recorder;
    light.Callback(&Recorder::Callback, &recorder);
    light.SetScale(shr::Vec3d(2, 2, 2));
    light.SetPosition(shr::Vec3d(10, 0, 0));
    ASSERT_TRUE(recorder.events.empty()) << "the set-up fires the handle, but nothing moved it";

    auto* manip = static_cast<SoDirectionalLightManip*>(AsGroup(light.GetNode())->getChild(1));
    SoDragger* handle = manip->getDragger();
    auto* offset = static_cast<SoSFVec3f*>(handle->getField("translation"));
    ASSERT_NE(offset, nullptr);
    offset->setValue(1, 2, 3);
    ASSERT_FALSE(recorder.events.empty());
    EXPECT_EQ(recorder.events.back(), VgDragger::CHANGED);
    EXPECT_EQ(light.Position(), shr::Vec3d(12, 4, 6));
    EXPECT_FALSE(light.InCallback());

    DragRelay::Finish(handle);
    EXPECT_EQ(recorder.events.back(), VgDragger::FINISHED);

    light.SetPosition(shr::Vec3d(20, 0, 0));
    EXPECT_EQ(offset->getValue(), SbVec3f(0, 0, 0));
    auto* transformNode = static_cast<SoTransform*>(AsGroup(light.GetNode())->getChild(0));
    EXPECT_EQ(transformNode->translation.getValue(), SbVec3f(20, 0, 0));

    // No callback, no events; an exception from a callback lowers the flag.
    recorder.events.clear();
    light.RemoveCallback();
    offset->setValue(1, 1, 1);
    EXPECT_TRUE(recorder.events.empty());
    light.Callback([](VgDragger::Event, const VgDragger*, void*) { throw std::runtime_error("view"); }, nullptr);
    EXPECT_THROW(DragRelay::Finish(handle), std::runtime_error);
    EXPECT_FALSE(light.InCallback());
}

TEST_F(DraggerTest, ClipPlaneReadsItsPlaneOnMotion)
{
    core::VgClipPlaneDragger clip;
    Recorder recorder;
    clip.Callback(&Recorder::Callback, &recorder);
    // Placing the handle moves the manipulator, whose own motion brings the
    // plane along.
    clip.SetValue(shr::Box3d(0, 0, 0, 10, 10, 10), shr::Vec3d(1, 0, 0), 0.7);
    EXPECT_NEAR(clip.Plane().GetNormal().x, 1.0, 1e-6);
    recorder.events.clear();
    auto* manip = static_cast<SoClipPlaneManip*>(clip.GetNode().get());
    static_cast<SoSFVec3f*>(manip->getDragger()->getField("translation"))->setValue(0, 0, 2);
    ASSERT_FALSE(recorder.events.empty());
    const SbPlane& plane = manip->plane.getValue();
    EXPECT_FLOAT_EQ(static_cast<float>(clip.Plane().GetDistance()), plane.getDistanceFromOrigin());
}

// ---- DraggerNode -----------------------------------------------------------

// A module stand-in: records what the mix-in asks of it.
class JackNode : public core::DraggerNode<core::VgJackDragger> {
public:
    using DraggerNode::ConstructDragger;
    using DraggerNode::DestroyDragger;
    using DraggerNode::m_DraggerMustFollow;

    std::vector<shr::Vec3d> changes;
    int finishes = 0;
    int destroys = 0;
    int follows = 0;
    shr::Vec3d value = shr::Vec3d(5, 0, 0);
    bool throwOnFollow = false;

private:
    std::shared_ptr<core::VgJackDragger> ConstructDraggerImpl() override
    {
        return std::make_shared<core::VgJackDragger>();
    }
    void DestroyDraggerImpl() override { ++destroys; }
    void DraggerChangedImpl(const core::VgJackDragger& dragger) override
    {
        changes.push_back(dragger.Translation());
    }
    void DraggerFinishedImpl() override { ++finishes; }
    void UpdateDraggerFromNodeImpl(core::VgJackDragger& dragger) override
    {
        ++follows;
        EXPECT_TRUE(DraggerCallbackBlocked());
        dragger.SetTranslation(value); // fires the jack's own callbacks
        if (throwOnFollow)
            throw std::runtime_error("follow");
    }
};

SoJackDragger* JackOf(const JackNode& node)
{
    return static_cast<SoJackDragger*>(node.CurrentDragger()->GetNode().get());
}

TEST_F(DraggerTest, NodeTakesMotionLiveAndFinishesOnceOnRelease)
{
    JackNode node;
    EXPECT_FALSE(node.CurrentDragger());
    node.ConstructDragger();
    ASSERT_TRUE(node.CurrentDragger());

    // A release with no motion before it finishes nothing.
    DragRelay::Finish(JackOf(node));
    EXPECT_EQ(node.finishes, 0);

    JackOf(node)->translation.setValue(1, 0, 0);
    JackOf(node)->translation.setValue(2, 0, 0);
    ASSERT_GE(node.changes.size(), 2u);
    EXPECT_EQ(node.changes.back(), shr::Vec3d(2, 0, 0));
    EXPECT_TRUE(node.DraggerChangedFromGUI());
    EXPECT_EQ(node.finishes, 0) << "re-execution waits for the release";

    DragRelay::Finish(JackOf(node));
    DragRelay::Finish(JackOf(node));
    EXPECT_EQ(node.finishes, 1);
    EXPECT_FALSE(node.DraggerChangedFromGUI());

    node.DestroyDragger();
    node.DestroyDragger();
    EXPECT_EQ(node.destroys, 1);
    EXPECT_FALSE(node.CurrentDragger());
}

TEST_F(DraggerTest, NodeFollowsTheModuleWithItsCallbacksBlocked)
{
    JackNode node;
    node.UpdateDraggerFromNode(); // no dragger: nothing
    node.ConstructDragger();
    node.UpdateDraggerFromNode();
    EXPECT_EQ(node.follows, 0) << "nothing to follow";

    node.m_DraggerMustFollow = true;
    node.UpdateDraggerFromNode();
    EXPECT_EQ(node.follows, 1);
    EXPECT_FALSE(node.m_DraggerMustFollow);
    EXPECT_EQ(JackOf(node)->translation.getValue(), SbVec3f(5, 0, 0));
    EXPECT_TRUE(node.changes.empty()) << "the dragger's own events during the update are dropped";
    EXPECT_FALSE(node.DraggerCallbackBlocked());

    node.m_DraggerMustFollow = true;
    node.throwOnFollow = true;
    node.value = shr::Vec3d(6, 0, 0);
    EXPECT_THROW(node.UpdateDraggerFromNode(), std::runtime_error);
    EXPECT_FALSE(node.DraggerCallbackBlocked());
    EXPECT_FALSE(node.m_DraggerMustFollow);
}

TEST_F(DraggerTest, NodeAddsAPickableDraggerAndFollowsOnBoundingBox)
{
    JackNode node;
    core::VgRenderer renderer{core::SceneTransform()};
    InvSmartPtr<SoGroup> group(new SoSeparator);
    renderer.PushNode(group);
    node.AddDraggerToScene(renderer);
    EXPECT_EQ(group->getNumChildren(), 0) << "no dragger, nothing added";

    node.ConstructDragger();
    node.AddDraggerToScene(renderer);
    ASSERT_EQ(group->getNumChildren(), 4);
    EXPECT_TRUE(group->getChild(0)->isOfType(SoCallback::getClassTypeId()));
    EXPECT_EQ(static_cast<SoPickStyle*>(group->getChild(1))->style.getValue(), SoPickStyle::SHAPE);
    EXPECT_EQ(group->getChild(2), node.CurrentDragger()->GetNode().get());
    EXPECT_EQ(static_cast<SoPickStyle*>(group->getChild(3))->style.getValue(), SoPickStyle::UNPICKABLE);

    node.m_DraggerMustFollow = true;
    node.value = shr::Vec3d(100, 0, 0);
    SoGetBoundingBoxAction measure{SbViewportRegion()};
    measure.apply(group.get());
    EXPECT_EQ(node.follows, 1);
    const SbBox3f box = measure.getBoundingBox();
    ASSERT_FALSE(box.isEmpty());
    EXPECT_GT(box.getMax()[0], 99.0f) << "the box holds the dragger where it now is";
    renderer.popState();
}

} // namespace
