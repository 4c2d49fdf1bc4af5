// The isosurface module in a network: the isovalue default from the input,
// the type mismatch of flat lattices, property rows, the volumes it reports,
// the stored form through every version gate, and a drawn sphere.
#include "MeshSupport.h"
#include "PictureSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/visual/VoIsoSurface.h"
#include "render/Image.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/MathUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace isotest;
using core::VoIsoSurface;
using core::VoModule;
using core::VoNetwork;

class IsoSurfaceModuleTest : public visualtest::ModuleFixture<testsupport::NetworkFixture> {
protected:
    VoIsoSurface* Surface(core::VdLattice* lattice) { return Feed(lattice, new VoIsoSurface); }
    void Edit(VoIsoSurface& module, int id, const char* text)
    {
        ASSERT_TRUE(list.StringValue(id, text)) << id << " " << text;
        network().ModifyNode(module, list, core::VbPropertyEvent(id, list.AnyValue(id)), true, false);
    }

    visualtest::RecordingProxy proxy;
};

// Sphere field (0 .. 3 on the corners) on 21^3 nodes over [-1, 1]^3.
core::VdLattice* SphereLattice(Kind kind = Kind::Uniform)
{
    return Sample(kind, 21, Sphere).release();
}

TEST_F(IsoSurfaceModuleTest, IsovalueStartsMidRangeAndFollowsTheInputRange)
{
    VoIsoSurface* module = Surface(SphereLattice());
    EXPECT_DOUBLE_EQ(module->Isovalue(), 1.5);
    EXPECT_FALSE(module->FirstInput());
    Pass({module});
    EXPECT_GT(module->TriangleCount(), 0);
    EXPECT_EQ(Inspect(module->Surface()).triangles, size_t(module->TriangleCount()));
    ASSERT_FALSE(proxy.statuses.empty());
    const std::string status = proxy.statuses.back();
    EXPECT_EQ(status.find(module->Name() + " execute time="), 0u) << status;
    EXPECT_NE(status.find(" seconds, " + std::to_string(module->TriangleCount()) + " triangles"), std::string::npos)
        << status;

    struct Step {
        const char* what;
        double scale, offset;
        double isovalue;
    } steps[] = {
        {"an isovalue inside the new range stays", 2.0, 0.0, 1.5},
        {"one outside moves to the middle", 1.0, 10.0, 11.5},
        {"and stays there while inside", 1.0, 9.0, 11.5},
    };
    for (const Step& step : steps) {
        source->SetLattice(Sample(Kind::Uniform, 21, [&](double x, double y, double z) {
                               return Sphere(x, y, z) * step.scale + step.offset;
                           }).release());
        Rerun(source);
        EXPECT_DOUBLE_EQ(module->Isovalue(), step.isovalue) << step.what;
    }
}

