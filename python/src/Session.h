#pragma once
// Session: Python's hold on the library's network. The library keeps one
// network per process; a fenrak.Network opens it empty, and opening another
// closes the first: its modules leave the network and its handles raise.
//
// Beside the network the session keeps what Python adds to it: the view that
// pictures are drawn with, the names of the values of sources made from
// arrays, and the property values set since the last pass. A module may take
// new defaults from the first data that reach it (an isosurface puts its
// isovalue in the middle of the data); a value the caller set before that
// pass is put back after it, as the host does for scene files.
//
// LibraryLock orders the Python threads: one at a time talks to the library,
// and the others wait without the GIL, so that a pass's progress callback can
// still run. The callback itself may not use the network while the pass runs.
#include "core/network/VbModuleId.h"
#include "host/SceneFile.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace core {
class VoModule;
}

namespace pyfenrak {

class PythonUiProxy;

class LibraryLock {
public:
    // When this thread holds the lock already (a progress callback calling
    // back into the network) it raises RuntimeError, unless `reenter`: a
    // destructor that Python's collector runs inside a call goes on, as the
    // thread has the library to itself.
    explicit LibraryLock(bool reenter = false);
    ~LibraryLock();
    LibraryLock(const LibraryLock&) = delete;
    LibraryLock& operator=(const LibraryLock&) = delete;

private:
    bool m_Owner = false;
};

class Session {
public:
    // Under the library lock: closes the open session and opens this one.
    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Empties the network; the session stays closed.
    void Close();
    bool IsOpen() const { return m_Open; }
    // Closes the open session, if any (at interpreter exit).
    static void CloseOpen();

    // Raises RuntimeError when the session is closed; a ValueError when the
    // module has left the network, or `generation` is not the current one.
    core::VoModule& Module(const core::VbModuleId& id, unsigned generation) const;
    core::VoModule& Module(const core::VbModuleId& id) const { return Module(id, m_Generation); }
    // Counts the times the network was emptied: ids start again each time.
    unsigned Generation() const { return m_Generation; }
    // The module of that name, or null.
    core::VoModule* Find(const std::string& name) const;
    // Names the module (the type name by default), adds it to the network and
    // returns it. A name already in use is a ValueError.
    core::VoModule& Add(std::unique_ptr<core::VoModule> module, const std::string& name);
    void Remove(core::VbModuleId id); // by value: the module and its id go
    // Removes every module.
    void Clear();
    void CheckOpen() const;
    // A ValueError unless no other module has that name.
    void CheckNameFree(const std::string& name, const core::VoModule* except) const;

    PythonUiProxy& Proxy() { return *m_Proxy; }
    host::SceneView& View() { return m_View; }

    void SetComponentNames(const core::VbModuleId& id, std::vector<std::string> names);
    // The names of a source's values, or null when it has none of Python's.
    const std::vector<std::string>* ComponentNames(const core::VbModuleId& id) const;

    // A value the caller set: its text, and the row's text right after.
    void NoteSetValue(const core::VbModuleId& id, const std::string& key, const std::string& text,
                      const std::string& shown);
    // After a pass: sets again each noted value that a module has replaced
    // since new data reached it, and forgets them all. True when one was set
    // again.
    bool RestoreReplacedValues();

private:
    struct SetValue {
        std::string key;
        std::string text;
        std::string shown;
    };
    // The values set on one module, and the latest execution stamp of the
    // modules feeding it when the first was set: while that stays, no new
    // data have arrived, and the module has had no reason to replace them.
    struct SetValues {
        int64_t upstreamStamp = 0;
        std::vector<SetValue> values;
    };

    static Session* s_Open;

    bool m_Open = false;
    unsigned m_Generation = 0;
    std::unique_ptr<PythonUiProxy> m_Proxy;
    host::SceneView m_View;
    std::map<core::VbModuleId, std::vector<std::string>> m_Names;
    std::map<core::VbModuleId, SetValues> m_SetValues;
};

} // namespace pyfenrak
