#include "FuzzSupport.h"

#include "core/network/UiProxy.h"
#include "core/network/VoNetwork.h"
#include "shr/Logger.h"

#include <cstdlib>

namespace fuzz {

void InitLibrary()
{
    shr::g_Logger.SetMaxLevel(0);
    setenv("FENRAK_MEMORY_LIMIT", "256K", 1);
    core::VoNetwork::Instance().Init();
    // The update thread must stop before the library's statics go at exit: a
    // pass still running then would reach a proxy already destroyed. Handlers
    // run in the reverse order of registration, so the default proxy is made
    // first and outlives the release.
    core::UiProxy::Instance();
    std::atexit([] { core::VoNetwork::Instance().Release(); });
}

void RunPass()
{
    core::VoNetwork& network = core::VoNetwork::Instance();
    network.Update();
    network.WaitUntilDone(60000);
}

void ClearNetwork()
{
    core::VoNetwork& network = core::VoNetwork::Instance();
    network.WaitUntilDone(60000);
    network.DeleteAllNodes();
    network.SetModified(false);
}

} // namespace fuzz
