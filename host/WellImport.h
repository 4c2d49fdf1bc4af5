#pragma once
// WellImport: the host's answer to "Import", the command that a well data
// module sends when its "Add Data" button is pressed. A command-line host has
// no file dialog: the files come from the scene, which names them for the
// module ("files"), and the answer reads them through WellSetLoader into that
// module's wells, computing paths by the module's path method.
//
// The scene builder names the files (Expect), presses the module's button,
// and takes the outcome (Finish); the proxy hands the command over (Answer)
// in between. An Import for a module that nothing was expected for is
// refused with a message. Calls come from the host's thread.
#include "host/WellSetLoader.h"
#include "shr/GString.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace core {
class VoWellData;
}
namespace shr {
class CommandOptions;
}

namespace host {

class WellImport {
public:
    // The files (resolved paths) for the next Import into `module`, which
    // the command names by the module's name.
    void Expect(core::VoWellData& module, const std::vector<shr::GString>& paths);
    // Reads the expected files into the module the command targets. Never
    // throws: the outcome waits for Finish. False for a command that is not
    // an Import, or one for a module that nothing was expected for
    // (`message` then says why).
    bool Answer(const shr::CommandOptions& command, std::string& message);
    // The outcome for the module of that name, which is forgotten: the
    // report of the load, or a user error if it failed or never came.
    WellLoadReport Finish(const std::string& moduleName);
    // Expect, the module's "Add Data" button pressed, then Finish: how a
    // host fills a well data module from files.
    WellLoadReport Import(core::VoWellData& module, const std::vector<shr::GString>& paths);

private:
    struct Request {
        core::VoWellData* module = nullptr;
        std::vector<shr::GString> paths;
        bool answered = false;
        std::string error;
        WellLoadReport report;
    };

    std::mutex m_Mutex;
    std::map<std::string, Request> m_Requests;
};

} // namespace host
