#include "core/network/VoNetwork.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/UiProxy.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/Vec3.h"

#include <Inventor/SoDB.h>
#include <Inventor/SoInteraction.h>
#include <Inventor/nodekits/SoNodeKit.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoSwitch.h>

#include <algorithm>
#include <functional>
#include <new>
#include <system_error>

namespace core {

Event VoNetwork::s_UpdateRequested(Event::Mode::AutoReset, false);
Event VoNetwork::s_UpdateDone(Event::Mode::ManualReset, true);
std::mutex VoNetwork::s_NetworkLock;

namespace {

// The 2000 ms of every wait for a pass: it paces the log line only.
constexpr unsigned long kWaitMilliseconds = 2000;

[[noreturn]] void ThrowCore(int line, const char* text)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "%s", text);
}

int ThreadNumber(std::thread::id id) { return static_cast<int>(std::hash<std::thread::id>()(id)); }

} // namespace

const VbModuleId& VoNetwork::ModuleIdOf::operator()(const VoModule* module) const { return module->Id(); }

VoNetwork::VoNetwork() : m_BackgroundColor(shr::Color4b::Black) {}

VoNetwork::~VoNetwork()
{
    if (m_Thread.joinable())
        DestroyUpdateThread();
}

// ---- lifecycle -------------------------------------------------------------

std::vector<void (*)()>& VoNetwork::SceneClasses()
{
    static std::vector<void (*)()> classes;
    return classes;
}

void VoNetwork::RegisterSceneClass(void (*initClass)())
{
    if (initClass)
        SceneClasses().push_back(initClass);
}

// Once per process: classes cannot be registered with the database twice.
void VoNetwork::InitSceneGraph()
{
    static const bool done = [] {
        SoDB::init();
        SoNodeKit::init();
        SoInteraction::init();
        for (auto initClass : SceneClasses())
            initClass();
        return true;
    }();
    (void)done;
}

void VoNetwork::Init()
{
    if (m_Initialised)
        return;
    InitSceneGraph();
    if (!CreateUpdateThread())
        ThrowCore(__LINE__, "Cannot start the update thread.");
    m_Initialised = true;
}

void VoNetwork::Release()
{
    DestroyUpdateThread();
    DeleteAllNodes();
    m_Initialised = false;
}

bool VoNetwork::CreateUpdateThread()
{
    // Running is raised first: the new thread tests it before its first wait.
    m_Running = true;
    try {
        m_Thread = std::thread(&VoNetwork::ThreadEntry, this);
    } catch (const std::system_error&) {
        m_Running = false;
        return false;
    }
    m_ThreadId = m_Thread.get_id();
    shr::g_Logger.SendVA(4, "Main UI thread Id = %d", ThreadNumber(std::this_thread::get_id()));
    shr::g_Logger.SendVA(4, "Update thread Id = %d", ThreadNumber(m_Thread.get_id()));
    return true;
}

void VoNetwork::DestroyUpdateThread()
{
    if (IsUpdateThread())
        ThrowCore(__LINE__, "The update thread cannot stop itself.");
    UpdateThreadAborted(true);
    m_Running = false;
    s_UpdateRequested.Set();
    if (m_Thread.joinable())
        m_Thread.join();
    m_ThreadId = std::thread::id();
    SetBusy(false);
}

void VoNetwork::ThreadEntry(VoNetwork* network)
{
    network->m_ThreadId = std::this_thread::get_id();
    network->Run();
}

unsigned VoNetwork::Run()
{
    // Running is tested only before the wait: a request made at shutdown still
    // gets its pass unless the abort flag stands.
    while (m_Running) {
        s_UpdateRequested.Wait();
        SetBusy(true);
        if (!ReadAborted())
            RunPass();
        SetBusy(false);
        s_UpdateDone.Set();
    }
    return 0;
}

// A pass's own failures end the pass, never the thread, except for what is
// not an exception of ours or of the standard library.
void VoNetwork::RunPass()
{
    try {
        UpdateImpl();
    } catch (const shr::Exception& error) {
        shr::g_Logger.Send(1, "Caught Exception in update thread");
        UiProxy::Instance()->ErrorMsg(error);
    } catch (const std::bad_alloc&) {
        UiProxy::Instance()->ErrorMsg(__FILE__, __LINE__, "Insufficient memory to perform operation");
    } catch (const std::exception& error) {
        shr::GString text("Unhandled STL exception");
        if (error.what() && *error.what())
            text += shr::GString(": ") + error.what();
        shr::g_Logger.Send(1, "Caught STL exception in update thread");
        UiProxy::Instance()->ErrorMsg(__FILE__, __LINE__, text.c_str());
    } catch (...) {
        shr::g_Logger.Send(1, "Unhandled exception in update thread");
        throw;
    }
}

