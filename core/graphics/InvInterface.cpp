#include "core/graphics/InvInterface.h"

#include "core/data/InvModuleSwitch.h"
#include "core/network/VoModule.h"
#include "shr/Exception.h"
#include "shr/TypeInfo.h"

#include <Inventor/SbViewportRegion.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/SoPath.h>

namespace core {

namespace {

[[noreturn]] void ThrowInterfaceError(const char* text)
{
    shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "%s", text);
}

shr::Box3d BoxOf(SoNode* node, const SbViewportRegion& region)
{
    SoGetBoundingBoxAction action(region);
    action.apply(node);
    const SbBox3f box = action.getBoundingBox();
    if (box.isEmpty())
        return shr::Box3d();
    const SbVec3f& lo = box.getMin();
    const SbVec3f& hi = box.getMax();
    return shr::Box3d(lo[0], lo[1], lo[2], hi[0], hi[1], hi[2]);
}

// The object that made the node: the scene graph carries it on module switches.
const shr::CTypedObject* OwnerOf(SoNode* node)
{
    if (!node->isOfType(InvModuleSwitch::getClassTypeId()))
        return nullptr;
    return static_cast<InvModuleSwitch*>(node)->GetModule();
}

} // namespace

SoNode* InvFindNode(const char* name, SoNode* root)
{
    if (name == nullptr || *name == '\0' || root == nullptr)
        ThrowInterfaceError("Invalid call to find operation.");
    SoSearchAction action;
    action.setName(SbName(name));
    action.setInterest(SoSearchAction::FIRST);
    action.apply(root);
    SoPath* path = action.getPath();
    return path ? path->getTail() : nullptr;
}

shr::Box3d InvBoundingBox(InvSmartPtr<SoNode> root, const SbViewportRegion* region)
{
    if (!root)
        ThrowInterfaceError("Invalid root in bounding box calculation.");
    return BoxOf(root.get(), region ? *region : SbViewportRegion());
}

shr::Box3d InvChildrenBoundingBox(InvSmartPtr<SoGroup> group, const shr::CTypeInfo* excluded)
{
    if (excluded == nullptr)
        ThrowInterfaceError("Invalid call to bounding box calculation.");
    shr::Box3d result;
    if (!group)
        return result;
    const SbViewportRegion region;
    for (int i = 0; i < group->getNumChildren(); ++i) {
        SoNode* child = group->getChild(i);
        const shr::CTypedObject* owner = OwnerOf(child);
        if (owner && owner->IsKindOf(excluded))
            continue;
        result.ExtendBy(BoxOf(child, region));
    }
    return result;
}

} // namespace core
