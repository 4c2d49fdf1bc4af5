// Lattice files in: a 512^3 float SEG-Y cube and a 512^3 float NetCDF
// variable read into lattices, beside a plain read of the same bytes (the
// limit any reader meets: the whole file into memory with one fread).
//
// The files are made once in the system's temporary folder (fixed content:
// the test cube's amplitudes on a rotated 25 m survey; the NetCDF file is the
// cube written by our exporter) and stay for the peer (peers/io_peer.py),
// which reads them with VTK's SEG-Y and NetCDF CF readers. Written beside
// the program: the sum, minimum and maximum of each lattice's values
// (io_segy_sums.raw, io_netcdf_sums.raw, doubles) for the peer to compare,
// whatever order its reader puts the nodes in, before it times anything.
#include "bench/BenchSupport.h"
#include "core/data/VdLattice.h"
#include "host/LatticeFile.h"
#include "host/NetcdfGrid.h"
#include "tests/host/SegyFileMaker.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr int kSize = 512;
const char* const kSegyPath = "/tmp/fenrak_bench_io.sgy";
const char* const kNetcdfPath = "/tmp/fenrak_bench_io.nc";

bool Exists(const char* path, uint64_t minimumBytes)
{
    struct stat info {};
    return stat(path, &info) == 0 && uint64_t(info.st_size) >= minimumBytes;
}

std::unique_ptr<core::VdLattice> Read(const char* path)
{
    return host::LatticeFile::Read(path, path, host::FileOptions({}, path));
}

void MakeFiles()
{
    static bool made = false;
    if (made)
        return;
    made = true;
    const uint64_t bytes = uint64_t(kSize) * kSize * kSize * 4;
    if (!Exists(kSegyPath, bytes)) {
        hosttest::SegyCube cube;
        cube.inlines = cube.crosslines = cube.samples = kSize;
        cube.ax = 21.65, cube.ay = 12.5, cube.bx = -12.5, cube.by = 21.65;
        cube.originX = 431000, cube.originY = 6512000;
        cube.Write(kSegyPath);
    }
    if (!Exists(kNetcdfPath, bytes))
        host::NetcdfGrid::Write(*Read(kSegyPath), kNetcdfPath, kNetcdfPath);
}

void WriteSums(const core::VdLattice& lattice, const char* name)
{
    const auto* values = static_cast<const float*>(lattice.DataPtr());
    double sum = 0.0;
    for (size_t n = 0; n < lattice.VertexCount(); ++n)
        sum += values[n];
    const std::pair<double, double> range = lattice.DataMinMax(0);
    bench::WriteRaw(name, std::vector<double>{sum, range.first, range.second});
}

void BM_PlainRead(benchmark::State& state, const char* path)
{
    MakeFiles();
    for (auto _ : state) {
        FILE* file = std::fopen(path, "rb");
        std::fseek(file, 0, SEEK_END);
        const size_t size = size_t(std::ftell(file));
        // Uninitialised, as a reader's own buffer would be: no zeros written first.
        const std::unique_ptr<char[]> bytes(new char[size]);
        std::fseek(file, 0, SEEK_SET);
        benchmark::DoNotOptimize(std::fread(bytes.get(), 1, size, file));
        std::fclose(file);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize * kSize * kSize * 4);
}

void BM_ReadLattice(benchmark::State& state, const char* path, const char* sums)
{
    MakeFiles();
    for (auto _ : state) {
        std::unique_ptr<core::VdLattice> lattice = Read(path);
        benchmark::DoNotOptimize(lattice->DataPtr());
        state.PauseTiming();
        WriteSums(*lattice, sums);
        lattice.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize * kSize * kSize * 4);
}

BENCHMARK_CAPTURE(BM_PlainRead, segy, kSegyPath)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadLattice, segy, kSegyPath, "io_segy_sums.raw")
    ->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK_CAPTURE(BM_PlainRead, netcdf, kNetcdfPath)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadLattice, netcdf, kNetcdfPath, "io_netcdf_sums.raw")
    ->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
