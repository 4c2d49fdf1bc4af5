// Stream lines in a network: straight lines in a uniform field, circles in a
// rigid rotation, the stopping rules, the seed sources, the jack dragger,
// the rows and the stored form.
#include "DraggerTestSupport.h"
#include "NetworkFixture.h"
#include "LatticeSupport.h"
#include "TestSupport.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "core/graphics/VgJackDragger.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/visual/VoStreamLines.h"
#include "shr/Exception.h"
#include "shr/Mat4d.h"
#include "shr/Quat4d.h"

#include <Inventor/draggers/SoJackDragger.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

namespace {

using core::VoModule;
using core::VoStreamLines;
using shr::Vec3d;
using testsupport::Near;

class StreamLinesTest : public visualtest::ModuleFixture<testsupport::NetworkFixture> {
protected:
    // Fed and settled by a first pass: what a test sets afterwards stays.
    VoStreamLines* Fed(core::VdLattice* lattice)
    {
        VoStreamLines* lines = Feed(lattice, new VoStreamLines);
        RunPass();
        return lines;
    }
    // Fed, then set to trace one seed at the centre with a fixed step.
    VoStreamLines* Lines(core::VdLattice* lattice, double step, uint32_t steps)
    {
        return Configure(Fed(lattice), step, steps);
    }
    static VoStreamLines* Configure(VoStreamLines* lines, double step, uint32_t steps)
    {
        lines->NumberOfSeeds(1);
        lines->AutoStep(false);
        lines->StepInterval(step);
        lines->NumberOfSteps(steps);
        lines->SetModified();
        return lines;
    }
    // Runs the lines again; their paths.
    const std::vector<Vec3d>& Run(VoStreamLines* lines)
    {
        Rerun(lines);
        EXPECT_EQ(lines->GetStatus(), VoModule::ModuleOk) << proxy.LastError();
        return lines->Paths().vertices;
    }

