// The axes and the bounding box driven through the network: fitting the axes
// to awkward ranges, the checks before drawing, shafts and lines, true
// coordinates under a shifted scene and a user transform, stored forms, and a
// picture of labels standing where their ticks are.
#include "PictureSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/visual/VoAxes.h"
#include "core/visual/VoBoundingBox.h"

#include <Inventor/nodes/SoCube.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoTranslation.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace core;
using shr::Box3d;
using shr::Vec3d;

namespace {

// Two points spanning `box`.
VdPoints* Corners(const Box3d& box)
{
    const double coords[6] = {box.min.x, box.min.y, box.min.z, box.max.x, box.max.y, box.max.z};
    const double values[2] = {0.0, 1.0};
    return new VdPoints(shr::Double, shr::Double, 2, coords, values, 1);
}

bool IsNice(double step)
{
    const double mantissa = step / std::pow(10.0, std::floor(std::log10(step)));
    for (double nice : {1.0, 2.0, 2.5, 5.0, 10.0})
        if (std::abs(mantissa - nice) < 1e-9)
            return true;
    return false;
}

class AxesTest : public visualtest::ModuleFixture<testsupport::UnshiftedSceneFixture> {
protected:
    template <class Module>
    Module* Look(VdData* data, Module* module, unsigned int type = 15)
    {
        Add(module);
        Link(module, Add(new testsupport::DataSource(data, type)));
        return module;
    }
};

TEST_F(AxesTest, FittingGivesRoundIncrementsAndLabelsThatDiffer)
{
    struct Case {
        Box3d box;
        int xCount; // labels asked for on X
    } cases[] = {
        {Box3d(0, 0, 0, 200, 100, 50), 7},                   // twice as long on X as on Y
        {Box3d(-250, -1e-3, -7, -10, 1e-3, -6), 7},          // negative, tiny
        {Box3d(0, 0, 0, 3e12, 1e12, 2e12), 7},               // huge
        {Box3d(7000100.25, 500, 1, 7000100.75, 500, 1), 7},  // a narrow span far from zero; flat Y and Z
        {Box3d(5, 5, 5, 5, 5, 5), 1},                        // a single value
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.box.min.x << ".." << c.box.max.x);
        auto* axes = Look(Corners(c.box), new VoAxes);
        axes->RecalcDefaults();
        for (int a = 0; a < 3; ++a) {
            const VoAxes::AxisInfo& axis = axes->Axis(a);
            EXPECT_EQ(axis.start, c.box.min);
            EXPECT_EQ(axis.end[a], c.box.max[a]);
            EXPECT_TRUE(IsNice(axis.labelIncrement)) << a << ": " << axis.labelIncrement;
            EXPECT_GE(axis.labelFirst, c.box.min[a]);
            EXPECT_LE(axis.labelLast, c.box.max[a] == c.box.min[a] ? c.box.min[a] : c.box.max[a]);
            if (axis.labelLast > axis.labelFirst) {
                EXPECT_NE(axis.labelFormat.Format(axis.labelFirst),
                          axis.labelFormat.Format(axis.labelFirst + axis.labelIncrement));
            }
        }
        const double xSpan = c.box.max.x - c.box.min.x;
        if (xSpan > 0) {
            EXPECT_LE(xSpan / axes->Axis(0).labelIncrement, c.xCount + 1e-9);
        }
        EXPECT_NO_THROW(axes->ValidateInput());
    }
    // 7 labels asked on X and 4 on Y: steps of 50 and 25.
    auto* axes = Look(Corners(Box3d(0, 0, 0, 200, 100, 50)), new VoAxes);
    axes->RecalcDefaults();
    EXPECT_EQ(axes->Axis(0).labelIncrement, 50.0);
    EXPECT_EQ(axes->Axis(1).labelIncrement, 25.0);
    EXPECT_EQ(axes->LabelValues(1), (std::vector<double>{0, 25, 50, 75, 100}));
}

// New data from the same source keep what the user set; another source refits.
TEST_F(AxesTest, OnlyANewSourceRefitsTheAxes)
{
    auto* source = Add(new testsupport::DataSource(Corners(Box3d(0, 0, 0, 10, 10, 10))));
    auto* axes = Add(new VoAxes);
    Link(axes, source);
    RunPass();
    EXPECT_EQ(axes->Axis(0).end.x, 10.0);
    axes->Axis(0).labelIncrement = 3.0;
    source->GetOutput(0)->Data(Corners(Box3d(0, 0, 0, 20, 20, 20)));
    const int64_t before = source->ExecTime();
    Rerun(source);
    ASSERT_GT(source->ExecTime(), before) << "the source ran and handed its data on";
    EXPECT_EQ(axes->Axis(0).labelIncrement, 3.0);
    EXPECT_EQ(axes->Axis(0).end.x, 10.0);
    Link(axes, Add(new testsupport::DataSource(Corners(Box3d(0, 0, 0, 40, 40, 40)))));
    RunPass();
    EXPECT_EQ(axes->Axis(0).end.x, 40.0);
    EXPECT_EQ(axes->Axis(0).labelIncrement, 10.0);
}

