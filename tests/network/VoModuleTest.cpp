#include "ScriptedModule.h"

#include "core/data/VdGeometry.h"
#include "core/network/VbModuleConnection.h"

#include <list>
#include <tuple>

using namespace core;
using namespace testsupport;

namespace {

using ModuleTimeStampTest = ScriptedNetworkTest;

TEST_F(ModuleTimeStampTest, CachedAbortedAndFailedSources)
{
    TestModule* source = Add("Source", 0, Output::Data);
    TestModule* consumer = Add("Consumer", 1);
    Link(consumer, source);
    // A cached output skips one execution and triggers the consumers.
    VdData* restored = source->GetOutputData(0);
    source->SetCachedOutput(true);
    consumer->inputChanges.clear();
    RunPass();
    EXPECT_EQ(0, source->executions);
    EXPECT_EQ(1, consumer->executions);
    EXPECT_EQ(restored, source->GetOutputData(0));
    EXPECT_EQ((std::vector<int>{0}), consumer->inputChanges) << "consumers are told of the restored output";
    EXPECT_FALSE(source->IsCachingOutput());

    // An abort stops the pass.
    TestModule* later = Add("Later", 0);
    source->behaviour.result = VoModule::ModuleAborted;
    source->SetModified();
    RunPass();
    EXPECT_EQ(1, source->executions);
    EXPECT_EQ(VoModule::ModuleAborted, source->GetStatus());
    EXPECT_EQ(1, consumer->executions) << "consumers keep their old output";
    EXPECT_EQ(0, later->executions) << "a false Update stops the pass";
    EXPECT_EQ(1, proxy->afterUpdates);

    // Nothing changed, yet the aborted module runs; this time it fails.
    source->behaviour.result = VoModule::ModuleOk;
    source->behaviour.throwShared = true;
    RunPass();
    EXPECT_EQ(2, source->executions);
    EXPECT_EQ(VoModule::ModuleFailed, source->GetStatus());
    EXPECT_EQ(2, consumer->executions) << "a failed module does not stop the pass";
    EXPECT_EQ(1, later->executions);
    EXPECT_EQ(2, proxy->afterUpdates);
    EXPECT_EQ((std::vector<std::string>{"Source failed"}), proxy->Errors());
    RunPass();
    EXPECT_EQ(2, source->executions) << "a failed module waits for a change";

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
    EXPECT_EQ(completed + 1, proxy->afterUpdates) << "the thread goes on";
}

using ModuleLinkTest = ScriptedNetworkTest;

TEST_F(ModuleLinkTest, LinksAreReplacedAndRemovedOnBothEnds)
{
    TestModule* first = Add("First", 0, Output::Data);
    TestModule* source = Add("Source", 0, Output::Data);
    TestModule* middle = Add("Middle", 1, Output::Data);
    TestModule* sink = Add("Sink", 1, Output::Data);
    Link(sink, first);
    Link(sink, nullptr);
    EXPECT_TRUE(sink->GetInput(0)->empty());
    EXPECT_TRUE(first->GetOutput(0)->empty());
    EXPECT_EQ(nullptr, sink->GetInputData(0));
    Link(middle, first);
    Link(middle, source);
    EXPECT_TRUE(first->GetOutput(0)->empty()) << "a new link replaces the input's old one";
    EXPECT_EQ(1u, middle->GetInput(0)->size());
    EXPECT_EQ(source->GetOutputData(0), middle->GetInputData(0));

    Link(sink, middle);
    EXPECT_TRUE(network().PathExists(*source, *sink));
    EXPECT_FALSE(network().PathExists(*sink, *source));
    EXPECT_FALSE(network().PathExists(*middle, *middle));
    EXPECT_FALSE(network().ConnectNodes(*middle, sink, 0, true)) << "a cycle is refused and changes nothing";
    EXPECT_FALSE(network().ConnectNodes(*middle, middle, 0, true));
    EXPECT_EQ(source->GetOutputData(0), middle->GetInputData(0));
    EXPECT_TRUE(sink->GetOutput(0)->empty());

    // Deleting the middle module marks only what is downstream modified.
    RunPass();
    sink->inputChanges.clear();

    std::unique_ptr<VoModule> removed = network().DeleteNode(middle, false);
    ASSERT_EQ(middle, removed.get());
    EXPECT_TRUE(source->GetOutput(0)->empty());
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

// Compatible, and typed access to the data of linked ports.
TEST(ModulePortTest, CompatibilityAndTypedData)
{
    // (output mask, data kind (0: none), input mask, use the data, compatible)
    const std::tuple<unsigned int, unsigned int, unsigned int, bool, bool> cases[] = {
        {14, PortUniformLattice, PortRectilinearLattice, true, false}, // the data's kind stands for the mask
        {14, PortUniformLattice, PortRectilinearLattice, false, true},
        {14, 0, PortRectilinearLattice, true, true},
        {PortPoints, 0, 14, false, false},
        {63, PortGeometry, PortGeometry, true, true},
    };
    for (const auto& [outputMask, kind, inputMask, useData, expected] : cases) {
        TestModule source("", 0, Output::None);
        VbPort* port = source.AddOutput("Output Data", outputMask);
        if (kind)
            port->Data(new TestData(kind));
        TestModule destination("", 1, Output::None, inputMask);
        EXPECT_EQ(expected, destination.Compatible(0, &source, 0, useData))
            << "output " << outputMask << " data " << kind << " input " << inputMask;
    }
    TestModule source("", 0, Output::Data);
    TestModule consumer("", 1, Output::None);
    for (const auto& ports : {std::pair<int, int>{1, 0}, {0, 1}, {-1, 0}})
        EXPECT_FALSE(consumer.Compatible(ports.first, &source, ports.second, false)) << ports.first << ports.second;
    EXPECT_FALSE(consumer.Compatible(0, nullptr, 0, false));

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

TEST(ModulePersistenceTest, RoundTripWithAndWithoutLinks)
{
    TestModule source("Source", 0, Output::Data);
    TestModule consumer("Consumer", 1, Output::Geometry);
    consumer.Connect(&source, 0, false);
    consumer.ShowGeometry(false, false);
    std::unique_ptr<TestModule> loaded = LoadObject<TestModule>(StoreObject(&consumer));
    ASSERT_TRUE(loaded);
    std::unique_ptr<VoModule> loadedSource(loaded->GetInputConnection(0, 0));
    ASSERT_TRUE(loadedSource);
    EXPECT_EQ("Source", loadedSource->Name());
    EXPECT_FALSE(loaded->IsGeometryVisible());
    EXPECT_EQ(VoModule::ModuleStale, loaded->GetStatus());

    // Without the connections flag no links are stored.
    TestModule alone("", 1, Output::Geometry);
    EXPECT_EQ(0u, Load(alone, StoreUnlinked(consumer)));
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
        Put(out, int32_t(VoModule::ModuleOk), std::string("Old"), true, false, uint32_t(0), uint32_t(1));
        shr::CTypedObject* none = nullptr; // the second input's one link: no module, port 7
        out.TransferObject(none);
        Put(out, int32_t(7), uint32_t(0)); // and no output links
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
