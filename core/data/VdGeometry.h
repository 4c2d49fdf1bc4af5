#pragma once
// VdGeometry: the scene output of a visual module. It owns a switch above the
// module's scene graph; the network gathers the switches of all modules into
// the scene root. Header geometry (lights, environment) goes first in the root.
// (Only the part the module network uses so far; the class grows with the data model.)
#include "core/data/VdData.h"
#include "core/graphics/InvSmartPtr.h"

#include <Inventor/nodes/SoSwitch.h>

#include <boost/noncopyable.hpp>

namespace core {

class VoModule;

class VdGeometry : public VdData, private boost::noncopyable {
    SHR_DECLARE_CREATABLE_TYPE(VdGeometry)
public:
    VdGeometry(VoModule* module, bool isHeaderNode);
    ~VdGeometry() override;

    unsigned int GetType() const override { return 16; }
    const char* GetTypeName() const override { return "Geometry"; }

    // A referenced pointer to the switch.
    InvSmartPtr<SoSwitch> GetRoot() const;
    // Replaces the switch by a new one holding `node`; with null, only the
    // visibility is brought up to date and the old picture stays.
    void SetGeometry(InvSmartPtr<SoNode> node);
    void Show(bool visible);
    bool IsVisible() const { return m_Visible; }
    bool IsHeaderNode() const { return m_IsHeaderNode; }
    bool Clippable() const { return m_Clippable; }
    void Clippable(bool clippable) { m_Clippable = clippable; }
    VoModule* Module() const { return m_Module; }
    // True if `node` lies in this geometry's graph.
    bool FindNode(SoNode* node) const;

private:
    VdGeometry();
    void UpdateWhichChild();

    InvSmartPtr<SoSwitch> m_Root;
    VoModule* m_Module;
    bool m_Visible = true;
    bool m_IsHeaderNode;
    bool m_Clippable = true;
};

} // namespace core
