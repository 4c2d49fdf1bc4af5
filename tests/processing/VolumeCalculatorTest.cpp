// Volumes of tetrahedra, lattice cells and convex hulls, including the
// degenerate point sets that must give zero rather than an error.
#include "TestSupport.h"

#include "core/data/LatticeUtility.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/processing/VolumeCalculator.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using core::VolumeCalculator;
using shr::Vec3d;

// The unit cube's corners in the order of CellCorners.
std::vector<Vec3d> UnitCubeCorners()
{
    return {{0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 1}, {1, 1, 1}, {1, 0, 1}, {0, 0, 1}};
}

TEST(VolumeCalculator, TetrahedraAndCells)
{
    const VolumeCalculator calculator;
    const Vec3d o(0, 0, 0), x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    EXPECT_DOUBLE_EQ(calculator.Volume(o, x, y, z), 1.0 / 6.0);
    EXPECT_DOUBLE_EQ(calculator.Volume(z, y, x, o), 1.0 / 6.0) << "order does not matter";
    EXPECT_EQ(calculator.Volume(o, x, y, Vec3d(2, 3, 0)), 0.0) << "coplanar";

    EXPECT_NEAR(calculator.CellVolume(UnitCubeCorners()), 1.0, 1e-15);
    // A cell of a stretched, sheared lattice through CellCorners.
    const unsigned int dims[3] = {2, 2, 2};
    std::vector<double> coords;
    for (int k = 0; k < 2; ++k)
        for (int j = 0; j < 2; ++j)
            for (int i = 0; i < 2; ++i)
                coords.insert(coords.end(), {2.0 * i + 0.5 * k, 3.0 * j, 4.0 * k});
    const std::vector<float> values(8, 0.0f);
    const core::VdCurvilinearLattice lattice(shr::Double, shr::Float, dims, coords.data(), values.data(), 1);
    std::vector<Vec3d> corners;
    core::CellCorners(lattice, 0, 0, 0, corners);
    EXPECT_NEAR(calculator.CellVolume(corners), 24.0, 1e-12);

    for (size_t wrong : {size_t(0), size_t(7), size_t(9)})
        EXPECT_EQ(testsupport::RaisedBy([&] { calculator.CellVolume(std::vector<Vec3d>(wrong)); }).message,
                  "Insufficient cell corners specified.")
            << wrong;
}

TEST(VolumeCalculator, ConvexHulls)
{
    const VolumeCalculator calculator;
    std::vector<Vec3d> cube = UnitCubeCorners();
    cube.push_back(Vec3d(0.5, 0.5, 0.5)); // inside, changes nothing
    EXPECT_NEAR(calculator.Volume(cube, cube.size()), 1.0, 1e-12);
    // Only the first `count` points: a corner tetrahedron of the cube.
    const std::vector<Vec3d> tetra = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {5, 5, 5}, {-5, 5, 5}};
    EXPECT_NEAR(calculator.Volume(tetra, 4), 1.0 / 6.0, 1e-15);
    EXPECT_NEAR(calculator.Volume(tetra, 5), calculator.Volume(std::vector<Vec3d>(tetra.begin(), tetra.begin() + 5), 5),
                1e-12);

    struct Degenerate {
        const char* name;
        std::vector<Vec3d> points;
    } degenerate[] = {
        {"three points", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
        {"four coplanar points", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}},
        {"five points in a plane", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0.5, 0.2, 0}}},
        {"collinear", {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}, {5, 5, 5}}},
        {"duplicates", {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}}},
        {"tilted plane", {{0, 0, 0}, {1, 0, 1}, {0, 1, 1}, {1, 1, 2}, {2, 3, 5}, {0.5, 0.5, 1}}},
    };
    for (const Degenerate& d : degenerate)
        EXPECT_EQ(calculator.Volume(d.points, d.points.size()), 0.0) << d.name;

    EXPECT_EQ(testsupport::RaisedBy([&] { calculator.Volume(tetra, 7); }).message,
              "Invalid point collection size specified.");
}

// Each hull has its own Qhull state, so calculators may run side by side.
TEST(VolumeCalculator, HullsOnSeveralThreads)
{
    const VolumeCalculator calculator;
    std::vector<Vec3d> box;
    for (int c = 0; c < 8; ++c)
        box.push_back(Vec3d(c & 1 ? 2.0 : 0.0, c & 2 ? 3.0 : 0.0, c & 4 ? 0.5 : 0.0));
    const std::vector<Vec3d> flat = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0.5, 0.2, 0}};
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int n = 0; n < 200; ++n) {
                wrong[t] += std::fabs(calculator.Volume(box, box.size()) - 3.0) > 1e-12;
                wrong[t] += calculator.Volume(flat, flat.size()) != 0.0;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(wrong[t], 0) << t;
}

} // namespace
