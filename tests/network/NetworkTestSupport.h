#pragma once
// Test modules, data and a recording host proxy for the network tests. Passes
// run for real on the update thread; tests wait with WaitUntilDone before they
// look, as a host does before it draws.
#include "core/data/VdData.h"
#include "core/data/VdGeometry.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Exception.h"

#include "NetworkFixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace nettest {

using core::VoModule;

// A data object of any kind, for port-type tests.
class TestData : public core::VdData {
    SHR_DECLARE_CREATABLE_TYPE(TestData)
public:
    explicit TestData(unsigned int type = core::PortUniformLattice) : m_Type(type) {}
    unsigned int GetType() const override { return m_Type; }
    const char* GetTypeName() const override { return "Test data"; }

private:
    unsigned int m_Type;
};

class TestPropList : public core::SimplePropertyCollection {};

// Records what the library tells the host; calls come from both threads.
class RecordingProxy : public testsupport::ErrorProxy {
public:
    void PushProgress(const char* text, bool flag) override { Record(std::string("push:") + text + (flag ? ":1" : ":0")); }
    void PopProgress() override { Record("pop"); }
    void ProgressText(const char* text) override { Record(std::string("text:") + text); }
    void Progress(double fraction) override
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        fractions.push_back(fraction);
    }
    void BeforeUpdate() override { ++beforeUpdates; }
    void AfterUpdate() override { ++afterUpdates; }

    std::vector<std::string> events;
    std::vector<double> fractions;
    std::atomic<int> beforeUpdates{0};
    std::atomic<int> afterUpdates{0};

private:
    void Record(std::string event)
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        events.push_back(std::move(event));
    }
};

// What a test module does when it runs.
struct Behaviour {
    VoModule::ModuleStatus result = VoModule::ModuleOk;
    bool throwShared = false;
    bool throwStd = false;
    bool runUntilAborted = false; // computes until VbProgress says stop
    int slowSteps = 0;            // steps of progress, each a short sleep
    bool waitInPass = false;      // calls WaitUntilDone from the update thread
};

enum class Output { None, Geometry, HeaderGeometry, Data };

// The order in which modules executed during the latest passes, by name.
std::vector<std::string>& ExecutionLog();

class TestModule : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(TestModule)
public:
    static const core::VbModuleInfo s_ModuleInfo;
    const core::VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    explicit TestModule(const char* name = "", int inputs = 1, Output output = Output::Geometry,
                        unsigned int inputType = 63);

    using VoModule::AddOutput;
    using VoModule::Connect;
    using VoModule::Disconnect;
    using VoModule::GetInputData;
    using VoModule::GetOutputData;
    using VoModule::SetGeomFilter;
    using VoModule::Update;

    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(core::VbPropList& list, const core::VbPropertyEvent& event) override;

    Behaviour behaviour;
    int executions = 0;
    std::vector<int> inputChanges;
    int lastPropertyId = -100;
    std::atomic<bool> started{false};

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<core::VgRenderer> renderer) override;
};

// Installs a recording proxy, starts the network, and leaves it empty.
class NetworkTest : public testsupport::NetworkFixture {
protected:
    void SetUp() override;
    void TearDown() override;

    // Adds a module made with `args` and returns it (owned by the network).
    template <class... Args>
    TestModule* Add(Args&&... args)
    {
        return NetworkFixture::Add(new TestModule(std::forward<Args>(args)...));
    }
    // Children of the scene root, as the switches they are.
    std::vector<SoNode*> RootChildren() const;

    std::unique_ptr<RecordingProxy> proxy;
};

} // namespace nettest
