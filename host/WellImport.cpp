#include "host/WellImport.h"

#include "core/wells/VoWellData.h"
#include "host/HostError.h"
#include "host/PropertyEditor.h"
#include "shr/CommandOptions.h"

#include <algorithm>

namespace host {

namespace {

// The calculator key of the module's path method: its label without blanks.
shr::GString PathMethodKey(const core::VoWellData& module)
{
    const auto& methods = module.PathMethods();
    const size_t method = static_cast<size_t>(module.PathMethod());
    shr::GString key = method < methods.size() ? methods[method] : shr::GString();
    key.erase(std::remove(key.begin(), key.end(), ' '), key.end());
    return key;
}

} // namespace

void WellImport::Expect(core::VoWellData& module, const std::vector<shr::GString>& paths)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    Request& request = m_Requests[module.Name()];
    request = Request();
    request.module = &module;
    request.paths = paths;
}

bool WellImport::Answer(const shr::CommandOptions& command, std::string& message)
{
    shr::GString target;
    if (command.Command() != "Import" || !command.Get("TargetName", target))
        return false;
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Requests.find(target);
    if (found == m_Requests.end() || found->second.answered) {
        message = "module \"" + target + "\": Import: no well files named for it (give them as \"files\" in the scene)";
        return false;
    }
    Request& request = found->second;
    request.answered = true;
    try {
        WellLoadOptions options;
        options.pathMethod = PathMethodKey(*request.module);
        request.report = WellSetLoader::Load(request.paths, request.module->OutputWells(), options);
    } catch (const shr::Exception& error) {
        request.error = error.Message();
    } catch (const std::exception& error) {
        request.error = error.what();
    }
    return true;
}

WellLoadReport WellImport::Finish(const std::string& moduleName)
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Requests.find(moduleName);
    if (found == m_Requests.end())
        HOST_USER_ERROR("no well files were expected for module \"%s\"", moduleName.c_str());
    const Request request = found->second;
    m_Requests.erase(found);
    if (!request.answered)
        HOST_USER_ERROR("the module did not ask for its well files");
    if (!request.error.empty())
        HOST_USER_ERROR("%s", request.error.c_str());
    return request.report;
}

WellLoadReport WellImport::Import(core::VoWellData& module, const std::vector<shr::GString>& paths)
{
    Expect(module, paths);
    PropertyEditor(module).Set("WellDataAddData", "1");
    return Finish(module.Name());
}

} // namespace host
