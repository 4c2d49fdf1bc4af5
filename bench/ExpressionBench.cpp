// Expression evaluation over a 256^3 lattice: one compiled expression of ten
// operations, evaluated per node from three input arrays with tbb::parallel_for,
// the way the lattice modules use it. The peer, peers/expression_calculator.py,
// evaluates the same text over the same inputs with VTK's vtkArrayCalculator at
// the same thread count; it reads the raw inputs and our timing this program
// writes beside itself, and prints the ratio.
#include "tzexpr/CExpression.h"

#include <benchmark/benchmark.h>
#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

const unsigned int Side = 256;
const unsigned int NodeCount = Side * Side * Side;
// Ten operations; the peer's parser reads the same text.
const char* const Text = "a*b + c*c - a/(b + 2) + sqrt(abs(c)) * 0.5";

struct Inputs {
    std::vector<double> a, b, c;
};

Inputs MakeInputs()
{
    std::mt19937_64 random(5151);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    Inputs inputs;
    for (std::vector<double>* array : {&inputs.a, &inputs.b, &inputs.c}) {
        array->resize(NodeCount);
        for (double& v : *array)
            v = value(random);
    }
    return inputs;
}

void WriteRaw(const std::string& path, const Inputs& inputs)
{
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        throw std::runtime_error("cannot write " + path);
    for (const std::vector<double>* array : {&inputs.a, &inputs.b, &inputs.c})
        std::fwrite(array->data(), sizeof(double), array->size(), file);
    std::fclose(file);
}

tzexpr::CExpression Compile()
{
    tzexpr::CExpression expression;
    int code = 0;
    shr::GString message;
    if (!expression.Parse(std::string("W = ") + Text, "double:W double:a double:b double:c", &code, &message, nullptr))
        throw std::runtime_error("benchmark expression does not parse: " + message);
    return expression;
}

void EvaluateAll(const tzexpr::CExpression& expression, const Inputs& inputs, std::vector<double>& output)
{
    tbb::parallel_for(
        tbb::blocked_range<unsigned int>(0, NodeCount),
        [&](const tbb::blocked_range<unsigned int>& range) {
            double w = 0;
            void const* pointers[4] = {&w, nullptr, nullptr, nullptr};
            for (unsigned int n = range.begin(); n != range.end(); ++n) {
                pointers[1] = &inputs.a[n];
                pointers[2] = &inputs.b[n];
                pointers[3] = &inputs.c[n];
                if (!expression.Evaluate(pointers, &output[n], nullptr, nullptr))
                    output[n] = 0;
            }
        },
        tbb::auto_partitioner());
}

const Inputs& TheInputs()
{
    static const Inputs inputs = MakeInputs();
    return inputs;
}

double g_BestSeconds = std::numeric_limits<double>::infinity();
double g_Checksum = 0;

void BM_ExpressionLattice(benchmark::State& state)
{
    const int threads = int(state.range(0));
    tbb::global_control control(tbb::global_control::max_allowed_parallelism, size_t(threads));
    const tzexpr::CExpression expression = Compile();
    const Inputs& inputs = TheInputs();
    std::vector<double> output(NodeCount);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        EvaluateAll(expression, inputs, output);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        g_BestSeconds = std::min(g_BestSeconds, elapsed.count());
        benchmark::DoNotOptimize(output.data());
    }
    g_Checksum = 0;
    for (double w : output)
        g_Checksum += w;
    state.SetItemsProcessed(int64_t(state.iterations()) * NodeCount);
}

int ThreadCount()
{
    return int(std::max(1u, std::thread::hardware_concurrency()));
}

std::string Directory(const char* program)
{
    const std::string path(program);
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

} // namespace

int main(int argc, char** argv)
{
    const std::string directory = Directory(argv[0]);
    WriteRaw(directory + "/expression_input.raw", TheInputs());
    benchmark::RegisterBenchmark("ExpressionLattice/256^3", BM_ExpressionLattice)
        ->Arg(ThreadCount())
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->MinTime(2.0);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    // For the peer: side, thread count, our best time per pass, the sum of the outputs.
    FILE* file = std::fopen((directory + "/expression_ours.txt").c_str(), "w");
    if (!file)
        return 1;
    std::fprintf(file, "%u %d %.9f %.17g\n%s\n", Side, ThreadCount(), g_BestSeconds, g_Checksum, Text);
    std::fclose(file);
    return 0;
}
