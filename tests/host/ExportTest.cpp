// Data out: `fenrak export` and its writers, and the JSON report of `render`.
#include "HostTestSupport.h"

#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "host/PointFileReader.h"
#include "host/PointFileWriter.h"
#include "host/VtkXmlWriter.h"
#include "shr/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <regex>
#include <sstream>

using hosttest::ReadText;
using hosttest::ScratchFolder;
using Json = nlohmann::json;

namespace {

std::string Attribute(const std::string& xml, const std::string& element, const std::string& name)
{
    std::smatch match;
    const std::regex pattern("<" + element + "[^>]* " + name + "=\"([^\"]*)\"");
    return std::regex_search(xml, match, pattern) ? match[1].str() : std::string();
}

// A .vti file read back as a consumer would: the header's geometry and the
// appended raw blocks, each a 64-bit size and the bytes.
TEST(VtkXmlWriter, ImageFileCarriesGeometryValuesAndBlanks)
{
    const unsigned dims[3] = {3, 2, 2};
    std::vector<float> values(12);
    for (size_t n = 0; n < values.size(); ++n)
        values[n] = float(n) * 1.5f;
    core::VdUniformLattice lattice(shr::Float, dims, values.data(), 1);
    lattice.SetUVWBounds(shr::Box3d(10, 20, -5, 14, 23, 0));
    lattice.SetBlank(7, 0);
    ScratchFolder folder;
    host::VtkXmlWriter::Write(lattice, host::VtkXmlWriter::Kind::Image, folder.Path("a.vti"), "a.vti");
    const std::string text = ReadText(folder.Path("a.vti"));
    EXPECT_EQ(Attribute(text, "VTKFile", "type"), "ImageData");
    EXPECT_EQ(Attribute(text, "VTKFile", "header_type"), "UInt64");
    EXPECT_EQ(Attribute(text, "ImageData", "WholeExtent"), "0 2 0 1 0 1");
    EXPECT_EQ(Attribute(text, "ImageData", "Origin"), "10 20 -5");
    EXPECT_EQ(Attribute(text, "ImageData", "Spacing"), "2 3 5");
    EXPECT_EQ(Attribute(text, "ImageData", "Direction"), ""); // no transform, no turn
    EXPECT_EQ(Attribute(text, "DataArray", "type"), "Float32");
    EXPECT_THAT(text, testing::HasSubstr("Name=\"vtkGhostType\" format=\"appended\" offset=\"56\""));

    const size_t start = text.find("<AppendedData encoding=\"raw\">");
    ASSERT_NE(start, std::string::npos);
    const char* data = text.data() + text.find('_', start) + 1;
    uint64_t size = 0;
    std::memcpy(&size, data, 8);
    ASSERT_EQ(size, 12u * 4u);
    for (size_t n = 0; n < 12; ++n) {
        float value;
        std::memcpy(&value, data + 8 + n * 4, 4);
        if (n == 7)
            EXPECT_TRUE(std::isnan(value));
        else
            EXPECT_EQ(value, values[n]);
    }
    const char* ghosts = data + 8 + size;
    std::memcpy(&size, ghosts, 8);
    ASSERT_EQ(size, 12u);
    for (size_t n = 0; n < 12; ++n)
        EXPECT_EQ(int(ghosts[8 + n]), n == 7 ? 2 : 0);
}

TEST(VtkXmlWriter, KindsRefuseLatticesTheyCannotHold)
{
    const unsigned dims[3] = {2, 2, 2};
    core::VdUniformLattice turned(shr::Float, dims, nullptr, 1);
    shr::Mat4d rotation;
    rotation.RotateZ(0.5, shr::Mat4d::Order(0));
    turned.SetUserTransform(rotation);
    EXPECT_NO_THROW(host::VtkXmlWriter::CheckFits(turned, host::VtkXmlWriter::Kind::Image, "t"));
    EXPECT_NO_THROW(host::VtkXmlWriter::CheckFits(turned, host::VtkXmlWriter::Kind::Structured, "t"));
    EXPECT_THROW(host::VtkXmlWriter::CheckFits(turned, host::VtkXmlWriter::Kind::Rectilinear, "t"), shr::Exception);
}

// Points, blanks and labels (one with a separator, one that looks like a
// number) come back from the point reader as they went out.
TEST(PointFileWriter, PointsReadBackUnchanged)
{
    const double coords[] = {0.1, 1e-7, -3, 500000.123456789, 7000000.5, 812.25, 1.0 / 3.0, 2, 3};
    const double data[] = {1.5, -2, 0.2, 7, 3, 4};
    core::VdPoints points(shr::Double, shr::Double, 3, coords, data, 2);
    points.SetBlank(1, 0);
    points.AddLabel({0, "DH-1, upper"});
    points.AddLabel({2, "42"});
    std::ostringstream text;
    host::PointFileWriter::Write(points, text);
    const host::PointFile back = host::PointFileReader::Parse(text.str(), "points.csv");
    ASSERT_EQ(back.points->VertexCount(), 3u);
    ASSERT_EQ(back.points->ComponentCount(), 2u);
    const auto* readCoords = static_cast<const double*>(back.points->GetCoordPtr());
    for (size_t n = 0; n < 9; ++n)
        EXPECT_EQ(readCoords[n], coords[n]) << n;
    for (unsigned p = 0; p < 3; ++p) {
        for (unsigned c = 0; c < 2; ++c) {
            ASSERT_EQ(back.points->IsBlank(p, c), points.IsBlank(p, c));
            if (!points.IsBlank(p, c)) {
                EXPECT_EQ(*static_cast<const double*>(back.points->DataPtr(p, c)), data[p * 2 + c]);
            }
        }
    }
    EXPECT_EQ(back.points->FindLabel(0)->second, "DH-1, upper");
    EXPECT_EQ(back.points->FindLabel(2)->second, "42");
    EXPECT_EQ(back.points->FindLabel(1), back.points->labels_end());
}

const char* const kScene = R"({"modules": [
  {"name": "Field", "type": "TestLattice",
   "properties": {"SampleLatticeXNum": "6", "SampleLatticeYNum": "5", "SampleLatticeZNum": "4"}},
  {"name": "Shell", "type": "Isosurface", "inputs": ["Field"],
   "properties": {"IsoSurfaceIsovalue": "0.3", "IsoSurfaceComputeVolume": "1"}}]})";

