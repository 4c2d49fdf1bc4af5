// The height field: lifted positions and face normals on a plane and a
// paraboloid, each orientation of a 3-D lattice, the flat and mirrored
// cases, the overlay's type check, the stored form through its version gate,
// and a picture of contour lines over a surface.
#include "LatticeSupport.h"
#include "PictureSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/visual/VoContour.h"
#include "core/visual/VoHeightField.h"
#include "render/Image.h"
#include "shr/Exception.h"

#include <Inventor/nodes/SoQuadMesh.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoTexture2.h>
#include <Inventor/nodes/SoTextureCoordinate2.h>
#include <Inventor/nodes/SoVertexProperty.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

using core::VoHeightField;
using core::VoModule;
using shr::Vec3d;

namespace {

using NodeField = std::function<double(unsigned, unsigned, unsigned)>;

struct Mesh {
    int rows = 0, columns = 0;
    std::vector<Vec3d> vertices, normals;
    std::vector<uint32_t> colors;
};

class HeightFieldTest : public visualtest::ModuleFixture<testsupport::UnshiftedSceneFixture> {
protected:
    VoHeightField* Surface(core::VdLattice* lattice, double scale = 0.25)
    {
        VoHeightField* module = Feed(lattice, new VoHeightField);
        module->Scale(scale);
        return module;
    }

    static Mesh MeshOf(VoModule& module)
    {
        Mesh mesh;
        const auto* quads = visualtest::First<SoQuadMesh>(module);
        if (!quads)
            return mesh;
        mesh.rows = quads->verticesPerColumn.getValue();
        mesh.columns = quads->verticesPerRow.getValue();
        const auto* property = static_cast<SoVertexProperty*>(quads->vertexProperty.getValue());
        for (int n = 0; n < property->vertex.getNum(); ++n) {
            mesh.vertices.emplace_back(property->vertex[n][0], property->vertex[n][1], property->vertex[n][2]);
            mesh.normals.emplace_back(property->normal[n][0], property->normal[n][1], property->normal[n][2]);
            mesh.colors.push_back(property->orderedRGBA[n]);
        }
        return mesh;
    }
};

// Normals point to the underside, (dz/dx, dz/dy, -1) on a plane; the heights
// (checked below) are (value - minimum) * half the box diagonal * scale / range.
TEST_F(HeightFieldTest, NormalsOfAPlaneAndAParaboloid)
{
    const double factor = std::sqrt(32.0) * 0.5 * 0.25 / 20.0;
    const NodeField plane = [](unsigned i, unsigned j, unsigned) { return 2.0 * i + 3.0 * j; };
    const NodeField bowl = [](unsigned i, unsigned j, unsigned) { return (i - 2.0) * (i - 2.0) + (j - 2.0) * (j - 2.0); };
    std::vector<Mesh> meshes;
    for (const NodeField* f : {&plane, &bowl}) {
        VoHeightField* module = Surface(testsupport::NodeLattice(5, 5, 1, *f));
        Pass({module});
        meshes.push_back(MeshOf(*module));
        ASSERT_EQ(meshes.back().normals.size(), 25u);
    }
    const Vec3d tilted = Vec3d(2.0 * factor, 3.0 * factor, -1.0).Normalized();
    for (const Vec3d& n : meshes[0].normals)
        EXPECT_NEAR((n - tilted).Length(), 0.0, 1e-6);
    // The bowl: straight down at the bottom, level across each axis through
    // it, leaning outwards along it.
    const std::vector<Vec3d>& normals = meshes[1].normals;
    EXPECT_NEAR((normals[12] - Vec3d(0, 0, -1)).Length(), 0.0, 1e-7);
    for (const int i : {0, 1, 3, 4}) {
        const Vec3d& along = normals[10 + i];
        const Vec3d& across = normals[i * 5 + 2];
        EXPECT_NEAR(along.y, 0.0, 1e-7);
        EXPECT_NEAR(across.x, 0.0, 1e-7);
        EXPECT_GT(along.x * (i - 2), 0.0);
        EXPECT_GT(across.y * (i - 2), 0.0);
    }
}

// Each orientation of a 3-D lattice lifts its middle slice along its own
// normal axis, the mesh rows along the plane's second axis.
TEST_F(HeightFieldTest, EachOrientationLiftsAlongItsNormalAxis)
{
    const NodeField f = [](unsigned i, unsigned j, unsigned k) { return i + 2.0 * j + 3.0 * k; };
    const double factor = std::sqrt(4.0 + 9.0 + 16.0) * 0.5 * 0.25 / 20.0;
    struct Case {
        uint32_t orientation;
        int along, across, normal;
    } cases[] = {{VoHeightField::OrientXY, 0, 1, 2}, {VoHeightField::OrientXZ, 0, 2, 1}, {VoHeightField::OrientYZ, 1, 2, 0}};
    const unsigned int dims[3] = {3, 4, 5};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.orientation);
        VoHeightField* module = Surface(testsupport::NodeLattice(3, 4, 5, f));
        module->SetOrientation(c.orientation);
        RunPass();
        const Mesh mesh = MeshOf(*module);
        const unsigned int slice = dims[c.normal] / 2;
        EXPECT_EQ(module->Slice(), static_cast<int32_t>(slice));
        ASSERT_EQ(mesh.columns, static_cast<int>(dims[c.along]));
        ASSERT_EQ(mesh.rows, static_cast<int>(dims[c.across]));
        size_t n = 0;
        for (unsigned int r = 0; r < dims[c.across]; ++r)
            for (unsigned int col = 0; col < dims[c.along]; ++col, ++n) {
                unsigned int ijk[3];
                ijk[c.along] = col;
                ijk[c.across] = r;
                ijk[c.normal] = slice;
                Vec3d expected(ijk[0], ijk[1], ijk[2]);
                expected[c.normal] += f(ijk[0], ijk[1], ijk[2]) * factor;
                EXPECT_NEAR((mesh.vertices[n] - expected).Length(), 0.0, 1e-5) << n;
            }
    }
}

