#pragma once
// VoClipPlane: cuts the geometry of up to ten modules with one plane. The
// plane runs through the centre of their joint bounds, moved along its
// normal by a distance; the side the normal points to stays. The geometry
// is drawn only through this module, and a clip plane's output may feed
// another, whose plane then cuts too.
//
// A driver clips with only so many planes at once (Mesa's with 8), and one
// plane more makes the whole drawing fail with an OpenGL error; the clip
// plane that would be one too many fails instead, with the count.
#include "core/graphics/DraggerNode.h"
#include "core/graphics/VgClipPlaneDragger.h"
#include "core/network/VoModule.h"
#include "shr/Box3d.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace core {

class VbModuleInfo;
class VdGeometry;

class VoClipPlane : public VoModule, public DraggerNode<VgClipPlaneDragger> {
    SHR_DECLARE_CREATABLE_TYPE(VoClipPlane)
public:
    static const VbModuleInfo s_ModuleInfo;

    static constexpr int kInputCount = 10;
    enum Orientation : uint32_t { AlongX = 0, AlongY = 1, AlongZ = 2, Custom = 3 };
    enum RowId : int {
        IdGeneral = 1,
        IdFirstInput = 2, // one row per input, to 11
        IdDragger = 12,
        IdOrientation = 14,
        IdNormal = 15,
        IdXDir = 16,
        IdSwap = 19,
        IdDistance = 20
    };
    // The row the host refreshes after a drag.
    static constexpr int DraggerEventId = 13;

    VoClipPlane();
    ~VoClipPlane() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // Base, sync mark, then distance, orientation, swap, show dragger, normal
    // and bounds. Documents before version 115 knew one input. A failed load
    // changes nothing here.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Hiding a clip plane keeps the geometry and takes the cut away.
    void ShowGeometry(bool show, bool force) override;
    void OnInputChanged(int input, bool recalc) override;

    // The geometry of each connected input that may be clipped, in input order.
    std::vector<VdGeometry*> CollectInput() const;
    // The union of the collected inputs' bounds.
    void UpdateBB();
    // The direction that stays (the normal, turned round by swap) and the
    // plane's offset from the bounds' centre.
    void ComputeDirectionAndOffset(shr::Vec3d& direction, shr::Vec3d& offset) const;
    // The planes that cut this module's inputs: its own and those of the
    // clip planes it is fed by, when shown.
    int ActivePlaneCount() const;

    uint32_t GetOrientation() const { return m_Orientation; }
    void SetOrientation(uint32_t orientation);
    const shr::Vec3d& Normal() const { return m_Normal; }
    void Normal(const shr::Vec3d& normal) { m_Normal = normal; }
    double Distance() const { return m_Distance; }
    void Distance(double distance) { m_Distance = distance; }
    bool Swap() const { return m_Swap; }
    void Swap(bool swap) { m_Swap = swap; }
    bool ShowDragger() const { return m_ShowDragger; }
    const shr::Box3d& Bounds() const { return m_Bounds; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const override;

    std::shared_ptr<VgClipPlaneDragger> ConstructDraggerImpl() override;
    void DraggerChangedImpl(const VgClipPlaneDragger& dragger) override;
    void DraggerFinishedImpl() override;
    void UpdateDraggerFromNodeImpl(VgClipPlaneDragger& dragger) override;

    // Adds the cut: the dragger, which clips itself, or a plane.
    void AddPlane(VgRenderer& renderer);
    void SerializeAsOneInput(shr::Archive& archive);

    double m_Distance = 0.0;
    uint32_t m_Orientation = AlongX;
    bool m_Swap = false;
    shr::Vec3d m_Normal = shr::Vec3d(1.0, 0.0, 0.0);
    shr::Box3d m_Bounds;
};

} // namespace core
