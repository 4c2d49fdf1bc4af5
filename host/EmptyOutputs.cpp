#include "host/EmptyOutputs.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/InvText3.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/visual/VoAnnotation.h"

#include <Inventor/SoPath.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoSwitch.h>
#include <Inventor/nodes/SoText2.h>

namespace host {

namespace {

// Whether a node of `type` (or a type derived from it) under `root` passes `test`.
template <class Test>
bool Holds(SoNode* root, SoType type, Test test)
{
    SoSearchAction search;
    search.setType(type);
    search.setInterest(SoSearchAction::ALL);
    search.apply(root);
    for (int p = 0; p < search.getPaths().getLength(); ++p) {
        if (test(search.getPaths()[p]->getTail()))
            return true;
    }
    return false;
}

bool HasText(const SoMFString& text)
{
    for (int i = 0; i < text.getNum(); ++i) {
        if (text[i].getLength() > 0)
            return true;
    }
    return false;
}

// Whether a geometry holds something to see: triangles, lines or points,
// anything else with an extent (a volume drawn through textures), text in the
// scene (whose extent depends on the view) or text fixed to the view. A
// legend alone is not enough.
bool HasContent(const core::VdGeometry& geometry)
{
    core::VdGeometry::Statistics statistics;
    geometry.GetStatistics(statistics);
    if (statistics.triangles || statistics.lines || statistics.points)
        return true;
    const core::InvSmartPtr<SoSwitch> root = geometry.GetRoot();
    if (!root)
        return false;
    SoGetBoundingBoxAction measure(SbViewportRegion(100, 100));
    measure.apply(root.get());
    if (!measure.getBoundingBox().isEmpty())
        return true;
    return Holds(root.get(), SoText2::getClassTypeId(),
                 [](SoNode* node) { return HasText(static_cast<SoText2*>(node)->string); }) ||
           Holds(root.get(), core::InvText3::getClassTypeId(),
                 [](SoNode* node) { return HasText(static_cast<core::InvText3*>(node)->string); }) ||
           Holds(root.get(), SoCallback::getClassTypeId(),
                 [](SoNode* node) { return core::VoAnnotation::DrawnBy(node) != nullptr; });
}

// Whether the module has a shown geometry output that nothing takes, and
// drew nothing into any of its geometry outputs.
bool IsEmptySink(const core::VoModule& module)
{
    bool sink = false;
    for (size_t o = 0; o < module.GetOutputCount(); ++o) {
        const core::VbPort& output = *module.GetOutput(o);
        const auto* geometry = dynamic_cast<const core::VdGeometry*>(output.Data());
        // Header geometry (lights, global settings) sets state for the
        // scene after it and draws nothing of its own.
        if (!geometry || geometry->IsHeaderNode())
            continue;
        if (HasContent(*geometry))
            return false;
        sink = sink || (output.empty() && geometry->IsVisible() && module.IsGeometryVisible());
    }
    return sink;
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
