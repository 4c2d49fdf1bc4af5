#include "python/src/ArrayImport.h"
#include "python/src/Bindings.h"
#include "python/src/DataViews.h"
#include "python/src/Errors.h"
#include "python/src/PassRunner.h"
#include "python/src/PropertyAccess.h"
#include "python/src/PythonUiProxy.h"
#include "python/src/Session.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/processing/VoLatticeSrc.h"
#include "core/processing/VoPointsSrc.h"
#include "core/data/VdPoints.h"
#include "core/data/VdLattice.h"
#include "core/wells/VoWellData.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "host/ModuleCatalogue.h"
#include "host/NetworkDocument.h"
#include "host/OutputFiles.h"
#include "host/SceneBuilder.h"
#include "host/ScenePicture.h"

#include <pybind11/stl.h>

#include <functional>

namespace py = pybind11;

namespace pyfenrak {

namespace {

using SessionPtr = std::shared_ptr<Session>;

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

// A module of a session, by id: it raises once the module or the session is
// gone. Ids start again at 1 when the network is emptied, so a handle also
// keeps the generation of the network's contents it was made in.
struct ModuleHandle {
    SessionPtr session;
    core::VbModuleId id;
    unsigned generation = 0;

    core::VoModule& Get() const { return session->Module(id, generation); }
    bool operator==(const ModuleHandle& other) const
    {
        return session == other.session && id == other.id && generation == other.generation;
    }
};

ModuleHandle Handle(const SessionPtr& session, const core::VoModule& module)
{
    return ModuleHandle{session, module.Id(), session->Generation()};
}

// Writes one file as the host writes its outputs: checked first, written
// under a temporary name and renamed once complete, so that a failure leaves
// an earlier file of that name as it was. `what` names the file in errors.
void WriteOutput(const std::string& path, const std::string& what,
                 const std::function<void(const std::string&)>& write)
{
    host::OutputFiles outputs;
    outputs.Add(path, what);
    outputs.Check();
    outputs.Write(path, write);
    outputs.Commit();
}

// A module given as a handle of this session or by name.
core::VoModule& Resolve(const SessionPtr& session, py::handle module)
{
    if (py::isinstance<ModuleHandle>(module)) {
        const ModuleHandle& handle = module.cast<const ModuleHandle&>();
        if (handle.session != session)
            ThrowValueError("the module belongs to another network");
        return handle.Get();
    }
    const std::string name = module.cast<std::string>();
    core::VoModule* found = session->Find(name);
    if (!found)
        ThrowValueError("no module named \"" + name + "\" in the network");
    return *found;
}

// The type name by default; a default name already taken gets a number.
std::string ModuleName(const Session& session, py::handle name, const std::string& fallback)
{
    if (!name.is_none())
        return name.cast<std::string>();
    std::string candidate = fallback;
    for (int n = 2; session.Find(candidate); ++n)
        candidate = fallback + " " + std::to_string(n);
    return candidate;
}

void Connect(core::VoModule& module, core::VoModule* source, int input)
{
    if (input < 0 || static_cast<size_t>(input) >= module.GetInputCount())
        throw py::index_error("module \"" + module.Name() + "\" has " + std::to_string(module.GetInputCount()) +
                              " input(s), not an input " + std::to_string(input));
    const std::string port = "module \"" + module.Name() + "\": input " + std::to_string(input) + " (\"" +
                             module.GetInput(static_cast<size_t>(input))->Name() + "\")";
    if (source && !module.Compatible(input, source, 0, false))
        ThrowValueError(port + " takes " + host::ModuleCatalogue::DataKinds(module.GetInput(input)->Type()) +
                        ", module \"" + source->Name() + "\" gives " +
                        host::ModuleCatalogue::DataKinds(source->GetOutputCount() ? source->GetOutput(0)->Type() : 0));
    if (!Network().ConnectNodes(module, source, input, true))
        ThrowValueError(port + ": linking module \"" + source->Name() + "\" would close a cycle");
}

// Inputs as a scene file gives them: per port a module, a name or None; a
// single module feeds port 0.
void ConnectInputs(const SessionPtr& session, core::VoModule& module, py::handle inputs)
{
    if (inputs.is_none())
        return;
    if (py::isinstance<ModuleHandle>(inputs) || py::isinstance<py::str>(inputs)) {
        Connect(module, &Resolve(session, inputs), 0);
        return;
    }
    int input = 0;
    for (py::handle source : inputs) {
        if (!source.is_none())
            Connect(module, &Resolve(session, source), input);
        ++input;
    }
}

std::vector<std::pair<std::string, py::object>> Items(py::handle mapping, const py::kwargs& more)
{
    std::vector<std::pair<std::string, py::object>> items;
    if (!mapping.is_none()) {
        for (py::handle key : mapping.attr("keys")())
            items.emplace_back(key.cast<std::string>(), mapping[key]);
    }
    for (const auto& item : more)
        items.emplace_back(item.first.cast<std::string>(), py::reinterpret_borrow<py::object>(item.second));
    return items;
}

// Reads well files into a well data module as a scene's "files" do: one path
// or a sequence of them. What the reading notes (a well left without a path)
// comes as a warning.
void ImportFiles(Session& session, core::VoModule& module, py::handle files)
{
    auto* wells = dynamic_cast<core::VoWellData*>(&module);
    if (!wells)
        ThrowValueError("files are only for a well data module (" +
                        std::string(core::VoWellData::GetClassModuleInfo()->UiName()) + ")");
    std::vector<shr::GString> paths;
    if (py::isinstance<py::str>(files) || py::hasattr(files, "__fspath__"))
        paths.push_back(PathText(files));
    else
        for (py::handle file : files)
            paths.push_back(PathText(file));
    const host::WellLoadReport report = session.Proxy().WellImports().Import(*wells, paths);
    for (const std::string& note : report.notes) {
        const std::string warning = "module \"" + module.Name() + "\": " + note;
        if (PyErr_WarnEx(PyExc_UserWarning, warning.c_str(), 1) != 0)
            throw py::error_already_set();
    }
}

// Adds a module, reads its files, links it and sets its properties; on any
// failure the module leaves the network again, so that a failed call changes
// nothing.
ModuleHandle AddModule(const SessionPtr& session, std::unique_ptr<core::VoModule> created, const std::string& name,
                       py::handle files, py::handle inputs,
                       const std::vector<std::pair<std::string, py::object>>& properties)
{
    core::VoModule& module = session->Add(std::move(created), name);
    try {
        if (!files.is_none())
            ImportFiles(*session, module, files);
        ConnectInputs(session, module, inputs);
        PropertyAccess(*session, module).SetAll(properties);
    } catch (...) {
        session->Remove(module.Id());
        throw;
    }
    return Handle(session, module);
}

ModuleHandle AddSource(const SessionPtr& session, std::unique_ptr<core::VoModule> source, py::handle name,
                       const std::string& fallback, std::vector<std::string> names)
{
    LibraryLock lock;
    session->CheckOpen();
    const std::string chosen = ModuleName(*session, name, fallback);
    core::VoModule& module = session->Add(std::move(source), chosen);
    session->SetComponentNames(module.Id(), std::move(names));
    return Handle(session, module);
}

shr::Color4b ColorFrom(py::handle value)
{
    host::HostPropertyList::RowInfo row;
    row.key = "background";
    row.kind = "color";
    boost::any color;
    if (!core::VbColorPropertyConverter().FromString(PropertyAccess::Text(value, row), color))
        ThrowValueError("bad colour " + py::repr(value).cast<std::string>() +
                        ": give (r, g, b), (r, g, b, a) from 0 to 255, or a colour name");
    return boost::any_cast<shr::Color4b>(color);
}

py::object BackgroundOf(const host::SceneView& view)
{
    if (!view.hasBackground)
        return py::none();
    const shr::Color4b& c = view.background;
    return py::make_tuple(int(c.r), int(c.g), int(c.b), int(c.a));
}

void SetBackground(host::SceneView& view, py::handle value)
{
    view.hasBackground = !value.is_none();
    if (view.hasBackground)
        view.background = ColorFrom(value);
}

void SetSize(host::SceneView& view, py::handle size)
{
    const auto sides = size.cast<std::vector<int>>();
    if (sides.size() != 2)
        ThrowValueError("a size is (width, height)");
    view.width = sides[0];
    view.height = sides[1];
}

// The session's view with the arguments given over it, checked.
host::SceneView ViewFor(Session& session, py::handle size, py::handle azimuth, py::handle elevation, py::handle zoom,
                        py::handle background)
{
    host::SceneView view = session.View();
    if (!size.is_none())
        SetSize(view, size);
    if (!azimuth.is_none())
        view.azimuth = azimuth.cast<double>();
    if (!elevation.is_none())
        view.elevation = elevation.cast<double>();
    if (!zoom.is_none())
        view.zoom = zoom.cast<double>();
    if (!background.is_none())
        SetBackground(view, background);
    host::SceneFile::CheckView(view, "view");
    return view;
}

// The picture as an (h, w, 4) array that owns the image.
py::array PictureArray(render::Image image)
{
    auto* owned = new render::Image(std::move(image));
    py::capsule base(owned, [](void* picture) { delete static_cast<render::Image*>(picture); });
    const py::ssize_t width = owned->Width(), height = owned->Height();
    return py::array(py::dtype::of<uint8_t>(), {height, width, py::ssize_t(4)}, {width * 4, py::ssize_t(4), py::ssize_t(1)},
                     owned->Pixels().data(), base);
}

void RunPasses(Session& session, py::handle progress, bool check, const std::function<bool()>& restore)
{
    PassRunner runner(session, py::reinterpret_borrow<py::object>(progress));
    runner.Run(restore);
    if (check)
        runner.Check();
}

std::string Repr(const ModuleHandle& handle)
{
    if (!handle.session->IsOpen() || handle.generation != handle.session->Generation() ||
        !Network().Node(handle.id))
        return "<fenrak.Module " + handle.id.ToString() + ", no longer in the network>";
    const core::VoModule& module = handle.Get();
    return "<fenrak.Module \"" + module.Name() + "\" (" + module.GetModuleInfo()->UiName() + ") " +
           host::HostUiProxy::StatusName(module.GetStatus()) + ">";
}

void BindView(py::module_& module)
{
    py::class_<host::SceneView>(module, "View", R"(How a picture looks at the scene, as a scene file's "view" says.

size (width, height) in pixels; azimuth in degrees clockwise from north;
elevation in degrees above the horizon (-90 to 90); zoom (larger is closer);
background (r, g, b[, a]) from 0 to 255, a colour name, or None for the
network's background colour.)")
        .def(py::init([](py::handle size, double azimuth, double elevation, double zoom, py::handle background) {
                 host::SceneView view;
                 SetSize(view, size);
                 view.azimuth = azimuth;
                 view.elevation = elevation;
                 view.zoom = zoom;
                 SetBackground(view, background);
                 return view;
             }),
             py::arg("size") = py::make_tuple(800, 600), py::arg("azimuth") = 30.0, py::arg("elevation") = 25.0,
             py::arg("zoom") = 1.0, py::arg("background") = py::none())
        .def_property(
            "size", [](const host::SceneView& view) { return py::make_tuple(view.width, view.height); }, &SetSize)
        .def_readwrite("azimuth", &host::SceneView::azimuth)
        .def_readwrite("elevation", &host::SceneView::elevation)
        .def_readwrite("zoom", &host::SceneView::zoom)
        .def_property("background", &BackgroundOf, &SetBackground)
        .def("__repr__", [](const host::SceneView& view) {
            return "fenrak.View(size=(" + std::to_string(view.width) + ", " + std::to_string(view.height) +
                   "), azimuth=" + py::repr(py::float_(view.azimuth)).cast<std::string>() +
                   ", elevation=" + py::repr(py::float_(view.elevation)).cast<std::string>() +
                   ", zoom=" + py::repr(py::float_(view.zoom)).cast<std::string>() +
                   ", background=" + py::repr(BackgroundOf(view)).cast<std::string>() + ")";
        });
}

void BindModule(py::module_& module)
{
    py::class_<ModuleHandle>(module, "Module", R"(A module of a network, made by Network.add and its kin.

Properties are read and set by public key: module["IsoSurfaceIsovalue"] = 0.5.
A value is a number, a bool, a string, a combo's choice (its number or its
label) or a sequence of numbers (a colour (r, g, b, a), a point (x, y, z)).)")
        .def_property(
            "name", [](const ModuleHandle& h) { LibraryLock lock; return std::string(h.Get().Name()); },
            [](const ModuleHandle& h, const std::string& name) {
                LibraryLock lock;
                core::VoModule& module = h.Get();
                h.session->CheckNameFree(name, &module);
                module.Name(name);
            },
            "The module's name, unique in its network.")
        .def_property_readonly(
            "type", [](const ModuleHandle& h) { LibraryLock lock; return std::string(h.Get().GetModuleInfo()->UiName()); },
            "The registry type.")
        .def_property_readonly("id", [](const ModuleHandle& h) { return h.id.Value(); })
        .def_property_readonly(
            "status",
            [](const ModuleHandle& h) {
                LibraryLock lock;
                return std::string(host::HostUiProxy::StatusName(h.Get().GetStatus()));
            },
            "'stale', 'ok', 'executing', 'aborted', 'failed' or 'idle'.")
        .def_property_readonly(
            "time",
            [](const ModuleHandle& h) {
                LibraryLock lock;
                return h.session->Proxy().Report(h.Get().Id()).lastSeconds;
            },
            "Seconds its latest execution took.")
        .def_property_readonly(
            "messages",
            [](const ModuleHandle& h) {
                LibraryLock lock;
                return h.session->Proxy().Report(h.Get().Id()).messages;
            },
            "Status lines and errors of its latest execution.")
        .def_property_readonly(
            "inputs",
            [](const ModuleHandle& h) {
                LibraryLock lock;
                const core::VoModule& module = h.Get();
                py::list inputs;
                for (size_t i = 0; i < module.GetInputCount(); ++i) {
                    const core::VoModule* source = module.GetInputConnection(i, 0);
                    inputs.append(source ? py::cast(Handle(h.session, *source)) : py::object(py::none()));
                }
                return inputs;
            },
            "Per input port the module linked to it, or None.")
        .def(
            "__getitem__",
            [](const ModuleHandle& h, const std::string& key) {
                LibraryLock lock;
                return PropertyAccess(*h.session, h.Get()).Get(key);
            },
            py::arg("key"))
        .def(
            "__setitem__",
            [](const ModuleHandle& h, const std::string& key, py::object value) {
                LibraryLock lock;
                PropertyAccess(*h.session, h.Get()).Set(key, value);
            },
            py::arg("key"), py::arg("value"))
        .def(
            "set",
            [](const ModuleHandle& h, py::object values, py::kwargs more) {
                LibraryLock lock;
                PropertyAccess(*h.session, h.Get()).SetAll(Items(values, more));
            },
            py::arg("values") = py::none(),
            "Sets properties from a mapping and keywords, in order; a key that appears only once another is set "
            "is set after the rest.")
        .def(
            "keys",
            [](const ModuleHandle& h) {
                LibraryLock lock;
                return PropertyAccess(*h.session, h.Get()).Values().attr("keys")();
            },
            "The public keys of its properties.")
        .def(
            "properties",
            [](const ModuleHandle& h) {
                LibraryLock lock;
                return PropertyAccess(*h.session, h.Get()).Values();
            },
            "Every property: key to value.")
        .def(
            "describe",
            [](const ModuleHandle& h) {
                LibraryLock lock;
                return PropertyAccess(*h.session, h.Get()).Describe();
            },
            "Every property row as fenrak.properties gives them, with its current value.")
        .def(
            "output",
            [](const ModuleHandle& h, int port) -> py::object {
                LibraryLock lock;
                const core::VoModule& module = h.Get();
                const core::VbPort* output = port >= 0 ? module.GetOutput(static_cast<size_t>(port)) : nullptr;
                if (!output)
                    throw py::index_error("module \"" + module.Name() + "\" has " +
                                          std::to_string(module.GetOutputCount()) + " output(s)");
                if (!output->Data())
                    return py::none();
                return ViewOfData(DataRef(output->Data()), h.session->ComponentNames(module.Id()),
                                  "the output " + std::to_string(port) + " of module \"" + module.Name() + "\"");
            },
            py::arg("port") = 0,
            "The data at an output: a fenrak.Lattice or fenrak.Points (None before the module has any).")
        .def("__eq__",
             [](const ModuleHandle& a, py::handle b) {
                 return py::isinstance<ModuleHandle>(b) && b.cast<const ModuleHandle&>() == a;
             })
        .def("__hash__", [](const ModuleHandle& h) { return py::hash(py::make_tuple(h.id.Value())); })
        .def("__repr__", [](const ModuleHandle& h) {
            LibraryLock lock;
            return Repr(h);
        });
}

void BindNetworkClass(py::module_& module)
{
    py::class_<Session, SessionPtr>(module, "Network", R"(The library's network of modules.

The library has one network per process: a new Network starts it empty and
closes the one before (whose modules and handles then raise). Use it as a
context manager, or call close(), to free the modules at once.)")
        .def(py::init([]() {
            LibraryLock lock;
            return std::make_shared<Session>();
        }))
        .def("close",
             [](Session& session) {
                 LibraryLock lock;
                 session.Close();
             })
        .def_property_readonly("closed", [](const Session& session) { return !session.IsOpen(); })
        .def("__enter__", [](const SessionPtr& session) { return session; })
        .def("__exit__",
             [](Session& session, py::handle, py::handle, py::handle) {
                 LibraryLock lock;
                 session.Close();
             })
        .def(
            "add",
            [](const SessionPtr& session, const std::string& type, py::object name, py::object inputs,
               py::object files, py::kwargs properties) {
                LibraryLock lock;
                session->CheckOpen();
                const core::VbModuleInfo* info =
                    type.empty() ? nullptr : core::VbModuleRegistry::Instance().Construct(type);
                if (!info)
                    ThrowValueError("unknown module type \"" + type + "\" (fenrak.modules() lists them)");
                return AddModule(session, info->CreateInstance(), ModuleName(*session, name, type), files, inputs,
                                 Items(py::none(), properties));
            },
            py::arg("type"), py::arg("name") = py::none(), py::arg("inputs") = py::none(), py::kw_only(),
            py::arg("files") = py::none(),
            R"(Adds a module of a registry type and returns it.

name: unique in the network (the type by default); inputs: a module or name
for input 0, or one per input port (None leaves a port open); files: for a
well data module, the well files (heads, surveys, logs, tops) to read into
it; keywords set properties by public key, after the links are made.)")
        .def(
            "add_points",
            [](const SessionPtr& session, py::handle x, py::handle y, py::handle z, py::handle values,
               py::handle mask, py::handle labels, py::handle name) {
                std::vector<std::string> names;
                const DataRef points = ArrayImport::Points(x, y, z, values, mask, labels, names);
                return AddSource(session,
                                 std::make_unique<core::VoPointsSrc>(static_cast<core::VdPoints*>(points.get()), ""),
                                 name, "PointSet", std::move(names));
            },
            py::arg("x"), py::arg("y"), py::arg("z"), py::arg("values") = py::none(), py::kw_only(),
            py::arg("mask") = py::none(), py::arg("labels") = py::none(), py::arg("name") = py::none(),
            R"(Adds a point-set source from X, Y and Z arrays.

values: one array, a sequence of arrays, a 2-D (points, components) array, or
a mapping of names to arrays (a dict, a DataFrame); NaN values and true
elements of mask are blanks. labels: per point a text or None.)")
        .def(
            "add_lattice",
            [](const SessionPtr& session, py::handle values, py::handle origin, py::handle spacing, py::handle mask,
               py::handle name) {
                std::vector<std::string> names;
                const DataRef lattice = ArrayImport::Uniform(values, origin, spacing, mask, names);
                return AddSource(session,
                                 std::make_unique<core::VoLatticeSrc>(static_cast<core::VdLattice*>(lattice.get()), ""),
                                 name, "Lattice", std::move(names));
            },
            py::arg("values"), py::arg("origin") = py::make_tuple(0.0, 0.0, 0.0),
            py::arg("spacing") = py::make_tuple(1.0, 1.0, 1.0), py::kw_only(), py::arg("mask") = py::none(),
            py::arg("name") = py::none(),
            R"(Adds a uniform lattice source: values indexed [i, j, k] (x, y, z).

values: an array of 1 to 3 axes, a 4-D array with the components last, a
sequence of arrays or a mapping of names to arrays. origin is the node
[0, 0, 0], spacing the step along each axis. NaN values and true elements of
mask are blanks.)")
        .def(
            "add_rectilinear",
            [](const SessionPtr& session, py::handle values, py::handle x, py::handle y, py::handle z, py::handle mask,
               py::handle name) {
                std::vector<std::string> names;
                const DataRef lattice = ArrayImport::Rectilinear(values, x, y, z, mask, names);
                return AddSource(session,
                                 std::make_unique<core::VoLatticeSrc>(static_cast<core::VdLattice*>(lattice.get()), ""),
                                 name, "Lattice", std::move(names));
            },
            py::arg("values"), py::arg("x"), py::arg("y"), py::arg("z"), py::kw_only(), py::arg("mask") = py::none(),
            py::arg("name") = py::none(),
            "Adds a rectilinear lattice source: values as add_lattice takes them, and the increasing node "
            "coordinates along each axis.")
        .def(
            "connect",
            [](const SessionPtr& session, py::handle source, py::handle target, int input) {
                LibraryLock lock;
                session->CheckOpen();
                Connect(Resolve(session, target), &Resolve(session, source), input);
            },
            py::arg("source"), py::arg("target"), py::arg("input") = 0,
            "Links the output of source to an input port of target (modules or names).")
        .def(
            "disconnect",
            [](const SessionPtr& session, py::handle target, int input) {
                LibraryLock lock;
                session->CheckOpen();
                Connect(Resolve(session, target), nullptr, input);
            },
            py::arg("target"), py::arg("input") = 0)
        .def(
            "remove",
            [](const SessionPtr& session, py::handle module) {
                LibraryLock lock;
                session->CheckOpen();
                session->Remove(Resolve(session, module).Id());
            },
            py::arg("module"))
        .def_property_readonly(
            "modules",
            [](const SessionPtr& session) {
                LibraryLock lock;
                session->CheckOpen();
                std::vector<ModuleHandle> modules;
                for (const core::VoModule* module : Network())
                    modules.push_back(Handle(session, *module));
                return modules;
            },
            "The modules, in network order.")
        .def("__getitem__",
             [](const SessionPtr& session, const std::string& name) {
                 LibraryLock lock;
                 const core::VoModule* module = session->Find(name);
                 if (!module)
                     throw py::key_error(name);
                 return Handle(session, *module);
             })
        .def("__contains__",
             [](const SessionPtr& session, const std::string& name) {
                 LibraryLock lock;
                 return session->Find(name) != nullptr;
             })
        .def("__len__",
             [](const SessionPtr& session) {
                 LibraryLock lock;
                 session->CheckOpen();
                 return Network().size();
             })
        .def(
            "run",
            [](Session& session, py::handle progress, bool check) {
                LibraryLock lock;
                RunPasses(session, progress, check, [&session] { return session.RestoreReplacedValues(); });
            },
            py::arg("progress") = py::none(), py::kw_only(), py::arg("check") = true,
            R"(Brings the network up to date and waits.

progress: called as progress(text, fraction) while long computations run.
Ctrl-C, or an exception from progress, stops the pass cleanly and propagates.
With check, a module that failed raises fenrak.ExecutionError.)")
        .def_property(
            "view", [](Session& session) -> host::SceneView& { return session.View(); },
            [](Session& session, const host::SceneView& view) { session.View() = view; },
            py::return_value_policy::reference_internal,
            "The view pictures are drawn with (a scene file's or a document's after loading one).")
        .def(
            "render",
            [](Session& session, py::handle path, py::handle size, py::handle azimuth, py::handle elevation,
               py::handle zoom, py::handle background) -> py::object {
                LibraryLock lock;
                session.CheckOpen();
                const host::SceneView view = ViewFor(session, size, azimuth, elevation, zoom, background);
                const std::string file = path.is_none() ? std::string() : PathText(path);
                render::Image image;
                {
                    py::gil_scoped_release release;
                    image = host::ScenePicture::Draw(view);
                    if (!file.empty())
                        WriteOutput(file, "picture", [&image](const std::string& to) { image.WritePng(to); });
                }
                return file.empty() ? py::object(PictureArray(std::move(image))) : py::object(py::none());
            },
            py::arg("path") = py::none(), py::kw_only(), py::arg("size") = py::none(),
            py::arg("azimuth") = py::none(), py::arg("elevation") = py::none(), py::arg("zoom") = py::none(),
            py::arg("background") = py::none(),
            R"(Draws the scene: to a PNG file at path, or, without a path, into an
(height, width, 4) uint8 RGBA array, top row first. The keywords override
the network's view for this picture.)")
        .def(
            "write_scene_graph",
            [](Session& session, py::handle path) {
                LibraryLock lock;
                session.CheckOpen();
                const std::string file = PathText(path);
                const host::SceneView& view = session.View();
                WriteOutput(file, "scene graph",
                            [&view](const std::string& to) { host::ScenePicture::WriteInventor(to, view); });
            },
            py::arg("path"), "Writes the scene as an ASCII scene-graph file.")
        .def(
            "save",
            [](Session& session, py::handle path) {
                LibraryLock lock;
                session.CheckOpen();
                const std::string file = PathText(path);
                const host::SceneView& view = session.View();
                py::gil_scoped_release release;
                WriteOutput(file, "document", [&view](const std::string& to) { host::NetworkDocument::Save(to, view); });
            },
            py::arg("path"), "Saves the network and its view as a document.")
        .def(
            "load",
            [](Session& session, py::handle path) {
                LibraryLock lock;
                session.Clear();
                const std::string file = PathText(path);
                host::SceneView view;
                {
                    py::gil_scoped_release release;
                    view = host::NetworkDocument::Load(file);
                }
                session.View() = view;
            },
            py::arg("path"),
            "Replaces the network by a saved document: its modules with their stored data and its view.")
        .def(
            "load_scene",
            [](Session& session, py::handle path, py::handle progress, bool check) {
                LibraryLock lock;
                session.Clear();
                const host::SceneDescription scene = host::SceneFile::Read(PathText(path));
                host::SceneBuilder builder(scene);
                try {
                    builder.Build();
                } catch (...) {
                    session.Clear();
                    throw;
                }
                session.View() = scene.view;
                RunPasses(session, progress, check, [&builder] { return builder.RestoreReplacedValues(); });
            },
            py::arg("path"), py::arg("progress") = py::none(), py::kw_only(), py::arg("check") = true,
            "Replaces the network by a JSON scene file's modules and view, and runs it as run() does.")
        .def("__repr__", [](const Session& session) {
            LibraryLock lock;
            return session.IsOpen() ? "<fenrak.Network of " + std::to_string(Network().size()) + " modules>"
                                    : std::string("<fenrak.Network, closed>");
        });
}

} // namespace

std::string PathText(py::handle path)
{
    return py::str(py::module_::import("os").attr("fspath")(path));
}

void BindNetwork(py::module_& module)
{
    BindView(module);
    BindModule(module);
    BindNetworkClass(module);
}

} // namespace pyfenrak
