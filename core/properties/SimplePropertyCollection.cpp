#include "core/properties/SimplePropertyCollection.h"

#include "core/properties/PropertyError.h"
#include "core/properties/VbAnyProperty.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbTypedProperty.h"

#include <typeinfo>

namespace core {

namespace {

// Errors of the list as the command language reports them.
[[noreturn]] void ThrowListError(const char* message)
{
    shr::ThrowSharedError("ZtCommand", __FILE__, __LINE__, 0, "%s", message);
}

[[noreturn]] void ThrowListTypeError()
{
    ThrowListError("Invalid property type conversion requested.");
}

using RecordMaker = SimplePropertyCollection::Record (*)(int, const boost::any&, int, bool, bool);

template <class RecordClass>
SimplePropertyCollection::Record MakeRecord(int id, const boost::any& value, int field, bool enabled, bool visible)
{
    return std::make_shared<RecordClass>(id, value, field, enabled, visible);
}

struct TypedMaker {
    const std::type_info& type;
    RecordMaker make;
};

// The value types with a record class of their own, in the order they are tried.
const TypedMaker kTypedMakers[] = {
    {typeid(bool), &MakeRecord<VbBoolProperty>},
    {typeid(double), &MakeRecord<VbDoubleProperty>},
    {typeid(int), &MakeRecord<VbIntProperty>},
    {typeid(shr::GString), &MakeRecord<VbStringProperty>},
    {typeid(shr::Color4b), &MakeRecord<VbColorProperty>},
    {typeid(VbColorMapPair), &MakeRecord<VbColorMapProperty>},
    {typeid(unsigned int), &MakeRecord<VbUnsignedProperty>},
};

} // namespace

SimplePropertyCollection::~SimplePropertyCollection()
{
    RemoveAll();
}

SimplePropertyCollection::Record SimplePropertyCollection::MakePropertyUsingHideousTypeswitch(
    int id, const boost::any& value, int field, bool enabled, bool visible)
{
    for (const TypedMaker& maker : kTypedMakers)
        if (value.type() == maker.type)
            return maker.make(id, value, field, enabled, visible);
    return MakeRecord<VbAnyProperty>(id, value, field, enabled, visible);
}

void SimplePropertyCollection::InsertProperty(const Record& record)
{
    if (!m_Properties.Insert(record))
        VB_THROW_CORE("Failed to insert property.");
}

void SimplePropertyCollection::CopyFrom(const VbPropList& source)
{
    std::list<std::pair<int, boost::any>> values;
    source.EnumerateValues(values);
    SimplePropertyCollection copy;
    for (const auto& [id, value] : values) {
        Record record = MakePropertyUsingHideousTypeswitch(id, value, source.CurrentField(id), source.Enabled(id),
                                                           source.Visible(id));
        record->UserData(source.UserData(id));
        record->Group(source.Group(id));
        copy.InsertProperty(record);
    }
    std::swap(m_Properties, copy.m_Properties);
}

VbProperty& SimplePropertyCollection::RetrieveValidProperty(int id) const
{
    const Record record = m_Properties.Find(id);
    if (!record)
        ThrowListError("Invalid property id requested.");
    return *record;
}

template <class T>
bool SimplePropertyCollection::Holds(int id) const
{
    return RetrieveValidProperty(id).AnyValue().type() == typeid(T);
}

template <class T>
const T& SimplePropertyCollection::ValueOf(int id) const
{
    const T* value = boost::any_cast<T>(&RetrieveValidProperty(id).AnyValue());
    if (!value)
        ThrowListTypeError();
    return *value;
}

void SimplePropertyCollection::SetOrAdd(int id, const boost::any& value)
{
    if (IsProp(id))
        RetrieveValidProperty(id).AnyValue(value);
    else
        InsertProperty(MakePropertyUsingHideousTypeswitch(id, value, 0, true, true));
}

shr::GString SimplePropertyCollection::Group(int id) const
{
    return RetrieveValidProperty(id).Group();
}

void SimplePropertyCollection::Group(int id, const shr::GString& group)
{
    RetrieveValidProperty(id).Group(group);
}

void SimplePropertyCollection::AnyValue(int id, const boost::any& value, bool create)
{
    if (IsProp(id)) {
        VbProperty& record = RetrieveValidProperty(id);
        if (value.type() != record.AnyValue().type())
            ThrowListTypeError();
        record.AnyValue(value);
    } else if (create) {
        InsertProperty(MakePropertyUsingHideousTypeswitch(id, value, 0, true, true));
    }
}

boost::any SimplePropertyCollection::AnyValue(int id) const
{
    return RetrieveValidProperty(id).AnyValue();
}

bool SimplePropertyCollection::StringValue(int id, const shr::GString& text)
{
    return RetrieveValidProperty(id).StringValue(text);
}

shr::GString SimplePropertyCollection::StringValue(int id) const
{
    return RetrieveValidProperty(id).StringValue();
}

void SimplePropertyCollection::UserData(int id, const boost::any& data)
{
    RetrieveValidProperty(id).UserData(data);
}

boost::any SimplePropertyCollection::UserData(int id) const
{
    return RetrieveValidProperty(id).UserData();
}

void SimplePropertyCollection::EnumerateValues(std::list<std::pair<int, boost::any>>& values) const
{
    values.clear();
    for (const Record& record : m_Properties)
        values.emplace_back(record->Id(), record->AnyValue());
}

bool SimplePropertyCollection::IsProp(int id) const
{
    return m_Properties.Find(id) != nullptr;
}

void SimplePropertyCollection::Remove(int id)
{
    RetrieveValidProperty(id);
    m_Properties.Erase(id);
}

void SimplePropertyCollection::RemoveAll()
{
    m_Properties.clear();
}

void SimplePropertyCollection::CurrentField(int id, int field)
{
    RetrieveValidProperty(id).Field(field);
}

int SimplePropertyCollection::CurrentField(int id) const
{
    return RetrieveValidProperty(id).Field();
}

void SimplePropertyCollection::GetValue(int id, shr::Color4b& value) const
{
    value = ValueOf<shr::Color4b>(id);
}

void SimplePropertyCollection::GetValue(int id, VbColorMap& value) const
{
    value = ValueOf<VbColorMapPair>(id).first;
}

void SimplePropertyCollection::GetValue(int id, shr::GString& value) const
{
    value = ValueOf<shr::GString>(id);
}

void SimplePropertyCollection::GetValue(int id, unsigned int& value) const
{
    if (Holds<int>(id))
        value = static_cast<unsigned int>(ValueOf<int>(id));
    else
        value = ValueOf<unsigned int>(id);
}

void SimplePropertyCollection::GetValue(int id, double& value) const
{
    value = ValueOf<double>(id);
}

void SimplePropertyCollection::GetValue(int id, float& value) const
{
    value = static_cast<float>(ValueOf<double>(id));
}

void SimplePropertyCollection::GetValue(int id, int& value) const
{
    if (Holds<unsigned int>(id))
        value = static_cast<int>(ValueOf<unsigned int>(id));
    else
        value = ValueOf<int>(id);
}

void SimplePropertyCollection::GetValue(int id, bool& value) const
{
    value = ValueOf<bool>(id);
}

bool SimplePropertyCollection::Visible(int id) const
{
    return RetrieveValidProperty(id).Visible();
}

void SimplePropertyCollection::Visible(int id, bool visible)
{
    RetrieveValidProperty(id).Visible(visible);
}

bool SimplePropertyCollection::Enabled(int id) const
{
    return RetrieveValidProperty(id).Enable();
}

void SimplePropertyCollection::Enabled(int id, bool enabled)
{
    RetrieveValidProperty(id).Enable(enabled);
}

void SimplePropertyCollection::AddStatic(const VbModuleId&, int id, const char*, const char*, const char* text)
{
    SetOrAdd(id, shr::GString(text));
}

void SimplePropertyCollection::SetStatic(int id, const char* text)
{
    RetrieveValidProperty(id).AnyValue(shr::GString(text));
}

void SimplePropertyCollection::SetCheck(int id, bool value)
{
    RetrieveValidProperty(id).AnyValue(value);
}

void SimplePropertyCollection::SetCombo(int id, unsigned int value)
{
    RetrieveValidProperty(id).AnyValue(value);
}

void SimplePropertyCollection::SetStringCombo(int id, const shr::GString& value)
{
    RetrieveValidProperty(id).AnyValue(value);
}

void SimplePropertyCollection::SetNum(int id, double value)
{
    RetrieveValidProperty(id).AnyValue(value);
}

void SimplePropertyCollection::SetNum(int id, unsigned int value)
{
    if (Holds<int>(id))
        RetrieveValidProperty(id).AnyValue(static_cast<int>(value));
    else
        RetrieveValidProperty(id).AnyValue(value);
}

void SimplePropertyCollection::SetNum(int id, int value)
{
    if (Holds<unsigned int>(id) && value >= 0)
        RetrieveValidProperty(id).AnyValue(static_cast<unsigned int>(value));
    else
        RetrieveValidProperty(id).AnyValue(value);
}

void SimplePropertyCollection::SetHistogram(int id, const std::vector<unsigned int>& histogram)
{
    VbColorMapPair pair = ValueOf<VbColorMapPair>(id);
    pair.second = histogram;
    RetrieveValidProperty(id).AnyValue(pair);
}

void SimplePropertyCollection::SetHeaderCommentImpl(int id, const shr::GString& text)
{
    VbProperty& record = RetrieveValidProperty(id);
    if (Holds<shr::GString>(id)) {
        record.AnyValue(text);
        return;
    }
    VbHeaderProperty::ValueType header = ValueOf<VbHeaderProperty::ValueType>(id);
    header.second = text;
    record.AnyValue(header);
}

void SimplePropertyCollection::AddCheckImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                            const char*, bool value, const char*)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddComboImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                            const char*, unsigned int value, const std::vector<shr::GString>&,
                                            unsigned int)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddComboImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                            const char*, unsigned int value, size_t, const char**, unsigned int)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddStringComboImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                                  const char*, const shr::GString& value,
                                                  const std::vector<shr::GString>&, unsigned int)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddEditImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                           const char*, const shr::GString& value, bool)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddButtonImpl(const shr::GString&, int id, const char*)
{
    SetOrAdd(id, true);
}