TEST(ExportCommand, WritesTheModuleOutputOrRefusesWithoutLeavingFiles)
{
    ScratchFolder folder;
    const std::string scene = folder.Write("scene.json", kScene);
    struct Case {
        std::vector<std::string> args;
        int status;
        const char* message;
    };
    const Case cases[] = {
        {{scene, "--module", "Field", "-o", folder.Path("field.nc")}, 0, ""},
        {{scene, "--module", "Field", "-o", folder.Path("field.vts")}, 0, ""},
        {{scene, "--module", "Shell", "-o", folder.Path("shell.iv")}, 0, ""},
        {{scene, "--module", "Shell", "-o", folder.Path("shell.vti")}, 1, "module \"Shell\" gives no lattice for"},
        {{scene, "--module", "Nothing", "-o", folder.Path("x.nc")}, 1, "no module named \"Nothing\""},
        {{scene, "--module", "Field", "-o", folder.Path("x.png")}, 1, "name a file ending in .nc"},
        {{scene, "--module", "Field", "-o", folder.Path("no/such/x.nc")}, 1, "does not exist"},
        {{scene, "-o", folder.Path("x.nc")}, 1, "--module NAME"},
    };
    for (const Case& c : cases) {
        const hosttest::CommandResult result = hosttest::Export(c.args);
        EXPECT_EQ(result.status, c.status) << result.err;
        EXPECT_THAT(result.err, testing::HasSubstr(c.message));
    }
    EXPECT_EQ(folder.Files(), (std::vector<std::string>{"field.nc", "field.vts", "scene.json", "shell.iv"}));
    EXPECT_THAT(ReadText(folder.Path("shell.iv")), testing::StartsWith("#Inventor V2.1 ascii"));
}

