#pragma once
// InvFontElement: the font that InvText3 nodes below an InvFont draw with,
// carried down the traversal. Null until an InvFont sets it (or when the
// font named could not be made).
#include <Inventor/elements/SoReplacedElement.h>

#include <memory>

namespace core {

class GLFont;

class InvFontElement : public SoReplacedElement {
    typedef SoReplacedElement inherited;
    SO_ELEMENT_HEADER(InvFontElement);

public:
    // Creates the element type and enables it in the render, bounding box,
    // callback, pick and primitive count actions. Idempotent.
    static void initClass();
    ~InvFontElement() override;

    void init(SoState* state) override;
    void push(SoState* state) override;

    static void set(SoState* state, SoNode* node, std::shared_ptr<GLFont> font);
    static std::shared_ptr<GLFont> get(SoState* state);

private:
    std::shared_ptr<GLFont> m_Font;
};

} // namespace core
