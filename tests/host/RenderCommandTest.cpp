// `fenrak render` driven in-process: scene errors, pictures, documents,
// statistics and the scene-graph file, and one outcome a run: outputs are
// checked before anything is computed and appear together or not at all.
#include "HostTestSupport.h"

#include "core/data/MemoryBudget.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/NetworkDocument.h"
#include "host/PropertyEditor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>


using hosttest::CommandResult;
using hosttest::ReadPng;
using hosttest::ReadText;
using hosttest::Render;
using hosttest::ScratchFolder;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

const shr::Color4b kBlue(0, 0, 255, 255);

// A red box on blue, 64 x 48, seen from straight above.
std::string BoxScene(const std::string& boxProperties)
{
    return R"({"modules": [{"name": "Box", "type": "TestBox", "properties": {)" + boxProperties + R"(}}],
              "view": {"size": [64, 48], "azimuth": 0, "elevation": 90, "background": [0, 0, 255]}})";
}

size_t Occurrences(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

} // namespace

// Each mistake in a scene is printed once, naming the file, the module and
// the key; no output is written and an earlier picture stands.
TEST(RenderCommand, SceneErrorsNameFileModuleAndKeyOnceAndWriteNothing)
{
    ScratchFolder folder;
    const std::string picture = folder.Write("out.png", "an earlier picture");
    folder.Write("points.csv", "x,y,z\n0,0,0\n1,1,x\n");
    folder.Write("wells.csv", "Well,MD (m),Inclination,Azimuth\nA,0,200,10\n");
    struct Case {
        const char* what;
        std::string scene;
        std::string message; // after "fenrak: <path>: "
    } cases[] = {
        {"unknown module type", R"({"modules": [{"name": "Shell", "type": "NoSuchModule"}]})",
         "module \"Shell\": unknown module type \"NoSuchModule\""},
        {"unknown property key", BoxScene(R"("TestBoxSise": "2")"), "module \"Box\": unknown property key \"TestBoxSise\""},
        {"value the converter rejects", BoxScene(R"("TestBoxSize": "big")"),
         "module \"Box\": bad value \"big\" for property key \"TestBoxSize\""},
        {"value the module rejects", BoxScene(R"("TestBoxSize": "-1")"),
         "module \"Box\": bad value \"-1\" for property key \"TestBoxSize\": the size must be positive"},
        {"missing input module", R"({"modules": [{"name": "Box", "type": "TestBox", "inputs": ["Nowhere"]}]})",
         "module \"Box\": input 0 (\"Input Lattice\"): no module named \"Nowhere\""},
        {"input of the wrong kind",
         R"({"modules": [{"name": "A", "type": "TestBox"}, {"name": "B", "type": "TestBox", "inputs": ["A"]}]})",
         "module \"B\": input 0 (\"Input Lattice\") takes"},
        {"cycle", R"({"modules": [{"name": "A", "type": "Math", "inputs": ["B"]},
                                  {"name": "B", "type": "Math", "inputs": ["A"]}]})",
         "module \"B\": input 0 (\"Input Lattice A\"): linking module \"A\" would close a cycle"},
        {"own input", R"({"modules": [{"name": "A", "type": "Math", "inputs": ["A"]}]})",
         "module \"A\": input 0 (\"Input Lattice A\"): a module cannot be its own input"},
        {"malformed JSON", "{\"modules\": [\n  {\"name\": \"A\",\n   \"type\": \"TestBox\",, }\n]}",
         "JSON syntax error at line 3"},
        {"number overflow", R"({"modules": [], "view": {"azimuth": 1e99999}})", "JSON error: number overflow"},
        {"execution fails", BoxScene(R"("TestBoxFail": "true")"),
         "module \"Box\": execution failed: the box refuses to be built"},
        {"duplicate names", R"({"modules": [{"name": "A", "type": "TestBox"}, {"name": "A", "type": "TestBox"}]})",
         "module \"A\": a second module of this name"},
        {"misspelt module key", R"({"modules": [{"name": "A", "type": "TestBox", "propertes": {}}]})",
         "module \"A\": unknown key \"propertes\""},
        {"missing point file", R"({"modules": [{"name": "Pts", "type": "PointSet", "file": "absent.csv"}]})",
         "module \"Pts\": point file \"absent.csv\" not found"},
        {"point file of a property",
         R"({"modules": [{"name": "Pts", "type": "PointSet", "properties": {"PointsSrcFilename": "gone.csv"}}]})",
         "module \"Pts\": gone.csv: cannot open the point file"},
        {"bad point file beside the scene",
         R"({"modules": [{"name": "Pts", "type": "PointSet", "file": "points.csv"}]})",
         "module \"Pts\": points.csv: line 3, column 3 (\"z\")"},
        {"missing well file", R"({"modules": [{"name": "Wells", "type": "WellData", "files": ["missing.las"]}]})",
         "module \"Wells\": well file \"missing.las\" not found"},
        {"bad well file", R"({"modules": [{"name": "Wells", "type": "WellData", "files": ["wells.csv"]}]})",
         "module \"Wells\": " + folder.Path("wells.csv") + ": line 2, column 3 (\"Inclination\")"},
        {"no well files", R"({"modules": [{"name": "Wells", "type": "WellData", "files": []}]})",
         "module \"Wells\": \"files\" must be a list of file names"},
        {"well files elsewhere", R"({"modules": [{"name": "Grid", "type": "TestLattice", "files": ["wells.csv"]}]})",
         "module \"Grid\": \"files\" is only for a well data"},
        {"a scene as a lattice file", R"({"modules": [{"name": "Cube", "type": "Lattice", "file": "scene.json"}]})",
         "module \"Cube\": scene.json: neither a NetCDF grid nor a SEG-Y cube"},
        {"missing lattice file", R"({"modules": [{"name": "Cube", "type": "Lattice", "file": "gone.nc"}]})",
         "module \"Cube\": lattice file \"gone.nc\" not found"},
        {"bad view", R"({"modules": [], "view": {"elevation": 95}})", "view: the elevation must be from -90 to 90"},
        {"size beyond 32 bits", R"({"modules": [], "view": {"size": [4294967297, 10]}})", "view: size"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string scene = folder.Write("scene.json", c.scene);
        const CommandResult result = Render({scene, "-o", picture, "--save", folder.Path("doc.fkd")});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("fenrak: " + scene + ": " + c.message));
        EXPECT_EQ(Occurrences(result.err, c.message), 1u) << result.err;
        EXPECT_EQ(folder.Files(), (std::vector<std::string>{"out.png", "points.csv", "scene.json", "wells.csv"}));
        EXPECT_EQ(ReadText(picture), "an earlier picture");
    }
}

