#pragma once
// VbPropertyRegistry: the public names of module properties, such as
// "ContourSpacing", each bound to the row id that its module uses and to the key
// of the converter that gives the value its text form. Names compare without
// regard to case (shr::StringLess).
//
// Each module's translation unit registers its names in static initialisers:
//
//   static const core::VbPropertyRegistrar s_Spacing("ContourSpacing", 5, core::VbDoublePropertyConverter::Key());
//
// The registry is filled during static initialisation and read-only afterwards.
#include "core/properties/VbNamedItemRegistry.h"
#include "shr/GString.h"
#include "shr/Singleton.h"
#include "shr/StringLess.h"

namespace core {

// A property's row id and converter key. The default pair (0, 0) stands for none.
struct PropertyRegistryPair {
    PropertyRegistryPair() : id(0), converterKey(0) {}
    PropertyRegistryPair(unsigned short rowId, unsigned char key) : id(rowId), converterKey(key) {}

    unsigned short id;
    unsigned char converterKey;
};

class VbPropertyRegistry : public VbNamedItemRegistry<PropertyRegistryPair, shr::StringLess>,
                           public shr::Singleton<VbPropertyRegistry> {
public:
    // Binds `name`; a converter key that no factory serves is an error, as are
    // an empty name and one already taken.
    void Set(const shr::GString& name, unsigned short id, unsigned char converterKey);

private:
    friend class shr::Singleton<VbPropertyRegistry>;
    VbPropertyRegistry();
};

// Registers one property name when constructed; meant for static objects.
struct VbPropertyRegistrar {
    VbPropertyRegistrar(const char* name, unsigned short id, unsigned char converterKey)
    {
        VbPropertyRegistry::Instance().Set(name, id, converterKey);
    }
};

} // namespace core
