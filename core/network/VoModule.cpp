#include "core/network/VoModule.h"

#include "core/data/VdGeometry.h"
#include "core/network/ContextMenuOptions.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleConnection.h"
#include "core/network/VbPort.h"
#include "core/network/VoNetwork.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/Timer.h"

#include <utility>

namespace core {

SHR_IMPLEMENT_TYPE(VoModule, shr::CTypedObject)

std::recursive_mutex VoModule::s_ExecuteLock;
std::atomic<int64_t> VoModule::s_CurTime{0};

namespace {

[[noreturn]] void ThrowCore(int line, const char* text)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "%s", text);
}

// Hands a module's failure to the host and lets the caller go on.
template <class Action>
void ReportingErrors(Action action)
{
    try {
        action();
    } catch (const shr::Exception& error) {
        UiProxy::Instance()->ErrorMsg(error);
    }
}

} // namespace

VoModule::VoModule() = default;

VoModule::~VoModule()
{
    try {
        Disconnect(true);
    } catch (const shr::Exception& error) {
        UiProxy::Instance()->ErrorMsg(error);
    } catch (const std::exception& error) {
        UiProxy::Instance()->ErrorMsg(__FILE__, __LINE__, error.what());
    }
    for (auto it = m_Outputs.rbegin(); it != m_Outputs.rend(); ++it)
        delete *it;
    for (auto it = m_Inputs.rbegin(); it != m_Inputs.rend(); ++it)
        delete *it;
}

// ---- virtual defaults ------------------------------------------------------

std::unique_ptr<ContextMenuOptions> VoModule::ContextMenu(const VbPropertyEvent&) const { return nullptr; }
bool VoModule::Copyable() const { return true; }
bool VoModule::Deletable() const { return true; }

void VoModule::RestoreProperties(VbPropList& list, const VbPropertyEvent& event) { PropertyEvent(list, event); }

void VoModule::OnInputChanged(int, bool) {}
void VoModule::PropertyEvent(VbPropList&, const VbPropertyEvent&) {}

void VoModule::PostExecute(double seconds) const
{
    if (seconds > 0.001)
        UiProxy::Instance()->StatusMsg("%s execute time=%.3lf seconds", m_Name.c_str(), seconds);
}

bool VoModule::CompatibleImpl(int, const VoModule&, int, bool) const { return true; }
VoModule::ModuleStatus VoModule::ExecuteImpl(std::shared_ptr<VgRenderer>) { return ModuleOk; }
void VoModule::UpdatePropertiesImpl(VbPropList&) {}
void VoModule::UpdateLimits() {}

// ---- state -----------------------------------------------------------------

void VoModule::NotifyStatus() { UiProxy::Instance()->ModuleStatusChanged(this, m_Status); }

void VoModule::SetStatus(ModuleStatus status)
{
    if (status == m_Status)
        return;
    m_Status = status;
    NotifyStatus();
}

void VoModule::Name(const shr::GString& name)
{
    VoNetwork::Instance().AbortIfBusy(true);
    m_Name = name;
}

shr::GString VoModule::NameAndId() const { return m_Name + " (id:" + m_Id.ToString() + ")"; }

int64_t VoModule::GetCurTime() { return s_CurTime.fetch_add(1, std::memory_order_relaxed); }

void VoModule::SetModified()
{
    m_ModifiedTime = GetCurTime();
    VoNetwork::Instance().SetModified(true);
    if (m_Status != ModuleStale) {
        m_Status = ModuleStale;
        NotifyStatus();
    }
}

// ---- ports -----------------------------------------------------------------

void VoModule::AddInput(const char* name, unsigned int type) { m_Inputs.push_back(new VbPort(name, type, nullptr)); }

VbPort* VoModule::AddOutput(const char* name, unsigned int type)
{
    m_Outputs.push_back(new VbPort(name, type, nullptr));
    return m_Outputs.back();
}

VbPort* VoModule::DetachLastInput()
{
    if (m_Inputs.empty())
        return nullptr;
    VbPort* port = m_Inputs.back();
    m_Inputs.pop_back();
    return port;
}

