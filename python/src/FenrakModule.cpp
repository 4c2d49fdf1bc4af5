// The fenrak Python module: the library's network, data and pictures for
// Python, over the host's scene machinery.
#include "python/src/Bindings.h"
#include "python/src/Errors.h"
#include "python/src/PropertyAccess.h"
#include "python/src/Session.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/ModuleCatalogue.h"
#include "host/PropertyCatalogue.h"
#include "shr/LocateFile.h"
#include "shr/Logger.h"

#include <pybind11/stl.h>

#include <dlfcn.h>

#include <cstdlib>

namespace py = pybind11;

namespace pyfenrak {

namespace {

std::vector<std::string> Kinds(unsigned int mask)
{
    const std::vector<shr::GString> kinds = host::ModuleCatalogue::DataKindList(mask);
    return std::vector<std::string>(kinds.begin(), kinds.end());
}

py::list Modules()
{
    py::list modules;
    for (const core::VbModuleInfo* info : core::VbModuleRegistry::Instance()) {
        py::dict entry;
        entry["type"] = std::string(info->UiName());
        entry["path"] = std::string(info->UiPath());
        entry["inputs"] = Kinds(info->InputTypes());
        entry["outputs"] = Kinds(info->OutputTypes());
        entry["help"] = std::string(info->HelpString());
        modules.append(entry);
    }
    return modules;
}

// The rows `fenrak properties TYPE` prints.
py::list Properties(const std::string& type)
{
    LibraryLock lock;
    const std::vector<host::CatalogueRow> rows = PropertyAccess::Catalogue(type);
    py::list described;
    std::string group;
    for (const host::CatalogueRow& row : rows) {
        if (row.header)
            group = row.label;
        if (row.key.empty())
            continue;
        py::dict entry;
        entry["key"] = row.key;
        entry["kind"] = row.kind;
        entry["value"] = PropertyAccess::FromText(row.kind, row.value);
        entry["label"] = row.label;
        entry["group"] = group;
        entry["choices"] = py::cast(row.choices);
        entry["condition"] = row.condition;
        entry["note"] = row.note;
        described.append(entry);
    }
    return described;
}

// The data files (colour maps, sample scenes) are installed in
// share/fenrak beside the lib/ folder that holds this module.
void AddInstalledDataFolder()
{
    Dl_info where;
    if (dladdr(reinterpret_cast<void*>(&AddInstalledDataFolder), &where) == 0 || !where.dli_fname)
        return;
    const std::string file = where.dli_fname;
    const size_t slash = file.rfind('/');
    if (slash != std::string::npos)
        shr::AddDataFolder(file.substr(0, slash) + "/../share/fenrak");
}

// As the host: errors only, unless FENRAK_LOG names a level.
void SetLogLevel()
{
    const char* level = std::getenv("FENRAK_LOG");
    shr::g_Logger.SetMaxLevel(level && *level ? std::atoi(level) : 1);
}

void ReleaseAtExit()
{
    LibraryLock lock(true);
    Session::CloseOpen();
    core::VoNetwork::Instance().Release();
}

} // namespace

void BindCatalogue(py::module_& module)
{
    module.def("modules", &Modules,
               "The module registry as `fenrak modules` prints it: per type a dict of type, path, inputs, "
               "outputs (data kinds) and help.");
    module.def("properties", &Properties, py::arg("type"),
               "A module type's property rows as `fenrak properties TYPE` prints them: per row a dict of key, "
               "kind, value (the default), label, group, choices and condition (when the module shows the "
               "row: \"\" always, \"with data\", \"with data, Method = Kriging\" and the like).");
}

} // namespace pyfenrak

PYBIND11_MODULE(fenrak, module)
{
    module.doc() = R"(Fenrak Core for Python: build a network of modules from numpy data,
run it, read results back as arrays and draw the scene.

    net = fenrak.Network()
    grid = net.add_lattice(values, origin=(0, 0, 0), spacing=(10, 10, 5))
    shell = net.add("Isosurface", inputs=grid, IsoSurfaceIsovalue=0.5)
    net.run()
    picture = net.render(size=(800, 600))
)";
    module.attr("__version__") = FENRAK_VERSION;
    pyfenrak::SetLogLevel();
    pyfenrak::AddInstalledDataFolder();
    pyfenrak::RegisterErrors(module);
    pyfenrak::BindNetwork(module);
    pyfenrak::BindData(module);
    pyfenrak::BindCatalogue(module);
    py::module_::import("atexit").attr("register")(py::cpp_function(&pyfenrak::ReleaseAtExit));
}
