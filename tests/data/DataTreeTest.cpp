// The data tree: reference counting, visitors through the class chain, the
// user transform and its stored form; point sets (coordinates in the source's
// type, cached bounds, append, labels, archives on both sides of the labels
// version); and the geometry that carries a module's scene output.
#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "core/network/VoNetwork.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoCube.h>
#include <Inventor/nodes/SoPointSet.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoTranslation.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

using core::InvSmartPtr;
using core::VdData;
using core::VdGeometry;
using core::VdPoints;
using testsupport::Load;
using testsupport::Store;

// A datum that reports its destruction.
class Tracked : public VdData {
    SHR_DECLARE_TYPE(Tracked)
public:
    explicit Tracked(bool* destroyed) : m_Destroyed(destroyed) {}
    Tracked(const Tracked& other, bool* destroyed) : VdData(other), m_Destroyed(destroyed) {}
    ~Tracked() override { *m_Destroyed = true; }
    unsigned int GetType() const override { return 1; }
    const char* GetTypeName() const override { return "Tracked"; }

private:
    bool* m_Destroyed;
};
SHR_IMPLEMENT_TYPE(Tracked, core::VdData)

TEST(DataTreeTest, LastDecRefDestroysCopiesStartUnreferencedAndHoldersMayRace)
{
    bool destroyed = false, copyDestroyed = false;
    auto* data = new Tracked(&destroyed);
    data->AddRef();
    // A copy does not inherit the count: one AddRef/DecRef pair ends it.
    auto* copy = new Tracked(*data, &copyDestroyed);
    copy->AddRef();
    copy->DecRef();
    EXPECT_TRUE(copyDestroyed);
    testsupport::RunThreads(4, [data](unsigned int) {
        for (int i = 0; i < 20000; ++i) {
            data->AddRef();
            data->DecRef();
        }
    });
    EXPECT_FALSE(destroyed);
    data->DecRef();
    EXPECT_TRUE(destroyed);
}

// Visitors of one class each, counting their visits.
template <class T>
struct Probe : shr::BaseVisitor, shr::Visitor<T, bool>, shr::BaseConstVisitor, shr::ConstVisitor<T, bool> {
    bool Visit(T&) override { return ++visits, true; }
    bool Visit(const T&) override { return ++visits, true; }
    int visits = 0;
};

template <class T>
int Visits(VdData& data)
{
    Probe<T> probe;
    const bool accepted = data.Accept(static_cast<shr::BaseVisitor&>(probe));
    const bool constAccepted = static_cast<const VdData&>(data).Accept(static_cast<shr::BaseConstVisitor&>(probe));
    EXPECT_EQ(int(accepted) + int(constAccepted), probe.visits);
    return probe.visits;
}

TEST(DataTreeTest, VisitorsReachThroughTheClassChain)
{
    VdPoints points; // Accept with a visitor, and the const Accept with a const visitor
    EXPECT_EQ(2, Visits<VdPoints>(points));
    EXPECT_EQ(2, Visits<core::VdVertexData>(points));
    EXPECT_EQ(2, Visits<core::VdSpatialData>(points));
    EXPECT_EQ(2, Visits<VdData>(points));
    EXPECT_EQ(0, Visits<VdGeometry>(points));
}

VdPoints UnitCubeCorners()
{
    const double coords[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1};
    return VdPoints(shr::Double, shr::Double, 8, coords, nullptr, 0);
}