// A small validator for the keywords the report's schema uses.
void Validate(const Json& value, const Json& schema, const std::string& where)
{
    if (schema.contains("type")) {
        const Json types = schema["type"].is_array() ? schema["type"] : Json::array({schema["type"]});
        bool matched = false;
        for (const Json& type : types) {
            const std::string t = type;
            matched = matched || t == value.type_name() || (t == "integer" && value.is_number_integer());
        }
        ASSERT_TRUE(matched) << where << ": " << value.dump() << " is not " << types.dump();
    }
    if (schema.contains("enum")) {
        EXPECT_NE(std::find(schema["enum"].begin(), schema["enum"].end(), value), schema["enum"].end()) << where;
    }
    if (schema.contains("minimum") && value.is_number()) {
        EXPECT_GE(value.get<double>(), schema["minimum"].get<double>()) << where;
    }
    if (value.is_object()) {
        for (const Json& key : schema.value("required", Json::array()))
            EXPECT_TRUE(value.contains(key.get<std::string>())) << where << " lacks " << key;
        const Json properties = schema.value("properties", Json::object());
        for (const auto& item : value.items()) {
            if (properties.contains(item.key())) {
                Validate(item.value(), properties[item.key()], where + "." + item.key());
            } else {
                EXPECT_NE(schema.value("additionalProperties", true), false) << where << " has " << item.key();
            }
        }
    }
    if (value.is_array() && schema.contains("items")) {
        EXPECT_GE(value.size(), schema.value("minItems", 0u)) << where;
        EXPECT_LE(value.size(), schema.value("maxItems", 1000000u)) << where;
        for (size_t i = 0; i < value.size(); ++i)
            Validate(value[i], schema["items"], where + "[" + std::to_string(i) + "]");
    }
}

Json RenderedReport(const std::string& input, const ScratchFolder& folder)
{
    const hosttest::CommandResult result = hosttest::Render({input, "--report", folder.Path("report.json")});
    EXPECT_EQ(result.status, 0) << result.err;
    const Json report = Json::parse(ReadText(folder.Path("report.json")));
    const Json schema = Json::parse(ReadText(FENRAK_SOURCE_DATA_DIR "/schemas/report.schema.json"));
    Validate(report, schema, "report");
    return report;
}

TEST(RenderReport, FollowsItsSchemaAndCarriesWhatModulesCompute)
{
    ScratchFolder folder;
    const Json report = RenderedReport(folder.Write("scene.json", kScene), folder);
    const Json& field = report["modules"][0];
    EXPECT_EQ(field["outputs"][0]["kind"], "Uniform lattice");
    EXPECT_EQ(field["outputs"][0]["nodes"], Json({6, 5, 4}));
    EXPECT_EQ(field["outputs"][0]["components"][0]["blanks"], 0);
    const Json& shell = report["modules"][1];
    EXPECT_EQ(shell["status"], "ok");
    EXPECT_GT(shell["outputs"][0]["geometry"]["triangles"], 0);
    bool volume = false;
    for (const Json& row : shell["values"])
        volume = volume || (row["key"] == "IsoSurfaceVolume" && std::stod(row["text"].get<std::string>()) > 0.0);
    EXPECT_TRUE(volume) << shell["values"].dump();
}

// A point file drawn with the default scene: the report says which column
// went where and how many cells were below detection.
TEST(RenderReport, SaysWhatEachPointFileWasReadAs)
{
    ScratchFolder folder;
    const Json report = RenderedReport(std::string(FENRAK_HOST_FILES) + "/soil.csv", folder);
    const Json& reading = report["modules"][0]["reading"];
    EXPECT_EQ(reading["points"], 30);
    EXPECT_EQ(reading["x"], "Xloc");
    EXPECT_EQ(reading["y"], "Yloc");
    EXPECT_TRUE(reading["z"].is_null());
    EXPECT_EQ(reading["label"], "Id");
    EXPECT_EQ(reading["unused"], Json({"long", "lat"}));
    EXPECT_EQ(reading["below_detection"], "blank");
    EXPECT_EQ(reading["values"], Json::parse(R"([{"column": "Cd", "below_detection": 5},
        {"column": "Zn", "below_detection": 2}, {"column": "Pb", "below_detection": 0}])"));
    for (size_t m = 1; m < report["modules"].size(); ++m)
        EXPECT_FALSE(report["modules"][m].contains("reading")) << report["modules"][m]["name"];
}

} // namespace
