#pragma once
// PixelOverlay: plain scene-graph nodes for what the scene draws by callback
// in viewport pixels (legends, annotations), so that a scene written to a
// file keeps it. An overlay is an annotation (drawn after the scene) with an
// orthographic camera of a view of width x height pixels, origin at the lower
// left, unlit and opaque; End keeps it out of the scene's bounding box, so
// that a viewer framing the scene does not take the pixels in.
#include "core/graphics/InvSmartPtr.h"
#include "shr/Box2f.h"
#include "shr/Color4b.h"
#include "shr/GString.h"

class SoBaseColor;
class SoFont;
class SoSeparator;

namespace core {

class PixelOverlay {
public:
    static InvSmartPtr<SoSeparator> Begin(double width, double height);
    static void End(SoSeparator& overlay);

    static SoBaseColor* Color(const shr::Color4b& color);
    // The outline (a closed line) or the filled rectangle of a pixel box.
    static SoSeparator* Box(const shr::Box2f& box, bool filled);
    // Text whose first line's baseline starts at (x, y), lines stacking
    // downward; `justification` as TextFormat's (0 left, 1 right, 2 centre).
    static SoSeparator* Text(const shr::GString& text, double x, double y, int justification);
    static SoFont* Font(const shr::GString& face, double pixels);
};

} // namespace core
