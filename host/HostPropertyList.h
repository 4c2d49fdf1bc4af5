#pragma once
// HostPropertyList: the host's property list. It stores values as the plain
// list does and keeps, besides, what a module says about each row: its public
// key, label, kind and the choices of a combo; the host finds a row by key
// through it and lists a module's rows with it.
#include "core/properties/SimplePropertyCollection.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace host {

class HostPropertyList : public core::SimplePropertyCollection {
public:
    struct RowInfo {
        std::string key; // empty for rows without a public key (headers, statics)
        std::string label;
        std::string kind; // "double", "combo", "check", ...
        std::vector<std::string> choices;
    };

    // The row described for `id`, or null.
    const RowInfo* Info(int id) const;
    // The id of the row whose key equals `key` regardless of case, or -1.
    int FindKey(const std::string& key) const;
    // Every described row, by id.
    const std::map<int, RowInfo>& Rows() const { return m_Rows; }
    // The ids of the rows in the order the module listed them: each row
    // under its header.
    const std::vector<int>& Order() const { return m_Order; }

    void AddStatic(const core::VbModuleId& module, int id, const char* label, const char* help,
                   const char* text) override;
    // Rows the module shows but does not let the user edit (computed results).
    bool ReadOnly(int id) const override { return m_ReadOnly.count(id) != 0; }
    void ReadOnly(int id, bool readOnly) override;
    void Remove(int id) override;
    void RemoveAll() override;

protected:
    void AddCheckImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, bool value, const char* dependants) override;
    void AddComboImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, unsigned int value, const std::vector<shr::GString>& list,
                      unsigned int flags) override;
    void AddComboImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, unsigned int value, size_t count, const char** list,
                      unsigned int flags) override;
    void AddStringComboImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                            const char* help, const shr::GString& value, const std::vector<shr::GString>& list,
                            unsigned int flags) override;
    void AddEditImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& value, bool flag) override;
    void AddButtonImpl(const shr::GString& key, int id, const char* label) override;
    void AddButtonImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                       const char* help, const char* text) override;
    void AddHeaderImpl(const core::VbModuleId& module, int id, const shr::GString& text, const shr::GString& group,
                       const shr::GString& comment, const shr::GString& help) override;
    void AddIntImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                    const char* help, int value, core::ValCheck check, int min, int max, int step,
                    const char* format, bool flag) override;
    void AddUnsignedImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, unsigned int value, core::ValCheck check, unsigned int min,
                         unsigned int max, unsigned int step, const char* format, bool flag) override;
    void AddDoubleImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                       const char* help, double value, core::ValCheck check, double min, double max, double step,
                       const char* format, bool flag) override;
    void AddFilenameImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, const shr::GString& path, bool flag, FilterTypes filter) override;
    void AddFilenameImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, const shr::GString& path, bool flag, const char* filter) override;
    void AddColorImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, const shr::Color4b& value) override;
    void AddColorMapImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, const core::VbColorMap& map, const std::vector<unsigned int>* histogram,
                         bool flag) override;
    void AddFontImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& font) override;

private:
    void Describe(int id, const std::string& key, const char* label, const char* kind,
                  std::vector<std::string> choices = {});

    std::map<int, RowInfo> m_Rows;
    std::set<int> m_ReadOnly;
    std::vector<int> m_Order;
};

} // namespace host
