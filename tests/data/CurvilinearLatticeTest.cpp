// VdCurvilinearLattice and its CellLocator: position search on sheared and
// warped grids, points outside, flat lattices, sub-lattices, persistence and
// the one-time build under concurrent first searches.
#include "LatticeTestHelpers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>

using core::CellLocator;
using core::VdCurvilinearLattice;
using core::VdLattice;
using latticetest::MakeCurvilinear;
using latticetest::Sheared;
using latticetest::Warped;

namespace {

const shr::Vec3d kOutside(-1.0, -1.0, -1.0);

// Random real node coordinates inside the lattice, away from the boundary faces.
std::vector<shr::Vec3d> InteriorPoints(const unsigned int* dims, size_t count, unsigned int seed)
{
    std::mt19937 random(seed);
    std::vector<shr::Vec3d> points;
    for (size_t n = 0; n < count; ++n) {
        shr::Vec3d p;
        for (int axis = 0; axis < 3; ++axis)
            p[axis] = std::uniform_real_distribution<double>(0.01, dims[axis] - 1.01)(random);
        points.push_back(p);
    }
    return points;
}

void ExpectNear(const shr::Vec3d& actual, const shr::Vec3d& expected, double tolerance)
{
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(actual[axis], expected[axis], tolerance) << "axis " << axis;
}

TEST(CurvilinearLattice, RoundTripsOnShearedAndWarpedGrids)
{
    const unsigned int dims[3] = {6, 5, 4};
    for (auto place : {&Sheared, &Warped}) {
        const VdCurvilinearLattice lattice = MakeCurvilinear(dims, place);
        EXPECT_EQ(lattice.IJKToUVW(2, 3, 1), place(2, 3, 1));
        for (const shr::Vec3d& ijk : InteriorPoints(dims, 300, 7)) {
            const shr::Vec3d uvw = lattice.IJKToUVW(ijk);
            ExpectNear(lattice.UVWToIJK(uvw), ijk, 1e-7);
        }
    }
}

TEST(CurvilinearLattice, PointsOutsideAndFlatLattices)
{
    const unsigned int dims[3] = {6, 5, 4};
    const VdCurvilinearLattice lattice = MakeCurvilinear(dims, Warped);
    for (const shr::Vec3d& p : {shr::Vec3d(-3, 1, 1), shr::Vec3d(2, 2, 50), shr::Vec3d(1e9, -1e9, 0),
                                 Warped(2.5, 2.5, -0.2), Warped(5.3, 1.5, 1.5)})
        EXPECT_EQ(lattice.UVWToIJK(p), kOutside) << p.x << " " << p.y << " " << p.z;
    double out = 0.0;
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, Warped(5.3, 1.5, 1.5), &out, 0, 1), 1u);
    EXPECT_EQ(lattice.Interpolate(VdLattice::INTERP_LINEAR, lattice.IJKToUVW(shr::Vec3d(1.25, 2.5, 0.5)), &out, 0, 1), 0u);
    EXPECT_NEAR(out, latticetest::Linear(0, 0, 0, 0) + 1.25 + 25.0 + 50.0, 1e-6);

    const unsigned int flatDims[3] = {4, 4, 1};
    const VdCurvilinearLattice flat = MakeCurvilinear(flatDims, Sheared);
    EXPECT_EQ(flat.UVWToIJK(Sheared(1.5, 1.5, 0.0)), kOutside);
    EXPECT_FALSE(flat.GetLocator().IsBuilt());
    EXPECT_EQ(flat.GetDimensionality(), 2u);
}

TEST(CurvilinearLattice, LocatorStructureAndInvalidation)
{
    const unsigned int dims[3] = {11, 11, 11};
    VdCurvilinearLattice lattice = MakeCurvilinear(dims, Sheared);
    EXPECT_FALSE(lattice.GetLocator().IsBuilt());
    lattice.UVWToIJK(Sheared(1, 1, 1));
    const CellLocator& locator = lattice.GetLocator();
    ASSERT_TRUE(locator.IsBuilt());
    EXPECT_EQ(locator.CellCount(), 1000);
    EXPECT_EQ(locator.Level(), 2); // 1000 cells, about 20 a leaf
    EXPECT_EQ(locator.Leaves().size(), 64u);
    std::vector<int> seen(1000, 0);
    for (int32_t head : locator.Leaves())
        for (int32_t b = head; b != -1; b = locator.Buckets()[b].next)
            for (int32_t n = 0; n < locator.Buckets()[b].count; ++n)
                ++seen[locator.Buckets()[b].cells[n]];
    for (int count : seen)
        EXPECT_GE(count, 1); // every cell is in some leaf

    const VdCurvilinearLattice copy(lattice);
    EXPECT_FALSE(copy.GetLocator().IsBuilt());
    EXPECT_EQ(copy.GetUVWBounds(), lattice.GetUVWBounds());
    lattice.SetModifiedCoords();
    EXPECT_FALSE(lattice.GetLocator().IsBuilt());

    lattice.SetUserTransform(shr::Mat4d::MakeTranslation(100.0, 0.0, 0.0));
    const shr::Box3d uvw = lattice.GetUVWBounds();
    EXPECT_EQ(lattice.GetXYZBounds(), shr::Box3d(uvw.min + shr::Vec3d(100, 0, 0), uvw.max + shr::Vec3d(100, 0, 0)));
    ExpectNear(lattice.XYZToIJK(Sheared(2.5, 3.5, 4.5) + shr::Vec3d(100, 0, 0)), shr::Vec3d(2.5, 3.5, 4.5), 1e-9);
}

