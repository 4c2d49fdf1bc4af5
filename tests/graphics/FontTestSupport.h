#pragma once
// Shared pieces of the font tests: the scene-graph and font classes set up
// once, and pixel-space drawing of a GLFont.
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/GLFont.h"
#include "core/graphics/InvFont.h"
#include "core/graphics/InvText3.h"
#include "tests/support/PictureSupport.h"
#include "tests/support/TestSupport.h"

namespace fonttest {

inline void EnsureFontClasses()
{
    render::EnsureCoinInit();
    core::InvFont::initClass();
    core::InvText3::initClass();
}

inline render::OffscreenContext& Context()
{
    EnsureFontClasses();
    return testsupport::PictureContext();
}

using testsupport::Ink;
using testsupport::InkOf;
using testsupport::DrawInPixelSpace;
using testsupport::SceneRef;

// `text` drawn with `font` at pixel (x, y).
inline render::Image DrawInPixels(core::GLFont& font, const char* text, double x, double y, int width = 200,
                                  int height = 60)
{
    EnsureFontClasses();
    return testsupport::DrawInPixelSpace([&] { font.Draw(text, x, y); }, width, height);
}

using Error = testsupport::Raised;
inline constexpr auto& ErrorOf = testsupport::RaisedBy;

} // namespace fonttest
