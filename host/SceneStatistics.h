#pragma once
// SceneStatistics: the table `fenrak render --stats` prints: per module its
// name, type, status, execution time, and the triangles, lines and points of
// the geometry it puts into the scene; then, per point set read from a file,
// what was taken for each axis and value.
#include "host/PointFileReader.h"

#include <iosfwd>
#include <map>
#include <string>

namespace host {

class HostUiProxy;

class SceneStatistics {
public:
    // Reads the network between passes; times come from the proxy's records.
    // `readings`: per point-set module name, what its file gave.
    static void Print(std::ostream& out, const HostUiProxy& proxy,
                      const std::map<std::string, PointFileReading>& readings = {});
};

} // namespace host
