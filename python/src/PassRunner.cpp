#include "python/src/PassRunner.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "python/src/Errors.h"
#include "python/src/PythonUiProxy.h"
#include "python/src/Session.h"

namespace py = pybind11;

namespace pyfenrak {

namespace {

// Passes in a row before the network is taken as settled, as in the host.
constexpr int kMaxPasses = 4;
// How long the waiting thread sleeps between looks at progress and interrupts.
constexpr unsigned long kWakeMilliseconds = 50;

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

} // namespace

void PassRunner::Run(const std::function<bool()>& restore)
{
    m_Session.CheckOpen();
    m_PassErrorsBefore = m_Session.Proxy().PassErrors().size();
    RunPasses();
    if (restore())
        RunPasses();
}

void PassRunner::RunPasses()
{
    for (int pass = 0; pass < kMaxPasses; ++pass) {
        RunPass();
        if (!Network().IsModified())
            break;
    }
}

void PassRunner::RunPass()
{
    Network().Update();
    while (!WaitABit()) {
        try {
            if (PyErr_CheckSignals() != 0)
                throw py::error_already_set();
            ShowProgress();
        } catch (...) {
            Abort();
            throw;
        }
    }
}

bool PassRunner::WaitABit()
{
    py::gil_scoped_release release;
    return Network().WaitUntilDoneFor(kWakeMilliseconds);
}

void PassRunner::ShowProgress()
{
    std::string text;
    double fraction = 0.0;
    if (m_Session.Proxy().TakeProgress(text, fraction) && !m_Progress.is_none())
        m_Progress(text, fraction);
}

void PassRunner::Abort()
{
    py::gil_scoped_release release;
    Network().AbortIfBusy(true);
}

void PassRunner::Check() const
{
    for (const core::VoModule* module : Network()) {
        const int status = module->GetStatus();
        if (status != core::VoModule::ModuleFailed && status != core::VoModule::ModuleAborted)
            continue;
        const host::HostUiProxy::ModuleReport report = m_Session.Proxy().Report(module->Id());
        const std::string reason = report.errors.empty() ? std::string("no message") : report.errors.back();
        ThrowExecutionError("module \"" + module->Name() + "\": execution " + host::HostUiProxy::StatusName(status) +
                            ": " + reason);
    }
    const std::vector<std::string> errors = m_Session.Proxy().PassErrors();
    if (errors.size() > m_PassErrorsBefore)
        ThrowExecutionError("the update failed: " + errors[m_PassErrorsBefore]);
}

} // namespace pyfenrak
