#pragma once
// A module whose behaviour a test scripts (result, failure, slow progress,
// abort), the data it offers, and a host proxy that records what the library
// tells the host. Passes run for real on the update thread; tests wait with
// WaitUntilDone before they look, as a host does before it draws.
#include "NetworkFixture.h"

#include "core/data/VdData.h"
#include "core/network/VoModule.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class SoNode;

namespace testsupport {

// A data object of any port kind.
class TestData : public core::VdData {
    SHR_DECLARE_CREATABLE_TYPE(TestData)
public:
    explicit TestData(unsigned int type = core::PortUniformLattice) : m_Type(type) {}
    unsigned int GetType() const override { return m_Type; }
    const char* GetTypeName() const override { return "Test data"; }

private:
    unsigned int m_Type;
};

// Records progress, pass callbacks and errors; calls come from both threads.
class RecordingProxy : public ErrorProxy {
public:
    void PushProgress(const char* text, bool flag) override { Record(std::string("push:") + text + (flag ? ":1" : ":0")); }
    void PopProgress() override { Record("pop"); }
    void ProgressText(const char* text) override { Record(std::string("text:") + text); }
    void Progress(double fraction) override;
    void BeforeUpdate() override { ++beforeUpdates; }
    void AfterUpdate() override { ++afterUpdates; }

    std::vector<std::string> events;
    std::vector<double> fractions;
    std::atomic<int> beforeUpdates{0};
    std::atomic<int> afterUpdates{0};

private:
    void Record(std::string event);
};

// What a scripted module does when it runs.
struct Behaviour {
    core::VoModule::ModuleStatus result = core::VoModule::ModuleOk;
    bool throwShared = false;
    bool throwStd = false;
    bool runUntilAborted = false; // computes until VbProgress says stop
    int slowSteps = 0;            // steps of progress, each a short sleep
    bool waitInPass = false;      // calls WaitUntilDone from the update thread
};

enum class Output { None, Geometry, HeaderGeometry, Data };

// The names of the modules executed in the latest passes, in order.
std::vector<std::string>& ExecutionLog();

class TestModule : public core::VoModule {
    SHR_DECLARE_CREATABLE_TYPE(TestModule)
public:
    static const core::VbModuleInfo s_ModuleInfo;
    const core::VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    explicit TestModule(const char* name = "", int inputs = 1, Output output = Output::Geometry,
                        unsigned int inputType = 63);

    using VoModule::AddOutput;
    using VoModule::Connect;
    using VoModule::GetInputData;
    using VoModule::GetOutputData;
    using VoModule::SetGeomFilter;

    void OnInputChanged(int input, bool /*recalc*/) override { inputChanges.push_back(input); }
    void PropertyEvent(core::VbPropList& list, const core::VbPropertyEvent& event) override;

    Behaviour behaviour;
    int executions = 0;
    std::vector<int> inputChanges;
    int lastPropertyId = -100;
    std::atomic<bool> started{false};

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<core::VgRenderer> renderer) override;
};

// Checks that every link of the network's modules appears on both its ends.
void ExpectConsistentLinks(const core::VoNetwork& network);

// A started, empty network with a recording proxy installed.
class ScriptedNetworkTest : public ProxyNetworkTest<RecordingProxy> {
protected:
    void SetUp() override;

    template <class... Args>
    TestModule* Add(Args&&... args)
    {
        return NetworkFixture::Add(new TestModule(std::forward<Args>(args)...));
    }
    // The children of the scene root.
    std::vector<SoNode*> RootChildren() const;
};

} // namespace testsupport
