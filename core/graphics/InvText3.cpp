#include "core/graphics/InvText3.h"

#include "core/graphics/GLFontManager.h"
#include "core/graphics/GLOutlineFont.h"
#include "core/graphics/InvFontElement.h"
#include "core/network/VoNetwork.h"
#include "shr/Exception.h"
#include "shr/Logger.h"

#include <GL/gl.h>
#include <Inventor/SbBox3f.h>
#include <Inventor/SoPrimitiveVertex.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/bundles/SoMaterialBundle.h>
#include <Inventor/elements/SoFontSizeElement.h>

#include <algorithm>
#include <cmath>

namespace core {

SO_NODE_SOURCE(InvText3);

namespace {

const bool s_Registered = (VoNetwork::RegisterSceneClass(&InvText3::initClass), true);

SbVec3f Point(const shr::Vec2f& p, float z) { return SbVec3f(p.x, p.y, z); }
SbVec3f Point(const shr::Vec2d& p, float z) { return SbVec3f(float(p.x), float(p.y), z); }

} // namespace

void InvText3::initClass()
{
    if (getClassTypeId() != SoType::badType())
        return;
    InvFontElement::initClass();
    SO_NODE_INIT_CLASS(InvText3, SoShape, "Shape");
}

InvText3::InvText3()
{
    SO_NODE_CONSTRUCTOR(InvText3);
    SO_NODE_ADD_FIELD(string, (""));
    SO_NODE_ADD_FIELD(justification, (LEFT));
    SO_NODE_ADD_FIELD(depth, (0.0f));
    SO_NODE_DEFINE_ENUM_VALUE(Justification, LEFT);
    SO_NODE_DEFINE_ENUM_VALUE(Justification, RIGHT);
    SO_NODE_DEFINE_ENUM_VALUE(Justification, CENTER);
    SO_NODE_SET_SF_ENUM_TYPE(justification, Justification);
}

InvText3::~InvText3() = default;

std::string InvText3::Text() const
{
    std::string text;
    for (int i = 0; i < string.getNum(); ++i) {
        if (i)
            text += '\n';
        text += string[i].getString();
    }
    return text;
}

void InvText3::LogOnce(const std::string& message)
{
    if (message == m_LastError)
        return;
    m_LastError = message;
    shr::g_Logger.SendVA(1, "InvText3: %s", message.c_str());
}

std::shared_ptr<GLOutlineFont> InvText3::FontOf(SoState* state)
{
    std::shared_ptr<GLFont> font = InvFontElement::get(state);
    if (!font)
        font = GLFontManager::Instance().GetFont(kDefaultFace, SoFontSizeElement::get(state), GLFont::Outline);
    return std::dynamic_pointer_cast<GLOutlineFont>(font);
}

void InvText3::AddFaces(const GLOutlineFont& font, Mesh& mesh) const
{
    const std::string text = Text();
    const auto lines = GLFont::SplitLines(text.c_str());
    const auto just = static_cast<TextFormat::Justification>(justification.getValue());
    std::vector<shr::Vec2f> triangles;
    for (size_t i = 0; i < lines.size(); ++i) {
        const shr::Vec2f origin = font.LineOrigin(lines[i].c_str(), i, just);
        font.AppendTriangles(lines[i].c_str(), origin.x, origin.y, triangles);
    }
    for (const shr::Vec2f& p : triangles) {
        mesh.points.push_back(Point(p, 0.0f));
        mesh.normals.emplace_back(0.0f, 0.0f, 1.0f);
    }
    const float d = depth.getValue();
    if (!(d > 0.0f))
        return;
    // The back face: the same triangles turned over.
    for (size_t t = 0; t + 2 < triangles.size(); t += 3)
        for (size_t k : {t, t + 2, t + 1}) {
            mesh.points.push_back(Point(triangles[k], -d));
            mesh.normals.emplace_back(0.0f, 0.0f, -1.0f);
        }
}

void InvText3::AddWalls(const GLOutlineFont& font, Mesh& mesh) const
{
    const float d = depth.getValue();
    if (!(d > 0.0f))
        return;
    const std::string text = Text();
    const auto lines = GLFont::SplitLines(text.c_str());
    const auto just = static_cast<TextFormat::Justification>(justification.getValue());
    std::vector<GLTesselator::Contour> contours;
    for (size_t i = 0; i < lines.size(); ++i) {
        const shr::Vec2f origin = font.LineOrigin(lines[i].c_str(), i, just);
        font.AppendContours(lines[i].c_str(), origin.x, origin.y, contours);
    }
    // The filled area lies left of each contour, so (dy, -dx) points out.
    for (const auto& contour : contours)
        for (size_t i = 0; i < contour.size(); ++i) {
            const shr::Vec2d& a = contour[i];
            const shr::Vec2d& b = contour[(i + 1) % contour.size()];
            const double dx = b.x - a.x, dy = b.y - a.y, length = std::hypot(dx, dy);
            if (length == 0.0)
                continue;
            const SbVec3f normal(float(dy / length), float(-dx / length), 0.0f);
            for (const SbVec3f& p : {Point(a, 0.0f), Point(a, -d), Point(b, -d), Point(a, 0.0f), Point(b, -d),
                                     Point(b, 0.0f)}) {
                mesh.points.push_back(p);
                mesh.normals.push_back(normal);
            }
        }
}

bool InvText3::BuildMesh(SoState* state, Mesh& mesh)
{
    try {
        const std::shared_ptr<GLOutlineFont> font = FontOf(state);
        if (!font)
            return false;
        AddFaces(*font, mesh);
        AddWalls(*font, mesh);
        return true;
    } catch (const shr::Exception& e) {
        LogOnce(e.Message());
    }
    mesh = Mesh();
    return false;
}

void InvText3::GLRender(SoGLRenderAction* action)
{
    if (!shouldGLRender(action))
        return;
    Mesh mesh;
    if (!BuildMesh(action->getState(), mesh) || mesh.points.empty())
        return;
    SoMaterialBundle material(action);
    material.sendFirst();
    glBegin(GL_TRIANGLES);
    for (size_t i = 0; i < mesh.points.size(); ++i) {
        glNormal3fv(mesh.normals[i].getValue());
        glVertex3fv(mesh.points[i].getValue());
    }
    glEnd();
}

void InvText3::computeBBox(SoAction* action, SbBox3f& box, SbVec3f& center)
{
    box.makeEmpty();
    try {
        const std::shared_ptr<GLOutlineFont> font = FontOf(action->getState());
        const std::string text = Text();
        const shr::Box2f bounds =
            font ? font->Bounds(text.c_str(), static_cast<TextFormat::Justification>(justification.getValue()))
                 : shr::Box2f();
        if (!bounds.IsEmpty()) {
            box.extendBy(SbVec3f(bounds.min.x, bounds.min.y, -std::max(depth.getValue(), 0.0f)));
            box.extendBy(SbVec3f(bounds.max.x, bounds.max.y, 0.0f));
        }
    } catch (const shr::Exception& e) {
        LogOnce(e.Message());
    }
    center = box.isEmpty() ? SbVec3f(0.0f, 0.0f, 0.0f) : box.getCenter();
}

void InvText3::generatePrimitives(SoAction* action)
{
    Mesh mesh;
    if (!BuildMesh(action->getState(), mesh) || mesh.points.empty())
        return;
    SoPrimitiveVertex vertex;
    beginShape(action, TRIANGLES);
    for (size_t i = 0; i < mesh.points.size(); ++i) {
        vertex.setPoint(mesh.points[i]);
        vertex.setNormal(mesh.normals[i]);
        shapeVertex(&vertex);
    }
    endShape();
}

} // namespace core
