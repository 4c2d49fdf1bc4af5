#include "host/ReportWriter.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostUiProxy.h"
#include "host/PropertyEditor.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <ostream>

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
    for (const auto& row : editor.List().Rows()) {
        const HostPropertyList::RowInfo& info = row.second;
        if (info.kind != "static" && !editor.List().ReadOnly(row.first))
            continue;
        values.push_back({{"label", info.label}, {"key", info.key}, {"text", editor.ValueText(row.first)}});
    }
    return values;
}

Json Module(core::VoModule& module, const HostUiProxy& proxy)
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
    return entry;
}

} // namespace

std::string ReportWriter::Build(const std::string& scene, const HostUiProxy& proxy)
{
    Json modules = Json::array();
    for (core::VoModule* module : core::VoNetwork::Instance())
        modules.push_back(Module(*module, proxy));
    return Json{{"scene", scene}, {"modules", modules}}.dump(2) + "\n";
}

void ReportWriter::Write(const std::string& scene, const HostUiProxy& proxy, std::ostream& out)
{
    out << Build(scene, proxy);
}

} // namespace host
