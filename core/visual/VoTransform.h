#pragma once
// VoTransform: moves, scales and turns a data set without touching its
// coordinates: its output is a copy of the input whose user transform is
// this module's matrix, followed by the input's own. Scale and rotation work
// about an origin: the centre of the data, a corner of its bounds, or a point
// of the user's. With the origin at the centre a transformer box in the view
// edits the values.
#include "core/graphics/DraggerNode.h"
#include "core/graphics/VgTransformDragger.h"
#include "core/network/VoModule.h"
#include "shr/Box3d.h"
#include "shr/Mat4d.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <memory>

namespace core {

class VbModuleInfo;
class VdSpatialData;

class VoTransform : public VoModule, public DraggerNode<VgTransformDragger> {
    SHR_DECLARE_CREATABLE_TYPE(VoTransform)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum OriginKind : uint32_t { Center = 0, LowerLeft = 1, UpperRight = 2, CustomOrigin = 3 };
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdDragger = 3,
        IdDraggerState = 4, // hidden: the show-dragger flag before the origin took it away
        IdTranslation = 7,
        IdXTrans = 8,
        IdTransReset = 11,
        IdScale = 12,
        IdXScale = 13,
        IdScaleReset = 16,
        IdRotation = 17,
        IdXRotation = 18,
        IdAngle = 21,
        IdRotationReset = 22,
        IdOrigin = 23,
        IdOriginKind = 24,
        IdXOrigin = 25
    };
    // The row the host refreshes after a drag.
    static constexpr int DraggerEventId = 5;

    VoTransform();
    ~VoTransform() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // Base, sync mark, then show dragger, translation, scale, axis, angle and,
    // from version 126, the origin kind and origin. A failed load changes
    // nothing here.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // A reset row restores the values its rows hold rather than resetting
    // them; afterwards the show-dragger flag comes back from its hidden row.
    void RestoreProperties(VbPropList& list, const VbPropertyEvent& event) override;

    // The origin of scale and rotation for data of UVW bounds `box`.
    shr::Vec3d OriginFor(const shr::Box3d& box) const;
    // The output's user transform for an input of UVW bounds `box` and user
    // transform `input` (none when null).
    shr::Mat4d Matrix(const shr::Box3d& box, const shr::Mat4d* input) const;

    bool ShowDragger() const { return m_ShowDragger; }
    const shr::Vec3d& Translation() const { return m_Translation; }
    void Translation(const shr::Vec3d& translation) { m_Translation = translation; }
    const shr::Vec3d& Scale() const { return m_Scale; }
    void Scale(const shr::Vec3d& scale) { m_Scale = scale; }
    const shr::Vec3d& Axis() const { return m_Axis; }
    void Axis(const shr::Vec3d& axis) { m_Axis = axis; }
    // Radians.
    double Angle() const { return m_Angle; }
    void Angle(double radians) { m_Angle = radians; }
    uint32_t GetOriginKind() const { return m_OriginKind; }
    void SetOriginKind(uint32_t kind) { m_OriginKind = kind; }
    const shr::Vec3d& Origin() const { return m_Origin; }
    void Origin(const shr::Vec3d& origin) { m_Origin = origin; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    std::shared_ptr<VgTransformDragger> ConstructDraggerImpl() override;
    void DraggerChangedImpl(const VgTransformDragger& dragger) override;
    void DraggerFinishedImpl() override;
    void UpdateDraggerFromNodeImpl(VgTransformDragger& dragger) override;

    const VdSpatialData* InputData() const;
    // A copy of the input of its own kind: points, a lattice or wells.
    std::unique_ptr<VdSpatialData> CloneInput() const;
    // The dragger needs the origin at the centre: any other origin takes it
    // away (keeping the flag in the hidden row) and disables its row.
    void UpdateDragger(VbPropList& list);
    // The origin's rows are for a custom origin only.
    void UpdateOrigin(VbPropList& list) const;
    void ShowRotationComment(VbPropList& list) const;
    // The values a reset row stands for, written to their rows.
    void Reset(VbPropList& list, int id);
    // The rows of a reset's values, read back.
    void ReadResetRows(VbPropList& list, int id);

    shr::Vec3d m_Translation = shr::Vec3d::ZERO;
    shr::Vec3d m_Scale = shr::Vec3d::ONE;
    shr::Vec3d m_Axis = shr::Vec3d::UNIT_Z;
    double m_Angle = 0.0;
    uint32_t m_OriginKind = Center;
    shr::Vec3d m_Origin = shr::Vec3d::ZERO;
};

} // namespace core
