// Contours and height fields as the modules run them, one network pass each:
//   Contour/n:      20 contour levels on an n x n image (1024, 4096): the
//                   plane's triangulation, the levels traced in parallel,
//                   joined into polylines and put into the scene; "levels"
//                   runs a module again (it keeps its memory), "first" is a
//                   new module's first run;
//   HeightField/n:  the 2048 x 2048 image lifted into a quad mesh with
//                   per-node colours and face normals.
// The images are terrain-like (Gaussian hills of many sizes on a gentle
// tilt, fixed seed), float, unit node spacing; they are written as raw
// little-endian floats beside this program with the levels, so that the peer
// script (bench/peers/contour_peer.py) works on the very same data.
//
// Before timing, the levels are traced once more through the tracer the
// module uses, and the counts the peer compares go out as counters: segments,
// distinct vertices, and the distinct vertices that lie on lattice edges (the
// points of contouring the image's squares), exact and narrowed to float. The height field's heights and normals
// are written for the peer to compare.
#include "bench/BenchSupport.h"
#include "core/data/VdGeometry.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VoNetwork.h"
#include "core/processing/VoLatticeSrc.h"
#include "core/visual/ContourGenerator.h"
#include "core/visual/VbTriangulateLattice2D.h"
#include "core/visual/VoContour.h"
#include "core/visual/VoHeightField.h"
#include "shr/Box3d.h"
#include "shr/StringUtil.h"

#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/nodes/SoQuadMesh.h>
#include <Inventor/nodes/SoVertexProperty.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using bench::WriteRaw;
using core::VoNetwork;

constexpr int kLevels = 20;
constexpr int kHills = 48;
constexpr double kHeightScale = 0.25;

// Hills of widths n/60 to n/6, each separable into a row and a column factor.
std::vector<float> Terrain(unsigned int n)
{
    std::mt19937 random(20261122u + n);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<double> field(size_t(n) * n, 0.0);
    std::vector<double> gx(n), gy(n);
    for (int h = 0; h < kHills; ++h) {
        const double cx = unit(random) * n, cy = unit(random) * n;
        const double sigma = n / 60.0 + unit(random) * (n / 6.0 - n / 60.0);
        const double amplitude = 2.0 * unit(random) - 1.0;
        for (unsigned int i = 0; i < n; ++i) {
            gx[i] = std::exp(-(i - cx) * (i - cx) / (2 * sigma * sigma));
            gy[i] = amplitude * std::exp(-(i - cy) * (i - cy) / (2 * sigma * sigma));
        }
        for (unsigned int j = 0; j < n; ++j)
            for (unsigned int i = 0; i < n; ++i)
                field[size_t(j) * n + i] += gx[i] * gy[j];
    }
    std::vector<float> values(field.size());
    for (unsigned int j = 0; j < n; ++j)
        for (unsigned int i = 0; i < n; ++i)
            values[size_t(j) * n + i] = static_cast<float>(field[size_t(j) * n + i] + 0.3 * i / n - 0.2 * j / n);
    return values;
}

core::VdUniformLattice* MakeLattice(const std::vector<float>& values, unsigned int n)
{
    const unsigned int dims[3] = {n, n, 1};
    auto* lattice = new core::VdUniformLattice(shr::Float, dims, values.data(), 1);
    lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(0, 0, 0), shr::Vec3d(n - 1.0, n - 1.0, 0.0)));
    return lattice;
}

// Levels at the middle of 20 equal bands of the data.
std::vector<double> Levels(const std::vector<float>& values)
{
    const auto [lo, hi] = std::minmax_element(values.begin(), values.end());
    std::vector<double> levels;
    for (int l = 0; l < kLevels; ++l)
        levels.push_back(*lo + (l + 0.5) * (double(*hi) - *lo) / kLevels);
    return levels;
}

struct Counts {
    double segments = 0, vertices = 0, edgePoints = 0, edgePointsFloat = 0;
};

// The number of distinct positions among `points`.
template <class Point>
size_t Distinct(std::vector<Point>& points)
{
    std::sort(points.begin(), points.end());
    return static_cast<size_t>(std::unique(points.begin(), points.end()) - points.begin());
}

// The module's tracer over the module's triangulation, level by level. The
// points on lattice edges are counted by distinct position, exact and as
// floats: a crossing that falls on a node (a node value within rounding of
// the level) is one position for all the edges that meet there.
Counts Trace(const core::VdLattice& lattice, const std::vector<double>& levels)
{
    core::VbTriangulateLattice2D triangulation(lattice);
    triangulation.TriangulateMesh(0, nullptr);
    core::ContourGenerator::Lines lines;
    Counts counts;
    for (const double level : levels) {
        core::ContourGenerator::Trace(level, triangulation, lines);
        counts.segments += lines.segments.size() / 2;
        counts.vertices += Distinct(lines.segments);
        std::vector<std::pair<double, double>> exact;
        std::vector<std::pair<float, float>> narrowed;
        for (const shr::Vec3d& p : lines.segments)
            if (std::floor(p.x) == p.x || std::floor(p.y) == p.y) {
                exact.emplace_back(p.x, p.y);
                narrowed.emplace_back(static_cast<float>(p.x), static_cast<float>(p.y));
            }
        counts.edgePoints += Distinct(exact);
        counts.edgePointsFloat += Distinct(narrowed);
    }
    return counts;
}

