#pragma once
// ContextMenuOptions: the commands that a module offers for one property row,
// as (label, command) pairs in the order the host is to show them.
#include "shr/CommandOptions.h"
#include "shr/GString.h"

#include <utility>
#include <vector>

namespace core {

class ContextMenuOptions {
public:
    using Option = std::pair<shr::GString, shr::CommandOptions>;
    using const_iterator = std::vector<Option>::const_iterator;
    using const_reverse_iterator = std::vector<Option>::const_reverse_iterator;

    // An empty label is an error and leaves the list as it was.
    void Add(const Option& option);

    bool empty() const { return m_Options.empty(); }
    size_t size() const { return m_Options.size(); }
    const_iterator begin() const { return m_Options.begin(); }
    const_iterator end() const { return m_Options.end(); }
    const_iterator cbegin() const { return m_Options.cbegin(); }
    const_iterator cend() const { return m_Options.cend(); }
    const_reverse_iterator rbegin() const { return m_Options.rbegin(); }
    const_reverse_iterator rend() const { return m_Options.rend(); }

private:
    std::vector<Option> m_Options;
};

} // namespace core
