#pragma once
// VdData: the base of every object that travels along a connection between
// modules. Reference counted with an atomic count that starts at 0: the first
// DecRef after one AddRef destroys the object.
// (Only the part the module network uses so far; the class grows with the data model.)
#include "shr/NonComparable.h"
#include "shr/TypeInfo.h"

#include <atomic>

namespace core {

class VdData : public shr::CTypedObject, private shr::NonComparable {
    SHR_DECLARE_TYPE(VdData)
public:
    ~VdData() override;

    void Serialize(shr::Archive& archive) override;
    // Exactly one port type bit: 1 points, 2, 4, 8 the lattices, 16 geometry, 32 wells.
    virtual unsigned int GetType() const = 0;
    virtual const char* GetTypeName() const = 0;

    void AddRef() const;
    void DecRef() const;

protected:
    VdData() = default;
    // A copy starts with no references of its own.
    VdData(const VdData&) : shr::CTypedObject(), shr::NonComparable(), m_RefCount(0) {}

private:
    mutable std::atomic<int> m_RefCount{0};
};

} // namespace core