// A missing folder is found before the scene runs: the failing box never gets
// to fail, and no output of the run appears.
TEST(Outcome, OutputsAreCheckedBeforeAnythingIsComputed)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", BoxScene(R"("TestBoxFail": "true")"));
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
    const std::string scene = folder.Write("scene.json", BoxScene(R"("TestBoxFailStore": "true")"));
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

TEST(RenderCommand, DocumentRestoresModulesPropertiesAndPicture)
{
    ScratchFolder folder;
    const std::string field = R"({"name": "Field", "type": "FunctionLattice",
                                  "properties": {"FunctionLatticeXNum": "5"}},)";
    const std::string scene = folder.Write(
        "scene.json", R"({"modules": [)" + field + R"(
            {"name": "Box", "type": "TestBox", "inputs": ["Field"],
             "properties": {"TestBoxColor": "0 255 0 255", "TestBoxSize": "0.5"}}],
          "view": {"size": [64, 48], "azimuth": 20, "elevation": 60, "zoom": 0.5, "background": [0, 0, 255]}})");
    const std::string document = folder.Path("scene.fkd");
    ASSERT_EQ(Render({scene, "-o", folder.Path("a.png"), "--save", document}).status, 0);
    EXPECT_EQ(folder.Files(), (std::vector<std::string>{"a.png", "scene.fkd", "scene.json"}));
    const CommandResult reloaded = Render({document, "-o", folder.Path("b.png")});
    ASSERT_EQ(reloaded.status, 0) << reloaded.err;

    // The box on the scene's background, in the view the document restores.
    const render::Image before = ReadPng(folder.Path("a.png"));
    ASSERT_EQ(before.Width(), 64);
    ASSERT_EQ(before.Height(), 48);
    EXPECT_EQ(before.At(0, 0), kBlue);
    EXPECT_EQ(before.At(63, 47), kBlue);
    EXPECT_EQ(before.At(32, 24), shr::Color4b(0, 255, 0, 255));
    EXPECT_TRUE(before == ReadPng(folder.Path("b.png")));
    // --size overrides the view.
    ASSERT_EQ(Render({document, "-o", folder.Path("small.png"), "--size", "20x10"}).status, 0);
    const render::Image small = ReadPng(folder.Path("small.png"));
    EXPECT_EQ(small.Width(), 20);
    EXPECT_EQ(small.Height(), 10);

    // The modules, their link and the values the picture does not show.
    core::VoNetwork& network = core::VoNetwork::Instance();
    network.Init();
    host::NetworkDocument::Load(document);
    ASSERT_EQ(network.size(), 2u);
    core::VoModule* box = network.FindNode(shr::GString("Box"));
    core::VoModule* lattice = network.FindNode(shr::GString("Field"));
    ASSERT_TRUE(box && lattice);
    EXPECT_EQ(box->GetInputConnection(0, 0), lattice);
    host::PropertyEditor boxRows(*box);
    EXPECT_EQ(boxRows.ValueText(boxRows.List().FindKey("TestBoxSize")), "0.5");
    host::PropertyEditor latticeRows(*lattice);
    EXPECT_EQ(latticeRows.ValueText(latticeRows.List().FindKey("FunctionLatticeXNum")), "5");
    // Ids go on above the restored ones.
    EXPECT_EQ(network.CurrentModuleId(), box->Id() < lattice->Id() ? lattice->Id() : box->Id());
    network.DeleteAllNodes();
}

