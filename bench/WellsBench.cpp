// Wells: path computation and log file reading.
//
// Paths: 10,000 wells of 1,000 survey stations each (fixed seed: a kick-off,
// a build and a wandering hold, stations 10 m apart), turned into paths by
// each calculator through WellPathGenerator::GenerateAll, on one thread and
// on all of them (TBB's arena limited by global_control). The figure per
// station is the time divided by the 10 million stations.
//
// Log files: a 100 MB log file (one depth curve and eight logs, 0.1 m apart,
// with null gaps; fixed seed) written to the system's temporary folder and
// read three ways: a plain read of the whole file into memory (the limit a
// reader cannot beat), LasReader (the file parsed into curves), and
// WellSetLoader (curves made into a well's logs).
//
// Written beside the program for the peer (peers/wells_peer.py): the stations
// (azimuth, plunge, MD per station) and the tops, and our minimum curvature
// paths (x, y, z, MD per point), as little-endian doubles.
#include "bench/BenchSupport.h"
#include "core/wells/VdWellData.h"
#include "core/wells/WellPathGenerator.h"
#include "host/DelimitedText.h"
#include "host/LasReader.h"
#include "host/WellSetLoader.h"

#include <benchmark/benchmark.h>
#include <tbb/global_control.h>
#include <tbb/info.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using bench::WriteRaw;

constexpr int kWells = 10000;
constexpr int kStations = 1000;
constexpr double kStationStep = 10.0;
constexpr double kLasBytes = 100e6;
const char* const kLasPath = "/tmp/fenrak_bench_wells.las";

// The wells, made once, and written for the peer.
core::WellGroup& Wells()
{
    static std::unique_ptr<core::WellGroup> group;
    if (group)
        return *group;
    group = std::make_unique<core::WellGroup>();
    std::mt19937_64 random(20261205);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<double> stations, tops;
    stations.reserve(size_t(kWells) * kStations * 3);
    for (int w = 0; w < kWells; ++w) {
        char name[16];
        std::snprintf(name, sizeof name, "W%05d", w);
        auto well = std::make_shared<core::Well>(name);
        const double x = unit(random) * 20000, y = unit(random) * 20000, z = 500 + unit(random) * 100;
        well->Top(shr::Point3<double>(x, y, z));
        tops.insert(tops.end(), {x, y, z});
        const int kickOff = 20 + static_cast<int>(unit(random) * 100);
        const double build = 0.5 + unit(random) * 3, hold = 20 + unit(random) * 70;
        double az = unit(random) * 360, pl = 0;
        for (int s = 0; s < kStations; ++s) {
            if (s > kickOff)
                pl = std::min(hold, pl + build) + (unit(random) - 0.5) * 0.4;
            az = std::fmod(az + (unit(random) - 0.5) * 2 + 360, 360);
            const double md = s * kStationStep;
            well->AddTrajectoryPoint(core::WellTrajectoryPoint(az, std::max(pl, 0.0), md));
            stations.insert(stations.end(), {az, std::max(pl, 0.0), md});
        }
        group->AddWell(well);
    }
    WriteRaw("wells_stations.raw", stations);
    WriteRaw("wells_tops.raw", tops);
    return *group;
}

const char* const kMethods[] = {"MinimumCurvature", "BalancedTangential", "AverageAngle", "Tangential"};

