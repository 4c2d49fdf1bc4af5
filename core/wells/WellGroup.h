#pragma once
// WellGroup: a set of wells with unique names (compared without regard to
// case), kept in name order.
//
// Stored form: the well count (4 bytes), then each well as a shared object
// over a table of the group's own. A failed load leaves the group as it was.
#include "core/wells/Well.h"
#include "core/wells/WellStorage.h"
#include "shr/Box3d.h"
#include "shr/GString.h"

#include <cstddef>
#include <memory>

namespace shr {
class Archive;
}

namespace core {

// The tag that constructs a group.
struct WellGroupInit {};

class WellGroup {
public:
    using Wells = NamedStorage<core::Well>;
    using const_iterator = Wells::const_iterator;
    using const_reverse_iterator = Wells::const_reverse_iterator;

    explicit WellGroup(const WellGroupInit& = WellGroupInit());
    // A deep copy: every well cloned.
    WellGroup(const WellGroup& other);
    WellGroup& operator=(const WellGroup&) = delete;
    WellGroup(WellGroup&&) = default;
    WellGroup& operator=(WellGroup&&) = default;
    virtual ~WellGroup();

    virtual void Serialize(shr::Archive& archive);

    bool empty() const { return m_Wells.empty(); }
    size_t size() const { return m_Wells.size(); }
    const_iterator begin() const { return m_Wells.begin(); }
    const_iterator end() const { return m_Wells.end(); }
    const_reverse_iterator rbegin() const { return m_Wells.rbegin(); }
    const_reverse_iterator rend() const { return m_Wells.rend(); }

    bool HasWell(const shr::GString& name) const;
    // The well of that name, or null; an empty name is an error ("Name of well
    // to retrieve must be non-empty.").
    std::shared_ptr<const core::Well> Well(const shr::GString& name) const;
    std::shared_ptr<core::Well> Well(const shr::GString& name);
    // Refuses a null well and a name that is taken.
    void AddWell(std::shared_ptr<core::Well> well);
    // Removes the well of that name and gives it back.
    std::shared_ptr<core::Well> DeleteWell(const shr::GString& name);
    // The new name must be non-empty and not name another well; the well is
    // taken out and put back so that the order stays right.
    void RenameWell(const shr::GString& oldName, const shr::GString& newName);

    // The box of every well's path; wells without a path add nothing.
    shr::Box3d BB() const;
    std::unique_ptr<WellGroup> Clone() const;

private:
    std::shared_ptr<core::Well> Find(const shr::GString& name) const;

    Wells m_Wells;
};

} // namespace core