void VoModule::ReattachInput(VbPort* port)
{
    if (port)
        m_Inputs.push_back(port);
}

VbPort* VoModule::GetInput(size_t index) const { return index < m_Inputs.size() ? m_Inputs[index] : nullptr; }
VbPort* VoModule::GetOutput(size_t index) const { return index < m_Outputs.size() ? m_Outputs[index] : nullptr; }

VoModule* VoModule::GetInputConnection(size_t input, size_t connection) const
{
    const VbPort* port = GetInput(input);
    return port ? port->GetConnectedModule(connection) : nullptr;
}

VdData* VoModule::GetInputData(size_t input, const shr::CTypeInfo* type) const
{
    const VbPort::Connection* link = m_Inputs.size() > input ? m_Inputs[input]->GetConnection(0) : nullptr;
    if (!link || !link->module || link->port < 0)
        return nullptr;
    const VbPort* upstream = link->module->GetOutput(static_cast<size_t>(link->port));
    if (!upstream)
        return nullptr;
    VdData* data = upstream->Data();
    if (type && data && !data->IsKindOf(type))
        return nullptr;
    return data;
}

VdData* VoModule::GetOutputData(size_t output, const shr::CTypeInfo*) const
{
    const VbPort* port = GetOutput(output);
    return port ? port->Data() : nullptr;
}

VdGeometry& VoModule::OutputGeometry(size_t output) const
{
    auto* geometry = dynamic_cast<VdGeometry*>(GetOutputData(output));
    if (!geometry)
        ThrowCore(__LINE__, "Invalid output geometry.");
    return *geometry;
}

bool VoModule::Connected(size_t output, const VoModule& destination, size_t input) const
{
    const VbPort* port = GetOutput(output);
    return port && port->Connected(destination, input);
}

bool VoModule::Compatible(int input, const VoModule* source, int output, bool useData) const
{
    if (!source || output < 0 || input < 0)
        return false;
    const VbPort* from = source->GetOutput(static_cast<size_t>(output));
    const VbPort* to = GetInput(static_cast<size_t>(input));
    if (!from || !to)
        return false;
    const unsigned int offered = useData && from->Data() ? from->Data()->GetType() : from->Type();
    return (offered & to->Type()) != 0 && CompatibleImpl(input, *source, output, useData);
}

void VoModule::EnumerateConnections(std::list<VbModuleConnection>& list, bool inputs, bool outputs) const
{
    list.clear();
    auto farId = [](const VbPort::Connection& link) {
        return link.module && link.port >= 0 ? link.module->Id() : VbModuleId::Bad();
    };
    if (inputs) {
        for (size_t p = 0; p < m_Inputs.size(); ++p)
            for (const VbPort::Connection& link : m_Inputs[p]->GetConnections())
                list.emplace_back(farId(link), static_cast<unsigned int>(link.port), m_Id, static_cast<unsigned int>(p));
    }
    if (outputs) {
        for (size_t p = 0; p < m_Outputs.size(); ++p)
            for (const VbPort::Connection& link : m_Outputs[p]->GetConnections())
                list.emplace_back(m_Id, static_cast<unsigned int>(p), farId(link), static_cast<unsigned int>(link.port));
    }
}

// ---- links -----------------------------------------------------------------

void VoModule::Connect(VoModule* source, size_t input, bool recalc)
{
    // Checked before anything changes: an unchecked index would be undefined.
    VbPort* port = GetInput(input);
    if (!port)
        ThrowCore(__LINE__, "Invalid input port.");
    if (source && source->m_Outputs.empty())
        ThrowCore(__LINE__, "Invalid output port.");

    VoNetwork::Instance().AbortIfBusy(true);
    if (!port->empty()) {
        const VbPort::Connection old = port->GetConnections().front();
        if (old.module && old.port >= 0) {
            if (VbPort* upstream = old.module->GetOutput(static_cast<size_t>(old.port)))
                upstream->RemoveConnection(this, input);
        }
        port->RemoveConnection(old);
    }
    if (source) {
        port->AddConnection(source, 0);
        source->m_Outputs.front()->AddConnection(this, input);
    }
    OnInputChanged(static_cast<int>(input), recalc);
    UiProxy::Instance()->UpdatePropertyList(this, -1, true);
    SetModified();
}

