#include "host/SceneBuilder.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/network/UiProxy.h"
#include "core/wells/VoWellData.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/LatticeFile.h"
#include "host/ModuleCatalogue.h"
#include "host/PropertyCatalogue.h"
#include "host/PointSetLoader.h"
#include "host/PropertyEditor.h"
#include "shr/LocateFile.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <map>

namespace host {

namespace {

bool FileExists(const std::string& path)
{
    return !path.empty() && access(path.c_str(), R_OK) == 0;
}

// The last part of a legend's colour key: "IsoSurfaceLegendFGColor"; the key
// of a view annotation's colour.
const std::string kForegroundSuffix = "LegendFGColor";
const char* const kAnnotationColor = "AnnotationColor";

// Module types that compute only when a button is pressed, and its key.
const char* ComputeButton(const std::string& type)
{
    static const std::map<std::string, const char*> buttons = {{"Gridder", "Gridder3DoIt"}};
    const auto found = buttons.find(type);
    return found == buttons.end() ? nullptr : found->second;
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
    for (const ModuleSpec& spec : m_Scene.modules)
        PressCompute(spec);
    for (const ModuleSpec& spec : m_Scene.modules)
        ContrastScreenText(spec);
}

// The library's legends and view annotations write black, which vanishes on
// the host's dark view: unless the scene chose the colour, it is set to stand
// out from what lies behind the text (a legend's background rectangle when
// shown, else the view's background).
void SceneBuilder::ContrastScreenText(const ModuleSpec& spec)
{
    PropertyEditor editor(*m_Modules.at(spec.name));
    // Setting a row may rebuild the list, so the colours are chosen first and set after.
    std::vector<std::pair<std::string, std::string>> colors;
    const HostPropertyList& list = editor.List();
    for (const int id : list.Order()) {
        const std::string key = list.Info(id)->key;
        const bool annotation = strcasecmp(key.c_str(), kAnnotationColor) == 0;
        const std::string prefix = key.size() > kForegroundSuffix.size()
                                       ? key.substr(0, key.size() - kForegroundSuffix.size())
                                       : std::string();
        const bool legend = !prefix.empty() && strcasecmp(key.c_str() + prefix.size(), kForegroundSuffix.c_str()) == 0;
        if ((!annotation && !legend) || SetByScene(spec, key))
            continue;
        shr::Color4b behind = Background();
        const int shown = list.FindKey(prefix + "LegendShowBackground");
        const int backColor = list.FindKey(prefix + "LegendBGColor");
        if (legend && shown >= 0 && backColor >= 0 && editor.ValueText(shown) == "true")
            list.GetValue(backColor, behind);
        const bool dark = 0.299 * behind.r + 0.587 * behind.g + 0.114 * behind.b < 128.0;
        colors.emplace_back(key, dark ? "255 255 255 255" : "0 0 0 255");
    }
    for (const auto& [key, color] : colors)
        SetProperty(spec, editor, key, color);
}

bool SceneBuilder::SetByScene(const ModuleSpec& spec, const std::string& key)
{
    return std::any_of(spec.properties.begin(), spec.properties.end(),
                       [&](const auto& property) { return strcasecmp(property.first.c_str(), key.c_str()) == 0; });
}

shr::Color4b SceneBuilder::Background() const
{
    return m_Scene.view.hasBackground ? m_Scene.view.background : core::VoNetwork::Instance().GetBackgroundColor();
}

namespace {

// Whether data wait at the module's first input: not before the upstream
// modules (a filter) have run.
bool HasInputData(const core::VoModule& module)
{
    const core::VbPort::Connection* link = module.GetInputCount() ? module.GetInput(0)->GetConnection(0) : nullptr;
    const core::VbPort* output = link && link->module ? link->module->GetOutput(size_t(link->port)) : nullptr;
    return output && output->Data();
}

} // namespace

// A module that computes only when asked does so after all its settings,
// unless the scene says "compute": false: in the first pass when its data are
// there already, else in the pass after, once they have come (and the
// module's defaults from them have been set back to the scene's values).
void SceneBuilder::PressCompute(const ModuleSpec& spec)
{
    const core::VoModule& module = *m_Modules.at(spec.name);
    const char* button = ComputeButton(module.GetModuleInfo()->UiName());
    if (!button) {
        if (spec.compute)
            Fail(spec, "\"compute\" is only for a module that computes when asked, such as a Gridder");
        return;
    }
    if (spec.compute == false)
        return;
    m_Computing.insert(spec.name);
    if (!HasInputData(module)) {
        m_ComputeLater.insert(spec.name);
        return;
    }
    PropertyEditor editor(*m_Modules.at(spec.name));
    SetProperty(spec, editor, button, "1");
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
        if (spec.pointOptionsGiven)
            Fail(spec, "\"columns\" and \"below_detection\" are only for a " +
                           std::string(PointSetLoader::TypeName) + " module with a \"file\"");
        const core::VbModuleInfo* info = core::VbModuleRegistry::Instance().Construct(spec.type);
        if (!info)
            Fail(spec, "unknown module type \"" + spec.type + "\" (\"fenrak modules\" lists them)");
        module = info->CreateInstance();
    }
    module->Name(spec.name);
    core::VoModule& added = *module;
    m_Modules[spec.name] = module.get();
    core::VoNetwork::Instance().AddNode(module.release(), true);
    if (!spec.files.empty())
        ImportWells(spec, added);
}

void SceneBuilder::ImportWells(const ModuleSpec& spec, core::VoModule& module)
{
    auto* wells = dynamic_cast<core::VoWellData*>(&module);
    if (!wells)
        Fail(spec, "\"files\" is only for a well data module (" +
                       std::string(core::VoWellData::GetClassModuleInfo()->UiName()) + ")");
    auto* proxy = dynamic_cast<HostUiProxy*>(core::UiProxy::Instance());
    if (!proxy)
        Fail(spec, "this host cannot import well files");
    std::vector<shr::GString> paths;
    for (const std::string& file : spec.files)
        paths.push_back(ResolveFile(spec, file, "well file"));
    WellLoadReport report;
    try {
        report = proxy->WellImports().Import(*wells, paths);
    } catch (const shr::Exception& error) {
        if (!IsUserError(error))
            throw;
        Fail(spec, error.Message());
    }
    for (const std::string& note : report.notes)
        proxy->StatusMsg("%s: module \"%s\": %s", m_Scene.fileName.c_str(), spec.name.c_str(), note.c_str());
}

std::unique_ptr<core::VoModule> SceneBuilder::CreatePointSet(const ModuleSpec& spec)
{
    return CreateFromFile(spec, [&](const std::string& path) {
        return PointSetLoader::Create(path, spec.file, spec.pointOptions, &m_Readings[spec.name]);
    });
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
    return ResolveFile(spec, spec.file, spec.type == LatticeFileLoader::TypeName ? "lattice file" : "point file");
}

std::string SceneBuilder::ResolveFile(const ModuleSpec& spec, const std::string& file, const char* kind) const
{
    if (file[0] != '/' && FileExists(m_Scene.folder + file))
        return m_Scene.folder + file;
    if (FileExists(file))
        return file;
    const std::string located = shr::LocateFile(file);
    if (FileExists(located))
        return located;
    Fail(spec, std::string(kind) + " \"" + file + "\" not found");
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
// (a second expression after the component count) is tried again after the
// rest, so that any order of the keys gives the same module.
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
        if (deferred.size() == pending.size()) {
            AcceptHidden(spec, editor.Catalogue(), deferred);
            break;
        }
        pending.swap(deferred);
    }
}