void SimplePropertyCollection::AddButtonImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                             const char*, const char*)
{
    SetOrAdd(id, true);
}

void SimplePropertyCollection::AddHeaderImpl(const VbModuleId&, int id, const shr::GString& text,
                                             const shr::GString& group, const shr::GString& comment,
                                             const shr::GString&)
{
    const VbHeaderProperty::ValueType value(text, comment);
    if (IsProp(id)) {
        RetrieveValidProperty(id).AnyValue(value);
        return;
    }
    auto header = std::make_shared<VbHeaderProperty>(id, value, 0, true, true);
    header->Group(group);
    InsertProperty(header);
}

void SimplePropertyCollection::AddIntImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                          const char*, int value, ValCheck, int, int, int, const char*, bool)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddUnsignedImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                               const char*, unsigned int value, ValCheck, unsigned int,
                                               unsigned int, unsigned int, const char*, bool)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddDoubleImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                             const char*, double value, ValCheck, double, double, double,
                                             const char*, bool)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddFilenameImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                               const char*, const shr::GString& path, bool, FilterTypes)
{
    SetOrAdd(id, path);
}

void SimplePropertyCollection::AddFilenameImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                               const char*, const shr::GString& path, bool, const char*)
{
    SetOrAdd(id, path);
}

void SimplePropertyCollection::AddColorImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                            const char*, const shr::Color4b& value)
{
    SetOrAdd(id, value);
}

void SimplePropertyCollection::AddColorMapImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                               const char*, const VbColorMap& map, const std::vector<unsigned int>*,
                                               bool)
{
    SetOrAdd(id, VbColorMapPair(map, {}));
}

void SimplePropertyCollection::AddFontImpl(const VbModuleId&, const shr::GString&, int id, const char*,
                                           const char*, const shr::GString& font)
{
    SetOrAdd(id, font);
}

} // namespace core
