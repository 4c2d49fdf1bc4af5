#pragma once
// ReportWriter: what a run computed, as JSON for scripts (`fenrak render
// --report FILE.json`), so that nobody parses the table of --stats. The
// shape is fixed by data/schemas/report.schema.json:
//
//   {"scene": path, "warnings": [texts], "modules": [{
//      "name", "type", "status", "seconds", "messages": [texts],
//      "outputs": [{"port", "kind", "bounds": {"min": [x,y,z], "max": [...]} or null,
//                   "nodes": [i, j, k] (lattices) or "points": n (point sets),
//                   "components": [{"min", "max", "blanks"}] (null min/max
//                   when every value is blank),
//                   "geometry": {"triangles", "lines", "points", "texts", "images"}}],
//      "values": [{"label", "key", "text"}],  rows the module computes and
//                                             shows: statics and read-only rows
//      "reading": {"points", "x", "y", "z",   a point set read from a file: the
//                  "z_from_depth",            column taken for each axis (null
//                  "values": [{"column",      for a Z of 0), the value columns
//                     "below_detection"}],    with their below-detection cells,
//                  "label", "unused",         the label column (or null), the
//                  "below_detection"}         number columns left out, the rule
//   }]}
//
// Bounds are XYZ, in the data's own frame (the scene transform not added).
#include <string>

namespace host {

class HostUiProxy;
struct LoadedScene;

class ReportWriter {
public:
    // The report of the network as it stands after the passes.
    static std::string Build(const std::string& scene, const HostUiProxy& proxy, const LoadedScene& loaded);
    // Writes the report to `path`; raises a system error naming it when it cannot.
    static void Write(const std::string& path, const std::string& scene, const HostUiProxy& proxy,
                      const LoadedScene& loaded);
};

} // namespace host
