#include "host/RenderCommand.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/NetworkDocument.h"
#include "host/SceneBuilder.h"
#include "host/ScenePicture.h"
#include "host/SceneStatistics.h"
#include "shr/LocateFile.h"

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

// The network, empty at the start and emptied again at the end of a command.
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

// Builds the network from a document or a scene file and brings it up to date.
SceneView LoadAndRun(const std::string& path)
{
    if (NetworkDocument::IsDocument(path)) {
        const SceneView view = NetworkDocument::Load(path);
        RunPasses();
        return view;
    }
    const SceneDescription scene = SceneFile::Read(path);
    SceneBuilder builder(scene);
    builder.Build();
    RunPasses();
    if (builder.RestoreReplacedValues())
        RunPasses();
    return scene.view;
}

// A failed module or pass is an error of the scene: nothing is written then.
void CheckExecution(const std::string& path, const HostUiProxy& proxy)
{
    for (const core::VoModule* module : Network()) {
        if (module->GetStatus() != core::VoModule::ModuleFailed && module->GetStatus() != core::VoModule::ModuleAborted)
            continue;
        const HostUiProxy::ModuleReport report = proxy.Report(module->Id());
        const std::string reason = report.errors.empty() ? std::string("no message") : report.errors.back();
        HOST_USER_ERROR("%s: module \"%s\": execution %s: %s", path.c_str(), module->Name().c_str(),
                        HostUiProxy::StatusName(module->GetStatus()), reason.c_str());
    }
    const std::vector<std::string> passErrors = proxy.PassErrors();
    if (!passErrors.empty())
        HOST_USER_ERROR("%s: the update failed: %s", path.c_str(), passErrors.front().c_str());
}

void Execute(const RenderOptions& options, std::ostream& out, const HostUiProxy& proxy)
{
    NetworkSession session;
    const std::string path = SceneOrDemo(options);
    SceneView view = LoadAndRun(path);
    if (options.sizeGiven) {
        view.width = options.width;
        view.height = options.height;
    }
    CheckExecution(path, proxy);
    if (!options.document.empty())
        NetworkDocument::Save(options.document, view);
    if (!options.picture.empty())
        ScenePicture::Draw(view).WritePng(options.picture);
    if (!options.inventor.empty())
        ScenePicture::WriteInventor(options.inventor);
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
