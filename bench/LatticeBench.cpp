// Point location and linear interpolation of a million query points in a
// warped curvilinear lattice of 65^3 and 129^3 nodes, one thread. The lattice,
// its values and the queries are generated here (fixed seed) and written as
// raw little-endian doubles beside this program, with our answers, so that the
// peer script (bench/peers/lattice.py) reads the same input and checks that
// both sides agree before it compares times.
#include "bench/BenchSupport.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdLattice.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using bench::WriteRaw;
constexpr size_t kQueries = 1000000;
constexpr double kWarp = 0.02;
constexpr double kTwoPi = 6.283185307179586;

// A unit cube whose nodes are pushed along each axis by a sine of another
// axis: every cell is a warped, still convex hexahedron.
struct WarpedLattice {
    std::vector<double> coords;
    std::vector<double> values;
    std::unique_ptr<core::VdCurvilinearLattice> lattice;

    explicit WarpedLattice(unsigned int n)
    {
        const double step = 1.0 / (n - 1);
        for (unsigned int k = 0; k < n; ++k)
            for (unsigned int j = 0; j < n; ++j)
                for (unsigned int i = 0; i < n; ++i) {
                    const double x = i * step + kWarp * std::sin(kTwoPi * j * step);
                    const double y = j * step + kWarp * std::sin(kTwoPi * k * step);
                    const double z = k * step + kWarp * std::sin(kTwoPi * i * step);
                    coords.insert(coords.end(), {x, y, z});
                    values.push_back(std::sin(3.0 * x) + y * y + 0.5 * z);
                }
        const unsigned int dims[3] = {n, n, n};
        lattice = std::make_unique<core::VdCurvilinearLattice>(shr::Double, shr::Double, dims, coords.data(),
                                                               values.data(), 1);
        WriteRaw("lattice_coords_" + std::to_string(n) + ".raw", coords);
        WriteRaw("lattice_values_" + std::to_string(n) + ".raw", values);
    }
};

const std::vector<double>& Queries()
{
    static const std::vector<double> queries = [] {
        std::mt19937_64 random(20261122);
        std::uniform_real_distribution<double> inside(0.05, 0.95);
        std::vector<double> q(kQueries * 3);
        for (double& v : q)
            v = inside(random);
        WriteRaw("lattice_queries.raw", q);
        return q;
    }();
    return queries;
}

// Interpolates every query; blanks (positions in no cell) stay BlankVal.
std::vector<double> InterpolateAll(const core::VdLattice& lattice)
{
    const std::vector<double>& q = Queries();
    std::vector<double> out(kQueries);
    for (size_t p = 0; p < kQueries; ++p)
        lattice.Interpolate(core::VdLattice::INTERP_LINEAR, shr::Vec3d(q[3 * p], q[3 * p + 1], q[3 * p + 2]),
                            &out[p], 0, 1);
    return out;
}

void BM_WarpedLattice(benchmark::State& state)
{
    const unsigned int n = static_cast<unsigned int>(state.range(0));
    Queries();
    WarpedLattice warped(n);
    // The first pass builds the cell locator; it is timed on its own.
    const auto start = std::chrono::steady_clock::now();
    std::vector<double> answers = InterpolateAll(*warped.lattice);
    const double firstPass = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    WriteRaw("lattice_ours_" + std::to_string(n) + ".raw", answers);
    for (auto _ : state)
        benchmark::DoNotOptimize(answers = InterpolateAll(*warped.lattice));
    state.counters["points_per_s"] = benchmark::Counter(kQueries, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["first_pass_s"] = firstPass;
}

BENCHMARK(BM_WarpedLattice)->Arg(65)->Arg(129)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
BENCHMARK_MAIN();
