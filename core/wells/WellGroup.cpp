#include "core/wells/WellGroup.h"

#include "core/properties/PropertyError.h"
#include "shr/Archive.h"

namespace core {

WellGroup::WellGroup(const WellGroupInit&) {}

WellGroup::WellGroup(const WellGroup& other)
{
    for (const auto& well : other.m_Wells)
        m_Wells.Insert(std::shared_ptr<core::Well>(well->Clone()));
}

WellGroup::~WellGroup() = default;

std::shared_ptr<core::Well> WellGroup::Find(const shr::GString& name) const
{
    if (name.empty())
        VB_THROW_CORE("Name of well to retrieve must be non-empty.");
    return m_Wells.Find(name);
}

bool WellGroup::HasWell(const shr::GString& name) const { return !name.empty() && m_Wells.Find(name) != nullptr; }

std::shared_ptr<const core::Well> WellGroup::Well(const shr::GString& name) const { return Find(name); }

std::shared_ptr<core::Well> WellGroup::Well(const shr::GString& name) { return Find(name); }

void WellGroup::AddWell(std::shared_ptr<core::Well> well)
{
    if (!well)
        VB_THROW_CORE("Cannot add invalid well to well group.");
    if (!m_Wells.Insert(well))
        VB_THROW_CORE("Cannot add well with duplicate name to well group.");
}

std::shared_ptr<core::Well> WellGroup::DeleteWell(const shr::GString& name)
{
    if (name.empty())
        VB_THROW_CORE("Name of well to delete must be non-empty.");
    std::shared_ptr<core::Well> removed = m_Wells.Erase(name);
    if (!removed)
        VB_THROW_CORE("Cannot delete non-existent well.");
    return removed;
}

void WellGroup::RenameWell(const shr::GString& oldName, const shr::GString& newName)
{
    if (newName.empty())
        VB_THROW_CORE("Desired name of well must be non-empty.");
    const std::shared_ptr<core::Well> holder = m_Wells.Find(newName);
    // A change of case only names the same well, which is no clash.
    if (holder && holder != m_Wells.Find(oldName))
        VB_THROW_CORE("Desired name of well must be unique.");
    std::shared_ptr<core::Well> well = DeleteWell(oldName);
    well->Name(newName);
    m_Wells.Insert(well);
}

shr::Box3d WellGroup::BB() const
{
    shr::Box3d box;
    for (const auto& well : m_Wells)
        box.ExtendBy(well->BB());
    return box;
}

std::unique_ptr<WellGroup> WellGroup::Clone() const { return std::make_unique<WellGroup>(*this); }

void WellGroup::Serialize(shr::Archive& archive)
{
    if (archive.IsStoring()) {
        TransferItems(archive, m_Wells, "well");
        return;
    }
    Wells wells;
    TransferItems(archive, wells, "well");
    m_Wells = std::move(wells);
}

} // namespace core
