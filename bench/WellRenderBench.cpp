// One frame of 100 wells of 2,000 log samples each, drawn by the well render
// module as tubes coloured by one log and sized by another, into a 1024 x 768
// picture through the headless renderer:
//   FirstFrame: the scene drawn and read back after the module has run: the
//          tubes made from the logs, then drawn;
//   Frame: the frames after it, drawn from the tubes the first one kept;
//          besides the wall time, the CPU time of the whole process (the
//          rasteriser's threads included) as a counter;
//   Build: the tube geometry alone, without drawing: the walk along the logs,
//          the colours and sizes, and the triangles;
//   GleFrame: for the record, the same tube calls sent each frame through
//          the extrusion library's glePolyCylinder_c4f in immediate mode
//          (join style 530, 20 sides), as the module's drawing could have been.
// The wells (fixed seed) stand on a 10 x 10 grid 100 m apart, vertical to a
// kick-off and then building angle; their paths have a point every 25 m, the
// logs a sample every 0.5 m between them. The points the tubes pass through
// (every path point and every log sample, in depth order), the gamma ray that
// colours them and the radius of the segment starting at each are written as
// raw little-endian files beside this program (wellrender_*.raw) for the peer
// (bench/peers/wellrender_peer.py), which draws the same tubes with VTK. A
// quarter-size picture goes to FENRAK_BENCH_PICTURES (beside this program by
// default); the covered share of the picture and its mean brightness go out
// as counters for the peer to compare.
#include "bench/BenchSupport.h"
#include "bench/BenchPictures.h"
#include "core/data/VdGeometry.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VoNetwork.h"
#include "core/wells/VdWellData.h"
#include "core/wells/VoWellData.h"
#include "core/wells/VoWellRender.h"
#include "core/wells/WellLogInterpolator.h"
#include "render/CoinInit.h"
#include "render/Image.h"
#include "render/OffscreenContext.h"
#include "render/SceneRenderer.h"
#include "shr/MathUtil.h"

#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoPerspectiveCamera.h>
#include <Inventor/nodes/SoSeparator.h>
#include <benchmark/benchmark.h>

#include <GL/gl.h>
#include <GL/gle.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using core::VoWellRenderPrivate::ByLog;

constexpr int kWells = 100;
constexpr int kSamples = 2000;
constexpr double kStep = 0.5;        // between log samples
constexpr double kStation = 25.0;    // between path points
constexpr double kSpacing = 100.0;   // between well heads
constexpr double kTubeSize = 5.0;    // the size row: radii run 2.5 to 7.5
constexpr int kWidth = 1024, kHeight = 768;
constexpr int kShrink = 4;

// A well from (x, y, 0): vertical to its kick-off, then building 3 degrees
// every 25 m towards `azimuth`; logs from 0.25 m, every 0.5 m.
std::shared_ptr<core::Well> MakeWell(int index, std::mt19937& random)
{
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::normal_distribution<double> noise(0.0, 1.0);
    auto well = std::make_shared<core::Well>("W" + std::to_string(index));
    const double x0 = (index % 10) * kSpacing, y0 = (index / 10) * kSpacing;
    const double kickOff = 200.0 + 200.0 * uniform(random), azimuth = 2.0 * M_PI * uniform(random);
    well->Top(shr::Point3<double>(x0, y0, 0.0));
    const double total = kSamples * kStep;
    shr::Vec3d at(x0, y0, 0.0);
    double inclination = 0.0;
    for (double md = 0.0; md <= total + 1e-9; md += kStation) {
        well->AddPathPoint(core::WellPathPoint(at.x, at.y, at.z, md));
        if (md >= kickOff)
            inclination = std::min(inclination + 3.0 * M_PI / 180.0, 50.0 * M_PI / 180.0);
        at += shr::Vec3d(std::sin(inclination) * std::sin(azimuth), std::sin(inclination) * std::cos(azimuth),
                         -std::cos(inclination)) * kStation;
    }
    auto gr = std::make_shared<core::WellLog>(core::LogInit{"GR", -999.25});
    auto rt = std::make_shared<core::WellLog>(core::LogInit{"RT", -999.25});
    double grValue = 80.0, rtValue = 50.0;
    for (int n = 0; n < kSamples; ++n) {
        const double md = 0.25 + n * kStep;
        grValue = std::clamp(grValue + 4.0 * noise(random), 20.0, 200.0);
        rtValue = std::clamp(rtValue * std::exp(0.08 * noise(random)), 2.0, 2000.0);
        gr->Append(core::LogEntry(md, grValue));
        rt->Append(core::LogEntry(md, std::log10(rtValue)));
    }
    gr->UpdateIntervals();
    rt->UpdateIntervals();
    well->AddLog(gr);
    well->AddLog(rt);
    return well;
}

