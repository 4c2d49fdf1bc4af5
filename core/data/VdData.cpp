#include "core/data/VdData.h"

#include "shr/Archive.h"

namespace core {

SHR_IMPLEMENT_TYPE(VdData, shr::CTypedObject)

VdData::~VdData() = default;

void VdData::Serialize(shr::Archive& archive) { archive.SyncCheck(); }

bool VdData::Accept(shr::BaseVisitor& guest) { return AcceptImpl(*this, guest); }

bool VdData::Accept(shr::BaseConstVisitor& guest) const { return AcceptImpl(*this, guest); }

void VdData::AddRef() const { m_RefCount.fetch_add(1, std::memory_order_relaxed); }

void VdData::DecRef() const
{
    // acq_rel: the destroying thread must see every write made by the other holders.
    if (m_RefCount.fetch_sub(1, std::memory_order_acq_rel) - 1 < 1)
        delete this;
}

} // namespace core
