#pragma once
// InvFont: a font node whose face name is resolved by the font family
// (fontconfig), not by the scene-graph library. It sets the usual font name
// and size elements, as the library's own font node does, and puts the outline
// GLFont it names into InvFontElement for the InvText3 nodes that follow. The
// size is the em height in scene units.
#include <Inventor/fields/SoSFUInt32.h>
#include <Inventor/nodes/SoFont.h>
#include <Inventor/nodes/SoSubNode.h>

#include <memory>
#include <string>

namespace core {

class GLFont;

class InvFont : public SoFont {
    typedef SoFont inherited;
    SO_NODE_HEADER(InvFont);

public:
    // Style bits of the flags field.
    enum Style : unsigned { Bold = 1, Italic = 2 };

    // Idempotent; also initialises InvFontElement.
    static void initClass();
    InvFont();

    SoSFUInt32 flags;

    // The outline font the fields name, shared through GLFontManager. Throws
    // error 16 or 17 when the face cannot be opened at that size.
    std::shared_ptr<GLFont> GetFont() const;

    void doAction(SoAction* action) override;
    void GLRender(SoGLRenderAction* action) override;
    void callback(SoCallbackAction* action) override;
    void getBoundingBox(SoGetBoundingBoxAction* action) override;
    void pick(SoPickAction* action) override;
    void getPrimitiveCount(SoGetPrimitiveCountAction* action) override;

protected:
    ~InvFont() override;

private:
    // The font, or null after logging why there is none (once per reason).
    std::shared_ptr<GLFont> FontOrNull();

    std::string m_LastError;
};

} // namespace core
