#pragma once
// VoNetwork: the one graph of all modules of a document, and the machinery
// that brings them up to date. It owns the modules, hands out their ids, keeps
// the scene root that the host draws, and runs the update thread, on which
// every pass (and so every module execution) happens.
//
// The busy protocol keeps this safe without locks on nodes, links or
// properties: before any such change the host's thread raises the abort flag
// and waits until the pass has ended (AbortIfBusy, or the node operations
// themselves). s_NetworkLock guards only the flags and small values; it is
// never held during a wait or module work.
//
// The host calls Release before it exits: the network stops its thread at exit
// but leaves deleting the modules to Release.
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/SceneTransform.h"
#include "core/network/Event.h"
#include "core/network/VbModuleId.h"
#include "shr/Color4b.h"
#include "shr/GString.h"
#include "shr/Singleton.h"
#include "shr/SimpleUniqueStorage.h"

#include <Inventor/nodes/SoSeparator.h>

#include <boost/signals2/last_value.hpp>
#include <boost/signals2/signal.hpp>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace shr {
class Archive;
}

namespace core {

class VbPropertyEvent;
class VbPropList;
class VdGeometry;
class VgRenderer;
class VoModule;

class VoNetwork : public shr::Singleton<VoNetwork> {
    friend class shr::Singleton<VoNetwork>;

    struct ModuleIdOf {
        const VbModuleId& operator()(const VoModule* module) const;
    };
    using IdIndex = shr::SimpleUniqueStorage<VoModule*, VbModuleId, std::less<VbModuleId>, ModuleIdOf>;
    using Nodes = std::vector<VoModule*>;

public:
    using Callback = void (*)(int, void*);
    // (module, property id or -1 for all, whether the list must be rebuilt)
    using ModifiedSignal = boost::signals2::signal<void(const VoModule&, int, bool), boost::signals2::last_value<void>>;
    using const_iterator = Nodes::const_iterator;
    using const_reverse_iterator = Nodes::const_reverse_iterator;

    // Registers a scene-graph class of the library (its initClass) for Init to
    // call once the scene-graph database is up. Called by static initialisers.
    static void RegisterSceneClass(void (*initClass)());

    // ---- lifecycle ----
    // Starts the scene-graph database and the update thread; idempotent.
    void Init();
    // Stops the thread and deletes every module; a later Init or Update starts again.
    void Release();
    // Asks for a pass and returns at once.
    void Update();
    // The host's idle call: starts a pass if AutoUpdate is on, no pass runs and
    // something was modified.
    void DoIdleTasks();
    // Returns once no pass runs; `milliseconds` only paces a log line. On the
    // update thread it returns at once.
    void WaitUntilDone(unsigned long milliseconds) const;
    // Waits at most `milliseconds` for the pass to end: whether none runs now,
    // so that a host can do other work (show progress, take an interrupt) while
    // it waits. On the update thread it answers true at once.
    bool WaitUntilDoneFor(unsigned long milliseconds) const;
    // Asks a running pass to stop; with `wait`, waits for it to end.
    void AbortIfBusy(bool wait);
    bool Aborted() const { return m_Aborted; }
    bool UpdateThreadBusy() const;
    bool IsUpdateThread() const;

    bool GetAutoUpdate() const { return m_AutoUpdate; }
    void SetAutoUpdate(bool autoUpdate) { m_AutoUpdate = autoUpdate; }
    bool IsModified() const { return m_Modified; }
    void SetModified(bool modified) { m_Modified = modified; }

    // ---- nodes ----
    // Takes ownership; gives the module the next id, or keeps its own.
    VbModuleId AddNode(VoModule* module, bool generateId);
    // Hands the module back, disconnected; null if it is not in the network.
    std::unique_ptr<VoModule> DeleteNode(const VoModule* module, bool recalc);
    void DeleteAllNodes();
    // Links `source` to `input` of `module` (null cuts the link); false, and
    // nothing done, if the link would close a cycle.
    bool ConnectNodes(VoModule& module, VoModule* source, int input, bool recalc);
    bool PathExists(const VoModule& from, const VoModule& to) const;
    // The one road by which a property change enters a module.
    void ModifyNode(VoModule& module, VbPropList& list, const VbPropertyEvent& event, bool notify, bool restoring);

