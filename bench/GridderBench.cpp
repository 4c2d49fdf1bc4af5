// Inverse distance gridding of scattered points onto a uniform lattice, our
// gridder's fill (search engine build and the walk included), on one thread
// and on every core: the rows of nodes are shared out to TBB workers, with a
// result equal to the single walk's bit for bit. The peer,
// peers/gridder_peer.py, runs VTK's point interpolator with a Shepard kernel
// on the same points and lattices at the same thread counts and compares the
// values.
//
// Workload: N points uniform in a 100-unit cube (fixed seeds) carrying a
// smooth field; the lattice spans the cube with n^3 nodes. Each node takes the
// 16 nearest points (the search radius is the cube's diagonal, so the count
// decides), weighted by the inverse squared distance.
//
// Written beside the program for the peer: the points (x, y, z, value per
// point) and our lattice values as little-endian doubles, and one line per
// case and thread count with its name, N, n, k, the threads and our best
// real and CPU times.
#include "bench/BenchSupport.h"
#include "core/data/VdUniformLattice.h"
#include "core/gridding/CInverseDistanceRules.h"
#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchRules.h"
#include "core/gridding/VoGridder3Private.h"

#include <benchmark/benchmark.h>

#include <tbb/info.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

const double kSide = 100.0;
const int kNeighbours = 16;

struct Case {
    std::string name; // e.g. "100000/50"
    size_t count;
    unsigned int nodes; // per axis
};

double Field(double x, double y, double z)
{
    return std::sin(x / 15.0) + std::cos(y / 20.0) + z / 50.0;
}

// x, y, z, value per point.
std::vector<double> MakePoints(size_t count)
{
    std::mt19937_64 random(777 + count);
    std::uniform_real_distribution<double> coord(0.0, kSide);
    std::vector<double> points(4 * count);
    for (size_t i = 0; i < count; ++i) {
        double* p = &points[4 * i];
        p[0] = coord(random);
        p[1] = coord(random);
        p[2] = coord(random);
        p[3] = Field(p[0], p[1], p[2]);
    }
    return points;
}

const std::vector<double>& Points(size_t count)
{
    return bench::Cached(count, [count] { return MakePoints(count); });
}

std::unique_ptr<core::CPointData> MakeTable(const std::vector<double>& points)
{
    auto table = std::make_unique<core::CPointData>(1);
    table->reserve(points.size() / 4);
    for (size_t i = 0; i < points.size() / 4; ++i) {
        core::CPointDatum row(1);
        row.X() = points[4 * i];
        row.Y() = points[4 * i + 1];
        row.Z() = points[4 * i + 2];
        row.W(0, points[4 * i + 3]);
        row.ID(static_cast<uint32_t>(i));
        table->push_back(std::move(row));
    }
    return table;
}

std::unique_ptr<core::VdUniformLattice> MakeLattice(unsigned int nodes)
{
    const unsigned int dims[3] = {nodes, nodes, nodes};
    auto lattice = std::make_unique<core::VdUniformLattice>(shr::Double, dims, nullptr, 1);
    lattice->SetUVWBounds(shr::Box3d(0, 0, 0, kSide, kSide, kSide));
    return lattice;
}

// The gridder's own fill, as "Begin Gridding" runs it with inverse distance,
// power 2, no smoothing, isotropic, a simple search of 16 within the diagonal.
void Grid(const core::CPointData& table, core::VdUniformLattice& lattice)
{
    const core::CSearchRules search(1, kNeighbours, kSide * std::sqrt(3.0));
    const core::CInverseDistanceRules rules(0, 2.0, 0.0, core::CAffineTransform());
    core::VoGridder3Private::InverseDistanceFill(lattice, rules, search, table);
}

void OursGrid(benchmark::State& state, Case c, int threads)
{
    const auto table = MakeTable(Points(c.count));
    tbb::task_arena arena(threads);
    for (auto _ : state) {
        auto lattice = MakeLattice(c.nodes);
        arena.execute([&] { Grid(*table, *lattice); });
        benchmark::DoNotOptimize(lattice.get());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(c.nodes) * c.nodes * c.nodes);
}

