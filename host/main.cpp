// fenrak: the reference host of Fenrak Core.
#include "core/network/VoNetwork.h"
#include "host/ExportCommand.h"
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
    "               draw a scene file or a saved document (the demo scene without one)\n"
    "  export SCENE --module NAME -o FILE\n"
    "               write a module's output: .nc, .vti/.vtr/.vts, .csv, .iv\n"
    "  view [SCENE] [--screenshot out.png --quit-after SECONDS]\n"
    "               turn, pan and zoom a scene, drag its slices (a window on X)\n"
    "  modules      list the module registry: type, path, input and output kinds, help\n"
    "  properties TYPE\n"
    "               list a module type's property keys with their current values\n"
    "  help         this text\n";

// The library's diagnostic log shows only errors unless FENRAK_LOG names a
// level (4 adds execution times and thread diagnostics).
void SetLogLevel()
{
    const char* level = std::getenv("FENRAK_LOG");
    shr::g_Logger.SetMaxLevel(level && *level ? std::atoi(level) : 1);
}

int Run(int argc, char** argv)
{
    if (argc < 2 || std::strcmp(argv[1], "help") == 0 || std::strcmp(argv[1], "--help") == 0) {
        std::cout << kUsage;
        return argc < 2 ? 2 : 0;
    }
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
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    int status = 1;
    SetLogLevel();
    try {
        status = Run(argc, argv);
    } catch (const shr::Exception& error) {
        std::cerr << "fenrak: " << error.Describe() << "\n";
    } catch (const std::exception& error) {
        std::cerr << "fenrak: " << error.what() << "\n";
    }
    core::VoNetwork::Instance().Release();
    return status;
}
