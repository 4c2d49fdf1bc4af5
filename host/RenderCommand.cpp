#include "host/RenderCommand.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/NetworkDocument.h"
#include "host/OutputFile.h"
#include "host/ReportWriter.h"
#include "host/ScenePass.h"
#include "host/ScenePicture.h"
#include "host/SceneStatistics.h"
#include "shr/LocateFile.h"

#include <fstream>
#include <memory>
#include <ostream>

namespace host {

namespace {

const std::string& TakeValue(const std::vector<std::string>& args, size_t& i)
{
    if (i + 1 >= args.size())
        HOST_USER_ERROR("render: %s needs a value", args[i].c_str());
    return args[++i];
}

void WriteReport(OutputFile& output, const std::string& scene, const HostUiProxy& proxy)
{
    std::ofstream out(output.Temporary(), std::ios::binary | std::ios::trunc);
    ReportWriter::Write(scene, proxy, out);
    out.close();
    if (!out)
        HOST_SYSTEM_ERROR("cannot write the report");
    output.Commit();
}

void Execute(const RenderOptions& options, std::ostream& out, const HostUiProxy& proxy)
{
    // Checked before anything is computed.
    const std::unique_ptr<OutputFile> report =
        options.report.empty() ? nullptr : std::make_unique<OutputFile>(options.report, "report");
    ScenePass pass;
    const std::string path = ScenePass::SceneOrDemo(options.scene);
    SceneView view = pass.LoadAndRun(path);
    if (options.sizeGiven) {
        view.width = options.width;
        view.height = options.height;
    }
    ScenePass::CheckExecution(path, proxy);
    if (!options.document.empty())
        NetworkDocument::Save(options.document, view);
    if (!options.picture.empty())
        ScenePicture::Draw(view).WritePng(options.picture);
    if (!options.inventor.empty())
        ScenePicture::WriteInventor(options.inventor);
    if (!options.report.empty())
        WriteReport(*report, path, proxy);
    if (options.stats)
        SceneStatistics::Print(out, proxy);
}

} // namespace

const char* const RenderCommand::DemoScene = "scenes/demo.json";
const char* const RenderCommand::DefaultPicture = "out.png";

RenderOptions RenderCommand::ParseArguments(const std::vector<std::string>& args)
{
    RenderOptions options;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "-o" || arg == "--output")
            options.picture = TakeValue(args, i);
        else if (arg == "--iv")
            options.inventor = TakeValue(args, i);
        else if (arg == "--save")
            options.document = TakeValue(args, i);
        else if (arg == "--size") {
            SceneFile::ParseSize(TakeValue(args, i), options.width, options.height);
            options.sizeGiven = true;
        } else if (arg == "--stats")
            options.stats = true;
        else if (arg == "--report")
            options.report = TakeValue(args, i);
        else if (!arg.empty() && arg[0] == '-')
            HOST_USER_ERROR("render: unknown option \"%s\"", arg.c_str());
        else if (!options.scene.empty())
            HOST_USER_ERROR("render: one scene at a time (\"%s\" and \"%s\")", options.scene.c_str(), arg.c_str());
        else
            options.scene = arg;
    }
    if (options.picture.empty() && options.inventor.empty() && options.document.empty() && !options.stats &&
        options.report.empty())
        options.picture = DefaultPicture;
    return options;
}

int RenderCommand::Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, bool terminal)
{
    try {
        const RenderOptions options = ParseArguments(args);
        HostUiProxy proxy(err, terminal);
        Execute(options, out, proxy);
        return 0;
    } catch (const shr::Exception& error) {
        if (IsUserError(error)) {
            err << "fenrak: " << error.Message() << "\n";
            return kUserErrorCode;
        }
        err << "fenrak: " << error.Describe() << "\n";
    } catch (const std::exception& error) {
        err << "fenrak: " << error.what() << "\n";
    }
    return 3;
}

} // namespace host