void VoNetwork::Update()
{
    if (!m_Initialised)
        Init();
    UpdateThreadAborted(false);
    s_UpdateDone.Reset();
    s_UpdateRequested.Set();
}

void VoNetwork::DoIdleTasks()
{
    if (m_AutoUpdate && !UpdateThreadBusy() && m_Modified)
        Update();
}

void VoNetwork::WaitUntilDone(unsigned long milliseconds) const
{
    if (IsUpdateThread()) {
        shr::g_Logger.Send(4, "Wrong thread in WaitUntilDone");
        return;
    }
    while (!s_UpdateDone.Wait(milliseconds))
        shr::g_Logger.Send(4, "Timeout in WaitUntilDone");
}

bool VoNetwork::WaitUntilDoneFor(unsigned long milliseconds) const
{
    return IsUpdateThread() || s_UpdateDone.Wait(milliseconds);
}

void VoNetwork::AbortIfBusy(bool wait)
{
    UpdateThreadAborted(true);
    if (wait)
        WaitUntilDone(kWaitMilliseconds);
}

// The flag goes up only while a pass runs; it comes down on request.
void VoNetwork::UpdateThreadAborted(bool aborted)
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    if (!aborted)
        m_Aborted = false;
    else if (m_Busy)
        m_Aborted = true;
}

void VoNetwork::SetBusy(bool busy)
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    m_Busy = busy;
}

bool VoNetwork::ReadAborted() const
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    return m_Aborted;
}

bool VoNetwork::UpdateThreadBusy() const
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    return m_Busy;
}

bool VoNetwork::IsUpdateThread() const { return m_ThreadId.load() == std::this_thread::get_id(); }

// ---- the pass --------------------------------------------------------------

void VoNetwork::UpdateImpl()
{
    UiProxy::Instance()->BeforeUpdate();
    m_Modified = false; // whatever is modified from here on starts the next pass
    auto renderer = std::make_shared<VgRenderer>(m_Transform);
    const bool completed = ExecuteSinks(renderer);
    // A transform that a module established is kept, also when the pass stops.
    m_Transform = renderer->Transform();
    if (!completed)
        return;
    SceneRoot(AssembleRoot());
    CallCallbacks();
    UiProxy::Instance()->AfterUpdate();
}

// Pulls every sink in list order; false when the pass is to stop. There is no
// topological sort: order follows from the list and from port order upstream.
bool VoNetwork::ExecuteSinks(const std::shared_ptr<VgRenderer>& renderer)
{
    const size_t count = m_Nodes.size();
    for (size_t i = 0; i < count; ++i) {
        if (ReadAborted())
            return false;
        VoModule* module = m_Nodes[i];
        if (IsSink(*module) && !module->Update(renderer))
            return false;
    }
    return true;
}

// A module whose outputs feed nothing; the others are reached through their consumers.
bool VoNetwork::IsSink(const VoModule& module)
{
    for (size_t o = module.GetOutputCount(); o-- > 0;)
        if (!module.GetOutput(o)->empty())
            return false;
    return true;
}

// The geometry of an output that goes into the scene by itself: not when a
// consuming module filters geometry, whose own output then stands for it.
VdGeometry* VoNetwork::GetSceneGeometry(const VoModule& module, size_t output)
{
    const VbPort* port = module.GetOutput(output);
    auto* geometry = dynamic_cast<VdGeometry*>(port->Data());
    if (!geometry)
        return nullptr;
    for (const VbPort::Connection& link : port->GetConnections())
        if (link.module && link.module->IsGeomFilter())
            return nullptr;
    return geometry;
}

