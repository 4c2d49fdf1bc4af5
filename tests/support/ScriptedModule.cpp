#include "ScriptedModule.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbPropertyEvent.h"

#include <Inventor/nodes/SoSeparator.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace testsupport {

SHR_IMPLEMENT_CREATABLE_TYPE(TestData, core::VdData)
SHR_IMPLEMENT_CREATABLE_TYPE(TestModule, core::VoModule)
const core::VbModuleInfo TestModule::s_ModuleInfo("Test Modules\\TestModule", TestModule::GetClassTypeId(), 63, 63,
                                                  "A module for tests", -1);

void RecordingProxy::Progress(double fraction)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    fractions.push_back(fraction);
}

void RecordingProxy::Record(std::string event)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    events.push_back(std::move(event));
}

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
    if (output == Output::Geometry || output == Output::HeaderGeometry)
        AddOutput("Output Geometry", core::PortGeometry)->Data(new core::VdGeometry(this, output == Output::HeaderGeometry));
    else if (output == Output::Data)
        AddOutput("Output Data", core::PortUniformLattice)->Data(new TestData(core::PortUniformLattice));
}

void TestModule::PropertyEvent(core::VbPropList&, const core::VbPropertyEvent& event)
{
    lastPropertyId = event.Id();
    SetModified();
}

core::VoModule::ModuleStatus TestModule::ExecuteImpl(std::shared_ptr<core::VgRenderer> renderer)
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

void ExpectConsistentLinks(const core::VoNetwork& network)
{
    for (core::VoModule* module : network) {
        for (size_t i = 0; i < module->GetInputCount(); ++i)
            for (const core::VbPort::Connection& link : module->GetInput(i)->GetConnections()) {
                ASSERT_TRUE(network.IsValid(link.module));
                EXPECT_TRUE(link.module->Connected(static_cast<size_t>(link.port), *module, i));
            }
        for (size_t o = 0; o < module->GetOutputCount(); ++o)
            for (const core::VbPort::Connection& link : module->GetOutput(o)->GetConnections()) {
                ASSERT_TRUE(network.IsValid(link.module));
                EXPECT_EQ(module, link.module->GetInputConnection(static_cast<size_t>(link.port), 0));
            }
    }
}

void ScriptedNetworkTest::SetUp()
{
    NetworkFixture::SetUp(); // the proxy comes after the pass below
    // A pass over the empty network clears an abort left by an earlier test.
    RunPass();
    network().SetModified(false);
    ExecutionLog().clear();
    proxy = std::make_unique<RecordingProxy>();
}

std::vector<SoNode*> ScriptedNetworkTest::RootChildren() const
{
    std::vector<SoNode*> children;
    core::InvSmartPtr<SoSeparator> root = network().SceneRoot();
    for (int i = 0; root && i < root->getNumChildren(); ++i)
        children.push_back(root->getChild(i));
    return children;
}

} // namespace testsupport
