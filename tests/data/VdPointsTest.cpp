// Point sets: coordinates in the source's type, cached bounds, append,
// labels, and archives on both sides of the labels version.
#include "core/data/VdPoints.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include "ArrayTestHelpers.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using core::VdPoints;

const shr::Box3d kInverted(DBL_MAX, DBL_MAX, DBL_MAX, -DBL_MAX, -DBL_MAX, -DBL_MAX);

// Three float points with two int16 components each.
VdPoints ThreePoints()
{
    const float coords[] = {1.5f, -2.0f, 0.0f, 4.0f, 8.0f, -1.0f, -3.0f, 0.5f, 2.0f};
    const int16_t data[] = {10, -1, 20, -2, 30, -3};
    return VdPoints(shr::Float, shr::Int16, 3, coords, data, 2);
}

double Coord(const VdPoints& points, unsigned int point, unsigned int axis)
{
    return static_cast<const float*>(points.GetCoordPtr())[point * 3 + axis];
}

TEST(VdPointsTest, KeepsTheSourceTypesAndComputesBounds)
{
    VdPoints points = ThreePoints();
    EXPECT_EQ(shr::Float, points.GetCoordType());
    EXPECT_EQ(shr::Int16, points.DataType());
    EXPECT_EQ(3u, points.VertexCount());
    EXPECT_EQ(2u, points.ComponentCount());
    EXPECT_EQ(4u, points.GetCoordComponentSize());
    EXPECT_EQ(12u, points.GetCoordTupleSize());
    EXPECT_EQ(36u, points.GetCoordTotalSize());
    EXPECT_EQ(shr::Box3d(-3.0, -2.0, -1.0, 4.0, 8.0, 2.0), points.GetUVWBounds());
    EXPECT_EQ(points.GetUVWBounds(), points.GetXYZBounds());
    EXPECT_EQ(std::make_pair(-3.0, -1.0), points.DataMinMax(1));
}

TEST(VdPointsTest, EmptyPointSetHasInvertedBoundsUntilResized)
{
    VdPoints points;
    EXPECT_EQ(kInverted, points.GetUVWBounds());
    EXPECT_EQ(kInverted, points.GetXYZBounds());
    EXPECT_TRUE(points.DataEmpty());

    const double coords[] = {1, 2, 3, -1, 5, 0};
    points.Resize(shr::Double, shr::Double, 2, coords, nullptr, 1);
    EXPECT_EQ(shr::Box3d(-1, 2, 0, 1, 5, 3), points.GetUVWBounds());
    EXPECT_EQ(2u, points.VertexCount());
}

TEST(VdPointsTest, XYZBoundsOfARotationAreTightAroundThePoints)
{
    // Two points on a diagonal: rotating by 45 degrees puts both on the x axis,
    // where the box of the rotated UVW corners would be much wider in y.
    const double coords[] = {0, 0, 0, 1, 1, 0};
    VdPoints points(shr::Double, shr::Double, 2, coords, nullptr, 0);
    shr::Mat4d rotation;
    rotation.RotateZ(-M_PI / 4.0, shr::Mat4d::PostMultiply);
    points.SetUserTransform(rotation);
    const shr::Box3d box = points.GetXYZBounds();
    EXPECT_NEAR(0.0, box.min.x, 1e-12);
    EXPECT_NEAR(std::sqrt(2.0), box.max.x, 1e-12);
    EXPECT_NEAR(0.0, box.max.y - box.min.y, 1e-12);
    EXPECT_EQ(shr::Box3d(0, 0, 0, 1, 1, 0), points.GetUVWBounds());
}

