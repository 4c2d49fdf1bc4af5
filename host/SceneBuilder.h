#pragma once
// SceneBuilder: turns a scene description into modules of the network: makes
// each module from the registry by type, links the inputs by module name, then
// sets the properties by key (links first, since a new input may reset a
// module's settings from the data). Every error names the scene file, the
// module and the key or input at fault.
#include "host/SceneFile.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace core {
class VoModule;
}

namespace host {

class PropertyEditor;

class SceneBuilder {
public:
    explicit SceneBuilder(const SceneDescription& scene) : m_Scene(scene) {}

    // Adds the scene's modules to the network. On an error the network keeps
    // what was added so far; the caller clears it.
    void Build();
    // A module may take new defaults from the first data that reach it (an
    // isosurface moves its isovalue into the data's range), which happens
    // only in the first pass, after Build has set the scene's values. Sets
    // again every scene value that a module has since replaced; true when
    // one was, so that the caller runs another pass.
    bool RestoreReplacedValues();

private:
    [[noreturn]] void Fail(const ModuleSpec& spec, const std::string& message) const;
    void CreateModule(const ModuleSpec& spec);
    std::unique_ptr<core::VoModule> CreatePointSet(const ModuleSpec& spec) const;
    // Resolves the entry's file and makes the module from it; a bad file is the scene's error.
    std::unique_ptr<core::VoModule> CreateFromFile(
        const ModuleSpec& spec,
        const std::function<std::unique_ptr<core::VoModule>(const std::string&)>& create) const;
    std::string ResolveFile(const ModuleSpec& spec) const;
    void ConnectInputs(const ModuleSpec& spec);
    void SetProperties(const ModuleSpec& spec);
    void SetProperty(const ModuleSpec& spec, PropertyEditor& editor, const std::string& key,
                     const std::string& text);

    const SceneDescription& m_Scene;
    std::map<std::string, core::VoModule*> m_Modules;
    // Module name -> key -> the row's text right after the scene set it.
    std::map<std::string, std::map<std::string, std::string>> m_SetValues;
};

} // namespace host
