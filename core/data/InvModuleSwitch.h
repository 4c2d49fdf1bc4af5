#pragma once
// InvModuleSwitch: the switch above a module's scene geometry. It carries the
// owning module, so that a node found in the scene can be traced to the module
// that made it. The module is not owned.
#include <Inventor/nodes/SoSubNode.h>
#include <Inventor/nodes/SoSwitch.h>

namespace core {

class VoModule;

class InvModuleSwitch : public SoSwitch {
    SO_NODE_HEADER(InvModuleSwitch);

public:
    // Registers the class with the scene-graph database; calls after the
    // first do nothing.
    static void initClass();

    InvModuleSwitch();

    VoModule* GetModule() const { return m_Module; }
    void SetModule(VoModule* module) { m_Module = module; }

protected:
    ~InvModuleSwitch() override;

private:
    VoModule* m_Module = nullptr;
};

} // namespace core
