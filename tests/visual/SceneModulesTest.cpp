// The scene modules in a network: the nodes each puts into the scene and
// where, the driver's limits on lights and clip planes, the rows that follow
// each other, the draggers' edits, and the stored forms through their
// version gates.
#include "MeshSupport.h"
#include "NetworkFixture.h"
#include "LatticeSupport.h"
#include "TestSupport.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "core/graphics/SoGLExtension.h"
#include "core/graphics/VgPointLightDragger.h"
#include "core/graphics/VgSpotLightDragger.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/visual/VoAnnotation.h"
#include "core/visual/VoClipPlane.h"
#include "core/visual/VoEnvironment.h"
#include "core/visual/VoIsoSurface.h"
#include "core/visual/VoLight.h"
#include "core/visual/VoText.h"
#include "core/visual/VoTransform.h"
#include "shr/Exception.h"
#include "shr/MathUtil.h"

#include <Inventor/nodes/SoClipPlane.h>
#include <Inventor/nodes/SoDirectionalLight.h>
#include <Inventor/nodes/SoEnvironment.h>
#include <Inventor/nodes/SoFont.h>
#include <Inventor/nodes/SoPointLight.h>
#include <Inventor/nodes/SoSpotLight.h>
#include <Inventor/nodes/SoText2.h>
#include <Inventor/nodes/SoTranslation.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using core::VoModule;
using shr::Color4b;
using shr::Vec3d;
using visualtest::First;

class SceneModulesTest : public visualtest::ModuleFixture<testsupport::NetworkFixture> {
protected:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        network().SetTransformOnlyUseIfYouAreAUnitTest(core::SceneTransform(-1000.0, -2000.0, true));
    }
    template <class Module>
    Module* Run(Module* module, VoModule::ModuleStatus status = VoModule::ModuleOk)
    {
        Rerun(module);
        EXPECT_EQ(module->GetStatus(), status) << proxy.LastError();
        return module;
    }
    // A sphere isosurface of radius 0.8 about the origin.
    core::VoIsoSurface* Shell()
    {
        auto* shell = Feed(isotest::Sample(isotest::Kind::Uniform, 21, isotest::Sphere).release(),
                           new core::VoIsoSurface);
        shell->Isovalue(0.64);
        return shell;
    }

    testsupport::ErrorProxy proxy;
};

// ---- lights ----------------------------------------------------------------------------------

// A point or spot light's location moves with the scene offset. A spot light
// takes the cut-off angle (in radians) as its drop-off rate and the drop-off
// as its cut-off angle.
TEST_F(SceneModulesTest, EachLightTypeWritesItsNode)
{
    auto* light = Add(new core::VoLight);
    light->Color(Color4b(255, 0, 51));
    light->Direction(Vec3d(0, 1, 0));
    light->Position(Vec3d(1010, 2020, 30));
    light->Cutoff(30.0);
    light->Dropoff(0.25);
    const SbColor color(1.0f, 0.0f, 0.2f);

    light->SetLightType(core::VoLight::Directional);
    auto* directional = First<SoDirectionalLight>(*Run(light));
    ASSERT_TRUE(directional);
    EXPECT_EQ(directional->direction.getValue(), SbVec3f(0, 1, 0));
    EXPECT_EQ(directional->color.getValue(), color);

    light->SetLightType(core::VoLight::Point);
    auto* point = First<SoPointLight>(*Run(light));
    ASSERT_TRUE(point);
    EXPECT_EQ(point->location.getValue(), SbVec3f(10, 20, 30));

    light->SetLightType(core::VoLight::Spot);
    auto* spot = First<SoSpotLight>(*Run(light));
    ASSERT_TRUE(spot);
    EXPECT_EQ(spot->location.getValue(), SbVec3f(10, 20, 30));
    EXPECT_EQ(spot->direction.getValue(), SbVec3f(0, 1, 0));
    EXPECT_FLOAT_EQ(spot->dropOffRate.getValue(), float(30.0 * shr::DEG_TO_RAD));
    EXPECT_FLOAT_EQ(spot->cutOffAngle.getValue(), 0.25f);
}

