#include "core/network/VbModuleInfo.h"

#include "core/network/VbModuleRegistry.h"
#include "core/network/VoModule.h"
#include "shr/Exception.h"
#include "shr/Path.h"
#include "shr/TypeInfo.h"

#include <dlfcn.h>

namespace core {

namespace {

[[noreturn]] void ThrowInvalidSpecification(int line)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "Invalid module specification.");
}

// The base address of the loaded binary that holds `address`, or null for
// memory that belongs to none (the heap, a stack).
VbModuleInfo::ModuleHandle BinaryOf(const void* address)
{
    Dl_info info;
    if (dladdr(address, &info) == 0)
        return nullptr;
    return info.dli_fbase;
}

} // namespace

VbModuleInfo::VbModuleInfo(const char* uiPath, const shr::CTypeInfo* type, unsigned int inputTypes,
                           unsigned int outputTypes, const char* help, int resourceId)
    : m_UiPath(uiPath), m_Type(type), m_InputTypes(inputTypes), m_OutputTypes(outputTypes), m_Module(nullptr),
      m_Help(help && *help ? help : "No help available"), m_ResourceId(resourceId)
{
    if (m_UiPath.empty())
        ThrowInvalidSpecification(__LINE__);
    m_UiName = shr::CPath(m_UiPath).GetNameAndExtension();
    m_Module = BinaryOf(this);
    VbModuleRegistry::Instance().Register(this);
}

std::unique_ptr<VoModule> VbModuleInfo::CreateInstance() const
{
    if (!m_Type)
        ThrowInvalidSpecification(__LINE__);
    // Creators hand out the object as a CTypedObject*, converted to void*.
    auto* object = static_cast<shr::CTypedObject*>(m_Type->CreateInstance());
    if (!object)
        ThrowInvalidSpecification(__LINE__);
    auto* module = dynamic_cast<VoModule*>(object);
    if (!module) {
        delete object;
        ThrowInvalidSpecification(__LINE__);
    }
    return std::unique_ptr<VoModule>(module);
}

} // namespace core
