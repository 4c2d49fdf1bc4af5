// A geoscientist's own files, as a first-time user gives them: a 2-D survey
// with an Id column, soil samples with local and geographic coordinates and
// assays below detection, a survey of one value (the files in files/). Each
// gives the right picture, or says why not.
#include "HostTestSupport.h"

#include "core/data/VdGeometry.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/SceneBuilder.h"

#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>


using hosttest::CommandResult;
using hosttest::ReadText;
using hosttest::Render;
using hosttest::ScratchFolder;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

std::string File(const std::string& name)
{
    return std::string(FENRAK_HOST_FILES) + "/" + name;
}

} // namespace

// A scene may say which column is which; without it, an identifier is never
// an axis, X and Y alone make a 2-D set, and a column whose first cell is
// below detection still holds numbers. --stats says what was taken.
TEST(FirstContact, ColumnsAreTakenAsMappedOrByTheRulesAndReported)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", R"({"modules": [
        {"name": "Soil", "type": "PointSet", "file": ")" + File("soil.csv") + R"(",
         "columns": {"x": "Xloc", "y": 3, "z": null, "values": ["Cd", "Zn"], "label": "Id"},
         "below_detection": "half"},
        {"name": "Soil as is", "type": "PointSet", "file": ")" + File("soil.csv") + R"("},
        {"name": "Cd grid", "type": "Gridder", "inputs": ["Soil as is"],
         "properties": {"Gridder3Component": "1", "Gridder3XNum": "6", "Gridder3YNum": "5", "Gridder3ZNum": "2"}},
        {"name": "Survey", "type": "PointSet", "file": ")" + File("survey-2d.csv") + R"("},
        {"name": "Coal", "type": "PointSet", "file": ")" + File("coal.csv") + R"("},
        {"name": "Seam", "type": "Gridder", "inputs": ["Coal"],
         "properties": {"Gridder3XNum": "6", "Gridder3YNum": "5", "Gridder3ZNum": "2"}}]})");
    const CommandResult result = Render({scene, "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string& out = result.out;
    EXPECT_THAT(out, HasSubstr("point set \"Soil\": 30 points; X = Xloc, Y = Yloc, Z = 0 (2-D); values: Cd, Zn; "
                               "labels: Id; below detection (read as half): Cd 5, Zn 2"));
    EXPECT_THAT(out, HasSubstr("point set \"Survey\": 36 points; X = X, Y = Y, Z = 0 (2-D); values: Value; "
                               "labels: Id"));
    EXPECT_THAT(out, ::testing::ContainsRegex("Cd grid +Gridder +ok"));
    EXPECT_THAT(out, ::testing::ContainsRegex("Seam +Gridder +ok")); // one value: a value, not Z
}

// The legend's text stands out from whatever lies behind it, unless the
// scene chose its colour: white on the dark default, dark on white.
TEST(FirstContact, LegendsAreReadableOnTheDefaultBackgroundAndOnWhite)
{
    ScratchFolder folder;
    // Pixels of the lower-left legend corner of an 800 x 600 picture that pass `test`.
    const auto legend = [&](const std::string& view, bool (*test)(const shr::Color4b&)) {
        const std::string scene = folder.Write("scene.json", R"({"modules": [
            {"name": "Survey", "type": "PointSet", "file": ")" + File("survey-2d.csv") + R"("},
            {"name": "Grid", "type": "Gridder", "inputs": ["Survey"],
             "properties": {"Gridder3XNum": "8", "Gridder3YNum": "8", "Gridder3ZNum": "2"}},
            {"name": "Map", "type": "OrthoImage", "inputs": ["Grid"],
             "properties": {"OrthoSliceColormap": "Rainbow:", "OrthoSliceLegendEnable": "1",
                            "OrthoSliceLegendTitle": "Value"}}])" + view + "}");
        const std::string picture = folder.Path("map.png");
        EXPECT_EQ(Render({scene, "-o", picture}).status, 0);
        const render::Image image = hosttest::ReadPng(picture);
        return hosttest::Count(image, 0, 250, 200, image.Height(), test);
    };
    EXPECT_GT(legend("", [](const shr::Color4b& c) { return c.r > 200 && c.g > 200 && c.b > 200; }), 40);
    EXPECT_GT(legend(R"(, "view": {"background": "white"})",
                     [](const shr::Color4b& c) { return c.r < 60 && c.g < 60 && c.b < 60; }),
              40);
}