// One light of the driver's stays the viewer's headlight: the light after the
// rest fails with the count, and those before it keep their nodes.
TEST_F(SceneModulesTest, ALightBeyondTheDriversMaximumFails)
{
    const int maximum = core::SoGLExtManager::getInstance()->getMaxLights() - 1;
    std::vector<core::VoLight*> lights;
    for (int i = 0; i <= maximum; ++i)
        lights.push_back(Add(new core::VoLight));
    RunPass();
    for (int i = 0; i < maximum; ++i) {
        EXPECT_EQ(lights[size_t(i)]->GetStatus(), VoModule::ModuleOk) << i;
        EXPECT_TRUE(First<SoDirectionalLight>(*lights[size_t(i)])) << i;
    }
    EXPECT_EQ(lights.back()->GetStatus(), VoModule::ModuleFailed);
    EXPECT_EQ(proxy.LastError(), "The maximum number of lights (" + std::to_string(maximum) + ") has been exceeded.");
    EXPECT_FALSE(First<SoDirectionalLight>(*lights.back()));
}

// With the dragger shown the light lives in it; a new type makes a new
// dragger; a drag edits the module in data coordinates and degrees.
TEST_F(SceneModulesTest, TheLightDraggerHoldsTheLightAndEditsTheModule)
{
    auto* light = Add(new core::VoLight);
    Edit(light, {{core::VoLight::IdType, "2"}, {core::VoLight::IdDragger, "true"}});
    ASSERT_TRUE(dynamic_cast<const core::VgSpotLightDragger*>(light->CurrentDragger().get()));
    EXPECT_TRUE(First<SoSpotLight>(*light)); // the manipulator is the light
    const Vec3d scale = light->CurrentDragger()->Scale();
    EXPECT_DOUBLE_EQ(scale.x, 6.0 * 0.05 / 3.0); // after the pass, fitted to the -1 to 1 scene

    Edit(light, {{core::VoLight::IdType, "1"}});
    EXPECT_TRUE(dynamic_cast<const core::VgPointLightDragger*>(light->CurrentDragger().get()));
    EXPECT_FALSE(list.Visible(core::VoLight::IdXDirection)) << "a point light has no direction";
    Edit(light, {{core::VoLight::IdType, "2"}});
    EXPECT_TRUE(list.Enabled(core::VoLight::IdDropoff));

    core::VgSpotLightDragger dragged(Vec3d(1, 0, 0), 0.5);
    dragged.SetPosition(Vec3d(5, 6, 7));
    light->DraggerChanged(dragged);
    EXPECT_TRUE(testsupport::Near(light->Direction(), Vec3d(1, 0, 0), 1e-6));
    EXPECT_DOUBLE_EQ(light->Cutoff(), 0.5 * shr::RAD_TO_DEG);
    EXPECT_EQ(light->Position(), Vec3d(1005, 2006, 7));

    Edit(light, {{core::VoLight::IdDragger, "false"}});
    EXPECT_FALSE(light->CurrentDragger());
    EXPECT_TRUE(First<SoSpotLight>(*light));
}

// The type is the first field after the sync mark; one no row can set is refused.
TEST_F(SceneModulesTest, LightStoredForm)
{
    core::VoLight stored;
    stored.SetLightType(core::VoLight::Spot);
    stored.Color(Color4b(1, 2, 3, 4));
    stored.Position(Vec3d(5, 6, 7));
    stored.Cutoff(12.5);
    stored.Dropoff(0.75);
    const testsupport::StoredModule document(testsupport::Store(stored), 1);
    core::VoLight loaded;
    EXPECT_EQ(testsupport::Load(loaded, document.Document(130, document.body)), 0u);
    EXPECT_EQ(testsupport::Store(loaded), testsupport::Store(stored));
    core::VoLight target;
    EXPECT_THROW(testsupport::Load(target, document.Document(130, testsupport::Replace(document.body, 4, 4, 3u))),
                 shr::Exception);
    EXPECT_THROW(testsupport::Load(target, document.Document(130, document.body), 3), shr::Exception);
    EXPECT_EQ(target.GetLightType(), core::VoLight::Directional);
    EXPECT_EQ(target.Cutoff(), 45.0);
}

// ---- global settings -------------------------------------------------------------------------

