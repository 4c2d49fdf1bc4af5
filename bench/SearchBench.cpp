// Neighbour search of the gridder (CSearchEngine) against nanoflann's k-d tree,
// both single-threaded, on the same points and the same queries: the nodes of
// a 50^3 lattice over the data, visited in the gridder's serpentine order.
// Both sides answer "the k nearest within radius r". Two workloads per size:
// "knn" (radius the box diagonal, so k decides) and "radius" (r chosen so that
// some 32 points lie inside on average, k = 64, so the radius decides).
// Before timing, the neighbour sets of every query are compared; a mismatch
// stops the program. The tree builds are timed too.
//
// The raw inputs (points and queries as little-endian doubles) and our times
// with a checksum are written beside the program, for peers/search.py
// (scipy's cKDTree) to run the same workloads.
#include "bench/BenchSupport.h"
#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchEngine.h"
#include "core/gridding/CSearchRules.h"

#include <benchmark/benchmark.h>
#include <nanoflann.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

const double kSide = 100.0;
const int kLattice = 50;

struct Workload {
    std::string name; // e.g. "knn/100000"
    size_t count;
    int k;
    double radius;
};

// ---- inputs (fixed seeds) ----------------------------------------------------

std::vector<double> MakePoints(size_t count)
{
    std::mt19937_64 random(4242 + count);
    std::uniform_real_distribution<double> coord(0.0, kSide);
    std::vector<double> xyz(3 * count);
    for (double& v : xyz)
        v = coord(random);
    return xyz;
}

// Lattice nodes in the gridder's order: k outermost, j serpentine on k, i
// serpentine on j, so that consecutive queries are neighbours.
std::vector<double> MakeQueries()
{
    std::vector<double> xyz;
    const double step = kSide / (kLattice - 1);
    for (int k = 0; k < kLattice; ++k)
        for (int js = 0; js < kLattice; ++js) {
            const int j = k % 2 == 0 ? js : kLattice - 1 - js;
            for (int is = 0; is < kLattice; ++is) {
                const int i = j % 2 == 0 ? is : kLattice - 1 - is;
                xyz.insert(xyz.end(), {i * step, j * step, k * step});
            }
        }
    return xyz;
}

const std::vector<double>& Points(size_t count)
{
    return bench::Cached(count, [count] { return MakePoints(count); });
}

const std::vector<double>& Queries()
{
    static const std::vector<double> queries = MakeQueries();
    return queries;
}

std::unique_ptr<core::CPointData> MakeTable(const std::vector<double>& xyz)
{
    auto table = std::make_unique<core::CPointData>(1);
    table->reserve(xyz.size() / 3);
    for (size_t i = 0; i < xyz.size() / 3; ++i) {
        core::CPointDatum row(1);
        row.X() = xyz[3 * i];
        row.Y() = xyz[3 * i + 1];
        row.Z() = xyz[3 * i + 2];
        row.W(0, 0.0);
        row.ID(static_cast<uint32_t>(i));
        table->push_back(std::move(row));
    }
    return table;
}

// ---- nanoflann -----------------------------------------------------------------

struct Cloud {
    const std::vector<double>* xyz;
    size_t kdtree_get_point_count() const { return xyz->size() / 3; }
    double kdtree_get_pt(size_t i, size_t dim) const { return (*xyz)[3 * i + dim]; }
    template <class Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false;
    }
};

using FlannTree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 3, size_t>;

// nanoflann's k-nearest result set with the worst distance starting at r^2
// instead of infinity: the k nearest within the radius.
class RadiusKnnResultSet {
public:
    RadiusKnnResultSet(size_t capacity, double radius2, size_t* indices, double* dists)
        : m_Capacity(capacity), m_Count(0), m_Indices(indices), m_Dists(dists)
    {
        m_Dists[m_Capacity - 1] = radius2;
    }
    size_t size() const { return m_Count; }
    bool full() const { return m_Count == m_Capacity; }
    bool addPoint(double dist, size_t index)
    {
        size_t i = m_Count;
        for (; i > 0 && m_Dists[i - 1] > dist; --i)
            if (i < m_Capacity) {
                m_Dists[i] = m_Dists[i - 1];
                m_Indices[i] = m_Indices[i - 1];
            }
        if (i < m_Capacity) {
            m_Dists[i] = dist;
            m_Indices[i] = index;
        }
        if (m_Count < m_Capacity)
            ++m_Count;
        return true;
    }
    double worstDist() const { return m_Dists[m_Capacity - 1]; }

private:
    size_t m_Capacity;
    size_t m_Count;
    size_t* m_Indices;
    double* m_Dists;
};