    size_t GetNodeCount() const { return m_Nodes.size(); }
    size_t size() const { return m_Nodes.size(); }
    bool empty() const { return m_Nodes.empty(); }
    const_iterator begin() const { return m_Nodes.begin(); }
    const_iterator end() const { return m_Nodes.end(); }
    const_iterator cbegin() const { return m_Nodes.cbegin(); }
    const_iterator cend() const { return m_Nodes.cend(); }
    const_reverse_iterator rbegin() const { return m_Nodes.rbegin(); }
    const_reverse_iterator rend() const { return m_Nodes.rend(); }
    // Unchecked.
    VoModule* GetNode(size_t index) const { return m_Nodes[index]; }
    VoModule* Node(const VbModuleId& id) const;
    bool IsValid(const VoModule* module) const;
    const VbModuleId& CurrentModuleId() const { return m_CurrentId; }
    // Ids go on above `id`; raises "Duplicate or invalid module id." below the
    // largest id in the network.
    void CurrentModuleId(const VbModuleId& id);

    int FindNode(const VoModule* module) const;
    VoModule* FindNode(const shr::GString& name) const;
    bool FindNode(const shr::GString& name, VbModuleId& id) const;
    // The module whose visible geometry holds `node`, searching from the last.
    VoModule* FindNode(SoNode* node) const;

    // ---- scene ----
    InvSmartPtr<SoSeparator> SceneRoot() const;
    shr::Color4b GetBackgroundColor() const;
    void SetBackgroundColor(const shr::Color4b& color);
    double VerticalExaggeration() const;
    void VerticalExaggeration(double exaggeration);
    const SceneTransform& Transform() const { return m_Transform; }
    void SetTransformOnlyUseIfYouAreAUnitTest(const SceneTransform& transform) { m_Transform = transform; }

    // ---- notification ----
    // Called as fn(1, data) after each completed pass, the latest added first.
    void AddCallback(Callback fn, void* data);
    void RemoveCallback(Callback fn, void* data);
    boost::signals2::connection SlotModuleModified(const ModifiedSignal::slot_type& slot);
    void SignalModuleModified(const VoModule& module, int property, bool rebuild);

    // The scene transform only; the modules are the host's to store.
    void Serialize(shr::Archive& archive);

private:
    VoNetwork();
    ~VoNetwork();

    static std::vector<void (*)()>& SceneClasses();
    static void InitSceneGraph();

    bool CreateUpdateThread();
    void DestroyUpdateThread();
    static void ThreadEntry(VoNetwork* network);
    unsigned Run();
    void RunPass();
    void UpdateImpl();
    bool ExecuteSinks(const std::shared_ptr<VgRenderer>& renderer);
    InvSmartPtr<SoSeparator> AssembleRoot() const;
    void CallCallbacks();
    void UpdateThreadAborted(bool aborted);
    void SetBusy(bool busy);
    bool ReadAborted() const;
    std::unique_ptr<VoModule> DeleteNode(int index, bool recalc);
    void SceneRoot(InvSmartPtr<SoSeparator> root);
    bool PathExists(const VoModule& from, const VoModule& to, std::vector<const VoModule*>& visited) const;
    static bool IsSink(const VoModule& module);
    static VdGeometry* GetSceneGeometry(const VoModule& module, size_t output);

    static Event s_UpdateRequested; // auto-reset: one wake-up serves one pass
    static Event s_UpdateDone;      // manual-reset, signalled at start: any number of waiters pass
    static std::mutex s_NetworkLock;

    bool m_Initialised = false;
    std::atomic<bool> m_AutoUpdate{true};
    std::atomic<bool> m_Modified{false};
    std::atomic<bool> m_Running{false};
    std::atomic<bool> m_Busy{false};    // written under s_NetworkLock
    std::atomic<bool> m_Aborted{false}; // written under s_NetworkLock; read by progress without it
    std::thread m_Thread;
    std::atomic<std::thread::id> m_ThreadId{};
    VbModuleId m_CurrentId;
    InvSmartPtr<SoSeparator> m_SceneRoot;
    shr::Color4b m_BackgroundColor;
    double m_VerticalExaggeration = 1.0;
    SceneTransform m_Transform;
    Nodes m_Nodes;
    std::vector<std::pair<Callback, void*>> m_Callbacks; // under s_NetworkLock
    IdIndex m_Index;
    ModifiedSignal m_ModifiedSignal;
};

} // namespace core