TEST_F(IsoSurfaceModuleTest, RowsEditsAndVolumes)
{
    VoIsoSurface* module = Surface(SphereLattice());
    module->UpdateProperties(list);
    RunPass();
    EXPECT_EQ(list.StringValue(VoIsoSurface::IdInput), source->Name());
    EXPECT_FALSE(list.IsProp(VoIsoSurface::IdComponent)) << "one component: no component row";
    EXPECT_FALSE(list.Enabled(VoIsoSurface::IdVolume));
    EXPECT_FALSE(list.Visible(VoIsoSurface::IdColor));
    EXPECT_TRUE(list.Visible(VoIsoSurface::IdColormap));
    EXPECT_TRUE(list.IsProp(VoIsoSurface::IdLegend + 1));
    EXPECT_EQ(core::VbPropertyRegistry::Instance().Get("IsoSurfaceIsovalue").id, VoIsoSurface::IdIsovalue);
    EXPECT_EQ(VoIsoSurface::s_ModuleInfo.HelpString(),
              "Computes an isosurface through a 3D lattice and outputs the geometry");

    const int before = module->TriangleCount();
    Edit(*module, VoIsoSurface::IdIsovalue, "0.49");
    RunPass();
    EXPECT_LT(module->TriangleCount(), before) << "a smaller sphere";

    Edit(*module, VoIsoSurface::IdComputeVolume, "1");
    EXPECT_EQ(list.StringValue(VoIsoSurface::IdVolume), "Updating...");
    EXPECT_TRUE(list.Enabled(VoIsoSurface::IdInvertVolume));
    RunPass();
    const double sphere = 4.0 / 3.0 * shr::ONE_PI * std::pow(0.49, 1.5);
    EXPECT_NEAR(module->VolumeAtOrBelow(), sphere, 0.04 * sphere);
    EXPECT_NEAR(module->VolumeAtOrAbove() + module->VolumeAtOrBelow(), 8.0, 1e-9);
    ASSERT_GE(proxy.refreshed.size(), 2u) << "the volume texts are refreshed after a run";
    EXPECT_EQ(std::vector<int>(proxy.refreshed.end() - 2, proxy.refreshed.end()),
              (std::vector<int>{VoIsoSurface::IdVolume, VoIsoSurface::IdInverseVolume}));
    module->PropertyEvent(list, core::VbPropertyEvent(VoIsoSurface::IdVolume, boost::any()));
    EXPECT_NEAR(std::stod(list.StringValue(VoIsoSurface::IdInverseVolume)), module->VolumeAtOrBelow(), 1e-8);

    // Inverted, the set corners are those at or above: the first total is then the inside.
    Edit(*module, VoIsoSurface::IdInvertVolume, "1");
    RunPass();
    EXPECT_NEAR(module->VolumeAtOrAbove(), sphere, 0.04 * sphere);

    Edit(*module, VoIsoSurface::IdComputeVolume, "0");
    EXPECT_EQ(list.StringValue(VoIsoSurface::IdVolume), "0");
    EXPECT_FALSE(list.Enabled(VoIsoSurface::IdInverseVolume));

    Edit(*module, VoIsoSurface::IdColorMethod, "0");
    EXPECT_TRUE(list.Visible(VoIsoSurface::IdColor));
    EXPECT_FALSE(list.Visible(VoIsoSurface::IdColormap));
    EXPECT_FALSE(list.Enabled(VoIsoSurface::IdLegend + 1));
    Edit(*module, VoIsoSurface::IdIsovalue, "5");
    RunPass();
    EXPECT_EQ(module->TriangleCount(), 0) << "outside the data";
    EXPECT_TRUE(module->Surface().indices.empty());
}

TEST_F(IsoSurfaceModuleTest, AllLatticeKindsGiveTheSameSurface)
{
    std::vector<core::VgVertexData> surfaces;
    for (Kind kind : {Kind::Uniform, Kind::Rectilinear, Kind::Curvilinear}) {
        VoIsoSurface* module = Surface(SphereLattice(kind));
        module->Isovalue(0.6);
        Pass({module});
        EXPECT_EQ(module->LatticeType(), static_cast<VoIsoSurface::LATTICE_TYPE>(kind));
        surfaces.push_back(module->Surface());
        network().DeleteAllNodes();
    }
    for (size_t s = 1; s < surfaces.size(); ++s) {
        EXPECT_EQ(surfaces[s].indices, surfaces[0].indices);
        ASSERT_EQ(surfaces[s].vertices.size(), surfaces[0].vertices.size());
        for (size_t v = 0; v < surfaces[0].vertices.size(); ++v) {
            EXPECT_EQ(surfaces[s].vertices[v], surfaces[0].vertices[v]);
            // Face normals on the curvilinear lattice, gradients on the others.
            EXPECT_GT(Normal(surfaces[s], v).Dot(Normal(surfaces[0], v)), 0.95);
        }
    }
}

// ---- the stored form --------------------------------------------------------------------------

using testsupport::Header;
using testsupport::Load;
using testsupport::Store;

