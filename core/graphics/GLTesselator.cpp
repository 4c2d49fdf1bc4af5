#include "core/graphics/GLTesselator.h"

#include "core/network/CoreError.h"

#include <GL/glu.h>

#include <array>
#include <cmath>
#include <deque>

namespace core {

namespace {

// What the callbacks write into. GLU is C: nothing may be thrown through it,
// so an error is recorded here and raised after the polygon is closed.
struct Collector {
    std::deque<std::array<GLdouble, 3>> vertices; // stable addresses for GLU
    std::vector<shr::Vec2d> triangles;
    GLenum error = 0;
};

// Plain functions with the C calling convention GLU expects.
extern "C" {
void TessBegin(GLenum, void*) {}
void TessEnd(void*) {}
// Its presence makes GLU emit independent triangles instead of fans and strips.
void TessEdgeFlag(GLboolean, void*) {}

void TessVertex(void* vertex, void* data)
{
    const auto* v = static_cast<const GLdouble*>(vertex);
    static_cast<Collector*>(data)->triangles.emplace_back(v[0], v[1]);
}

void TessCombine(GLdouble coords[3], void* /*neighbours*/[4], GLfloat /*weights*/[4], void** out, void* data)
{
    auto& collector = *static_cast<Collector*>(data);
    collector.vertices.push_back({coords[0], coords[1], 0.0});
    *out = collector.vertices.back().data();
}

void TessError(GLenum error, void* data)
{
    auto& collector = *static_cast<Collector*>(data);
    if (!collector.error)
        collector.error = error;
}
}

using Callback = void(GLAPIENTRY*)();

GLUtesselator* Tess(void* tess) { return static_cast<GLUtesselator*>(tess); }

bool Finite(const shr::Vec2d& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

} // namespace

GLTesselator::GLTesselator() : m_Tess(gluNewTess())
{
    if (!m_Tess)
        CORE_THROW(40);
    GLUtesselator* tess = Tess(m_Tess);
    gluTessCallback(tess, GLU_TESS_BEGIN_DATA, reinterpret_cast<Callback>(&TessBegin));
    gluTessCallback(tess, GLU_TESS_END_DATA, reinterpret_cast<Callback>(&TessEnd));
    gluTessCallback(tess, GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<Callback>(&TessEdgeFlag));
    gluTessCallback(tess, GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(&TessVertex));
    gluTessCallback(tess, GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(&TessCombine));
    gluTessCallback(tess, GLU_TESS_ERROR_DATA, reinterpret_cast<Callback>(&TessError));
    gluTessNormal(tess, 0.0, 0.0, 1.0);
}

GLTesselator::~GLTesselator() { gluDeleteTess(Tess(m_Tess)); }

std::vector<shr::Vec2d> GLTesselator::Tesselate(const std::vector<Contour>& contours, Winding winding)
{
    GLUtesselator* tess = Tess(m_Tess);
    gluTessProperty(tess, GLU_TESS_WINDING_RULE,
                    winding == Odd ? GLU_TESS_WINDING_ODD : GLU_TESS_WINDING_NONZERO);
    Collector collector;
    gluTessBeginPolygon(tess, &collector);
    for (const Contour& contour : contours) {
        if (contour.size() < 3)
            continue;
        gluTessBeginContour(tess);
        for (const shr::Vec2d& p : contour) {
            // GLU reads NaN as a coordinate in range; it is refused here instead.
            if (!Finite(p))
                collector.error = collector.error ? collector.error : GLenum(GLU_TESS_COORD_TOO_LARGE);
            collector.vertices.push_back({Finite(p) ? p.x : 0.0, Finite(p) ? p.y : 0.0, 0.0});
            gluTessVertex(tess, collector.vertices.back().data(), collector.vertices.back().data());
        }
        gluTessEndContour(tess);
    }
    gluTessEndPolygon(tess);
    if (collector.error)
        CORE_THROW(41, reinterpret_cast<const char*>(gluErrorString(collector.error)));
    return std::move(collector.triangles);
}

} // namespace core
