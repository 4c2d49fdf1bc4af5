#include "host/ReportWriter.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/PropertyEditor.h"
#include "host/ScenePass.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>

namespace host {

namespace {

using Json = nlohmann::ordered_json;

// Non-finite numbers have no JSON form: they are null.
Json Number(double value)
{
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json Bounds(const shr::Box3d& box)
{
    if (box.IsEmpty())
        return nullptr;
    return Json{{"min", {Number(box.min.x), Number(box.min.y), Number(box.min.z)}},
                {"max", {Number(box.max.x), Number(box.max.y), Number(box.max.z)}}};
}

Json Components(const core::VdVertexData& data)
{
    Json components = Json::array();
    for (unsigned int c = 0; c < data.ComponentCount(); ++c) {
        unsigned int blanks = 0;
        for (unsigned int v = 0; data.HasBlanks() && v < data.VertexCount(); ++v)
            blanks += data.IsBlank(v, c) ? 1u : 0u;
        const bool empty = blanks == data.VertexCount();
        const std::pair<double, double> range = empty ? std::make_pair(double(NAN), double(NAN)) : data.DataMinMax(c);
        components.push_back({{"min", Number(range.first)}, {"max", Number(range.second)}, {"blanks", blanks}});
    }
    return components;
}

Json Output(const core::VbPort& port)
{
    Json output{{"port", port.Name()}};
    const core::VdData* data = port.Data();
    output["kind"] = data ? Json(data->GetTypeName()) : Json(nullptr);
    if (const auto* spatial = dynamic_cast<const core::VdSpatialData*>(data))
        output["bounds"] = Bounds(spatial->GetXYZBounds());
    if (const auto* lattice = dynamic_cast<const core::VdLattice*>(data)) {
        const unsigned int* dims = lattice->GetDims();
        output["nodes"] = {dims[0], dims[1], dims[2]};
    } else if (const auto* points = dynamic_cast<const core::VdPoints*>(data)) {
        output["points"] = points->VertexCount();
    }
    if (const auto* vertices = dynamic_cast<const core::VdVertexData*>(data))
        output["components"] = Components(*vertices);
    if (const auto* geometry = dynamic_cast<const core::VdGeometry*>(data)) {
        core::VdGeometry::Statistics counts;
        geometry->GetStatistics(counts);
        output["geometry"] = {{"triangles", counts.triangles}, {"lines", counts.lines}, {"points", counts.points},
                              {"texts", counts.texts},         {"images", counts.images}};
    }
    return output;
}

// Rows the module fills in itself: statics and rows it makes read-only.
Json Values(core::VoModule& module)
{
    PropertyEditor editor(module);
    Json values = Json::array();
    const HostPropertyList& list = editor.List();
    for (const int id : list.Order()) {
        const HostPropertyList::RowInfo& info = *list.Info(id);
        if (info.kind != "static" && !list.ReadOnly(id))
            continue;
        values.push_back({{"label", info.label}, {"key", info.key}, {"text", editor.ValueText(id)}});
    }
    return values;
}

Json NameOrNull(const std::string& name)
{
    return name.empty() ? Json(nullptr) : Json(name);
}

Json Reading(const PointFileReading& reading)
{
    Json values = Json::array();
    for (size_t v = 0; v < reading.valueNames.size(); ++v)
        values.push_back({{"column", reading.valueNames[v]},
                          {"below_detection", v < reading.censored.size() ? reading.censored[v] : 0}});
    return Json{{"points", reading.pointCount},
                {"x", NameOrNull(reading.coordNames[0])},
                {"y", NameOrNull(reading.coordNames[1])},
                {"z", NameOrNull(reading.coordNames[2])},
                {"z_from_depth", reading.zFromDepth},
                {"values", values},
                {"label", NameOrNull(reading.labelName)},
                {"unused", reading.ignoredNames},
                {"below_detection", PointFileOptions::RuleName(reading.belowDetection)}};
}

Json Module(core::VoModule& module, const HostUiProxy& proxy, const LoadedScene& loaded)
{
    const HostUiProxy::ModuleReport report = proxy.Report(module.Id());
    Json entry{{"name", module.Name()},
               {"type", module.GetModuleInfo()->UiName()},
               {"status", HostUiProxy::StatusName(module.GetStatus())},
               {"seconds", report.executeSeconds},
               {"messages", report.errors}};
    Json outputs = Json::array();
    for (size_t o = 0; o < module.GetOutputCount(); ++o)
        outputs.push_back(Output(*module.GetOutput(o)));
    entry["outputs"] = outputs;
    entry["values"] = Values(module);
    const auto reading = loaded.readings.find(module.Name());
    if (reading != loaded.readings.end())
        entry["reading"] = Reading(reading->second);
    return entry;
}

} // namespace

std::string ReportWriter::Build(const std::string& scene, const HostUiProxy& proxy, const LoadedScene& loaded)
{
    Json modules = Json::array();
    for (core::VoModule* module : core::VoNetwork::Instance())
        modules.push_back(Module(*module, proxy, loaded));
    return Json{{"scene", scene}, {"warnings", loaded.warnings}, {"modules", modules}}.dump(2) + "\n";
}

void ReportWriter::Write(const std::string& path, const std::string& scene, const HostUiProxy& proxy,
                         const LoadedScene& loaded)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << Build(scene, proxy, loaded);
    out.close();
    if (!out)
        HOST_SYSTEM_ERROR("%s: cannot write the report: %s", path.c_str(), std::strerror(errno));
}

} // namespace host
