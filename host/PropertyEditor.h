#pragma once
// PropertyEditor: sets a module's properties by public key and text, the way a
// user edits a row: the text goes through the key's converter into the row,
// and the change reaches the module through VoNetwork::ModifyNode. The rows are
// listed again after each change, since a module may add or drop rows then.
#include "host/HostPropertyList.h"

#include <string>

namespace core {
class VoModule;
}

namespace host {

class PropertyEditor {
public:
    // Lists the module's rows; the module need not be in the network yet only
    // for reading (Set requires it there).
    explicit PropertyEditor(core::VoModule& module);

    bool HasKey(const std::string& key) const { return m_List.FindKey(key) >= 0; }
    // Raises a user error "unknown property key "K"" or "bad value "V" for
    // property key "K"" (with the module's reason when it gives one); the
    // module is left as it was.
    void Set(const std::string& key, const std::string& text);
    // The row's value in its text form; empty for a row without one.
    std::string ValueText(int id) const;
    const HostPropertyList& List() const { return m_List; }
    // Lists the rows again.
    void Refresh();

private:
    boost::any Convert(int id, const std::string& key, const std::string& text);

    core::VoModule& m_Module;
    HostPropertyList m_List;
};

} // namespace host
