#include "ScriptedModule.h"

#include "core/properties/VbPropertyEvent.h"

#include <random>

using namespace core;
using namespace testsupport;

namespace {

using NetworkStressTest = ScriptedNetworkTest;

// Random host operations against passes of slow modules that honour the
// abort. The operations come from the test's thread, as from a host's.
TEST_F(NetworkStressTest, RandomHostOperations)
{
    std::mt19937 random(20240611);
    auto pick = [&](size_t count) { return std::uniform_int_distribution<size_t>(0, count - 1)(random); };
    auto chance = [&](int percent) { return std::uniform_int_distribution<int>(0, 99)(random) < percent; };
    std::vector<TestModule*> modules; // what the network must hold
    int added = 0;

    for (int step = 0; step < 4000; ++step) {
        switch (pick(7)) {
        case 0:
            if (modules.size() < 14) {
                const Output outputs[] = {Output::Geometry, Output::Data, Output::None, Output::HeaderGeometry};
                const std::string name = "M" + std::to_string(added++);
                auto* module = new TestModule(name.c_str(), static_cast<int>(pick(3)), outputs[pick(4)]);
                module->behaviour.slowSteps = static_cast<int>(pick(6));
                network().AddNode(module, true);
                modules.push_back(module);
            }
            break;
        case 1:
            if (!modules.empty() && chance(40)) {
                const size_t index = pick(modules.size());
                EXPECT_EQ(modules[index], network().DeleteNode(modules[index], chance(50)).get());
                modules.erase(modules.begin() + static_cast<std::ptrdiff_t>(index));
            }
            break;
        case 2:
            if (!modules.empty()) {
                TestModule* destination = modules[pick(modules.size())];
                TestModule* source = modules[pick(modules.size())];
                if (destination->GetInputCount() == 0)
                    break;
                const int input = static_cast<int>(pick(destination->GetInputCount()));
                network().ConnectNodes(*destination, source->GetOutputCount() && chance(85) ? source : nullptr, input,
                                       true);
            }
            break;
        case 3:
            if (!modules.empty())
                network().ModifyNode(*modules[pick(modules.size())], list, VbPropertyEvent(1, step), chance(50),
                                     chance(20));
            break;
        case 4: network().Update(); break;
        case 5: network().AbortIfBusy(chance(50)); break;
        case 6: network().DoIdleTasks(); break;
        }
    }

    network().WaitUntilDone(2000);
    ASSERT_EQ(modules.size(), network().GetNodeCount());
    for (TestModule* module : modules)
        EXPECT_TRUE(network().IsValid(module)) << module->Name();
    ExpectConsistentLinks(network());

    // An undisturbed pass brings everything up to date.
    RunPass();
    for (TestModule* module : modules)
        EXPECT_EQ(VoModule::ModuleOk, module->GetStatus()) << module->Name();
    EXPECT_FALSE(network().UpdateThreadBusy());
}

} // namespace
