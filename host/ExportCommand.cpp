#include "host/ExportCommand.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/CommandLine.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/NetcdfGrid.h"
#include "host/OutputFiles.h"
#include "host/PointFileWriter.h"
#include "host/RenderCommand.h"
#include "host/ScenePass.h"
#include "host/VtkXmlWriter.h"

#include <Inventor/SoOutput.h>
#include <Inventor/actions/SoWriteAction.h>
#include <Inventor/nodes/SoSwitch.h>

#include <cerrno>
#include <cstring>
#include <ostream>

namespace host {

namespace {

struct FormatName {
    const char* extension;
    ExportCommand::Format format;
};

const FormatName kFormats[] = {
    {".nc", ExportCommand::Format::NetCdf},          {".grd", ExportCommand::Format::NetCdf},
    {".vti", ExportCommand::Format::VtkImage},       {".vtr", ExportCommand::Format::VtkRectilinear},
    {".vts", ExportCommand::Format::VtkStructured},  {".csv", ExportCommand::Format::Points},
    {".txt", ExportCommand::Format::Points},         {".xyz", ExportCommand::Format::Points},
    {".iv", ExportCommand::Format::Geometry},
};

const char* KindName(ExportCommand::Format format)
{
    switch (format) {
    case ExportCommand::Format::Points: return "point set";
    case ExportCommand::Format::Geometry: return "geometry";
    default: return "lattice";
    }
}

// The first output of the module holding data the format takes.
const core::VdData* OutputFor(const core::VoModule& module, ExportCommand::Format format)
{
    for (size_t o = 0; o < module.GetOutputCount(); ++o) {
        const core::VdData* data = module.GetOutput(o)->Data();
        const bool fits = format == ExportCommand::Format::Points
                              ? dynamic_cast<const core::VdPoints*>(data) != nullptr
                              : format == ExportCommand::Format::Geometry
                                    ? dynamic_cast<const core::VdGeometry*>(data) != nullptr
                                    : dynamic_cast<const core::VdLattice*>(data) != nullptr;
        if (fits)
            return data;
    }
    return nullptr;
}

const core::VoModule& FindModule(const std::string& scene, const std::string& name)
{
    for (const core::VoModule* module : core::VoNetwork::Instance()) {
        if (module->Name() == name)
            return *module;
    }
    HOST_USER_ERROR("%s: no module named \"%s\"", scene.c_str(), name.c_str());
}

void WriteGeometry(const core::VdGeometry& geometry, const std::string& path, const std::string& name)
{
    SoOutput output;
    if (!output.openFile(path.c_str()))
        HOST_SYSTEM_ERROR("%s: cannot write the scene graph: %s", name.c_str(), std::strerror(errno));
    core::InvSmartPtr<SoSwitch> root = geometry.GetRoot();
    SoWriteAction writer(&output);
    writer.apply(root.get());
    output.closeFile();
}

void WriteData(const core::VdData& data, ExportCommand::Format format, const std::string& path,
               const std::string& name)
{
    switch (format) {
    case ExportCommand::Format::NetCdf:
        NetcdfGrid::Write(static_cast<const core::VdLattice&>(data), path, name);
        break;
    case ExportCommand::Format::VtkImage:
    case ExportCommand::Format::VtkRectilinear:
    case ExportCommand::Format::VtkStructured: {
        VtkXmlWriter::Kind kind = VtkXmlWriter::Kind::Image;
        VtkXmlWriter::KindOfName(name, kind);
        VtkXmlWriter::Write(static_cast<const core::VdLattice&>(data), kind, path, name);
        break;
    }
    case ExportCommand::Format::Points:
        PointFileWriter::Write(static_cast<const core::VdPoints&>(data), path, name);
        break;
    case ExportCommand::Format::Geometry:
        WriteGeometry(static_cast<const core::VdGeometry&>(data), path, name);
        break;
    }
}

void Execute(const ExportOptions& options, std::ostream& err, const HostUiProxy& proxy)
{
    const ExportCommand::Format format = ExportCommand::FormatOf(options.output);
    OutputFiles outputs;
    outputs.Add(options.output, "export");
    outputs.Check();
    ScenePass pass;
    const std::string path = ScenePass::SceneOrDemo(options.scene);
    pass.LoadAndRun(path, err);
    ScenePass::CheckExecution(path, proxy);
    const core::VoModule& module = FindModule(path, options.module);
    const core::VdData* data = OutputFor(module, format);
    if (!data)
        HOST_USER_ERROR("%s: module \"%s\" gives no %s for \"%s\"", path.c_str(), options.module.c_str(),
                        KindName(format), options.output.c_str());
    outputs.Write(options.output,
                  [&](const std::string& file) { WriteData(*data, format, file, options.output); });
    outputs.Commit();
}

} // namespace

ExportOptions ExportCommand::ParseArguments(const std::vector<std::string>& args)
{
    ExportOptions options;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "-o" || arg == "--output")
            options.output = CommandLine::TakeValue("export", args, i);
        else if (arg == "--module" || arg == "-m")
            options.module = CommandLine::TakeValue("export", args, i);
        else
            CommandLine::TakeInput("export", arg, options.scene);
    }
    if (options.module.empty())
        HOST_USER_ERROR("export: name the module to write with --module NAME");
    if (options.output.empty())
        HOST_USER_ERROR("export: name the file to write with -o FILE");
    FormatOf(options.output);
    return options;
}

ExportCommand::Format ExportCommand::FormatOf(const std::string& path)
{
    for (const FormatName& name : kFormats) {
        const size_t n = std::strlen(name.extension);
        if (path.size() > n && path.compare(path.size() - n, n, name.extension) == 0)
            return name.format;
    }
    HOST_USER_ERROR("export: \"%s\": name a file ending in .nc, .grd, .vti, .vtr, .vts, .csv, .txt, .xyz or .iv",
                    path.c_str());
}

int ExportCommand::Run(const std::vector<std::string>& args, std::ostream&, std::ostream& err, bool terminal)
{
    try {
        const ExportOptions options = ParseArguments(args);
        HostUiProxy proxy(err, terminal);
        Execute(options, err, proxy);
        return 0;
    } catch (const shr::Exception& error) {
        return RenderCommand::ReportFailure(error, err);
    } catch (const std::exception& error) {
        err << "fenrak: " << error.what() << "\n";
    }
    return kSystemFailureCode;
}

} // namespace host
