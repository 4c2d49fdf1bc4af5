#pragma once
// VdGeometry: the scene output of a visual module. It owns a switch above the
// module's scene graph, which carries the owning module; the network gathers
// the switches of all modules into the scene root. Header geometry (lights,
// environment) goes first in the root.
//
// A process-wide recursive lock guards the scene-graph side of every
// geometry (GetRoot, SetGeometry, the measuring actions, FindNode and the
// destructor), since the update thread writes the graph while the host's
// thread traverses it. Show and the accessors take no lock.
//
// Geometry is always rebuilt, never stored: an archive carries only VdData's
// marker.
#include "core/data/InvModuleSwitch.h"
#include "core/data/VdData.h"
#include "core/graphics/InvSmartPtr.h"
#include "shr/Box3d.h"

#include <boost/noncopyable.hpp>

class SoNode;

namespace core {

class VoModule;

class VdGeometry : public VdData, private boost::noncopyable {
    SHR_DECLARE_CREATABLE_TYPE(VdGeometry)
public:
    // Primitive counts of the graph below the root.
    struct Statistics {
        unsigned int points = 0;
        unsigned int lines = 0;
        unsigned int triangles = 0;
        unsigned int texts = 0;
        unsigned int images = 0;
    };

    // A switch with no child, showing nothing.
    VdGeometry(VoModule* module, bool isHeaderNode);
    ~VdGeometry() override;

    VD_DEFINE_VISITABLE(VdGeometry, VdData)

    unsigned int GetType() const override { return 16; }
    const char* GetTypeName() const override { return "Geometry"; }

    // A referenced pointer to the switch.
    InvSmartPtr<SoSwitch> GetRoot() const;
    // Replaces the switch by a new one holding `node`, so that a reader holding
    // the old root keeps a complete graph; with null, the old picture stays and
    // only the visibility is brought up to date.
    void SetGeometry(InvSmartPtr<SoNode> node);
    // Shows the child only if there is one.
    void Show(bool visible);
    bool IsVisible() const { return m_Visible; }
    bool IsHeaderNode() const { return m_IsHeaderNode; }
    bool Clippable() const { return m_Clippable; }
    void Clippable(bool clippable) { m_Clippable = clippable; }
    VoModule* Module() const { return m_Module; }

    // The bounds of what the switch shows, under a default viewport.
    shr::Box3d GetBoundingBox() const;
    void GetStatistics(Statistics& statistics) const;
    // True if `node` lies in this geometry's graph.
    bool FindNode(SoNode* node) const;

private:
    VdGeometry();
    void UpdateWhichChild();

    InvSmartPtr<InvModuleSwitch> m_Root;
    VoModule* m_Module;
    bool m_Visible = true;
    bool m_IsHeaderNode;
    bool m_Clippable = true;
};

} // namespace core
