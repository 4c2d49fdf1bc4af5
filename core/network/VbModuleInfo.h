#pragma once
// VbModuleInfo: the static description of a module class: its place in the
// host's module menu, the data kinds it takes and gives, its help line, and how
// to make one. Each concrete module class holds one as a static object, whose
// construction registers it with VbModuleRegistry; instances live as long as
// the process.
#include "shr/GString.h"

#include <memory>

namespace shr {
class CTypeInfo;
}

namespace core {

class VoModule;

class VbModuleInfo {
public:
    // Names the loaded binary that holds an info: opaque, comparable.
    using ModuleHandle = const void*;

    // `uiPath` is "Category\Name"; an empty path raises "Invalid module specification.".
    VbModuleInfo(const char* uiPath, const shr::CTypeInfo* type, unsigned int inputTypes, unsigned int outputTypes,
                 const char* help, int resourceId);
    VbModuleInfo(const VbModuleInfo&) = delete;
    VbModuleInfo& operator=(const VbModuleInfo&) = delete;

    const shr::GString& UiPath() const { return m_UiPath; }
    // The last component of the path: the module's type name, the registry's key.
    const shr::GString& UiName() const { return m_UiName; }
    const shr::CTypeInfo* Type() const { return m_Type; }
    unsigned int InputTypes() const { return m_InputTypes; }
    unsigned int OutputTypes() const { return m_OutputTypes; }
    ModuleHandle Module() const { return m_Module; }
    const shr::GString& HelpString() const { return m_Help; }
    // Index into the host's table of module icons, -1 for none.
    int ResourceId() const { return m_ResourceId; }

    // A new module of this class, without an id until VoNetwork::AddNode.
    std::unique_ptr<VoModule> CreateInstance() const;

private:
    shr::GString m_UiPath;
    const shr::CTypeInfo* m_Type;
    unsigned int m_InputTypes;
    unsigned int m_OutputTypes;
    ModuleHandle m_Module;
    shr::GString m_Help;
    int m_ResourceId;
    // Kept beside the path: the registry compares names on every look-up.
    shr::GString m_UiName;
};

} // namespace core
