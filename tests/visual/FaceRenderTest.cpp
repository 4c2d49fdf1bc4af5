// The face render driven through the network: which blocks stand and which
// of their faces show, face colours by the mean or the corner value, the
// range rules, volume and average, winding, thread independence and the
// stored form.
#include "LatticeSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdUniformLattice.h"
#include "core/graphics/VgVertexData.h"
#include "core/visual/VoFaceRender.h"
#include "core/visual/VoIsoSurface.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <vector>

using namespace core;
using shr::Vec3d;

namespace {

// n^3 nodes, spacing 1 from the origin, node value v(i, j, k).
template <class F>
VdUniformLattice* Cube(unsigned int n, F v)
{
    return testsupport::NodeLattice(n, n, n, v);
}

size_t FaceCount(const VoFaceRender& render) { return render.Faces().colors.size(); }

class FaceRenderTest : public visualtest::ModuleFixture<testsupport::UnshiftedSceneFixture> {
protected:
    VoFaceRender* Render(VdLattice* lattice) { return Feed(lattice, new VoFaceRender); }
};

// 3 x 3 x 3 cells; the centre one (value 13) is made clear by the map's opacity.
TEST_F(FaceRenderTest, ClearCellsOpenTheFacesOfTheirNeighbours)
{
    auto* lattice = Cube(4, [](unsigned i, unsigned j, unsigned k) { return i + 3 * j + 9 * k; });
    VoFaceRender* render = Render(lattice);
    render->UseComponentAverage(false); // cell value = its first node's
    Pass({render});
    EXPECT_EQ(render->BlockCount(), 27);
    EXPECT_EQ(FaceCount(*render), 54u);
    // Node (1, 1, 1) = 13 on a window 0 .. 39: make the cells of 12.5 .. 13.5 clear.
    VbColorMap& map = render->GetColorMap();
    map.AddOpacityNode(0.0, 1.0);
    map.AddOpacityNode(12.4 / 39, 1.0);
    map.AddOpacityNode(12.5 / 39, 0.0);
    map.AddOpacityNode(13.5 / 39, 0.0);
    map.AddOpacityNode(13.6 / 39, 1.0);
    map.AddOpacityNode(1.0, 1.0);
    Rerun(render);
    EXPECT_EQ(render->BlockCount(), 26);
    EXPECT_EQ(FaceCount(*render), 60u) << "the six inner faces around the hole";
    double sum = 0;
    for (unsigned k = 0; k < 3; ++k)
        for (unsigned j = 0; j < 3; ++j)
            for (unsigned i = 0; i < 3; ++i)
                sum += (i == 1 && j == 1 && k == 1) ? 0 : i + 3 * j + 9 * k;
    EXPECT_DOUBLE_EQ(render->BlockAverage(), sum / 26);

    // A blank node blanks its eight cells (fewer at the edge) whatever the policy.
    lattice->SetBlank(0u, 0u);
    Rerun(render);
    EXPECT_EQ(render->BlockCount(), 25);
}

// By default a cell's value is the mean of its corners (the first corner's
// instead is used above).
TEST_F(FaceRenderTest, FacesTakeTheMeanOfTheCorners)
{
    // One cell: nodes 0..7 in node order.
    VoFaceRender* render = Render(Cube(2, [](unsigned i, unsigned j, unsigned k) { return i + 2 * j + 4 * k; }));
    RunPass();
    ASSERT_EQ(FaceCount(*render), 6u);
    EXPECT_EQ(render->BlockAverage(), 3.5);
    EXPECT_EQ(render->Faces().colors[0], render->GetColorMap().DatToColor(3.5));
}

// The normal of each face follows its winding and points away from its block.
TEST_F(FaceRenderTest, FacesAreWoundOutwards)
{
    VoFaceRender* render = Render(Cube(3, [](unsigned, unsigned, unsigned) { return 1.0; }));
    render->Range(0, 2, 2); // first moves down to 1: the one cell from x = 0 to 1
    render->ComputeVolume(true);
    RunPass();
    const VgVertexData& faces = render->Faces();
    ASSERT_EQ(FaceCount(*render), 16u) << "a slab of 1 x 2 x 2 blocks";
    EXPECT_DOUBLE_EQ(render->Volume(), 4.0);
    for (size_t f = 0; f < FaceCount(*render); ++f) {
        const Vec3d* v = &faces.vertices[4 * f];
        const Vec3d winding = (v[1] - v[0]).Cross(v[2] - v[1]);
        const Vec3d normal(faces.normals[f][0], faces.normals[f][1], faces.normals[f][2]);
        const Vec3d centre = (v[0] + v[1] + v[2] + v[3]) * 0.25;
        const auto cellMiddle = [](double face, double n) { return std::floor(face - 0.25 * n) + 0.5; };
        const Vec3d block(0.5, cellMiddle(centre.y, normal.y), cellMiddle(centre.z, normal.z));
        EXPECT_GT(winding.Dot(normal), 0.0) << f;
        EXPECT_GT((centre - block).Dot(normal), 0.0) << f;
        EXPECT_EQ(faces.indices[5 * f + 4], -1);
    }
}

TEST_F(FaceRenderTest, TheResultDoesNotDependOnTheThreads)
{
    VoFaceRender* render = Render(Cube(24, [](unsigned i, unsigned j, unsigned k) {
        return std::sin(i * 0.4) * std::cos(j * 0.3) + k * 0.05;
    }));
    render->GetColorMap().AddOpacityNode(0.0, 0.0);
    render->GetColorMap().AddOpacityNode(0.5, 0.0);
    render->GetColorMap().AddOpacityNode(0.51, 1.0);
    render->GetColorMap().AddOpacityNode(1.0, 1.0);
    render->ComputeVolume(true);
    RunPass();
    const VgVertexData parallel = render->Faces();
    const double average = render->BlockAverage(), volume = render->Volume();
    ASSERT_GT(parallel.colors.size(), 100u);
    {
        tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
        Rerun(render);
    }
    EXPECT_EQ(render->Faces().vertices, parallel.vertices);
    EXPECT_EQ(render->Faces().colors, parallel.colors);
    EXPECT_EQ(render->BlockAverage(), average);
    EXPECT_EQ(render->Volume(), volume);
}

// The modules that need cells refuse a flat lattice at the link, by name.
TEST_F(FaceRenderTest, FlatLatticesAreRefused)
{
    source = Add(new VoLatticeSrc(testsupport::NodeLattice(3, 3, 1, [](unsigned, unsigned, unsigned) { return 0.0; }), ""));
    const std::pair<VoModule*, std::string> cases[] = {{Add(new VoFaceRender), "FaceRender"},
                                                       {Add(new VoIsoSurface), "IsoSurface"}};
    for (const auto& [module, name] : cases)
        EXPECT_EQ(testsupport::RaisedText([&] { network().ConnectNodes(*module, source, 0, true); }),
                  "Core: Type mismatch: " + name +
                      " requires a 3D lattice (all dimensions must be greater than 1) for input.");
}

TEST_F(FaceRenderTest, StoredFormThroughTheVersionGates)
{
    VoFaceRender stored;
    stored.Range(1, 2, 5);
    stored.ComputeVolume(true);
    stored.ShowEdges(true);
    stored.EdgeColor(shr::Color4b(9, 8, 7));
    stored.UseComponentAverage(false);
    stored.GetLegend().m_Title = "Cu";
    struct Gate {
        int version;
        bool edges, average;
    } gates[] = {{116, false, false}, {117, true, false}, {126, true, false}, {127, true, true}};
    for (const Gate& gate : gates) {
        SCOPED_TRACE(gate.version);
        VoFaceRender loaded;
        EXPECT_EQ(testsupport::Load(loaded, testsupport::Store(stored, gate.version)), 0u);
        EXPECT_EQ(loaded.First(1), 2);
        EXPECT_EQ(loaded.Last(1), 5);
        EXPECT_TRUE(loaded.ComputeVolume());
        EXPECT_EQ(loaded.ShowEdges(), gate.edges);
        EXPECT_EQ(loaded.UseComponentAverage(), !gate.average);
        EXPECT_EQ(loaded.GetLegend().m_Title, "Cu");
    }
    testsupport::ExpectRoundTrip(stored, {3});
}

} // namespace