// Arguments: method index, threads (0 for all).
void BM_Paths(benchmark::State& state)
{
    core::WellGroup& wells = Wells();
    const char* method = kMethods[state.range(0)];
    const int threads = state.range(1) > 0 ? static_cast<int>(state.range(1)) : tbb::info::default_concurrency();
    tbb::global_control control(tbb::global_control::max_allowed_parallelism, size_t(threads));
    const std::unique_ptr<core::WellPathGenerator> generator = core::WellPathGeneratorFactory::Construct(method);
    for (auto _ : state)
        benchmark::DoNotOptimize(generator->GenerateAll(wells).size());
    state.SetItemsProcessed(state.iterations() * int64_t(kWells) * kStations);
    state.counters["threads"] = threads;
    state.SetLabel(method);
    if (state.range(0) == 0 && state.range(1) == 0) {
        std::vector<double> paths;
        paths.reserve(size_t(kWells) * kStations * 4);
        for (const auto& well : wells)
            for (auto p = well->path_begin(); p != well->path_end(); ++p)
                paths.insert(paths.end(), {p->X(), p->Y(), p->Z(), p->MD()});
        WriteRaw("wells_paths.raw", paths);
    }
}

// Nine curves at 0.1 m: about 100 bytes a line, a million lines.
void WriteLasFile()
{
    FILE* file = std::fopen(kLasPath, "wb");
    if (!file)
        return;
    std::fputs("~VERSION INFORMATION\n VERS. 2.0 : CWLS LOG ASCII STANDARD\n WRAP. NO :\n"
               "~WELL INFORMATION\n STRT.M 100.0 :\n STEP.M 0.1 :\n NULL. -999.25 :\n WELL. BENCH-1 :\n"
               "~CURVE INFORMATION\n DEPT.M :\n GR.GAPI :\n RT.OHMM :\n RXO.OHMM :\n NPHI.V/V :\n RHOB.G/C3 :\n"
               " DT.US/M :\n CALI.MM :\n SP.MV :\n~A\n",
               file);
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    long written = std::ftell(file);
    for (long line = 0; written < kLasBytes; ++line) {
        const double depth = 100.0 + line * 0.1;
        const bool gap = (line / 5000) % 7 == 3;
        written += std::fprintf(file, "%10.2f %9.3f %10.4f %10.4f %8.4f %8.4f %9.3f %8.2f %9.3f\n", depth,
                                40 + unit(random) * 120, std::exp(unit(random) * 6), std::exp(unit(random) * 5),
                                gap ? -999.25 : unit(random) * 0.4, 2.0 + unit(random) * 0.9,
                                150 + unit(random) * 250, 200 + unit(random) * 20, -50 + unit(random) * 100);
    }
    std::fclose(file);
}

size_t LasFileSize()
{
    static const size_t size = [] {
        WriteLasFile();
        FILE* file = std::fopen(kLasPath, "rb");
        if (!file)
            return size_t(0);
        std::fseek(file, 0, SEEK_END);
        const long bytes = std::ftell(file);
        std::fclose(file);
        return size_t(bytes > 0 ? bytes : 0);
    }();
    return size;
}

void BM_PlainRead(benchmark::State& state)
{
    const size_t bytes = LasFileSize();
    for (auto _ : state)
        benchmark::DoNotOptimize(host::ReadTextFile(kLasPath, kLasPath, "log file").size());
    state.SetBytesProcessed(state.iterations() * int64_t(bytes));
}

void BM_LasRead(benchmark::State& state)
{
    const size_t bytes = LasFileSize();
    size_t depths = 0;
    for (auto _ : state)
        depths = host::LasReader::Read(kLasPath).DepthCount();
    state.SetBytesProcessed(state.iterations() * int64_t(bytes));
    state.counters["depths"] = static_cast<double>(depths);
}

void BM_LasToWell(benchmark::State& state)
{
    const size_t bytes = LasFileSize();
    host::WellLoadOptions options;
    options.pathMethod.clear();
    for (auto _ : state) {
        core::VdWellData wells;
        host::WellSetLoader::Load({kLasPath}, wells, options);
        benchmark::DoNotOptimize(wells.size());
    }
    state.SetBytesProcessed(state.iterations() * int64_t(bytes));
}

BENCHMARK(BM_Paths)
    ->ArgsProduct({{0, 1, 2, 3}, {1, 0}})
    ->ArgNames({"method", "threads"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(1.0);
BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_LasRead)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_LasToWell)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

} // namespace
BENCHMARK_MAIN();
