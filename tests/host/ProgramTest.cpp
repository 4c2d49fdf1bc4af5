// The built program, end to end: exit statuses and the picture file.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/wait.h>

namespace {

int RunProgram(const std::string& arguments, const std::string& log)
{
    const std::string command = std::string(FENRAK_PROGRAM) + " " + arguments + " >" + log + " 2>&1";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(Program, RendersAndReportsThroughItsExitStatus)
{
    hosttest::ScratchFolder folder;
    const std::string scene = folder.Write(
        "scene.json", R"({"modules": [{"name": "Field", "type": "FunctionLattice"}],
                          "view": {"size": [32, 16], "background": [10, 20, 30]}})");
    const std::string picture = folder.Path("out.png");
    ASSERT_EQ(RunProgram("render " + scene + " -o " + picture, folder.Path("log")), 0);
    const render::Image image = hosttest::ReadPng(picture);
    EXPECT_EQ(image.Width(), 32);
    EXPECT_EQ(image.At(16, 8), shr::Color4b(10, 20, 30, 255));

    EXPECT_EQ(RunProgram("properties NoSuchModule", folder.Path("log")), 1);
    EXPECT_EQ(RunProgram("render " + folder.Path("missing.json"), folder.Path("log")), 1);
}

// Mistakes in the command line exit 1, as every user mistake does; help is no mistake.
TEST(Program, CommandLineMistakesExitOne)
{
    hosttest::ScratchFolder folder;
    const std::pair<std::string, int> cases[] = {
        {"", 1}, {"bogus", 1}, {"-h", 0}, {"help", 0}, {"--help", 0}, {"FENRAK_MEMORY_LIMIT=lots modules", 1},
        {"FENRAK_MEMORY_LIMIT=512M modules", 0},
    };
    for (const auto& c : cases) {
        const size_t equals = c.first.find('=');
        const std::string environment = equals == std::string::npos ? "" : c.first.substr(0, c.first.find(' ') + 1);
        const std::string arguments = environment.empty() ? c.first : c.first.substr(environment.size());
        const std::string command = environment + std::string(FENRAK_PROGRAM) + " " + arguments + " >" +
                                    folder.Path("log") + " 2>&1";
        const int status = std::system(command.c_str());
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, c.second) << c.first;
    }
}