TEST(VdPointsTest, AppendAddsBothBlocksOrNothing)
{
    const float coords[] = {9.0f, 9.0f, 9.0f, -9.0f, 0.0f, 0.0f};
    const int16_t data[] = {40, -4, 50, -5};
    struct Case {
        const char* name;
        uint64_t count;
        const void* coords;
        const void* data;
        unsigned int expectedCount;
    } cases[] = {
        {"both blocks", 2, coords, data, 5},
        {"no points", 0, coords, data, 3},
        {"null data", 2, coords, nullptr, 3},
        {"null coordinates", 2, nullptr, data, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VdPoints points = ThreePoints();
        points.SetBlank(2, 1);
        const shr::Box3d before = points.GetUVWBounds();
        points.Append(c.count, c.coords, c.data);
        EXPECT_EQ(c.expectedCount, points.VertexCount());
        EXPECT_EQ(c.expectedCount * 12u, points.GetCoordTotalSize());
        EXPECT_TRUE(points.IsBlank(2, 1));
        if (c.expectedCount == 3) {
            EXPECT_EQ(before, points.GetUVWBounds());
            continue;
        }
        EXPECT_EQ(shr::Box3d(-9, -2, -1, 9, 9, 9), points.GetUVWBounds());
        EXPECT_EQ(-9.0, Coord(points, 4, 0));
        EXPECT_EQ(std::make_pair(10.0, 50.0), points.DataMinMax(0));
        EXPECT_FALSE(points.IsBlank(4, 1));
    }
}

TEST(VdPointsTest, AppendOverTheSizeLimitChangesNothing)
{
    VdPoints points = ThreePoints();
    const float coords[3] = {};
    const int16_t data[2] = {};
    try {
        points.Append(uint64_t(1) << 31, coords, data);
        FAIL() << "no error";
    } catch (const shr::Exception& error) {
        EXPECT_EQ(46, error.Code());
    }
    EXPECT_EQ(3u, points.VertexCount());
    EXPECT_EQ(36u, points.GetCoordTotalSize());
    EXPECT_EQ(4.0, Coord(points, 1, 0));
}

TEST(VdPointsTest, LabelsKeepTheFirstTextAndAreNotShared)
{
    VdPoints points = ThreePoints();
    points.AddLabel({1, "first"});
    points.AddLabel({1, "second"});
    points.AddLabel({0, "zero"});
    arraytest::ExpectCoreError([&] { points.AddLabel({2, ""}); }, "Cannot add empty label.");
    ASSERT_EQ(2u, points.labels_size());
    EXPECT_EQ("first", points.FindLabel(1)->second);
    EXPECT_EQ(0u, points.labels_begin()->first);
    EXPECT_EQ(points.labels_end(), points.FindLabel(2));

    VdPoints copy(points);
    EXPECT_NE(points.Labels(), copy.Labels());
    copy.labels_clear();
    EXPECT_TRUE(copy.labels_empty());
    EXPECT_EQ(2u, points.labels_size());
}

std::vector<unsigned char> Store(VdPoints& points, int version)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, shr::GString(), version);
    points.Serialize(archive);
    return bytes;
}

TEST(VdPointsTest, ArchivesOnBothSidesOfTheLabelsVersion)
{
    VdPoints labelled = ThreePoints();
    labelled.SetBlank(1, 0);
    labelled.SetUserTransform(shr::Mat4d::MakeTranslation(1, 2, 3));
    labelled.AddLabel({2, "well A"});
    const size_t labelBytes = 4 + 4 + 4 + 6; // count, index, length, text

    const std::vector<unsigned char> v118 = Store(labelled, 118);
    const std::vector<unsigned char> v119 = Store(labelled, 119);
    // 118 carries two zero words and no labels; 119 the labels and no words.
    EXPECT_EQ(v118.size() - 8 + labelBytes, v119.size());

    struct Case {
        const char* name;
        const std::vector<unsigned char>* bytes;
        size_t labels;
    } cases[] = {{"118", &v118, 0}, {"119", &v119, 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VdPoints loaded;
        loaded.AddLabel({0, "stale"});
        shr::Archive in(c.bytes->data(), c.bytes->size());
        loaded.Serialize(in);
        EXPECT_EQ(0u, in.BytesRemaining());
        EXPECT_EQ(c.labels, loaded.labels_size());
        EXPECT_EQ(shr::Float, loaded.GetCoordType());
        EXPECT_EQ(shr::Int16, loaded.DataType());
        EXPECT_TRUE(loaded.IsBlank(1, 0));
        EXPECT_FALSE(loaded.IsBlank(1, 1));
        EXPECT_EQ(labelled.GetUVWBounds(), loaded.GetUVWBounds());
        EXPECT_EQ(labelled.GetXYZBounds(), loaded.GetXYZBounds());
        EXPECT_EQ(-3.0, Coord(loaded, 2, 0));
    }
}

TEST(VdPointsTest, TruncatedArchiveLeavesThePointSetAsItWas)
{
    VdPoints source = ThreePoints();
    source.AddLabel({1, "label"});
    const std::vector<unsigned char> bytes = Store(source, shr::Archive::CurrentVersion);
    for (size_t cut : {size_t(20), bytes.size() / 2, bytes.size() - 3}) {
        SCOPED_TRACE(cut);
        VdPoints target;
        const double coords[] = {7, 7, 7};
        target.Resize(shr::Double, shr::Double, 1, coords, nullptr, 1);
        target.AddLabel({0, "kept"});
        shr::Archive in(bytes.data(), cut);
        EXPECT_THROW(target.Serialize(in), shr::Exception);
        EXPECT_EQ(1u, target.VertexCount());
        EXPECT_EQ(shr::Double, target.GetCoordType());
        EXPECT_EQ("kept", target.FindLabel(0)->second);
        EXPECT_FALSE(target.HasUserTransform());
    }
}

} // namespace
