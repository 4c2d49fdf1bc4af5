#pragma once
// ScenePass: what every command that computes a scene shares: the network
// emptied around the command, the scene file or document loaded, the passes
// run on the update thread until nothing is modified, and a failed module
// or pass turned into the scene's error.
#include "host/SceneFile.h"

#include <string>

namespace host {

class HostUiProxy;

class ScenePass {
public:
    // Starts the network and empties it; empties it again when it goes.
    ScenePass();
    ~ScenePass();
    ScenePass(const ScenePass&) = delete;
    ScenePass& operator=(const ScenePass&) = delete;

    // The scene named, or the demo scene found through the data folders.
    static std::string SceneOrDemo(const std::string& scene);
    // Builds the network from a document or a scene file (told apart by
    // content) and brings it up to date; returns the stored view.
    SceneView LoadAndRun(const std::string& path);
    // Runs passes until no module is left modified, within reason.
    static void RunPasses();
    // Raises the scene's error for a failed or aborted module or pass.
    static void CheckExecution(const std::string& path, const HostUiProxy& proxy);
};

} // namespace host
