// The cutting plane: orientation from the normal and back, defaults from a
// new lattice, its property rows, drags, and its stored form.
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/graphics/VgPlaneDragger.h"
#include "core/graphics/VgRenderer.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/visual/VbCuttingPlane.h"
#include "core/visual/VoObliqueSlice.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <Inventor/nodes/SoSeparator.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using core::VbCuttingPlane;
using shr::Box3d;
using shr::Vec3d;

namespace {

const int kBase = 6;

class CuttingPlaneTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        owner = std::make_unique<core::VoObliqueSlice>();
        plane.Initialize(owner.get(), kBase);
        plane.GetProperties(list, "Test", kBase, false);
    }

    // Puts a value into a row and tells the plane, as the host does.
    template <class T>
    void Edit(int row, const T& value)
    {
        list.AnyValue(kBase + row, value, false);
        plane.PropertyEvent(list, core::VbPropertyEvent(kBase + row, value), kBase);
    }
    Vec3d ShownNormal() const
    {
        double x = 0, y = 0, z = 0;
        list.GetValue(kBase + VbCuttingPlane::RowNormalX, x);
        list.GetValue(kBase + VbCuttingPlane::RowNormalY, y);
        list.GetValue(kBase + VbCuttingPlane::RowNormalZ, z);
        return Vec3d(x, y, z);
    }

    visualtest::RecordingProxy proxy;
    std::unique_ptr<core::VoObliqueSlice> owner; // any module, for its modified state
    VbCuttingPlane plane;
    core::SimplePropertyCollection list;
};

TEST_F(CuttingPlaneTest, NormalGivesOrientation)
{
    const std::pair<Vec3d, unsigned int> cases[] = {
        {{0, 0, 1}, 0},   {{0, 0, 7}, 0},    {{0, 2, 0}, 1},      {{1, 0, 0}, 2},
        {{0, 0, -1}, 3},  {{1, 1, 0}, 3},    {{0, 0, 0}, 3},      {{0, 0, FLT_EPSILON}, 3},
        {{0, 0, 2 * FLT_EPSILON}, 0}, {{1e-9, 0, 1}, 3},
    };
    for (const auto& c : cases)
        EXPECT_EQ(VbCuttingPlane::NormalToOrientation(c.first), c.second)
            << c.first.x << " " << c.first.y << " " << c.first.z;
}

TEST_F(CuttingPlaneTest, DefaultsFollowTheLattice)
{
    struct Case {
        unsigned int dims[3];
        unsigned int orientation;
        Vec3d normal;
    };
    const Case cases[] = {
        {{1, 5, 5}, 2, {1, 0, 0}},
        {{5, 1, 5}, 1, {0, 1, 0}},
        {{5, 5, 1}, 0, {0, 0, 1}},
        {{5, 1, 1}, 3, {1, 2, 3}}, // two flat axes: the plane stays as it was
        {{5, 5, 5}, 3, {1, 2, 3}},
    };
    for (const Case& c : cases) {
        VbCuttingPlane fresh;
        fresh.Orientation(3);
        fresh.Normal({1, 2, 3});
        fresh.UpdateDefaults(c.dims, Box3d(0, 0, 0, 4, 2, 1));
        EXPECT_EQ(fresh.Orientation(), c.orientation);
        EXPECT_EQ(fresh.Normal(), c.normal);
        EXPECT_EQ(fresh.BoundingBox(), Box3d(0, 0, 0, 4, 2, 1));
    }
    // The offset survives while the box still reaches it.
    const unsigned int dims[3] = {5, 5, 5};
    plane.Offset(0.4);
    plane.UpdateDefaults(dims, Box3d(0, 0, 0, 1, 1, 1));
    EXPECT_DOUBLE_EQ(plane.OffsetLimit(), 0.5);
    EXPECT_EQ(plane.Offset(), 0.4);
    plane.UpdateDefaults(dims, Box3d(0, 0, 0, 1, 1, 0.5));
    EXPECT_EQ(plane.Offset(), 0.0);
}