// Through a filter, the gridder's data arrive only in the first pass and
// bring the automatic grid with them: the scene's grid is the one computed,
// without a button in the scene.
TEST(FirstContact, TheGridderComputesTheScenesGridUnlessToldNot)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", R"({"modules": [
        {"name": "Survey", "type": "PointSet", "file": ")" + File("survey-2d.csv") + R"("},
        {"name": "Unique", "type": "DuplicateFilter", "inputs": ["Survey"]},
        {"name": "Grid", "type": "Gridder", "inputs": ["Unique"],
         "properties": {"Gridder3XNum": "7", "Gridder3YNum": "5", "Gridder3ZNum": "3"}}]})");
    ASSERT_EQ(Render({scene, "--report", folder.Path("report.json")}).status, 0);
    const nlohmann::json grid = nlohmann::json::parse(ReadText(folder.Path("report.json")))["modules"][2];
    EXPECT_EQ(grid["outputs"][0]["kind"], "Uniform lattice");
    EXPECT_EQ(grid["outputs"][0]["nodes"], nlohmann::json({7, 5, 3}));
}

TEST(FirstContact, SinksThatDrawNothingAreNamedWithTheLikelyCause)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", R"({"modules": [
        {"name": "Coal", "type": "PointSet", "file": ")" + File("coal.csv") + R"("},
        {"name": "Grid", "type": "Gridder", "inputs": ["Coal"], "compute": false},
        {"name": "Shell", "type": "Isosurface", "inputs": ["Grid"]},
        {"name": "Lonely", "type": "OrthoImage"},
        {"name": "Sun", "type": "Light"}, {"name": "Settings", "type": "GlobalSettings"},
        {"name": "Label", "type": "Text", "properties": {"TextText": "seam", "TextXPos": "600", "TextZPos": "-1250"}}]})");
    const CommandResult result = Render({scene, "--stats"});
    EXPECT_EQ(result.status, 0) << result.err;
    for (const char* drawing : {"\"Sun\"", "\"Settings\"", "\"Label\""})
        EXPECT_THAT(result.err, Not(HasSubstr(drawing))) << "lights and settings set state, text draws";
    EXPECT_THAT(result.err, HasSubstr("fenrak: warning: " + scene + ": module \"Shell\" draws nothing: its input "
                                      "\"Grid\" gives no data (it has not computed"));
    EXPECT_THAT(result.err, HasSubstr("module \"Lonely\" draws nothing: nothing is linked to its input"));
}