TEST(DataTreeTest, UserTransformRoundTripsDropsCachedBoundsAndKeepsItsStoredInverse)
{
    VdPoints points = UnitCubeCorners();
    const shr::Box3d before = points.GetXYZBounds();
    shr::Mat4d turned; // 30 degrees about Z, then a move
    turned.RotateZ(M_PI / 6.0, shr::Mat4d::PostMultiply);
    turned *= shr::Mat4d::MakeTranslation(10.0, -5.0, 2.0);
    points.SetUserTransform(turned);
    EXPECT_NE(before, points.GetXYZBounds()) << "SetUserTransform must drop the cached XYZ bounds";
    EXPECT_EQ(before, points.GetUVWBounds());
    EXPECT_TRUE(testsupport::Near(points.XYZToUVW(points.UVWToXYZ({0.25, -3.0, 4.5})), {0.25, -3.0, 4.5}, 1e-12));

    // The identity is no transform: coordinates pass bit for bit.
    points.SetUserTransform(shr::Mat4d::IDENTITY);
    EXPECT_FALSE(points.HasUserTransform());
    const shr::Vec3d odd(0.1, 1e-300, -7.3e12);
    const shr::Vec3d out = points.UVWToXYZ(odd);
    EXPECT_EQ(0, std::memcmp(&odd, &out, sizeof odd));

    // A singular matrix has no inverse: what is stored must come back as is.
    const shr::Mat4d flat = shr::Mat4d::MakeScale(2.0, 0.0, 1.0);
    points.SetUserTransform(flat);
    VdPoints loaded;
    EXPECT_EQ(0u, Load(loaded, Store(points)));
    EXPECT_EQ(flat, loaded.GetUserTransform());
    EXPECT_EQ(points.GetInverseUserTransform(), loaded.GetInverseUserTransform());
}

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
    EXPECT_EQ(shr::Box3d(-3.0, -2.0, -1.0, 4.0, 8.0, 2.0), points.GetUVWBounds());
    EXPECT_EQ(std::make_pair(-3.0, -1.0), points.DataMinMax(1));

    VdPoints empty;
    const shr::Box3d inverted(DBL_MAX, DBL_MAX, DBL_MAX, -DBL_MAX, -DBL_MAX, -DBL_MAX);
    EXPECT_EQ(inverted, empty.GetUVWBounds());
    EXPECT_EQ(inverted, empty.GetXYZBounds());
    const double coords[] = {1, 2, 3, -1, 5, 0};
    empty.Resize(shr::Double, shr::Double, 2, coords, nullptr, 1);
    EXPECT_EQ(shr::Box3d(-1, 2, 0, 1, 5, 3), empty.GetUVWBounds());

    // Two points on a diagonal: rotating by 45 degrees puts both on the x axis,
    // where the box of the rotated UVW corners would be much wider in y.
    const double diagonal[] = {0, 0, 0, 1, 1, 0};
    VdPoints rotated(shr::Double, shr::Double, 2, diagonal, nullptr, 0);
    shr::Mat4d rotation;
    rotation.RotateZ(-M_PI / 4.0, shr::Mat4d::PostMultiply);
    rotated.SetUserTransform(rotation);
    const shr::Box3d box = rotated.GetXYZBounds();
    EXPECT_TRUE(testsupport::Near(box.min, {0, 0, 0}, 1e-12));
    EXPECT_TRUE(testsupport::Near(box.max, {std::sqrt(2.0), 0, 0}, 1e-12));
}

