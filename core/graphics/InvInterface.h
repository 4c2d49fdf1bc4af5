#pragma once
// Scene-graph basics: finding a named node and measuring bounds in double.
#include "core/graphics/InvSmartPtr.h"
#include "shr/Box3d.h"

#include <Inventor/nodes/SoGroup.h>

class SbViewportRegion;
class SoNode;

namespace shr {
class CTypeInfo;
}

namespace core {

// The first node below `root` (itself included) named `name`, or null. A null
// or empty name or a null root throws.
SoNode* InvFindNode(const char* name, SoNode* root);

// The bounds of `root` under `region` (a default viewport when null). A null
// root throws.
shr::Box3d InvBoundingBox(InvSmartPtr<SoNode> root, const SbViewportRegion* region = nullptr);

// The union of the bounds of the group's children, each measured on its own,
// skipping children owned by an object of type `excluded` (or derived from
// it): axes and bounding boxes measure the scene without their own geometry.
// A child's owner is the module of a module switch. An empty box for a null
// group; a null type throws.
shr::Box3d InvChildrenBoundingBox(InvSmartPtr<SoGroup> group, const shr::CTypeInfo* excluded);

} // namespace core
