#include "core/properties/VbPropertyRegistry.h"

#include "core/properties/VbPropertyConverterFactory.h"

namespace core {

VbPropertyRegistry::VbPropertyRegistry()
{
    // The key check in Set needs every factory in place, whatever the order in
    // which the library's static initialisers run.
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
}

void VbPropertyRegistry::Set(const shr::GString& name, unsigned short id, unsigned char converterKey)
{
    if (!VbPropertyConverterFactory::CanConstruct(converterKey))
        VB_THROW_CORE("Property converter key must be valid.");
    VbNamedItemRegistry::Set(name, PropertyRegistryPair(id, converterKey));
}

} // namespace core
