// The marching sweep of the isosurface: closed, consistently wound surfaces on
// analytic fields for all three kinds of lattice, exact counts on planes, the
// cases that give no surface, the volume estimate, and the parallel slabs
// giving exactly the sequential result.
#include "MeshSupport.h"
#include "TestSupport.h"

#include "core/processing/VolumeCalculator.h"
#include "core/visual/VoIsoSurfacePrivate.h"

#include <gtest/gtest.h>

#include <cmath>

#include <tbb/task_arena.h>

namespace {

using namespace isotest;
using namespace core::VoIsoSurfacePrivate;
using core::VdLattice;
using core::VgVertexData;

struct Extraction {
    VgVertexData data;
    SweepVolumes volumes;
    int triangles = 0;
    bool finished = false;
};

struct Options {
    bool volume = false;
    bool atOrAbove = false;
};

// What the module does for one run: the float copy, gradients or face normals, the sweep.
Extraction Extract(const VdLattice& lattice, double isovalue, Options options = {}, size_t slabs = 0,
                   const SweepProgress& progress = nullptr)
{
    static const core::VolumeCalculator calculator;
    const bool curvilinear = dynamic_cast<const core::VdCurvilinearLattice*>(&lattice) != nullptr;
    std::vector<float> values;
    RunRanges ranges;
    CopyComponent(lattice, 0, values, &ranges);
    GradientCache gradients;
    gradients.Reset(curvilinear ? 0 : values.size());
    SweepInput input;
    input.lattice = &lattice;
    input.values = &values;
    input.ranges = &ranges;
    input.gradients = &gradients;
    input.isovalue = isovalue;
    input.atOrAbove = options.atOrAbove;
    input.computeVolume = options.volume;
    input.calculator = &calculator;
    Extraction result;
    result.finished =
        Sweep(input, slabs, progress, result.data, result.volumes, result.triangles);
    if (curvilinear)
        FaceNormals(result.data);
    return result;
}

const char* const kKindNames[] = {"uniform", "rectilinear", "curvilinear"};

// Every row uses exactly the edges its mask cuts, in whole triangles, at most
// five; the rows themselves are pinned by the surfaces' digests below.
TEST(IsoSurfaceTables, EachRowUsesTheEdgesItsMaskCuts)
{
    for (int m = 0; m < 256; ++m) {
        uint32_t used = 0;
        int t = 0;
        for (; t < 16 && s_TriangleTable[m][t] != -1; ++t)
            used |= 1u << s_TriangleTable[m][t];
        EXPECT_EQ(used, s_EdgeTable[m]) << "row " << m;
        EXPECT_EQ(t % 3, 0) << "row " << m;
        EXPECT_LE(t, 15) << "row " << m;
        EXPECT_EQ(s_CornerCount[m], __builtin_popcount(m));
    }
}

// Closed shapes inside the box: each must come out watertight, wound one way,
// with the Euler characteristic of its topology, its vertices on the surface,
// and its normals pointing down the field.
TEST(IsoSurfaceSweep, ClosedSurfacesOnAnalyticFields)
{
    struct Shape {
        const char* name;
        Field field;
        double isovalue;
        long long euler;
        double tolerance; // |f(vertex) - isovalue| from linear interpolation
    } shapes[] = {
        {"sphere", Sphere, 0.4321, 2, 0.01},
        {"torus",
         [](double x, double y, double z) {
             const double ring = std::sqrt(x * x + y * y) - 0.55;
             return ring * ring + z * z;
         },
         0.04, 0, 0.01},
        {"two spheres",
         [](double x, double y, double z) {
             return std::min(Sphere(x - 0.5, y, z), Sphere(x + 0.5, y + 0.1, z));
         },
         0.0961, 4, 0.01},
    };
    for (const Shape& shape : shapes) {
        for (Kind kind : {Kind::Uniform, Kind::Rectilinear, Kind::Curvilinear}) {
            SCOPED_TRACE(std::string(shape.name) + ", " + kKindNames[int(kind)]);
            const unsigned int dims[3] = {41, 38, 35};
            const auto lattice = Sample(kind, dims, shape.field);
            const Extraction out = Extract(*lattice, shape.isovalue);
            const MeshReport mesh = Inspect(out.data);
            EXPECT_GT(out.triangles, 100);
            EXPECT_EQ(mesh.triangles, size_t(out.triangles));
            EXPECT_TRUE(mesh.Closed()) << mesh.openEdges << " open, " << mesh.overusedEdges << " overused, "
                                       << mesh.inconsistentEdges << " inconsistent, " << mesh.badTriangles << " bad";
            EXPECT_EQ(mesh.Euler(), shape.euler);
            EXPECT_EQ(mesh.unusedVertices, 0u);
            ASSERT_EQ(out.data.normals.size(), out.data.vertices.size());
            size_t offSurface = 0, upward = 0;
            for (size_t v = 0; v < out.data.vertices.size(); ++v) {
                const shr::Vec3d& p = out.data.vertices[v];
                offSurface += std::fabs(shape.field(p.x, p.y, p.z) - shape.isovalue) > shape.tolerance;
                const double h = 1e-5;
                const shr::Vec3d gradient(shape.field(p.x + h, p.y, p.z) - shape.field(p.x - h, p.y, p.z),
                                          shape.field(p.x, p.y + h, p.z) - shape.field(p.x, p.y - h, p.z),
                                          shape.field(p.x, p.y, p.z + h) - shape.field(p.x, p.y, p.z - h));
                upward += Normal(out.data, v).Dot(gradient) >= 0.0;
            }
            EXPECT_EQ(offSurface, 0u);
            EXPECT_EQ(upward, 0u) << "normals point down the field";
            // Seen from the side the normals point to, triangles run clockwise.
            size_t counter = 0;
            for (size_t t = 0; t < mesh.triangles; ++t) {
                const int a = out.data.indices[4 * t];
                counter += WindingNormal(out.data, t).Dot(Normal(out.data, a)) > 0.0;
            }
            EXPECT_EQ(counter, 0u);
        }
    }
}

TEST(IsoSurfaceSweep, PlanesGiveExactCounts)
{
    const unsigned int dims[3] = {6, 5, 4};
    struct Case {
        const char* name;
        double isovalue;
        double expectedZ; // of every vertex
    } cases[] = {
        {"between layers", 0.2, 0.2},
        {"on a layer: its nodes count as inside", -1.0 / 3.0, -1.0 / 3.0},
    };
    for (Kind kind : {Kind::Uniform, Kind::Rectilinear, Kind::Curvilinear})
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.name) + ", " + kKindNames[int(kind)]);
            const auto lattice = Sample(kind, dims, [](double, double, double z) { return z; });
            const Extraction out = Extract(*lattice, c.isovalue);
            EXPECT_EQ(out.triangles, 2 * 5 * 4);
            EXPECT_EQ(out.data.vertices.size(), 6u * 5u);
            const MeshReport mesh = Inspect(out.data);
            EXPECT_EQ(mesh.badTriangles + mesh.overusedEdges + mesh.inconsistentEdges, 0u);
            EXPECT_EQ(mesh.openEdges, 2u * (5 + 4)) << "only the rim is open";
            for (size_t v = 0; v < out.data.vertices.size(); ++v) {
                EXPECT_NEAR(out.data.vertices[v].z, c.expectedZ, 1e-6);
                EXPECT_NEAR(Normal(out.data, v).z, -1.0, 1e-6);
            }
        }
}