// Header nodes go before all others, the latest found first.
InvSmartPtr<SoSeparator> VoNetwork::AssembleRoot() const
{
    InvSmartPtr<SoSeparator> root(new SoSeparator);
    for (const VoModule* module : m_Nodes) {
        for (size_t o = module->GetOutputCount(); o-- > 0;) {
            const VdGeometry* geometry = GetSceneGeometry(*module, o);
            if (!geometry)
                continue;
            InvSmartPtr<SoSwitch> node = geometry->GetRoot();
            if (!node)
                continue;
            if (geometry->IsHeaderNode())
                root->insertChild(node.get(), 0);
            else
                root->addChild(node.get());
        }
    }
    return root;
}

void VoNetwork::CallCallbacks()
{
    std::vector<std::pair<Callback, void*>> callbacks;
    {
        std::lock_guard<std::mutex> lock(s_NetworkLock);
        callbacks = m_Callbacks;
    }
    for (auto it = callbacks.rbegin(); it != callbacks.rend(); ++it)
        it->first(1, it->second);
}

// ---- nodes -----------------------------------------------------------------

VbModuleId VoNetwork::AddNode(VoModule* module, bool generateId)
{
    if (!module || IsValid(module))
        ThrowCore(__LINE__, "Cannot add invalid node to network.");
    if (!generateId && m_Index.Contains(module))
        ThrowCore(__LINE__, "Cannot add node with duplicate id to network.");
    AbortIfBusy(true);
    VbModuleId id = module->Id();
    if (generateId) {
        id = m_CurrentId;
        ++id; // raises at the maximum, before anything changed
        if (m_Index.Find(id))
            ThrowCore(__LINE__, "Cannot add node with duplicate id to network.");
        m_CurrentId = id;
        module->m_Id = id;
    }
    m_Nodes.push_back(module);
    m_Index.Insert(module);
    m_Modified = true;
    return id;
}

void VoNetwork::CurrentModuleId(const VbModuleId& id)
{
    if (!m_Index.empty() && id < (*m_Index.rbegin())->Id())
        ThrowCore(__LINE__, "Duplicate or invalid module id.");
    m_CurrentId = id;
}

std::unique_ptr<VoModule> VoNetwork::DeleteNode(const VoModule* module, bool recalc)
{
    const int index = FindNode(module);
    return index < 0 ? nullptr : DeleteNode(index, recalc);
}

std::unique_ptr<VoModule> VoNetwork::DeleteNode(int index, bool recalc)
{
    AbortIfBusy(true);
    std::unique_ptr<VoModule> module(m_Nodes[static_cast<size_t>(index)]);
    m_Nodes.erase(m_Nodes.begin() + index);
    m_Index.Erase(module->Id());
    m_Modified = true;
    module->Disconnect(recalc);
    return module;
}

void VoNetwork::DeleteAllNodes()
{
    AbortIfBusy(true);
    SceneRoot(InvSmartPtr<SoSeparator>());
    m_Transform.Invalidate();
    // Each destructor disconnects, so later modules see their neighbours go.
    for (VoModule* module : m_Nodes)
        delete module;
    m_Nodes.clear();
    m_Index.clear();
    m_CurrentId = VbModuleId::Bad();
    m_Modified = true;
}

bool VoNetwork::ConnectNodes(VoModule& module, VoModule* source, int input, bool recalc)
{
    // A module fed by itself or by its own downstream would close a cycle.
    if (source && (source == &module || PathExists(module, *source)))
        return false;
    AbortIfBusy(true);
    module.Connect(source, static_cast<size_t>(input), recalc);
    return true;
}

bool VoNetwork::PathExists(const VoModule& from, const VoModule& to) const
{
    std::vector<const VoModule*> visited;
    return PathExists(from, to, visited);
}

// Depth first along the outputs. The visited list only saves walking a shared
// downstream twice; the answer is the same without it.
bool VoNetwork::PathExists(const VoModule& from, const VoModule& to, std::vector<const VoModule*>& visited) const
{
    for (size_t o = 0; o < from.GetOutputCount(); ++o) {
        for (const VbPort::Connection& link : from.GetOutput(o)->GetConnections()) {
            const VoModule* next = link.module;
            if (!next)
                continue;
            if (next == &to)
                return true;
            if (std::find(visited.begin(), visited.end(), next) != visited.end())
                continue;
            visited.push_back(next);
            if (PathExists(*next, to, visited))
                return true;
        }
    }
    return false;
}