TEST_F(IsoSurfaceModuleTest, StoredFormThroughEveryVersionGate)
{
    VoIsoSurface stored;
    stored.Isovalue(12.3456789);
    stored.Opacity(0.4375);
    stored.DrawStyle(VoIsoSurface::Lines);
    stored.Side(VoIsoSurface::BackOnly);
    stored.ColorMethod(VoIsoSurface::Fixed);
    stored.Material().diffuse = shr::Color4b(10, 20, 30);
    stored.GetLegend().m_Title = "Grade";
    stored.GetColorMap().SetScalingLimits(-2.0, 7.0);
    stored.ComputeVolume(true);
    stored.InvertVolume(true);
    const std::vector<unsigned char> current = Store(stored);
    EXPECT_FALSE(stored.InvertVolume()) << "saving clears the live flag";

    // The body after the header, with the opacity's place and the two volume flags at the end.
    const size_t header = Header(shr::Archive::CurrentVersion).size();
    std::vector<unsigned char> body(current.begin() + header, current.end());
    const double pair[2] = {12.3456789, 0.4375};
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(pair);
    const auto at = std::search(body.begin(), body.end(), raw, raw + sizeof pair);
    ASSERT_NE(at, body.end());
    const size_t afterOpacity = static_cast<size_t>(at - body.begin()) + sizeof pair;
    ASSERT_EQ(body[body.size() - 2], 1u) << "compute volume";
    ASSERT_EQ(body[body.size() - 1], 1u) << "invert volume, as it was when stored";

    struct Gate {
        int version;
        bool legacyByte;
        size_t flags; // volume flags present at the end
    } gates[] = {{113, true, 0}, {114, true, 0}, {115, false, 0}, {116, false, 1},
                 {119, false, 1}, {120, false, 2}, {130, false, 2}};
    for (const Gate& gate : gates) {
        SCOPED_TRACE(gate.version);
        std::vector<unsigned char> old(body.begin(), body.end() - static_cast<long>(2 - gate.flags));
        if (gate.legacyByte)
            old.insert(old.begin() + static_cast<long>(afterOpacity), 1u);
        std::vector<unsigned char> bytes = Header(gate.version);
        bytes.insert(bytes.end(), old.begin(), old.end());
        bytes.insert(bytes.end(), {0xDE, 0xAD, 0xBE, 0xEF}); // must stay unread
        VoIsoSurface loaded;
        loaded.InvertVolume(true);
        EXPECT_EQ(Load(loaded, bytes), 4u);
        // Stored again: every field as today's, but for the volume flags the
        // document had; invert volume never survives a load.
        std::vector<unsigned char> expected = current;
        expected[expected.size() - 2] = gate.flags >= 1;
        expected.back() = 0;
        EXPECT_EQ(Store(loaded), expected);
    }

    // A cut-off archive fails and leaves the module as it was.
    testsupport::ExpectRoundTrip(stored, {5});
}

TEST(IsoSurfaceStoredForm, ValuesBeyondTheRowsAreRefused)
{
    testsupport::ExpectDamageRefused<VoIsoSurface>({
        {"draw style", [](VoIsoSurface& s) { s.DrawStyle(3); }},
        {"side", [](VoIsoSurface& s) { s.Side(3); }},
        {"colour method", [](VoIsoSurface& s) { s.ColorMethod(2); }},
        {"opacity", [](VoIsoSurface& s) { s.Opacity(std::nan("")); }},
        {"shininess", [](VoIsoSurface& s) { s.Material().shininess = 2.0f; }},
    });
}

// ---- a picture ----------------------------------------------------------------------------------

TEST_F(IsoSurfaceModuleTest, DrawsTheSphereWhereItLies)
{
    network().SetTransformOnlyUseIfYouAreAUnitTest(core::SceneTransform(0, 0, true));
    VoIsoSurface* module = Surface(SphereLattice());
    module->Isovalue(0.36); // radius 0.6
    module->ColorMethod(VoIsoSurface::Fixed);
    module->Material().diffuse = shr::Color4b(255, 0, 0);
    Pass({module});

    // 40 pixels a unit.
    const render::Image image = testsupport::TopDownPicture(module->OutputGeometry(0).GetRoot().get(), 4.0f);

    const auto lit = [&](int x, int y) {
        const shr::Color4b c = image.At(x, y);
        return c.r > 60 && c.r >= c.g + 60 && c.r >= c.b + 60; // red, lit, perhaps with a highlight
    };
    for (const auto& [x, y] : {std::pair<int, int>(80, 80), {80 + 12, 80}, {80, 80 - 12}, {80 - 10, 80 + 10}})
        EXPECT_TRUE(lit(x, y)) << x << ", " << y;
    for (const auto& [x, y] : {std::pair<int, int>(80 + 36, 80), {80, 80 + 36}, {5, 5}, {150, 150}})
        EXPECT_EQ(image.At(x, y), shr::Color4b::Black) << x << ", " << y;
}

} // namespace