void RunPass()
{
    VoNetwork::Instance().Update();
    VoNetwork::Instance().WaitUntilDone(600000);
}

// A source holding the image and `module` fed by it, alone in the network.
template <class Module>
Module* Network(const std::vector<float>& values, unsigned int n, Module* module)
{
    VoNetwork& network = VoNetwork::Instance();
    network.DeleteAllNodes();
    auto* source = new core::VoLatticeSrc(MakeLattice(values, n), "");
    network.AddNode(source, true);
    network.AddNode(module, true);
    network.ConnectNodes(*module, source, 0, true);
    return module;
}

// A contour module on the image, drawing its 20 levels.
core::VoContour* NewContour(core::VoModule& source, const std::string& levels)
{
    auto* module = new core::VoContour;
    VoNetwork::Instance().AddNode(module, true);
    VoNetwork::Instance().ConnectNodes(*module, &source, 0, true);
    module->Method(core::VoContour::Explicit);
    module->ExplicitLevels(levels);
    module->ShowBorder(false);
    module->SetModified();
    return module;
}

// Two workloads: "levels", a run of a module that has run before (new levels
// or colours: it reuses its memory), and "first", the first run of a new
// module, which allocates its triangulation.
void BM_Contour(benchmark::State& state, bool first)
{
    const auto n = static_cast<unsigned int>(state.range(0));
    const std::vector<float> values = Terrain(n);
    const std::vector<double> levels = Levels(values);
    WriteRaw("contour_" + std::to_string(n) + ".raw", values);
    WriteRaw("contour_" + std::to_string(n) + ".levels", levels);
    std::string text;
    for (const double level : levels)
        text += shr::ToString("%.17g ", level);
    VoNetwork& network = VoNetwork::Instance();
    network.DeleteAllNodes();
    auto* source = new core::VoLatticeSrc(MakeLattice(values, n), "");
    network.AddNode(source, true);
    core::VoContour* module = NewContour(*source, text);
    RunPass(); // the source runs once, and the module
    const std::unique_ptr<core::VdUniformLattice> lattice(MakeLattice(values, n));
    const Counts counts = Trace(*lattice, levels);
    for (auto _ : state) {
        if (first) {
            state.PauseTiming();
            network.DeleteNode(module, false);
            module = NewContour(*source, text);
            state.ResumeTiming();
        }
        module->SetModified();
        RunPass();
    }
    if (module->GetStatus() != core::VoModule::ModuleOk)
        state.SkipWithError("the contour module did not finish");
    state.counters["segments"] = counts.segments;
    state.counters["vertices"] = counts.vertices;
    state.counters["edge_points"] = counts.edgePoints;
    state.counters["edge_points_float"] = counts.edgePointsFloat;
    network.DeleteAllNodes();
}

// The lifted mesh's heights and normals, as the scene holds them.
void WriteSurface(core::VoModule& module, unsigned int n)
{
    SoSearchAction search;
    search.setType(SoQuadMesh::getClassTypeId());
    search.apply(module.OutputGeometry(0).GetRoot().get());
    if (!search.getPath())
        return;
    const auto* mesh = static_cast<SoQuadMesh*>(search.getPath()->getTail());
    const auto* property = static_cast<SoVertexProperty*>(mesh->vertexProperty.getValue());
    std::vector<float> heights, normals;
    for (int v = 0; v < property->vertex.getNum(); ++v) {
        heights.push_back(property->vertex[v][2]);
        for (int axis = 0; axis < 3; ++axis)
            normals.push_back(property->normal[v][axis]);
    }
    WriteRaw("heightfield_" + std::to_string(n) + "_z.raw", heights);
    WriteRaw("heightfield_" + std::to_string(n) + "_normals.raw", normals);
}

void BM_HeightField(benchmark::State& state)
{
    const auto n = static_cast<unsigned int>(state.range(0));
    const std::vector<float> values = Terrain(n);
    WriteRaw("heightfield_" + std::to_string(n) + ".raw", values);
    auto* module = Network(values, n, new core::VoHeightField);
    module->Scale(kHeightScale);
    module->SetModified();
    RunPass();
    WriteSurface(*module, n);
    for (auto _ : state) {
        module->SetModified();
        RunPass();
    }
    if (module->GetStatus() != core::VoModule::ModuleOk)
        state.SkipWithError("the height field module did not finish");
    state.counters["vertices"] = double(n) * n;
    VoNetwork::Instance().DeleteAllNodes();
}

BENCHMARK_CAPTURE(BM_Contour, levels, false)->Arg(1024)->Arg(4096)->ArgName("n")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Contour, first, true)->Arg(1024)->Arg(4096)->ArgName("n")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_HeightField)->Arg(2048)->ArgName("n")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    return bench::RunNetworkBenchmarks(argc, argv);
}