// ---- the two sides ---------------------------------------------------------------

// Receives each query's sorted row indices when the answers are compared.
using Visitor = std::function<void(size_t query, const std::vector<size_t>& rows)>;

// Runs every query; returns the number of neighbours found.
size_t RunOurs(core::CSearchEngine& engine, const core::CPointData& table, const Visitor* visit)
{
    const std::vector<double>& q = Queries();
    std::vector<core::CNeighbor> neighbours;
    std::vector<size_t> indices;
    size_t total = 0;
    for (size_t i = 0; i < q.size() / 3; ++i) {
        engine.Search(shr::Point3<double>(q[3 * i], q[3 * i + 1], q[3 * i + 2]), neighbours);
        total += neighbours.size();
        if (visit) {
            indices.clear();
            for (const core::CNeighbor& n : neighbours)
                indices.push_back(static_cast<size_t>(n.datum - &table[0]));
            std::sort(indices.begin(), indices.end());
            (*visit)(i, indices);
        }
    }
    return total;
}

size_t RunFlann(const FlannTree& tree, const Workload& w, const Visitor* visit)
{
    const std::vector<double>& q = Queries();
    std::vector<size_t> indices(w.k);
    std::vector<double> dists(w.k);
    std::vector<size_t> sorted;
    size_t total = 0;
    for (size_t i = 0; i < q.size() / 3; ++i) {
        RadiusKnnResultSet result(w.k, w.radius * w.radius, indices.data(), dists.data());
        tree.findNeighbors(result, &q[3 * i], nanoflann::SearchParams());
        total += result.size();
        if (visit) {
            sorted.assign(indices.begin(), indices.begin() + result.size());
            std::sort(sorted.begin(), sorted.end());
            (*visit)(i, sorted);
        }
    }
    return total;
}

core::CSearchRules Rules(const Workload& w)
{
    return core::CSearchRules(1, w.k, w.radius);
}

// Every query must give the same neighbour set on both sides. Returns the
// checksum (sum of the row indices found) for the peer script.
bool Agree(const Workload& w, double& checksum, size_t& total)
{
    const std::vector<double>& xyz = Points(w.count);
    const auto table = MakeTable(xyz);
    core::CSearchEngine engine(Rules(w), *table);
    Cloud cloud{&xyz};
    FlannTree tree(3, cloud);
    std::vector<std::vector<size_t>> ours(Queries().size() / 3);
    checksum = 0;
    const Visitor keep = [&](size_t i, const std::vector<size_t>& found) {
        ours[i] = found;
        for (size_t index : found)
            checksum += static_cast<double>(index);
    };
    total = RunOurs(engine, *table, &keep);
    size_t mismatches = 0;
    const Visitor compare = [&](size_t i, const std::vector<size_t>& found) {
        if (found != ours[i] && mismatches++ < 3)
            std::fprintf(stderr, "%s: query %zu: %zu neighbours here, %zu in nanoflann\n", w.name.c_str(), i,
                         ours[i].size(), found.size());
    };
    RunFlann(tree, w, &compare);
    return mismatches == 0;
}

void OursBuild(benchmark::State& state, Workload w)
{
    const auto table = MakeTable(Points(w.count));
    for (auto _ : state) {
        core::CSearchEngine engine(Rules(w), *table);
        benchmark::DoNotOptimize(&engine);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(w.count));
}

void FlannBuild(benchmark::State& state, Workload w)
{
    Cloud cloud{&Points(w.count)};
    for (auto _ : state) {
        FlannTree tree(3, cloud);
        benchmark::DoNotOptimize(&tree);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(w.count));
}

void OursQuery(benchmark::State& state, Workload w)
{
    const auto table = MakeTable(Points(w.count));
    core::CSearchEngine engine(Rules(w), *table);
    for (auto _ : state)
        benchmark::DoNotOptimize(RunOurs(engine, *table, nullptr));
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(Queries().size() / 3));
}

void FlannQuery(benchmark::State& state, Workload w)
{
    Cloud cloud{&Points(w.count)};
    FlannTree tree(3, cloud);
    for (auto _ : state)
        benchmark::DoNotOptimize(RunFlann(tree, w, nullptr));
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(Queries().size() / 3));
}

// ---- files for the peer script -------------------------------------------------

// ---- registration and the ratio report -------------------------------------------

