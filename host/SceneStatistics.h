#pragma once
// SceneStatistics: the table `fenrak render --stats` prints: per module its
// name, type, status, execution time, and the triangles, lines and points of
// the geometry it puts into the scene.
#include <iosfwd>

namespace host {

class HostUiProxy;

class SceneStatistics {
public:
    // Reads the network between passes; times come from the proxy's records.
    static void Print(std::ostream& out, const HostUiProxy& proxy);
};

} // namespace host
