#include "host/NetworkDocument.h"

#include "core/data/VdData.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "shr/Archive.h"
#include "shr/Color4b.h"

#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <memory>
#include <vector>

namespace host {

namespace {

struct Link {
    int32_t consumer = 0;
    int32_t input = 0;
    int32_t source = 0;
    int32_t output = 0;
};

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

std::vector<Link> CollectLinks()
{
    std::map<const core::VoModule*, int32_t> index;
    for (size_t i = 0; i < Network().size(); ++i)
        index[Network().GetNode(i)] = static_cast<int32_t>(i);
    std::vector<Link> links;
    for (size_t i = 0; i < Network().size(); ++i) {
        const core::VoModule& module = *Network().GetNode(i);
        for (size_t input = 0; input < module.GetInputCount(); ++input) {
            for (const core::VbPort::Connection& c : module.GetInput(input)->GetConnections())
                links.push_back(Link{static_cast<int32_t>(i), static_cast<int32_t>(input), index.at(c.module), c.port});
        }
    }
    return links;
}

void TransferView(shr::Archive& archive, SceneView& view)
{
    archive.SyncCheck();
    int32_t width = view.width;
    int32_t height = view.height;
    archive.Transfer(width);
    archive.Transfer(height);
    view.width = width;
    view.height = height;
    archive.Transfer(view.azimuth);
    archive.Transfer(view.elevation);
    archive.Transfer(view.zoom);
    archive.Transfer(view.hasBackground);
    archive.Transfer(view.background);
}

void StoreModules(shr::Archive& archive)
{
    archive.SyncCheck();
    int32_t count = static_cast<int32_t>(Network().size());
    archive.Transfer(count);
    for (core::VoModule* module : Network()) {
        int64_t id = module->Id().Value();
        archive.Transfer(id);
        archive.TransferObject(module);
    }
    archive.SyncCheck();
    std::vector<Link> links = CollectLinks();
    uint32_t linkCount = static_cast<uint32_t>(links.size());
    archive.Transfer(linkCount);
    for (Link& link : links) {
        archive.Transfer(link.consumer);
        archive.Transfer(link.input);
        archive.Transfer(link.source);
        archive.Transfer(link.output);
    }
}

// Restores a document into the empty network. Modules belong to `loaded` until
// the network takes them.
class DocumentLoader {
public:
    DocumentLoader(shr::Archive& archive, const shr::GString& path) : m_Archive(archive), m_Path(path) {}

    // Disposes of what the archive made and nobody took: a load that failed part
    // way leaves modules outside the network and data objects that no port
    // holds. Data objects are counted: each is held while the modules go, so
    // that a module's port never frees one this loop still has to look at, and
    // is let go afterwards, which frees the ones no port took. A document's
    // objects are modules and data: one of any other class stood where those
    // belong and was refused, so nothing took it.
    ~DocumentLoader()
    {
        std::vector<const core::VdData*> data;
        std::vector<core::VoModule*> orphans;
        std::vector<std::unique_ptr<shr::CTypedObject>> strays;
        for (shr::CTypedObject* object : m_Archive.CreatedObjects()) {
            if (const auto* held = dynamic_cast<const core::VdData*>(object)) {
                held->AddRef();
                data.push_back(held);
            } else if (auto* module = dynamic_cast<core::VoModule*>(object)) {
                if (!m_Adopted.count(module))
                    orphans.push_back(module);
            } else {
                strays.emplace_back(object);
            }
        }
        for (core::VoModule* module : orphans) {
            ForgetLinks(*module);
            delete module;
        }
        for (const core::VdData* held : data)
            held->DecRef();
    }

    SceneView Load()
    {
        LoadModules();
        AddModules();
        LoadLinks();
        Network().Serialize(m_Archive);
        SceneView view;
        TransferView(m_Archive, view);
        return view;
    }

private:
    [[noreturn]] void Fail(const std::string& message) const
    {
        HOST_USER_ERROR("%s: %s", m_Path.c_str(), message.c_str());
    }

    void LoadModules()
    {
        m_Archive.SyncCheck();
        int32_t count = 0;
        m_Archive.Transfer(count);
        if (count < 0)
            Fail("a negative module count");
        m_Archive.CheckCount(static_cast<uint64_t>(count), 12);
        for (int32_t i = 0; i < count; ++i) {
            int64_t id = 0;
            m_Archive.Transfer(id);
            core::VoModule* module = nullptr;
            m_Archive.TransferObject(module);
            if (!module)
                Fail("module " + std::to_string(i + 1) + " is missing");
            module->RefactorMeSetIdDirectly(core::VbModuleId(id));
            m_Modules.push_back(module);
        }
    }

