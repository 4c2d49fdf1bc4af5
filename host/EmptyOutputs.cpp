#include "host/EmptyOutputs.h"

#include "core/data/VdGeometry.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"

namespace host {

namespace {

// Whether the module has a shown geometry output that nothing takes, and
// drew nothing into any of its geometry outputs.
bool IsEmptySink(const core::VoModule& module)
{
    bool sink = false;
    core::VdGeometry::Statistics total;
    for (size_t o = 0; o < module.GetOutputCount(); ++o) {
        const core::VbPort& output = *module.GetOutput(o);
        const auto* geometry = dynamic_cast<const core::VdGeometry*>(output.Data());
        if (!geometry)
            continue;
        sink = sink || (output.empty() && geometry->IsVisible() && module.IsGeometryVisible());
        core::VdGeometry::Statistics one;
        geometry->GetStatistics(one);
        total.triangles += one.triangles;
        total.lines += one.lines;
        total.points += one.points;
    }
    return sink && total.triangles == 0 && total.lines == 0 && total.points == 0;
}

std::string LikelyCause(const core::VoModule& module)
{
    if (module.GetInputCount() == 0)
        return "it made no geometry";
    const core::VbPort::Connection* link = module.GetInput(0)->GetConnection(0);
    if (!link || !link->module)
        return "nothing is linked to its input";
    const core::VoModule* source = link->module;
    const core::VbPort* output = source->GetOutput(static_cast<size_t>(link->port));
    if (!output || !output->Data()) {
        std::string cause = "its input \"" + source->Name() + "\" gives no data";
        if (source->GetStatus() == core::VoModule::ModuleIdle)
            cause += " (it has not computed: leave its \"compute\" on, or press its compute button)";
        return cause;
    }
    return "nothing of its input meets its settings (an isovalue outside the data's range, a plane that misses "
           "the data)";
}

} // namespace

std::vector<std::string> EmptyOutputs::Warnings(const std::string& scene)
{
    std::vector<std::string> warnings;
    for (const core::VoModule* module : core::VoNetwork::Instance()) {
        if (IsEmptySink(*module))
            warnings.push_back(scene + ": module \"" + module->Name() + "\" draws nothing: " + LikelyCause(*module));
    }
    return warnings;
}

} // namespace host
