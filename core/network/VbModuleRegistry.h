#pragma once
// VbModuleRegistry: the catalogue of every VbModuleInfo in the process, in
// byte-wise, case-sensitive order of their type names (UiName). Filled during
// static initialisation, read-only afterwards; it owns no infos.
#include "shr/GString.h"
#include "shr/Singleton.h"
#include "shr/SimpleUniqueStorage.h"

#include <vector>

namespace core {

class VbModuleInfo;

class VbModuleRegistry : public shr::Singleton<VbModuleRegistry> {
    friend class shr::Singleton<VbModuleRegistry>;

    struct NameOf {
        const shr::GString& operator()(const VbModuleInfo* info) const;
    };
    // std::string's < compares the bytes of the common length, then puts the
    // shorter first: the order the catalogue is kept in.
    using Storage = shr::SimpleUniqueStorage<const VbModuleInfo*, shr::GString, std::less<std::string>, NameOf>;

public:
    using const_iterator = Storage::const_iterator;
    using const_reverse_iterator = Storage::const_reverse_iterator;

    // Null raises "Invalid module info."; a name already present raises
    // "Invalid or duplicate module info.".
    void Register(const VbModuleInfo* info);

    // The info whose type name is exactly `name`, or null. An empty name raises.
    const VbModuleInfo* Construct(const shr::GString& name) const;
    bool CanConstruct(const shr::GString& name) const;

    // Appends, in name order, the infos that accept a bit of `mask`; for mask 0
    // the sources (input types 0).
    void MatchSourceType(unsigned int mask, std::vector<const VbModuleInfo*>& result) const;
    // Whether any output kind of `source` is an input kind of `destination`.
    static bool IsCompatible(const VbModuleInfo* source, const VbModuleInfo* destination);

    size_t size() const { return m_Infos.size(); }
    bool empty() const { return m_Infos.empty(); }
    const_iterator begin() const { return m_Infos.begin(); }
    const_iterator end() const { return m_Infos.end(); }
    const_iterator cbegin() const { return m_Infos.cbegin(); }
    const_iterator cend() const { return m_Infos.cend(); }
    const_reverse_iterator rbegin() const { return m_Infos.rbegin(); }
    const_reverse_iterator rend() const { return m_Infos.rend(); }

private:
    VbModuleRegistry() = default;

    Storage m_Infos;
};

} // namespace core
