// The scatter plot and the face render as a pass runs them, module and all.
//
// Symbols: 10^6 points scattered over a 1000 x 1000 x 200 box (fixed seed),
// coloured by a value through the default grey map, drawn as the fast square
// points (symbol 30) and as 7-pixel filled squares (symbol 21): the scene's
// vertex property with its packed colours and the point or marker set.
//
// Face render: an n^3 lattice (n = 64, 128, 256) whose node value is the
// distance from its first corner over the diagonal of a cell count; the map
// is clear below 0.6 of the axis, so that a rounded corner is cut out of the
// block: the outer faces and the faces of the cut are drawn, with colours and
// normals per face. Cells take their first node's value.
//
// Inputs, the colour tables and our point colours are written as raw files
// beside this program for bench/peers/scatter_peer.py, which runs VTK on the
// same data and compares the outputs before timing.
#include "bench/BenchSupport.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/VoNetwork.h"
#include "core/processing/VoLatticeSrc.h"
#include "core/processing/VoPointsSrc.h"
#include "core/visual/VoFaceRender.h"
#include "core/visual/VoScatterPlot.h"
#include "shr/Box3d.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace core;

constexpr unsigned int kPoints = 1000000;

using bench::WriteRaw;

void WriteTable(const std::string& name, const VbColorMap& map)
{
    std::vector<shr::Color4b> table;
    for (int i = 0; i < 256; ++i)
        table.push_back(map.PosToColor(i / 255.0));
    WriteRaw(name, table);
}

std::shared_ptr<VgRenderer> Renderer() { return std::make_shared<VgRenderer>(SceneTransform(0.0, 0.0, true)); }

VoScatterPlot& Scatter()
{
    static VoScatterPlot* plot = [] {
        std::mt19937_64 random(20261125);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        std::vector<double> coords, values;
        for (unsigned int p = 0; p < kPoints; ++p) {
            const double x = 1000 * unit(random), y = 1000 * unit(random), z = 200 * unit(random);
            coords.insert(coords.end(), {x, y, z});
            values.push_back(std::sin(x * 0.01) * std::cos(y * 0.013) + z * 0.002 + 0.1 * unit(random));
        }
        WriteRaw("scatter_coords.raw", coords);
        WriteRaw("scatter_values.raw", values);
        VoNetwork& network = VoNetwork::Instance();
        auto* source = new VoPointsSrc(shr::Double, shr::Double, kPoints, coords.data(), values.data(), 1, "");
        auto* module = new VoScatterPlot;
        network.AddNode(source, true);
        network.AddNode(module, true);
        network.ConnectNodes(*module, source, 0, true);
        WriteTable("scatter_table.raw", module->GetColorMap());
        return module;
    }();
    return *plot;
}

void BM_PointSymbols(benchmark::State& state)
{
    VoScatterPlot& plot = Scatter();
    plot.Symbol(state.range(0) == 0 ? VoScatterPlot::kFastSquare : 21);
    plot.Execute(Renderer());
    for (auto _ : state)
        plot.Execute(Renderer());
    const VgVertexData& symbols = plot.Symbols();
    WriteRaw("scatter_colors.raw", symbols.colors);
    state.counters["symbols"] = double(symbols.vertices.size());
    state.SetLabel(state.range(0) == 0 ? "points" : "squares");
}

// Node value: distance from node (0, 0, 0) in cells, over n - 1.
VoFaceRender* MakeBlocks(unsigned int n)
{
    VoNetwork& network = VoNetwork::Instance();
    std::vector<float> values(size_t(n) * n * n);
    size_t at = 0;
    for (unsigned int k = 0; k < n; ++k)
        for (unsigned int j = 0; j < n; ++j)
            for (unsigned int i = 0; i < n; ++i)
                values[at++] = float(std::sqrt(double(i) * i + double(j) * j + double(k) * k) / (n - 1));
    WriteRaw("face_nodes_" + std::to_string(n) + ".raw", values);
    const unsigned int dims[3] = {n, n, n};
    auto* lattice = new VdUniformLattice(shr::Float, dims, values.data(), 1);
    lattice->SetUVWBounds(shr::Box3d(0, 0, 0, n - 1.0, n - 1.0, n - 1.0));
    auto* source = new VoLatticeSrc(lattice, "");
    auto* module = new VoFaceRender;
    network.AddNode(source, true);
    network.AddNode(module, true);
    network.ConnectNodes(*module, source, 0, true);
    module->UseComponentAverage(false);
    VbColorMap& map = module->GetColorMap();
    const double cut = 0.6 / std::sqrt(3.0); // the window runs from 0 to sqrt(3)
    for (const auto& [pos, opacity] : {std::pair<double, double>{0.0, 0.0}, {cut, 0.0}, {cut + 0.001, 1.0}, {1.0, 1.0}})
        map.AddOpacityNode(pos, opacity);
    WriteTable("face_table.raw", map);
    return module;
}

// One module per size, kept for the benchmark's repetitions.
VoFaceRender& Blocks(unsigned int n)
{
    return *bench::Cached(n, [n] { return MakeBlocks(n); });
}

void BM_FaceRender(benchmark::State& state)
{
    const unsigned int n = static_cast<unsigned int>(state.range(0));
    VoFaceRender& module = Blocks(n);
    module.Execute(Renderer());
    for (auto _ : state)
        module.Execute(Renderer());
    const VgVertexData& faces = module.Faces();
    double red = 0.0;
    for (const shr::Color4b& color : faces.colors)
        red += color.r;
    state.counters["faces"] = double(faces.colors.size());
    state.counters["mean_red"] = faces.colors.empty() ? 0.0 : red / double(faces.colors.size());
    state.counters["blocks"] = module.BlockCount();
}

// Single runs, repeated, as the peer times VTK: on a machine shared with
// other work the best run says most. CPU time is the whole process's,
// worker threads included.
BENCHMARK(BM_PointSymbols)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("kind")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Iterations(1)
    ->Repetitions(7);
BENCHMARK(BM_FaceRender)
    ->Arg(64)
    ->Arg(128)
    ->Arg(256)
    ->ArgName("n")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Iterations(1)
    ->Repetitions(5);

} // namespace

int main(int argc, char** argv)
{
    return bench::RunNetworkBenchmarks(argc, argv);
}
