#pragma once
// SimplePropertyCollection: the plain property list of this library. It keeps
// only ids, values and flags, in records sorted by id; keys, labels, help
// texts, limits and layout calls are the host's business and are dropped.
//
// Every add call sets the value of an existing row (type-checked by the
// record) or makes the row, enabled and visible, so that listing a module's
// properties again refreshes the list in place. Every query or setter by id
// raises "Invalid property id requested." (label "ZtCommand") for an absent
// id; IsProp is the one that does not.
#include "core/properties/VbPropList.h"
#include "core/properties/VbProperty.h"
#include "shr/SimpleUniqueStorage.h"

#include <memory>

namespace core {

class SimplePropertyCollection : public VbPropList {
public:
    using Record = std::shared_ptr<VbProperty>;
    using Storage = shr::SimpleUniqueStorage<Record, int, std::less<int>, shr::KeyByMember<&VbProperty::Id>>;
    using const_iterator = Storage::const_iterator;
    using const_reverse_iterator = Storage::const_reverse_iterator;

    SimplePropertyCollection() = default;
    ~SimplePropertyCollection() override;

    // The record class that fits the value's type: bool, double, int, string,
    // colour, colour map with histogram, unsigned; anything else gets an
    // unchecked record.
    static Record MakePropertyUsingHideousTypeswitch(int id, const boost::any& value, int field, bool enabled,
                                                     bool visible);
    // Adds a record in id order; an id already present raises "Failed to
    // insert property." (label "Core").
    void InsertProperty(const Record& record);

    // Works on any list; the source's header rows come over as unchecked
    // records, since only their values and flags can be read through the
    // interface. A failure leaves this list as it was.
    void CopyFrom(const VbPropList& source) override;

    shr::GString Group(int id) const override;
    void Group(int id, const shr::GString& group) override;
    // The value must have the stored type ("Invalid property type conversion
    // requested.", label "ZtCommand").
    void AnyValue(int id, const boost::any& value, bool create) override;
    boost::any AnyValue(int id) const override;
    bool StringValue(int id, const shr::GString& text) override;
    shr::GString StringValue(int id) const override;
    void UserData(int id, const boost::any& data) override;
    boost::any UserData(int id) const override;
    void EnumerateValues(std::list<std::pair<int, boost::any>>& values) const override;
    bool IsProp(int id) const override;
    void SetInsertionPos(int, int, int) override {}
    void Indent() override {}
    void Outdent() override {}
    void Remove(int id) override;
    void RemoveAll() override;
    void CurrentField(int id, int field) override;
    int CurrentField(int id) const override;

    // The exact type, except: float reads a double and narrows it; int and
    // unsigned each read the other too; a colour map is the map half of the
    // row's pair.
    void GetValue(int id, shr::Color4b& value) const override;
    void GetValue(int id, VbColorMap& value) const override;
    void GetValue(int id, shr::GString& value) const override;
    void GetValue(int id, unsigned int& value) const override;
    void GetValue(int id, double& value) const override;
    void GetValue(int id, float& value) const override;
    void GetValue(int id, int& value) const override;
    void GetValue(int id, bool& value) const override;

    bool Visible(int id) const override;
    void Visible(int id, bool visible) override;
    bool Enabled(int id) const override;
    void Enabled(int id, bool enabled) override;
    void EnabledRecursive(int, bool, bool) override {}
    bool ReadOnly(int) const override { return false; }
    void ReadOnly(int, bool) override {}
    void Expand(int, bool) override {}

    void AddStatic(const VbModuleId& module, int id, const char* label, const char* help,
                   const char* text) override;
    void SetStatic(int id, const char* text) override;
    void SetCheck(int id, bool value) override;
    void SetCombo(int id, unsigned int value) override;
    void SetStringCombo(int id, const shr::GString& value) override;
    void SetNum(int id, double value) override;
    // A non-negative value on an unsigned row is stored unsigned; otherwise as
    // an int, which an unsigned row refuses.
    void SetNum(int id, unsigned int value) override;
    void SetNum(int id, int value) override;
    void SetNumFormat(int, const char*) override {}
    void SetNumLimits(int, ValCheck, double, double) override {}
    void SetNumSpinLimits(int, double, double) override {}
    void SetHistogram(int id, const std::vector<unsigned int>& histogram) override;

    const_iterator begin() const { return m_Properties.begin(); }
    const_iterator end() const { return m_Properties.end(); }
    const_iterator cbegin() const { return m_Properties.cbegin(); }
    const_iterator cend() const { return m_Properties.cend(); }
    const_reverse_iterator rbegin() const { return m_Properties.rbegin(); }
    const_reverse_iterator rend() const { return m_Properties.rend(); }
    size_t size() const { return m_Properties.size(); }
    bool empty() const { return m_Properties.empty(); }

protected:
    // A header's value is its text and comment; a header whose value has been
    // replaced by a single string takes the comment as that string.
    void SetHeaderCommentImpl(int id, const shr::GString& text) override;
    void AddCheckImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, bool value, const char* dependants) override;
    void AddComboImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, unsigned int value, const std::vector<shr::GString>& list,
                      unsigned int flags) override;
    void AddComboImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, unsigned int value, size_t count, const char** list,
                      unsigned int flags) override;
    void AddStringComboImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                            const char* help, const shr::GString& value, const std::vector<shr::GString>& list,
                            unsigned int flags) override;
    void AddEditImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& value, bool flag) override;
    void AddButtonImpl(const shr::GString& key, int id, const char* label) override;
    void AddButtonImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                       const char* help, const char* text) override;
    void AddHeaderImpl(const VbModuleId& module, int id, const shr::GString& text, const shr::GString& group,
                       const shr::GString& comment, const shr::GString& help) override;
    void AddIntImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                    const char* help, int value, ValCheck check, int min, int max, int step, const char* format,
                    bool flag) override;
    void AddUnsignedImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, unsigned int value, ValCheck check, unsigned int min,
                         unsigned int max, unsigned int step, const char* format, bool flag) override;
    void AddDoubleImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                       const char* help, double value, ValCheck check, double min, double max, double step,
                       const char* format, bool flag) override;
    void AddFilenameImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, const shr::GString& path, bool flag, FilterTypes filter) override;
    void AddFilenameImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, const shr::GString& path, bool flag, const char* filter) override;
    void AddColorImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, const shr::Color4b& value) override;
    // The map goes in with an empty histogram; SetHistogram supplies one.
    void AddColorMapImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, const VbColorMap& map, const std::vector<unsigned int>* histogram,
                         bool flag) override;
    void AddFontImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& font) override;

private:
    // The record of `id`; raises the id error if there is none.
    VbProperty& RetrieveValidProperty(int id) const;
    // The value of `id` as T; the type error (label "ZtCommand") for another type.
    template <class T>
    const T& ValueOf(int id) const;
    template <class T>
    bool Holds(int id) const;
    // Sets the value of an existing row, or adds the row enabled and visible.
    void SetOrAdd(int id, const boost::any& value);

    Storage m_Properties;
};

} // namespace core
