#pragma once
// InvText3: text in the scene, drawn from glyph outlines through the font that
// InvFontElement carries (set by an InvFont above it). Without one (also when
// the InvFont's face could not be opened) the face kDefaultFace at the current
// font size is used. Each value of `string` is a
// line (a "\n" inside a value breaks it too); the first baseline runs along
// +X through the origin, lines step down in -Y, and the text faces +Z. With a
// positive `depth` the glyphs are extruded that far towards -Z.
//
// When no font or glyph can be made nothing is drawn; the reason goes to the log.
#include "core/properties/TextFormat.h"

#include <Inventor/SbVec3f.h>
#include <Inventor/fields/SoMFString.h>
#include <Inventor/fields/SoSFEnum.h>
#include <Inventor/fields/SoSFFloat.h>
#include <Inventor/nodes/SoShape.h>
#include <Inventor/nodes/SoSubNode.h>

#include <memory>
#include <string>
#include <vector>

namespace core {

class GLOutlineFont;

class InvText3 : public SoShape {
    typedef SoShape inherited;
    SO_NODE_HEADER(InvText3);

public:
    enum Justification { LEFT = TextFormat::Left, RIGHT = TextFormat::Right, CENTER = TextFormat::Center };
    static constexpr const char* kDefaultFace = "sans";

    // Idempotent; also initialises InvFontElement.
    static void initClass();
    InvText3();

    SoMFString string;
    SoSFEnum justification;
    SoSFFloat depth;

    // The text as one string with "\n" between the values.
    std::string Text() const;

    void GLRender(SoGLRenderAction* action) override;

protected:
    ~InvText3() override;
    void computeBBox(SoAction* action, SbBox3f& box, SbVec3f& center) override;
    void generatePrimitives(SoAction* action) override;

private:
    // Triangles, three entries a triangle, with a normal per vertex.
    struct Mesh {
        std::vector<SbVec3f> points;
        std::vector<SbVec3f> normals;
    };

    std::shared_ptr<GLOutlineFont> FontOf(SoState* state);
    // False, after logging, when the font or a glyph fails.
    bool BuildMesh(SoState* state, Mesh& mesh);
    void AddFaces(const GLOutlineFont& font, Mesh& mesh) const;
    void AddWalls(const GLOutlineFont& font, Mesh& mesh) const;
    void LogOnce(const std::string& message);

    std::string m_LastError;
};

} // namespace core
