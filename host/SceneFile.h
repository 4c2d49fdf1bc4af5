#pragma once
// SceneFile: the JSON scene description that `fenrak render` draws.
//
//   {
//     "modules": [
//       {"name": "Samples", "type": "PointSet", "file": "samples.csv"},
//       {"name": "Grid", "type": "Gridder", "inputs": ["Samples"],
//        "properties": {"GridderXNum": "40"}}
//     ],
//     "view": {"size": [1024, 768], "azimuth": 30, "elevation": 25,
//              "zoom": 1, "background": "0 0 0 255"}
//   }
//
// A module has a registry type, an optional name (the type by default, unique
// in the scene), input module names for its input ports 0, 1, ..., properties
// by public key in the order given, for a point set the file to read and for
// a well data module the well files to import ("files": a list, or one name)
// (relative to the scene file's folder, the working folder or the data
// folders), with optionally its "columns" ({"x": "Xloc", "y": 2, "z": null,
// "values": ["Cd"], "label": "Id"}: header names or 1-based numbers, null for
// none) and "below_detection" ("blank", "half" or "limit"). A lattice read
// from a file may take reader settings in "fileOptions" (SEG-Y header bytes,
// a NetCDF variable). "compute": false keeps a module that computes only when
// asked (the gridder) from computing. Property values are strings; numbers
// and booleans are taken as their text. Unknown keys are errors, so that a
// misspelt key is not ignored.
#include "host/PointFileOptions.h"
#include "shr/Color4b.h"
#include "shr/GString.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

struct SceneView {
    int width = 800;
    int height = 600;
    double azimuth = 30.0;
    double elevation = 25.0;
    double zoom = 1.0;
    bool hasBackground = false; // otherwise the network's background colour
    shr::Color4b background = shr::Color4b(0, 0, 0, 255);
};

struct ModuleSpec {
    std::string name;
    std::string type;
    std::string file;
    std::vector<std::string> files;
    std::vector<std::string> inputs;
    std::vector<std::pair<std::string, std::string>> properties;
    std::vector<std::pair<std::string, std::string>> fileOptions;
    // A point set's "columns" and "below_detection"; whether either was given.
    PointFileOptions pointOptions;
    bool pointOptionsGiven = false;
    // "compute": whether a module that computes only when asked (the gridder)
    // computes in the first pass; unset means yes.
    std::optional<bool> compute;
};

struct SceneDescription {
    std::string fileName; // as the user named it: the prefix of every error
    std::string folder;   // the folder relative file names start from
    std::vector<ModuleSpec> modules;
    SceneView view;
};

class SceneFile {
public:
    static SceneDescription Read(const shr::GString& path);
    // `name` names the text in errors; `folder` is where relative files are looked for.
    static SceneDescription Parse(const std::string& text, const std::string& name, const std::string& folder);
    // A view size "WxH", as the command line gives it.
    static void ParseSize(const std::string& text, int& width, int& height);
    // Throws unless the view can be drawn: sizes 1..16384, angles as the camera takes them.
    static void CheckView(const SceneView& view, const std::string& where);
};

} // namespace host