void VoNetwork::ModifyNode(VoModule& module, VbPropList& list, const VbPropertyEvent& event, bool notify,
                           bool restoring)
{
    AbortIfBusy(true);
    if (restoring)
        module.RestoreProperties(list, event);
    else
        module.PropertyEvent(list, event);
    if (notify)
        SignalModuleModified(module, -1, true);
}

VoModule* VoNetwork::Node(const VbModuleId& id) const { return m_Index.Find(id); }

bool VoNetwork::IsValid(const VoModule* module) const { return FindNode(module) >= 0; }

int VoNetwork::FindNode(const VoModule* module) const
{
    auto it = std::find(m_Nodes.begin(), m_Nodes.end(), module);
    return it == m_Nodes.end() ? -1 : static_cast<int>(it - m_Nodes.begin());
}

VoModule* VoNetwork::FindNode(const shr::GString& name) const
{
    if (name.empty())
        return nullptr;
    auto it = std::find_if(m_Nodes.begin(), m_Nodes.end(), [&](const VoModule* m) { return m->Name() == name; });
    return it == m_Nodes.end() ? nullptr : *it;
}

bool VoNetwork::FindNode(const shr::GString& name, VbModuleId& id) const
{
    const VoModule* module = FindNode(name);
    id = module ? module->Id() : VbModuleId::Bad();
    return !id.IsBad();
}

VoModule* VoNetwork::FindNode(SoNode* node) const
{
    for (auto it = m_Nodes.rbegin(); it != m_Nodes.rend(); ++it) {
        VoModule* module = *it;
        if (!module->IsGeometryVisible())
            continue;
        for (size_t o = 0; o < module->GetOutputCount(); ++o) {
            const auto* geometry = dynamic_cast<const VdGeometry*>(module->GetOutput(o)->Data());
            if (geometry && geometry->FindNode(node))
                return module;
        }
    }
    return nullptr;
}

// ---- scene -----------------------------------------------------------------

InvSmartPtr<SoSeparator> VoNetwork::SceneRoot() const
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    return m_SceneRoot;
}

void VoNetwork::SceneRoot(InvSmartPtr<SoSeparator> root)
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    m_SceneRoot.swap(root);
    root.reset(); // the old root, released under the lock
}

shr::Color4b VoNetwork::GetBackgroundColor() const
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    return m_BackgroundColor;
}

void VoNetwork::SetBackgroundColor(const shr::Color4b& color)
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    m_BackgroundColor = color;
}

double VoNetwork::VerticalExaggeration() const
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    return m_VerticalExaggeration;
}

void VoNetwork::VerticalExaggeration(double exaggeration)
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    m_VerticalExaggeration = exaggeration;
}

// ---- notification ----------------------------------------------------------

void VoNetwork::AddCallback(Callback fn, void* data)
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    m_Callbacks.emplace_back(fn, data);
}

void VoNetwork::RemoveCallback(Callback fn, void* data)
{
    std::lock_guard<std::mutex> lock(s_NetworkLock);
    auto it = std::find(m_Callbacks.begin(), m_Callbacks.end(), std::make_pair(fn, data));
    if (it != m_Callbacks.end())
        m_Callbacks.erase(it);
}

boost::signals2::connection VoNetwork::SlotModuleModified(const ModifiedSignal::slot_type& slot)
{
    return m_ModifiedSignal.connect(slot);
}

void VoNetwork::SignalModuleModified(const VoModule& module, int property, bool rebuild)
{
    m_ModifiedSignal(module, property, rebuild);
}

// ---- persistence -----------------------------------------------------------

// Documents before version 114 carry no transform; the current one stays.
void VoNetwork::Serialize(shr::Archive& archive)
{
    double x = m_Transform.XTransform();
    double y = m_Transform.YTransform();
    bool valid = m_Transform.Valid();
    if (archive.IsLoading() && archive.GetVersion() < 114)
        return;
    archive.Transfer(x);
    archive.Transfer(y);
    archive.Transfer(valid);
    if (archive.IsStoring())
        return;
    m_Transform.Invalidate();
    if (!valid)
        return;
    // Rebuilt the way a pass derives it: the offset that brings (-x, -y) to the origin.
    VgRenderer renderer(m_Transform);
    renderer.UpdateTransform(shr::Vec3d(-x, -y, 0.0));
    m_Transform = renderer.Transform();
}

} // namespace core
