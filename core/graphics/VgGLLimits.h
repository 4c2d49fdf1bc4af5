#pragma once
// VgGLLimits: what the OpenGL driver allows of the state that modules stack
// up in the scene: how many lights and how many clip planes can be on at once.
//
// Modules run on the update thread, which has no OpenGL context, so the
// numbers are those of the last context a scene was drawn in: every scene
// that holds a light or a clip plane carries a probe node that reads them
// while it is drawn. Until a first drawing they are 8 each, what Mesa's
// drivers give and what OpenGL promises for lights.
#include <Inventor/nodes/SoCallback.h>

namespace core {

class VgRenderer;

class VgGLLimits {
public:
    VgGLLimits() = delete;

    static constexpr int kDefaultLights = 8;
    static constexpr int kDefaultClipPlanes = 8;

    static int MaxLights();
    static int MaxClipPlanes();

    // Reads both numbers from the current context; needs one.
    static void Capture();
    // Adds the probe, an SoCallback that captures on each GL render.
    static void AddProbe(VgRenderer& renderer);
    // For tests that stand in for a driver; values below 1 are taken as 1.
    static void Set(int lights, int clipPlanes);

private:
    static void ProbeCallback(void* data, SoAction* action);
};

} // namespace core