// Keys the module does not show with the scene's other settings: those the
// type has (under other choices) are taken with a warning, since they can
// have no effect; any other is a mistake.
void SceneBuilder::AcceptHidden(const ModuleSpec& spec, const std::vector<CatalogueRow>& catalogue,
                                const std::vector<std::pair<std::string, std::string>>& keys)
{
    for (const auto& property : keys) {
        const CatalogueRow* row = PropertyCatalogue::Find(catalogue, property.first);
        if (!row)
            Fail(spec, "unknown property key \"" + property.first + "\" (\"fenrak properties " + spec.type +
                           "\" lists the keys)");
        m_Warnings.push_back(m_Scene.fileName + ": module \"" + spec.name + "\": property key \"" + property.first +
                             "\" has no effect with the other settings" +
                             (row->condition.empty() ? std::string() : "; it applies " + row->condition));
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
    m_SetValues[spec.name][key] = editor.ValueText(editor.RowOf(key));
}

bool SceneBuilder::RestoreReplacedValues()
{
    bool restored = false;
    for (const ModuleSpec& spec : m_Scene.modules) {
        PropertyEditor editor(*m_Modules.at(spec.name));
        bool changed = false;
        for (const auto& property : spec.properties) {
            const int id = editor.RowOf(property.first);
            // A key the module takes without a row has no text to compare; what
            // it set may be what the first data reset (the stream lines' seed
            // plane follows the data's box), so it is given again.
            const bool withoutRow = id < 0 && editor.HasKey(property.first);
            if (!withoutRow && (id < 0 || editor.List().Info(id)->kind == "button" ||
                                editor.ValueText(id) == m_SetValues[spec.name][property.first]))
                continue;
            SetProperty(spec, editor, property.first, property.second);
            changed = true;
        }
        // What it computed from the replaced values is computed again from
        // the scene's; what waited for its data computes now.
        const bool later = m_ComputeLater.erase(spec.name) > 0;
        if ((changed || later) && m_Computing.count(spec.name) && HasInputData(*m_Modules.at(spec.name))) {
            SetProperty(spec, editor, ComputeButton(spec.type), "1");
            changed = true;
        }
        restored = restored || changed;
    }
    return restored;
}

} // namespace host
