#pragma once
// VdData: the base of every object that travels along a connection between
// modules. It gives run-time typing, reference counting, visiting and the
// first link of the serialisation chain.
//
// Reference counting: the count is atomic and starts at 0; AddRef and DecRef
// are const so that a holder of a const pointer can share the object. The
// first DecRef that takes the count below 1 destroys the object, so a holder
// always pairs the two. A copy starts with a count of its own, at 0.
//
// Visiting: every class of the tree defines Accept with VD_DEFINE_VISITABLE.
// A visitor that does not handle the exact class is offered to the base
// class's Accept in turn, so a visitor of VdLattice takes every kind of
// lattice and a visitor of VdData takes everything. VdData ends the chain
// with false.
#include "shr/NonComparable.h"
#include "shr/TypeInfo.h"
#include "shr/Visitor.h"

#include <atomic>

namespace core {

class VdData : public shr::CTypedObject, public shr::BaseVisitable<bool>, private shr::NonComparable {
    SHR_DECLARE_TYPE(VdData)
public:
    ~VdData() override;

    // A section marker; each subclass writes its base first.
    void Serialize(shr::Archive& archive) override;
    // Exactly one port type bit: 1 points, 2, 4, 8 the lattices, 16 geometry, 32 wells.
    virtual unsigned int GetType() const = 0;
    virtual const char* GetTypeName() const = 0;

    bool Accept(shr::BaseVisitor& guest) override;
    bool Accept(shr::BaseConstVisitor& guest) const override;

    void AddRef() const;
    void DecRef() const;

protected:
    VdData() = default;
    VdData(const VdData&) : shr::CTypedObject(), shr::BaseVisitable<bool>(), shr::NonComparable(), m_RefCount(0) {}
    // Assignment keeps this object's own count.
    VdData& operator=(const VdData&) { return *this; }

private:
    mutable std::atomic<int> m_RefCount{0};
};

} // namespace core

// Accept for `Class`, falling back to the visitors of `Base`. Put it in the
// public part of every class of the data tree.
#define VD_DEFINE_VISITABLE(Class, Base)                                                       \
    bool Accept(::shr::BaseVisitor& guest) override                                            \
    {                                                                                          \
        if (auto* visitor = dynamic_cast<::shr::Visitor<Class, bool>*>(&guest))                \
            return visitor->Visit(*this);                                                      \
        return Base::Accept(guest);                                                            \
    }                                                                                          \
    bool Accept(::shr::BaseConstVisitor& guest) const override                                 \
    {                                                                                          \
        if (auto* visitor = dynamic_cast<::shr::ConstVisitor<Class, bool>*>(&guest))           \
            return visitor->Visit(*this);                                                      \
        return Base::Accept(guest);                                                            \
    }
