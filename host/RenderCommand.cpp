#include "host/RenderCommand.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/DefaultScene.h"
#include "host/EmptyOutputs.h"
#include "host/InputFile.h"
#include "host/NetworkDocument.h"
#include "host/OutputFiles.h"
#include "host/SceneBuilder.h"
#include "host/ScenePicture.h"
#include "host/SceneStatistics.h"
#include "shr/LocateFile.h"
#include "shr/Logger.h"

#include <map>
#include <new>
#include <ostream>

namespace host {

namespace {

// A pass may leave modules modified (a module that resets its settings when
// new data arrive); passes run until nothing is, within reason.
constexpr int kMaxPasses = 4;

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

// The network, empty at the start and emptied again at the end of a command,
// with the values a global settings module leaves in it back at their defaults.
class NetworkSession {
public:
    NetworkSession()
    {
        Network().Init();
        Clear();
    }
    ~NetworkSession() { Clear(); }

private:
    static void Clear()
    {
        Network().WaitUntilDone(2000);
        Network().DeleteAllNodes();
        Network().SetBackgroundColor(shr::Color4b::Black);
        Network().VerticalExaggeration(1.0);
        Network().SetModified(false);
    }
};

const std::string& TakeValue(const std::vector<std::string>& args, size_t& i)
{
    if (i + 1 >= args.size())
        HOST_USER_ERROR("render: %s needs a value", args[i].c_str());
    return args[++i];
}

std::string SceneOrDemo(const RenderOptions& options)
{
    if (!options.scene.empty())
        return options.scene;
    const std::string demo = shr::LocateFile(RenderCommand::DemoScene);
    if (demo.empty())
        HOST_USER_ERROR("the demo scene \"%s\" is not in the data folders; name a scene file",
                        RenderCommand::DemoScene);
    return demo;
}

void RunPasses()
{
    for (int pass = 0; pass < kMaxPasses; ++pass) {
        Network().Update();
        Network().WaitUntilDone(2000);
        if (!Network().IsModified())
            break;
    }
}

// What a run loaded: the view, what the scene asked for in vain, and what
// each point file gave.
struct Loaded {
    SceneView view;
    std::vector<std::string> warnings;
    std::map<std::string, std::string> readings;
};

Loaded BuildAndRun(const SceneDescription& scene)
{
    SceneBuilder builder(scene);
    builder.Build();
    RunPasses();
    if (builder.RestoreReplacedValues())
        RunPasses();
    return Loaded{scene.view, builder.Warnings(), builder.Readings()};
}

// Builds the network from a document, a scene file or a point file (told
// apart by content) and brings it up to date.
Loaded LoadAndRun(const std::string& path, std::ostream& err)
{
    switch (InputFile::KindOf(path)) {
    case InputFile::Document: {
        const SceneView view = NetworkDocument::Load(path);
        RunPasses();
        return Loaded{view, {}, {}};
    }
    case InputFile::Points: {
        const DefaultSceneChoice choice = DefaultScene::For(path);
        err << "fenrak: " << path << " is a point file, not a scene: drawing " << choice.summary << "\n";
        return BuildAndRun(choice.scene);
    }
    default:
        return BuildAndRun(SceneFile::Read(path));
    }
}

// A failed module or pass is an error of the scene: nothing is written then.
// Every failure is one line, naming its module; each is reported once, here.
void CheckExecution(const std::string& path, const HostUiProxy& proxy)
{
    std::vector<std::string> failures;
    for (const core::VoModule* module : Network()) {
        const HostUiProxy::ModuleReport report = proxy.Report(module->Id());
        const std::string prefix = path + ": module \"" + module->Name() + "\": ";
        for (const std::string& error : report.loadErrors)
            failures.push_back(prefix + error);
        if (module->GetStatus() != core::VoModule::ModuleFailed && module->GetStatus() != core::VoModule::ModuleAborted)
            continue;
        const std::string reason = report.errors.empty() ? std::string("no message") : report.errors.back();
        failures.push_back(prefix + "execution " + HostUiProxy::StatusName(module->GetStatus()) + ": " + reason);
    }
    for (const std::string& error : proxy.PassErrors())
        failures.push_back(path + ": the update failed: " + error);
    if (failures.empty())
        return;
    std::string message = failures.front();
    for (size_t i = 1; i < failures.size(); ++i)
        message += "\n" + failures[i];
    HOST_USER_ERROR("%s", message.c_str());
}

// The outputs the options name, each checked before anything is computed.
void AddOutputs(const RenderOptions& options, OutputFiles& outputs)
{
    if (!options.document.empty())
        outputs.Add(options.document, "document");
    if (!options.picture.empty())
        outputs.Add(options.picture, "picture");
    if (!options.inventor.empty())
        outputs.Add(options.inventor, "scene graph");
    outputs.Check();
}

void Execute(const RenderOptions& options, std::ostream& out, std::ostream& err, const HostUiProxy& proxy)
{
    OutputFiles outputs;
    AddOutputs(options, outputs);
    NetworkSession session;
    const std::string path = SceneOrDemo(options);
    Loaded loaded = LoadAndRun(path, err);
    SceneView& view = loaded.view;
    for (const std::string& warning : EmptyOutputs::Warnings(path))
        loaded.warnings.push_back(warning);
    for (const std::string& warning : loaded.warnings)
        err << "fenrak: warning: " << warning << "\n";
    if (options.sizeGiven) {
        view.width = options.width;
        view.height = options.height;
    }
    CheckExecution(path, proxy);
    if (!options.picture.empty())
        outputs.Write(options.picture, [&](const std::string& file) { ScenePicture::Draw(view).WritePng(file); });
    if (!options.inventor.empty())
        outputs.Write(options.inventor, [&](const std::string& file) { ScenePicture::WriteInventor(file, view); });
    if (!options.document.empty())
        outputs.Write(options.document, [&](const std::string& file) { NetworkDocument::Save(file, view); });
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
        else if (!arg.empty() && arg[0] == '-')
            HOST_USER_ERROR("render: unknown option \"%s\"", arg.c_str());
        else if (!options.scene.empty())
            HOST_USER_ERROR("render: one scene at a time (\"%s\" and \"%s\")", options.scene.c_str(), arg.c_str());
        else
            options.scene = arg;
    }
    if (options.picture.empty() && options.inventor.empty() && options.document.empty() && !options.stats)
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
