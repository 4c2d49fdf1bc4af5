// fenrak: the reference host of Fenrak Core.
#include "host/ModuleCatalogue.h"

#include "shr/Exception.h"

#include <cstring>
#include <iostream>

namespace {

const char* const kUsage =
    "usage: fenrak <command>\n"
    "\n"
    "commands:\n"
    "  modules      list the module registry: type, path, input and output kinds, help\n"
    "  help         this text\n";

int Run(int argc, char** argv)
{
    if (argc < 2 || std::strcmp(argv[1], "help") == 0 || std::strcmp(argv[1], "--help") == 0) {
        std::cout << kUsage;
        return argc < 2 ? 2 : 0;
    }
    if (std::strcmp(argv[1], "modules") == 0) {
        host::ModuleCatalogue::Print(std::cout);
        return 0;
    }
    std::cerr << "fenrak: unknown command '" << argv[1] << "'\n\n" << kUsage;
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return Run(argc, argv);
    } catch (const shr::Exception& error) {
        std::cerr << "fenrak: " << error.Describe() << "\n";
    } catch (const std::exception& error) {
        std::cerr << "fenrak: " << error.what() << "\n";
    }
    return 1;
}
