#include "core/visual/VoAnnotation.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/GLFontManager.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/PixelOverlay.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/OverlayGLState.h"
#include "core/visual/RowReader.h"
#include "core/visual/TextRows.h"
#include "shr/Archive.h"
#include "shr/Logger.h"

#include <GL/gl.h>
#include <Inventor/SoPath.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/actions/SoGetPrimitiveCountAction.h>
#include <Inventor/elements/SoCacheElement.h>
#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoFont.h>
#include <Inventor/nodes/SoSeparator.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoAnnotation, VoModule)
const VbModuleInfo VoAnnotation::s_ModuleInfo("Graphics Output\\Annotation", VoAnnotation::GetClassTypeId(), 0,
                                              PortGeometry, "Displays a 2D screen-aligned block of text", 16);

namespace VoAnnotationPrivate {

const char* const kPrefix = "Annotation";
const TextRows::KeyRegistrar s_TextKeys(kPrefix);
const VbPropertyRegistrar s_Registrars[] = {
    {"AnnotationOrigin", VoAnnotation::IdOrigin, VbUnsignedPropertyConverter::Key()},
    {"AnnotationXPos", VoAnnotation::IdXPos, VbDoublePropertyConverter::Key()},
    {"AnnotationYPos", VoAnnotation::IdYPos, VbDoublePropertyConverter::Key()},
    {"AnnotationAntialias", VoAnnotation::IdAntialias, VbBoolPropertyConverter::Key()},
};

const char* const kOriginNames[] = {"Upper left", "Upper right", "Lower left", "Lower right"};
const char kDefaultFace[] = "Arial";

// Before this version x and y were pixels of an 800 pixel view.
constexpr int kFractionVersion = 109;
constexpr double kOldViewPixels = 800.0;

// The node in the scene, with the copy of the block it draws.
class AnnotationNode : public SoCallback {
public:
    explicit AnnotationNode(const VoAnnotation::Block& drawn) : block(drawn)
    {
        setCallback(&VoAnnotation::Callback, &block);
    }

    VoAnnotation::Block block; // read only by the callback

protected:
    ~AnnotationNode() override = default;
};

bool LeftOrigin(uint32_t origin) { return origin == VoAnnotation::UpperLeft || origin == VoAnnotation::LowerLeft; }
bool UpperOrigin(uint32_t origin) { return origin == VoAnnotation::UpperLeft || origin == VoAnnotation::UpperRight; }

} // namespace VoAnnotationPrivate

using namespace VoAnnotationPrivate;

VoAnnotation::VoAnnotation()
{
    m_Block.format = TextRows::DefaultFormat();
    auto* geometry = new VdGeometry(this, false);
    geometry->Clippable(false);
    AddOutput("Output Geometry", PortGeometry)->Data(geometry);
}

VoAnnotation::~VoAnnotation() = default;

VoModule::ModuleStatus VoAnnotation::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    if (!m_Block.text.empty())
        renderer->addInventorNode(InvSmartPtr<AnnotationNode>(new AnnotationNode(m_Block)).get());
    return ModuleOk;
}

// ---- drawing ---------------------------------------------------------------------------------

void VoAnnotation::Callback(void* data, SoAction* action)
{
    if (!data || !action)
        return;
    const Block& block = *static_cast<const Block*>(data);
    if (action->isOfType(SoGetBoundingBoxAction::getClassTypeId())) {
        // Nothing to add: the text has no place in the scene's space.
        SoCacheElement::invalidate(action->getState());
    } else if (action->isOfType(SoGLRenderAction::getClassTypeId())) {
        Render(block, static_cast<SoGLRenderAction*>(action));
    } else if (action->isOfType(SoGetPrimitiveCountAction::getClassTypeId())) {
        static_cast<SoGetPrimitiveCountAction*>(action)->addNumText(1);
    }
}

void VoAnnotation::Render(const Block& block, SoGLRenderAction* action)
{
    // The placement follows the viewport, which no cache would notice.
    SoCacheElement::invalidate(action->getState());
    if (!action->isRenderingDelayedPaths()) {
        action->addDelayedPath(action->getCurPath()->copy());
        return;
    }
    const SbVec2s size = action->getViewportRegion().getViewportSizePixels();
    OverlayGLState state(size[0], size[1], 0.0);
    // Nothing may leave a traversal of the scene graph: a text that cannot be
    // drawn is missing from the picture and told in the log.
    try {
        RenderText(block, action, size[0], size[1]);
    } catch (const shr::Exception& e) {
        shr::g_Logger.SendVA(1, "Annotation: %s", e.Message().c_str());
    }
}

std::shared_ptr<GLFont> VoAnnotation::FontOf(const Block& block, double pixelsPerInch)
{
    const double pixels = std::clamp(std::round(block.format.m_Height * pixelsPerInch / 72.0), 1.0,
                                     GLFont::kMaxPixelSize);
    const GLFont::Form form = block.antialias ? GLFont::Texture : GLFont::Bitmap;
    for (const shr::GString& face : {block.format.m_Face, shr::GString(kDefaultFace)}) {
        try {
            return GLFontManager::Instance().GetFont(face, pixels, form);
        } catch (const shr::Exception& e) {
            shr::g_Logger.SendVA(1, "Annotation: %s", e.Message().c_str());
        }
    }
    return nullptr;
}

