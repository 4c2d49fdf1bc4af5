#include "core/data/VdGeometry.h"

#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/nodes/SoSwitch.h>

#include <mutex>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VdGeometry, VdData)

namespace {

// Guards the scene-graph side of every geometry: the update thread writes the
// graph while the host's thread traverses it.
std::recursive_mutex& GeometryLock()
{
    static std::recursive_mutex lock;
    return lock;
}

} // namespace

VdGeometry::VdGeometry() : VdGeometry(nullptr, false) {}

VdGeometry::VdGeometry(VoModule* module, bool isHeaderNode)
    : m_Root(new SoSwitch), m_Module(module), m_IsHeaderNode(isHeaderNode)
{
    m_Root->whichChild = SO_SWITCH_NONE;
}

VdGeometry::~VdGeometry()
{
    InvSmartPtr<SoSwitch> root;
    {
        // Hide first: the render thread may hold the switch's parent.
        std::lock_guard<std::recursive_mutex> lock(GeometryLock());
        m_Visible = false;
        m_Root->whichChild = SO_SWITCH_NONE;
        root.swap(m_Root);
    }
}

InvSmartPtr<SoSwitch> VdGeometry::GetRoot() const
{
    std::lock_guard<std::recursive_mutex> lock(GeometryLock());
    return m_Root;
}

void VdGeometry::SetGeometry(InvSmartPtr<SoNode> node)
{
    std::lock_guard<std::recursive_mutex> lock(GeometryLock());
    if (node && m_Root) {
        // A new switch rather than a new child: a reader holding the old root
        // keeps a complete graph.
        InvSmartPtr<SoSwitch> root(new SoSwitch);
        root->addChild(node.get());
        m_Root = root;
    }
    UpdateWhichChild();
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

bool VdGeometry::FindNode(SoNode* node) const
{
    std::lock_guard<std::recursive_mutex> lock(GeometryLock());
    if (!m_Root || !node)
        return false;
    SoSearchAction search;
    search.setNode(node);
    search.setSearchingAll(TRUE);
    search.apply(m_Root.get());
    return search.getPath() != nullptr;
}

} // namespace core