TEST(CellLocator, InvertTrilinearOnAUnitCube)
{
    shr::Vec3d corners[8] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    shr::Vec3d rst;
    EXPECT_TRUE(CellLocator::InvertTrilinear(corners, {0.25, 0.5, 1.0}, rst));
    EXPECT_EQ(rst, shr::Vec3d(0.25, 0.5, 1.0));
    EXPECT_FALSE(CellLocator::InvertTrilinear(corners, {1.5, 0.5, 0.5}, rst));
    EXPECT_DOUBLE_EQ(rst.x, 1.5); // the estimate stays behind on failure
    for (shr::Vec3d& c : corners)
        c.z = 0.0; // collapsed cell: singular Jacobian
    EXPECT_FALSE(CellLocator::InvertTrilinear(corners, {0.5, 0.5, 0.0}, rst));
}

TEST(CurvilinearLattice, SubLatticeAndPersistence)
{
    const unsigned int dims[3] = {5, 4, 3};
    std::vector<float> coords;
    for (double c : latticetest::NodePositions(dims, Warped))
        coords.push_back(static_cast<float>(c));
    const std::vector<double> values = latticetest::NodeValues(dims, 2, latticetest::Linear);
    VdCurvilinearLattice lattice(shr::Float, shr::Double, dims, coords.data(), values.data(), 2);
    lattice.SetBlank(4, 3, 2, 0);
    EXPECT_EQ(lattice.GetCoordType(), shr::Float);
    EXPECT_EQ(lattice.GetCoordTupleSize(), 12u);

    auto sub = lattice.Clone({false, true}, 1, 4, 3, 0, 3, 1, 0, 2, 2);
    ASSERT_EQ(sub->GetCoordType(), shr::Float);
    EXPECT_EQ(sub->IJKToUVW(1, 2, 1), lattice.IJKToUVW(4, 2, 2));
    EXPECT_EQ(*static_cast<const double*>(sub->DataPtr(1, 2, 1)), latticetest::Linear(4, 2, 2, 1));

    VdCurvilinearLattice loaded;
    latticetest::Load(latticetest::Store(lattice), loaded);
    EXPECT_EQ(loaded.GetCoordType(), shr::Float);
    EXPECT_EQ(loaded.GetCoordTotalSize(), lattice.GetCoordTotalSize());
    EXPECT_EQ(0, std::memcmp(loaded.GetCoordPtr(), lattice.GetCoordPtr(), lattice.GetCoordTotalSize()));
    EXPECT_TRUE(loaded.IsBlank(4, 3, 2, 0));
    EXPECT_EQ(loaded.GetUVWBounds(), lattice.GetUVWBounds());
    const shr::Vec3d p = lattice.IJKToUVW(shr::Vec3d(1.5, 1.5, 1.5));
    EXPECT_EQ(loaded.UVWToIJK(p), lattice.UVWToIJK(p));
}

// Threads that search a fresh lattice together build the locator once and
// all find their points (run under the thread sanitizer too).
TEST(CurvilinearLattice, ConcurrentFirstSearchesBuildOnce)
{
    const unsigned int dims[3] = {17, 17, 17};
    const VdCurvilinearLattice lattice = MakeCurvilinear(dims, Warped);
    const std::vector<shr::Vec3d> points = InteriorPoints(dims, 200, 11);
    std::atomic<int> failures{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            while (!go.load())
                std::this_thread::yield();
            for (const shr::Vec3d& ijk : points) {
                double value = 0.0;
                const shr::Vec3d xyz = lattice.IJKToUVW(ijk);
                if (lattice.Interpolate(VdLattice::INTERP_LINEAR, xyz, &value, 0, 1) != 0 ||
                    std::fabs(value - (ijk.x + 10 * ijk.y + 100 * ijk.z)) > 1e-5)
                    ++failures;
            }
        });
    go = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_TRUE(lattice.GetLocator().IsBuilt());
}

} // namespace
