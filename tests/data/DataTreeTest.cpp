// The data tree: reference counting, visitors through the class chain, the
// user transform and its persistence.
#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "shr/Archive.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using core::VdData;
using core::VdPoints;
using core::VdSpatialData;
using core::VdVertexData;

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

TEST(DataTreeTest, LastDecRefDestroysAndCopiesStartUnreferenced)
{
    bool destroyed = false;
    auto* data = new Tracked(&destroyed);
    data->AddRef();
    data->AddRef();
    data->DecRef();
    EXPECT_FALSE(destroyed);

    // A copy does not inherit the count of 1: one AddRef/DecRef pair ends it.
    bool copyDestroyed = false;
    auto* copy = new Tracked(*data, &copyDestroyed);
    copy->AddRef();
    copy->DecRef();
    EXPECT_TRUE(copyDestroyed);
    EXPECT_FALSE(destroyed);

    data->DecRef();
    EXPECT_TRUE(destroyed);
}

TEST(DataTreeTest, ConcurrentHoldersDestroyOnce)
{
    bool destroyed = false;
    auto* data = new Tracked(&destroyed);
    data->AddRef(); // the test's own reference
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([data] {
            for (int i = 0; i < 20000; ++i) {
                data->AddRef();
                data->DecRef();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_FALSE(destroyed);
    data->DecRef();
    EXPECT_TRUE(destroyed);
}

// Visitors of one class each; Visit records what it saw.
template <class T>
struct Probe : shr::BaseVisitor, shr::Visitor<T, bool> {
    bool Visit(T&) override { return ++visits, true; }
    int visits = 0;
};
template <class T>
struct ConstProbe : shr::BaseConstVisitor, shr::ConstVisitor<T, bool> {
    bool Visit(const T&) override { return ++visits, true; }
    int visits = 0;
};

template <class T>
std::pair<bool, bool> Visits(VdData& data)
{
    Probe<T> probe;
    ConstProbe<T> constProbe;
    const bool accepted = data.Accept(probe);
    const bool constAccepted = static_cast<const VdData&>(data).Accept(constProbe);
    EXPECT_EQ(accepted ? 1 : 0, probe.visits);
    EXPECT_EQ(constAccepted ? 1 : 0, constProbe.visits);
    return {accepted, constAccepted};
}

TEST(DataTreeTest, VisitorsReachThroughTheClassChain)
{
    VdPoints points;
    const std::pair<bool, bool> yes{true, true}, no{false, false};
    EXPECT_EQ(yes, Visits<VdPoints>(points));
    EXPECT_EQ(yes, Visits<VdVertexData>(points));
    EXPECT_EQ(yes, Visits<VdSpatialData>(points));
    EXPECT_EQ(yes, Visits<VdData>(points));
    EXPECT_EQ(no, Visits<core::VdGeometry>(points));
}

// A rotation of 30 degrees about Z, then a translation.
shr::Mat4d RotatedAndMoved()
{
    shr::Mat4d matrix;
    matrix.RotateZ(M_PI / 6.0, shr::Mat4d::PostMultiply);
    matrix *= shr::Mat4d::MakeTranslation(10.0, -5.0, 2.0);
    return matrix;
}

VdPoints UnitCubeCorners()
{
    const double coords[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1};
    return VdPoints(shr::Double, shr::Double, 8, coords, nullptr, 0);
}

TEST(DataTreeTest, IdentityTransformLeavesCoordinatesUntouched)
{
    VdPoints points = UnitCubeCorners();
    points.SetUserTransform(RotatedAndMoved());
    ASSERT_TRUE(points.HasUserTransform());
    points.SetUserTransform(shr::Mat4d::IDENTITY);
    EXPECT_FALSE(points.HasUserTransform());

    const shr::Vec3d odd(0.1, 1e-300, -7.3e12);
    const shr::Vec3d out = points.UVWToXYZ(odd);
    EXPECT_EQ(0, std::memcmp(&odd, &out, sizeof odd));
    EXPECT_EQ(points.GetUVWBounds(), points.GetXYZBounds());
}

TEST(DataTreeTest, UserTransformRoundTripsAndDropsCachedBounds)
{
    VdPoints points = UnitCubeCorners();
    const shr::Box3d before = points.GetXYZBounds();
    points.SetUserTransform(RotatedAndMoved());
    const shr::Box3d after = points.GetXYZBounds();
    EXPECT_NE(before, after) << "SetUserTransform must drop the cached XYZ bounds";
    EXPECT_EQ(before, points.GetUVWBounds());

    const shr::Vec3d uvw(0.25, -3.0, 4.5);
    const shr::Vec3d back = points.XYZToUVW(points.UVWToXYZ(uvw));
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(uvw[axis], back[axis], 1e-12);
}

std::vector<unsigned char> Store(VdData& data, int version = shr::Archive::CurrentVersion)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, shr::GString(), version);
    data.Serialize(archive);
    return bytes;
}

TEST(DataTreeTest, SpatialPartKeepsTheStoredInverse)
{
    // A singular matrix has no inverse: what is stored must come back as is.
    VdPoints points = UnitCubeCorners();
    const shr::Mat4d flat = shr::Mat4d::MakeScale(2.0, 0.0, 1.0);
    points.SetUserTransform(flat);
    const std::vector<unsigned char> bytes = Store(points);

    VdPoints loaded;
    shr::Archive in(bytes.data(), bytes.size());
    loaded.Serialize(in);
    EXPECT_TRUE(loaded.HasUserTransform());
    EXPECT_EQ(flat, loaded.GetUserTransform());
    EXPECT_EQ(points.GetInverseUserTransform(), loaded.GetInverseUserTransform());
    EXPECT_EQ(0u, in.BytesRemaining());
}

} // namespace
