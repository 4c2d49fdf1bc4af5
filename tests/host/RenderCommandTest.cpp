// `fenrak render` driven in-process: scene errors, pictures, documents,
// statistics and the scene-graph file.
#include "HostTestSupport.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/NetworkDocument.h"
#include "host/PropertyEditor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>


using hosttest::CommandResult;
using hosttest::FileExists;
using hosttest::ReadPng;
using hosttest::ReadText;
using hosttest::Render;
using hosttest::ScratchFolder;
using ::testing::HasSubstr;

namespace {

const shr::Color4b kBlue(0, 0, 255, 255);

// A red box on blue, 64 x 48, seen from straight above.
std::string BoxScene(const std::string& boxProperties, const std::string& extraModules = "")
{
    return R"({"modules": [)" + extraModules +
           R"({"name": "Box", "type": "TestBox", "properties": {)" + boxProperties + R"(}}],
              "view": {"size": [64, 48], "azimuth": 0, "elevation": 90, "background": [0, 0, 255]}})";
}

} // namespace

TEST(RenderCommand, SceneErrorsNameFileModuleAndKeyAndWriteNothing)
{
    struct Case {
        const char* what;
        std::string scene;
        std::string message; // after "<path>: "
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
        {"execution fails", BoxScene(R"("TestBoxFail": "true")"),
         "module \"Box\": execution failed: the box refuses to be built"},
        {"duplicate names", R"({"modules": [{"name": "A", "type": "TestBox"}, {"name": "A", "type": "TestBox"}]})",
         "module \"A\": a second module of this name"},
        {"misspelt module key", R"({"modules": [{"name": "A", "type": "TestBox", "propertes": {}}]})",
         "module \"A\": unknown key \"propertes\""},
        {"missing point file", R"({"modules": [{"name": "Pts", "type": "PointSet", "file": "absent.csv"}]})",
         "module \"Pts\": point file \"absent.csv\" not found"},
        {"bad view", R"({"modules": [], "view": {"elevation": 95}})", "view: the elevation must be from -90 to 90"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ScratchFolder folder;
        const std::string scene = folder.Write("scene.json", c.scene);
        const CommandResult result = Render({scene, "-o", folder.Path("out.png"), "--save", folder.Path("doc.fkd")});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr(scene + ": " + c.message));
        EXPECT_EQ(folder.Files(), std::vector<std::string>{"scene.json"});
    }
}

TEST(RenderCommand, FailedSceneLeavesAnEarlierPictureAlone)
{
    ScratchFolder folder;
    const std::string picture = folder.Write("out.png", "an earlier picture");
    const std::string scene = folder.Write("scene.json", BoxScene(R"("TestBoxFail": "true")"));
    EXPECT_EQ(Render({scene, "-o", picture}).status, 1);
    EXPECT_EQ(ReadText(picture), "an earlier picture");
}

TEST(RenderCommand, DrawsTheSceneOnItsBackground)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", BoxScene(R"("TestBoxColor": "255 0 0 255")"));
    const CommandResult result = Render({scene, "-o", folder.Path("box.png")});
    ASSERT_EQ(result.status, 0) << result.err;
    const render::Image image = ReadPng(folder.Path("box.png"));
    ASSERT_EQ(image.Width(), 64);
    ASSERT_EQ(image.Height(), 48);
    EXPECT_EQ(image.At(0, 0), kBlue);
    EXPECT_EQ(image.At(63, 47), kBlue);
    EXPECT_EQ(image.At(32, 24), shr::Color4b(255, 0, 0, 255));
    EXPECT_EQ(folder.Files(), (std::vector<std::string>{"box.png", "scene.json"}));

    // --size overrides the scene's view.
    ASSERT_EQ(Render({scene, "-o", folder.Path("small.png"), "--size", "20x10"}).status, 0);
    const render::Image small = ReadPng(folder.Path("small.png"));
    EXPECT_EQ(small.Width(), 20);
    EXPECT_EQ(small.Height(), 10);
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
    const CommandResult reloaded = Render({document, "-o", folder.Path("b.png"), "--stats"});
    ASSERT_EQ(reloaded.status, 0) << reloaded.err;

    const render::Image before = ReadPng(folder.Path("a.png"));
    EXPECT_EQ(before.At(32, 24), shr::Color4b(0, 255, 0, 255));
    EXPECT_TRUE(before == ReadPng(folder.Path("b.png")));
    EXPECT_THAT(reloaded.out, HasSubstr("Field"));
    EXPECT_THAT(reloaded.out, HasSubstr("FunctionLattice"));

    // The modules, their link and their values, as the document restores them.
    core::VoNetwork& network = core::VoNetwork::Instance();
    network.Init();
    const host::SceneView view = host::NetworkDocument::Load(document);
    EXPECT_EQ(view.width, 64);
    EXPECT_EQ(view.zoom, 0.5);
    ASSERT_EQ(network.size(), 2u);
    core::VoModule* box = network.FindNode(shr::GString("Box"));
    core::VoModule* lattice = network.FindNode(shr::GString("Field"));
    ASSERT_TRUE(box && lattice);
    EXPECT_EQ(box->GetInputConnection(0, 0), lattice);
    host::PropertyEditor boxRows(*box);
    EXPECT_EQ(boxRows.ValueText(boxRows.List().FindKey("TestBoxSize")), "0.5");
    EXPECT_EQ(boxRows.ValueText(boxRows.List().FindKey("TestBoxColor")), "0 255 0 255");
    host::PropertyEditor latticeRows(*lattice);
    EXPECT_EQ(latticeRows.ValueText(latticeRows.List().FindKey("FunctionLatticeXNum")), "5");
    // Ids go on above the restored ones.
    EXPECT_EQ(network.CurrentModuleId(), box->Id() < lattice->Id() ? lattice->Id() : box->Id());
    network.DeleteAllNodes();
}

