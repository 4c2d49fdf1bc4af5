// Volume rendering of a 256^3 lattice into a 1024 x 768 picture, through the
// volume node and the headless renderer, with 2-D and 3-D textures:
//   Fill:  the RGBA texels of the whole lattice through the colour map;
//   Load:  a new node's textures filled and uploaded: its first picture less
//          a steady frame, both drawn into a 64 x 48 picture so that the
//          frame's own cost stays out of the figure;
//   Frame: a 1024 x 768 picture once the textures are loaded; besides the
//          wall time, the CPU time of the whole process (the rasteriser's
//          threads included) as a counter.
// Each picture includes reading the pixels back. The float values are written
// as raw little-endian floats beside this program (volume_256.raw, i fastest),
// so that the peer script (bench/peers/volume_peer.py) draws the very same
// data with VTK, through the same camera and transfer function. A quarter-size
// picture of each mode goes to the folder named by FENRAK_BENCH_PICTURES
// (beside this program by default); the covered share of the picture and its
// mean brightness go out as counters for the peer to compare.
#include "bench/BenchSupport.h"
#include "bench/BenchPictures.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/InvVolume.h"
#include "core/graphics/VbColorMap.h"
#include "render/CoinInit.h"
#include "render/Image.h"
#include "render/OffscreenContext.h"
#include "render/SceneRenderer.h"

#include <Inventor/nodes/SoPerspectiveCamera.h>
#include <Inventor/nodes/SoSeparator.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr unsigned int kSide = 256;
constexpr int kWidth = 1024, kHeight = 768;
constexpr int kSmallWidth = 64, kSmallHeight = 48;
constexpr int kShrink = 4; // the saved pictures are a quarter of the size

// A blob in the middle and a lattice of weaker waves, over [-1, 1]^3: values
// about -0.3 to 1.3. Node (i, j, k) at voxel position (i, j, k).
std::vector<float> Field()
{
    std::vector<float> values(size_t(kSide) * kSide * kSide);
    const double step = 2.0 / (kSide - 1);
    size_t at = 0;
    for (unsigned int k = 0; k < kSide; ++k)
        for (unsigned int j = 0; j < kSide; ++j)
            for (unsigned int i = 0; i < kSide; ++i) {
                const double x = -1.0 + i * step, y = -1.0 + j * step, z = -1.0 + k * step;
                values[at++] = static_cast<float>(std::exp(-4.0 * (x * x + y * y + z * z)) +
                                                  0.3 * std::sin(8.0 * x) * std::sin(8.0 * y) * std::sin(8.0 * z));
            }
    return values;
}

struct Scene {
    Scene()
    {
        render::EnsureCoinInit();
        core::InvVolume::initClass();
        const std::vector<float> values = Field();
        bench::WriteRaw("volume_256.raw", values);
        const unsigned int dims[3] = {kSide, kSide, kSide};
        lattice = new core::VdUniformLattice(shr::Float, dims, values.data(), 1);
        lattice->AddRef();
        lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(0, 0, 0), shr::Vec3d(kSide - 1, kSide - 1, kSide - 1)));
        // Black to red to yellow to white; clear below 0.3 of the range, then
        // rising to 0.8 at the top. The peer sets the same points in data values.
        const std::pair<double, double> range = lattice->DataMinMax(0);
        map.ClearAllNodes();
        map.AddColorNode(0.0, shr::Color4b(0, 0, 0));
        map.AddColorNode(0.4, shr::Color4b(255, 0, 0));
        map.AddColorNode(0.7, shr::Color4b(255, 255, 0));
        map.AddColorNode(1.0, shr::Color4b(255, 255, 255));
        map.AddOpacityNode(0.0, 0.0);
        map.AddOpacityNode(0.3, 0.0);
        map.AddOpacityNode(1.0, 0.8);
        map.SetDataLimits(range.first, range.second);
        root = core::InvSmartPtr<SoSeparator>(new SoSeparator);
        auto* camera = new SoPerspectiveCamera;
        // The centre seen from (1, 0.8, 0.6) at 2.2 diagonals, Z up, 30 degrees high.
        const double centre = 0.5 * (kSide - 1), diagonal = std::sqrt(3.0) * (kSide - 1);
        const shr::Vec3d from = shr::Vec3d(1.0, 0.8, 0.6).Normalized() * (2.2 * diagonal) +
                                shr::Vec3d(centre, centre, centre);
        camera->position = SbVec3f(float(from.x), float(from.y), float(from.z));
        camera->pointAt(SbVec3f(float(centre), float(centre), float(centre)), SbVec3f(0, 0, 1));
        camera->heightAngle = float(30.0 * M_PI / 180.0);
        camera->nearDistance = float(diagonal);
        camera->farDistance = float(4.0 * diagonal);
        root->addChild(camera);
        drawing = std::make_unique<render::SceneRenderer>(context, kWidth, kHeight, shr::Color4b::Black);
        small = std::make_unique<render::SceneRenderer>(context, kSmallWidth, kSmallHeight, shr::Color4b::Black);
    }
    ~Scene()
    {
        small.reset();
        drawing.reset();
        root.reset();
        lattice->DecRef();
    }

    // A new node for `method`, in the scene in place of the last one.
    core::InvVolume& NewVolume(uint32_t method)
    {
        if (volume)
            root->removeChild(volume.get());
        volume = core::InvSmartPtr<core::InvVolume>(new core::InvVolume);
        volume->SetBoundingBox(lattice->GetUVWBounds());
        volume->SetLattice(lattice);
        volume->SetColorMap(&map);
        volume->SetRenderMethod(method);
        volume->SetTextureMode(core::TexRGBA);
        volume->SetSlices(0); // one slice per voxel along the diagonal, as the peer samples
        root->addChild(volume.get());
        return *volume;
    }

    render::Image Draw() { return drawing->Render(root.get()); }
    render::Image DrawSmall() { return small->Render(root.get()); }

    render::OffscreenContext context;
    core::VdUniformLattice* lattice = nullptr;
    core::VbColorMap map;
    core::InvSmartPtr<SoSeparator> root;
    core::InvSmartPtr<core::InvVolume> volume;
    std::unique_ptr<render::SceneRenderer> drawing;
    std::unique_ptr<render::SceneRenderer> small;
};

