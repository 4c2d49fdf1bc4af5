// The well render module in a network, as a host drives it: tubes sized and
// coloured by log at the ends of the log's range, intervals and markers at
// their depths, hidden wells, log ranges, the tube geometry, the stored form
// through its version gates, and a picture.
#include "NetworkFixture.h"
#include "WellTestSupport.h"

#include "core/data/VdGeometry.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/wells/TubeMesh.h"
#include "core/wells/VdWellData.h"
#include "core/wells/VoWellData.h"
#include "core/wells/VoWellRender.h"
#include "render/CoinInit.h"
#include "render/OffscreenContext.h"
#include "render/SceneRenderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

using namespace core;
using namespace core::VoWellRenderPrivate;

namespace {

using welltest::ExpectError;
using welltest::MakeLog;
constexpr double kNull = WellLog::DefaultNullValue;

// Straight down from the origin to MD 100, with logs: RT 1 (its minimum) at
// 10, 3 (its maximum) at 20, a gap at 30, 2 at 40; GR 50 at 10, 150 at 40;
// zones from 20 to 30 and from 70 to 90 and one of no length at 60;
// azimuths at 25 and 50, a gap at 60; dips from 0.
std::shared_ptr<Well> VerticalWell(const char* name)
{
    auto well = std::make_shared<Well>(name);
    well->Top(shr::Point3<double>(0, 0, 0));
    well->AddPathPoint(WellPathPoint(0, 0, 0, 0));
    well->AddPathPoint(WellPathPoint(0, 0, -100, 100));
    well->AddLog(MakeLog("RT", {LogEntry(10, 1), LogEntry(20, 3), LogEntry(30, kNull), LogEntry(40, 2)}));
    well->AddLog(MakeLog("GR", {LogEntry(10, 50), LogEntry(40, 150)}));
    well->AddLog(MakeLog("ZONE", {LogEntry(20, 30, 1), LogEntry(60, 60, 2), LogEntry(70, 90, 3)}));
    well->AddLog(MakeLog("AZ", {LogEntry(25, 90), LogEntry(50, 180), LogEntry(60, kNull)}));
    well->AddLog(MakeLog("DIP", {LogEntry(0, 10), LogEntry(50, 20)}));
    return well;
}

std::vector<double> Depths(const TubeCalls& calls, size_t call)
{
    std::vector<double> depths;
    for (size_t k = 0; k < calls.Count(call); ++k)
        depths.push_back(-calls.Points(call)[k].z);
    return depths;
}

class WellRenderModuleTest : public testsupport::NetworkFixture {
protected:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        wells = new VdWellData;
        wells->AddWell(VerticalWell("V"));
        auto stub = std::make_shared<Well>("Stub");
        stub->AddPathPoint(WellPathPoint(5, 5, 5, 0));
        wells->AddWell(stub);
        source = Add(new VoWellData(wells));
        module = Add(new VoWellRender);
        Link(module, source);
    }
    // The well's tube calls as the latest pass left them to the scene.
    TubeCalls Tubes(bool intervals = false)
    {
        TubeCalls calls;
        const auto drawing = module->Drawing();
        if (intervals)
            drawing->CollectIntervals(*wells->Well("V"), calls);
        else
            drawing->CollectPathTubes(*wells->Well("V"), calls);
        return calls;
    }
    shr::Color4b MapColor(double position) const { return module->Settings().m_PathColorMap.PosToColor(position); }

    VdWellData* wells = nullptr;
    VoWellData* source = nullptr;
    VoWellRender* module = nullptr;
    testsupport::ErrorProxy proxy;
};

