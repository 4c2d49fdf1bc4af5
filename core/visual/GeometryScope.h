#pragma once
// GeometryScope: a visual module's drawing bracket. It makes a new group the
// renderer's current one and hands it to the module's output geometry, and
// pops it again however the drawing ends, by return or by exception.
// StateScope does the same for a group inside the drawing.
#include "core/graphics/VgRenderer.h"

namespace core {

class VdGeometry;

class GeometryScope {
public:
    GeometryScope(VgRenderer& renderer, VdGeometry& geometry) : m_Renderer(renderer)
    {
        m_Renderer.PushNode(geometry, true);
    }
    ~GeometryScope() { m_Renderer.popState(); }
    GeometryScope(const GeometryScope&) = delete;
    GeometryScope& operator=(const GeometryScope&) = delete;

private:
    VgRenderer& m_Renderer;
};

class StateScope {
public:
    StateScope(VgRenderer& renderer, VgRenderer::StateType type) : m_Renderer(renderer)
    {
        m_Renderer.pushState(type);
    }
    ~StateScope() { m_Renderer.popState(); }
    StateScope(const StateScope&) = delete;
    StateScope& operator=(const StateScope&) = delete;

private:
    VgRenderer& m_Renderer;
};

} // namespace core
