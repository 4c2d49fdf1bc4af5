#include "ScriptedModule.h"

#include "core/data/VdGeometry.h"
#include "core/network/VbModuleConnection.h"

#include <list>

using namespace core;
using namespace testsupport;

namespace {

using ModuleTimeStampTest = ScriptedNetworkTest;

TEST_F(ModuleTimeStampTest, ModulesRunOnceAndThenOnlyAfterAChangeUpstream)
{
    TestModule* source = Add("Source", 0, Output::Data);
    TestModule* a = Add("A", 1);
    TestModule* b = Add("B", 1);
    TestModule* other = Add("Other", 0);
    Link(a, source);
    Link(b, source);
    RunPass();
    // Visited through A and again through B, executed once.
    EXPECT_EQ((std::vector<std::string>{"Source", "A", "B", "Other"}), ExecutionLog());
    EXPECT_EQ(VoModule::ModuleOk, source->GetStatus());
    RunPass();
    EXPECT_EQ(1, source->executions) << "an unchanged module must not run again";
    source->SetModified();
    EXPECT_EQ(VoModule::ModuleStale, source->GetStatus());
    RunPass();
    EXPECT_EQ(2, source->executions);
    EXPECT_EQ(2, b->executions);
    EXPECT_EQ(1, other->executions);
}

TEST_F(ModuleTimeStampTest, CachedOutputSkipsOneExecutionAndTriggersConsumers)
{
    TestModule* source = Add("Source", 0, Output::Data);
    TestModule* consumer = Add("Consumer", 1);
    Link(consumer, source);
    VdData* restored = source->GetOutputData(0);
    source->SetCachedOutput(true);
    consumer->inputChanges.clear();
    RunPass();
    EXPECT_EQ(0, source->executions);
    EXPECT_EQ(1, consumer->executions);
    EXPECT_EQ(restored, source->GetOutputData(0));
    EXPECT_EQ((std::vector<int>{0}), consumer->inputChanges) << "consumers are told of the restored output";
    EXPECT_FALSE(source->IsCachingOutput());
    source->SetModified();
    RunPass();
    EXPECT_EQ(1, source->executions);
}

TEST_F(ModuleTimeStampTest, AbortedModuleRunsAgainAndStopsThePass)
{
    TestModule* source = Add("Source", 0, Output::Data);
    TestModule* consumer = Add("Consumer", 1);
    TestModule* later = Add("Later", 0);
    Link(consumer, source);
    source->behaviour.result = VoModule::ModuleAborted;
    RunPass();
    EXPECT_EQ(VoModule::ModuleAborted, source->GetStatus());
    EXPECT_EQ(0, consumer->executions) << "consumers keep their old output";
    EXPECT_EQ(0, later->executions) << "a false Update stops the pass";
    EXPECT_EQ(0, proxy->afterUpdates);

    source->behaviour.result = VoModule::ModuleOk;
    RunPass();
    EXPECT_EQ(2, source->executions) << "nothing changed, yet the aborted module runs";
    EXPECT_EQ(1, consumer->executions);
    EXPECT_EQ(1, later->executions);
    EXPECT_EQ(1, proxy->afterUpdates);
}

TEST_F(ModuleTimeStampTest, FailuresAreReported)
{
    TestModule* source = Add("Source", 0, Output::Data);
    TestModule* consumer = Add("Consumer", 1);
    Link(consumer, source);
    source->behaviour.throwShared = true;
    RunPass();
    EXPECT_EQ(VoModule::ModuleFailed, source->GetStatus());
    EXPECT_EQ(1, consumer->executions) << "a failed module does not stop the pass";
    EXPECT_EQ((std::vector<std::string>{"Source failed"}), proxy->Errors());
    RunPass();
    EXPECT_EQ(1, source->executions) << "a failed module waits for a change";

    // A standard exception ends the pass, but not the thread.
    proxy->Clear();
    const int completed = proxy->afterUpdates;
    TestModule* broken = Add("Broken", 0);
    broken->behaviour.throwStd = true;
    RunPass();
    EXPECT_EQ(VoModule::ModuleFailed, broken->GetStatus());
    EXPECT_EQ((std::vector<std::string>{"Unhandled STL exception: broken"}), proxy->Errors());
    EXPECT_EQ(completed, proxy->afterUpdates);
    broken->behaviour.throwStd = false;
    broken->SetModified();
    RunPass();
    EXPECT_EQ(VoModule::ModuleOk, broken->GetStatus());
    EXPECT_EQ(completed + 1, proxy->afterUpdates);
}

using ModuleLinkTest = ScriptedNetworkTest;

TEST_F(ModuleLinkTest, ConnectReplacesTheLinkOfAnInput)
{
    TestModule* first = Add("First", 0, Output::Data);
    TestModule* second = Add("Second", 0, Output::Data);
    TestModule* consumer = Add("Consumer", 1);
    Link(consumer, first);
    Link(consumer, second);
    EXPECT_TRUE(first->GetOutput(0)->empty());
    EXPECT_TRUE(second->Connected(0, *consumer, 0));
    EXPECT_EQ(1u, consumer->GetInput(0)->size());
    EXPECT_EQ(second->GetOutputData(0), consumer->GetInputData(0));

    Link(consumer, nullptr);
    EXPECT_TRUE(consumer->GetInput(0)->empty());
    EXPECT_TRUE(second->GetOutput(0)->empty());
    EXPECT_EQ(nullptr, consumer->GetInputData(0));
}

TEST_F(ModuleLinkTest, DeletingAMiddleModuleMarksOnlyDownstreamModified)
{
    TestModule* source = Add("Source", 0, Output::Data);
    TestModule* middle = Add("Middle", 1, Output::Data);
    TestModule* sink = Add("Sink", 1);
    Link(middle, source);
    Link(sink, middle);
    RunPass();
    sink->inputChanges.clear();

    std::unique_ptr<VoModule> removed = network().DeleteNode(middle, false);
    ASSERT_EQ(middle, removed.get());
    EXPECT_TRUE(source->GetOutput(0)->empty());
    EXPECT_TRUE(sink->GetInput(0)->empty());
    EXPECT_TRUE(middle->GetInput(0)->empty());
    EXPECT_EQ((std::vector<int>{0}), sink->inputChanges);
    EXPECT_EQ(VoModule::ModuleStale, sink->GetStatus());
    EXPECT_EQ(VoModule::ModuleOk, source->GetStatus());
    EXPECT_EQ(VoModule::ModuleOk, middle->GetStatus()) << "Disconnect does not mark the module itself";

    // Connections are listed from both sides.
    TestModule* math = Add("Math", 2);
    Link(math, source, 1);
    const std::list<VbModuleConnection> link{{source->Id(), 0, math->Id(), 1}};
    std::list<VbModuleConnection> links;
    math->EnumerateConnections(links, true, true);
    EXPECT_EQ(link, links);
    source->EnumerateConnections(links, false, true);
    EXPECT_EQ(link, links);
    source->EnumerateConnections(links, true, false);
    EXPECT_TRUE(links.empty());
}

TEST(ModuleCompatibleTest, PortTypesAndDataKinds)
{
    struct Case {
        unsigned int outputMask;
        unsigned int dataKind; // 0: the port holds no data
        unsigned int inputMask;
        bool useData;
        bool expected;
    };
    const Case cases[] = {
        {14, PortUniformLattice, PortRectilinearLattice, true, false}, // the data's kind stands for the mask
        {14, PortUniformLattice, PortRectilinearLattice, false, true},
        {14, 0, PortRectilinearLattice, true, true},
        {PortPoints, 0, 14, false, false},
        {63, PortGeometry, PortGeometry, true, true},
    };
    for (const Case& c : cases) {
        TestModule source("", 0, Output::None);
        VbPort* port = source.AddOutput("Output Data", c.outputMask);
        if (c.dataKind)
            port->Data(new TestData(c.dataKind));
        TestModule destination("", 1, Output::None, c.inputMask);
        EXPECT_EQ(c.expected, destination.Compatible(0, &source, 0, c.useData))
            << "output " << c.outputMask << " data " << c.dataKind << " input " << c.inputMask;
    }
    TestModule source("", 0, Output::Data);
    TestModule destination("", 1, Output::None);
    EXPECT_FALSE(destination.Compatible(0, nullptr, 0, false));
    EXPECT_FALSE(destination.Compatible(1, &source, 0, false));
    EXPECT_FALSE(destination.Compatible(0, &source, 1, false));
    EXPECT_FALSE(destination.Compatible(-1, &source, 0, false));
}

TEST(ModuleDataTest, TypedAccessAndOutputGeometry)
{
    TestModule source("", 0, Output::Data);
    TestModule consumer("", 1, Output::None);
    consumer.Connect(&source, 0, false);
    EXPECT_EQ(source.GetOutputData(0), consumer.GetInputData(0, TestData::GetClassTypeId()));
    EXPECT_EQ(nullptr, consumer.GetInputData(0, VdGeometry::GetClassTypeId()));
    EXPECT_EQ(source.GetOutputData(0), source.GetOutputData(0, VdGeometry::GetClassTypeId()))
        << "the output's type argument is ignored";
    EXPECT_EQ(nullptr, consumer.GetInputData(3));
    for (size_t output : {0, 5})
        EXPECT_EQ("Core: Invalid output geometry.", RaisedText([&] { source.OutputGeometry(output); })) << output;
    EXPECT_THROW(consumer.Connect(&source, 4, false), shr::Exception);
}

TEST(PortTest, DataReferencesAndConnectionLists)
{
    VdData* data = new TestData;
    data->AddRef(); // the test's own hold
    {
        VbPort port("Output Data", 2, data);
        port.Data(data); // the same object again keeps it alive
        TestModule a, b;
        port.AddConnection(&a, 0);
        port.AddConnection(&b, 1);
        port.AddConnection(&a, 0);
        port.RemoveConnection(&a, 0);
        ASSERT_EQ(2u, port.size());
        EXPECT_EQ(&b, port.GetConnectedModule(0));
        EXPECT_EQ(&a, port.GetConnectedModule(1));
        EXPECT_EQ(nullptr, port.GetConnection(2));
        port.RemoveConnection(&b, 0); // absent: nothing
        EXPECT_EQ(2u, port.size());
        port.GetConnections().clear(); // the modules go before the port
    }
    data->DecRef(); // the last reference: gone (checked by the address sanitizer)
}

TEST(ModulePersistenceTest, RoundTripWithAndWithoutLinks)
{
    TestModule source("Source", 0, Output::Data);
    TestModule consumer("Consumer", 1, Output::Geometry);
    consumer.Connect(&source, 0, false);
    consumer.ShowGeometry(false, false);
    std::vector<unsigned char> bytes;
    {
        shr::Archive out(bytes);
        shr::CTypedObject* object = &consumer;
        out.TransferObject(object);
    }
    shr::Archive in(bytes.data(), bytes.size());
    shr::CTypedObject* object = nullptr;
    in.TransferObject(object);
    std::unique_ptr<TestModule> loaded(dynamic_cast<TestModule*>(object));
    ASSERT_TRUE(loaded);
    std::unique_ptr<VoModule> loadedSource(loaded->GetInputConnection(0, 0));
    ASSERT_TRUE(loadedSource);
    EXPECT_EQ("Consumer", loaded->Name());
    EXPECT_EQ("Source", loadedSource->Name());
    EXPECT_FALSE(loaded->IsGeometryVisible());
    EXPECT_EQ(VoModule::ModuleStale, loaded->GetStatus());
    EXPECT_TRUE(loadedSource->Connected(0, *loaded, 0));

    // Without the connections flag no links are stored.
    bool links = false;
    bytes.clear();
    {
        shr::Archive out(bytes);
        out.ConnectionsFlag = &links;
        consumer.Serialize(out);
    }
    TestModule alone("", 1, Output::Geometry);
    EXPECT_EQ(0u, Load(alone, bytes));
    EXPECT_EQ("Consumer", alone.Name());
    EXPECT_TRUE(alone.GetInput(0)->empty());
}

// Documents before version 113 have no port counts: the module's own ports
// decide how many link counts follow.
TEST(ModulePersistenceTest, Version112HasNoPortCounts)
{
    std::vector<unsigned char> bytes;
    {
        shr::Archive out(bytes, "", 112);
        out.SyncCheck();
        int32_t status = VoModule::ModuleOk;
        out.Transfer(status);
        std::string name = "Old";
        out.Transfer(name);
        bool show = true, filter = false;
        out.Transfer(show);
        out.Transfer(filter);
        for (uint32_t count : {0u, 1u}) { // input links
            out.Transfer(count);
            if (count) {
                shr::CTypedObject* none = nullptr;
                out.TransferObject(none);
                int32_t port = 7;
                out.Transfer(port);
            }
        }
        uint32_t outputLinks = 0;
        out.Transfer(outputLinks);
    }
    TestModule loaded("", 2, Output::Data);
    EXPECT_EQ(0u, Load(loaded, bytes));
    EXPECT_EQ("Old", loaded.Name());
    EXPECT_EQ(VoModule::ModuleOk, loaded.GetStatus());
    EXPECT_FALSE(loaded.IsGeomFilter());
    ASSERT_EQ(1u, loaded.GetInput(1)->size());
    EXPECT_EQ(7, loaded.GetInput(1)->GetConnection(0)->port);
    EXPECT_EQ(nullptr, loaded.GetInputData(1));

    // More ports than the module has, or a truncated stream, is an error.
    TestModule wide("", 3, Output::None), narrow("", 1, Output::None);
    bytes = Store(wide);
    EXPECT_THROW(Load(narrow, bytes), shr::Exception);
    EXPECT_THROW(Load(wide, bytes, 3), shr::Exception);
}

} // namespace
