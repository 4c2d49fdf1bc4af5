#pragma once
// VoAnnotation: a block of text fixed to the view, such as a title: placed
// by fractions of the viewport's width and height from one of its corners,
// drawn in pixels over everything else after the scene, never cut by a clip
// plane and never counted in the scene's bounds.
//
// The scene holds a copy of what is drawn (a callback node that owns it), so
// drawing never reads the module, which the host may edit or delete between
// passes.
#include "core/graphics/InvSmartPtr.h"
#include "core/network/VoModule.h"
#include "core/properties/TextFormat.h"
#include "shr/GString.h"
#include "shr/Vec2.h"

#include <cstdint>
#include <memory>

class SoAction;
class SoGLRenderAction;
class SoNode;
class SoSeparator;

namespace core {

class GLFont;
class VbModuleInfo;

class VoAnnotation : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoAnnotation)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum Origin : uint32_t { UpperLeft = 0, UpperRight = 1, LowerLeft = 2, LowerRight = 3 };
    // Rows 2 and 7 to 10 are the text rows (TextRows).
    enum RowId : int { IdGeneral = 1, IdPlacement = 3, IdOrigin = 4, IdXPos = 5, IdYPos = 6, IdAntialias = 11 };

    // Everything one drawing needs.
    struct Block {
        shr::GString text;
        float x = 0.01f; // fractions of the viewport, from the origin's corner
        float y = 0.01f;
        uint32_t origin = UpperLeft;
        bool antialias = true;
        TextFormat format;
    };

    VoAnnotation();
    ~VoAnnotation() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // Base, sync mark, then antialias, origin, justification, text, face,
    // colour, x, y and size. Before version 109 x and y were pixels. A failed
    // load changes nothing.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    const Block& GetBlock() const { return m_Block; }
    Block& GetBlock() { return m_Block; }

    // The scene's callback: `data` is the Block of the node.
    static void Callback(void* data, SoAction* action);
    // Where DrawLines puts the block's first line, in pixels of a viewport
    // width x height with (0, 0) at the lower left: lines stack downward, each
    // placed by the justification inside the widest line's width.
    static shr::Vec2d Anchor(const Block& block, const GLFont& font, double width, double height);
    // The font of the block at `pixelsPerInch`, in its face or else the
    // default one; null when neither opens.
    static std::shared_ptr<GLFont> FontOf(const Block& block, double pixelsPerInch);

    // The block a node of the scene draws (the node ExecuteImpl adds), or null.
    static const Block* DrawnBy(const SoNode* node);
    // The block as plain scene-graph nodes (PixelOverlay), placed as Render
    // places it in a view of `width` x `height` pixels at `pixelsPerInch`,
    // for a scene written to a file; null when no font opens.
    static InvSmartPtr<SoSeparator> SceneGraph(const Block& block, double width, double height,
                                               double pixelsPerInch);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    // Drawn last: the first call queues the node's path for after the scene.
    static void Render(const Block& block, SoGLRenderAction* action);
    static void RenderText(const Block& block, SoGLRenderAction* action, double width, double height);

    Block m_Block;
};

} // namespace core
