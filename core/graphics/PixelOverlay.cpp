#include "core/graphics/PixelOverlay.h"

#include <Inventor/nodes/SoAnnotation.h>
#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoFaceSet.h>
#include <Inventor/nodes/SoFont.h>
#include <Inventor/nodes/SoLightModel.h>
#include <Inventor/nodes/SoLineSet.h>
#include <Inventor/nodes/SoMaterial.h>
#include <Inventor/nodes/SoOrthographicCamera.h>
#include <Inventor/nodes/SoResetTransform.h>
#include <Inventor/nodes/SoText2.h>
#include <Inventor/nodes/SoTranslation.h>

namespace core {

InvSmartPtr<SoSeparator> PixelOverlay::Begin(double width, double height)
{
    InvSmartPtr<SoSeparator> overlay(new SoAnnotation);
    auto* camera = new SoOrthographicCamera;
    camera->viewportMapping = SoCamera::LEAVE_ALONE;
    camera->position.setValue(float(width / 2), float(height / 2), 1.0f);
    camera->height = float(height);
    camera->aspectRatio = float(width / height);
    camera->nearDistance = 0.5f;
    camera->farDistance = 1.5f;
    overlay->addChild(camera);
    auto* light = new SoLightModel;
    light->model = SoLightModel::BASE_COLOR;
    overlay->addChild(light);
    // Opaque, whatever the geometry before it in the scene set.
    auto* opaque = new SoMaterial;
    opaque->transparency = 0.0f;
    overlay->addChild(opaque);
    return overlay;
}

void PixelOverlay::End(SoSeparator& overlay)
{
    auto* outOfBox = new SoResetTransform;
    outOfBox->whatToReset = SoResetTransform::BBOX;
    overlay.addChild(outOfBox);
}

SoBaseColor* PixelOverlay::Color(const shr::Color4b& color)
{
    auto* node = new SoBaseColor;
    node->rgb.setValue(color.r / 255.0f, color.g / 255.0f, color.b / 255.0f);
    return node;
}

SoSeparator* PixelOverlay::Box(const shr::Box2f& box, bool filled)
{
    auto* group = new SoSeparator;
    auto* coords = new SoCoordinate3;
    const SbVec3f corners[5] = {{box.min.x, box.min.y, 0.0f}, {box.max.x, box.min.y, 0.0f},
                                {box.max.x, box.max.y, 0.0f}, {box.min.x, box.max.y, 0.0f},
                                {box.min.x, box.min.y, 0.0f}};
    coords->point.setValues(0, filled ? 4 : 5, corners);
    group->addChild(coords);
    if (filled) {
        auto* face = new SoFaceSet;
        face->numVertices.setValue(4);
        group->addChild(face);
    } else {
        auto* line = new SoLineSet;
        line->numVertices.setValue(5);
        group->addChild(line);
    }
    return group;
}

SoSeparator* PixelOverlay::Text(const shr::GString& text, double x, double y, int justification)
{
    auto* group = new SoSeparator;
    auto* place = new SoTranslation;
    place->translation.setValue(float(x), float(y), 0.0f);
    auto* node = new SoText2;
    int line = 0;
    for (size_t start = 0; start <= text.size(); ++line) {
        const size_t end = std::min(text.find('\n', start), text.size());
        node->string.set1Value(line, text.substr(start, end - start).c_str());
        start = end + 1;
    }
    node->justification = justification == 1 ? SoText2::RIGHT : justification == 2 ? SoText2::CENTER : SoText2::LEFT;
    group->addChild(place);
    group->addChild(node);
    return group;
}

SoFont* PixelOverlay::Font(const shr::GString& face, double pixels)
{
    auto* font = new SoFont;
    font->name.setValue(face.c_str());
    font->size = float(pixels);
    return font;
}

} // namespace core