// Well files named in a scene are read through the module's Import; the
// saved document holds the wells and draws the same picture without them.
TEST(RenderCommand, DocumentHoldsTheWellsOfTheScenesFiles)
{
    std::string files;
    for (const char* name : {"heads.csv", "surveys.csv", "KV-101.las", "KV-102.las", "KV-103.las", "KV-104.las",
                             "KV-105.las", "tops.csv"})
        files += std::string(files.empty() ? "\"" : ", \"") + FENRAK_SOURCE_DATA_DIR + "/samples/wells/" + name + "\"";
    ScratchFolder folder;
    const std::string scene = folder.Write(
        "wells.json", "{\"modules\": [{\"name\": \"Wells\", \"type\": \"WellData\", \"files\": [" + files +
                          "]}, {\"name\": \"Tubes\", \"type\": \"WellRender\", \"inputs\": [\"Wells\"],"
                          " \"properties\": {\"WellRenderPathColor\": \"255 255 0 255\", \"WellRenderPathSize\": "
                          "\"12\"}}], \"view\": {\"size\": [200, 150]}}");
    const CommandResult drawn = Render({scene, "-o", folder.Path("scene.png"), "--save", folder.Path("wells.fkd")});
    ASSERT_EQ(drawn.status, 0) << drawn.err;
    const render::Image picture = ReadPng(folder.Path("scene.png"));
    EXPECT_GT(hosttest::Count(picture, 0, 0, 200, 150,
                              [](const shr::Color4b& c) { return c.r > 150 && c.g > 150 && c.b < 60; }),
              200);
    const CommandResult again = Render({folder.Path("wells.fkd"), "-o", folder.Path("doc.png")});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_TRUE(ReadPng(folder.Path("doc.png")) == picture);
}

TEST(RenderCommand, CommandLineMistakes)
{
    struct Case {
        std::vector<std::string> args;
        const char* message;
    } cases[] = {
        {{"--bogus"}, "unknown option \"--bogus\""},
        {{"a.json", "b.json"}, "one scene at a time"},
        {{"a.json", "-o"}, "-o needs a value"},
        {{"a.json", "--size", "100"}, "bad size \"100\""},
        {{"/nonexistent/scene.json"}, "/nonexistent/scene.json: cannot open the scene"},
    };
    for (const Case& c : cases) {
        const CommandResult result = Render(c.args);
        EXPECT_EQ(result.status, 1) << c.message;
        EXPECT_THAT(result.err, HasSubstr(c.message));
    }
}

TEST(PropertiesCommand, ListsKeysKindsAndValues)
{
    const CommandResult result = hosttest::Properties({"TestBox"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, ::testing::ContainsRegex("TestBoxSize +double +1 +Size"));
    EXPECT_THAT(result.out, ::testing::ContainsRegex("TestBoxColor +color +255 0 0 255 +Color"));
    EXPECT_THAT(result.out, ::testing::ContainsRegex("TestBoxFail +check +false +Fail"));

    const CommandResult unknown = hosttest::Properties({"NoSuchModule"});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_THAT(unknown.err, HasSubstr("unknown module type \"NoSuchModule\""));
}

// The background a global settings module gives the network ends with its
// scene: the next scene in the same process starts from the default.
TEST(RenderCommand, GlobalSettingsEndWithTheirScene)
{
    ScratchFolder folder;
    const std::pair<std::string, shr::Color4b> cases[] = {
        {R"({"modules": [{"name": "Settings", "type": "GlobalSettings",
                          "properties": {"EnvironmentBackgroundColor": "255 255 255 255"}}]})",
         shr::Color4b(255, 255, 255, 255)},
        {R"({"modules": []})", shr::Color4b(0, 0, 0, 255)},
    };
    for (const auto& c : cases) {
        const std::string scene = folder.Write("scene.json", c.first);
        ASSERT_EQ(Render({scene, "-o", folder.Path("out.png"), "--size", "8x6"}).status, 0);
        EXPECT_EQ(ReadPng(folder.Path("out.png")).At(4, 3), c.second);
    }
}
