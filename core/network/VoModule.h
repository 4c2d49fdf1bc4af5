#pragma once
// VoModule: the base of every node of the dataflow network. A module declares
// its ports in its constructor; the host links modules through VoNetwork; a
// pass brings a module up to date by a pull from the sinks: Update first
// updates everything upstream, then decides by logical time stamps whether
// this module must run its ExecuteImpl. Data travel by pointer through the
// output ports; consumers read them and never copy them unless they want to.
//
// Threads: ExecuteImpl, OnOutputChanged and the status calls of a pass run on
// the update thread; PropertyEvent, Connect, Disconnect and ShowGeometry on the
// host's thread, after the network has stopped any pass (VoNetwork::AbortIfBusy).
#include "core/network/VbModuleId.h"
#include "shr/GString.h"
#include "shr/NonComparable.h"
#include "shr/TypeInfo.h"

#include <boost/noncopyable.hpp>

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace core {

class ContextMenuOptions;
class VbModuleInfo;
class VbPort;
class VbPropertyEvent;
class VbPropList;
class VdData;
class VdGeometry;
class VgRenderer;
class VoNetwork;
struct VbModuleConnection;

class VoModule : public shr::CTypedObject, private boost::noncopyable, private shr::NonComparable {
    SHR_DECLARE_TYPE(VoModule)
    friend class VoNetwork;

public:
    // The host receives the number.
    enum ModuleStatus : int {
        ModuleStale = 0,     // a change awaits execution
        ModuleOk = 1,        // the last execution succeeded
        ModuleExecuting = 2, // running
        ModuleAborted = 3,   // stopped on the network's abort; runs again at the next pass
        ModuleFailed = 4,    // an exception ended the execution
        ModuleIdle = 5,      // did nothing, waiting for the user
    };

    // Held around ExecuteImpl and UpdatePropertiesImpl, so that a property list
    // never sees a half-executed module.
    static std::recursive_mutex s_ExecuteLock;

    ~VoModule() override;

    void Serialize(shr::Archive& archive) override;
    virtual std::unique_ptr<ContextMenuOptions> ContextMenu(const VbPropertyEvent& event) const;
    virtual bool Copyable() const;
    virtual bool Deletable() const;
    virtual const VbModuleInfo* GetModuleInfo() const = 0;
    // Called in place of PropertyEvent when the host restores a stored value.
    virtual void RestoreProperties(VbPropList& list, const VbPropertyEvent& event);
    virtual void ShowGeometry(bool show, bool force);
    // The data or the link at `input` changed; with `recalc` the module may
    // recompute derived defaults and limits from the new input.
    virtual void OnInputChanged(int input, bool recalc);
    virtual void PropertyEvent(VbPropList& list, const VbPropertyEvent& event);
    virtual void PostExecute(double seconds) const;

private:
    virtual bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const;
    virtual ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer);
    virtual void UpdatePropertiesImpl(VbPropList& list);

public:
    virtual void UpdateLimits();

    ModuleStatus GetStatus() const { return m_Status; }
    // Notifies the host only when the value changes.
    void SetStatus(ModuleStatus status);
    const VbModuleId& Id() const { return m_Id; }
    // For the host restoring a document; ordinary ids come from VoNetwork::AddNode.
    void RefactorMeSetIdDirectly(const VbModuleId& id) { m_Id = id; }
    const shr::GString& Name() const { return m_Name; }
    void Name(const shr::GString& name);
    // "<name> (id:<id>)"
    shr::GString NameAndId() const;
    void* GetGUI() const { return m_Gui; }
    void SetGUI(void* gui) { m_Gui = gui; }
    bool IsGeometryVisible() const { return m_ShowGeometry; }
    // Whether this module consumes the geometry on its inputs, so that the
    // network does not put that geometry into the scene for its own sake.
    bool IsGeomFilter() const { return m_GeomFilter; }
    // A one-shot order to skip the next execution and keep the output as
    // restored from a document.
    void SetCachedOutput(bool cached) { m_CachedOutput = cached; }
    bool IsCachingOutput() const { return m_CachedOutput; }

    size_t GetInputCount() const { return m_Inputs.size(); }
    size_t GetOutputCount() const { return m_Outputs.size(); }
    // Null past the end.
    VbPort* GetInput(size_t index) const;
    VbPort* GetOutput(size_t index) const;
    VoModule* GetInputConnection(size_t input, size_t connection) const;

    // Whether `source`'s output may feed this module's input: the port types
    // share a bit (with `useData`, the output's data kind stands for its mask)
    // and the module's own CompatibleImpl agrees.
    bool Compatible(int input, const VoModule* source, int output, bool useData) const;
    bool Connected(size_t output, const VoModule& destination, size_t input) const;
    // The geometry in that output; anything else raises "Invalid output geometry.".
    VdGeometry& OutputGeometry(size_t output) const;
    void EnumerateConnections(std::list<VbModuleConnection>& list, bool inputs, bool outputs) const;

    void UpdateProperties(VbPropList& list);
    // Stamps the module and the network as modified.
    void SetModified();
    // Runs ExecuteImpl under the execute lock; a shr::Exception marks the
    // module failed and goes to the host, anything else is rethrown.
    void Execute(std::shared_ptr<VgRenderer> renderer);

    // Logical times, for the host's diagnostics and for tests.
    int64_t ExecTime() const { return m_ExecTime; }
    int64_t ModifiedTime() const { return m_ModifiedTime; }

protected:
    VoModule();

    void AddInput(const char* name, unsigned int type);
    VbPort* AddOutput(const char* name, unsigned int type);
    // The upstream data at an input's first link; null if absent or not of `type`.
    VdData* GetInputData(size_t input, const shr::CTypeInfo* type = nullptr) const;
    // The data of an output; `type` is not tested.
    VdData* GetOutputData(size_t output, const shr::CTypeInfo* type = nullptr) const;
    int64_t GetLastModifiedInputTime() const;
    // The logical clock, then a tick forward.
    static int64_t GetCurTime();
    void SetGeomFilter(bool filter) { m_GeomFilter = filter; }
    // For a module whose ShowGeometry keeps its geometry shown and changes
    // what it draws instead: the flag alone.
    void StoreGeometryVisible(bool show) { m_ShowGeometry = show; }
    void OnOutputChanged();
    void SerializePortList(shr::Archive& archive, std::vector<VbPort*>& ports);
    // Takes the last input port out of the list, links and all, and puts it
    // back: for stored forms written before the module had that port.
    VbPort* DetachLastInput();
    void ReattachInput(VbPort* port);
    // Links `source`'s output 0 to `input`, replacing a link there; null cuts it.
    void Connect(VoModule* source, size_t input, bool recalc);
    // Detaches this module from everything; the downstream modules become modified.
    void Disconnect(bool recalc);
    // Brings this module and its upstream up to date; false stops the pass.
    bool Update(std::shared_ptr<VgRenderer> renderer);

private:
    // Updates every upstream module; false if one stopped the pass.
    bool UpdateUpstream(const std::shared_ptr<VgRenderer>& renderer, bool useCache, bool& needExecute);
    void RemoveFromDownstream(VoModule& downstream, bool recalc);
    void NotifyStatus();

    static std::atomic<int64_t> s_CurTime;

    ModuleStatus m_Status = ModuleStale;
    shr::GString m_Name;
    bool m_ShowGeometry = true;
    bool m_GeomFilter = true;
    bool m_CachedOutput = false;
    // A fresh module runs at its first update: modified is above executed.
    int64_t m_ExecTime = -2;
    int64_t m_ModifiedTime = -1;
    void* m_Gui = nullptr;
    std::vector<VbPort*> m_Inputs;
    std::vector<VbPort*> m_Outputs;
    VbModuleId m_Id;
};

} // namespace core
