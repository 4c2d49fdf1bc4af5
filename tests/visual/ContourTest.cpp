// Contours: segments and chains on small fields worked out by hand, closed
// lines round a peak, the levels of each method, the module in a network on
// a 3-D lattice, and its stored form.
#include "MeshSupport.h"
#include "LatticeSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/visual/ContourGenerator.h"
#include "core/visual/VbTriangulateLattice2D.h"
#include "core/visual/VoContour.h"
#include "shr/Exception.h"

#include <Inventor/SoPath.h>
#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoGroup.h>
#include <Inventor/nodes/SoLineSet.h>
#include <Inventor/nodes/SoVertexProperty.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using core::ContourGenerator;
using core::VbTriangulateLattice2D;
using core::VoContour;
using core::VoModule;
using shr::Vec3d;

namespace {

struct Traced {
    size_t segments = 0;
    std::vector<int> chains;
    double length = 0.0;
    bool closed = true; // every chain ends where it starts, bit for bit
};

Traced TraceMesh(const core::VdLattice& lattice, double level)
{
    VbTriangulateLattice2D triangulation(lattice);
    EXPECT_TRUE(triangulation.TriangulateMesh(0, nullptr));
    ContourGenerator::Lines lines;
    ContourGenerator::Trace(level, triangulation, lines);
    Traced traced;
    traced.segments = lines.segments.size() / 2;
    traced.chains = lines.counts;
    const std::vector<Vec3d>& v = lines.data.vertices;
    size_t first = 0;
    for (const int count : lines.counts) {
        for (size_t k = first + 1; k < first + count; ++k)
            traced.length += (v[k] - v[k - 1]).Length();
        traced.closed = traced.closed && v[first] == v[first + count - 1];
        first += static_cast<size_t>(count);
    }
    return traced;
}

TEST(ContourTrace, SegmentsAndChainsOnFieldsWorkedOutByHand)
{
    const std::vector<float> peak = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    const std::vector<float> ramp = {0, 1, 2, 0, 1, 2, 0, 1, 2};
    struct Case {
        const char* name;
        unsigned int nx, ny;
        std::vector<float> values;
        std::vector<unsigned int> blanks;
        double level;
        size_t segments;
        std::vector<int> chains;
        double length;
    };
    const double diagonal = std::sqrt(0.5);
    const Case cases[] = {
        // The six triangles round the centre: a closed hexagon.
        {"peak", 3, 3, peak, {}, 0.5, 6, {7}, 2.0 + 2 * diagonal},
        // Both saddles: the diagonal (1, 2) of the cell joins the low corners.
        {"saddle high on 0 and 3", 2, 2, {1, 0, 0, 1}, {}, 0.5, 2, {2, 2}, 2 * diagonal},
        {"saddle low on 0 and 3", 2, 2, {0, 1, 1, 0}, {}, 0.5, 2, {2, 2}, 2 * diagonal},
        {"ramp", 3, 3, ramp, {}, 1.5, 4, {5}, 2.0},
        // Nodes at the level are not below it: the line x = 1 once, with a
        // point-sized segment in each triangle that only touches it.
        {"ramp at a node value", 3, 3, ramp, {}, 1.0, 4, {5}, 2.0},
        // A blank corner takes the triangles it belongs to away.
        {"blank corner", 3, 3, ramp, {2}, 1.5, 2, {3}, 1.0},
        {"blank centre", 3, 3, ramp, {4}, 1.5, 1, {2}, 0.5},
        {"above every value", 3, 3, ramp, {}, 5.0, 0, {}, 0.0},
        {"not a number", 3, 3, ramp, {}, std::nan(""), 0, {}, 0.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::unique_ptr<core::VdUniformLattice> lattice(
            testsupport::NodeLattice(c.nx, c.ny, 1, [&](unsigned i, unsigned j, unsigned) { return c.values[j * c.nx + i]; }));
        for (const unsigned int node : c.blanks)
            lattice->SetBlank(node, 0);
        const Traced traced = TraceMesh(*lattice, c.level);
        EXPECT_EQ(traced.segments, c.segments);
        EXPECT_EQ(traced.chains, c.chains);
        EXPECT_NEAR(traced.length, c.length, 1e-12);
    }
}

class ContourModuleTest : public visualtest::ModuleFixture<testsupport::UnshiftedSceneFixture> {
protected:
    // The line sets under the module's output, with the base colour that
    // comes right before each, in drawing order.
    struct Strips {
        SbColor color;
        std::vector<int> counts;
        std::vector<Vec3d> vertices;
    };
    static SbColor Rgb(const shr::Color4b& c) { return SbColor(c.r / 255.0f, c.g / 255.0f, c.b / 255.0f); }
    static std::vector<Strips> LineSets(VoModule& module)
    {
        SoSearchAction search;
        search.setType(SoLineSet::getClassTypeId());
        search.setInterest(SoSearchAction::ALL);
        search.apply(module.OutputGeometry(0).GetRoot().get());
        std::vector<Strips> found;
        const SoPathList& paths = search.getPaths();
        for (int p = 0; p < paths.getLength(); ++p) {
            const SoPath* path = paths[p];
            const int at = path->getIndexFromTail(0);
            auto* lines = static_cast<SoLineSet*>(path->getTail());
            Strips strips;
            if (auto* color = at > 0 ? dynamic_cast<SoBaseColor*>(
                                           static_cast<SoGroup*>(path->getNodeFromTail(1))->getChild(at - 1))
                                     : nullptr)
                strips.color = color->rgb[0];
            for (int n = 0; n < lines->numVertices.getNum(); ++n)
                strips.counts.push_back(lines->numVertices[n]);
            const auto* property = static_cast<SoVertexProperty*>(lines->vertexProperty.getValue());
            for (int n = 0; n < property->vertex.getNum(); ++n)
                strips.vertices.emplace_back(property->vertex[n][0], property->vertex[n][1], property->vertex[n][2]);
            found.push_back(strips);
        }
        return found;
    }
};

TEST_F(ContourModuleTest, LevelsOfEachMethod)
{
    // Data 0 .. 10 along X.
    VoContour* module = Feed(testsupport::NodeLattice(11, 2, 1, [](unsigned i, unsigned, unsigned) { return i; }),
                             new VoContour);
    struct Case {
        std::vector<std::pair<int, const char*>> rows;
        std::vector<double> levels;
    };
    std::vector<double> many;
    for (int i = 0; i < 100; ++i)
        many.push_back(i * (10.0 / 99.0));
    const Case cases[] = {
        // Automatic: half a band in from either end of the data.
        {{{VoContour::IdSpacing, "0"}, {VoContour::IdNumLevels, "5"}}, {1, 3, 5, 7, 9}},
        {{{VoContour::IdSpacing, "1"}, {VoContour::IdMinLevel, "0"}, {VoContour::IdMaxLevel, "1"},
          {VoContour::IdNumLevels, "3"}},
         {0, 0.5, 1}},
        {{{VoContour::IdMinLevel, "1"}, {VoContour::IdMaxLevel, "0"}}, {0, 0.5, 1}},
        {{{VoContour::IdNumLevels, "1"}}, {0}},
        {{{VoContour::IdNumLevels, "0"}}, {}},
        {{{VoContour::IdSpacing, "2"}, {VoContour::IdMinLevel, "0"}, {VoContour::IdMaxLevel, "10"},
          {VoContour::IdInterval, "2.5"}},
         {0, 2.5, 5, 7.5, 10}},
        // An interval too fine for the range gives about a hundred levels.
        {{{VoContour::IdInterval, "0.01"}}, many},
        {{{VoContour::IdSpacing, "3"}, {VoContour::IdExplicit, "3 1 2 2 x 4"}}, {3, 1, 2, 2}},
    };
    for (const Case& c : cases) {
        Edit(module, c.rows);
        const std::vector<double> levels = module->Levels();
        ASSERT_EQ(levels.size(), c.levels.size()) << c.rows.front().first;
        for (size_t l = 0; l < levels.size(); ++l)
            EXPECT_NEAR(levels[l], c.levels[l], 1e-12) << l;
    }
}

// A cutting plane through a 3-D sphere field: the border of the plane's
// section, then circles in the plane, of the radius of their level and in the
// colour the map gives it, whatever the kind of lattice; a plane beside the
// lattice draws nothing, and a zero normal is reported.
TEST_F(ContourModuleTest, PlaneThroughA3DLatticeCutsCircles)
{
    for (const isotest::Kind kind : {isotest::Kind::Uniform, isotest::Kind::Curvilinear}) {
        VoContour* module = Feed(isotest::Sample(kind, 17, isotest::Sphere).release(), new VoContour);
        module->Method(VoContour::Explicit);
        module->ExplicitLevels("0.26 0.5");
        module->Plane().Offset(0.1);
        module->BorderColor(shr::Color4b(0, 0, 255));
        Rerun(module);
        std::vector<Strips> sets = LineSets(*module);
        ASSERT_EQ(sets.size(), 3u);
        EXPECT_EQ(sets[0].color, Rgb(shr::Color4b(0, 0, 255)));
        EXPECT_EQ(sets[0].counts, std::vector<int>{5});
        sets.erase(sets.begin());
        for (const Strips& strips : sets) {
            ASSERT_EQ(strips.counts.size(), 1u);
            const double radius = std::hypot(strips.vertices[0].x, strips.vertices[0].y);
            const double level = radius < 0.6 ? 0.26 : 0.5;
            EXPECT_EQ(strips.color, Rgb(module->GetColorMap().PosToColor(module->GetColorMap().DatToPos(level))));
            EXPECT_EQ(strips.vertices.front(), strips.vertices.back());
            for (const Vec3d& v : strips.vertices) {
                EXPECT_NEAR(v.z, 0.1, 1e-6);
                EXPECT_NEAR(std::hypot(v.x, v.y), radius, 0.02);
            }
            EXPECT_TRUE(std::fabs(radius - 0.5) < 0.02 || std::fabs(radius - 0.7) < 0.02) << radius;
        }
        module->Plane().Offset(5.0);
        Rerun(module);
        EXPECT_TRUE(LineSets(*module).empty());
    }
    VoContour* module = Feed(isotest::Sample(isotest::Kind::Uniform, 5, isotest::Sphere).release(), new VoContour);
    module->Plane().Orientation(core::VbCuttingPlane::OrientCustom);
    module->Plane().Normal(Vec3d(0, 0, 0));
    Rerun(module);
    EXPECT_EQ(proxy.LastError(), "Normal length cannot equal 0.  At least one component must be non-zero.");
    EXPECT_TRUE(LineSets(*module).empty());
}

TEST(ContourStoredForm, RoundTripOldWidthsAndFailedLoads)
{
    VoContour stored;
    stored.Method(VoContour::MinMaxInterval);
    stored.NumLevels(12);
    stored.SetLevelRange(-3.5, 40.25, 0.125);
    stored.ExplicitLevels("1 2 3");
    stored.LineWidth(3.5f);
    stored.ShowBorder(false);
    stored.BorderWidth(0.5f);
    stored.BorderColor(shr::Color4b(1, 2, 3));
    stored.Plane().Orientation(core::VbCuttingPlane::OrientCustom);
    stored.Plane().Normal(Vec3d(1, 2, 3));
    stored.GetLegend().m_Title = "Depth";
    // Read back whole, or, cut off, not at all: the plane too stays as it was.
    testsupport::ExpectRoundTrip(stored, {3, 40});

    // Before version 110 the widths were whole points.
    std::vector<unsigned char> old;
    {
        shr::Archive archive(old, "", 109);
        testsupport::WriteOldModulePart(archive, "Contours", 2);
        archive.SyncCheck();
        stored.Plane().Serialize(archive);
        stored.GetColorMap().Serialize(archive);
        stored.GetLegend().Serialize(archive);
        // Component, show border, its width and colour, line width, method,
        // count, minimum, maximum, interval, explicit levels.
        testsupport::Put(archive, uint32_t(1), false, int32_t(3), shr::Color4b(1, 2, 3), int32_t(4),
                        uint32_t(VoContour::MinMaxInterval), int32_t(12), -3.5, 40.25, 0.125, std::string("1 2 3"));
    }
    VoContour loaded;
    EXPECT_EQ(testsupport::Load(loaded, old), 0u);
    EXPECT_EQ(loaded.BorderWidth(), 3.0f);
    EXPECT_EQ(loaded.LineWidth(), 4.0f);
    EXPECT_EQ(loaded.Method(), VoContour::MinMaxInterval);
    EXPECT_EQ(loaded.NumLevels(), 12);
    EXPECT_EQ(loaded.Interval(), 0.125);
    EXPECT_EQ(loaded.ExplicitLevels(), "1 2 3");
    EXPECT_EQ(loaded.BorderColor(), shr::Color4b(1, 2, 3));
    EXPECT_EQ(loaded.Plane().Normal(), Vec3d(1, 2, 3));
    EXPECT_EQ(loaded.GetLegend().m_Title, "Depth");
}

} // namespace