TEST_F(SceneModulesTest, GlobalSettingsReachTheSceneAndTheNetwork)
{
    auto* settings = Add(new core::VoEnvironment(Color4b(10, 20, 30)));
    EXPECT_FALSE(settings->Copyable());
    EXPECT_FALSE(settings->Deletable());
    EXPECT_FALSE(settings->OutputGeometry(0).Clippable());
    Edit(settings, {{core::VoEnvironment::IdExaggeration, "1e9"},
                    {core::VoEnvironment::IdAmbientIntensity, "0.5"},
                    {core::VoEnvironment::IdFogType, "2"}});
    EXPECT_TRUE(list.Enabled(core::VoEnvironment::IdFogColor));
    EXPECT_EQ(network().VerticalExaggeration(), core::VoEnvironment::kMaxExaggeration);
    EXPECT_EQ(network().GetBackgroundColor(), Color4b(10, 20, 30));
    auto* environment = First<SoEnvironment>(*settings);
    ASSERT_TRUE(environment);
    EXPECT_EQ(environment->ambientIntensity.getValue(), 0.5f);
    EXPECT_EQ(environment->fogType.getValue(), int(SoEnvironment::FOG));
    EXPECT_EQ(environment->fogColor.getValue(), SbColor(10 / 255.0f, 20 / 255.0f, 30 / 255.0f));
    Edit(settings, {{core::VoEnvironment::IdFogType, "0"}});
    EXPECT_FALSE(list.Enabled(core::VoEnvironment::IdFogColor));
}

// Before 127 no exaggeration was stored; before 129 it was one more than its
// logarithm, before 130 its logarithm.
TEST_F(SceneModulesTest, OldExaggerationsLoadInTodaysMeaning)
{
    struct Case {
        int version;
        double stored, loaded;
    } cases[] = {{126, 0.0, 1.0},   {127, 3.0, 100.0}, {128, 1.0, 1.0},   {128, 9.0, 100000.0},
                 {129, -2.0, 0.01}, {130, 2.5, 2.5},   {130, 1e-05, 1e-05}};
    for (const Case& c : cases) {
        core::VoEnvironment stored(Color4b(1, 2, 3));
        stored.VerticalExaggeration(c.stored);
        std::vector<unsigned char> bytes = testsupport::Store(stored);
        if (c.version < 127)
            bytes.resize(bytes.size() - sizeof(double));
        const testsupport::StoredModule document(bytes, 0);
        core::VoEnvironment loaded;
        EXPECT_EQ(testsupport::Load(loaded, document.Document(c.version, document.body)), 0u) << c.version;
        EXPECT_NEAR(loaded.VerticalExaggeration(), c.loaded, 1e-9 * c.loaded) << c.version << " " << c.stored;
        EXPECT_EQ(loaded.BackgroundColor(), Color4b(1, 2, 3));
    }
}

// ---- clip planes -----------------------------------------------------------------------------

// The plane runs through the centre of the inputs' bounds moved along the
// normal; swap keeps the other side of the same plane. What is drawn, and
// that the input reaches the scene only through the plane, the pictures show.
TEST_F(SceneModulesTest, TheClipPlaneCutsItsInputsThroughTheirCentre)
{
    core::VoIsoSurface* shell = Shell();
    auto* clip = Add(new core::VoClipPlane);
    Link(clip, shell);
    struct Case {
        const char* orientation;
        const char* swap;
        const char* distance;
        SbVec3f normal;
        float constant; // of the kept side's normal
    } cases[] = {{"0", "false", "0", {1, 0, 0}, 0.0f},   {"1", "false", "0.25", {0, 1, 0}, 0.25f},
                 {"2", "true", "0.25", {0, 0, -1}, -0.25f}, {"2", "true", "-0.5", {0, 0, -1}, 0.5f}};
    for (const Case& c : cases) {
        Edit(clip, {{core::VoClipPlane::IdOrientation, c.orientation},
                    {core::VoClipPlane::IdSwap, c.swap},
                    {core::VoClipPlane::IdDistance, c.distance}});
        ASSERT_EQ(clip->GetStatus(), VoModule::ModuleOk) << proxy.LastError();
        auto* plane = First<SoClipPlane>(*clip);
        ASSERT_TRUE(plane) << c.orientation;
        // The bounds lie in the scene's frame, offset by (-1000, -2000).
        const Vec3d centre = clip->Bounds().Center();
        EXPECT_NEAR(centre.x, -1000.0, 1e-3);
        EXPECT_NEAR(centre.y, -2000.0, 1e-3);
        const SbPlane& value = plane->plane.getValue();
        EXPECT_TRUE(value.getNormal().equals(c.normal, 1e-6f)) << c.orientation << c.swap;
        EXPECT_NEAR(value.getDistanceFromOrigin(), value.getNormal().dot(SbVec3f(float(centre.x), float(centre.y),
                                                                                  float(centre.z))) + c.constant,
                    1e-2);
    }
}

