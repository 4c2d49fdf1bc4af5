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
    // The update thread runs one last pass when it stops: it is stopped at
    // exit before the proxy and the network it uses are destroyed, which
    // exist already and so go after the handler.
    core::UiProxy::Instance();
    core::VoNetwork::Instance().Init();
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
