#pragma once
// SoLogMessage: notes from the scene-graph extensions (a capability turned
// off, a fallback taken) to the library's log, at the diagnostic level.
namespace core {

class SoLogMessage {
public:
    // The log line reads "<file>(<line>): <text>".
    static void post(const char* file, int line, const char* text);
    // The log level the notes go out at.
    static constexpr int kLevel = 4;
};

} // namespace core