TEST_F(SceneModulesTest, ClipPlaneInputsAndNormalsAreChecked)
{
    auto* clip = Add(new core::VoClipPlane);
    auto* text = Add(new core::VoText);
    EXPECT_FALSE(clip->Compatible(0, text, 0, true)); // drawn in the view's space, never cut
    EXPECT_TRUE(clip->Compatible(9, Add(new core::VoClipPlane), 0, true));
    Link(clip, Shell(), 3);
    clip->SetOrientation(core::VoClipPlane::Custom);
    clip->Normal(Vec3d(0, 0, 0));
    Run(clip, VoModule::ModuleFailed);
    EXPECT_EQ(proxy.LastError(),
              "Vector length cannot equal 0.  At least one component must be non-zero.");
}

// A drag gives the normal back on the unswapped side, an axis orientation
// only when it is exactly one (the untouched handle faces +X; a drag leaves
// float noise), and the distance from the bounds' centre.
TEST_F(SceneModulesTest, AClipPlaneDragEditsTheModule)
{
    auto* clip = Add(new core::VoClipPlane);
    Link(clip, Shell());
    Edit(clip, {{core::VoClipPlane::IdDragger, "true"}, {core::VoClipPlane::IdOrientation, "1"}});
    ASSERT_TRUE(clip->CurrentDragger());
    EXPECT_TRUE(First<SoClipPlane>(*clip)); // the manipulator is the plane
    const shr::Box3d bounds = clip->Bounds();
    const double centreX = bounds.Center().x;
    struct Case {
        bool swap;
        Vec3d direction; // of the drag; zero for the untouched handle
        uint32_t orientation;
        Vec3d normal;
        double distance;
    } cases[] = {{false, {0, 0, 0}, core::VoClipPlane::AlongX, {1, 0, 0}, -centreX},
                 {true, {0, 0, 0}, core::VoClipPlane::Custom, {-1, 0, 0}, centreX},
                 {true, {0, 0, -1}, core::VoClipPlane::Custom, {0, 0, 1}, -0.3},
                 {false, {0.6, 0.8, 0}, core::VoClipPlane::Custom, {0.6, 0.8, 0}, 0.3}};
    for (const Case& c : cases) {
        clip->Swap(c.swap);
        core::VgClipPlaneDragger dragged;
        if (c.direction != Vec3d::ZERO)
            dragged.SetValue(shr::Box3d(bounds.min + c.direction * 0.3, bounds.max + c.direction * 0.3), c.direction,
                             0.7);
        clip->DraggerChanged(dragged);
        EXPECT_EQ(clip->GetOrientation(), c.orientation) << c.swap;
        EXPECT_TRUE(testsupport::Near(clip->Normal(), c.normal, 1e-6)) << c.swap;
        EXPECT_NEAR(clip->Distance(), c.distance, 1e-2) << c.swap;
    }
}

// Before 115 the module had one input, and its links were stored for that
// one; before 113 without the port counts.
TEST_F(SceneModulesTest, ClipPlaneStoredFormBeforeAndAfterTenInputs)
{
    core::VoClipPlane stored;
    stored.SetOrientation(core::VoClipPlane::AlongY);
    stored.Swap(true);
    stored.Distance(-12.5);
    const testsupport::StoredModule document(testsupport::Store(stored), core::VoClipPlane::kInputCount + 1);
    // The module base without its port lists: counts and links of 10 inputs and 1 output.
    const std::vector<unsigned char> head(document.base.begin(), document.base.end() - 4 * 13);
    const auto oneInput = [&](int version) {
        std::vector<unsigned char> bytes = testsupport::Header(version);
        bytes.insert(bytes.end(), head.begin(), head.end());
        const std::vector<uint32_t> lists = version >= 113 ? std::vector<uint32_t>{1, 0, 1, 0} : std::vector<uint32_t>{0, 0};
        for (uint32_t word : lists)
            bytes.insert(bytes.end(), reinterpret_cast<const unsigned char*>(&word),
                         reinterpret_cast<const unsigned char*>(&word) + 4);
        bytes.insert(bytes.end(), document.body.begin(), document.body.end());
        return bytes;
    };
    for (int version : {100, 114, 115, 130}) {
        core::VoClipPlane loaded;
        EXPECT_EQ(testsupport::Load(loaded, version < 115 ? oneInput(version) : document.Document(version, document.body)),
                  0u)
            << version;
        EXPECT_EQ(loaded.GetInputCount(), size_t(core::VoClipPlane::kInputCount));
        EXPECT_EQ(testsupport::Store(loaded), testsupport::Store(stored)) << version;
    }
    core::VoClipPlane target;
    EXPECT_THROW(testsupport::Load(target, document.Document(130, document.body), 4), shr::Exception);
    EXPECT_EQ(target.Distance(), 0.0);
    EXPECT_EQ(target.GetInputCount(), size_t(core::VoClipPlane::kInputCount));
}

