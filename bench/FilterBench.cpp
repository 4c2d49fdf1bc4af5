// Lattice filters on float data: 128^3 and 256^3 volumes (3D windows) and a
// 4096 x 4096 image (XY planes): average and Gaussian over 3 nodes a side,
// median over 3 and 5, and the Sobel norm. The input is generated here with a
// fixed seed and written as raw little-endian floats beside this program
// (filter_in_<shape>.raw; later runs read it back), and so is the first
// output of each run (filter_out_<case>_<shape>.raw), for the peer script
// (bench/peers/filter_peer.py) to compare with VTK's and scipy's before it
// times them. The thread count is a benchmark argument: 2 against VTK, 1
// against scipy, whose filters run on one thread.
#include "bench/BenchSupport.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/filters/CLatticeFilter.h"

#include <benchmark/benchmark.h>
#include <tbb/global_control.h>

#include <cmath>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using core::CLatticeFilter;
using core::VdUniformLattice;

struct Case {
    const char* name;
    uint32_t filter;
    unsigned int kernel;
    double parameter;
};

// Gauss with alpha 0.5 over 3 nodes: exp(-x^2 / 2) at offsets -1, 0, 1, a
// standard deviation of one node.
const Case kCases[] = {
    {"average3", CLatticeFilter::Average, 3, 0.0}, {"gauss3", CLatticeFilter::Gaussian, 3, 0.5},
    {"median3", CLatticeFilter::Median, 3, 0.0},   {"median5", CLatticeFilter::Median, 5, 0.0},
    {"sobel", CLatticeFilter::SobelB, 3, 0.0},
};

// Shape 128 and 256: a cube; 4096: a single image.
void Dims(unsigned int shape, unsigned int* dims)
{
    dims[0] = dims[1] = shape;
    dims[2] = shape == 4096 ? 1 : shape;
}

// A smooth field with noise on top, fixed seed; read back from its raw file
// when an earlier run has written it, so that every run starts quickly.
std::vector<float> Field(const unsigned int* dims)
{
    std::mt19937 random(20261125u + dims[0]);
    std::uniform_real_distribution<float> noise(-0.5f, 0.5f);
    std::vector<float> values;
    values.reserve(size_t(dims[0]) * dims[1] * dims[2]);
    for (unsigned int k = 0; k < dims[2]; ++k)
        for (unsigned int j = 0; j < dims[1]; ++j)
            for (unsigned int i = 0; i < dims[0]; ++i)
                values.push_back(float(std::sin(0.05 * i) * std::cos(0.07 * j) + 0.01 * k) + noise(random));
    return values;
}

std::unique_ptr<VdUniformLattice> MakeInput(unsigned int shape)
{
    unsigned int dims[3];
    Dims(shape, dims);
    const std::string name = "filter_in_" + std::to_string(shape) + ".raw";
    std::vector<float> values(size_t(dims[0]) * dims[1] * dims[2]);
    std::ifstream file(bench::OutputFolder() + "/" + name, std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(values.data()), std::streamsize(values.size() * sizeof(float)))) {
        values = Field(dims);
        bench::WriteRaw(name, values);
    }
    return std::make_unique<VdUniformLattice>(shr::Float, dims, values.data(), 1);
}

const VdUniformLattice& Input(unsigned int shape)
{
    return *bench::Cached(shape, [shape] { return MakeInput(shape); });
}

CLatticeFilter::Params Settings(const Case& c, const VdUniformLattice& input)
{
    CLatticeFilter::Params p;
    p.input = &input;
    p.filter = c.filter;
    p.edgeHandling = CLatticeFilter::EdgeReplicate;
    p.blankHandling = CLatticeFilter::BlankLeaveAlone;
    p.orientation = input.GetDims()[2] == 1 ? CLatticeFilter::XYPlanes : CLatticeFilter::Volume;
    std::fill(p.window, p.window + 3, c.kernel);
    p.components = {true};
    p.edgeFill = {0.0};
    p.blankFill = {0.0};
    const double parameters[CLatticeFilter::ParameterSlots] = {c.parameter};
    p.params = CLatticeFilter::ParameterVector(c.filter, parameters, 1);
    return p;
}

void BM_Filter(benchmark::State& state)
{
    const Case& c = kCases[state.range(0)];
    const unsigned int shape = static_cast<unsigned int>(state.range(1));
    const int threads = static_cast<int>(state.range(2));
    tbb::global_control limit(tbb::global_control::max_allowed_parallelism, size_t(threads));
    const VdUniformLattice& input = Input(shape);
    CLatticeFilter::Params p = Settings(c, input);
    // One output lattice for every run, as a VTK filter keeps its output
    // array from one update to the next: the first touch of its pages is not
    // timed. The first run's result goes to the peer, once per case and shape.
    VdUniformLattice output(shr::Float, input.GetDims(), nullptr, 1);
    p.output = &output;
    CLatticeFilter::Execute(p);
    static std::set<std::string> written;
    const std::string name = std::string("filter_out_") + c.name + "_" + std::to_string(shape) + ".raw";
    if (written.insert(name).second) {
        const float* result = static_cast<const float*>(output.DataPtr());
        bench::WriteRaw(name, std::vector<float>(result, result + output.VertexCount()));
    }
    for (auto _ : state) {
        if (!CLatticeFilter::Execute(p))
            state.SkipWithError("aborted");
        benchmark::DoNotOptimize(output.DataPtr());
    }
    state.SetLabel(c.name);
    state.counters["nodes"] =
        benchmark::Counter(double(input.VertexCount()), benchmark::Counter::kIsIterationInvariantRate);
}

void Arguments(benchmark::internal::Benchmark* b)
{
    for (int threads : {2, 1})
        for (int shape : {128, 256, 4096})
            for (int c = 0; c < int(sizeof kCases / sizeof kCases[0]); ++c)
                b->Args({c, shape, threads});
    b->ArgNames({"case", "shape", "threads"});
}

BENCHMARK(BM_Filter)->Apply(Arguments)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(0.2);

} // namespace
BENCHMARK_MAIN();