TEST(IsoSurfaceSweep, NoSurfaceCases)
{
    const unsigned int cube[3] = {5, 4, 6}, flat[3] = {5, 4, 1};
    struct Case {
        const char* name;
        const unsigned int* dims;
        Field field;
        double isovalue;
        double setSide; // of the box volume 8
    } cases[] = {
        {"constant field at the isovalue", cube, [](double, double, double) { return 2.5; }, 2.5, 8.0},
        {"constant field above", cube, [](double, double, double) { return 2.5; }, 1.0, 0.0},
        {"isovalue above the data", cube, Sphere, 4.0, 8.0},
        {"isovalue below the data", cube, Sphere, -1.0, 0.0},
        {"flat lattice", flat, Sphere, 0.5, 0.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto lattice = Sample(Kind::Uniform, c.dims, c.field);
        const Extraction out = Extract(*lattice, c.isovalue, {true, false});
        EXPECT_EQ(out.triangles, 0);
        EXPECT_TRUE(out.data.vertices.empty());
        EXPECT_TRUE(out.data.indices.empty());
        const double box = c.dims[2] > 1 ? 8.0 : 0.0;
        EXPECT_NEAR(out.volumes.setSide, c.setSide, 1e-12);
        EXPECT_NEAR(out.volumes.clearSide, box - c.setSide, 1e-12);
    }
}

TEST(IsoSurfaceSweep, NearlyEqualNeighboursPutTheVertexOnTheFirstNode)
{
    const unsigned int dims[3] = {2, 2, 2};
    const float low = 0.5f, high = std::nextafter(0.5f, 1.0f);
    const float values[8] = {low, low, low, low, high, high, high, high};
    core::VdUniformLattice lattice(shr::Float, dims, values, 1);
    // The isovalue narrows to 0.5f, so the edges are cut; unnarrowed it lies
    // about 2% of the way up, but the difference is below the float epsilon.
    const Extraction out = Extract(lattice, 0.5 + 1e-9);
    ASSERT_EQ(out.triangles, 2);
    for (const shr::Vec3d& p : out.data.vertices)
        EXPECT_EQ(p.z, 0.0);
}

TEST(IsoSurfaceSweep, BlankNodesActAsTheDataMinimum)
{
    const unsigned int dims[3] = {5, 5, 5};
    std::vector<float> values(125, 1.0f);
    values[0] = 0.0f;                   // a corner at the minimum
    values[(2 * 5 + 2) * 5 + 2] = 9.0f; // the centre, blanked below
    core::VdUniformLattice lattice(shr::Float, dims, values.data(), 1);
    lattice.SetBlank(2, 2, 2);
    const Extraction out = Extract(lattice, 0.5);
    // One triangle cuts off the corner; the blank centre is wrapped by eight.
    EXPECT_EQ(out.triangles, 9);
    for (const shr::Vec3d& p : out.data.vertices) {
        const double toCorner = (p - shr::Vec3d(0, 0, 0)).Length();
        const double toCentre = (p - shr::Vec3d(2, 2, 2)).Length();
        EXPECT_NEAR(std::min(toCorner, toCentre), 0.5, 1e-9);
    }
}

TEST(IsoSurfaceSweep, GradientsUseNodePositionsAndPointDownTheField)
{
    const unsigned int dims[3] = {7, 6, 5};
    const auto lattice = Sample(Kind::Rectilinear, dims, [](double x, double y, double z) { return 2 * x - 3 * y + z / 2; },
                                -1.0, 1.0, 0.7);
    std::vector<float> values;
    CopyComponent(*lattice, 0, values);
    std::vector<shr::Vec3f> gradients;
    NodeGradients(*lattice, values, gradients);
    ASSERT_EQ(gradients.size(), 7u * 6u * 5u);
    for (const shr::Vec3f& g : gradients) {
        EXPECT_NEAR(g.x, -2.0f, 1e-5f);
        EXPECT_NEAR(g.y, 3.0f, 1e-5f);
        EXPECT_NEAR(g.z, -0.5f, 1e-5f);
    }
}

TEST(IsoSurfaceSweep, ProgressCanStopTheSweep)
{
    const auto lattice = Sample(Kind::Uniform, 20, Sphere);
    for (size_t slabs : {size_t(1), size_t(4)}) {
        std::vector<double> fractions;
        const auto progress = [&](double fraction) {
            fractions.push_back(fraction);
            return fractions.size() < 5;
        };
        EXPECT_FALSE(Extract(*lattice, 0.5, {}, slabs, progress).finished) << slabs;
        ASSERT_FALSE(fractions.empty());
        if (slabs == 1) {
            EXPECT_EQ(fractions.front(), 0.0);
        }
        for (double f : fractions)
            EXPECT_TRUE(f >= 0.0 && f < 1.0);
    }
}

using testsupport::Digest;

uint64_t Digest(const Extraction& out)
{
    uint64_t hash = Digest(out.data.vertices.data(), out.data.vertices.size() * sizeof(shr::Vec3d));
    hash = Digest(out.data.normals.data(), out.data.normals.size() * sizeof(SbVec3f), hash);
    hash = Digest(out.data.indices.data(), out.data.indices.size() * sizeof(int), hash);
    const double volumes[2] = {out.volumes.clearSide, out.volumes.setSide};
    return Digest(volumes, sizeof(volumes), hash);
}

} // namespace