// The points the tubes pass through, with the gamma ray at each and the radius
// of the segment that starts there, for the peer.
void WriteTubes(const core::VdWellData& wells, const core::VoWellRender& render)
{
    const core::VoWellRender::Fields& f = render.Settings();
    std::vector<int32_t> counts;
    std::vector<double> points, gamma, radii;
    for (const auto& well : wells) {
        const auto gr = well->Log("GR");
        const auto rt = well->Log("RT");
        const std::vector<core::WellPathPoint> samples = core::CollectSamples(*well, *rt);
        counts.push_back(static_cast<int32_t>(samples.size()));
        for (const core::WellPathPoint& sample : samples) {
            points.insert(points.end(), {sample.X(), sample.Y(), sample.Z()});
            double value = 0.0;
            gamma.push_back(gr->Interpolate(sample.MD(), value) ? value : f.m_PathColorMap.GetDataMin());
            radii.push_back(rt->Interpolate(sample.MD(), value)
                                ? (shr::Normalize(value, f.m_PathSizeRange.first, f.m_PathSizeRange.second) + 0.5) *
                                      f.m_PathSize
                                : 1.0);
        }
    }
    bench::WriteRaw("wellrender_counts.raw", counts);
    bench::WriteRaw("wellrender_points.raw", points);
    bench::WriteRaw("wellrender_gr.raw", gamma);
    bench::WriteRaw("wellrender_radius.raw", radii);
    const std::vector<double> limits = {f.m_PathColorMap.GetDataMin(), f.m_PathColorMap.GetDataMax()};
    bench::WriteRaw("wellrender_limits.raw", limits);
}

struct Scene {
    Scene()
    {
        render::EnsureCoinInit();
        core::VoNetwork& network = core::VoNetwork::Instance();
        network.Init();
        auto* wells = new core::VdWellData;
        std::mt19937 random(20261125);
        for (int n = 0; n < kWells; ++n)
            wells->AddWell(MakeWell(n, random));
        source = new core::VoWellData(wells);
        module = new core::VoWellRender;
        network.AddNode(source, true);
        network.AddNode(module, true);
        network.ConnectNodes(*module, source, 0, true);
        core::VoWellRender::Fields& f = module->Settings();
        f.m_PathColorMethod = ByLog;
        f.m_PathColorLog = "GR";
        f.m_PathColorMap = core::VbColorMap("Rainbow", 0, 256);
        f.m_PathColorMap.ClearColorNodes();
        f.m_PathColorMap.AddColorNode(0.0, shr::Color4b(0, 0, 255));
        f.m_PathColorMap.AddColorNode(0.5, shr::Color4b(0, 255, 0));
        f.m_PathColorMap.AddColorNode(1.0, shr::Color4b(255, 0, 0));
        f.m_PathSizeMethod = ByLog;
        f.m_PathSizeLog = "RT";
        f.m_PathSize = kTubeSize;
        f.m_TextFormat.m_Flag1 = false;
        core::VoWellRender::Range range;
        core::VoWellRender::CollectLogRange(*wells, "GR", range, nullptr);
        f.m_PathColorMap.SetDataLimits(range.first, range.second);
        core::VoWellRender::CollectLogRange(*wells, "RT", f.m_PathSizeRange, nullptr);
        WriteTubes(*wells, *module);

        camera = Camera(wells->GetXYZBounds());
        Execute();
        drawing = std::make_unique<render::SceneRenderer>(context, kWidth, kHeight, shr::Color4b::Black);
    }

    // The module's execution as a pass makes it: its scene holds a new
    // drawing, whose tubes are made at its first frame.
    void Execute()
    {
        auto renderer = std::make_shared<core::VgRenderer>(core::SceneTransform(0.0, 0.0, true));
        module->Execute(renderer);
        root = core::InvSmartPtr<SoSeparator>(new SoSeparator);
        root->addChild(camera.get());
        root->addChild(module->OutputGeometry(0).GetRoot().get());
    }
    ~Scene()
    {
        drawing.reset();
        root.reset();
        camera.reset();
    }

    // The centre seen from (1, -0.8, 0.6) at 1.6 diagonals, Z up, 30 degrees
    // high; the peer places its camera in the same way.
    static SoPerspectiveCamera* Camera(const shr::Box3d& box)
    {
        auto* camera = new SoPerspectiveCamera;
        const shr::Vec3d centre = box.Center(), size = box.Size();
        const double diagonal = size.Length();
        const shr::Vec3d from = shr::Vec3d(1.0, -0.8, 0.6).Normalized() * (1.6 * diagonal) + centre;
        camera->position = SbVec3f(float(from.x), float(from.y), float(from.z));
        camera->pointAt(SbVec3f(float(centre.x), float(centre.y), float(centre.z)), SbVec3f(0, 0, 1));
        camera->heightAngle = float(30.0 * M_PI / 180.0);
        camera->nearDistance = float(0.5 * diagonal);
        camera->farDistance = float(3.0 * diagonal);
        return camera;
    }

    render::Image Draw() { return drawing->Render(root.get()); }

