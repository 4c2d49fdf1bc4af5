#include "core/data/InvModuleSwitch.h"

#include "core/network/VoNetwork.h"

namespace core {

SO_NODE_SOURCE(InvModuleSwitch)

namespace {

// The network initialises the class once the database is up.
const bool s_Registered = (VoNetwork::RegisterSceneClass(&InvModuleSwitch::initClass), true);

} // namespace

void InvModuleSwitch::initClass()
{
    if (classTypeId != SoType::badType())
        return;
    SO_NODE_INIT_CLASS(InvModuleSwitch, SoSwitch, "Switch");
}

InvModuleSwitch::InvModuleSwitch()
{
    SO_NODE_CONSTRUCTOR(InvModuleSwitch);
}

InvModuleSwitch::~InvModuleSwitch() = default;

} // namespace core