TEST_F(WellRenderModuleTest, TubesSizedAndColouredByLog)
{
    Edit(module, {{18, "1"}, {21, "GR"}, {49, "1"}, {51, "RT"}, {50, "10"}});
    EXPECT_EQ(module->Settings().m_PathColorMap.GetDataRange(), std::make_pair(50.0, 150.0));
    EXPECT_EQ(module->Settings().m_PathSizeRange, std::make_pair(1.0, 3.0));
    // One call per sample of the size log (path points included): half the
    // size at the log's minimum, one and a half at its maximum, 1.0 where it
    // has no value; the sample's colour over its four points; the caps that
    // lie inside a thicker neighbour left out.
    const TubeCalls calls = Tubes();
    const shr::Color4b white = shr::Color4b::White, low = MapColor(0.0), high = MapColor(1.0);
    const struct {
        double radius;
        shr::Color4b color;
        unsigned caps;
        std::vector<double> depths;
    } expected[] = {
        {1.0, white, TubeMesh::StartCap, {0, 0, 10, 20}},
        {5.0, low, TubeMesh::StartCap, {0, 10, 20, 30}},
        {15.0, low, TubeMesh::BothCaps, {10, 20, 30, 40}},
        {1.0, low, TubeMesh::NoCaps, {20, 30, 40, 100}},
        {10.0, high, TubeMesh::BothCaps, {30, 40, 100, 100}},
    };
    ASSERT_EQ(calls.size(), std::size(expected));
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls.Radius(i), expected[i].radius) << i;
        EXPECT_EQ(calls.Caps(i), expected[i].caps) << i;
        EXPECT_EQ(Depths(calls, i), expected[i].depths) << i;
        for (size_t k = 0; k < 4; ++k)
            EXPECT_EQ(calls.Colors(i)[k], expected[i].color) << i;
    }

    // Fixed size: one call through the colour log's samples, ends repeated,
    // the colour changing at each sample.
    Edit(module, {{49, "0"}});
    const TubeCalls one = Tubes();
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one.Radius(0), 10.0);
    EXPECT_EQ(Depths(one, 0), (std::vector<double>{0, 0, 10, 40, 100, 100}));
    const std::vector<shr::Color4b> colors(one.Colors(0), one.Colors(0) + 6);
    EXPECT_EQ(colors, (std::vector<shr::Color4b>{white, white, low, high, white, white}));

    // Fixed colour and size: the path as it stands.
    Edit(module, {{18, "0"}, {19, "255 0 0 255"}});
    const TubeCalls path = Tubes();
    EXPECT_EQ(Depths(path, 0), (std::vector<double>{0, 0, 100, 100}));
    EXPECT_EQ(path.Colors(0)[2], shr::Color4b::Red);
}

TEST_F(WellRenderModuleTest, IntervalsAndMarkersAtTheirDepths)
{
    Edit(module, {{92, "1"}, {129, "ZONE"}, {126, "7"}});
    // From/To: each zone from its MD to its end, a control point beyond each
    // end; the zone of no length draws nothing.
    TubeCalls zones = Tubes(true);
    ASSERT_EQ(zones.size(), 2u);
    EXPECT_EQ(Depths(zones, 0), (std::vector<double>{10, 20, 30, 40}));
    EXPECT_EQ(Depths(zones, 1), (std::vector<double>{50, 70, 90, 110}));
    EXPECT_EQ(zones.Radius(1), 7.0);
    EXPECT_EQ(zones.Colors(1)[0], shr::Color4b::Red);
    // Log values: the value is the thickness.
    Edit(module, {{93, "1"}});
    zones = Tubes(true);
    ASSERT_EQ(zones.size(), 3u);
    EXPECT_EQ(Depths(zones, 1), (std::vector<double>{58, 60, 62, 64}));

    // Markers at the azimuth log's valid entries, turned by both logs.
    std::vector<Marker> markers;
    Edit(module, {{53, "1"}, {54, "AZ"}});
    module->Drawing()->CollectMarkers(*wells->Well("V"), markers);
    EXPECT_TRUE(markers.empty()) << "no dip log, no markers";
    Edit(module, {{55, "DIP"}, {89, "12"}});
    module->Drawing()->CollectMarkers(*wells->Well("V"), markers);
    ASSERT_EQ(markers.size(), 2u);
    const shr::Vec3d at25 = module->Drawing()->ScenePoint(shr::Vec3d(0, 0, -25));
    EXPECT_EQ(markers[0].position, at25);
    EXPECT_EQ(std::make_pair(markers[0].azimuth, markers[0].dip), std::make_pair(90.0, 10.0));
    EXPECT_EQ(std::make_pair(markers[1].azimuth, markers[1].dip), std::make_pair(180.0, 20.0));
    EXPECT_EQ(markers[1].size, 12.0);
    // Sized by a log without a value there, a marker is left out.
    Edit(module, {{88, "1"}, {90, "GR"}});
    markers.clear();
    module->Drawing()->CollectMarkers(*wells->Well("V"), markers);
    ASSERT_EQ(markers.size(), 1u);
    EXPECT_EQ(markers[0].position, at25);
}

