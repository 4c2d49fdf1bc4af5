#pragma once
// A plain property list that also writes down, one line a call, what only a
// host's list uses: the layout calls and each added row's key, label, help and
// limits, and the label of each static row. For tests of the rows a module or
// a shared block of rows lists.
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbHeaderProperty.h"
#include "shr/StringUtil.h"

#include <map>
#include <string>
#include <vector>

namespace testsupport {

class RecordingList : public core::SimplePropertyCollection {
public:
    using core::SimplePropertyCollection::Enabled;

    void Indent() override { log.push_back("Indent"); }
    void Outdent() override { log.push_back("Outdent"); }
    void Expand(int id, bool expand) override { log.push_back(shr::ToString("Expand %d %d", id, expand)); }
    void SetInsertionPos(int id, int other, int flag) override
    {
        log.push_back(shr::ToString("Insert %d %d %d", id, other, flag));
    }
    void Remove(int id) override
    {
        log.push_back(shr::ToString("Remove %d", id));
        core::SimplePropertyCollection::Remove(id);
    }
    void Enabled(int id, bool enabled) override
    {
        log.push_back(shr::ToString("Enabled %d %d", id, enabled));
        core::SimplePropertyCollection::Enabled(id, enabled);
    }

    void AddStatic(const core::VbModuleId& module, int id, const char* label, const char* help,
                   const char* text) override
    {
        labels[id] = label;
        core::SimplePropertyCollection::AddStatic(module, id, label, help, text);
    }

    // The comment of a header row.
    std::string Comment(int id) const
    {
        return boost::any_cast<core::VbHeaderProperty::ValueType>(AnyValue(id)).second;
    }
    std::string Text(int id) const { return StringValue(id); }
    double Number(int id) const
    {
        double value = 0;
        GetValue(id, value);
        return value;
    }

    std::vector<std::string> log;
    std::map<int, std::string> labels;

protected:
    using core::SimplePropertyCollection::AddComboImpl;

    void AddHeaderImpl(const core::VbModuleId& module, int id, const shr::GString& text, const shr::GString& group,
                       const shr::GString& comment, const shr::GString& help) override
    {
        log.push_back(shr::ToString("Header %d %s|%s|%s|%s", id, text.c_str(), group.c_str(), comment.c_str(),
                                    help.c_str()));
        core::SimplePropertyCollection::AddHeaderImpl(module, id, text, group, comment, help);
    }
    void AddDoubleImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                       const char* help, double value, core::ValCheck check, double min, double max, double step,
                       const char* format, bool flag) override
    {
        log.push_back(shr::ToString("Double %d %s|%s|%s %g check %d", id, key.c_str(), label, help, value, check));
        core::SimplePropertyCollection::AddDoubleImpl(module, key, id, label, help, value, check, min, max, step, format,
                                                flag);
    }
    void AddUnsignedImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, unsigned int value, core::ValCheck check, unsigned int min,
                         unsigned int max, unsigned int step, const char* format, bool flag) override
    {
        log.push_back(shr::ToString("Unsigned %d %s|%s|%s %u check %d %u..%u step %u", id, key.c_str(), label, help,
                                    value, check, min, max, step));
        core::SimplePropertyCollection::AddUnsignedImpl(module, key, id, label, help, value, check, min, max, step,
                                                  format, flag);
    }
    void AddComboImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, unsigned int value, size_t count, const char** items,
                      unsigned int flags) override
    {
        std::string text = shr::ToString("Combo %d %s|%s|%s %u", id, key.c_str(), label, help, value);
        for (size_t i = 0; i < count; ++i)
            text += std::string(" ") + items[i];
        log.push_back(text);
        core::SimplePropertyCollection::AddComboImpl(module, key, id, label, help, value, count, items, flags);
    }
    void AddEditImpl(const core::VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& value, bool flag) override
    {
        log.push_back(shr::ToString("Edit %d %s|%s|%s %s", id, key.c_str(), label, help, value.c_str()));
        core::SimplePropertyCollection::AddEditImpl(module, key, id, label, help, value, flag);
    }
};

} // namespace testsupport