// Told by content: a point file given where a scene goes is drawn with a
// default scene, which the host says; a file that is none of the three is
// refused saying what was expected.
TEST(FirstContact, APointFileGivenAsTheSceneIsDrawnWithADefaultScene)
{
    ScratchFolder folder;
    std::string cube = "x,y,z,grade\n";
    for (int n = 0; n < 27; ++n)
        cube += std::to_string(n % 3) + "," + std::to_string(n / 3 % 3) + "," + std::to_string(n / 9) + "," +
                std::to_string(n == 13 ? 10 : 1) + "\n";
    const struct {
        std::string file;
        const char* says;
        const char* symbols; // the scatter plot's row of --stats: every point drawn
    } cases[] = {
        {File("coal.csv"), "drawing its points over a map of \"Thickness\" gridded on an automatic grid",
         "Symbols +ScatterPlot +ok .* 25\n"},
        {folder.Write("cube.txt", cube), "drawing its points coloured by \"grade\", gridded on an automatic grid, "
         "with a shell", "Symbols +ScatterPlot +ok .* 27\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        const std::string picture = folder.Path("points.png");
        const CommandResult result = Render({c.file, "-o", picture, "--size", "80x60", "--stats"});
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(result.err, HasSubstr(c.file + " is a point file, not a scene: " + c.says));
        EXPECT_THAT(result.out, ::testing::ContainsRegex(c.symbols));
        const render::Image image = hosttest::ReadPng(picture);
        EXPECT_GT(hosttest::Count(image, 0, 0, 80, 60, [&](const shr::Color4b& c) { return c != image.At(0, 0); }),
                  80 * 60 / 10);
    }
    const CommandResult binary = Render({folder.Write("image.bin", std::string("\x89PNG\r\n\x1a\n\0\0", 10))});
    EXPECT_EQ(binary.status, 1);
    EXPECT_THAT(binary.err, HasSubstr("image.bin: neither a JSON scene, a saved document nor a point file"));
}

// Legends and view annotations are drawn by callbacks in screen space; the
// scene-graph file holds them as plain nodes, under cameras of their own that
// come after the scene's, so that a viewer sees the scene as the picture does.
// Only the outputs asked for are written: here no picture.
TEST(FirstContact, TheSceneGraphFileHoldsLegendsAndAnnotations)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", R"({"modules": [
        {"name": "Field", "type": "FunctionLattice", "properties": {"FunctionLatticeXNum": "8",
         "FunctionLatticeYNum": "8", "FunctionLatticeZNum": "8"}},
        {"name": "Shell", "type": "Isosurface", "inputs": ["Field"],
         "properties": {"IsoSurfaceLegendEnable": "1", "IsoSurfaceLegendTitle": "Distance"}},
        {"name": "Title", "type": "Annotation", "properties": {"AnnotationText": "Survey 2024"}},
        {"name": "Box", "type": "TestBox", "properties": {"TestBoxSize": "2"}}]})");
    const CommandResult result = Render({scene, "--stats", "--iv", folder.Path("scene.iv")});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(folder.Files(), (std::vector<std::string>{"scene.iv", "scene.json"}));
    // name, type, status, seconds, then triangles of a cube: 6 faces of 2.
    EXPECT_THAT(result.out, ::testing::ContainsRegex("Box +TestBox +ok +[0-9.]+ +12 +0 +0"));
    const std::string graph = ReadText(folder.Path("scene.iv"));
    EXPECT_EQ(graph.rfind("#Inventor V2.1 ascii", 0), 0u);
    EXPECT_THAT(graph, HasSubstr("width 2"));
    const size_t camera = graph.find("PerspectiveCamera");
    const size_t legend = graph.find("Annotation");
    ASSERT_NE(camera, std::string::npos);
    ASSERT_NE(legend, std::string::npos);
    EXPECT_LT(camera, legend);
    EXPECT_THAT(graph.substr(legend), HasSubstr("OrthographicCamera"));
    EXPECT_THAT(graph.substr(legend), HasSubstr("\"Distance\""));
    EXPECT_THAT(graph.substr(legend), HasSubstr("\"Survey 2024\""));
    EXPECT_THAT(graph, Not(HasSubstr("Callback"))) << "the drawing callback stays out of the file";
}

// The sample scene's two surfaces must not coincide (they fought in the depth
// buffer): the blend surface lies inside the shell, apart from it.
TEST(FirstContact, TheSampleScenesSurfacesStandApart)
{
    core::VoNetwork& network = core::VoNetwork::Instance();
    network.Init();
    const host::SceneDescription scene =
        host::SceneFile::Read(std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/function-lattice.json");
    host::SceneBuilder builder(scene);
    builder.Build();
    for (int pass = 0; pass < 2; ++pass) {
        network.Update();
        network.WaitUntilDone(60000);
        builder.RestoreReplacedValues();
    }
    const auto box = [&](const char* name) {
        SoGetBoundingBoxAction measure(SbViewportRegion(100, 100));
        measure.apply(network.FindNode(shr::GString(name))->OutputGeometry(0).GetRoot().get());
        return measure.getBoundingBox();
    };
    const SbBox3f shell = box("Shell"), blend = box("Blend surface");
    ASSERT_FALSE(blend.isEmpty());
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_GT(blend.getMin()[axis] - shell.getMin()[axis], 0.02) << axis;
        EXPECT_GT(shell.getMax()[axis] - blend.getMax()[axis], 0.02) << axis;
    }
    network.DeleteAllNodes();
}