TEST_F(WellRenderModuleTest, HiddenAndDegenerateWells)
{
    RunPass();
    EXPECT_EQ(module->GetStatus(), VoModule::ModuleOk) << proxy.LastError();
    list.RemoveAll();
    module->UpdateProperties(list);
    EXPECT_EQ(boost::any_cast<VbHeaderProperty::ValueType>(list.AnyValue(VoWellRender::IdWells)).second, "(2 wells)");
    EXPECT_TRUE(list.IsProp(VoWellRender::BaseWellId() + 1));
    const auto drawing = module->Drawing();
    EXPECT_FALSE(drawing->Drawn(*wells->Well("Stub"))) << "a one-point path";
    EXPECT_TRUE(drawing->Drawn(*wells->Well("V")));
    // Event 130 names the well; without a row 130 it toggles.
    for (bool hidden : {true, false}) {
        network().ModifyNode(*module, list, VbPropertyEvent(VoWellRender::IdShowWell, shr::GString("Well=V")), true,
                             false);
        RunPass();
        EXPECT_EQ(module->Drawing()->Drawn(*wells->Well("V")), !hidden);
    }
    // With a row 130, its check says which.
    list.AnyValue(VoWellRender::IdShowWell, false, true);
    list.UserData(VoWellRender::IdShowWell, shr::GString("Well=v"));
    for (int twice = 0; twice < 2; ++twice)
        Send(*module, list, VoWellRender::IdShowWell);
    EXPECT_EQ(module->Settings().m_HiddenWells.count("V"), 1u);
}

TEST_F(WellRenderModuleTest, LogRangesOverAllWells)
{
    const auto more = std::make_unique<VdWellData>(*wells);
    auto other = std::make_shared<Well>("W");
    other->AddLog(MakeLog("RT", {LogEntry(0, 7), LogEntry(5, kNull)}));
    more->AddWell(other);
    EXPECT_EQ(VoWellRender::CollectLogs(*more), (std::vector<shr::GString>{"AZ", "DIP", "GR", "RT", "ZONE"}));
    VoWellRender::Range range(-1, -1);
    std::vector<uint32_t> bins(4);
    ASSERT_TRUE(VoWellRender::CollectLogRange(*more, "RT", range, &bins));
    EXPECT_EQ(range, std::make_pair(1.0, 7.0));
    EXPECT_EQ(bins, (std::vector<uint32_t>{2, 1, 0, 1})); // 1, 2 | 3 | | 7
    EXPECT_FALSE(VoWellRender::CollectLogRange(*more, "NONE", range, nullptr));
    EXPECT_EQ(range, std::make_pair(1.0, 7.0));
    ExpectError([&] { VoWellRender::CollectLogRange(*more, "", range, nullptr); }, "Log name must be non-empty.");
    bins.clear();
    ExpectError([&] { VoWellRender::CollectLogRange(*more, "RT", range, &bins); },
                "Histogram storage must be non-empty.");
}

TEST_F(WellRenderModuleTest, StoredFormThroughItsVersions)
{
    // Unlinked, so that the stored form holds the module alone, not its source.
    ASSERT_TRUE(network().ConnectNodes(*module, nullptr, 0, true));
    VoWellRender::Fields& f = module->Settings();
    f.m_ShowPath = false;
    f.m_PathStyle = Lines;
    f.m_IntDataSource = LogValues;
    f.m_HiddenWells = {"V", "X"};
    f.m_Logs = {"GR", "RT"};
    f.m_DirDataAzLog = "AZ";
    f.m_IntDataSize = 33;
    f.m_PathSizeRange = {1, 2};
    f.m_TextFormat.m_Floats[1] = 14;
    for (int version : {shr::Archive::CurrentVersion, 124, 123}) {
        VoWellRender loaded;
        EXPECT_EQ(testsupport::Load(loaded, testsupport::Store(*module, version)), 0u) << version;
        const VoWellRender::Fields& g = loaded.Settings();
        EXPECT_EQ(g.m_HiddenWells, f.m_HiddenWells);
        EXPECT_EQ(g.m_Logs, f.m_Logs);
        EXPECT_EQ(g.m_PathStyle, Lines);
        EXPECT_EQ(g.m_DirDataAzLog, "AZ");
        EXPECT_EQ(g.m_IntDataSize, 33.0);
        EXPECT_EQ(g.m_PathSizeRange, std::make_pair(1.0, 2.0));
        EXPECT_EQ(g.m_TextFormat.m_Floats[1], 14.0f);
        // Before 124 neither the path's switch nor the interval source is stored.
        EXPECT_EQ(g.m_ShowPath, version < 124) << version;
        EXPECT_EQ(g.m_IntDataSource, version < 124 ? FromTo : LogValues) << version;
        EXPECT_EQ(g.m_PathLegend.GetColorMap(), &g.m_PathColorMap);
    }
    // A damaged document changes nothing: cut short, or a method no row has.
    VoWellRender fresh;
    EXPECT_THROW(testsupport::Load(fresh, testsupport::Store(*module), 5), shr::Exception);
    f.m_IntDataColorMethod = 2;
    EXPECT_THROW(testsupport::Load(fresh, testsupport::Store(*module)), shr::Exception);
    EXPECT_TRUE(fresh.Settings().m_ShowPath && fresh.Settings().m_HiddenWells.empty());
}

