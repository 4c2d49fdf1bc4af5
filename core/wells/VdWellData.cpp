#include "core/wells/VdWellData.h"

#include "shr/Archive.h"

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VdWellData, VdSpatialData)

VdWellData::VdWellData() = default;

VdWellData::VdWellData(const VdWellData& other) : VdSpatialData(other), m_Group(other.m_Group) {}

void VdWellData::Serialize(shr::Archive& archive)
{
    if (archive.IsStoring()) {
        VdSpatialData::Serialize(archive);
        m_Group.Serialize(archive);
        return;
    }
    // Read into a fresh object, so that a failure leaves this one as it was.
    VdWellData loaded;
    loaded.VdSpatialData::Serialize(archive);
    loaded.m_Group.Serialize(archive);
    VdSpatialData::operator=(loaded);
    std::swap(m_Group, loaded.m_Group);
}

} // namespace core
