// The host's proxy: progress as a bar or as lines, errors by module, file reloads.
#include "HostTestSupport.h"

#include "core/network/VoModule.h"
#include "core/processing/VoPointsSrc.h"
#include "core/data/VdPoints.h"
#include "host/HostUiProxy.h"
#include "host/PointSetLoader.h"
#include "shr/Exception.h"
#include "shr/Logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using host::HostUiProxy;
using ::testing::HasSubstr;

TEST(HostUiProxy, ProgressIsABarOnATerminalAndLinesElsewhere)
{
    struct Case {
        bool terminal;
        std::string expected;
    } cases[] = {
        {false, "Gridding...\nnote 3\n"},
        {true, "\r[                              ]   0% Gridding\033[K"
               "\r[###############               ]  50% Gridding\033[K"
               "\r\033[Knote 3\n"
               "\r[###############               ]  50% Gridding\033[K"
               "\r\033[K"},
    };
    for (const Case& c : cases) {
        std::ostringstream stream;
        {
            HostUiProxy proxy(stream, c.terminal);
            proxy.PushProgress("Gridding", false);
            proxy.Progress(0.5);
            proxy.StatusMsg("note %d", 3);
            proxy.PopProgress();
        }
        EXPECT_EQ(stream.str(), c.expected) << (c.terminal ? "terminal" : "log");
    }
    // Status lines (execution times) are diagnostics: below level 4 they are not shown.
    const int level = shr::g_Logger.GetMaxLevel();
    shr::g_Logger.SetMaxLevel(1);
    std::ostringstream quiet;
    HostUiProxy(quiet, false).StatusMsg("Shell execute time=%.3lf seconds", 0.25);
    shr::g_Logger.SetMaxLevel(level);
    EXPECT_EQ(quiet.str(), "");
}

TEST(HostUiProxy, ErrorsAreTiedToTheModuleThatFailed)
{
    std::ostringstream stream;
    HostUiProxy proxy(stream, false);
    core::VoPointsSrc module;
    module.Name("Samples");
    const shr::Exception error("Core", "here.cpp", 1, 0, "no points");

    proxy.ModuleStatusChanged(&module, core::VoModule::ModuleExecuting);
    proxy.ModuleStatusChanged(&module, core::VoModule::ModuleFailed);
    proxy.ErrorMsg(error);
    proxy.ErrorMsg(error); // the failure has been reported: this one belongs to the pass
    EXPECT_EQ(stream.str(), "") << "the command reports errors, once";
    EXPECT_EQ(proxy.Report(module.Id()).errors, std::vector<std::string>{"no points"});
    EXPECT_GE(proxy.Report(module.Id()).executeSeconds, 0.0);
    EXPECT_EQ(proxy.PassErrors(), std::vector<std::string>{"no points"});
}

TEST(HostUiProxy, ReloadReadsThePointFileAgain)
{
    hosttest::ScratchFolder folder;
    const std::string path = folder.Write("pts.csv", "x,y,z,v\n0,0,0,1\n");
    std::unique_ptr<core::VoModule> module = host::PointSetLoader::Create(path, "pts.csv");
    auto& source = dynamic_cast<core::VoPointsSrc&>(*module);
    EXPECT_EQ(source.GetPoints()->VertexCount(), 1u);

    std::ostringstream stream;
    HostUiProxy proxy(stream, false);
    folder.Write("pts.csv", "x,y,z,v\n0,0,0,1\n1,1,1,2\n2,2,2,3\n");
    proxy.ReloadDataFile(*module, path);
    EXPECT_EQ(source.GetPoints()->VertexCount(), 3u);

    folder.Write("pts.csv", "x,y,z,v\n0,0,zero,1\n");
    proxy.ReloadDataFile(*module, path);
    EXPECT_EQ(source.GetPoints()->VertexCount(), 3u); // a bad file leaves the points as they were
    ASSERT_EQ(proxy.Report(module->Id()).loadErrors.size(), 1u);
    EXPECT_THAT(proxy.Report(module->Id()).loadErrors[0], HasSubstr("line 2, column 3"));
}