    void AddModules()
    {
        core::VbModuleId largest;
        for (core::VoModule* module : m_Modules) {
            if (module->Id().IsBad() || module->Id() < core::VbModuleId())
                Fail("module \"" + module->Name() + "\" has an invalid id");
            Network().AddNode(module, false);
            m_Adopted.insert(module);
            if (largest < module->Id())
                largest = module->Id();
        }
        Network().CurrentModuleId(largest);
    }

    void LoadLinks()
    {
        m_Archive.SyncCheck();
        uint32_t count = 0;
        m_Archive.Transfer(count);
        m_Archive.CheckCount(count, 16);
        for (uint32_t k = 0; k < count; ++k) {
            Link link;
            m_Archive.Transfer(link.consumer);
            m_Archive.Transfer(link.input);
            m_Archive.Transfer(link.source);
            m_Archive.Transfer(link.output);
            Connect(link);
        }
    }

    void Connect(const Link& link)
    {
        const int32_t size = static_cast<int32_t>(m_Modules.size());
        if (link.consumer < 0 || link.consumer >= size || link.source < 0 || link.source >= size ||
            link.output != 0 || link.consumer == link.source)
            Fail("a link between modules that do not exist");
        core::VoModule& consumer = *m_Modules[static_cast<size_t>(link.consumer)];
        if (link.input < 0 || static_cast<size_t>(link.input) >= consumer.GetInputCount())
            Fail("a link to an input module \"" + consumer.Name() + "\" does not have");
        if (!Network().ConnectNodes(consumer, m_Modules[static_cast<size_t>(link.source)], link.input, false))
            Fail("the links close a cycle");
    }

    // Links of a module the network never took are whatever the archive read:
    // the modules they name may be gone already. Dropped unread.
    static void ForgetLinks(core::VoModule& module)
    {
        for (size_t i = 0; i < module.GetInputCount(); ++i)
            module.GetInput(i)->GetConnections().clear();
        for (size_t o = 0; o < module.GetOutputCount(); ++o)
            module.GetOutput(o)->GetConnections().clear();
    }

    shr::Archive& m_Archive;
    shr::GString m_Path;
    std::vector<core::VoModule*> m_Modules;
    std::set<const core::VoModule*> m_Adopted;
};

} // namespace

bool NetworkDocument::IsDocument(const shr::GString& path)
{
    std::ifstream file(path, std::ios::binary);
    char magic[4] = {0, 0, 0, 0};
    return file.read(magic, sizeof magic) && std::memcmp(magic, "FKDC", sizeof magic) == 0;
}

void NetworkDocument::Save(const shr::GString& path, const SceneView& view)
{
    shr::Archive archive(path, shr::Archive::Store);
    bool withLinks = false;
    archive.ConnectionsFlag = &withLinks;
    StoreModules(archive);
    Network().Serialize(archive);
    SceneView stored = view;
    TransferView(archive, stored);
    archive.Close();
}

namespace {

// Restores a document from the archive `open` makes; `name` names it in errors.
template <class OpenArchive>
SceneView LoadFrom(const shr::GString& name, OpenArchive open)
{
    try {
        std::unique_ptr<shr::Archive> archive = open();
        bool withLinks = false;
        archive->ConnectionsFlag = &withLinks;
        SceneView view;
        {
            DocumentLoader loader(*archive, name);
            view = loader.Load();
        }
        SceneFile::CheckView(view, name + ": view");
        return view;
    } catch (const shr::Exception& error) {
        Network().DeleteAllNodes();
        if (IsUserError(error))
            throw;
        HOST_USER_ERROR("%s: cannot read the document: %s", name.c_str(), error.what());
    }
}

} // namespace

SceneView NetworkDocument::Load(const shr::GString& path)
{
    return LoadFrom(path, [&] { return std::make_unique<shr::Archive>(path, shr::Archive::Load); });
}

SceneView NetworkDocument::Load(const unsigned char* data, size_t size, const shr::GString& name)
{
    return LoadFrom(name, [&] { return std::make_unique<shr::Archive>(data, size, name); });
}

} // namespace host
