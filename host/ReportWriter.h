#pragma once
// ReportWriter: what a run computed, as JSON for scripts (`fenrak render
// --report FILE.json`), so that nobody parses the table of --stats. The
// shape is fixed by data/schemas/report.schema.json:
//
//   {"scene": path, "modules": [{
//      "name", "type", "status", "seconds", "messages": [texts],
//      "outputs": [{"port", "kind", "bounds": {"min": [x,y,z], "max": [...]} or null,
//                   "nodes": [i, j, k] (lattices) or "points": n (point sets),
//                   "components": [{"min", "max", "blanks"}] (null min/max
//                   when every value is blank),
//                   "geometry": {"triangles", "lines", "points", "texts", "images"}}],
//      "values": [{"label", "key", "text"}]   rows the module computes and
//                                             shows: statics and read-only rows
//   }]}
//
// Bounds are XYZ, in the data's own frame (the scene transform not added).
#include <iosfwd>
#include <string>

namespace host {

class HostUiProxy;

class ReportWriter {
public:
    // The report of the network as it stands after the passes.
    static std::string Build(const std::string& scene, const HostUiProxy& proxy);
    static void Write(const std::string& scene, const HostUiProxy& proxy, std::ostream& out);
};

} // namespace host