class RatioReporter : public benchmark::ConsoleReporter {
public:
    explicit RatioReporter(std::vector<Workload> workloads, std::map<std::string, std::pair<size_t, double>> sums)
        : m_Workloads(std::move(workloads)), m_Sums(std::move(sums))
    {
    }
    // Each side's best repetition, real and CPU time (both single-threaded:
    // CPU time stays near the work done when other programs share the machine).
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.aggregate_name != "min")
                continue;
            const std::string name = run.benchmark_name();
            const std::string plain = name.substr(0, name.find("/repeats:"));
            m_Seconds[plain] = run.GetAdjustedRealTime() / 1e3; // reported in ms
            m_CpuSeconds[plain] = run.GetAdjustedCPUTime() / 1e3;
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\nRatio engine / nanoflann, best of the repetitions (below 1.0 = faster than nanoflann):\n");
        std::printf("  %-28s %6s %6s\n", "", "real", "CPU");
        for (const auto& entry : m_Seconds) {
            const std::string& name = entry.first;
            if (name.compare(0, 5, "Ours/") != 0)
                continue;
            const std::string peerName = "Nanoflann/" + name.substr(5);
            auto peer = m_Seconds.find(peerName);
            if (peer != m_Seconds.end() && peer->second > 0 && m_CpuSeconds[peerName] > 0)
                std::printf("  %-28s %6.2f %6.2f\n", name.substr(5).c_str(), entry.second / peer->second,
                            m_CpuSeconds[name] / m_CpuSeconds[peerName]);
        }
        WriteOurTimes();
    }

private:
    // One line per query workload: name count k radius seconds neighbours checksum.
    void WriteOurTimes() const
    {
        FILE* file = std::fopen((bench::OutputFolder() + "/search_ours.txt").c_str(), "w");
        if (!file)
            return;
        for (const Workload& w : m_Workloads) {
            auto time = m_Seconds.find("Ours/query/" + w.name);
            auto sums = m_Sums.find(w.name);
            if (time == m_Seconds.end() || sums == m_Sums.end())
                continue;
            std::fprintf(file, "%s %zu %d %.17g %.9g %zu %.17g\n", w.name.c_str(), w.count, w.k, w.radius,
                         time->second, sums->second.first, sums->second.second);
        }
        std::fclose(file);
    }

    std::vector<Workload> m_Workloads;
    std::map<std::string, std::pair<size_t, double>> m_Sums;
    std::map<std::string, double> m_Seconds;
    std::map<std::string, double> m_CpuSeconds;
};

// Repeated, the best repetition kept: a machine shared with other work slows
// some repetitions of either side at random.
double Least(const std::vector<double>& values)
{
    return *std::min_element(values.begin(), values.end());
}

void Timed(benchmark::internal::Benchmark* b)
{
    b->Unit(benchmark::kMillisecond)->Repetitions(3)->ComputeStatistics("min", Least)->ReportAggregatesOnly(true);
}

std::vector<Workload> Workloads()
{
    std::vector<Workload> all;
    for (size_t count : {size_t(10000), size_t(100000), size_t(1000000)}) {
        const double volume = kSide * kSide * kSide;
        const double radius32 = std::cbrt(32.0 * volume * 3.0 / (4.0 * M_PI * static_cast<double>(count)));
        all.push_back({"knn/" + std::to_string(count), count, 16, kSide * std::sqrt(3.0)});
        all.push_back({"radius/" + std::to_string(count), count, 64, radius32});
    }
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;

    const std::vector<Workload> workloads = Workloads();
    std::map<std::string, std::pair<size_t, double>> sums;
    for (const Workload& w : workloads) {
        double checksum = 0;
        size_t total = 0;
        if (!Agree(w, checksum, total)) {
            std::fprintf(stderr, "bench_search: %s: the engine and nanoflann disagree; not timed\n", w.name.c_str());
            return 1;
        }
        sums[w.name] = {total, checksum};
    }
    bench::WriteRaw("search_queries.raw", Queries());
    for (size_t count : {size_t(10000), size_t(100000), size_t(1000000)})
        bench::WriteRaw("search_points_" + std::to_string(count) + ".raw", Points(count));

    for (const Workload& w : workloads) {
        if (w.name.compare(0, 4, "knn/") == 0) {
            const std::string size = std::to_string(w.count);
            Timed(benchmark::RegisterBenchmark(("Ours/build/" + size).c_str(), OursBuild, w));
            Timed(benchmark::RegisterBenchmark(("Nanoflann/build/" + size).c_str(), FlannBuild, w));
        }
        Timed(benchmark::RegisterBenchmark(("Ours/query/" + w.name).c_str(), OursQuery, w));
        Timed(benchmark::RegisterBenchmark(("Nanoflann/query/" + w.name).c_str(), FlannQuery, w));
    }
    RatioReporter reporter(workloads, sums);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