// A straight tube and a bent one: rings at the radius round each segment's
// axis, shared at the bend in the plane that halves it; normals and windings
// outwards; caps square to a repeated end point.
TEST(TubeMesh, RingsNormalsAndCaps)
{
    using shr::Vec3d;
    const Vec3d points[] = {Vec3d(0, 0, 0), Vec3d(0, 0, 0), Vec3d(0, 0, -10), Vec3d(10, 0, -20), Vec3d(10, 0, -20)};
    const shr::Color4b colors[5];
    TubeMesh mesh;
    mesh.AddTube(points, colors, 3, 2.0);
    EXPECT_TRUE(mesh.Empty());
    mesh.AddTube(points, colors, 5, 2.0);
    const int sides = TubeMesh::Sides;
    ASSERT_EQ(mesh.VertexCount(), size_t(2 * (sides + 1) + 4 * sides));
    ASSERT_EQ(mesh.TriangleCount(), size_t(2 * sides + 4 * sides));
    const auto& v = mesh.Vertices();
    const auto at = [&](uint32_t i) { return Vec3d(v[i].position[0], v[i].position[1], v[i].position[2]); };
    const auto normal = [&](uint32_t i) { return Vec3d(v[i].normal[0], v[i].normal[1], v[i].normal[2]) / 127.0; };
    // Start cap (centre, ring), first segment (two rings), second, end cap.
    EXPECT_EQ(at(0), Vec3d(0, 0, 0));
    EXPECT_NEAR(normal(0).z, 1.0, 1e-2) << "faces back up the well";
    const uint32_t first = sides + 1, second = first + 2 * sides;
    for (uint32_t k = 0; k < uint32_t(sides); ++k) {
        const Vec3d top = at(first + k);
        EXPECT_NEAR(std::hypot(top.x, top.y), 2.0, 1e-5);
        EXPECT_NEAR(top.z, 0.0, 1e-6);
        // The bend's ring: on the plane through (0, 0, -10) halving the turn,
        // at the radius from both axes, the same points for both segments.
        const Vec3d bend = at(first + sides + k);
        EXPECT_NEAR((bend - Vec3d(0, 0, -10)).Dot(Vec3d(1, 0, -1 - std::sqrt(2.0)).Normalized()), 0.0, 1e-5);
        EXPECT_NEAR(std::hypot(bend.x, bend.y), 2.0, 1e-5);
        EXPECT_EQ(at(second + k), bend);
        EXPECT_NEAR(normal(first + k).Dot((top - Vec3d(0, 0, top.z)).Normalized()), 1.0, 1e-2);
    }
    const auto& idx = mesh.Indices();
    for (size_t t = 0; t < idx.size(); t += 3) {
        const Vec3d a = at(idx[t]), b = at(idx[t + 1]), c = at(idx[t + 2]);
        const Vec3d outward = normal(idx[t]) + normal(idx[t + 1]) + normal(idx[t + 2]);
        EXPECT_GT((b - a).Cross(c - a).Dot(outward), 0.0) << "triangle " << t / 3;
    }
}

// The scene as a host draws it: the tubes in their colour where the well
// stands, nothing of a hidden well.
TEST_F(WellRenderModuleTest, Picture)
{
    Edit(module, {{19, "0 255 0 255"}, {50, "8"}, {5, "0"}});
    static render::OffscreenContext context;
    render::EnsureCoinInit();
    const auto draw = [&] {
        render::SceneRenderer drawing(context, 100, 100, shr::Color4b::Black);
        return drawing.Render(module->OutputGeometry(0).GetRoot().get());
    };
    // Framed from the box the scene reports, looking north: the tube stands
    // in the middle, from top to bottom; left and right of it, nothing.
    const render::Image picture = draw();
    const shr::Color4b middle = picture.At(50, 50), side = picture.At(10, 50);
    EXPECT_TRUE(middle.g > 100 && middle.r < 40 && middle.b < 40)
        << int(middle.r) << "," << int(middle.g) << "," << int(middle.b);
    EXPECT_EQ(side, shr::Color4b::Black);
    network().ModifyNode(*module, list, VbPropertyEvent(VoWellRender::IdShowWell, shr::GString("V")), true, false);
    RunPass();
    EXPECT_EQ(draw().At(50, 50), shr::Color4b::Black);
}

} // namespace