Scene& TheScene()
{
    static Scene scene;
    return scene;
}

const char* MethodName(int method) { return method == core::InvVolume::Textures3D ? "3d" : "2d"; }

void Summarise(benchmark::State& state, const render::Image& image, int method)
{
    benchpictures::Summarise(state, image, std::string("volume_ours_") + MethodName(method) + ".png", kShrink);
    state.SetLabel(MethodName(method));
}

double Seconds(std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to)
{
    return std::chrono::duration<double>(to - from).count();
}

void BM_Load(benchmark::State& state)
{
    Scene& scene = TheScene();
    const int method = static_cast<int>(state.range(0));
    for (auto _ : state) {
        scene.NewVolume(static_cast<uint32_t>(method));
        const auto start = std::chrono::steady_clock::now();
        scene.DrawSmall();
        const auto loaded = std::chrono::steady_clock::now();
        scene.DrawSmall();
        const auto again = std::chrono::steady_clock::now();
        state.SetIterationTime(std::max(0.0, Seconds(start, loaded) - Seconds(loaded, again)));
    }
    state.SetLabel(MethodName(method));
}

void BM_Frame(benchmark::State& state)
{
    Scene& scene = TheScene();
    const int method = static_cast<int>(state.range(0));
    scene.NewVolume(static_cast<uint32_t>(method));
    render::Image image = scene.Draw();
    const double start = benchpictures::ProcessSeconds();
    for (auto _ : state)
        image = scene.Draw();
    state.counters["process_cpu"] = (benchpictures::ProcessSeconds() - start) / static_cast<double>(state.iterations());
    Summarise(state, image, method);
}

// The texels alone: the colour map over every voxel, into one RGBA block.
void BM_Fill(benchmark::State& state)
{
    Scene& scene = TheScene();
    core::TexelSource source;
    source.lattice = scene.lattice;
    source.colorMap = &scene.map;
    const shr::Vec3i dims(kSide, kSide, kSide);
    std::vector<unsigned char> texels(size_t(kSide) * kSide * kSide * 4);
    for (auto _ : state) {
        core::FillTexels(source, shr::Vec3i(0, 0, 0), dims, dims, texels.data(), core::TexRGBA);
        benchmark::DoNotOptimize(texels.data());
    }
}

BENCHMARK(BM_Fill)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(1.0);
// One measurement a repetition: the peer takes the mean load and the best
// frame, as it does on VTK's side (the machine is shared; the best frame is
// the one least disturbed).
BENCHMARK(BM_Load)->Arg(0)->Arg(1)->ArgName("method")->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1)
    ->Repetitions(3);
BENCHMARK(BM_Frame)->Arg(0)->Arg(1)->ArgName("method")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)
    ->Repetitions(5);

} // namespace
BENCHMARK_MAIN();
