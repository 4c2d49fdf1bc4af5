// Scenes built through VgRenderer, drawn offscreen: colours at known pixels,
// nothing where nothing belongs, and geological coordinates landing where the
// scene offset puts them.
#include "FontTestSupport.h"

#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "shr/Mat4d.h"

#include <Inventor/nodes/SoOrthographicCamera.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using core::InvSmartPtr;
using core::SceneTransform;
using core::VgRenderer;
using core::VgVertexData;
using shr::Color4b;
using fonttest::Vertices;
using shr::Vec3d;

namespace {

const int kWidth = 200, kHeight = 100;
const Color4b kBlack = Color4b::Black;
const Color4b kRed(255, 0, 0), kGreen(0, 255, 0), kBlue(0, 0, 255), kYellow(255, 255, 0);

// An orthographic camera 4 units wide and 2 high over a 200 x 100 picture:
// scene (0, 0) is pixel (100, 50) and a unit is 50 pixels. Unlit, so colours
// arrive unchanged. `build` writes the scene through the renderer.
render::Image Draw(const SceneTransform& transform, const std::function<void(VgRenderer&)>& build)
{
    fonttest::EnsureFontClasses();
    InvSmartPtr<SoSeparator> root(new SoSeparator);
    {
        VgRenderer renderer(transform);
        renderer.PushNode(root);
        auto* camera = new SoOrthographicCamera;
        camera->position = SbVec3f(0, 0, 10);
        camera->height = 2.0f;
        camera->nearDistance = 1.0f;
        camera->farDistance = 20.0f;
        renderer.addInventorNode(camera);
        renderer.setLightModel(VgRenderer::BASE_COLOR);
        build(renderer);
    }
    render::SceneRenderer drawing(testsupport::PictureContext(), kWidth, kHeight, kBlack);
    return drawing.Render(root.get());
}

render::Image Draw(const std::function<void(VgRenderer&)>& build) { return Draw(SceneTransform(), build); }

// The pixel at scene coordinates (x, y), rows counted from the top.
Color4b At(const render::Image& image, double x, double y)
{
    return image.At(int(std::floor(100.0 + 50.0 * x)), int(std::floor(50.0 - 50.0 * y)));
}

// Two triangles coloured per face: left red, right green; the colour comes
// through the packed colour field and its binding.
TEST(VgRendererDraw, TrianglesColouredPerFace)
{
    const render::Image image = Draw(SceneTransform(0, 0, true), [](VgRenderer& r) {
        VgVertexData data = Vertices({{-1.8, -0.8, 0}, {-0.2, -0.8, 0}, {-1.0, 0.8, 0},
                                      {0.2, -0.8, 0}, {1.8, -0.8, 0}, {1.0, 0.8, 0}});
        data.colors = {kRed, kGreen};
        data.materialBinding = VgVertexData::PER_FACE;
        const int counts[] = {3, 3};
        r.drawFaceSet(data, counts, 2);
    });
    EXPECT_EQ(At(image, -1.0, -0.3), kRed);
    EXPECT_EQ(At(image, 1.0, -0.3), kGreen);
    EXPECT_EQ(At(image, 0.0, 0.0), kBlack);  // between the triangles
    EXPECT_EQ(At(image, -1.7, 0.7), kBlack); // beside the left apex
}

// Faces with an outline: per-face fill, then the same faces as lines.
TEST(VgRendererDraw, OutlinedFacesDrawFillAndEdges)
{
    const render::Image image = Draw(SceneTransform(0, 0, true), [](VgRenderer& r) {
        r.setLineWidth(3.0);
        VgVertexData data = Vertices({{-1, -0.8, 0}, {1, -0.8, 0}, {1, 0.8, 0}, {-1, 0.8, 0}});
        data.indices = {0, 1, 2, 3, -1};
        data.normals = {SbVec3f(0, 0, 1)};
        data.colors = {kBlue};
        r.drawIndexedFaceSet(data, kYellow);
    });
    EXPECT_EQ(At(image, 0.0, 0.0), kBlue);
    EXPECT_EQ(At(image, 0.0, -0.8), kYellow); // bottom edge
    EXPECT_EQ(At(image, -1.02, 0.0), kYellow); // left edge, outside the fill
    EXPECT_EQ(At(image, 1.5, 0.0), kBlack);
}

// Marker kinds: filled squares of 9 pixels, large points, and spheres that
// take their vertex colours.
TEST(VgRendererDraw, MarkersPointsAndSpheres)
{
    const render::Image i = Draw(SceneTransform(0, 0, true), [](VgRenderer& r) {
        r.setBaseColor(kGreen);
        r.drawMarkerSet(Vertices({{-1.5, 0.5, 0}}), VgRenderer::SQUARE_FILLED, 9.0);
        r.setBaseColor(kBlue);
        r.drawMarkerSet(Vertices({{-0.5, 0.5, 0}}), VgRenderer::POINT, 7.0);
        VgVertexData spheres = Vertices({{0.5, -0.5, 0}, {1.5, -0.5, 0}});
        spheres.colors = {kRed, kYellow};
        r.drawMarkerSet(spheres, VgRenderer::SPHERE, 0.2);
    });
    EXPECT_EQ(At(i, -1.5, 0.5), kGreen);
    EXPECT_EQ(At(i, -1.5 + 3.0 / 50.0, 0.5), kGreen); // 3 pixels off centre, inside the 9 pixel square
    EXPECT_EQ(At(i, -1.5 + 8.0 / 50.0, 0.5), kBlack);
    EXPECT_EQ(At(i, -0.5, 0.5), kBlue);
    EXPECT_EQ(At(i, -0.5 + 2.0 / 50.0, 0.5), kBlue); // a point of 7 pixels
    EXPECT_EQ(At(i, -0.5 + 6.0 / 50.0, 0.5), kBlack);
    EXPECT_EQ(At(i, 0.5, -0.5), kRed);
    EXPECT_EQ(At(i, 1.5, -0.5), kYellow);
    EXPECT_EQ(At(i, 1.0, -0.5), kBlack);
}

// A single point at geological coordinates fixes the offset: it lands at the
// origin. Later data of the pass is moved by the same offset.
TEST(VgRendererDraw, GeologicalCoordinatesLandWhereTheOffsetPutsThem)
{
    const Vec3d well(512345.5, 7012345.25, 120.0);
    SceneTransform kept;
    const render::Image first = Draw([&](VgRenderer& r) {
        r.setPointSize(5.0);
        r.setBaseColor(kRed);
        VgVertexData data = Vertices({well});
        data.vertices[0].z = 0.0;
        r.drawPointSet(data);
        kept = r.Transform();
    });
    EXPECT_EQ(kept.XTransform(), -well.x);
    EXPECT_EQ(kept.YTransform(), -well.y);
    EXPECT_EQ(At(first, 0.0, 0.0), kRed);

    // The next pass keeps the offset: 1.25 km east and 500 m north of the
    // well, scaled to hundreds of metres per unit, lands at (1.25, 0.5).
    const render::Image second = Draw(kept, [&](VgRenderer& r) {
        shr::Mat4d scale;
        scale.m[0][0] = scale.m[1][1] = scale.m[2][2] = 0.001;
        scale.Reclassify();
        r.setPointSize(5.0);
        r.setBaseColor(kGreen);
        r.multTransform(scale);
        r.drawPointSet(Vertices({{well.x + 1250.0, well.y + 500.0, 0.0}}));
    });
    EXPECT_EQ(At(second, 1.25, 0.5), kGreen);
    EXPECT_EQ(At(second, 0.0, 0.0), kBlack);
}

} // namespace
