#pragma once
// RenderCommand: `fenrak render [SCENE] [-o out.png] [--iv out.iv] [--size WxH]
// [--save DOC] [--stats] [--report out.json]`. Builds the network from a scene
// file, a document or a point file (told apart by content; ScenePass), runs
// the passes on the update thread, waits, and
// writes what was asked for. Any error (in the scene, a module's execution,
// the drawing) is reported before anything is written, with exit status 1 for
// the user's mistakes and 3 for failures of the system. Outputs are checked
// before anything is computed and appear all together or not at all.
#include "host/SceneFile.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace shr {
class Exception;
}

namespace host {

struct RenderOptions {
    std::string scene;   // empty: the built-in demo scene
    std::string picture; // PNG path; empty: none
    std::string inventor;
    std::string document;
    std::string report; // JSON path; empty: none
    bool stats = false;
    bool sizeGiven = false;
    int width = 0;
    int height = 0;
};

class RenderCommand {
public:
    // The demo scene, found through the data folders.
    static const char* const DemoScene;
    static const char* const DefaultPicture;

    // `args` are the words after "render". Statistics go to `out`; progress,
    // status and errors to `err`, as a bar when `terminal`.
    static int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                   bool terminal = false);
    // Raises a user error for a bad command line. Without -o, --iv, --save or
    // --stats the picture goes to DefaultPicture.
    static RenderOptions ParseArguments(const std::vector<std::string>& args);
    // Prints a failure's message and returns the exit status: 1 for the
    // user's mistakes, 3 for system failures (whose source location goes to
    // the log).
    static int ReportFailure(const shr::Exception& error, std::ostream& err);
};

} // namespace host
