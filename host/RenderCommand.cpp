#include "host/RenderCommand.h"

#include "host/CommandLine.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/NetworkDocument.h"
#include "host/OutputFiles.h"
#include "host/ReportWriter.h"
#include "host/ScenePass.h"
#include "host/ScenePicture.h"
#include "host/SceneStatistics.h"
#include "shr/Logger.h"

#include <new>
#include <ostream>

namespace host {

namespace {

// The outputs the options name, each checked before anything is computed.
void AddOutputs(const RenderOptions& options, OutputFiles& outputs)
{
    if (!options.document.empty())
        outputs.Add(options.document, "document");
    if (!options.picture.empty())
        outputs.Add(options.picture, "picture");
    if (!options.inventor.empty())
        outputs.Add(options.inventor, "scene graph");
    if (!options.report.empty())
        outputs.Add(options.report, "report");
    outputs.Check();
}

void Execute(const RenderOptions& options, std::ostream& out, std::ostream& err, const HostUiProxy& proxy)
{
    OutputFiles outputs;
    AddOutputs(options, outputs);
    ScenePass pass;
    const std::string path = ScenePass::SceneOrDemo(options.scene);
    LoadedScene loaded = pass.LoadAndRun(path, err);
    SceneView& view = loaded.view;
    if (options.sizeGiven) {
        view.width = options.width;
        view.height = options.height;
    }
    ScenePass::CheckExecution(path, proxy);
    if (!options.picture.empty())
        outputs.Write(options.picture, [&](const std::string& file) { ScenePicture::Draw(view).WritePng(file); });
    if (!options.inventor.empty())
        outputs.Write(options.inventor, [&](const std::string& file) { ScenePicture::WriteInventor(file, view); });
    if (!options.document.empty())
        outputs.Write(options.document, [&](const std::string& file) { NetworkDocument::Save(file, view); });
    if (!options.report.empty())
        outputs.Write(options.report, [&](const std::string& file) { ReportWriter::Write(file, path, proxy, loaded); });
    outputs.Commit();
    if (options.stats)
        SceneStatistics::Print(out, proxy, loaded.readings);
}

// Each line of a message after the program's name.
void PrintError(std::ostream& err, const std::string& message)
{
    size_t start = 0;
    for (size_t end = message.find('\n'); ; end = message.find('\n', start)) {
        err << "fenrak: " << message.substr(start, end - start) << "\n";
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
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
            options.picture = CommandLine::TakeValue("render", args, i);
        else if (arg == "--iv")
            options.inventor = CommandLine::TakeValue("render", args, i);
        else if (arg == "--save")
            options.document = CommandLine::TakeValue("render", args, i);
        else if (arg == "--size") {
            SceneFile::ParseSize(CommandLine::TakeValue("render", args, i), options.width, options.height);
            options.sizeGiven = true;
        } else if (arg == "--stats")
            options.stats = true;
        else if (arg == "--report")
            options.report = CommandLine::TakeValue("render", args, i);
        else
            CommandLine::TakeInput("render", arg, options.scene);
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
        Execute(options, out, err, proxy);
        return 0;
    } catch (const shr::Exception& error) {
        return ReportFailure(error, err);
    } catch (const std::bad_alloc&) {
        PrintError(err, "out of memory");
    } catch (const std::exception& error) {
        PrintError(err, error.what());
    }
    return kSystemFailureCode;
}

int RenderCommand::ReportFailure(const shr::Exception& error, std::ostream& err)
{
    PrintError(err, error.Message());
    if (IsUserError(error))
        return kUserErrorCode;
    // Where in the source it arose is for the log, not for the user.
    shr::g_Logger.Send(kFailureLogLevel, error.Describe());
    return kSystemFailureCode;
}

} // namespace host
