#include "NetworkTestSupport.h"

#include <Inventor/nodes/SoSeparator.h>

#include <chrono>

namespace nettest {

SHR_IMPLEMENT_CREATABLE_TYPE(TestData, core::VdData)
SHR_IMPLEMENT_CREATABLE_TYPE(TestModule, core::VoModule)
const core::VbModuleInfo TestModule::s_ModuleInfo("Test Modules\\TestModule", TestModule::GetClassTypeId(), 63, 63,
                                                  "A module for tests", -1);

std::vector<std::string>& ExecutionLog()
{
    static std::vector<std::string> log;
    return log;
}

TestModule::TestModule(const char* name, int inputs, Output output, unsigned int inputType)
{
    // Name(...) would wait for the pass; a module that is not in the network yet needs none.
    if (name && *name)
        Name(name);
    for (int i = 0; i < inputs; ++i)
        AddInput("Input Data", inputType);
    switch (output) {
    case Output::None:
        break;
    case Output::Geometry:
    case Output::HeaderGeometry:
        AddOutput("Output Geometry", core::PortGeometry)->Data(new core::VdGeometry(this, output == Output::HeaderGeometry));
        break;
    case Output::Data:
        AddOutput("Output Data", core::PortUniformLattice)->Data(new TestData(core::PortUniformLattice));
        break;
    }
}

void TestModule::OnInputChanged(int input, bool) { inputChanges.push_back(input); }

void TestModule::PropertyEvent(core::VbPropList&, const core::VbPropertyEvent& event)
{
    lastPropertyId = event.Id();
    SetModified();
}

VoModule::ModuleStatus TestModule::ExecuteImpl(std::shared_ptr<core::VgRenderer> renderer)
{
    ++executions;
    ExecutionLog().push_back(Name());
    started = true;
    if (behaviour.waitInPass)
        core::VoNetwork::Instance().WaitUntilDone(10);
    if (behaviour.throwShared)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "%s failed", Name().c_str());
    if (behaviour.throwStd)
        throw std::runtime_error("broken");
    core::VbProgress progress("Testing", 0, 500, 100);
    for (int step = 0; step < behaviour.slowSteps || behaviour.runUntilAborted; ++step) {
        if (!progress.Update(static_cast<size_t>(step), static_cast<size_t>(behaviour.slowSteps + 1)))
            return ModuleAborted;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    if (GetOutputCount() > 0 && dynamic_cast<core::VdGeometry*>(GetOutputData(0))) {
        renderer->PushNode(OutputGeometry(0), true);
        renderer->popState();
    }
    return behaviour.result;
}

void NetworkTest::SetUp()
{
    NetworkFixture::SetUp();
    // A pass over the empty network clears an abort left by an earlier test.
    RunPass();
    network().SetModified(false);
    ExecutionLog().clear();
    proxy = std::make_unique<RecordingProxy>();
}

void NetworkTest::TearDown()
{
    NetworkFixture::TearDown();
    proxy.reset();
}

std::vector<SoNode*> NetworkTest::RootChildren() const
{
    std::vector<SoNode*> children;
    core::InvSmartPtr<SoSeparator> root = network().SceneRoot();
    if (root)
        for (int i = 0; i < root->getNumChildren(); ++i)
            children.push_back(root->getChild(i));
    return children;
}

} // namespace nettest
