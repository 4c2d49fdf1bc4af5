#include "core/network/VbPort.h"

#include "core/data/VdData.h"
#include "core/network/VoModule.h"
#include "shr/Archive.h"

#include <algorithm>

namespace core {

VbPort::VbPort(const shr::GString& name, unsigned int type, VdData* data) : m_Name(name), m_Type(type), m_Data(data)
{
    if (m_Data)
        m_Data->AddRef();
}

VbPort::~VbPort()
{
    if (m_Data)
        m_Data->DecRef();
}

void VbPort::Data(VdData* data)
{
    // Take the new reference first: the old and the new may be the same object.
    if (data)
        data->AddRef();
    if (m_Data)
        m_Data->DecRef();
    m_Data = data;
}

const VbPort::Connection* VbPort::GetConnection(size_t index) const
{
    return index < m_Connections.size() ? &m_Connections[index] : nullptr;
}

VoModule* VbPort::GetConnectedModule(size_t index) const
{
    return index < m_Connections.size() ? m_Connections[index].module : nullptr;
}

bool VbPort::Connected(const VoModule& module, size_t port) const
{
    return std::any_of(m_Connections.begin(), m_Connections.end(), [&](const Connection& c) {
        return c.module == &module && c.port == static_cast<int>(port);
    });
}

void VbPort::AddConnection(VoModule* module, size_t port)
{
    m_Connections.push_back(Connection{module, static_cast<int>(port)});
}

void VbPort::RemoveConnection(VoModule* module, size_t port)
{
    RemoveConnection(Connection{module, static_cast<int>(port)});
}

void VbPort::RemoveConnection(const Connection& connection)
{
    auto it = std::find(m_Connections.begin(), m_Connections.end(), connection);
    if (it != m_Connections.end())
        m_Connections.erase(it);
}

void VbPort::Serialize(shr::Archive& archive)
{
    archive.SyncCheck();
    archive.Transfer(m_Name);
    archive.Transfer(m_Type);
    uint32_t count = static_cast<uint32_t>(m_Connections.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        archive.CheckCount(count, 8);
        m_Connections.assign(count, Connection());
    }
    for (Connection& connection : m_Connections) {
        archive.TransferObject(connection.module);
        archive.Transfer(connection.port);
    }
}

} // namespace core
