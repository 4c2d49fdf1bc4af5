#include "python/src/Session.h"

#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/PropertyEditor.h"
#include "python/src/Errors.h"
#include "python/src/PythonUiProxy.h"
#include "shr/Color4b.h"

#include <pybind11/pybind11.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <thread>

namespace py = pybind11;

namespace pyfenrak {

namespace {

std::mutex g_LibraryMutex;
std::atomic<std::thread::id> g_LibraryOwner{};

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

// The latest execution stamp among the modules linked to the inputs.
int64_t UpstreamStamp(const core::VoModule& module)
{
    int64_t stamp = std::numeric_limits<int64_t>::min();
    for (size_t input = 0; input < module.GetInputCount(); ++input) {
        for (size_t link = 0; const core::VoModule* source = module.GetInputConnection(input, link); ++link)
            stamp = std::max(stamp, source->ExecTime());
    }
    return stamp;
}

// No modules, and the background a global settings module may have left.
void EmptyNetwork()
{
    Network().DeleteAllNodes();
    Network().SetModified(false);
    Network().SetBackgroundColor(shr::Color4b::Black);
}

} // namespace

LibraryLock::LibraryLock(bool reenter)
{
    if (g_LibraryOwner.load() == std::this_thread::get_id()) {
        if (!reenter)
            throw std::runtime_error("the network is busy with a pass: a progress callback may not use it");
        return;
    }
    if (!g_LibraryMutex.try_lock()) {
        py::gil_scoped_release release;
        g_LibraryMutex.lock();
    }
    g_LibraryOwner = std::this_thread::get_id();
    m_Owner = true;
}

LibraryLock::~LibraryLock()
{
    if (!m_Owner)
        return;
    g_LibraryOwner = std::thread::id();
    g_LibraryMutex.unlock();
}

Session* Session::s_Open = nullptr;

Session::Session()
{
    CloseOpen();
    Network().Init();
    EmptyNetwork();
    m_Proxy = std::make_unique<PythonUiProxy>();
    m_Open = true;
    s_Open = this;
}

Session::~Session()
{
    try {
        LibraryLock lock(true);
        Close();
    } catch (...) {
        // A destructor must not throw; the network is emptied at exit anyway.
    }
}

void Session::CloseOpen()
{
    if (s_Open)
        s_Open->Close();
}

void Session::Close()
{
    if (!m_Open)
        return;
    m_Open = false;
    if (s_Open == this)
        s_Open = nullptr;
    Network().AbortIfBusy(true);
    EmptyNetwork();
    m_Proxy.reset();
    m_Names.clear();
    m_SetValues.clear();
}

void Session::CheckOpen() const
{
    if (!m_Open)
        throw std::runtime_error("this network is closed: another fenrak.Network has taken its place, or close() "
                                 "was called");
}

core::VoModule& Session::Module(const core::VbModuleId& id, unsigned generation) const
{
    CheckOpen();
    core::VoModule* module = generation == m_Generation ? Network().Node(id) : nullptr;
    if (!module)
        ThrowValueError("module " + id.ToString() + " is no longer in the network");
    return *module;
}

core::VoModule* Session::Find(const std::string& name) const
{
    CheckOpen();
    return Network().FindNode(name);
}

void Session::CheckNameFree(const std::string& name, const core::VoModule* except) const
{
    if (name.empty())
        ThrowValueError("a module needs a name");
    const core::VoModule* holder = Find(name);
    if (holder && holder != except)
        ThrowValueError("a module named \"" + name + "\" is in the network already");
}

core::VoModule& Session::Add(std::unique_ptr<core::VoModule> module, const std::string& name)
{
    CheckNameFree(name, nullptr);
    module->Name(name);
    core::VoModule& added = *module;
    Network().AddNode(module.release(), true);
    return added;
}

void Session::Remove(core::VbModuleId id)
{
    core::VoModule& module = Module(id);
    Network().DeleteNode(&module, true);
    m_Names.erase(id);
    m_SetValues.erase(id);
}

// Ids start again at 1: the proxy's reports start afresh too.
void Session::Clear()
{
    CheckOpen();
    EmptyNetwork();
    ++m_Generation;
    m_Proxy.reset();
    m_Proxy = std::make_unique<PythonUiProxy>();
    m_Names.clear();
    m_SetValues.clear();
}

void Session::SetComponentNames(const core::VbModuleId& id, std::vector<std::string> names)
{
    m_Names[id] = std::move(names);
}

const std::vector<std::string>* Session::ComponentNames(const core::VbModuleId& id) const
{
    const auto found = m_Names.find(id);
    return found == m_Names.end() ? nullptr : &found->second;
}

void Session::NoteSetValue(const core::VbModuleId& id, const std::string& key, const std::string& text,
                           const std::string& shown)
{
    const auto inserted = m_SetValues.emplace(id, SetValues());
    SetValues& noted = inserted.first->second;
    if (inserted.second)
        noted.upstreamStamp = UpstreamStamp(Module(id));
    for (SetValue& value : noted.values) {
        if (value.key == key) {
            value = SetValue{key, text, shown};
            return;
        }
    }
    noted.values.push_back(SetValue{key, text, shown});
}

bool Session::RestoreReplacedValues()
{
    std::map<core::VbModuleId, SetValues> noted;
    noted.swap(m_SetValues);
    bool restored = false;
    for (const auto& entry : noted) {
        core::VoModule* module = Network().Node(entry.first);
        if (!module || UpstreamStamp(*module) == entry.second.upstreamStamp)
            continue;
        host::PropertyEditor editor(*module);
        for (const SetValue& value : entry.second.values) {
            const int id = editor.RowOf(value.key);
            // A key the module takes without a row is given again: new data
            // may have reset what it set (the stream lines' seed plane).
            const bool withoutRow = id < 0 && editor.HasKey(value.key);
            if (!withoutRow && (id < 0 || editor.ValueText(id) == value.shown))
                continue;
            editor.Set(value.key, value.text);
            restored = true;
        }
    }
    return restored;
}

} // namespace pyfenrak
