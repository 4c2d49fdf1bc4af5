#include "host/SceneBuilder.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/LatticeFile.h"
#include "host/ModuleCatalogue.h"
#include "host/PointSetLoader.h"
#include "host/PropertyEditor.h"
#include "shr/LocateFile.h"

#include <unistd.h>

namespace host {

namespace {

bool FileExists(const std::string& path)
{
    return !path.empty() && access(path.c_str(), R_OK) == 0;
}

} // namespace

void SceneBuilder::Build()
{
    for (const ModuleSpec& spec : m_Scene.modules)
        CreateModule(spec);
    for (const ModuleSpec& spec : m_Scene.modules)
        ConnectInputs(spec);
    for (const ModuleSpec& spec : m_Scene.modules)
        SetProperties(spec);
}

void SceneBuilder::Fail(const ModuleSpec& spec, const std::string& message) const
{
    HOST_USER_ERROR("%s: module \"%s\": %s", m_Scene.fileName.c_str(), spec.name.c_str(), message.c_str());
}

void SceneBuilder::CreateModule(const ModuleSpec& spec)
{
    std::unique_ptr<core::VoModule> module;
    if (spec.type == PointSetLoader::TypeName && !spec.file.empty()) {
        module = CreatePointSet(spec);
    } else if (spec.type == LatticeFileLoader::TypeName && !spec.file.empty()) {
        module = CreateFromFile(spec, [&](const std::string& path) {
            return LatticeFileLoader::Create(path, spec.file, FileOptions(spec.fileOptions, spec.file));
        });
    } else {
        if (!spec.file.empty())
            Fail(spec, "\"file\" is only for a " + std::string(PointSetLoader::TypeName) + " or a " +
                           LatticeFileLoader::TypeName + " module");
        if (!spec.fileOptions.empty())
            Fail(spec, "\"fileOptions\" go with a \"file\"");
        const core::VbModuleInfo* info = core::VbModuleRegistry::Instance().Construct(spec.type);
        if (!info)
            Fail(spec, "unknown module type \"" + spec.type + "\" (\"fenrak modules\" lists them)");
        module = info->CreateInstance();
    }
    module->Name(spec.name);
    m_Modules[spec.name] = module.get();
    core::VoNetwork::Instance().AddNode(module.release(), true);
}

std::unique_ptr<core::VoModule> SceneBuilder::CreatePointSet(const ModuleSpec& spec) const
{
    return CreateFromFile(spec, [&](const std::string& path) { return PointSetLoader::Create(path, spec.file); });
}

std::unique_ptr<core::VoModule> SceneBuilder::CreateFromFile(
    const ModuleSpec& spec, const std::function<std::unique_ptr<core::VoModule>(const std::string&)>& create) const
{
    if (!spec.fileOptions.empty() && spec.type != LatticeFileLoader::TypeName)
        Fail(spec, "\"fileOptions\" are only for a " + std::string(LatticeFileLoader::TypeName) + " module");
    const std::string path = ResolveFile(spec);
    try {
        return create(path);
    } catch (const shr::Exception& error) {
        if (!IsUserError(error))
            throw;
        Fail(spec, error.Message());
    }
}

// Relative names are looked for beside the scene, then from the working
// folder, then in the data folders.
std::string SceneBuilder::ResolveFile(const ModuleSpec& spec) const
{
    const std::string& file = spec.file;
    if (file[0] != '/' && FileExists(m_Scene.folder + file))
        return m_Scene.folder + file;
    if (FileExists(file))
        return file;
    const std::string located = shr::LocateFile(file);
    if (FileExists(located))
        return located;
    Fail(spec, "file \"" + file + "\" not found");
}

void SceneBuilder::ConnectInputs(const ModuleSpec& spec)
{
    core::VoModule& module = *m_Modules.at(spec.name);
    if (spec.inputs.size() > module.GetInputCount())
        Fail(spec, "a " + spec.type + " has " + std::to_string(module.GetInputCount()) + " input(s), the scene links " +
                       std::to_string(spec.inputs.size()));
    for (size_t i = 0; i < spec.inputs.size(); ++i) {
        const std::string& name = spec.inputs[i];
        if (name.empty())
            continue;
        const std::string port = "input " + std::to_string(i) + " (\"" + module.GetInput(i)->Name() + "\")";
        const auto found = m_Modules.find(name);
        if (found == m_Modules.end())
            Fail(spec, port + ": no module named \"" + name + "\"");
        core::VoModule* source = found->second;
        if (source == &module)
            Fail(spec, port + ": a module cannot be its own input (a cycle)");
        if (!module.Compatible(static_cast<int>(i), source, 0, false))
            Fail(spec, port + " takes " + ModuleCatalogue::DataKinds(module.GetInput(i)->Type()) + ", module \"" +
                           name + "\" gives " +
                           ModuleCatalogue::DataKinds(source->GetOutputCount() ? source->GetOutput(0)->Type() : 0));
        if (!core::VoNetwork::Instance().ConnectNodes(module, source, static_cast<int>(i), true))
            Fail(spec, port + ": linking module \"" + name + "\" would close a cycle");
    }
}

// Keys in the scene's order; a key the module shows only once another is set
// (a second expression after the component count) is tried again after the rest.
void SceneBuilder::SetProperties(const ModuleSpec& spec)
{
    PropertyEditor editor(*m_Modules.at(spec.name));
    auto pending = spec.properties;
    while (!pending.empty()) {
        decltype(pending) deferred;
        for (const auto& property : pending) {
            if (!editor.HasKey(property.first)) {
                deferred.push_back(property);
                continue;
            }
            SetProperty(spec, editor, property.first, property.second);
        }
        if (deferred.size() == pending.size())
            Fail(spec, "unknown property key \"" + deferred.front().first + "\" (\"fenrak properties " + spec.type +
                           "\" lists the keys)");
        pending.swap(deferred);
    }
}

void SceneBuilder::SetProperty(const ModuleSpec& spec, PropertyEditor& editor, const std::string& key,
                               const std::string& text)
{
    try {
        editor.Set(key, text);
    } catch (const shr::Exception& error) {
        if (!IsUserError(error))
            throw;
        Fail(spec, error.Message());
    }
    m_SetValues[spec.name][key] = editor.ValueText(editor.List().FindKey(key));
}

bool SceneBuilder::RestoreReplacedValues()
{
    bool restored = false;
    for (const ModuleSpec& spec : m_Scene.modules) {
        PropertyEditor editor(*m_Modules.at(spec.name));
        for (const auto& property : spec.properties) {
            const int id = editor.List().FindKey(property.first);
            if (id < 0 || editor.ValueText(id) == m_SetValues[spec.name][property.first])
                continue;
            SetProperty(spec, editor, property.first, property.second);
            restored = true;
        }
    }
    return restored;
}

} // namespace host
