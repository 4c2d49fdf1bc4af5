#include "host/SceneStatistics.h"

#include "core/data/VdGeometry.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostUiProxy.h"
#include "shr/StringUtil.h"

#include <ostream>

namespace host {

namespace {

// Summed over every geometry output of the module.
core::VdGeometry::Statistics GeometryOf(const core::VoModule& module)
{
    core::VdGeometry::Statistics total;
    for (size_t o = 0; o < module.GetOutputCount(); ++o) {
        const auto* geometry = dynamic_cast<const core::VdGeometry*>(module.GetOutput(o)->Data());
        if (!geometry)
            continue;
        core::VdGeometry::Statistics one;
        geometry->GetStatistics(one);
        total.triangles += one.triangles;
        total.lines += one.lines;
        total.points += one.points;
    }
    return total;
}

} // namespace

void SceneStatistics::Print(std::ostream& out, const HostUiProxy& proxy,
                            const std::map<std::string, PointFileReading>& readings)
{
    out << shr::ToString("%-20s %-16s %-9s %9s %10s %8s %8s\n", "module", "type", "status", "time (s)", "triangles",
                         "lines", "points");
    for (const core::VoModule* module : core::VoNetwork::Instance()) {
        const core::VdGeometry::Statistics geometry = GeometryOf(*module);
        out << shr::ToString("%-20s %-16s %-9s %9.3f %10u %8u %8u\n", module->Name().c_str(),
                             module->GetModuleInfo()->UiName().c_str(), HostUiProxy::StatusName(module->GetStatus()),
                             proxy.Report(module->Id()).executeSeconds, geometry.triangles, geometry.lines,
                             geometry.points);
    }
    // Apart from the table, after a blank line.
    if (!readings.empty())
        out << "\n";
    for (const auto& reading : readings)
        out << "point set \"" << reading.first << "\": " << reading.second.Summary() << "\n";
}

} // namespace host
