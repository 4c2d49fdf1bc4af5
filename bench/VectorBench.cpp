// The vector plot and the stream lines as a pass runs them (sampling or
// tracing, colouring by speed, and the scene nodes), on the vortex of the
// sample lattice over n^3 nodes spanning [-1, 1]^3. The peer script
// (bench/peers/vector_peer.py) runs VTK's glyph and stream tracer filters on
// the same data, read from the raw files this program writes beside itself:
//
//   vec_vortex_<n>.raw  the vortex, three little-endian floats a node, i fastest;
//   vec_unit_<n>.raw    the same directions at unit speed: the peer's tracer
//                       integrates the unit direction (its steps are lengths),
//                       so on this field a time step h and a length step h
//                       agree, up to the speed lost between nodes;
//   vec_seeds.raw       the seeds, three doubles each (fixed random seed);
//   vec_lines_<n>.raw   our first lines for the peer to compare, all doubles:
//                       per line its point count, then its points;
//   vec_tips_<n>.raw    the tip of every arrow, three doubles each.
//
// Arrows: style "Arrow solid" on every second node along each axis, lengths
// proportional to magnitude (the peer's scale-by-vector). Stream lines:
// forward, a fixed number of fourth-order Runge-Kutta steps from each seed.
#include "bench/BenchSupport.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/SceneTransform.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VoNetwork.h"
#include "core/processing/VoLatticeSrc.h"
#include "core/processing/VoPointsSrc.h"
#include "core/processing/VoSampleLattice.h"
#include "core/visual/VoStreamLines.h"
#include "core/visual/VoVectorPlot.h"
#include "shr/Box3d.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using bench::WriteRaw;
using core::VoNetwork;
using shr::Vec3d;

constexpr int kSeeds = 100;
constexpr uint32_t kSteps = 1000;
constexpr double kStep = 0.002;
constexpr uint32_t kFrequency = 2;
// Lines written for the peer to compare.
constexpr int kComparedLines = 8;

// The vortex on n^3 nodes over [-1, 1]^3, as it is or at unit speed.
core::VdUniformLattice* Vortex(unsigned int n, bool unitSpeed)
{
    const unsigned int dims[3] = {n, n, n};
    auto* lattice = new core::VdUniformLattice(shr::Float, dims, nullptr, 3);
    lattice->SetUVWBounds(shr::Box3d(Vec3d(-1, -1, -1), Vec3d(1, 1, 1)));
    core::VoSampleLattice::Fill(core::VoSampleLattice::Vortex, *lattice, true, nullptr);
    auto* values = static_cast<float*>(lattice->DataWritePtr());
    if (unitSpeed)
        for (size_t node = 0; node < size_t(n) * n * n; ++node) {
            float* v = values + 3 * node;
            const double speed = std::sqrt(double(v[0]) * v[0] + double(v[1]) * v[1] + double(v[2]) * v[2]);
            for (int c = 0; c < 3; ++c)
                v[c] = float(v[c] / speed);
        }
    lattice->DataModified();
    WriteRaw((unitSpeed ? "vec_unit_" : "vec_vortex_") + std::to_string(n) + ".raw",
             std::vector<float>(values, values + 3 * size_t(n) * n * n));
    return lattice;
}

std::vector<double> Seeds()
{
    std::mt19937 random(20261122);
    std::uniform_real_distribution<double> within(-0.7, 0.7);
    std::vector<double> seeds(3 * kSeeds);
    for (double& coordinate : seeds)
        coordinate = within(random);
    WriteRaw("vec_seeds.raw", seeds);
    return seeds;
}

// The modules of one size, linked in the network and kept between benchmarks.
struct Bench {
    core::VoStreamLines* lines = nullptr;
    core::VoVectorPlot* arrows = nullptr;

