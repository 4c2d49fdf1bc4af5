// fenrak: the reference host of Fenrak Core.
#include "core/data/MemoryBudget.h"
#include "core/network/VoNetwork.h"
#include "host/ExportCommand.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/ModuleCatalogue.h"
#include "host/PropertiesCommand.h"
#include "host/RenderCommand.h"
#include "host/ViewCommand.h"

#include "shr/Exception.h"
#include "shr/Logger.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

const char* const kUsage =
    "usage: fenrak <command>\n"
    "\n"
    "commands:\n"
    "  render [SCENE] [-o out.png] [--iv out.iv] [--size WxH] [--save DOC] [--stats]\n"
    "               [--report out.json]\n"
    "               draw a scene file, a saved document or a point file (the demo scene\n"
    "               without one)\n"
    "  export SCENE --module NAME -o FILE\n"
    "               write a module's output: .nc, .vti/.vtr/.vts, .csv, .iv\n"
    "  view [SCENE] [--screenshot out.png --quit-after SECONDS]\n"
    "               turn, pan and zoom a scene, drag its slices (a window on X)\n"
    "  modules      list the module registry: type, path, input and output kinds, help\n"
    "  properties TYPE\n"
    "               list a module type's property keys with their current values\n"
    "  help, -h     this text\n";

// The library's diagnostic log shows only errors unless FENRAK_LOG names a
// level (2 adds where in the source a system failure arose, 4 execution
// times and thread diagnostics).
void SetLogLevel()
{
    const char* level = std::getenv("FENRAK_LOG");
    shr::g_Logger.SetMaxLevel(level && *level ? std::atoi(level) : 1);
}

// A malformed budget is the user's mistake, reported before anything runs.
bool CheckMemoryBudget()
{
    const char* text = std::getenv(core::MemoryBudget::Variable);
    uint64_t bytes = 0;
    if (!text || core::MemoryBudget::Parse(text, bytes))
        return true;
    std::cerr << "fenrak: " << core::MemoryBudget::Variable << "=\"" << text
              << "\": give a number of bytes, with K, M, G or T for powers of 1024 (512M)\n";
    return false;
}

bool IsHelp(const char* word)
{
    return std::strcmp(word, "help") == 0 || std::strcmp(word, "--help") == 0 || std::strcmp(word, "-h") == 0;
}

int Run(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << kUsage;
        return host::kUserErrorCode;
    }
    if (IsHelp(argv[1])) {
        std::cout << kUsage;
        return 0;
    }
    if (!CheckMemoryBudget())
        return host::kUserErrorCode;
    const std::string command = argv[1];
    const std::vector<std::string> args(argv + 2, argv + argc);
    if (command == "modules") {
        host::ModuleCatalogue::Print(std::cout);
        return 0;
    }
    if (command == "render")
        return host::RenderCommand::Run(args, std::cout, std::cerr, host::HostUiProxy::StderrIsTerminal());
    if (command == "view")
        return host::ViewCommand::Run(args, std::cerr);
    if (command == "export")
        return host::ExportCommand::Run(args, std::cout, std::cerr, host::HostUiProxy::StderrIsTerminal());
    if (command == "properties")
        return host::PropertiesCommand::Run(args, std::cout, std::cerr);
    std::cerr << "fenrak: unknown command '" << command << "'\n\n" << kUsage;
    return host::kUserErrorCode;
}

} // namespace

int main(int argc, char** argv)
{
    int status = host::kSystemFailureCode;
    SetLogLevel();
    try {
        status = Run(argc, argv);
    } catch (const shr::Exception& error) {
        status = host::RenderCommand::ReportFailure(error, std::cerr);
    } catch (const std::exception& error) {
        std::cerr << "fenrak: " << error.what() << "\n";
    }
    core::VoNetwork::Instance().Release();
    return status;
}