// ---- transforms ------------------------------------------------------------------------------

// The output is a copy whose user transform scales and turns about the
// origin of its kind, then moves, then applies the input's own transform.
TEST_F(SceneModulesTest, TheTransformMovesACopyAboutItsOrigin)
{
    std::vector<double> coords = {0, 0, 0, 2, 4, 6};
    std::vector<double> values = {1, 2};
    auto* points = new core::VdPoints(shr::Double, shr::Double, 2, coords.data(), values.data(), 1);
    points->SetUserTransform(shr::Mat4d::MakeTranslation(100, 0, 0));
    auto* transform = Add(new core::VoTransform);
    Link(transform, Add(new testsupport::DataSource(points, 1)));
    transform->Scale(Vec3d(2, 2, 2));
    transform->Axis(Vec3d(0, 0, 1));
    transform->Angle(shr::HALF_PI);
    transform->Translation(Vec3d(0, 0, 10));
    struct Case {
        uint32_t kind;
        Vec3d origin;
    } cases[] = {{core::VoTransform::Center, {1, 2, 3}},
                 {core::VoTransform::LowerLeft, {0, 0, 0}},
                 {core::VoTransform::UpperRight, {2, 4, 6}},
                 {core::VoTransform::CustomOrigin, {-1, 5, 2}}};
    for (const Case& c : cases) {
        transform->SetOriginKind(c.kind);
        transform->Origin(Vec3d(-1, 5, 2));
        Run(transform);
        const auto* copy = dynamic_cast<const core::VdPoints*>(transform->GetOutput(0)->Data());
        ASSERT_TRUE(copy) << c.kind;
        EXPECT_NE(copy, points);
        for (const Vec3d& uvw : {Vec3d(0, 0, 0), Vec3d(2, 4, 6)}) {
            const Vec3d d = (uvw - c.origin) * 2.0; // scaled, then turned a quarter about Z
            const Vec3d expected = c.origin + Vec3d(-d.y, d.x, d.z) + Vec3d(100, 0, 10);
            EXPECT_TRUE(testsupport::Near(copy->UVWToXYZ(uvw), expected, 1e-9)) << c.kind;
        }
    }
    transform->Axis(Vec3d(0, 0, 0));
    Run(transform, VoModule::ModuleFailed);
    EXPECT_EQ(proxy.LastError(), "Vector length cannot equal 0.  At least one component must be non-zero.");
    EXPECT_EQ(transform->GetOutput(0)->Data(), nullptr);
}

// A reset sets its values and shows them; restoring a reset row reads the
// rows instead.
TEST_F(SceneModulesTest, TransformResetsSetTheirValuesAndRestoreReadsThem)
{
    auto* transform = Add(new core::VoTransform);
    Edit(transform, {{core::VoTransform::IdXScale, "3"}, {core::VoTransform::IdXRotation, "1"},
                     {core::VoTransform::IdAngle, "90"}});
    EXPECT_EQ(transform->Scale(), Vec3d(3, 1, 1));
    EXPECT_DOUBLE_EQ(transform->Angle(), shr::HALF_PI);
    list.SetNum(core::VoTransform::IdXScale, 5.0);
    Send(*transform, list, core::VoTransform::IdScaleReset, true);
    EXPECT_EQ(transform->Scale(), Vec3d(5, 1, 1));
    Send(*transform, list, core::VoTransform::IdScaleReset);
    Send(*transform, list, core::VoTransform::IdRotationReset);
    EXPECT_EQ(transform->Scale(), Vec3d(1, 1, 1));
    EXPECT_EQ(transform->Axis(), Vec3d(0, 0, 1));
    EXPECT_EQ(transform->Angle(), 0.0);
    double shown = -1.0;
    list.GetValue(core::VoTransform::IdXScale, shown);
    EXPECT_EQ(shown, 1.0);
}

