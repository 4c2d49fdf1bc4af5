#include "ScriptedModule.h"

#include "core/network/VbProgress.h"
#include "core/data/VdGeometry.h"
#include "core/properties/VbPropertyEvent.h"

#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoSwitch.h>

#include <thread>

using namespace core;
using namespace testsupport;

namespace {

SoNode* RootOf(TestModule* module) { return module->OutputGeometry(0).GetRoot().get(); }

using PassTest = ScriptedNetworkTest;

TEST_F(PassTest, SinksRunInListOrderUpstreamInPortOrderAndOnlyAfterAChange)
{
    TestModule* sinkA = Add("SinkA", 2);
    TestModule* left = Add("Left", 0, Output::Data);
    TestModule* right = Add("Right", 0, Output::Data);
    TestModule* sinkB = Add("SinkB", 1);
    Link(sinkA, right, 0);
    Link(sinkA, left, 1);
    Link(sinkB, left, 0);
    RunPass();
    // Left is visited through both sinks and executed once.
    EXPECT_EQ((std::vector<std::string>{"Right", "Left", "SinkA", "SinkB"}), ExecutionLog());
    RunPass();
    EXPECT_EQ(1, left->executions) << "an unchanged module must not run again";
    left->SetModified();
    EXPECT_EQ(VoModule::ModuleStale, left->GetStatus());
    RunPass();
    EXPECT_EQ(2, left->executions);
    EXPECT_EQ(2, sinkB->executions);
    EXPECT_EQ(1, right->executions) << "only what is downstream of the change runs";
}

TEST_F(PassTest, RootHoldsHeadersFirstAndHidesFilteredGeometry)
{
    TestModule* plain = Add("Plain", 0, Output::Geometry);
    TestModule* light = Add("Light", 0, Output::HeaderGeometry);
    TestModule* filtered = Add("Filtered", 0, Output::Geometry);
    TestModule* clip = Add("Clip", 1, Output::Geometry);
    TestModule* looked = Add("Looked", 0, Output::Geometry);
    TestModule* box = Add("Box", 1, Output::Geometry);
    TestModule* environment = Add("Environment", 0, Output::HeaderGeometry);
    box->SetGeomFilter(false);
    Link(clip, filtered);
    Link(box, looked);
    RunPass();
    // Headers are inserted at the front, the latest found first; the filter's
    // own output stands for what it consumes; the box does not hide what it looks at.
    EXPECT_EQ((std::vector<SoNode*>{RootOf(environment), RootOf(light), RootOf(plain), RootOf(clip), RootOf(looked),
                                    RootOf(box)}),
              RootChildren());
}

TEST_F(PassTest, EmptyNetworkGetsAnEmptyRootAndCallbacksLatestFirst)
{
    static std::vector<int> calls; // (code, tag) of each call
    calls.clear();
    auto callback = [](int code, void* tag) { calls.insert(calls.end(), {code, *static_cast<int*>(tag)}); };
    int one = 1, two = 2;
    network().AddCallback(callback, &one);
    network().AddCallback(callback, &two);
    RunPass();
    network().RemoveCallback(callback, &one);
    network().RemoveCallback(callback, &two);
    InvSmartPtr<SoSeparator> root = network().SceneRoot();
    ASSERT_TRUE(root);
    EXPECT_EQ(0, root->getNumChildren());
    EXPECT_EQ((std::vector<int>{1, 2, 1, 1}), calls);
    RunPass();
    EXPECT_EQ(4u, calls.size()) << "a removed callback is not called";
}

TEST_F(PassTest, AbortMidPassKeepsTheOldRootAndSkipsAfterUpdate)
{
    TestModule* first = Add("First", 0, Output::Geometry);
    RunPass();
    InvSmartPtr<SoSeparator> before = network().SceneRoot();

    TestModule* slow = Add("Slow", 0, Output::Geometry);
    slow->behaviour.runUntilAborted = true;
    first->SetModified();
    network().Update();
    while (!slow->started)
        std::this_thread::yield();
    network().AbortIfBusy(true);

    EXPECT_EQ(before.get(), network().SceneRoot().get());
    EXPECT_EQ(VoModule::ModuleAborted, slow->GetStatus());
    EXPECT_EQ(1, proxy->afterUpdates);
    EXPECT_TRUE(network().Aborted()) << "the flag stands until the next Update";
    proxy->events.clear();
    VbProgress progress("After", 0, -1, -1);
    EXPECT_FALSE(progress.Update(0.5));
    EXPECT_TRUE(proxy->events.empty()) << "an aborted computation shows nothing";

    slow->behaviour.runUntilAborted = false;
    RunPass();
    EXPECT_FALSE(network().Aborted());
    EXPECT_NE(before.get(), network().SceneRoot().get());
    EXPECT_EQ(2, proxy->afterUpdates);

    // The transform of a stopped pass is kept.
    network().SetTransformOnlyUseIfYouAreAUnitTest(SceneTransform(3.0, 4.0, true));
    slow->behaviour.result = VoModule::ModuleAborted;
    slow->SetModified();
    RunPass();
    EXPECT_EQ(3.0, network().Transform().XTransform());
}

TEST_F(PassTest, IdleTasksStartAPassOnlyWhenModified)
{
    LogCapture log;
    const auto idle = [this] {
        network().DoIdleTasks();
        network().WaitUntilDone(2000);
    };
    idle();
    TestModule* module = Add("Module", 0);
    EXPECT_TRUE(network().IsModified());
    network().SetAutoUpdate(false);
    idle();
    EXPECT_EQ(0, proxy->beforeUpdates);
    network().SetAutoUpdate(true);
    idle();
    EXPECT_EQ(1, module->executions);
    EXPECT_FALSE(network().IsModified());

    // WaitUntilDone on the update thread returns at once.
    module->behaviour.waitInPass = true;
    module->SetModified();
    RunPass(); // would never end if the wait blocked
    EXPECT_EQ(VoModule::ModuleOk, module->GetStatus());
    EXPECT_TRUE(log.Contains("Wrong thread in WaitUntilDone"));
}

using NodeTest = ScriptedNetworkTest;

TEST_F(NodeTest, IdsGoOnAfterTheCurrentIdAndLookUps)
{
    TestModule* first = Add("First");
    EXPECT_EQ(VbModuleId(1), first->Id());
    network().CurrentModuleId(VbModuleId(100));
    TestModule* next = Add("Next");
    EXPECT_EQ(VbModuleId(101), next->Id());
    EXPECT_EQ(nullptr, network().Node(VbModuleId(100)));
    EXPECT_THROW(network().CurrentModuleId(VbModuleId(50)), shr::Exception);

    auto restored = std::make_unique<TestModule>("Restored");
    restored->RefactorMeSetIdDirectly(VbModuleId(101));
    EXPECT_THROW(network().AddNode(restored.get(), false), shr::Exception);
    restored->RefactorMeSetIdDirectly(VbModuleId(7));
    EXPECT_EQ(VbModuleId(7), network().AddNode(restored.release(), false));
    EXPECT_THROW(network().AddNode(first, true), shr::Exception) << "a module is added once";

    network().DeleteAllNodes();
    EXPECT_TRUE(network().CurrentModuleId().IsBad());

    // Ids start again; look-ups by name, by module and by a node of its geometry.
    TestModule* a = Add("Twin", 0);
    EXPECT_EQ(VbModuleId(1), a->Id());
    TestModule* b = Add("Twin", 0);
    TestModule* c = Add("Other", 0);
    EXPECT_EQ(a, network().FindNode(shr::GString("Twin")));
    EXPECT_EQ(nullptr, network().FindNode(shr::GString("twin")));
    VbModuleId id(55);
    EXPECT_FALSE(network().FindNode(shr::GString("None"), id));
    EXPECT_TRUE(id.IsBad());
    EXPECT_TRUE(network().FindNode(shr::GString("Other"), id));
    EXPECT_EQ(c->Id(), id);
    EXPECT_EQ(1, network().FindNode(static_cast<const VoModule*>(b)));

    RunPass();
    SoSwitch* picked = static_cast<SoSwitch*>(RootOf(b));
    ASSERT_GT(picked->getNumChildren(), 0);
    EXPECT_EQ(b, network().FindNode(picked->getChild(0)));
    b->ShowGeometry(false, false);
    EXPECT_EQ(nullptr, network().FindNode(picked->getChild(0))) << "hidden modules are skipped";
}

TEST_F(NodeTest, ModifyNodeRoutesTheEventAndSignals)
{
    TestModule* module = Add("Module", 0);
    RunPass();
    int signals = 0;
    boost::signals2::scoped_connection connection = network().SlotModuleModified(
        [&](const VoModule& m, int property, bool rebuild) {
            EXPECT_EQ(module, &m);
            EXPECT_EQ(-1, property);
            EXPECT_TRUE(rebuild);
            ++signals;
        });
    network().ModifyNode(*module, list, VbPropertyEvent(12, 3.5), true, false);
    EXPECT_EQ(12, module->lastPropertyId);
    EXPECT_EQ(VoModule::ModuleStale, module->GetStatus());
    EXPECT_TRUE(network().IsModified());
    network().ModifyNode(*module, list, VbPropertyEvent(13, 1), false, true);
    EXPECT_EQ(13, module->lastPropertyId) << "restoring forwards to PropertyEvent by default";
    EXPECT_EQ(1, signals);
}

TEST_F(NodeTest, SettingsDoNotMarkTheNetworkModifiedAndTheTransformIsStored)
{
    network().VerticalExaggeration(2.5);
    EXPECT_FALSE(network().IsModified());
    network().VerticalExaggeration(1.0);
    network().SetTransformOnlyUseIfYouAreAUnitTest(SceneTransform(-12.5, 40.0, true));
    const std::vector<unsigned char> bytes = Store(network());
    network().SetTransformOnlyUseIfYouAreAUnitTest(SceneTransform());
    Load(network(), bytes);
    EXPECT_TRUE(network().Transform().Valid());
    EXPECT_EQ(-12.5, network().Transform().XTransform());
    EXPECT_EQ(40.0, network().Transform().YTransform());

    const std::vector<unsigned char> old = Store(network(), 113);
    network().SetTransformOnlyUseIfYouAreAUnitTest(SceneTransform(1.0, 2.0, true));
    Load(network(), old);
    EXPECT_EQ(1.0, network().Transform().XTransform()) << "version 113 carries no transform";
}

} // namespace
