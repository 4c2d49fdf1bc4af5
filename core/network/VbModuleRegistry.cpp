#include "core/network/VbModuleRegistry.h"

#include "core/network/VbModuleInfo.h"
#include "shr/Exception.h"

namespace core {

const shr::GString& VbModuleRegistry::NameOf::operator()(const VbModuleInfo* info) const { return info->UiName(); }

void VbModuleRegistry::Register(const VbModuleInfo* info)
{
    if (!info)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid module info.");
    if (m_Infos.Find(info->UiName()) || !m_Infos.Insert(info))
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid or duplicate module info.");
}

const VbModuleInfo* VbModuleRegistry::Construct(const shr::GString& name) const
{
    if (name.empty())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid (empty) module type requested.");
    return m_Infos.Find(name);
}

bool VbModuleRegistry::CanConstruct(const shr::GString& name) const { return Construct(name) != nullptr; }

void VbModuleRegistry::MatchSourceType(unsigned int mask, std::vector<const VbModuleInfo*>& result) const
{
    for (const VbModuleInfo* info : m_Infos) {
        const bool matches = mask == 0 ? info->InputTypes() == 0 : (info->InputTypes() & mask) != 0;
        if (matches)
            result.push_back(info);
    }
}

bool VbModuleRegistry::IsCompatible(const VbModuleInfo* source, const VbModuleInfo* destination)
{
    if (!source || !destination)
        return false;
    return (destination->InputTypes() & source->OutputTypes()) != 0;
}

} // namespace core
