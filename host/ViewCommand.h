#pragma once
// ViewCommand: `fenrak view [SCENE|DOC] [--screenshot out.png --quit-after S]`,
// the interactive viewer: the scene-graph library's examiner viewer on Qt
// (turn, pan, zoom, view-all), the scene's draggers live, and a status line
// with the host's progress and messages.
//
// The scene is computed as `render` computes it, then shown as the scene's
// view says. Passes run on the update thread: an idle timer starts one when
// a module is modified (a dragger released, say). While a pass runs the
// viewer neither draws nor handles events, and the network's scene is out of
// the viewer's graph, since the scene graph is not safe to touch from two
// threads; it goes back in, and is drawn, when the pass has ended.
//
// --screenshot writes what the window shows after --quit-after seconds (and
// after any pass running then), and the viewer quits.
#include "render/Image.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace host {

struct ViewOptions {
    std::string scene; // empty: the demo scene
    std::string screenshot;
    double quitAfter = -1.0; // seconds; negative: stay open
};

// What a script (a test) may do with a running viewer, on the GUI thread.
class ViewSession {
public:
    virtual ~ViewSession() = default;
    // Passes finished since the viewer opened.
    virtual int PassCount() const = 0;
    // Moves the first plane dragger of the scene along its normal by
    // `distance`, as a user's drag would, and releases it.
    virtual bool DragPlane(double distance) = 0;
    // Draws the window now and returns its pixels.
    virtual render::Image Grab() = 0;
    // Runs the event loop until the running pass (if any) has ended and been drawn.
    virtual void WaitForPass() = 0;
};

class ViewCommand {
public:
    static int Run(const std::vector<std::string>& args, std::ostream& err);
    static ViewOptions ParseArguments(const std::vector<std::string>& args);
    // Opens the viewer; `script`, when given, is called once the scene is
    // shown and the viewer quits when it returns. Returns the exit status.
    static int Run(const ViewOptions& options, std::ostream& err,
                   const std::function<void(ViewSession&)>& script = nullptr);
    // Whether a window can be opened (an X display answers).
    static bool DisplayAvailable();
};

} // namespace host