shr::Vec2d VoAnnotation::Anchor(const Block& block, const GLFont& font, double width, double height)
{
    const shr::Box2f box = font.Bounds(block.text.c_str(), TextFormat::Left);
    const double blockWidth = box.IsEmpty() ? 0.0 : double(box.max.x) - box.min.x;
    const double blockHeight = box.IsEmpty() ? 0.0 : double(box.max.y) - box.min.y;
    const double dx = double(block.x) * width, dy = double(block.y) * height;
    const double left = LeftOrigin(block.origin) ? dx : width - dx - blockWidth;
    const double top = UpperOrigin(block.origin) ? height - dy : dy + blockHeight;
    // Left lines start at the block's left edge, right ones end at its right
    // edge, centred ones sit on its middle.
    double x = left - (box.IsEmpty() ? 0.0 : box.min.x);
    if (block.format.m_Justification == TextFormat::Right)
        x += blockWidth;
    else if (block.format.m_Justification == TextFormat::Center)
        x += 0.5 * blockWidth;
    return shr::Vec2d(x, top - (box.IsEmpty() ? 0.0 : box.max.y));
}

const VoAnnotation::Block* VoAnnotation::DrawnBy(const SoNode* node)
{
    const auto* annotation = dynamic_cast<const AnnotationNode*>(node);
    return annotation ? &annotation->block : nullptr;
}

InvSmartPtr<SoSeparator> VoAnnotation::SceneGraph(const Block& block, double width, double height,
                                                  double pixelsPerInch)
{
    const std::shared_ptr<GLFont> font = FontOf(block, pixelsPerInch);
    if (!font)
        return InvSmartPtr<SoSeparator>();
    const shr::Vec2d anchor = Anchor(block, *font, width, height);
    InvSmartPtr<SoSeparator> overlay = PixelOverlay::Begin(width, height);
    overlay->addChild(PixelOverlay::Color(block.format.m_Color));
    overlay->addChild(PixelOverlay::Font(block.format.m_Face, block.format.m_Height * pixelsPerInch / 72.0));
    overlay->addChild(PixelOverlay::Text(block.text, anchor.x, anchor.y, block.format.m_Justification));
    PixelOverlay::End(*overlay);
    return overlay;
}

void VoAnnotation::RenderText(const Block& block, SoGLRenderAction* action, double width, double height)
{
    const std::shared_ptr<GLFont> font = FontOf(block, action->getViewportRegion().getPixelsPerInch());
    if (!font)
        return;
    const shr::Vec2d anchor = Anchor(block, *font, width, height);
    glColor4ub(block.format.m_Color.r, block.format.m_Color.g, block.format.m_Color.b, 255);
    font->DrawLines(block.text.c_str(), anchor.x, anchor.y, block.format.m_Justification);
}

// ---- properties ------------------------------------------------------------------------------

void VoAnnotation::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    TextRows::AddTextRow(Id(), kPrefix, list, m_Block.text);
    list.AddHeader(Id(), IdPlacement, "Placement", "General", "", "Where the text stands in the view.");
    list.Indent();
    list.AddCombo(Id(), "AnnotationOrigin", IdOrigin, "Origin", "The corner of the view that the position counts from.",
                  m_Block.origin, std::size(kOriginNames), const_cast<const char**>(kOriginNames), 0);
    list.AddDouble(Id(), "AnnotationXPos", IdXPos, "X position",
                   "The distance of the text from the origin's side, as a fraction of the view's width.", m_Block.x,
                   ValCheckMinMax, 0.0, 1.0, 0.01);
    list.AddDouble(Id(), "AnnotationYPos", IdYPos, "Y position",
                   "The distance of the text from the origin's side, as a fraction of the view's height.", m_Block.y,
                   ValCheckMinMax, 0.0, 1.0, 0.01);
    list.Outdent();
    TextRows::AddFormatRows(Id(), kPrefix, list, m_Block.format);
    list.AddCheck(Id(), "AnnotationAntialias", IdAntialias, "Antialias text", "Smooth the edges of the text.",
                  m_Block.antialias);
    list.Outdent();
}

void VoAnnotation::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdOrigin: RowReader::Choice(list, id, std::size(kOriginNames), m_Block.origin); break;
    case IdXPos: RowReader::Clamped(list, id, 0.0, 1.0, m_Block.x); break;
    case IdYPos: RowReader::Clamped(list, id, 0.0, 1.0, m_Block.y); break;
    case IdAntialias: list.GetValue(id, m_Block.antialias); break;
    default:
        if (!TextRows::PropertyEvent(list, id, m_Block.text, m_Block.format))
            return;
    }
    SetModified();
}

// ---- persistence -----------------------------------------------------------------------------

void VoAnnotation::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    Block block = m_Block;
    archive.Transfer(block.antialias);
    archive.Transfer(block.origin);
    TextRows::Transfer(archive, block.format, block.text);
    archive.Transfer(block.x);
    archive.Transfer(block.y);
    archive.Transfer(block.format.m_Height);
    if (archive.IsStoring())
        return;
    if (archive.GetVersion() < kFractionVersion) {
        block.x = static_cast<float>(std::clamp(block.x / kOldViewPixels, 0.0, 1.0));
        block.y = static_cast<float>(std::clamp(block.y / kOldViewPixels, 0.0, 1.0));
    }
    TextRows::CheckLoaded(archive, block.format);
    if (block.origin > LowerRight || !(block.x >= 0.0f && block.x <= 1.0f) || !(block.y >= 0.0f && block.y <= 1.0f))
        archive.ThrowFormatError("annotation origin %u or position (%g, %g) out of range", block.origin,
                                 double(block.x), double(block.y));
    m_Block = block;
}

} // namespace core