// Scale 0 and a constant field are flat, a negative scale mirrors, a blank
// node sits at the data minimum in the minimum's colour.
TEST_F(HeightFieldTest, FlatMirroredAndBlankNodes)
{
    struct Case {
        const char* name;
        double scale;
        bool constant, blank;
        double sign; // of the heights against those at scale 0.25
    } cases[] = {{"scale 0", 0.0, false, false, 0.0},
                 {"negative scale", -0.25, false, false, -1.0},
                 {"constant field", 0.25, true, false, 0.0},
                 {"blank node", 0.25, false, true, 1.0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        core::VdUniformLattice* lattice = testsupport::NodeLattice(
            3, 3, 1, [&](unsigned i, unsigned j, unsigned) { return c.constant ? 7.0 : i + j + 1.0; });
        if (c.blank)
            lattice->SetBlank(8, 0);
        VoHeightField* module = Surface(lattice, c.scale);
        RunPass();
        const Mesh mesh = MeshOf(*module);
        ASSERT_EQ(mesh.vertices.size(), 9u);
        const double factor = std::sqrt(8.0) * 0.5 * 0.25 / (c.blank ? 3.0 : 4.0);
        for (unsigned int n = 0; n < 9; ++n) {
            const double lifted = (n % 3 + n / 3) * factor;
            const double expected = n == 8 && c.blank ? 0.0 : c.sign * lifted;
            EXPECT_NEAR(mesh.vertices[n].z, expected, 1e-5) << n;
            EXPECT_FALSE(std::isnan(mesh.normals[n].z)) << n;
        }
        if (c.blank) {
            EXPECT_EQ(mesh.colors[8], mesh.colors[0]);
        }
    }
}

// A 2-D RGBA image is laid on the surface: clipped, as a padded texture with
// a coordinate pair per node; stretched, as it is, corner to corner. Any
// other image is refused.
TEST_F(HeightFieldTest, OverlayIsDrapedOrRefused)
{
    VoHeightField* module = Surface(testsupport::NodeLattice(4, 3, 1, [](unsigned i, unsigned, unsigned) { return i; }));
    const unsigned int flat[3] = {4, 3, 1}, deep[3] = {2, 2, 2};
    const std::vector<uint8_t> rgba(4 * 12, 200);
    auto* picture = new core::VdUniformLattice(shr::UInt8, flat, rgba.data(), 4);
    picture->SetUVWBounds(shr::Box3d(Vec3d(0, 0, 0), Vec3d(3, 2, 0)));
    Link(module, Add(new core::VoLatticeSrc(picture, "")), 1);
    struct Case {
        uint32_t fit;
        short width, height;
        float lastS, lastT;
    } cases[] = {{VoHeightField::ClipToSurface, 5, 4, 1.0f, 1.0f}, {VoHeightField::StretchOverSurface, 4, 3, 1.0f, 1.0f}};
    for (const Case& c : cases) {
        module->Fit(c.fit);
        module->SetModified();
        Pass({module});
        const auto* texture = visualtest::First<SoTexture2>(*module);
        const auto* coordinates = visualtest::First<SoTextureCoordinate2>(*module);
        ASSERT_TRUE(texture && coordinates) << c.fit;
        SbVec2s size;
        int components = 0;
        texture->image.getValue(size, components);
        EXPECT_EQ(size[0], c.width);
        EXPECT_EQ(size[1], c.height);
        const SoMFVec2f& coords = coordinates->point;
        ASSERT_EQ(coords.getNum(), 12);
        EXPECT_NEAR(coords[11][0], c.lastS, 1e-6);
        EXPECT_NEAR(coords[11][1], c.lastT, 1e-6);
        EXPECT_GT(coords[0][0], -1e-6f);
    }
    const std::vector<uint8_t> cube(32, 200);
    auto* image = Add(new core::VoLatticeSrc(new core::VdUniformLattice(shr::UInt8, deep, cube.data(), 4), ""));
    EXPECT_EQ(testsupport::RaisedBy([&] { network().ConnectNodes(*module, image, 1, true); }).message,
              "Type mismatch: HeightField requires a 2D RGBA image (Z dimension must be 1) for input.");
}

TEST(HeightFieldStoredForm, RoundTripAndDocumentsWithoutTheOverlay)
{
    VoHeightField stored;
    stored.DrawStyle(VoHeightField::Lines);
    stored.SetOrientation(VoHeightField::OrientYZ);
    stored.Slice(7);
    stored.Opacity(0.375);
    stored.Scale(-0.5);
    stored.ShowOverlay(false);
    stored.Fit(VoHeightField::StretchOverSurface);
    stored.ColorModulation(VoHeightField::OverlayOnly);
    stored.OverlayQuality(0.25);
    stored.GetLegend().m_Title = "Elevation";
    testsupport::ExpectRoundTrip(stored);

    // Version 112: one input port in the base part, no overlay settings.
    std::vector<unsigned char> old;
    {
        shr::Archive archive(old, "", 112);
        testsupport::WriteOldModulePart(archive, "HeightField", 2);
        archive.SyncCheck();
        // Component, draw style, orientation, slice, opacity, scale.
        testsupport::Put(archive, uint32_t(1), uint32_t(VoHeightField::Lines), uint32_t(VoHeightField::OrientYZ),
                        int32_t(7), 0.375, -0.5);
        stored.GetColorMap().Serialize(archive);
        stored.GetLegend().Serialize(archive);
    }
    VoHeightField fromOld;
    EXPECT_EQ(testsupport::Load(fromOld, old), 0u);
    EXPECT_EQ(fromOld.DrawStyle(), VoHeightField::Lines);
    EXPECT_EQ(fromOld.GetOrientation(), VoHeightField::OrientYZ);
    EXPECT_EQ(fromOld.Slice(), 7);
    EXPECT_EQ(fromOld.Opacity(), 0.375);
    EXPECT_EQ(fromOld.Scale(), -0.5);
    EXPECT_EQ(fromOld.GetLegend().m_Title, "Elevation");
    EXPECT_EQ(fromOld.GetInputCount(), 2u);
    EXPECT_TRUE(fromOld.ShowOverlay());
    EXPECT_EQ(fromOld.Fit(), VoHeightField::ClipToSurface);

    // Failures, in the old base part and at the end, leave both ports and
    // the settings as they were.
    for (const size_t cut : {old.size() - 16, size_t(2)}) {
        VoHeightField target;
        EXPECT_THROW(testsupport::Load(target, old, cut), shr::Exception);
        EXPECT_EQ(target.Scale(), 0.25);
        EXPECT_EQ(target.GetInputCount(), 2u);
    }
}

// Seen from above: red contour lines of a peak over its grey surface.
TEST_F(HeightFieldTest, ContourLinesOverTheSurfaceInAPicture)
{
    const auto peak = [](unsigned i, unsigned j, unsigned) {
        return std::exp(-((i - 10.0) * (i - 10.0) + (j - 10.0) * (j - 10.0)) / 30.0);
    };
    VoHeightField* surface = Surface(testsupport::NodeLattice(21, 21, 1, peak, Vec3d(-10, -10, 0)), 0.0);
    auto* lines = Feed(testsupport::NodeLattice(21, 21, 1, peak, Vec3d(-10, -10, 1)), new core::VoContour);
    lines->Method(core::VoContour::Explicit);
    lines->ExplicitLevels("0.5");
    lines->LineWidth(4.0f);
    lines->ShowBorder(false);
    core::VbColorMap& lineMap = lines->GetColorMap();
    lineMap.ClearColorNodes();
    lineMap.AddColorNode(0.0, shr::Color4b(255, 0, 0));
    lineMap.AddColorNode(1.0, shr::Color4b(255, 0, 0));
    Pass({surface});
    ASSERT_EQ(lines->GetStatus(), VoModule::ModuleOk);
    core::InvSmartPtr<SoSeparator> both(new SoSeparator);
    both->addChild(surface->OutputGeometry(0).GetRoot().get());
    both->addChild(lines->OutputGeometry(0).GetRoot().get());
    // 24 units across 160 pixels; the level 0.5 lies sqrt(30 ln 2) from the peak.
    const render::Image image = testsupport::TopDownPicture(both.get(), 24.0f);
    const int ring = static_cast<int>(std::lround(std::sqrt(30.0 * std::log(2.0)) * 160.0 / 24.0));
    const auto red = [&](int x, int y) {
        for (int dx = -2; dx <= 2; ++dx)
            if (image.At(x + dx, y).r > 150 && image.At(x + dx, y).g < 60)
                return true;
        return false;
    };
    EXPECT_TRUE(red(80 + ring, 80));
    EXPECT_TRUE(red(80 - ring, 80));
    const shr::Color4b middle = image.At(80, 80);
    EXPECT_GT(middle.g, 100) << "the surface's light grey at the peak";
    EXPECT_EQ(image.At(3, 3), shr::Color4b::Black) << "nothing beyond the lattice";
}

} // namespace