// Cuts every link of `downstream` that comes from this module, telling it of
// each loss.
void VoModule::RemoveFromDownstream(VoModule& downstream, bool recalc)
{
    for (size_t input = 0; input < downstream.m_Inputs.size(); ++input) {
        VbPort::Connections& links = downstream.m_Inputs[input]->GetConnections();
        for (size_t k = 0; k < links.size();) {
            if (links[k].module != this) {
                ++k;
                continue;
            }
            links.erase(links.begin() + static_cast<std::ptrdiff_t>(k));
            downstream.OnInputChanged(static_cast<int>(input), recalc);
            UiProxy::Instance()->UpdatePropertyList(&downstream, -1, true);
            downstream.SetModified();
        }
    }
}

void VoModule::Disconnect(bool recalc)
{
    // The own port lists must not change while they are walked.
    std::vector<std::pair<VbPort*, VbPort::Connection>> removals;
    for (size_t input = 0; input < m_Inputs.size(); ++input) {
        for (const VbPort::Connection& link : m_Inputs[input]->GetConnections()) {
            if (link.module && link.port >= 0 && static_cast<size_t>(link.port) < link.module->GetOutputCount())
                link.module->m_Outputs[static_cast<size_t>(link.port)]->RemoveConnection(this, input);
            removals.emplace_back(m_Inputs[input], link);
        }
    }
    for (VbPort* output : m_Outputs) {
        for (const VbPort::Connection& link : output->GetConnections()) {
            if (link.module)
                RemoveFromDownstream(*link.module, recalc);
            removals.emplace_back(output, link);
        }
    }
    for (const auto& removal : removals)
        removal.first->RemoveConnection(removal.second);
}

// ---- execution -------------------------------------------------------------

int64_t VoModule::GetLastModifiedInputTime() const
{
    // No module contributes a time of its own: the answer is always the seed,
    // and the cached-output flag alone decides. The walk is kept as it is.
    int64_t latest = -32768;
    for (const VbPort* input : m_Inputs)
        for (const VbPort::Connection& link : input->GetConnections())
            if (link.module)
                latest = std::max(latest, link.module->GetLastModifiedInputTime());
    return latest;
}

bool VoModule::UpdateUpstream(const std::shared_ptr<VgRenderer>& renderer, bool useCache, bool& needExecute)
{
    for (const VbPort* input : m_Inputs) {
        const VbPort::Connections& links = input->GetConnections();
        for (size_t k = 0; k < links.size(); ++k) {
            VoModule* upstream = links[k].module;
            if (!upstream)
                continue;
            if (!upstream->Update(renderer))
                return false;
            if (upstream->m_ExecTime > m_ExecTime && !useCache)
                needExecute = true;
        }
    }
    return true;
}

bool VoModule::Update(std::shared_ptr<VgRenderer> renderer)
{
    const bool useCache = m_CachedOutput && GetLastModifiedInputTime() <= -1;
    bool needExecute = false;
    if (!UpdateUpstream(renderer, useCache, needExecute))
        return false;

    if (m_CachedOutput) {
        m_CachedOutput = false;
        if (useCache) {
            // The output restored from a document stands; consumers see a newer stamp.
            m_ExecTime = GetCurTime();
            OnOutputChanged();
            return true;
        }
    }
    // An aborted module runs again whatever changed; a failed one does not.
    if (!needExecute && m_ModifiedTime <= m_ExecTime && m_Status != ModuleAborted)
        return true;

    // Stamped before the work, so that a change made meanwhile leaves it stale.
    m_ExecTime = GetCurTime();
    SetStatus(ModuleExecuting);
    shr::CTimer timer;
    Execute(renderer);
    OnOutputChanged();
    if (m_Status == ModuleAborted)
        return false;
    PostExecute(static_cast<double>(timer.Stop()) / static_cast<double>(shr::CTimer::Frequency()));
    return true;
}

