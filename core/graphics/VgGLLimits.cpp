#include "core/graphics/VgGLLimits.h"

#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/VgRenderer.h"

#include <GL/gl.h>
#include <Inventor/actions/SoGLRenderAction.h>

#include <algorithm>
#include <atomic>

namespace core {

namespace {

std::atomic<int> s_MaxLights{VgGLLimits::kDefaultLights};
std::atomic<int> s_MaxClipPlanes{VgGLLimits::kDefaultClipPlanes};

} // namespace

int VgGLLimits::MaxLights() { return s_MaxLights.load(); }

int VgGLLimits::MaxClipPlanes() { return s_MaxClipPlanes.load(); }

void VgGLLimits::Set(int lights, int clipPlanes)
{
    s_MaxLights = std::max(lights, 1);
    s_MaxClipPlanes = std::max(clipPlanes, 1);
}

void VgGLLimits::Capture()
{
    GLint lights = 0;
    GLint planes = 0;
    glGetIntegerv(GL_MAX_LIGHTS, &lights);
    glGetIntegerv(GL_MAX_CLIP_PLANES, &planes);
    // A context that answers nothing (an error) leaves the numbers as they were.
    if (lights > 0 && planes > 0)
        Set(lights, planes);
}

void VgGLLimits::ProbeCallback(void*, SoAction* action)
{
    if (action && action->isOfType(SoGLRenderAction::getClassTypeId()))
        Capture();
}

void VgGLLimits::AddProbe(VgRenderer& renderer)
{
    InvSmartPtr<SoCallback> probe(new SoCallback);
    probe->setCallback(&VgGLLimits::ProbeCallback, nullptr);
    renderer.addInventorNode(probe.get());
}

} // namespace core
