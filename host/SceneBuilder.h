#pragma once
// SceneBuilder: turns a scene description into modules of the network: makes
// each module from the registry by type, links the inputs by module name, then
// sets the properties by key (links first, since a new input may reset a
// module's settings from the data). Every error names the scene file, the
// module and the key or input at fault.
#include "host/PointFileReader.h"
#include "host/PropertyCatalogue.h"
#include "host/SceneFile.h"

#include <functional>
#include <map>
#include <set>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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
    // again every scene value that a module has since replaced, and every
    // key the module takes without a row of its own, and presses
    // again the compute button of a module that computed from replaced
    // values; true when one was, so that the caller runs another pass.
    bool RestoreReplacedValues();
    // What the scene asked for that cannot take effect, one line each,
    // naming the file and the module.
    const std::vector<std::string>& Warnings() const { return m_Warnings; }
    // Per point-set module name, what its file gave: points, axes, values.
    const std::map<std::string, PointFileReading>& Readings() const { return m_Readings; }

private:
    [[noreturn]] void Fail(const ModuleSpec& spec, const std::string& message) const;
    void CreateModule(const ModuleSpec& spec);
    std::unique_ptr<core::VoModule> CreatePointSet(const ModuleSpec& spec);
    // Resolves the entry's file and makes the module from it; a bad file is the scene's error.
    std::unique_ptr<core::VoModule> CreateFromFile(
        const ModuleSpec& spec,
        const std::function<std::unique_ptr<core::VoModule>(const std::string&)>& create) const;
    std::string ResolveFile(const ModuleSpec& spec) const;
    std::string ResolveFile(const ModuleSpec& spec, const std::string& file, const char* kind) const;
    // Reads the scene's well files into a well data module through its
    // "Add Data" button and the host's answer to the Import it sends.
    void ImportWells(const ModuleSpec& spec, core::VoModule& module);
    void ConnectInputs(const ModuleSpec& spec);
    void SetProperties(const ModuleSpec& spec);
    void PressCompute(const ModuleSpec& spec);
    void ContrastScreenText(const ModuleSpec& spec);
    static bool SetByScene(const ModuleSpec& spec, const std::string& key);
    shr::Color4b Background() const;
    void AcceptHidden(const ModuleSpec& spec, const std::vector<CatalogueRow>& catalogue,
                      const std::vector<std::pair<std::string, std::string>>& keys);
    void SetProperty(const ModuleSpec& spec, PropertyEditor& editor, const std::string& key,
                     const std::string& text);

    const SceneDescription& m_Scene;
    std::map<std::string, core::VoModule*> m_Modules;
    // Module name -> key -> the row's text right after the scene set it.
    std::map<std::string, std::map<std::string, std::string>> m_SetValues;
    std::vector<std::string> m_Warnings;
    std::map<std::string, PointFileReading> m_Readings;
    // Modules whose compute button the builder presses, and those of them
    // waiting for their data.
    std::set<std::string> m_Computing;
    std::set<std::string> m_ComputeLater;
};

} // namespace host
