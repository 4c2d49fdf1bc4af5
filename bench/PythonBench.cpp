// The cost of a pass over a small network driven from C++ as a host drives
// it, for the peer, peers/python_peer.py, to set beside the same passes
// driven through the fenrak Python module.
//
// The network: a function lattice of 16^3 nodes feeding an isosurface. Two
// workloads: a pass over the unchanged network (wake the update thread, walk
// the modules, rebuild the scene root, wait), and a new isovalue set through
// the host's property editor followed by a pass (the isosurface sweeps the
// lattice again). Wall-clock time: the calling thread mostly waits. The
// isosurface's triangle counts at the two isovalues go out as counters for
// the peer to compare with its own. And the C++ side of handing a 256^3
// float array to the library, for the peer's array figures.
#include "core/data/VdUniformLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostUiProxy.h"
#include "host/PropertyEditor.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace {

using core::VoNetwork;

const char* const kIsovalues[2] = {"0.1", "0.12"};

core::VoModule* Add(const char* type)
{
    core::VoModule* module = core::VbModuleRegistry::Instance().Construct(type)->CreateInstance().release();
    VoNetwork::Instance().AddNode(module, true);
    return module;
}

void RunPass()
{
    VoNetwork::Instance().Update();
    VoNetwork::Instance().WaitUntilDone(2000);
}

// The small network, run once; returns the isosurface.
core::VoModule* Build()
{
    VoNetwork& network = VoNetwork::Instance();
    network.Init();
    network.DeleteAllNodes();
    core::VoModule* source = Add("FunctionLattice");
    host::PropertyEditor lattice(*source);
    for (const char* key : {"FunctionLatticeXNum", "FunctionLatticeYNum", "FunctionLatticeZNum"})
        lattice.Set(key, "16");
    core::VoModule* shell = Add("Isosurface");
    network.ConnectNodes(*shell, source, 0, true);
    RunPass();
    return shell;
}

// The triangle count the isosurface reported for its latest execution.
double Triangles(const host::HostUiProxy& proxy, const core::VoModule& shell)
{
    const std::vector<std::string> messages = proxy.Report(shell.Id()).messages;
    if (messages.empty())
        return -1.0;
    const std::string& line = messages.back();
    return std::atof(line.substr(line.rfind(", ") + 2).c_str());
}

void BM_UnchangedPass(benchmark::State& state)
{
    Build();
    for (auto _ : state)
        RunPass();
    VoNetwork::Instance().DeleteAllNodes();
}

void BM_NewIsovalue(benchmark::State& state)
{
    std::ostream discard(nullptr);
    host::HostUiProxy proxy(discard, false);
    core::VoModule* shell = Build();
    host::PropertyEditor editor(*shell);
    for (int i = 0; i < 2; ++i) {
        editor.Set("IsoSurfaceIsovalue", kIsovalues[i]);
        RunPass();
        state.counters[i == 0 ? "triangles_low" : "triangles_high"] = Triangles(proxy, *shell);
    }
    size_t turn = 0;
    for (auto _ : state) {
        editor.Set("IsoSurfaceIsovalue", kIsovalues[turn++ % 2]);
        RunPass();
    }
    VoNetwork::Instance().DeleteAllNodes();
}

// What a C++ host pays to hand a 256^3 float array to the library: a uniform
// lattice made from it (the store is allocated zero-filled, then copied into).
void BM_LatticeIn(benchmark::State& state)
{
    const unsigned int dims[3] = {256, 256, 256};
    const std::vector<float> values(size_t(dims[0]) * dims[1] * dims[2], 0.5f);
    for (auto _ : state) {
        auto lattice = std::make_unique<core::VdUniformLattice>(shr::Float, dims, values.data(), 1u);
        benchmark::DoNotOptimize(lattice->DataPtr());
        state.PauseTiming();
        lattice.reset();
        state.ResumeTiming();
    }
}

BENCHMARK(BM_UnchangedPass)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_NewIsovalue)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_LatticeIn)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    VoNetwork::Instance().Release();
    return 0;
}