    explicit Bench(unsigned int n)
    {
        VoNetwork& network = VoNetwork::Instance();
        const std::vector<double> seeds = Seeds();
        auto* unit = new core::VoLatticeSrc(Vortex(n, true), "");
        auto* vortex = new core::VoLatticeSrc(Vortex(n, false), "");
        auto* points = new core::VoPointsSrc(shr::Double, shr::Double, kSeeds, seeds.data(), nullptr, 0, "");
        lines = new core::VoStreamLines;
        arrows = new core::VoVectorPlot;
        for (core::VoModule* module : std::vector<core::VoModule*>{unit, vortex, points, lines, arrows})
            network.AddNode(module, true);
        network.ConnectNodes(*lines, unit, 0, true);
        network.ConnectNodes(*lines, points, 1, true);
        network.ConnectNodes(*arrows, vortex, 0, true);

        lines->SetSeedMethod(core::VoStreamLines::SeedPointSet);
        lines->NumberOfSeeds(kSeeds);
        lines->SetDirection(core::VoStreamLines::Forward);
        lines->AutoStep(false);
        lines->StepInterval(kStep);
        lines->NumberOfSteps(kSteps);

        // Lengths proportional to magnitude: the shortest is to the longest
        // as the smallest magnitude to the largest.
        arrows->Style(core::VoVectorPlot::ArrowSolid);
        arrows->Frequency(kFrequency);
        arrows->BaseLength(2.0 / n);
        arrows->ScaleFactors(arrows->MagnitudeMin() / arrows->MagnitudeMax(), 1.0);
    }
};

Bench& Modules(unsigned int n)
{
    return *bench::Cached(n, [n] { return std::make_unique<Bench>(n); });
}

// One run as a pass makes it: a fresh renderer, the module's whole execution.
void Execute(core::VoModule& module)
{
    auto renderer = std::make_shared<core::VgRenderer>(core::SceneTransform(0.0, 0.0, true));
    module.Execute(renderer);
}

void WriteLines(unsigned int n, const core::VoStreamLines& lines)
{
    std::vector<double> out;
    size_t first = 0;
    for (int l = 0; l < kComparedLines && l < int(lines.PathCounts().size()); ++l) {
        const uint32_t count = uint32_t(lines.PathCounts()[size_t(l)]);
        out.push_back(count);
        for (uint32_t p = 0; p < count; ++p) {
            const Vec3d& v = lines.Paths().vertices[first + p];
            out.insert(out.end(), {v.x, v.y, v.z});
        }
        first += count;
    }
    WriteRaw("vec_lines_" + std::to_string(n) + ".raw", out);
}

void WriteTips(unsigned int n, const core::VoVectorPlot& arrows)
{
    // The shaft of each arrow is a polyline of two: tail, tip.
    std::vector<double> tips;
    const std::vector<Vec3d>& shafts = arrows.Symbols().lines.vertices;
    for (size_t v = 1; v < shafts.size(); v += 2)
        tips.insert(tips.end(), {shafts[v].x, shafts[v].y, shafts[v].z});
    WriteRaw("vec_tips_" + std::to_string(n) + ".raw", tips);
}

void BM_StreamLines(benchmark::State& state)
{
    const unsigned int n = static_cast<unsigned int>(state.range(0));
    core::VoStreamLines& lines = *Modules(n).lines;
    Execute(lines);
    if (lines.GetStatus() != core::VoModule::ModuleOk)
        state.SkipWithError("the stream lines did not run");
    WriteLines(n, lines);
    for (auto _ : state)
        Execute(lines);
    state.counters["lines"] = double(lines.PathCounts().size());
    state.counters["points"] = double(lines.Paths().vertices.size());
}

void BM_Arrows(benchmark::State& state)
{
    const unsigned int n = static_cast<unsigned int>(state.range(0));
    core::VoVectorPlot& arrows = *Modules(n).arrows;
    Execute(arrows);
    if (arrows.GetStatus() != core::VoModule::ModuleOk)
        state.SkipWithError("the vector plot did not run");
    WriteTips(n, arrows);
    for (auto _ : state)
        Execute(arrows);
    state.counters["arrows"] = double(arrows.Symbols().lineCounts.size());
    state.counters["scale"] = arrows.BaseLength() / arrows.MagnitudeMax();
}

BENCHMARK(BM_StreamLines)->Arg(64)->Arg(128)->ArgName("n")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Arrows)->Arg(64)->Arg(128)->ArgName("n")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    return bench::RunNetworkBenchmarks(argc, argv);
}
