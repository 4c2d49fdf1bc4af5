#pragma once
// PropertyEditor: sets a module's properties by public key and text, the way a
// user edits a row: the text goes through the key's converter into the row,
// and the change reaches the module through VoNetwork::ModifyNode. The rows are
// listed again after each change, since a module may add or drop rows then.
//
// Keys of the module's type that no row shows as its own are taken too: a
// second key of a shown row edits that row; a key the module takes without a
// row ("StreamLinesSeedPlaneNormal", "WellDataDeleteWell") reaches it as the
// restoring of an older document's value does. The type's catalogue tells
// which is which; it is explored the first time such a key is asked for.
#include "host/HostPropertyList.h"
#include "host/PropertyCatalogue.h"

#include <memory>
#include <string>

namespace core {
class VoModule;
}

namespace host {

class PropertyEditor {
public:
    // Which keys Set takes: every key of the type, or (for the catalogue's own
    // trials) only the keys of the rows shown.
    enum Keys { kTypeKeys, kRowKeys };
    // Lists the module's rows; the module need not be in the network yet only
    // for reading (Set requires it there).
    explicit PropertyEditor(core::VoModule& module, Keys keys = kTypeKeys);

    // Whether `key` can be set now: a shown row takes it, or the module does.
    bool HasKey(const std::string& key) const { return RowOf(key) >= 0 || ModuleKey(key); }
    // The shown row that `key` edits, its own or the one it is a second key of; -1 for none.
    int RowOf(const std::string& key) const;
    // Raises a user error "unknown property key "K"" or "bad value "V" for
    // property key "K"" (with the module's reason when it gives one); the
    // module is left as it was.
    void Set(const std::string& key, const std::string& text);
    // The row's value in its text form; empty for a row without one.
    std::string ValueText(int id) const;
    const HostPropertyList& List() const { return m_List; }
    // Every row and key the module's type can show (PropertyCatalogue),
    // explored once for this editor.
    const std::vector<CatalogueRow>& Catalogue() const;
    // Lists the rows again.
    void Refresh();

private:
    boost::any Convert(int id, const std::string& key, const std::string& text);
    void SetWithoutRow(const std::string& key, const std::string& text);
    // The type's listing row of `key` when no row shows it as its own, or null.
    // (Explores the type the first time: Catalogue.)
    const CatalogueRow* Unshown(const std::string& key) const;
    bool ModuleKey(const std::string& key) const;

    core::VoModule& m_Module;
    HostPropertyList m_List;
    Keys m_Keys;
    mutable std::unique_ptr<std::vector<CatalogueRow>> m_Catalogue;
};

} // namespace host
