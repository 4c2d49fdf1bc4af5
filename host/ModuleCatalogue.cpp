#include "host/ModuleCatalogue.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"

#include <ostream>

namespace host {

std::vector<shr::GString> ModuleCatalogue::DataKindList(unsigned int mask)
{
    static const struct {
        unsigned int bit;
        const char* name;
    } kinds[] = {
        {core::PortPoints, "Point set"},           {core::PortUniformLattice, "Uniform lattice"},
        {core::PortRectilinearLattice, "Rectilinear lattice"}, {core::PortCurvilinearLattice, "Curvilinear lattice"},
        {core::PortGeometry, "Geometry"},          {core::PortWellData, "Well data"},
    };
    std::vector<shr::GString> names;
    for (const auto& kind : kinds) {
        if (mask & kind.bit)
            names.emplace_back(kind.name);
    }
    return names;
}

shr::GString ModuleCatalogue::DataKinds(unsigned int mask)
{
    shr::GString text;
    for (const shr::GString& name : DataKindList(mask))
        text += (text.empty() ? "" : ", ") + name;
    return text.empty() ? shr::GString("none") : text;
}

void ModuleCatalogue::Print(std::ostream& out)
{
    const core::VbModuleRegistry& registry = core::VbModuleRegistry::Instance();
    if (registry.empty()) {
        out << "The module registry is empty: no module types are built into this library yet.\n";
        return;
    }
    for (const core::VbModuleInfo* info : registry) {
        out << info->UiName() << "  (" << info->UiPath() << ")\n"
            << "  inputs:  " << DataKinds(info->InputTypes()) << "\n"
            << "  outputs: " << DataKinds(info->OutputTypes()) << "\n";
        if (!info->HelpString().empty())
            out << "  " << info->HelpString() << "\n";
    }
    out << registry.size() << " module types.\n";
}

} // namespace host