TEST_F(AxesTest, ValidationNamesTheAxisAndTheLeastIncrement)
{
    auto* axes = Look(Corners(Box3d(0, 0, 0, 100, 10, 10)), new VoAxes);
    Pass({axes});
    axes->Axis(0).labelIncrement = 0.1; // 1000 labels on 0..100
    Rerun(axes);
    EXPECT_EQ(axes->GetStatus(), VoModule::ModuleFailed);
    EXPECT_EQ(proxy.LastError(),
              "Too many labels for the X axis (1000).\nIncrease the label increment to at least 0.5");
    EXPECT_EQ(axes->MinLabelIncrement(0), 0.5);

    axes->Axis(0).labelIncrement = 10.0;
    axes->Axis(1).labelFirst = 20.0; // above the last label, 10
    EXPECT_THROW(axes->ValidateInput(), shr::Exception);
    axes->Axis(1).labelFirst = 0.0;
    axes->Axis(2).start[2] = 11.0;
    EXPECT_EQ(testsupport::RaisedBy([&] { axes->ValidateInput(); }).message,
              "Z axis minimum must be less than or equal to the maximum");
}

// Geometry 1000 m east and 2000 m north of the scene's offset reads as where it truly lies.
TEST_F(AxesTest, GeometryInAShiftedSceneShowsTrueCoordinates)
{
    network().SetTransformOnlyUseIfYouAreAUnitTest(SceneTransform(-500000.0, -7000000.0, true));
    auto* geometry = new VdGeometry(nullptr, false);
    InvSmartPtr<SoSeparator> cube(new SoSeparator);
    auto* at = new SoTranslation;
    at->translation = SbVec3f(1000.0f, 2000.0f, 50.0f);
    cube->addChild(at);
    cube->addChild(new SoCube); // 2 x 2 x 2
    geometry->SetGeometry(InvSmartPtr<SoNode>(cube.get()));
    auto* axes = Look(geometry, new VoAxes, 16);
    auto* box = Look(geometry, new VoBoundingBox, 16);
    axes->RecalcDefaults();
    EXPECT_EQ(axes->Axis(0).start, Vec3d(500999.0, 7001999.0, 49.0));
    EXPECT_EQ(axes->Axis(0).end.x, 501001.0);
    box->ShowLabels(true);
    box->LabelFormat().SetType(0);
    box->LabelFormat().Digits(0);
    RunPass();
    EXPECT_EQ(visualtest::Texts(*box), (std::vector<std::string>{"500999, 7001999, 49", "501001, 7002001, 51"}));
}

TEST_F(AxesTest, StoredFormsThroughTheVersionGates)
{
    VoAxes stored;
    stored.ShowGrid(true);
    stored.GridLineWidth(2.5);
    stored.AxisScale(3.0);
    stored.Axis(1).title = "Northing (m)";
    stored.Axis(1).labelIncrement = 25.0;
    stored.Axis(1).text.m_Face = "Serif";
    stored.Axis(2).ticksPerLabel = 4;
    for (const int version : {127, 129, 130}) {
        SCOPED_TRACE(version);
        VoAxes loaded;
        const std::vector<unsigned char> bytes = testsupport::Store(stored, version);
        EXPECT_EQ(testsupport::Load(loaded, bytes), 0u);
        EXPECT_TRUE(loaded.ShowGrid());
        EXPECT_EQ(loaded.GridLineWidth(), version >= 130 ? 2.5 : 1.0);
        EXPECT_EQ(loaded.AxisScale(), 3.0);
        EXPECT_EQ(loaded.Axis(1).title, "Northing (m)");
        EXPECT_EQ(loaded.Axis(1).labelIncrement, 25.0);
        EXPECT_EQ(loaded.Axis(1).text.m_Face, "Serif") << "the face is stored in either place";
        EXPECT_EQ(loaded.Axis(2).ticksPerLabel, 4);
    }
    testsupport::ExpectRoundTrip(stored, {4, 40});

    VoBoundingBox box;
    box.Color(shr::Color4b(1, 2, 3));
    box.ShowLabels(true);
    box.LabelFormat().Postfix(" m");
    testsupport::ExpectRoundTrip(box, {4, 40});
}

// Seen from above: the red X shaft along y = -4, and each label standing
// clear just beyond its tick, with nothing between the labels.
TEST_F(AxesTest, LabelsStandBeyondTheirTicks)
{
    auto* axes = Look(Corners(Box3d(-4, -4, 0, 4, 4, 1)), new VoAxes);
    RunPass();
    for (int a = 1; a < 3; ++a)
        axes->Axis(a).show = false;
    VoAxes::AxisInfo& x = axes->Axis(0);
    x.labelScale = 3.0;
    x.labelFormat.SetType(0);
    x.labelFormat.Digits(0);
    axes->SetModified();
    Pass({axes});
    ASSERT_EQ(axes->LabelValues(0), (std::vector<double>{-4, -2, 0, 2, 4}));
    const render::Image image = testsupport::TopDownPicture(visualtest::Root(*axes), 10.0f); // 16 pixels a unit
    const auto pixel = [](double u) { return int(std::lround(80 + 16 * u)); };
    const auto red = [&](double u0, double u1, double v0, double v1) {
        int count = 0;
        for (int y = 160 - pixel(v1); y <= 160 - pixel(v0); ++y)
            for (int px = pixel(u0); px <= pixel(u1); ++px)
                count += image.At(px, y).r > 128 && image.At(px, y).g < 100 ? 1 : 0;
        return count;
    };
    EXPECT_GT(red(-3.5, 3.5, -4.05, -3.95), 80) << "the shaft";
    // The diagonal is sqrt(129): ticks of 0.11, labels 0.68 high centred above them.
    const double labelY = -4 + 0.11 + 0.34;
    for (const double value : {-2.0, 0.0, 2.0}) {
        EXPECT_GT(red(value - 0.3, value + 0.3, labelY - 0.3, labelY + 0.3), 6) << "label " << value;
        EXPECT_EQ(red(value + 0.6, value + 1.4, labelY - 0.2, labelY + 0.2), 0) << "between labels after " << value;
    }
}

} // namespace