// Surfaces pinned by digests of their vertices, normals, triangles and
// volumes, as the plain scan made them before the sweep learnt to skip: any
// change of a vertex, its number or its normal shows, and so does a thread
// count that changes the result. Polynomial fields keep the inputs free of
// library rounding. Rows of more than 64 nodes cross the bit words of a row.
TEST(IsoSurfaceSweep, ResultsStayAsPinnedAtAnyThreadCount)
{
    const Field planes = [](double x, double y, double z) {
        return (4 * x * x - 1) * (4 * y * y - 1.3) * (4 * z * z - 0.7) + 0.05 * x;
    };
    struct Case {
        const char* name;
        Kind kind;
        unsigned int dims[3];
        Field field;
        double isovalue;
        Options options;
        int triangles;
        uint64_t digest;
    } cases[] = {
        {"uniform", Kind::Uniform, {70, 41, 29}, planes, 0.02, {}, 22796, 0x94c7d115d1077837ull},
        {"uniform, isovalue on nodes", Kind::Uniform, {130, 9, 12}, planes, 0.0, {}, 10020, 0xfe941a80006bee96ull},
        {"rectilinear", Kind::Rectilinear, {66, 30, 27}, planes, -0.1, {}, 16140, 0x7f9e5f7fd1e478adull},
        {"curvilinear", Kind::Curvilinear, {21, 18, 23}, planes, 0.02, {}, 4308, 0x47a4678aee5e2bb1ull},
        {"uniform, volumes", Kind::Uniform, {19, 14, 17}, Sphere, 0.6, {true, false}, 1404, 0xa2173a3c10e3d551ull},
        {"uniform, inverted volumes", Kind::Uniform, {19, 14, 17}, Sphere, 0.6, {true, true}, 1404, 0x9539ef3a8895affeull},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto lattice = Sample(c.kind, c.dims, c.field, -1.0, 1.0, 0.3);
        lattice->SetBlank(3, 4, 5);
        lattice->SetBlank(c.dims[0] - 1, c.dims[1] / 2, c.dims[2] / 2);
        for (int threads : {1, 2, 8}) {
            tbb::task_arena arena(threads);
            Extraction out;
            arena.execute([&] { out = Extract(*lattice, c.isovalue, c.options); });
            EXPECT_EQ(out.triangles, c.triangles) << threads << " threads";
            EXPECT_EQ(Digest(out), c.digest) << threads << " threads";
        }
    }
}
