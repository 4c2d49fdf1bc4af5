// Loading a lattice is all or nothing: an archive cut anywhere raises an error
// and leaves the target lattice exactly as it was.
#include "LatticeTestHelpers.h"
#include "core/data/VdRectilinearLattice.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>

using core::VdCurvilinearLattice;
using core::VdLattice;
using core::VdRectilinearLattice;
using core::VdUniformLattice;

namespace {

// Everything observable about a lattice that loading may replace.
struct Snapshot {
    unsigned int dims[3];
    unsigned int components;
    shr::PrimType type;
    std::vector<unsigned char> bytes;
    std::vector<bool> blanks;
    std::vector<double> nodeUVW;
    bool hasTransform;
    shr::Mat4d transform;
    shr::Box3d uvwBounds;
    shr::Box3d xyzBounds;
    shr::Vec3d probeIJK; // a position inside the lattice, found again from UVW
};

Snapshot Take(const VdLattice& lattice)
{
    Snapshot s;
    lattice.GetDims(s.dims[0], s.dims[1], s.dims[2]);
    s.components = lattice.ComponentCount();
    s.type = lattice.DataType();
    const auto* data = static_cast<const unsigned char*>(lattice.DataPtr());
    s.bytes.assign(data, data + lattice.DataTotalSize());
    for (unsigned int node = 0; node < lattice.VertexCount(); ++node) {
        for (unsigned int c = 0; c < s.components; ++c)
            s.blanks.push_back(lattice.IsBlank(node, c));
        unsigned int i, j, k;
        lattice.IndexToIJK(node, i, j, k);
        const shr::Vec3d uvw = lattice.IJKToUVW(i, j, k);
        s.nodeUVW.insert(s.nodeUVW.end(), {uvw.x, uvw.y, uvw.z});
    }
    s.hasTransform = lattice.HasUserTransform();
    s.transform = lattice.GetUserTransform();
    s.uvwBounds = lattice.GetUVWBounds();
    s.xyzBounds = lattice.GetXYZBounds();
    s.probeIJK = lattice.UVWToIJK(lattice.IJKToUVW(shr::Vec3d(0.5, 0.5, 0.5)));
    return s;
}

void ExpectSame(const Snapshot& expected, const Snapshot& actual, const std::string& where)
{
    SCOPED_TRACE(where);
    EXPECT_TRUE(std::equal(expected.dims, expected.dims + 3, actual.dims));
    EXPECT_EQ(expected.components, actual.components);
    EXPECT_EQ(expected.type, actual.type);
    EXPECT_EQ(expected.bytes, actual.bytes);
    EXPECT_EQ(expected.blanks, actual.blanks);
    EXPECT_EQ(expected.nodeUVW, actual.nodeUVW);
    EXPECT_EQ(expected.hasTransform, actual.hasTransform);
    EXPECT_TRUE(expected.transform == actual.transform);
    EXPECT_EQ(expected.uvwBounds, actual.uvwBounds);
    EXPECT_EQ(expected.xyzBounds, actual.xyzBounds);
    EXPECT_EQ(expected.probeIJK, actual.probeIJK);
}

std::unique_ptr<VdLattice> UniformSource()
{
    const unsigned int dims[3] = {3, 2, 2};
    auto lattice = std::make_unique<VdUniformLattice>(latticetest::MakeUniform(dims, 2));
    lattice->SetUVWBounds(shr::Box3d(1, 2, 3, 5, 6, 7));
    lattice->SetBlank(2, 1, 1, 1);
    lattice->SetUserTransform(shr::Mat4d::MakeTranslation(0.0, 0.0, 4.0));
    return lattice;
}

std::unique_ptr<VdLattice> UniformTarget()
{
    const unsigned int dims[3] = {2, 2, 2};
    const float values[8] = {8, 7, 6, 5, 4, 3, 2, 1};
    auto lattice = std::make_unique<VdUniformLattice>(shr::Float, dims, values, 1);
    lattice->SetUVWBounds(shr::Box3d(-1, -1, -1, 1, 1, 1));
    lattice->SetUserTransform(shr::Mat4d::MakeScale(2.0, 2.0, 2.0));
    return lattice;
}

std::unique_ptr<VdLattice> RectilinearSource()
{
    const unsigned int dims[3] = {4, 2, 2};
    const std::vector<double> values = latticetest::NodeValues(dims, 2, latticetest::Linear);
    auto lattice = std::make_unique<VdRectilinearLattice>(shr::Double, dims, values.data(), 2,
                                                          std::vector<double>{0.0, 1.0, 3.0, 7.0},
                                                          std::vector<double>{-1.0, 1.0}, std::vector<double>{5.0, 6.0});
    lattice->SetBlank(0, 1, 0);
    return lattice;
}

std::unique_ptr<VdLattice> RectilinearTarget()
{
    const unsigned int dims[3] = {2, 3, 2};
    const int32_t values[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    auto lattice = std::make_unique<VdRectilinearLattice>(shr::Int32, dims, values, 1, std::vector<double>{9.0, 10.0},
                                                          std::vector<double>{0.0, 0.5, 2.0},
                                                          std::vector<double>{-3.0, -2.0});
    lattice->SetUserTransform(shr::Mat4d::MakeTranslation(1.0, 2.0, 3.0));
    return lattice;
}

std::unique_ptr<VdLattice> CurvilinearSource()
{
    const unsigned int dims[3] = {4, 3, 3};
    auto lattice = std::make_unique<VdCurvilinearLattice>(latticetest::MakeCurvilinear(dims, latticetest::Warped, 2));
    lattice->SetBlank(1, 1, 1, 0);
    lattice->SetUserTransform(shr::Mat4d::MakeTranslation(-5.0, 0.0, 0.0));
    return lattice;
}

std::unique_ptr<VdLattice> CurvilinearTarget()
{
    const unsigned int dims[3] = {2, 2, 2};
    return std::make_unique<VdCurvilinearLattice>(latticetest::MakeCurvilinear(dims, latticetest::Sheared));
}

TEST(LatticeLoad, CutArchiveLeavesTargetUnchanged)
{
    const struct {
        const char* kind;
        std::function<std::unique_ptr<VdLattice>()> source;
        std::function<std::unique_ptr<VdLattice>()> target;
        size_t step; // cut lengths tried: every step-th byte count
    } cases[] = {
        {"uniform", UniformSource, UniformTarget, 1},
        {"rectilinear", RectilinearSource, RectilinearTarget, 1},
        {"curvilinear", CurvilinearSource, CurvilinearTarget, 7},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        const std::unique_ptr<VdLattice> source = c.source();
        const std::vector<unsigned char> bytes = latticetest::Store(*source);
        const std::unique_ptr<VdLattice> target = c.target();
        // Snapshots also build the curvilinear locator for the old geometry.
        const Snapshot before = Take(*target);
        for (size_t size = 0; size < bytes.size(); size += c.step) {
            const std::vector<unsigned char> cut(bytes.begin(), bytes.begin() + size);
            EXPECT_THROW(latticetest::Load(cut, *target), shr::Exception) << size;
            ExpectSame(before, Take(*target), "cut at " + std::to_string(size));
        }
        // The whole archive replaces everything, the locator included, and stores back byte for byte.
        latticetest::Load(bytes, *target);
        EXPECT_EQ(latticetest::Store(*target), bytes);
        ExpectSame(Take(*source), Take(*target), "whole archive");
    }
}

} // namespace
