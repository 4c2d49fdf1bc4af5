// The built program, end to end: the picture file, and the exit statuses: 1
// for every user mistake, those of the command line too; help is no mistake.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/wait.h>

TEST(Program, RendersAndReportsThroughItsExitStatus)
{
    hosttest::ScratchFolder folder;
    const std::string scene = folder.Write(
        "scene.json", R"({"modules": [{"name": "Field", "type": "FunctionLattice"}],
                          "view": {"size": [32, 16], "background": [10, 20, 30]}})");
    const std::string picture = folder.Path("out.png");
    const struct {
        const char* environment;
        std::string arguments;
        int status;
    } cases[] = {
        {"", "render " + scene + " -o " + picture, 0},
        {"", "properties NoSuchModule", 1},
        {"", "render " + folder.Path("missing.json"), 1},
        {"", "", 1},
        {"", "bogus", 1},
        {"", "-h", 0},
        {"", "help", 0},
        {"", "--help", 0},
        {"FENRAK_MEMORY_LIMIT=lots ", "modules", 1},
        {"FENRAK_MEMORY_LIMIT=512M ", "modules", 0},
    };
    for (const auto& c : cases) {
        const std::string command = c.environment + std::string(FENRAK_PROGRAM) + " " + c.arguments + " >" +
                                    folder.Path("log") + " 2>&1";
        const int status = std::system(command.c_str());
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, c.status) << c.environment << c.arguments;
    }
    const render::Image image = hosttest::ReadPng(picture);
    EXPECT_EQ(image.Width(), 32);
    EXPECT_EQ(image.At(16, 8), shr::Color4b(10, 20, 30, 255));
}
