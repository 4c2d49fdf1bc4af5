#pragma once
// VoLight: a directional, point or spot light. Its node goes ahead of all
// geometry, so it lights the whole scene after it. With the dragger shown the
// light lives in the dragger, and moving or turning the handle edits the
// module's rows.
//
// A driver lights only so many lights at once; one of them is kept for the
// viewer's headlight, and a light beyond the rest fails with the count.
#include "core/graphics/DraggerNode.h"
#include "core/graphics/VgLightDragger.h"
#include "core/network/VoModule.h"
#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <memory>

namespace core {

class VbModuleInfo;

class VoLight : public VoModule, public DraggerNode<VgLightDragger> {
    SHR_DECLARE_CREATABLE_TYPE(VoLight)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum LightType : uint32_t { Directional = 0, Point = 1, Spot = 2 };
    enum RowId : int {
        IdName = 0,
        IdType = 1,
        IdColor = 2,
        IdDragger = 3,
        IdDirection = 5,
        IdXDirection = 6,
        IdPosition = 9,
        IdXPosition = 10,
        IdCutoff = 13,
        IdDropoff = 14
    };
    // The row the host refreshes after a drag.
    static constexpr int DraggerEventId = 4;
    static constexpr double kMaxCutoff = 90.0;

    // The default position stands a scene's length behind the default
    // direction, from the bounds of what the network shows now.
    VoLight();
    ~VoLight() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // Base, sync mark, then type, colour, a zero byte, show dragger,
    // direction, position, cut-off and drop-off. A failed load changes nothing.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    // The VoLight modules ahead of this one in the network's list.
    int GetPrevLightCount() const;
    // The scene's bounds without any light's geometry, with the scene offset
    // taken off (unless the box is degenerate); inverted for an empty scene.
    static shr::Box3d SceneBounds();
    // Resizes the dragger to the scene: a twentieth of its mean extent.
    void ScaleDragger();

    uint32_t GetLightType() const { return m_Type; }
    void SetLightType(uint32_t type);
    const shr::Color4b& Color() const { return m_Color; }
    void Color(const shr::Color4b& color) { m_Color = color; }
    const shr::Vec3d& Direction() const { return m_Direction; }
    void Direction(const shr::Vec3d& direction) { m_Direction = direction; }
    const shr::Vec3d& Position() const { return m_Position; }
    void Position(const shr::Vec3d& position) { m_Position = position; }
    // Degrees, 0 to 90.
    double Cutoff() const { return m_Cutoff; }
    void Cutoff(double degrees) { m_Cutoff = degrees; }
    double Dropoff() const { return m_Dropoff; }
    void Dropoff(double dropoff) { m_Dropoff = dropoff; }
    bool ShowDragger() const { return m_ShowDragger; }
    void ShowDragger(bool show) { m_ShowDragger = show; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    std::shared_ptr<VgLightDragger> ConstructDraggerImpl() override;
    void DestroyDraggerImpl() override;
    void DraggerChangedImpl(const VgLightDragger& dragger) override;
    void DraggerFinishedImpl() override;
    void UpdateDraggerFromNodeImpl(VgLightDragger& dragger) override;

    // Shows the rows that the type uses.
    void OnTypeChanged(VbPropList& list) const;
    void AddLight(VgRenderer& renderer) const;
    static void CoreCallback(int code, void* data);

    bool m_DraggerChanged = false; // the dragger must be made anew
    uint32_t m_Type = Directional;
    shr::Color4b m_Color = shr::Color4b::White;
    shr::Vec3d m_Direction = shr::Vec3d(0.0, 0.0, -1.0);
    shr::Vec3d m_Position;
    double m_Cutoff = 45.0;
    double m_Dropoff = 0.0;
};

} // namespace core
