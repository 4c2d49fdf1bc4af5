#include "host/ScenePass.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/DefaultScene.h"
#include "host/EmptyOutputs.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/InputFile.h"
#include "host/LatticeFile.h"
#include "host/NetworkDocument.h"
#include "host/RenderCommand.h"
#include "host/SceneBuilder.h"
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

// Each command starts from the network a fresh process has: no modules, and
// the background and vertical exaggeration that a scene's global settings
// may have changed put back.
void Clear()
{
    Network().WaitUntilDone(2000);
    Network().DeleteAllNodes();
    Network().SetModified(false);
    Network().SetBackgroundColor(shr::Color4b::Black); // the network starts with them
    Network().VerticalExaggeration(1.0);
}

LoadedScene BuildAndRun(const SceneDescription& scene)
{
    SceneBuilder builder(scene);
    builder.Build();
    ScenePass::RunPasses();
    if (builder.RestoreReplacedValues())
        ScenePass::RunPasses();
    return LoadedScene{scene.view, builder.Warnings(), builder.Readings()};
}

// A lattice file is drawn through a scene that says how; it is not a scene
// itself. (A document is told by its header first: its bytes could pass for
// a SEG-Y file's.)
void RefuseLatticeFile(const std::string& path)
{
    if (NetworkDocument::IsDocument(path))
        return;
    const LatticeFormat format = LatticeFile::Detect(path);
    if (format == LatticeFormat::Unknown)
        return;
    HOST_USER_ERROR("%s: a %s, not a scene: name it in a scene's module {\"type\": \"%s\", \"file\": ...}",
                    path.c_str(), format == LatticeFormat::Segy ? "SEG-Y cube" : "NetCDF grid",
                    LatticeFileLoader::TypeName);
}

LoadedScene Load(const std::string& path, std::ostream& err)
{
    RefuseLatticeFile(path);
    switch (InputFile::KindOf(path)) {
    case InputFile::Document: {
        const SceneView view = NetworkDocument::Load(path);
        ScenePass::RunPasses();
        return LoadedScene{view, {}, {}};
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

} // namespace

ScenePass::ScenePass()
{
    Network().Init();
    Clear();
}

ScenePass::~ScenePass()
{
    Clear();
}

std::string ScenePass::SceneOrDemo(const std::string& scene)
{
    if (!scene.empty())
        return scene;
    const std::string demo = shr::LocateFile(RenderCommand::DemoScene);
    if (demo.empty())
        HOST_USER_ERROR("the demo scene \"%s\" is not in the data folders; name a scene file",
                        RenderCommand::DemoScene);
    return demo;
}

void ScenePass::RunPasses()
{
    for (int pass = 0; pass < kMaxPasses; ++pass) {
        Network().Update();
        Network().WaitUntilDone(2000);
        if (!Network().IsModified())
            break;
    }
}

LoadedScene ScenePass::LoadAndRun(const std::string& path, std::ostream& err)
{
    LoadedScene loaded = Load(path, err);
    for (const std::string& warning : EmptyOutputs::Warnings(path))
        loaded.warnings.push_back(warning);
    for (const std::string& warning : loaded.warnings)
        err << "fenrak: warning: " << warning << "\n";
    return loaded;
}

// A failed module or pass is an error of the scene: nothing is written then.
// Every failure is one line, naming its module; each is reported once, here.
void ScenePass::CheckExecution(const std::string& path, const HostUiProxy& proxy)
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

} // namespace host
