#pragma once
// ScenePicture: the network's scene root as a picture or as a scene-graph file.
// Call between passes only (after VoNetwork::WaitUntilDone): the scene graph
// is not safe to read while a pass writes it.
#include "host/SceneFile.h"
#include "render/Image.h"
#include "shr/GString.h"

namespace host {

class ScenePicture {
public:
    // Draws the scene root offscreen as the view says; without a background
    // of its own, on the network's background colour.
    static render::Image Draw(const SceneView& view);
    // Writes the scene root as scene-graph ASCII to `path` (OutputFiles
    // gives it a temporary name), seen through a camera framed as the view
    // says. What the scene draws in screen space (the legends) is written as
    // plain nodes, laid out for the view's size.
    static void WriteInventor(const shr::GString& path, const SceneView& view);
};

} // namespace host