TEST(RenderCommand, CorruptDocumentIsAUserError)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", BoxScene(""));
    const std::string document = folder.Path("doc.fkd");
    ASSERT_EQ(Render({scene, "--save", document}).status, 0);
    std::string bytes = ReadText(document);
    const std::string cut = folder.Write("cut.fkd", bytes.substr(0, bytes.size() / 2));
    const CommandResult result = Render({cut, "-o", folder.Path("cut.png")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(cut + ": cannot read the document"));
    EXPECT_FALSE(FileExists(folder.Path("cut.png")));
    EXPECT_EQ(core::VoNetwork::Instance().size(), 0u);
}

TEST(RenderCommand, StatisticsAndSceneGraphFile)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", BoxScene(R"("TestBoxSize": "2")"));
    const CommandResult result = Render({scene, "--stats", "--iv", folder.Path("scene.iv")});
    ASSERT_EQ(result.status, 0) << result.err;
    // Only what was asked for: no picture.
    EXPECT_EQ(folder.Files(), (std::vector<std::string>{"scene.iv", "scene.json"}));
    // name, type, status, seconds, then triangles of a cube: 6 faces of 2.
    EXPECT_THAT(result.out, ::testing::ContainsRegex("Box +TestBox +ok +[0-9.]+ +12 +0 +0"));
    const std::string graph = ReadText(folder.Path("scene.iv"));
    EXPECT_EQ(graph.rfind("#Inventor V2.1 ascii", 0), 0u);
    EXPECT_THAT(graph, HasSubstr("Cube"));
    EXPECT_THAT(graph, HasSubstr("width 2"));
}

TEST(RenderCommand, PointSetReadsItsFileBesideTheScene)
{
    ScratchFolder folder;
    folder.Write("samples.csv", "Easting,Northing,Elevation,Cu\n0,0,0,1\n1,1,1,2\n");
    const std::string scene = folder.Write(
        "scene.json", R"({"modules": [{"name": "Samples", "type": "PointSet", "file": "samples.csv"}]})");
    const CommandResult result = Render({scene, "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, ::testing::ContainsRegex("Samples +PointSet +ok"));

    folder.Write("samples.csv", "Easting,Northing,Elevation,Cu\n0,0,0,1\n1,1,x,2\n");
    const CommandResult bad = Render({scene, "--stats"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_THAT(bad.err, HasSubstr(scene + ": module \"Samples\": samples.csv: line 3, column 3 (\"Elevation\")"));
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

// The sample scene of the source tree, drawn by the library's own modules.
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

TEST(RenderCommand, SampleSceneDrawsSurfaces)
{
    ScratchFolder folder;
    const std::string picture = folder.Path("sample.png");
    const CommandResult result =
        Render({std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/function-lattice.json", "-o", picture, "--size", "80x60"});
    ASSERT_EQ(result.status, 0) << result.err;
    const render::Image image = ReadPng(picture);
    const shr::Color4b background = image.At(0, 0);
    int drawn = 0, seeThrough = 0;
    for (int y = 0; y < image.Height(); ++y) {
        for (int x = 0; x < image.Width(); ++x) {
            drawn += image.At(x, y) != background;
            seeThrough += image.At(x, y).a != 255;
        }
    }
    EXPECT_GT(drawn, 80 * 60 / 20); // the surfaces cover a good part of the view
    EXPECT_EQ(seeThrough, 0) << "the translucent shell leaves the picture opaque";
}

// The built-in scene: a translucent shell with a core inside, a vertical
// section behind them, and the shell's legend in the lower left corner, its
// strip running from the map's blue at the bottom to its red at the top.
TEST(RenderCommand, DemoSceneShowsSurfacesAndTheirLegend)
{
    ScratchFolder folder;
    const std::string picture = folder.Path("demo.png");
    const CommandResult result = Render({"-o", picture, "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find("Shell"), std::string::npos) << result.out;
    const render::Image image = ReadPng(picture);
    ASSERT_EQ(image.Width(), 1024);
    const shr::Color4b background = image.At(1000, 20);
    EXPECT_EQ(background, shr::Color4b(0, 0, 0, 255));

    const shr::Color4b stripBottom = image.At(50, 696), stripTop = image.At(50, 380);
    EXPECT_GT(stripBottom.b, 200);
    EXPECT_LT(stripBottom.r, 40);
    EXPECT_GT(stripTop.r, 200);
    EXPECT_LT(stripTop.b, 40);

    const shr::Color4b surface = image.At(475, 480);
    EXPECT_GT(surface.g, 150); // the isovalues map to green and yellow
    EXPECT_GT(surface.g, surface.b);
}
