#pragma once
// Shared pieces of the render tests: one context for the whole test program,
// small scenes and pixel predicates.
#include "core/graphics/InvSmartPtr.h"
#include "render/CoinInit.h"
#include "render/Image.h"
#include "render/OffscreenContext.h"
#include "shr/Exception.h"

#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoCube.h>
#include <Inventor/nodes/SoLightModel.h>
#include <Inventor/nodes/SoMaterial.h>
#include <Inventor/nodes/SoPerspectiveCamera.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoSphere.h>
#include <Inventor/nodes/SoTranslation.h>

#include <functional>
#include <string>

namespace render_test {

inline render::OffscreenContext& Context()
{
    static render::OffscreenContext context;
    render::EnsureCoinInit();
    return context;
}

const shr::Color4b kRed(255, 0, 0);
const shr::Color4b kBlue(0, 0, 255);

// Unlit (base colour) shapes keep their exact colour in the picture.
inline SoSeparator* UnlitShape(SoNode* shape, const SbColor& color, const SbVec3f& at = SbVec3f(0, 0, 0))
{
    auto* group = new SoSeparator;
    auto* model = new SoLightModel;
    model->model = SoLightModel::BASE_COLOR;
    auto* base = new SoBaseColor;
    base->rgb = color;
    auto* move = new SoTranslation;
    move->translation = at;
    group->addChild(model);
    group->addChild(base);
    group->addChild(move);
    group->addChild(shape);
    return group;
}

// A 2-unit red cube at the origin seen from `distance` along +Z.
inline SoSeparator* RedCubeWithCamera(float distance)
{
    auto* root = new SoSeparator;
    auto* camera = new SoPerspectiveCamera;
    camera->position = SbVec3f(0, 0, distance);
    camera->nearDistance = 0.1f;
    camera->farDistance = 2.0f * distance;
    root->addChild(camera);
    root->addChild(UnlitShape(new SoCube, SbColor(1, 0, 0)));
    return root;
}

// A white diffuse sphere with no light of its own.
inline SoSeparator* WhiteSphere()
{
    auto* root = new SoSeparator;
    auto* material = new SoMaterial;
    material->diffuseColor = SbColor(1, 1, 1);
    material->ambientColor = SbColor(0, 0, 0);
    root->addChild(material);
    root->addChild(new SoSphere);
    return root;
}

inline int Brightness(const shr::Color4b& c)
{
    return c.r + c.g + c.b;
}

// Whether every pixel on the image's outermost rows and columns is `color`.
inline bool BordersAre(const render::Image& image, const shr::Color4b& color)
{
    for (int x = 0; x < image.Width(); ++x)
        if (image.At(x, 0) != color || image.At(x, image.Height() - 1) != color)
            return false;
    for (int y = 0; y < image.Height(); ++y)
        if (image.At(0, y) != color || image.At(image.Width() - 1, y) != color)
            return false;
    return true;
}

inline int CountPixels(const render::Image& image, const shr::Color4b& color)
{
    int count = 0;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            count += image.At(x, y) == color;
    return count;
}

// Runs `action` and returns the message of the shr::Exception it throws
// (empty when it throws none).
inline std::string ErrorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return e.what();
    }
    return std::string();
}

// Holds a scene for one test.
using SceneRef = core::InvSmartPtr<SoNode>;

} // namespace render_test
