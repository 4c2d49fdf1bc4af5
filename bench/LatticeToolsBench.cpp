// The lattice tools on large float lattices, two threads: trilinear
// resampling 256^3 -> 200^3 and 128^3 -> 384^3, the gradient of 256^3, and a
// cast of 256^3 to 8 bits with the stretch's offset and scale. Each run does
// what the module does: make the output lattice, then fill it. The peer,
// peers/lattice_tools_peer.py, runs VTK's vtkImageReslice, vtkResampleToImage,
// vtkImageGradient and vtkImageShiftScale and numpy.gradient on the same data
// and compares their outputs with ours before it times them.
//
// Inputs: n^3 nodes with spacing 1 from the origin, a smooth field with noise
// from a fixed seed. Resampled outputs span the same box. Written beside the
// program: each input (lattice_tools_in_<n>.raw) and each of our outputs
// (lattice_tools_<case>.raw), little-endian, i fastest, and the cast's offset
// and scale (lattice_tools_cast.txt).
#include "bench/BenchSupport.h"
#include "core/data/LatticeUtility.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/LatticeGeometry.h"
#include "core/processing/LatticeResampler.h"
#include "core/processing/VoCast.h"
#include "core/processing/VoLatticeGradient.h"

#include <benchmark/benchmark.h>
#include <tbb/global_control.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace {

constexpr int kThreads = 2;
const tbb::global_control s_Threads(tbb::global_control::max_allowed_parallelism, kThreads);

void WriteRaw(const std::string& name, const core::VdVertexData& data)
{
    bench::WriteRaw("lattice_tools_" + name + ".raw", data.DataPtr(), data.DataTotalSize());
}

// n^3 float nodes, spacing 1: waves of a few wavelengths and a little noise.
std::unique_ptr<core::VdUniformLattice> MakeInput(unsigned int n)
{
    const unsigned int dims[3] = {n, n, n};
    auto lattice = std::make_unique<core::VdUniformLattice>(shr::Float, dims, nullptr, 1);
    auto* values = static_cast<float*>(lattice->DataWritePtr());
    std::mt19937 random(20261122u + n);
    std::uniform_real_distribution<double> noise(-0.05, 0.05);
    const double step = 256.0 / n; // the same field at every size
    size_t at = 0;
    for (unsigned int k = 0; k < n; ++k)
        for (unsigned int j = 0; j < n; ++j)
            for (unsigned int i = 0; i < n; ++i)
                values[at++] = static_cast<float>(std::sin(i * step * 0.05) * std::cos(j * step * 0.04) +
                                                  0.3 * std::sin(k * step * 0.07) + noise(random));
    lattice->DataModified();
    WriteRaw("in_" + std::to_string(n), *lattice);
    return lattice;
}

const core::VdUniformLattice& Input(unsigned int n)
{
    return *bench::Cached(n, [n] { return MakeInput(n); });
}

// What VoLatticeResample does once its settings are known.
std::unique_ptr<core::VdUniformLattice> Resample(const core::VdUniformLattice& input, unsigned int n)
{
    core::LatticeGeometry geometry;
    geometry.limits = input.GetUVWBounds();
    geometry.nodes[0] = geometry.nodes[1] = geometry.nodes[2] = n;
    std::unique_ptr<core::VdUniformLattice> output = geometry.MakeLattice(input.DataType(), input.ComponentCount());
    core::LatticeResampler(input, *output, core::VdLattice::INTERP_LINEAR).Run(nullptr);
    return output;
}

void BM_Resample(benchmark::State& state)
{
    const auto from = static_cast<unsigned int>(state.range(0)), to = static_cast<unsigned int>(state.range(1));
    const core::VdUniformLattice& input = Input(from);
    WriteRaw("resample_" + std::to_string(from) + "_" + std::to_string(to), *Resample(input, to));
    for (auto _ : state)
        benchmark::DoNotOptimize(Resample(input, to).get());
    state.counters["nodes/s"] = benchmark::Counter(double(to) * to * to, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Gradient(benchmark::State& state)
{
    const core::VdUniformLattice& input = Input(static_cast<unsigned int>(state.range(0)));
    WriteRaw("gradient_" + std::to_string(state.range(0)), *core::VoLatticeGradient::Compute(input, 1, nullptr));
    for (auto _ : state)
        benchmark::DoNotOptimize(core::VoLatticeGradient::Compute(input, 1, nullptr).get());
}

// What VoCast does after "Stretch" for 8 bits.
std::unique_ptr<core::VdLattice> Cast(const core::VdLattice& input, double offset, double scale)
{
    std::unique_ptr<core::VdLattice> output = core::MakeLatticeLike(input, shr::UInt8, input.ComponentCount());
    core::VoCast::CastNodes(input, *output, offset, scale, nullptr);
    return output;
}

void BM_CastStretch(benchmark::State& state)
{
    const core::VdUniformLattice& input = Input(static_cast<unsigned int>(state.range(0)));
    const std::pair<double, double> range = input.DataMinMax(0);
    double offset = 0.0, scale = 1.0;
    core::VoCast::StretchParameters(shr::UInt8, range.first, range.second, offset, scale);
    if (FILE* file = std::fopen((bench::OutputFolder() + "/lattice_tools_cast.txt").c_str(), "w")) {
        std::fprintf(file, "%.17g %.17g\n", offset, scale);
        std::fclose(file);
    }
    WriteRaw("cast_" + std::to_string(state.range(0)), *Cast(input, offset, scale));
    for (auto _ : state)
        benchmark::DoNotOptimize(Cast(input, offset, scale).get());
}

// Wall time, and the CPU time of the whole process (both threads).
BENCHMARK(BM_Resample)->Args({256, 200})->Args({128, 384})->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(BM_Gradient)->Arg(256)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(BM_CastStretch)->Arg(256)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();

} // namespace
BENCHMARK_MAIN();