TEST_F(SceneModulesTest, TransformStoredFormGainsItsOriginIn126)
{
    core::VoTransform stored;
    stored.Translation(Vec3d(1, 2, 3));
    stored.Angle(0.75);
    stored.SetOriginKind(core::VoTransform::CustomOrigin);
    stored.Origin(Vec3d(7, 8, 9));
    const testsupport::StoredModule document(testsupport::Store(stored), 3);
    std::vector<unsigned char> old = document.body;
    old.resize(old.size() - sizeof(uint32_t) - 3 * sizeof(double));
    for (int version : {125, 126, 130}) {
        core::VoTransform loaded;
        EXPECT_EQ(testsupport::Load(loaded, document.Document(version, version < 126 ? old : document.body)), 0u);
        EXPECT_EQ(loaded.Translation(), Vec3d(1, 2, 3));
        EXPECT_EQ(loaded.Angle(), 0.75);
        EXPECT_EQ(loaded.GetOriginKind(), version < 126 ? core::VoTransform::Center : core::VoTransform::CustomOrigin);
    }
}

// ---- text ------------------------------------------------------------------------------------

TEST_F(SceneModulesTest, TextStandsAtItsPointWithTheRenderersJustification)
{
    auto* text = Add(new core::VoText);
    EXPECT_FALSE(text->OutputGeometry(0).Clippable());
    Run(text);
    EXPECT_EQ(First<SoSeparator>(*text)->getNumChildren(), 0) << "no text, nothing drawn";

    text->Text("Top\nof Sand");
    text->Position(Vec3d(1000, 2000, -50));
    text->Format().m_Face = "DejaVu Sans";
    struct Case {
        int format;
        int drawn;
    } cases[] = {{0, SoText2::LEFT}, {1, SoText2::RIGHT}, {2, SoText2::CENTER}, {7, SoText2::RIGHT}};
    for (const Case& c : cases) {
        text->Format().m_Justification = core::TextFormat::Justification(c.format);
        auto* label = First<SoText2>(*Run(text));
        ASSERT_TRUE(label);
        EXPECT_EQ(label->justification.getValue(), c.drawn) << c.format;
        ASSERT_EQ(label->string.getNum(), 2);
        EXPECT_EQ(std::string(label->string[1].getString()), "of Sand");
    }
    EXPECT_EQ(std::string(First<SoFont>(*text)->name.getValue().getString()), "DejaVu Sans");
    EXPECT_EQ(First<SoTranslation>(*text)->translation.getValue(), SbVec3f(0, 0, -50));
}

// Before 122 right and centre were the other way round; before 109 an
// annotation's place was in pixels of an 800 pixel view. Colours load opaque.
TEST_F(SceneModulesTest, TextStoredFormsThroughTheirVersions)
{
    core::VoAnnotation annotation;
    core::VoAnnotation::Block& block = annotation.GetBlock();
    block.text = "Section A-A'";
    block.format.m_Justification = core::TextFormat::Right;
    block.format.m_Color = Color4b(10, 20, 30, 40);
    block.x = 400.0f;
    block.y = 1600.0f;
    block.origin = core::VoAnnotation::LowerRight;
    const testsupport::StoredModule document(testsupport::Store(annotation), 1);
    core::VoAnnotation loaded;
    EXPECT_EQ(testsupport::Load(loaded, document.Document(108, document.body)), 0u);
    const core::VoAnnotation::Block& old = loaded.GetBlock();
    EXPECT_EQ(old.text, "Section A-A'");
    EXPECT_EQ(old.format.m_Justification, core::TextFormat::Center);
    EXPECT_EQ(old.format.m_Color, Color4b(10, 20, 30, 255));
    EXPECT_EQ(old.x, 0.5f);
    EXPECT_EQ(old.y, 1.0f);
    EXPECT_EQ(old.origin, core::VoAnnotation::LowerRight);
    // From 109 on such a place lies beyond the view: a damaged document.
    core::VoAnnotation target;
    EXPECT_THROW(testsupport::Load(target, document.Document(109, document.body)), shr::Exception);
    EXPECT_EQ(target.GetBlock().text, "");

    core::VoText text;
    text.Text("Well 7");
    text.Format().m_Justification = core::TextFormat::Center;
    text.Position(Vec3d(1, 2, 3));
    const testsupport::StoredModule textDocument(testsupport::Store(text), 1);
    for (int version : {121, 122}) {
        core::VoText loadedText;
        EXPECT_EQ(testsupport::Load(loadedText, textDocument.Document(version, textDocument.body)), 0u);
        EXPECT_EQ(loadedText.Format().m_Justification,
                  version < 122 ? core::TextFormat::Right : core::TextFormat::Center);
        EXPECT_EQ(loadedText.Position(), Vec3d(1, 2, 3));
        EXPECT_EQ(loadedText.Format().m_Height, 14.0);
    }
}

} // namespace
