// One pass of the update thread over an unchanged network of 1,000 modules,
// in a chain (each module feeds the next) and in a fan (one source feeds
// 999 sinks). Nothing is modified between passes, so a pass must do no data
// work: only the walk of the links, the time-stamp compares and the rebuild
// of the (here empty) scene root. Reported per module; the whole pass includes
// waking the update thread and waiting for it, as a host does, so the time
// is wall-clock time: the calling thread mostly sleeps.
#include "core/data/VdData.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "bench/BenchSupport.h"
#include "core/network/VoNetwork.h"

#include <benchmark/benchmark.h>

#include <atomic>

namespace {

using core::VoModule;
using core::VoNetwork;

constexpr int kModules = 1000;

class BenchData : public core::VdData {
    SHR_DECLARE_CREATABLE_TYPE(BenchData)
public:
    unsigned int GetType() const override { return core::PortUniformLattice; }
    const char* GetTypeName() const override { return "Bench data"; }
};
SHR_IMPLEMENT_CREATABLE_TYPE(BenchData, core::VdData)

std::atomic<int> g_Executions{0};

class BenchModule : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(BenchModule)
public:
    static const core::VbModuleInfo s_ModuleInfo;
    const core::VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    BenchModule()
    {
        AddInput("Input Data", 63);
        AddOutput("Output Data", core::PortUniformLattice)->Data(new BenchData);
    }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<core::VgRenderer>) override
    {
        ++g_Executions;
        return ModuleOk;
    }
};
SHR_IMPLEMENT_CREATABLE_TYPE(BenchModule, VoModule)
const core::VbModuleInfo BenchModule::s_ModuleInfo("Bench\\BenchModule", BenchModule::GetClassTypeId(), 63, 2,
                                                   "A module that does nothing", -1);

enum class Shape { Chain, Fan };

void Build(Shape shape)
{
    VoNetwork& network = VoNetwork::Instance();
    network.DeleteAllNodes();
    std::vector<BenchModule*> modules;
    for (int i = 0; i < kModules; ++i) {
        modules.push_back(new BenchModule);
        network.AddNode(modules.back(), true);
    }
    for (int i = 1; i < kModules; ++i)
        network.ConnectNodes(*modules[i], shape == Shape::Chain ? modules[i - 1] : modules[0], 0, false);
}

void RunPass()
{
    VoNetwork::Instance().Update();
    VoNetwork::Instance().WaitUntilDone(2000);
}

void BM_UnchangedPass(benchmark::State& state, Shape shape)
{
    Build(shape);
    RunPass(); // every module runs once here
    const int settled = g_Executions;
    for (auto _ : state)
        RunPass();
    if (g_Executions != settled)
        state.SkipWithError("a pass over an unchanged network executed modules");
    state.counters["per_module"] =
        benchmark::Counter(kModules, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    VoNetwork::Instance().DeleteAllNodes();
}

BENCHMARK_CAPTURE(BM_UnchangedPass, chain, Shape::Chain)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_UnchangedPass, fan, Shape::Fan)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    return bench::RunNetworkBenchmarks(argc, argv);
}
