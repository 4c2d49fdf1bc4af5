// The scene-graph nodes the renderer writes: types, fields, bindings, order,
// and the scene offset.
#include "FontTestSupport.h"

#include "core/graphics/VgMaterial.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "shr/Box3d.h"
#include "shr/Mat4d.h"
#include "shr/Plane.h"

#include <Inventor/nodes/SoLineSet.h>
#include <Inventor/nodes/SoMarkerSet.h>
#include <Inventor/nodes/SoText2.h>
#include <Inventor/nodes/SoTexture2.h>
#include <Inventor/nodes/SoTextureCoordinateBinding.h>
#include <Inventor/nodes/SoTransformSeparator.h>
#include <Inventor/nodes/SoTranslation.h>
#include <Inventor/nodes/SoVertexProperty.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

using core::InvSmartPtr;
using core::SceneTransform;
using core::VgRenderer;
using core::VgVertexData;
using shr::Color4b;
using fonttest::Vertices;
using shr::Vec3d;

namespace {

// A renderer writing into a fresh group.
struct Fixture {
    explicit Fixture(const SceneTransform& transform = SceneTransform()) : renderer(transform)
    {
        fonttest::EnsureFontClasses();
        root = new SoSeparator;
        renderer.PushNode(root);
    }
    SoNode* Child(int i) const { return root->getChild(i); }
    template <class T>
    T* As(int i) const
    {
        SoNode* node = Child(i);
        EXPECT_TRUE(node->isOfType(T::getClassTypeId())) << node->getTypeId().getName().getString();
        return static_cast<T*>(node);
    }
    InvSmartPtr<SoSeparator> root;
    VgRenderer renderer;
};

// Setters add one node each, with only the fields they name in use: each
// named field in its text form (0.7 is 0.69999999 in single precision), then
// fields left ignored.
TEST(VgRendererNodes, EachSetterAddsOneNodeWithItsFields)
{
    struct Case {
        const char* name;
        std::function<void(VgRenderer&)> call;
        std::vector<std::pair<const char*, const char*>> used;
        std::vector<const char*> ignored;
    };
    const auto material = [](VgRenderer& r) {
        core::VgMaterial m;
        m.diffuse = Color4b(255, 0, 51);
        m.transparency = 0.25f;
        r.setMaterial(m);
    };
    const Case cases[] = {
        {"point size", [](VgRenderer& r) { r.setPointSize(4.0); }, {{"pointSize", "4"}},
         {"style", "lineWidth", "linePattern"}},
        {"draw style", [](VgRenderer& r) { r.setDrawStyle(VgRenderer::LINES); }, {{"style", "LINES"}},
         {"pointSize", "lineWidth"}},
        {"base colour drops alpha", [](VgRenderer& r) { r.setBaseColor(Color4b(255, 51, 0, 7)); },
         {{"rgb", "1 0.2 0"}}, {}},
        {"crease angle", [](VgRenderer& r) { r.setCreaseAngle(0.5); }, {{"creaseAngle", "0.5"}},
         {"vertexOrdering", "shapeType", "faceType"}},
        {"shape hints", [](VgRenderer& r) { r.setShapeHints(VgRenderer::SOLID, VgRenderer::CONVEX); },
         {{"shapeType", "SOLID"}, {"faceType", "CONVEX"}}, {"vertexOrdering", "creaseAngle"}},
        {"material scales by intensity", material,
         {{"diffuseColor", "0.69999999 0 0.14"}, {"ambientColor", "0.2 0.2 0.2"}, {"emissiveColor", "0 0 0"},
          {"transparency", "0.25"}},
         {}},
        {"transparency only", [](VgRenderer& r) { r.setTransparency(0.5); }, {{"transparency", "0.5"}},
         {"diffuseColor", "ambientColor", "shininess"}},
        {"clip plane", [](VgRenderer& r) { r.setClipPlane(shr::Plane(Vec3d(0, 0, 2), 3.0)); },
         {{"plane", "0 0 1  3"}}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Fixture f;
        c.call(f.renderer);
        ASSERT_EQ(f.root->getNumChildren(), 1);
        for (const auto& [name, text] : c.used) {
            SbString value;
            f.Child(0)->getField(name)->get(value);
            EXPECT_STREQ(value.getString(), text) << name;
            EXPECT_FALSE(f.Child(0)->getField(name)->isIgnored()) << name;
        }
        for (const char* name : c.ignored)
            EXPECT_TRUE(f.Child(0)->getField(name)->isIgnored()) << name;
    }
}

// Repeat and clamp go to both directions; anything else only to S, as
// clamp-to-edge, with T left at the node's default.
TEST(VgRendererNodes, TextureWrapIsUnevenForClampToEdge)
{
    const Color4b pixels[2] = {Color4b::Red, Color4b::Blue};
    struct Case {
        VgRenderer::TexWrap wrap;
        int s, t;
    } cases[] = {{VgRenderer::TEX_REPEAT, 10497, 10497},
                 {VgRenderer::TEX_CLAMP, 10496, 10496},
                 {VgRenderer::TexWrap(12345), 33071, SoTexture2::REPEAT}};
    for (const Case& c : cases) {
        Fixture f;
        f.renderer.setTexture(2, 1, pixels, VgRenderer::DECAL, c.wrap);
        auto* texture = f.As<SoTexture2>(0);
        EXPECT_EQ(texture->wrapS.getValue(), c.s);
        EXPECT_EQ(texture->wrapT.getValue(), c.t);
        EXPECT_EQ(texture->model.getValue(), int(SoTexture2::DECAL));
        SbVec2s size;
        int components = 0;
        const unsigned char* bytes = texture->image.getValue(size, components);
        EXPECT_EQ(size, SbVec2s(2, 1));
        EXPECT_EQ(components, 4);
        EXPECT_EQ(bytes[4 + 2], 255); // blue of the second pixel
    }
    Fixture f;
    EXPECT_THROW(f.renderer.setTexture(0, 1, pixels, VgRenderer::DECAL, VgRenderer::TEX_REPEAT), shr::Exception);
}

// Shapes and their minimum inputs; below it nothing is added and the offset
// stays unset.
TEST(VgRendererNodes, ShapesAreSilentBelowTheirMinimum)
{
    struct Case {
        const char* name;
        size_t vertices, indices;
        std::function<void(VgRenderer&, const VgVertexData&)> draw;
        int children; // with enough input
    };
    static const int counts[] = {3};
    const Case cases[] = {
        {"points", 1, 0, [](VgRenderer& r, const VgVertexData& d) { r.drawPointSet(d); }, 1},
        {"line set", 2, 0, [](VgRenderer& r, const VgVertexData& d) { r.drawLineSet(d); }, 1},
        {"strip", 2, 0, [](VgRenderer& r, const VgVertexData& d) { r.drawLineStrip(d); }, 1},
        {"indexed lines", 2, 2, [](VgRenderer& r, const VgVertexData& d) { r.drawIndexedLineSet(d); }, 1},
        {"tri strips", 2, 3, [](VgRenderer& r, const VgVertexData& d) { r.drawIndexedTriangleStripSet(d); }, 1},
        {"faces", 3, 0, [](VgRenderer& r, const VgVertexData& d) { r.drawFaceSet(d, counts, 1); }, 1},
        {"indexed faces", 3, 3, [](VgRenderer& r, const VgVertexData& d) { r.drawIndexedFaceSet(d); }, 1},
        {"outlined faces", 3, 3,
         [](VgRenderer& r, const VgVertexData& d) { r.drawIndexedFaceSet(d, Color4b::White); }, 10},
        {"markers", 1, 0, [](VgRenderer& r, const VgVertexData& d) { r.drawMarkerSet(d, VgRenderer::STAR, 5); }, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (bool enough : {false, true}) {
            VgVertexData data;
            const size_t vertexCount = enough ? c.vertices : c.vertices - 1;
            for (size_t i = 0; i < vertexCount; ++i)
                data.vertices.push_back(Vec3d(double(i), double(i % 2), 0.0));
            for (size_t i = 0; i < (enough ? c.indices : 0); ++i)
                data.indices.push_back(int(i % vertexCount));
            Fixture f;
            c.draw(f.renderer, data);
            EXPECT_EQ(f.root->getNumChildren(), enough ? c.children : 0);
            EXPECT_EQ(f.renderer.Transform().Valid(), enough);
        }
    }
}

// Bindings and colour packing of the vertex property; texture coordinates
// add their binding node in front of the shape.
TEST(VgRendererNodes, VertexPropertyCarriesBindingsAndPackedColours)
{
    Fixture f(SceneTransform(-100.0, -200.0, true));
    VgVertexData data = Vertices({{100.5, 200.25, 3.0}, {101.0, 201.0, 4.0}});
    data.normals = {SbVec3f(0, 0, 1), SbVec3f(0, 1, 0)};
    data.normalBinding = VgVertexData::PER_VERTEX;
    data.colors = {Color4b(0x12, 0x34, 0x56, 0x78)};
    data.materialBinding = VgVertexData::OVERALL;
    data.texCoords = {SbVec2f(0, 0), SbVec2f(1, 1)};
    data.textureBinding = VgVertexData::PER_VERTEX;
    f.renderer.drawLineStrip(data);
    ASSERT_EQ(f.root->getNumChildren(), 2);
    EXPECT_EQ(f.As<SoTextureCoordinateBinding>(0)->value.getValue(), 2);
    auto* vp = static_cast<SoVertexProperty*>(f.As<SoLineSet>(1)->vertexProperty.getValue());
    ASSERT_NE(vp, nullptr);
    EXPECT_EQ(vp->normalBinding.getValue(), int(SoVertexProperty::PER_VERTEX));
    EXPECT_EQ(vp->normal.getNum(), 2);
    EXPECT_EQ(vp->materialBinding.getValue(), int(SoVertexProperty::OVERALL));
    ASSERT_EQ(vp->orderedRGBA.getNum(), 1);
    EXPECT_EQ(vp->orderedRGBA[0], 0x12345678u);
    EXPECT_EQ(vp->texCoord.getNum(), 2);
    EXPECT_EQ(f.As<SoLineSet>(1)->numVertices[0], 2);
}

// Size 7 and 9 select the larger marker sets by exact comparison only.
TEST(VgRendererNodes, MarkerSizeSelectsTheMarkerSet)
{
    struct Case {
        double size;
        int index;
    } cases[] = {{5.0, SoMarkerSet::STAR_5_5},
                 {7.0, SoMarkerSet::STAR_7_7},
                 {2.1 / 0.3, SoMarkerSet::STAR_5_5}, // 7.000000000000001
                 {0.7 * 10.0, SoMarkerSet::STAR_7_7},
                 {9.0, SoMarkerSet::STAR_9_9},
                 {8.0, SoMarkerSet::STAR_5_5}};
    for (const Case& c : cases) {
        Fixture f;
        f.renderer.drawMarkerSet(Vertices({{1, 2, 3}}), VgRenderer::STAR, c.size);
        EXPECT_EQ(f.As<SoMarkerSet>(0)->markerIndex[0], c.index) << c.size;
    }
}

TEST(VgRendererNodes, BadIndicesAndCountsThrowInsteadOfDrawing)
{
    static const int tooMany[] = {4};
    struct Case {
        const char* name;
        std::function<void(VgRenderer&)> draw;
    } cases[] = {
        {"index past the end",
         [](VgRenderer& r) {
             VgVertexData d = Vertices({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
             d.indices = {0, 1, 3};
             r.drawIndexedFaceSet(d);
         }},
        {"counts past the end",
         [](VgRenderer& r) { r.drawFaceSet(Vertices({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), tooMany, 1); }},
        {"quad mesh larger than the vertices",
         [](VgRenderer& r) { r.drawQuadMesh(Vertices({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), 2, 2); }},
    };
    for (const auto& c : cases) {
        Fixture f;
        EXPECT_THROW(c.draw(f.renderer), shr::Exception) << c.name;
        EXPECT_EQ(f.root->getNumChildren(), 0) << c.name;
    }
    core::VgRenderer orphan{SceneTransform()};
    EXPECT_THROW(orphan.setLineWidth(2.0), shr::Exception);
}

// ---- text ------------------------------------------------------------------

TEST(VgRendererText, Text2PutsOneLinePerValueAtTheOffsetPosition)
{
    Fixture f;
    f.renderer.drawText2(Vec3d(500010.0, 6000020.0, 5.0), "first\nsecond\r\nthird", VgRenderer::CENTER, true);
    f.renderer.drawText2(Vec3d(1, 2, 3), "", VgRenderer::LEFT, false);
    f.renderer.drawText2(Vec3d(1, 2, 3), nullptr, VgRenderer::LEFT, false);
    ASSERT_EQ(f.root->getNumChildren(), 1);
    // The first text fixes the offset at its position.
    EXPECT_EQ(f.renderer.Transform().XTransform(), -500010.0);
    EXPECT_EQ(f.renderer.Transform().YTransform(), -6000020.0);
    auto* group = f.As<SoTransformSeparator>(0);
    ASSERT_EQ(group->getNumChildren(), 2);
    EXPECT_EQ(static_cast<SoTranslation*>(group->getChild(0))->translation.getValue(), SbVec3f(0, 0, 5));
    auto* text = static_cast<SoText2*>(group->getChild(1));
    ASSERT_EQ(text->string.getNum(), 3);
    EXPECT_STREQ(text->string[1].getString(), "second");
    EXPECT_STREQ(text->string[2].getString(), "third");
    EXPECT_EQ(text->justification.getValue(), int(SoText2::CENTER));
}

TEST(VgRendererText, TzTextAndItsBoundsFollowTheCurrentFont)
{
    Fixture f;
    EXPECT_TRUE(f.renderer.getTzTextBounds("Tx").IsEmpty());
    f.renderer.setTzFont("Arial", 0.5, core::InvFont::Bold);
    f.renderer.drawTzText("Tx");
    f.renderer.drawTzText("");
    ASSERT_EQ(f.root->getNumChildren(), 2);
    auto* font = f.As<core::InvFont>(0);
    EXPECT_EQ(font->size.getValue(), 0.5f);
    EXPECT_EQ(font->flags.getValue(), unsigned(core::InvFont::Bold));
    EXPECT_EQ(f.As<core::InvText3>(1)->Text(), "Tx");
    const shr::Box2f bounds = f.renderer.getTzTextBounds("Tx");
    const shr::Box2f expected = font->GetFont()->Bounds("Tx");
    EXPECT_FALSE(bounds.IsEmpty());
    EXPECT_EQ(bounds.min.x, expected.min.x);
    EXPECT_EQ(bounds.max.x, expected.max.x);
    EXPECT_TRUE(f.renderer.getTzTextBounds("").IsEmpty());
    // A size no face can take fails in the pass and adds nothing.
    EXPECT_THROW(f.renderer.setTzFont("Arial", -1.0, 0), shr::Exception);
    EXPECT_EQ(f.root->getNumChildren(), 2);
}

// ---- the scene offset ----------------------------------------------------------

// With at most five positions all are sampled: the offset is minus their mean.
// With more, it is minus the mean of five of them, whichever five rand picks.
TEST(SceneTransformTest, SamplingTakesTheMeanOfAtMostFivePositions)
{
    const Vec3d few[] = {{100, 10, 1}, {200, 20, 2}, {300, 60, 3}};
    const SceneTransform t = VgRenderer::SampleTransform(few, 3);
    EXPECT_EQ(t.XTransform(), -200.0);
    EXPECT_EQ(t.YTransform(), -30.0);

    EXPECT_EQ(VgRenderer::SampleTransform(nullptr, 0).XTransform(), 0.0);

    // Ten positions 0..9 along X: the mean of any five distinct ones lies in 2..7.
    std::vector<Vec3d> many;
    for (int i = 0; i < 10; ++i)
        many.push_back(Vec3d(i, 3.0, 0));
    for (int run = 0; run < 20; ++run) {
        const SceneTransform m = VgRenderer::SampleTransform(many.data(), many.size());
        EXPECT_GE(-m.XTransform(), 2.0);
        EXPECT_LE(-m.XTransform(), 7.0);
        EXPECT_EQ(m.YTransform(), -3.0);
    }
}

TEST(SceneTransformTest, OnlyTheFirstUpdateSetsTheOffset)
{
    struct Case {
        const char* name;
        std::function<void(VgRenderer&)> update;
        double x, y;
    };
    const Case cases[] = {
        {"one position", [](VgRenderer& r) { r.UpdateTransform(Vec3d(400000.5, 6500000.25, 9)); }, -400000.5,
         -6500000.25},
        {"box centre", [](VgRenderer& r) { r.UpdateTransform(shr::Box3d(0, 10, 0, 4, 30, 1), shr::Mat4d()); }, -2.0,
         -20.0},
        {"empty box gives zero", [](VgRenderer& r) { r.UpdateTransform(shr::Box3d(5, 0, 0, 1, 1, 1), shr::Mat4d()); },
         0.0, 0.0},
        {"node bounds",
         [](VgRenderer& r) { r.UpdateTransform(InvSmartPtr<SoNode>(fonttest::CubeAt({10, -4, 0}))); }, -10.0, 4.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VgRenderer renderer{SceneTransform()};
        c.update(renderer);
        EXPECT_TRUE(renderer.Transform().Valid());
        EXPECT_EQ(renderer.Transform().XTransform(), c.x);
        EXPECT_EQ(renderer.Transform().YTransform(), c.y);
        // A later update or draw does not move the origin.
        renderer.UpdateTransform(Vec3d(1, 1, 1));
        EXPECT_EQ(renderer.Transform().XTransform(), c.x);
    }
}

TEST(SceneTransformTest, CollectingNeedsAValidTransform)
{
    Fixture f;
    SoMFVec3f field;
    const Vec3d v(1, 2, 3);
    EXPECT_EQ(testsupport::RaisedBy([&] { f.renderer.CollectVertices(field, &v, 1); }).message,
              "Transform must be updated prior to collecting vertices.");
    // Narrowing adds the offset in double first: 1e7 + 0.25 would not survive float.
    f.renderer.Transform(SceneTransform(-10000000.0, -20000000.0, true));
    const Vec3d far[] = {{10000000.25, 20000000.5, 1e7}, {10000001.0, 20000000.0, -1.0}};
    field.setValue(SbVec3f(9, 9, 9));
    f.renderer.CollectVertices(field, far, 2);
    ASSERT_EQ(field.getNum(), 2);
    EXPECT_EQ(field[0], SbVec3f(0.25f, 0.5f, 1e7f));
    EXPECT_EQ(field[1], SbVec3f(1.0f, 0.0f, -1.0f));
}

} // namespace