void VoModule::Execute(std::shared_ptr<VgRenderer> renderer)
{
    std::lock_guard<std::recursive_mutex> lock(s_ExecuteLock);
    try {
        SetStatus(ExecuteImpl(renderer));
    } catch (const shr::Exception& error) {
        SetStatus(ModuleFailed);
        UiProxy::Instance()->ErrorMsg(error);
    } catch (const std::exception& error) {
        shr::g_Logger.SendVA(4, "Std exception in %s::Execute() <%s>", GetTypeId()->m_ClassName, error.what());
        SetStatus(ModuleFailed);
        throw;
    } catch (...) {
        shr::g_Logger.SendVA(4, "Unhandled exception in %s::Execute()", GetTypeId()->m_ClassName);
        SetStatus(ModuleFailed);
        throw;
    }
}

void VoModule::OnOutputChanged()
{
    for (const VbPort* output : m_Outputs) {
        const VbPort::Connections& links = output->GetConnections();
        for (size_t k = 0; k < links.size(); ++k) {
            const VbPort::Connection link = links[k];
            if (link.module)
                ReportingErrors([&] { link.module->OnInputChanged(link.port, true); });
        }
    }
}

void VoModule::UpdateProperties(VbPropList& list)
{
    std::lock_guard<std::recursive_mutex> lock(s_ExecuteLock);
    UpdatePropertiesImpl(list);
}

void VoModule::ShowGeometry(bool show, bool force)
{
    VoNetwork::Instance().AbortIfBusy(true);
    if (!force && show == m_ShowGeometry)
        return;
    m_ShowGeometry = show;
    for (const VbPort* output : m_Outputs) {
        auto* geometry = dynamic_cast<VdGeometry*>(output->Data());
        if (!geometry)
            continue;
        geometry->Show(show);
        SetModified();
        for (const VbPort::Connection& link : output->GetConnections()) {
            if (!link.module)
                continue;
            ReportingErrors([&] {
                link.module->OnInputChanged(link.port, true);
                link.module->SetModified();
            });
        }
    }
}

// ---- persistence -----------------------------------------------------------

void VoModule::Serialize(shr::Archive& archive)
{
    archive.SyncCheck();
    int32_t status = m_Status;
    archive.Transfer(status);
    archive.CheckRange(status, int32_t(ModuleStale), int32_t(ModuleIdle), "the module status");
    if (archive.IsLoading())
        m_Status = static_cast<ModuleStatus>(status);
    archive.Transfer(m_Name);
    archive.Transfer(m_ShowGeometry);
    archive.Transfer(m_GeomFilter);
    SerializePortList(archive, m_Inputs);
    SerializePortList(archive, m_Outputs);
}

// Links only: the ports themselves are made by the constructor. Documents
// before version 113 carry no port count; the module's own count stands.
void VoModule::SerializePortList(shr::Archive& archive, std::vector<VbPort*>& ports)
{
    const bool withLinks = !archive.ConnectionsFlag || *archive.ConnectionsFlag;
    int32_t count = static_cast<int32_t>(ports.size());
    if (archive.IsStoring() || archive.GetVersion() >= 113)
        archive.Transfer(count);
    if (count <= 0)
        return;
    if (static_cast<size_t>(count) > ports.size())
        archive.ThrowFormatError("%d ports stored where the module has %zu", count, ports.size());
    for (int32_t p = 0; p < count; ++p) {
        VbPort::Connections& links = ports[static_cast<size_t>(p)]->GetConnections();
        uint32_t linkCount = withLinks ? static_cast<uint32_t>(links.size()) : 0;
        archive.Transfer(linkCount);
        if (archive.IsLoading()) {
            // A document whose links are kept elsewhere stores none here: links
            // read anyway would be one-sided, known to this module only.
            if (!withLinks && linkCount != 0)
                archive.ThrowFormatError("%u links stored for port %d where the document keeps none", linkCount, p);
            archive.CheckCount(linkCount, 8);
            links.resize(linkCount);
        }
        for (uint32_t k = 0; k < linkCount; ++k) {
            archive.TransferObject(links[k].module);
            archive.Transfer(links[k].port);
        }
    }
}

} // namespace core
