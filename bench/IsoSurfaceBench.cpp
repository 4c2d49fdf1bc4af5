// Isosurface extraction with normals on 64^3, 128^3 and 256^3 lattices of two
// fields: a sphere (few cut cells) and a product of sines (many). The float
// values are generated here and written as raw little-endian floats beside
// this program, so that the peer script (bench/peers/isosurface_peer.py)
// contours the very same data. Two workloads, as the module meets them:
//   isovalue: a new isovalue, only the sweep runs;
//   input:    new data, the float copy and the gradients are made first.
// Triangle and vertex counts go out as counters for the peer to compare.
#include "bench/BenchSupport.h"
#include "core/data/VdUniformLattice.h"
#include "core/visual/VoIsoSurfacePrivate.h"
#include "shr/Box3d.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using bench::WriteRaw;
using namespace core::VoIsoSurfacePrivate;

constexpr double kPi = 3.14159265358979323846;

// Isovalues chosen away from every node value, so that neither side meets a tie.
constexpr double kSphereIsovalue = 0.4999;
constexpr double kWavesIsovalue = 0.0123;

enum FieldKind { SphereField = 0, WavesField = 1 };

const char* FieldName(int field) { return field == SphereField ? "sphere" : "waves"; }
double Isovalue(int field) { return field == SphereField ? kSphereIsovalue : kWavesIsovalue; }

// n^3 nodes over [-1, 1]^3, node (i, j, k) at -1 + 2 i / (n - 1) and so on.
struct BenchLattice {
    std::unique_ptr<core::VdUniformLattice> lattice;

    BenchLattice(int field, unsigned int n)
    {
        std::vector<float> values(size_t(n) * n * n);
        const double step = 2.0 / (n - 1);
        size_t at = 0;
        for (unsigned int k = 0; k < n; ++k)
            for (unsigned int j = 0; j < n; ++j)
                for (unsigned int i = 0; i < n; ++i) {
                    const double x = -1.0 + i * step, y = -1.0 + j * step, z = -1.0 + k * step;
                    values[at++] = static_cast<float>(field == SphereField ? x * x + y * y + z * z
                                                                           : std::sin(6 * kPi * x) *
                                                                                 std::sin(6 * kPi * y) *
                                                                                 std::sin(6 * kPi * z));
                }
        const unsigned int dims[3] = {n, n, n};
        lattice = std::make_unique<core::VdUniformLattice>(shr::Float, dims, values.data(), 1);
        lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(-1, -1, -1), shr::Vec3d(1, 1, 1)));
        WriteRaw(std::string("iso_") + FieldName(field) + "_" + std::to_string(n) + ".raw", values);
    }
};

// Lattices are kept between the benchmarks of the same size and field.
const core::VdUniformLattice& Lattice(int field, unsigned int n)
{
    return *bench::Cached(std::make_pair(field, n), [field, n] { return std::make_unique<BenchLattice>(field, n); })
                ->lattice;
}

struct Extractor {
    Extractor(const core::VdLattice& l, double value) : lattice(l), isovalue(value) {}

    const core::VdLattice& lattice;
    double isovalue;
    std::vector<float> values;
    SweepCache cache;
    core::VgVertexData surface;
    int triangles = 0;

    // As the module takes new data: the float copy with its run ranges, and
    // the gradients forgotten (they are computed at the cut edges as needed).
    void NewInput()
    {
        CopyComponent(lattice, 0, values, &cache.ranges);
        cache.gradients.Reset(values.size());
    }
    void Sweep()
    {
        SweepInput input;
        input.lattice = &lattice;
        input.values = &values;
        input.ranges = &cache.ranges;
        input.gradients = &cache.gradients;
        input.isovalue = isovalue;
        SweepVolumes volumes;
        core::VoIsoSurfacePrivate::Sweep(input, 0, nullptr, surface, volumes, triangles, &cache.workspace);
    }
};

void Report(benchmark::State& state, const Extractor& extractor)
{
    state.counters["triangles"] = extractor.triangles;
    state.counters["vertices"] = static_cast<double>(extractor.surface.vertices.size());
    state.SetLabel(FieldName(static_cast<int>(state.range(0))));
}

// The best single run, real and process CPU time, as the peer takes the best
// of its single runs: a mean over many runs on a machine that other programs
// share counts their time slices too.
class BestRun {
public:
    void Start()
    {
        m_Real = std::chrono::steady_clock::now();
        m_Cpu = std::clock();
    }
    void Stop()
    {
        const double real = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Real).count();
        const double cpu = static_cast<double>(std::clock() - m_Cpu) / CLOCKS_PER_SEC;
        m_BestReal = std::min(m_BestReal, real);
        m_BestCpu = std::min(m_BestCpu, cpu);
    }
    void Report(benchmark::State& state) const
    {
        state.counters["best_real"] = m_BestReal;
        state.counters["best_cpu"] = m_BestCpu;
    }

private:
    std::chrono::steady_clock::time_point m_Real;
    std::clock_t m_Cpu = 0;
    double m_BestReal = 1e300, m_BestCpu = 1e300;
};

void BM_IsovalueChange(benchmark::State& state)
{
    const int field = static_cast<int>(state.range(0));
    Extractor extractor(Lattice(field, static_cast<unsigned int>(state.range(1))), Isovalue(field));
    extractor.NewInput();
    extractor.Sweep(); // the surface's memory is reused from one isovalue to the next
    BestRun best;
    for (auto _ : state) {
        best.Start();
        extractor.Sweep();
        best.Stop();
        benchmark::DoNotOptimize(extractor.surface.indices.data());
    }
    Report(state, extractor);
    best.Report(state);
}

void BM_InputChange(benchmark::State& state)
{
    const int field = static_cast<int>(state.range(0));
    Extractor extractor(Lattice(field, static_cast<unsigned int>(state.range(1))), Isovalue(field));
    // As in the module, the copy and the gradients reuse their memory from one
    // input to the next: the first touch of those pages is not timed.
    extractor.NewInput();
    extractor.Sweep();
    BestRun best;
    for (auto _ : state) {
        best.Start();
        extractor.NewInput();
        extractor.Sweep();
        best.Stop();
        benchmark::DoNotOptimize(extractor.surface.indices.data());
    }
    Report(state, extractor);
    best.Report(state);
}

void Sizes(benchmark::internal::Benchmark* b)
{
    for (int field : {SphereField, WavesField})
        for (int n : {64, 128, 256})
            b->Args({field, n});
    b->ArgNames({"field", "n"});
}

// The peer takes the best of several runs; so does our side, through the
// "min" of repeated measurements, which a shared machine needs on both sides.
double Least(const std::vector<double>& values)
{
    return *std::min_element(values.begin(), values.end());
}

// Both cases: every size, real and process CPU time, the best of seven.
void Timing(benchmark::internal::Benchmark* b)
{
    b->Apply(Sizes)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->MeasureProcessCPUTime()
        ->MinTime(0.1)
        ->Repetitions(7)
        ->ComputeStatistics("min", Least);
}

BENCHMARK(BM_IsovalueChange)->Apply(Timing);
BENCHMARK(BM_InputChange)->Apply(Timing);

} // namespace
BENCHMARK_MAIN();
