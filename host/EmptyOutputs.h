#pragma once
// EmptyOutputs: after the passes, the sinks (modules whose geometry no other
// module takes) that drew nothing at all (no triangles, lines or points),
// each as a warning line naming the module and the likely cause: nothing
// linked to its input, an input that gives no data (a module that has not
// computed), or settings that select nothing of the data.
#include <string>
#include <vector>

namespace host {

class EmptyOutputs {
public:
    // One line per empty sink, after "<scene>: ".
    static std::vector<std::string> Warnings(const std::string& scene);
};

} // namespace host