TEST(VdPointsTest, AppendAddsBothBlocksOrNothing)
{
    const float coords[] = {9.0f, 9.0f, 9.0f, -9.0f, 0.0f, 0.0f};
    const int16_t data[] = {40, -4, 50, -5};
    const struct {
        uint64_t count;
        const void *coords, *data;
        unsigned int expectedCount;
    } cases[] = {{2, coords, data, 5}, {0, coords, data, 3}, {2, coords, nullptr, 3}, {2, nullptr, data, 3}};
    for (const auto& c : cases) {
        VdPoints points = ThreePoints();
        points.SetBlank(2, 1);
        const shr::Box3d before = points.GetUVWBounds();
        points.Append(c.count, c.coords, c.data);
        EXPECT_EQ(c.expectedCount, points.VertexCount());
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
    VdPoints points = ThreePoints();
    const float none[3] = {};
    EXPECT_EQ(testsupport::RaisedBy([&] { points.Append(uint64_t(1) << 31, none, data); }).code, 46);
    EXPECT_EQ(36u, points.GetCoordTotalSize()) << "a refused append changes nothing";
    EXPECT_EQ(4.0, Coord(points, 1, 0));
}

// The labels' own rules are LabelStorage's; a copy has labels of its own.
TEST(VdPointsTest, LabelsAreNotShared)
{
    VdPoints points = ThreePoints();
    points.AddLabel({1, "first"});
    points.AddLabel({0, "zero"});
    VdPoints copy(points);
    EXPECT_NE(points.Labels(), copy.Labels());
    copy.labels_clear();
    EXPECT_EQ(2u, points.labels_size());
}

TEST(VdPointsTest, ArchivesOnBothSidesOfTheLabelsVersionAndTruncated)
{
    VdPoints labelled = ThreePoints();
    labelled.SetBlank(1, 0);
    labelled.SetUserTransform(shr::Mat4d::MakeTranslation(1, 2, 3));
    labelled.AddLabel({2, "well A"});
    // 118 carries two zero words and no labels; 119 the labels and no words.
    const std::vector<unsigned char> v118 = Store(labelled, 118), v119 = Store(labelled, 119);
    EXPECT_EQ(v118.size() - 8 + 4 + 4 + 4 + 6, v119.size()); // count, index, length, text
    for (const auto* bytes : {&v118, &v119}) {
        VdPoints loaded;
        loaded.AddLabel({0, "stale"});
        EXPECT_EQ(0u, Load(loaded, *bytes));
        EXPECT_EQ(bytes == &v119 ? 1u : 0u, loaded.labels_size());
        EXPECT_TRUE(loaded.IsBlank(1, 0) && !loaded.IsBlank(1, 1));
        EXPECT_EQ(labelled.GetXYZBounds(), loaded.GetXYZBounds());
        EXPECT_EQ(-3.0, Coord(loaded, 2, 0));
    }
    for (size_t cut : {size_t(3), v119.size() / 2, v119.size() - 20}) {
        VdPoints target;
        const double coords[] = {7, 7, 7};
        target.Resize(shr::Double, shr::Double, 1, coords, nullptr, 1);
        target.AddLabel({0, "kept"});
        EXPECT_THROW(Load(target, v119, cut), shr::Exception) << cut;
        EXPECT_EQ(shr::Double, target.GetCoordType());
        EXPECT_EQ("kept", target.FindLabel(0)->second);
        EXPECT_FALSE(target.HasUserTransform());
    }
}

class VdGeometryTest : public ::testing::Test {
protected:
    // The network brings up the scene-graph database and our node classes.
    static void SetUpTestSuite() { core::VoNetwork::Instance().Init(); }
    static void TearDownTestSuite() { core::VoNetwork::Instance().Release(); }

    // A unit cube moved by (5, 0, 0), and three points: 12 triangles, 3 points.
    static InvSmartPtr<SoNode> CubeAndPoints(SoCube** cube = nullptr)
    {
        InvSmartPtr<SoSeparator> group(new SoSeparator);
        auto* move = new SoTranslation;
        move->translation.setValue(5.0f, 0.0f, 0.0f);
        auto* box = new SoCube;
        auto* coords = new SoCoordinate3;
        const float points[3][3] = {{0, 0, 0}, {0, 0.5f, 0}, {0, 0, 0.5f}};
        coords->point.setValues(0, 3, points);
        for (SoNode* node : {static_cast<SoNode*>(move), static_cast<SoNode*>(box), static_cast<SoNode*>(coords),
                             static_cast<SoNode*>(new SoPointSet)})
            group->addChild(node);
        if (cube)
            *cube = box;
        return InvSmartPtr<SoNode>(group);
    }
};

TEST_F(VdGeometryTest, RootCarriesTheModuleAndShowsOnlyAChild)
{
    auto* module = reinterpret_cast<core::VoModule*>(0x1000); // never dereferenced
    VdGeometry geometry(module, true);
    InvSmartPtr<SoSwitch> root = geometry.GetRoot();
    ASSERT_TRUE(root->isOfType(core::InvModuleSwitch::getClassTypeId()));
    EXPECT_EQ(module, static_cast<core::InvModuleSwitch*>(root.get())->GetModule());
    geometry.Show(true); // no child: nothing to show
    EXPECT_EQ(SO_SWITCH_NONE, geometry.GetRoot()->whichChild.getValue());

    geometry.SetGeometry(CubeAndPoints());
    InvSmartPtr<SoSwitch> filled = geometry.GetRoot();
    EXPECT_NE(root.get(), filled.get()) << "a new switch, so that holders of the old one keep theirs";
    EXPECT_EQ(module, static_cast<core::InvModuleSwitch*>(filled.get())->GetModule());
    EXPECT_EQ(0, filled->whichChild.getValue());
    geometry.Show(false);
    EXPECT_EQ(SO_SWITCH_NONE, filled->whichChild.getValue());

    // A null geometry keeps the old picture; a hidden geometry that gets a new
    // picture stays hidden.
    SoNode* picture = filled->getChild(0);
    geometry.SetGeometry(InvSmartPtr<SoNode>());
    EXPECT_EQ(picture, geometry.GetRoot()->getChild(0));
    geometry.SetGeometry(CubeAndPoints());
    EXPECT_NE(picture, geometry.GetRoot()->getChild(0));
    EXPECT_EQ(SO_SWITCH_NONE, geometry.GetRoot()->whichChild.getValue());
}

TEST_F(VdGeometryTest, FindBoundsAndStatisticsFollowTheCurrentVisibleGraph)
{
    VdGeometry geometry(nullptr, false);
    SoCube* cube = nullptr;
    InvSmartPtr<SoNode> first = CubeAndPoints(&cube);
    geometry.SetGeometry(first);
    InvSmartPtr<SoNode> stranger(new SoCube);
    for (SoNode* node : {static_cast<SoNode*>(cube), first.get(), static_cast<SoNode*>(geometry.GetRoot().get())})
        EXPECT_TRUE(geometry.FindNode(node));
    EXPECT_FALSE(geometry.FindNode(stranger.get()) || geometry.FindNode(nullptr));

    EXPECT_EQ(shr::Box3d(4, -1, -1, 6, 1, 1), geometry.GetBoundingBox());
    VdGeometry::Statistics counts;
    geometry.GetStatistics(counts);
    EXPECT_EQ(3u, counts.points);
    EXPECT_EQ(12u, counts.triangles);
    EXPECT_EQ(0u, counts.lines + counts.texts + counts.images);
    geometry.Show(false);
    EXPECT_TRUE(geometry.GetBoundingBox().IsEmpty());
    geometry.GetStatistics(counts);
    EXPECT_EQ(0u, counts.triangles + counts.points);

    geometry.SetGeometry(CubeAndPoints());
    EXPECT_FALSE(geometry.FindNode(cube)) << "the replaced picture is no longer searched";
}

TEST_F(VdGeometryTest, ArchiveCarriesOnlyTheMarker)
{
    VdGeometry geometry(nullptr, true);
    geometry.SetGeometry(CubeAndPoints());
    std::vector<unsigned char> bytes;
    {
        shr::Archive out(bytes);
        VdGeometry* object = &geometry;
        out.TransferObject(object);
    }
    shr::Archive in(bytes.data(), bytes.size());
    VdGeometry* loaded = nullptr;
    in.TransferObject(loaded);
    ASSERT_NE(nullptr, loaded);
    EXPECT_EQ(0u, in.BytesRemaining());
    EXPECT_FALSE(loaded->IsHeaderNode());
    EXPECT_EQ(0, loaded->GetRoot()->getNumChildren());
    loaded->AddRef();
    loaded->DecRef();
}

} // namespace