// The best of the repetitions: the peer takes its best run too, which a
// machine shared with other work needs on both sides.
double Least(const std::vector<double>& values)
{
    return *std::min_element(values.begin(), values.end());
}

// ---- files for the peer -----------------------------------------------------------

// Our lattice values of a case, for the peer to compare with before it times.
bool WriteOurValues(const Case& c)
{
    const auto table = MakeTable(Points(c.count));
    auto lattice = MakeLattice(c.nodes);
    Grid(*table, *lattice);
    const size_t nodes = size_t(c.nodes) * c.nodes * c.nodes;
    const auto* values = static_cast<const double*>(lattice->DataPtr());
    return bench::WriteRaw("gridder_values_" + std::to_string(c.count) + "_" + std::to_string(c.nodes) + ".raw",
                           values, nodes * sizeof(double));
}

// One thread, and every core of the machine.
std::vector<int> ThreadCounts()
{
    const int all = tbb::info::default_concurrency();
    return all > 1 ? std::vector<int>{1, all} : std::vector<int>{1};
}

std::string Name(const Case& c, int threads)
{
    return "Ours/idw/" + c.name + "/threads:" + std::to_string(threads);
}

class TimesReporter : public benchmark::ConsoleReporter {
public:
    explicit TimesReporter(std::vector<Case> cases) : m_Cases(std::move(cases)) {}
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.aggregate_name != "min")
                continue;
            // The name without the "/iterations:1/repeats:3" that the settings add.
            const std::string name = run.benchmark_name();
            m_Seconds[name.substr(0, name.find("/iterations:"))] = {run.GetAdjustedRealTime() / 1e3,
                                                                    run.GetAdjustedCPUTime() / 1e3}; // in ms
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        // A run of one case, for the peer, leaves the list of all cases alone.
        const char* name = std::getenv("FENRAK_BENCH_CASE") ? "/gridder_case.txt" : "/gridder_ours.txt";
        FILE* file = std::fopen((bench::OutputFolder() + name).c_str(), "w");
        if (!file)
            return;
        for (const Case& c : m_Cases)
            for (int threads : ThreadCounts()) {
                auto time = m_Seconds.find(Name(c, threads));
                if (time != m_Seconds.end())
                    std::fprintf(file, "%s %zu %u %d %d %.9g %.9g\n", c.name.c_str(), c.count, c.nodes, kNeighbours,
                                 threads, time->second.first, time->second.second);
            }
        std::fclose(file);
    }

private:
    std::vector<Case> m_Cases;
    std::map<std::string, std::pair<double, double>> m_Seconds; // real, CPU
};

// Every case, or with FENRAK_BENCH_CASE set the one it names: the peer runs
// each case of ours just before its own.
std::vector<Case> Cases()
{
    const char* only = std::getenv("FENRAK_BENCH_CASE");
    std::vector<Case> all;
    for (size_t count : {size_t(10000), size_t(100000), size_t(1000000)})
        for (unsigned int nodes : {50u, 100u}) {
            const std::string name = std::to_string(count) + "/" + std::to_string(nodes);
            if (!only || name == only)
                all.push_back({name, count, nodes});
        }
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    const std::vector<Case> cases = Cases();
    for (const Case& c : cases) {
        const size_t count = c.count;
        const std::vector<double>& points = Points(count);
        if (!bench::WriteRaw("gridder_points_" + std::to_string(count) + ".raw", points)) {
            std::fprintf(stderr, "bench_gridder: cannot write the points beside the program\n");
            return 1;
        }
    }
    for (const Case& c : cases) {
        if (!WriteOurValues(c)) {
            std::fprintf(stderr, "bench_gridder: cannot write the values of %s\n", c.name.c_str());
            return 1;
        }
        for (int threads : ThreadCounts())
            benchmark::RegisterBenchmark(Name(c, threads).c_str(), OursGrid, c, threads)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->MeasureProcessCPUTime()
                ->Iterations(1)
                ->Repetitions(3)
                ->ComputeStatistics("min", Least);
    }
    TimesReporter reporter(cases);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
