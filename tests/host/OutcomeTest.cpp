// One outcome per run: outputs are checked before anything is computed and
// appear together or not at all; system failures exit 3 without source paths.
#include "HostTestSupport.h"

#include "core/data/MemoryBudget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>


using hosttest::CommandResult;
using hosttest::ReadText;
using hosttest::Render;
using hosttest::ScratchFolder;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

std::string Scene(const std::string& boxProperties)
{
    return R"({"modules": [{"name": "Box", "type": "TestBox", "properties": {)" + boxProperties +
           R"(}}], "view": {"size": [16, 12]}})";
}

} // namespace

// A missing folder is found before the scene runs: the failing box never gets
// to fail, and no output of the run appears.
TEST(Outcome, OutputsAreCheckedBeforeAnythingIsComputed)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", Scene(R"("TestBoxFail": "true")"));
    const std::string missing = folder.Path("no/such/folder/out.iv");
    struct Case {
        std::vector<std::string> args;
        std::string message;
    } cases[] = {
        {{"-o", folder.Path("none/out.png")}, folder.Path("none/out.png") + ": cannot write the picture"},
        {{"--save", folder.Path("a.fkd"), "--iv", missing}, missing + ": cannot write the scene graph"},
        {{"-o", folder.Path("")}, "cannot write the picture: it is a folder"},
        {{"-o", folder.Path("x"), "--iv", folder.Path("x")}, "named for both the picture and the scene graph"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        std::vector<std::string> args = {scene};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const CommandResult result = Render(args);
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr(c.message));
        EXPECT_THAT(result.err, Not(HasSubstr("refuses"))) << "nothing ran";
        EXPECT_THAT(result.err, Not(HasSubstr(".part")));
        EXPECT_EQ(folder.Files(), std::vector<std::string>{"scene.json"});
    }
}

// The document is written last; when it fails, the picture written before it
// is not renamed into place: the earlier picture stands and nothing is left.
TEST(Outcome, AFailedOutputLeavesEveryEarlierFileAsItWas)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", Scene(R"("TestBoxFailStore": "true")"));
    const std::string picture = folder.Write("out.png", "an earlier picture");
    const CommandResult result = Render({scene, "-o", picture, "--save", folder.Path("doc.fkd")});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "fenrak: the box refuses to be stored\n") << "no source path, no temporary name";
    EXPECT_EQ(ReadText(picture), "an earlier picture");
    EXPECT_EQ(folder.Files(), (std::vector<std::string>{"out.png", "scene.json"}));
}

// Point files are held to the memory budget, devices included.
TEST(Outcome, PointFilesBeyondTheMemoryBudgetAreRefused)
{
    ScratchFolder folder;
    std::string rows = "x,y,z,v\n";
    for (int i = 0; i < 200; ++i)
        rows += "1,2,3,4\n";
    folder.Write("big.csv", rows);
    core::MemoryBudget::SetBytes(1024);
    for (const std::string& file : {std::string("big.csv"), std::string("/dev/zero")}) {
        SCOPED_TRACE(file);
        const std::string scene = folder.Write(
            "scene.json", R"({"modules": [{"name": "Pts", "type": "PointSet", "file": ")" + file + R"("}]})");
        const CommandResult result = Render({scene, "--stats"});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("module \"Pts\": " + file +
                                          ": the point file is larger than the memory budget of 1024 bytes "
                                          "(FENRAK_MEMORY_LIMIT)"));
    }
    core::MemoryBudget::SetBytes(0);
}
