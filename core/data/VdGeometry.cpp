#include "core/data/VdGeometry.h"

#include "core/graphics/InvInterface.h"
#include "shr/Exception.h"

#include <Inventor/actions/SoGetPrimitiveCountAction.h>
#include <Inventor/actions/SoSearchAction.h>

#include <mutex>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VdGeometry, VdData)

namespace {

std::recursive_mutex& GeometryLock()
{
    static std::recursive_mutex lock;
    return lock;
}

using GeometryGuard = std::lock_guard<std::recursive_mutex>;

InvSmartPtr<InvModuleSwitch> NewSwitch(VoModule* module)
{
    // Scene nodes exist only once the network has set up the scene library;
    // a geometry made before that is a host's mistake, reported, not a crash.
    if (InvModuleSwitch::getClassTypeId().isBad())
        SHR_THROW(0, "Geometry made before the network was initialised.");
    InvSmartPtr<InvModuleSwitch> root(new InvModuleSwitch);
    root->SetModule(module);
    root->whichChild = SO_SWITCH_NONE;
    return root;
}

} // namespace

VdGeometry::VdGeometry() : VdGeometry(nullptr, false) {}

VdGeometry::VdGeometry(VoModule* module, bool isHeaderNode)
    : m_Root(NewSwitch(module)), m_Module(module), m_IsHeaderNode(isHeaderNode)
{
}

VdGeometry::~VdGeometry()
{
    InvSmartPtr<InvModuleSwitch> root;
    {
        // Hide first: the render thread may hold the switch's parent.
        GeometryGuard lock(GeometryLock());
        m_Visible = false;
        if (m_Root)
            m_Root->whichChild = SO_SWITCH_NONE;
        root.swap(m_Root);
    }
}

InvSmartPtr<SoSwitch> VdGeometry::GetRoot() const
{
    GeometryGuard lock(GeometryLock());
    return InvSmartPtr<SoSwitch>(m_Root);
}

void VdGeometry::SetGeometry(InvSmartPtr<SoNode> node)
{
    GeometryGuard lock(GeometryLock());
    if (node && m_Root) {
        InvSmartPtr<InvModuleSwitch> root = NewSwitch(m_Module);
        root->addChild(node.get());
        m_Root = root;
    }
    UpdateWhichChild();
    node.reset();
}

void VdGeometry::Show(bool visible)
{
    m_Visible = visible;
    UpdateWhichChild();
}

void VdGeometry::UpdateWhichChild()
{
    if (m_Root)
        m_Root->whichChild = m_Visible && m_Root->getNumChildren() > 0 ? 0 : SO_SWITCH_NONE;
}

shr::Box3d VdGeometry::GetBoundingBox() const
{
    GeometryGuard lock(GeometryLock());
    if (!m_Root)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "%s", "Invalid root in bounding box calculation.");
    return InvBoundingBox(m_Root);
}

void VdGeometry::GetStatistics(Statistics& statistics) const
{
    GeometryGuard lock(GeometryLock());
    statistics = Statistics();
    if (!m_Root)
        return;
    SoGetPrimitiveCountAction action;
    action.apply(m_Root.get());
    statistics.points = static_cast<unsigned int>(action.getPointCount());
    statistics.lines = static_cast<unsigned int>(action.getLineCount());
    statistics.triangles = static_cast<unsigned int>(action.getTriangleCount());
    statistics.texts = static_cast<unsigned int>(action.getTextCount());
    statistics.images = static_cast<unsigned int>(action.getImageCount());
}

bool VdGeometry::FindNode(SoNode* node) const
{
    GeometryGuard lock(GeometryLock());
    if (!m_Root || !node)
        return false;
    SoSearchAction search;
    search.setNode(node);
    search.setSearchingAll(TRUE);
    search.apply(m_Root.get());
    return search.getPath() != nullptr;
}

} // namespace core
