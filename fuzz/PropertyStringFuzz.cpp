// Property values as text, set on a module the way a scene sets them. The
// first line names the module type; each further line is KEY=VALUE. A module
// with a lattice input is fed a small computed lattice, and after the values
// are set one pass runs: every value is taken, clamped or refused with a user
// error, and the module then executes or fails with a message.
#include "FuzzSupport.h"
#include "FuzzTarget.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/PropertyEditor.h"

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

namespace {

core::VoModule* Add(const std::string& type)
{
    const core::VbModuleInfo* info = core::VbModuleRegistry::Instance().Construct(type);
    if (!info)
        return nullptr;
    std::unique_ptr<core::VoModule> module = info->CreateInstance();
    core::VoModule* added = module.get();
    core::VoNetwork::Instance().AddNode(module.release(), true);
    return added;
}

// A 6 x 5 x 4 lattice of two components into the module's first input, when it takes one.
void FeedLattice(core::VoModule& module)
{
    if (module.GetInputCount() == 0 || !(module.GetInput(0)->Type() & core::PortUniformLattice))
        return;
    core::VoModule* source = Add("FunctionLattice");
    host::PropertyEditor editor(*source);
    editor.Set("FunctionLatticeXNum", "6");
    editor.Set("FunctionLatticeYNum", "5");
    editor.Set("FunctionLatticeZNum", "4");
    editor.Set("FunctionLatticeOutComps", "2");
    core::VoNetwork::Instance().ConnectNodes(module, source, 0, true);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::InitLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::istringstream lines(fuzz::Text(data, size));
    std::string type;
    std::getline(lines, type);
    core::VoModule* module = type.empty() ? nullptr : Add(type);
    if (!module)
        return 0;
    FeedLattice(*module);
    host::PropertyEditor editor(*module);
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        try {
            editor.Set(line.substr(0, equals), line.substr(equals + 1));
        } catch (const shr::Exception& error) {
            if (!host::IsUserError(error))
                std::abort();
        }
    }
    fuzz::RunPass();
    fuzz::ClearNetwork();
    return 0;
}
