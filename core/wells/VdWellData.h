#pragma once
// VdWellData: the data object of a well connection: a WellGroup in the
// data's own coordinates (UVW), placed in the scene through the user
// transform. Bounds are not cached: each call computes them from the paths.
//
// Stored form: the spatial part, then the group.
#include "core/data/VdSpatialData.h"
#include "core/wells/WellGroup.h"

#include <memory>

namespace core {

class VdWellData : public VdSpatialData {
    SHR_DECLARE_CREATABLE_TYPE(VdWellData)
public:
    VD_DEFINE_VISITABLE(VdWellData, VdSpatialData)

    VdWellData();
    // A deep copy, user transform included.
    VdWellData(const VdWellData& other);
    VdWellData& operator=(const VdWellData&) = delete;

    unsigned int GetType() const override { return 32; }
    const char* GetTypeName() const override { return "Well data"; }
    void Serialize(shr::Archive& archive) override;

    // Nothing is cached.
    void SetModifiedCoords() override {}
    shr::Box3d GetUVWBounds() const override { return m_Group.BB(); }
    shr::Box3d GetXYZBounds() const override { return UVWToXYZBounds(GetUVWBounds()); }

    const WellGroup& Group() const { return m_Group; }
    WellGroup& Group() { return m_Group; }

    bool empty() const { return m_Group.empty(); }
    size_t size() const { return m_Group.size(); }
    WellGroup::const_iterator begin() const { return m_Group.begin(); }
    WellGroup::const_iterator end() const { return m_Group.end(); }
    WellGroup::const_iterator cbegin() const { return m_Group.begin(); }
    WellGroup::const_iterator cend() const { return m_Group.end(); }
    WellGroup::const_reverse_iterator rbegin() const { return m_Group.rbegin(); }
    WellGroup::const_reverse_iterator rend() const { return m_Group.rend(); }
    void AddWell(std::shared_ptr<core::Well> well) { m_Group.AddWell(std::move(well)); }
    std::shared_ptr<core::Well> DeleteWell(const shr::GString& name) { return m_Group.DeleteWell(name); }
    std::shared_ptr<const core::Well> Well(const shr::GString& name) const { return m_Group.Well(name); }
    std::shared_ptr<core::Well> Well(const shr::GString& name) { return m_Group.Well(name); }

    std::unique_ptr<VdWellData> Clone() const { return std::make_unique<VdWellData>(*this); }

private:
    WellGroup m_Group;
};

} // namespace core
