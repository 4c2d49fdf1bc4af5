#pragma once
// VbPort: one input or output of a module, owned by it. An output port holds a
// counted reference to the module's output data; an input port holds none.
// Each connection names the module at the far end (not owned) and the port
// index there: on an input, the upstream output's index; on an output, the
// downstream input's index.
#include "shr/GString.h"

#include <cstddef>
#include <vector>

namespace shr {
class Archive;
}

namespace core {

class VdData;
class VoModule;

// Port type bits, the same as VdData::GetType of the data kinds.
enum PortType : unsigned int {
    PortPoints = 1,
    PortUniformLattice = 2,
    PortRectilinearLattice = 4,
    PortCurvilinearLattice = 8,
    PortGeometry = 16,
    PortWellData = 32,
};

class VbPort {
public:
    struct Connection {
        VoModule* module = nullptr;
        int port = 0;
        bool operator==(const Connection& o) const { return module == o.module && port == o.port; }
    };
    using Connections = std::vector<Connection>;
    using iterator = Connections::iterator;

    VbPort(const shr::GString& name, unsigned int type, VdData* data);
    ~VbPort();
    VbPort(const VbPort&) = delete;
    VbPort& operator=(const VbPort&) = delete;

    const shr::GString& Name() const { return m_Name; }
    unsigned int Type() const { return m_Type; }
    VdData* Data() const { return m_Data; }
    // Takes a reference on the new object and drops the one on the old.
    void Data(VdData* data);

    size_t size() const { return m_Connections.size(); }
    bool empty() const { return m_Connections.empty(); }
    iterator begin() { return m_Connections.begin(); }
    iterator end() { return m_Connections.end(); }
    Connections& GetConnections() { return m_Connections; }
    const Connections& GetConnections() const { return m_Connections; }

    // Null past the end.
    const Connection* GetConnection(size_t index) const;
    VoModule* GetConnectedModule(size_t index) const;
    bool Connected(const VoModule& module, size_t port) const;
    // Appends; duplicates are not tested.
    void AddConnection(VoModule* module, size_t port);
    // Removes the first equal entry, keeping the order of the rest.
    void RemoveConnection(VoModule* module, size_t port);
    void RemoveConnection(const Connection& connection);

    // The self-describing form: name, type and links.
    void Serialize(shr::Archive& archive);

private:
    shr::GString m_Name;
    unsigned int m_Type;
    VdData* m_Data;
    Connections m_Connections;
};

} // namespace core
