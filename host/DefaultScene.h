#pragma once
// DefaultScene: what `fenrak render points.csv` draws: the point file's
// points as symbols coloured by the first value column, gridded by it on the
// gridder's automatic grid, with a shell through the grid at mid-range
// coloured by value and its legend; a 2-D file (all points at one Z) gets a
// coloured map of the grid, seen from above, instead of the shell. A file
// without values shows its points in white.
#include "host/SceneFile.h"

#include <string>

namespace host {

struct DefaultSceneChoice {
    SceneDescription scene;
    // One line saying what the default scene shows.
    std::string summary;
};

class DefaultScene {
public:
    // Reads the point file to choose; its errors are the file's.
    static DefaultSceneChoice For(const std::string& path);
};

} // namespace host