    // A scene that sends the module's tube calls through the extrusion library.
    render::Image DrawWithGle()
    {
        core::InvSmartPtr<SoSeparator> gle(new SoSeparator);
        gle->addChild(camera.get());
        auto* node = new SoCallback;
        node->setCallback(&Scene::GleTubes, this);
        gle->addChild(node);
        return drawing->Render(gle.get());
    }

    static void GleTubes(void* data, SoAction* action)
    {
        if (!action->isOfType(SoGLRenderAction::getClassTypeId()))
            return;
        const auto drawing = static_cast<Scene*>(data)->module->Drawing();
        glPushAttrib(GL_ALL_ATTRIB_BITS);
        glEnable(GL_LIGHTING);
        glEnable(GL_NORMALIZE);
        glEnable(GL_CULL_FACE);
        glEnable(GL_COLOR_MATERIAL);
        glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
        const int style = gleGetJoinStyle();
        gleSetJoinStyle(core::TubeMesh::JoinStyle);
        gleSetNumSides(core::TubeMesh::Sides);
        core::VoWellRenderPrivate::TubeCalls calls;
        std::vector<float> colors;
        for (const auto& well : drawing->Wells()) {
            calls.Clear();
            drawing->CollectPathTubes(*well, calls);
            for (size_t call = 0; call < calls.size(); ++call) {
                const size_t n = calls.Count(call);
                colors.resize(4 * n);
                for (size_t k = 0; k < n; ++k) {
                    const shr::Color4b& c = calls.Colors(call)[k];
                    colors[4 * k] = c.r / 255.0f, colors[4 * k + 1] = c.g / 255.0f;
                    colors[4 * k + 2] = c.b / 255.0f, colors[4 * k + 3] = c.a / 255.0f;
                }
                auto* points = reinterpret_cast<gleDouble(*)[3]>(const_cast<shr::Vec3d*>(calls.Points(call)));
                glePolyCylinder_c4f(int(n), points, reinterpret_cast<gleColor4f*>(colors.data()), calls.Radius(call));
            }
        }
        gleSetJoinStyle(style);
        glPopAttrib();
    }

    render::OffscreenContext context;
    core::VoWellData* source = nullptr;
    core::VoWellRender* module = nullptr;
    core::InvSmartPtr<SoPerspectiveCamera> camera;
    core::InvSmartPtr<SoSeparator> root;
    std::unique_ptr<render::SceneRenderer> drawing;
};

Scene& TheScene()
{
    static Scene scene;
    return scene;
}

// The first frame after a change: the tubes made from the logs, then drawn.
void BM_FirstFrame(benchmark::State& state)
{
    Scene& scene = TheScene();
    double cpu = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        scene.Execute();
        const double start = benchpictures::ProcessSeconds();
        state.ResumeTiming();
        scene.Draw();
        cpu += benchpictures::ProcessSeconds() - start;
    }
    state.counters["process_cpu"] = cpu / static_cast<double>(state.iterations());
}

// The frames after it: the tubes kept from the first.
void BM_Frame(benchmark::State& state)
{
    Scene& scene = TheScene();
    render::Image image = scene.Draw();
    const double start = benchpictures::ProcessSeconds();
    for (auto _ : state)
        image = scene.Draw();
    state.counters["process_cpu"] = (benchpictures::ProcessSeconds() - start) / static_cast<double>(state.iterations());
    benchpictures::Summarise(state, image, "wellrender_ours.png", kShrink);
}

void BM_Build(benchmark::State& state)
{
    Scene& scene = TheScene();
    const auto drawing = scene.module->Drawing();
    core::VoWellRenderPrivate::TubeCalls calls;
    core::TubeMesh mesh;
    size_t triangles = 0;
    for (auto _ : state) {
        triangles = 0;
        for (const auto& well : drawing->Wells()) {
            calls.Clear();
            mesh.Clear();
            drawing->CollectPathTubes(*well, calls);
            calls.AddTo(mesh);
            triangles += mesh.TriangleCount();
        }
        benchmark::DoNotOptimize(triangles);
    }
    state.counters["triangles"] = double(triangles);
}

void BM_GleFrame(benchmark::State& state)
{
    Scene& scene = TheScene();
    const double start = benchpictures::ProcessSeconds();
    for (auto _ : state)
        scene.DrawWithGle();
    state.counters["process_cpu"] = (benchpictures::ProcessSeconds() - start) / static_cast<double>(state.iterations());
}

BENCHMARK(BM_Build)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(3);
// One measurement a repetition: the peer takes the best, as it does on VTK's
// side (the machine is shared; the best frame is the one least disturbed).
BENCHMARK(BM_FirstFrame)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(5);
BENCHMARK(BM_Frame)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(5);
BENCHMARK(BM_GleFrame)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(2);

} // namespace

int main(int argc, char** argv)
{
    return bench::RunNetworkBenchmarks(argc, argv);
}