    visualtest::RecordingProxy proxy;
};

// (1, 0, 0) on 11^3 nodes over [0, 10]^3.
core::VdUniformLattice* Uniform()
{
    return testsupport::VectorLattice(11, 11, 11, [](unsigned, unsigned, unsigned) { return Vec3d(1, 0, 0); });
}

// A rigid rotation about the Z axis through the centre of [-2, 2]^2 x [0, 1]:
// linear, and on nodes a quarter apart, so the lattice holds it exactly.
core::VdUniformLattice* Rotation()
{
    core::VdUniformLattice* lattice =
        testsupport::VectorLattice(17, 17, 2, [](unsigned i, unsigned j, unsigned) { return Vec3d(-(j * 0.25 - 2.0), i * 0.25 - 2.0, 0); });
    lattice->SetUVWBounds(shr::Box3d(Vec3d(-2, -2, 0), Vec3d(2, 2, 1)));
    return lattice;
}

TEST_F(StreamLinesTest, UniformFieldGivesStraightLinesOfTheStepCount)
{
    VoStreamLines* lines = Fed(Uniform());
    EXPECT_EQ(lines->SeedCentre(), Vec3d(5, 5, 5));
    Configure(lines, 0.1, 20);
    struct Case {
        uint32_t direction;
        double from, to;
    } cases[] = {{VoStreamLines::Forward, 5, 7}, {VoStreamLines::Backward, 5, 3}, {VoStreamLines::Both, 3, 7}};
    for (const Case& c : cases) {
        lines->SetDirection(c.direction);
        const std::vector<Vec3d>& path = Run(lines);
        ASSERT_EQ(path.size(), c.direction == VoStreamLines::Both ? 41u : 21u) << c.direction;
        EXPECT_EQ(lines->PathCounts(), std::vector<int>{int(path.size())});
        for (size_t n = 0; n < path.size(); ++n) {
            const double x = c.from + (c.to - c.from) * double(n) / double(path.size() - 1);
            EXPECT_TRUE(Near(path[n], Vec3d(x, 5, 5), 1e-12)) << c.direction << " point " << n;
        }
    }
}

TEST_F(StreamLinesTest, RigidRotationKeepsItsRadiusOverAThousandSteps)
{
    VoStreamLines* lines = Lines(Rotation(), 0.01, 1000);
    lines->SetDirection(VoStreamLines::Forward);
    lines->NumberOfSeeds(2);
    lines->SeedScale(Vec3d(0.5, 0.5, 1.0)); // unit scale 2: seeds at x = -1 and 1
    const std::vector<Vec3d>& path = Run(lines);
    ASSERT_EQ(lines->PathCounts(), (std::vector<int>{1001, 1001}));
    double worst = 0.0;
    for (const Vec3d& p : path) {
        worst = std::max(worst, std::fabs(std::hypot(p.x, p.y) - 1.0));
        EXPECT_EQ(p.z, 0.5);
    }
    EXPECT_LT(worst, 1e-9);
    // Ten radians on: the first line, from (-1, 0), is at angle pi + 10.
    EXPECT_TRUE(Near(path[1000], Vec3d(std::cos(M_PI + 10.0), std::sin(M_PI + 10.0), 0.5), 1e-9));
}

// Each row: what stops the line started at the centre of [0, 10]^3 heading +X.
TEST_F(StreamLinesTest, LinesStopAtTheEdgeAtBlanksAndAtLowSpeed)
{
    struct Case {
        const char* what;
        std::function<core::VdUniformLattice*()> lattice;
        double step, minVelocity;
        size_t points;
        double lastX;
    } cases[] = {
        {"edge: the last full step ends on the face", Uniform, 0.5, 0.0, 11, 10.0},
        {"blank node at x = 8: no step may reach its cells",
         [] {
             auto* l = Uniform();
             l->SetBlank(8, 5, 5, 0);
             return l;
         },
         0.3, 0.0, 7, 6.8},
        // x = 10 - 5 exp(-t / 5): the step from x(3.5) has a mean speed of 0.52,
        // the next one 0.47.
        {"the field slows towards x = 10", [] { return testsupport::VectorLattice(11, 11, 11, [](unsigned i, unsigned, unsigned) {
                                                  return Vec3d((10.0 - i) / 5.0, 0, 0);
                                              }); },
         0.5, 0.5, 8, 10.0 - 5.0 * std::exp(-0.7)},
        {"minimum velocity above the seed's speed", Uniform, 0.5, 1.5, 0, 0.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        VoStreamLines* lines = Lines(c.lattice(), c.step, 100);
        lines->SetDirection(VoStreamLines::Forward);
        lines->MinimumVelocity(c.minVelocity);
        const std::vector<Vec3d>& path = Run(lines);
        ASSERT_EQ(path.size(), c.points);
        if (c.points) {
            EXPECT_NEAR(path.back().x, c.lastX, 1e-5); // the field holds floats
        }
    }
}

TEST_F(StreamLinesTest, StagnationAndSeedsOutsideDrawNothingMore)
{
    VoStreamLines* lines = Lines(Rotation(), 0.01, 50);
    EXPECT_EQ(Run(lines).size(), 1u) << "both ways from the still centre: the seed alone";

    lines->SeedCentre(Vec3d(100, 0, 0.5));
    EXPECT_TRUE(Run(lines).empty());

    // A field that is zero everywhere skips the seeds altogether.
    source->SetLattice(testsupport::VectorLattice(3, 3, 3, [](unsigned, unsigned, unsigned) { return Vec3d(); }));
    source->SetModified();
    EXPECT_TRUE(Run(lines).empty());
}

TEST_F(StreamLinesTest, SeedsFromTheSeedPlaneAndFromPoints)
{
    VoStreamLines* lines = Lines(Uniform(), 0.1, 1); // unit scale 5, centre (5, 5, 5)
    struct Case {
        uint32_t method, count;
        Vec3d scale, normal;
        std::vector<Vec3d> seeds;
    } cases[] = {
        {VoStreamLines::SeedLine, 3, {0.2, 0.2, 1}, {0, 0, 1}, {{4, 5, 5}, {5, 5, 5}, {6, 5, 5}}},
        {VoStreamLines::SeedRing, 4, {0.4, 0.2, 1}, {0, 0, 1}, {{7, 5, 5}, {5, 6, 5}, {3, 5, 5}, {5, 4, 5}}},
        {VoStreamLines::SeedSquare, 2, {0.2, 0.2, 1}, {0, 0, 1}, {{4, 4, 5}, {6, 4, 5}, {4, 6, 5}, {6, 6, 5}}},
        {VoStreamLines::SeedLine, 2, {0, 0, 1}, {0, 0, 1}, {{5, 5, 5}, {5, 5, 5}}}, // scale 0: all at the centre
        {VoStreamLines::SeedLine, 2, {0.2, 0.2, 1}, {1, 0, 0}, {{5, 5, 6}, {5, 5, 4}}}, // Z turned to X
    };
    for (const Case& c : cases) {
        lines->SetSeedMethod(c.method);
        lines->NumberOfSeeds(c.count);
        lines->SeedScale(c.scale);
        lines->SeedNormal(c.normal);
        Run(lines);
        ASSERT_EQ(lines->Seeds().size(), c.seeds.size()) << c.method;
        for (size_t s = 0; s < c.seeds.size(); ++s)
            EXPECT_TRUE(Near(lines->Seeds()[s], c.seeds[s], 1e-12)) << c.method << " seed " << s;
    }

    lines->SeedNormal(Vec3d(0, 0, 0));
    Rerun(lines);
    EXPECT_EQ(proxy.LastError(), "Normal length cannot equal 0.  At least one component must be non-zero.");

    lines->SeedNormal(Vec3d(0, 0, 1));
    lines->SetSeedMethod(VoStreamLines::SeedPointSet);
    Rerun(lines);
    EXPECT_EQ(lines->GetStatus(), VoModule::ModuleFailed);
    EXPECT_EQ(proxy.LastError(), "'Seed Method' is set to 'Point Set', but no point set is currently connected.");
    const double coords[9] = {1, 1, 1, 2, 2, 2, 3, 3, 3};
    Link(lines, Add(new testsupport::DataSource(new core::VdPoints(shr::Double, shr::Double, 3, coords, nullptr, 0),
                                                core::PortPoints)),
         1);
    lines->NumberOfSeeds(2);
    Run(lines);
    EXPECT_EQ(lines->Seeds(), (std::vector<Vec3d>{{1, 1, 1}, {2, 2, 2}}));
}

TEST_F(StreamLinesTest, TheJackPlacesTheSeedsAndADragMovesThem)
{
    VoStreamLines* lines = Lines(Uniform(), 0.1, 5);
    lines->SeedNormal(Vec3d(1, 0, 0));
    lines->ShowDragger(true);
    Run(lines);
    const auto dragger = lines->Dragger();
    ASSERT_TRUE(dragger);
    EXPECT_EQ(dragger->Translation(), Vec3d(5, 5, 5));
    // The jack holds single precision values.
    EXPECT_TRUE(Near(dragger->Scale(), Vec3d(4.5, 4.5, 5.0), 1e-6));
    EXPECT_TRUE(Near(dragger->Rotation().MultVec(Vec3d::UNIT_Y), Vec3d(1, 0, 0), 1e-6));
    EXPECT_NE(visualtest::First<SoJackDragger>(*lines), nullptr);

    auto* jack = static_cast<SoJackDragger*>(dragger->GetNode().get());
    jack->translation.setValue(2, 3, 4);
    EXPECT_EQ(lines->SeedCentre(), Vec3d(2, 3, 4));
    EXPECT_TRUE(Near(lines->SeedNormal(), Vec3d(1, 0, 0), 1e-6));
    EXPECT_TRUE(Near(lines->SeedScale(), Vec3d(0.9, 0.9, 1.0), 1e-6));
    ASSERT_FALSE(proxy.refreshed.empty());
    EXPECT_EQ(proxy.refreshed.back(), lines->DraggerEventId());
    const int64_t before = lines->ModifiedTime();
    draggertest::DragRelay::Finish(jack);
    EXPECT_GT(lines->ModifiedTime(), before) << "the release runs the module again";
    Run(lines);
    EXPECT_TRUE(Near(lines->Seeds()[0], Vec3d(2, 3, 4), 1e-12));
}

TEST_F(StreamLinesTest, RowsForTheStepAndTheOlderSeedPlaneKeys)
{
    VoStreamLines* lines = Fed(Uniform());
    Edit(lines, {{VoStreamLines::IdStepSize, "0.25"}, {VoStreamLines::IdNumSteps, "7"}});
    EXPECT_FALSE(lines->AutoStep()) << "a typed step ends the automatic one";
    EXPECT_EQ(lines->StepInterval(), 0.25);
    Edit(lines, {{VoStreamLines::IdAutoStep, "true"}, {VoStreamLines::IdStepSize, "-1"}});
    EXPECT_EQ(lines->StepInterval(), std::sqrt(300.0) * 2.0 / 7.0) << "a step must be positive";
    Edit(lines, {{VoStreamLines::IdDirection, "5"}, {VoStreamLines::IdNumSeeds, "5000"}});
    EXPECT_EQ(lines->GetDirection(), VoStreamLines::Both);
    EXPECT_EQ(lines->NumberOfSeeds(), uint32_t(VoStreamLines::MaxSeeds));

    network().ModifyNode(*lines, list, core::VbPropertyEvent(VoStreamLines::IdCentreGroup, Vec3d(1, 2, 3)), true,
                         true);
    network().ModifyNode(*lines, list, core::VbPropertyEvent(VoStreamLines::IdNormalGroup, Vec3d(0, 1, 0)), true,
                         true);
    EXPECT_EQ(lines->SeedCentre(), Vec3d(1, 2, 3));
    EXPECT_EQ(lines->SeedNormal(), Vec3d(0, 1, 0));
    double shown = 0.0;
    list.GetValue(VoStreamLines::IdYPos, shown);
    EXPECT_EQ(shown, 2.0);
    Edit(lines, {{VoStreamLines::IdResetDragger, "true"}});
    EXPECT_EQ(lines->SeedCentre(), Vec3d(5, 5, 5));
}

// ---- the stored form --------------------------------------------------------------------------

TEST_F(StreamLinesTest, StoredFormThroughItsVersionGates)
{
    VoStreamLines* stored = Lines(Uniform(), 0.125, 77);
    stored->SetSeedMethod(VoStreamLines::SeedSquare);
    stored->NumberOfSeeds(3);
    stored->SeedScale(Vec3d(0.5, 0.25, 1.0));
    stored->SeedNormal(Vec3d(0, 1, 0));
    stored->SeedCentre(Vec3d(4, 5, 6));
    stored->GetLegend().m_Title = "Speed";
    Run(stored);
    // Stored without its links, as a module on its own.
    std::vector<unsigned char> bytes;
    {
        shr::Archive archive(bytes);
        bool links = false;
        archive.ConnectionsFlag = &links;
        stored->Serialize(archive);
    }
    const testsupport::StoredModule document(bytes, 3);

    // Before 110 point size and line width are integers; before 109 the seed
    // plane is a position and the matrix that took the unit seeds to it.
    const float sizes[2] = {3.0f, 1.5f};
    const int32_t integers[2] = {3, 1};
    const size_t at = document.Find(sizes);
    const Vec3d plane[2] = {Vec3d(0.5, 0.25, 1.0), Vec3d(0, 1, 0)};
    const size_t planeAt = document.Find(plane);
    ASSERT_LT(planeAt, document.body.size());
    shr::Mat4d matrix;
    shr::Quat4d turn;
    turn.Set(Vec3d::UNIT_Z, Vec3d(0, 1, 0));
    matrix.SetTransform(Vec3d(4, 5, 6), turn, Vec3d(2.5, 1.25, 5.0)); // unit scale 5
    std::array<unsigned char, 24 + 128> legacy;
    const Vec3d position(9, 9, 9);
    std::memcpy(legacy.data(), &position, 24);
    std::memcpy(legacy.data() + 24, matrix.m, 128);
    const std::vector<unsigned char> v109 = testsupport::Replace(document.body, at, sizeof sizes, integers);
    const std::vector<unsigned char> v108 = testsupport::Replace(v109, planeAt, sizeof plane, legacy);
    for (int version : {108, 109, 110, 130}) {
        SCOPED_TRACE(version);
        VoStreamLines loaded;
        const auto& body = version < 109 ? v108 : version < 110 ? v109 : document.body;
        EXPECT_EQ(testsupport::Load(loaded, document.Document(version, body)), 0u);
        EXPECT_EQ(loaded.StepInterval(), 0.125);
        EXPECT_EQ(loaded.SeedCentre(), Vec3d(4, 5, 6));
        EXPECT_TRUE(Near(loaded.SeedNormal(), Vec3d(0, 1, 0), 1e-12));
        EXPECT_TRUE(Near(loaded.SeedScale(), Vec3d(0.5, 0.25, 1.0), 1e-12));
        EXPECT_EQ(loaded.Seeds(), stored->Seeds());
        EXPECT_EQ(loaded.GetLegend().m_Title, "Speed");
        EXPECT_EQ(loaded.GetLegend().GetColorMap(), &loaded.GetColorMap());
    }

    // A seed count beyond what the rows allow, or a cut-off archive, fails and changes nothing.
    const size_t seedsAt = document.Find(stored->Seeds()[0]) - 4;
    VoStreamLines target;
    const auto flooded = testsupport::Replace(document.body, seedsAt, 4, uint32_t(2000000));
    EXPECT_THROW(testsupport::Load(target, document.Document(130, flooded)), shr::Exception);
    EXPECT_THROW(testsupport::Load(target, document.Document(130, document.body), 6), shr::Exception);
    EXPECT_EQ(target.NumberOfSteps(), 100u);
    EXPECT_TRUE(target.Seeds().empty());
}

} // namespace
