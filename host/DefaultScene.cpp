#include "host/DefaultScene.h"

#include "host/PointFileReader.h"
#include "host/PointSetLoader.h"

#include <algorithm>

namespace host {

namespace {

const char* const kColorMap = "Rainbow:";
using Properties = std::vector<std::pair<std::string, std::string>>;
const Properties kWhiteSymbols = {{"ScatterPlotColorMethod", "0"}, {"ScatterPlotColorFixed", "white"}};

ModuleSpec Module(const std::string& name, const std::string& type, const std::string& input, Properties properties)
{
    ModuleSpec spec;
    spec.name = name;
    spec.type = type;
    if (!input.empty())
        spec.inputs.push_back(input);
    spec.properties = std::move(properties);
    return spec;
}

// The points as symbols: squares drawn as points, fast for large files.
ModuleSpec Symbols(Properties colour)
{
    colour.insert(colour.begin(), {"ScatterPlotMarker", "30"});
    return Module("Symbols", "ScatterPlot", "Points", std::move(colour));
}

// Whether every point lies at one Z.
bool IsFlat(const core::VdPoints& points)
{
    const shr::Box3d box = points.GetUVWBounds();
    return !(box.max.z > box.min.z);
}

} // namespace

DefaultSceneChoice DefaultScene::For(const std::string& path)
{
    const PointFile file = PointFileReader::Read(path);
    DefaultSceneChoice choice;
    SceneDescription& scene = choice.scene;
    scene.fileName = path;
    ModuleSpec points = Module("Points", PointSetLoader::TypeName, "", {});
    points.file = path;
    scene.modules.push_back(points);
    if (file.valueNames.empty()) {
        scene.modules.push_back(Symbols(kWhiteSymbols));
        choice.summary = "its points (no value column to grid)";
        return choice;
    }
    const std::string& value = file.valueNames.front();
    if (IsFlat(*file.points)) {
        // The map lies on the grid's lower layer, under the sample positions.
        scene.modules.push_back(Symbols(kWhiteSymbols));
        scene.modules.push_back(Module("Grid", "Gridder", "Points", {{"Gridder3ZNum", "2"}}));
        scene.modules.push_back(Module("Map", "OrthoImage", "Grid",
                                       {{"OrthoSliceSlice", "1"}, {"OrthoSliceColormap", kColorMap},
                                        {"OrthoSliceLegendEnable", "1"}, {"OrthoSliceLegendTitle", value},
                                        {"OrthoSliceLegendLabelFormatNumDigits", "4"}}));
        scene.view.azimuth = 0.0;
        scene.view.elevation = 90.0;
        choice.summary = "its points over a map of \"" + value + "\" gridded on an automatic grid, with a legend";
    } else {
        scene.modules.push_back(Symbols({{"ScatterPlotColorComponent", "0"}, {"ScatterPlotColormap", kColorMap}}));
        scene.modules.push_back(Module("Grid", "Gridder", "Points", {}));
        scene.modules.push_back(Module("Shell", "Isosurface", "Grid",
                                       {{"IsoSurfaceColorMethod", "1"}, {"IsoSurfaceColormap", kColorMap},
                                        {"IsoSurfaceOpacity", "0.5"}, {"IsoSurfaceLegendEnable", "1"},
                                        {"IsoSurfaceLegendTitle", value}, {"IsoSurfaceLegendLabelFormatNumDigits", "4"}}));
        choice.summary = "its points coloured by \"" + value +
                         "\", gridded on an automatic grid, with a shell at mid-range and a legend";
    }
    return choice;
}

} // namespace host