TEST_F(CuttingPlaneTest, OrientationRowSetsTheNormalAndTheOffsetLimits)
{
    plane.BoundingBox(Box3d(0, 0, 0, 4, 2, 1));
    const std::pair<unsigned int, Vec3d> cases[] = {{2, {1, 0, 0}}, {1, {0, 1, 0}}, {0, {0, 0, 1}}};
    for (const auto& c : cases) {
        Edit(VbCuttingPlane::RowOrientation, c.first);
        EXPECT_EQ(plane.Normal(), c.second);
        EXPECT_EQ(ShownNormal(), c.second);
    }
    EXPECT_DOUBLE_EQ(plane.OffsetLimit(), 0.5);
    // Custom keeps whatever normal there is.
    Edit(VbCuttingPlane::RowOrientation, 3u);
    EXPECT_EQ(plane.Orientation(), 3u);
    EXPECT_EQ(plane.Normal(), Vec3d(0, 0, 1));
}

TEST_F(CuttingPlaneTest, ZeroNormalIsReportedAndDrawsNoDragger)
{
    core::InvSmartPtr<SoSeparator> root(new SoSeparator);
    core::VgRenderer renderer{core::SceneTransform()};
    renderer.PushNode(root);
    plane.ShowDragger(true);
    plane.Normal({0, 0, 0});
    plane.Execute(renderer);
    EXPECT_EQ(proxy.Errors(),
              std::vector<std::string>{"Normal length cannot equal 0.  At least one component must be non-zero."});
    EXPECT_EQ(root->getNumChildren(), 0);
    EXPECT_EQ(plane.Dragger(), nullptr);
}

TEST_F(CuttingPlaneTest, DragUpdatesLiveAndRunsOnRelease)
{
    core::InvSmartPtr<SoSeparator> root(new SoSeparator);
    core::VgRenderer renderer{core::SceneTransform()};
    renderer.PushNode(root);
    plane.BoundingBox(Box3d(0, 0, 0, 2, 2, 2));
    plane.CalcOffsetLimits();

    // Without a dragger a motion changes nothing.
    plane.DraggerMoved({1, 0, 0}, 0.5);
    EXPECT_EQ(plane.Normal(), Vec3d(0, 0, 1));

    plane.ShowDragger(true);
    plane.Execute(renderer);
    ASSERT_NE(plane.Dragger(), nullptr);
    EXPECT_EQ(root->getNumChildren(), 3); // pick style, dragger, pick style
    EXPECT_EQ(plane.Dragger()->Normal(), Vec3d(0, 0, 1));

    // A release with nothing moved does nothing.
    const int64_t before = owner->ModifiedTime();
    plane.DraggerReleased();
    EXPECT_EQ(owner->ModifiedTime(), before);

    const Vec3d tilted = Vec3d(1, 0, 1).Normalized();
    plane.DraggerMoved(tilted, 0.25);
    EXPECT_EQ(plane.Normal(), tilted);
    EXPECT_EQ(plane.Offset(), 0.25);
    EXPECT_EQ(plane.Orientation(), 3u);
    EXPECT_TRUE(plane.NormalChanged());
    EXPECT_TRUE(plane.OffsetChanged());
    EXPECT_DOUBLE_EQ(plane.OffsetLimit(), 1.0); // limits wait for the release
    EXPECT_EQ(proxy.refreshed, std::vector<int>{kBase + 7});

    plane.DraggerReleased();
    EXPECT_FALSE(plane.NormalChanged());
    EXPECT_FALSE(plane.OffsetChanged());
    EXPECT_NEAR(plane.OffsetLimit(), std::sqrt(2.0), 1e-12);
    EXPECT_GT(owner->ModifiedTime(), before);
    EXPECT_EQ(proxy.refreshed.size(), 2u);

    // Property edits reach the dragger.
    Edit(VbCuttingPlane::RowOrientation, 1u);
    EXPECT_EQ(plane.Dragger()->Normal(), Vec3d(0, 1, 0));
    Edit(VbCuttingPlane::RowOffset, -0.5);
    EXPECT_EQ(plane.Dragger()->Offset(), -0.5);
}

TEST_F(CuttingPlaneTest, StoredFormRoundTripsAndRejectsBadInput)
{
    plane.Orientation(3);
    plane.Normal({1, 2, 3});
    plane.BoundingBox(Box3d(-1, -2, -3, 1, 2, 3));
    plane.CalcOffsetLimits();
    plane.Offset(0.75);
    plane.ShowDragger(true);
    testsupport::ExpectRoundTrip(plane, {3, 20});
    // The setter keeps an orientation past custom, and raises; a document may not hold one.
    const auto pastCustom = [](VbCuttingPlane& p) { EXPECT_THROW(p.Orientation(4), shr::Exception); };
    testsupport::ExpectDamageRefused<VbCuttingPlane>({{"orientation", pastCustom}});
}

} // namespace
