#include "host/ScenePass.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/NetworkDocument.h"
#include "host/RenderCommand.h"
#include "host/SceneBuilder.h"
#include "shr/LocateFile.h"

namespace host {

namespace {

// A pass may leave modules modified (a module that resets its settings when
// new data arrive); passes run until nothing is, within reason.
constexpr int kMaxPasses = 4;

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

void Clear()
{
    Network().WaitUntilDone(2000);
    Network().DeleteAllNodes();
    Network().SetModified(false);
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

SceneView ScenePass::LoadAndRun(const std::string& path)
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

void ScenePass::CheckExecution(const std::string& path, const HostUiProxy& proxy)
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

} // namespace host
