#pragma once
// SceneBuilder: turns a scene description into modules of the network: makes
// each module from the registry by type, links the inputs by module name, then
// sets the properties by key (links first, since a new input may reset a
// module's settings from the data). Every error names the scene file, the
// module and the key or input at fault.
#include "host/SceneFile.h"

#include <map>
#include <memory>
#include <string>

namespace core {
class VoModule;
}

namespace host {

class SceneBuilder {
public:
    explicit SceneBuilder(const SceneDescription& scene) : m_Scene(scene) {}

    // Adds the scene's modules to the network. On an error the network keeps
    // what was added so far; the caller clears it.
    void Build();

private:
    [[noreturn]] void Fail(const ModuleSpec& spec, const std::string& message) const;
    void CreateModule(const ModuleSpec& spec);
    std::unique_ptr<core::VoModule> CreatePointSet(const ModuleSpec& spec) const;
    std::string ResolveFile(const ModuleSpec& spec) const;
    void ConnectInputs(const ModuleSpec& spec);
    void SetProperties(const ModuleSpec& spec);

    const SceneDescription& m_Scene;
    std::map<std::string, core::VoModule*> m_Modules;
};

} // namespace host
