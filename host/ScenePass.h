#pragma once
// ScenePass: what every command that computes a scene shares (`render`,
// `export`, `view`): the network emptied around the command, the input told
// apart by content (a document, a JSON scene, or a point file drawn with the
// default scene), the passes run on the update thread until nothing is
// modified (a second round when the scene's values had to be set back), the
// warnings of the run, and a failed module or pass turned into the scene's
// error.
#include "host/PointFileReader.h"
#include "host/SceneFile.h"

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace host {

class HostUiProxy;

// What a run loaded: the view, what the scene asked for in vain and the
// sinks left empty, and what each point file gave.
struct LoadedScene {
    SceneView view;
    std::vector<std::string> warnings;
    // Per point-set module name.
    std::map<std::string, PointFileReading> readings;
};

class ScenePass {
public:
    // Starts the network and empties it; empties it again when it goes.
    ScenePass();
    ~ScenePass();
    ScenePass(const ScenePass&) = delete;
    ScenePass& operator=(const ScenePass&) = delete;

    // The scene named, or the demo scene found through the data folders.
    static std::string SceneOrDemo(const std::string& scene);
    // Builds the network from `path` and brings it up to date. Says on `err`
    // when a point file is drawn with the default scene, and prints every
    // warning of the run there.
    LoadedScene LoadAndRun(const std::string& path, std::ostream& err);
    // Runs passes until no module is left modified, within reason.
    static void RunPasses();
    // Raises the scene's error for failed or aborted modules, load errors
    // and failed passes: one line each, naming its module.
    static void CheckExecution(const std::string& path, const HostUiProxy& proxy);
};

} // namespace host
