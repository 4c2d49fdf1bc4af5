#pragma once
// VbProperty: one row of a module's property list: an id, a typed value held in
// a boost::any, and the row's display state. The value's text form goes through
// the converter selected by the record's key (see VbPropertyConverter.h).
//
// Records are owned through std::shared_ptr<VbProperty>, which deletes them as
// their concrete class; the destructor is protected and not virtual, so a
// record cannot be deleted through a plain base pointer.
#include "shr/GString.h"

#include <boost/any.hpp>

#include <memory>

namespace core {

class VbPropertyConverter;

class VbProperty {
public:
    // The value as text; raises the type error if no converter serves the key.
    virtual shr::GString StringValue() const;
    // The value from text; false (value unchanged) if the text does not parse.
    virtual bool StringValue(const shr::GString& text);
    // Replaces the value; typed records raise the type error for another type.
    virtual void AnyValue(const boost::any& value) = 0;
    virtual const boost::any& AnyValue() const;

    // The converter key (1 to 13) that gives the value its text form.
    unsigned char Key() const { return m_Key; }
    int Id() const { return m_Id; }
    // Which sub-field of a composite row is current.
    int Field() const { return m_Field; }
    void Field(int field) { m_Field = field; }
    bool Enable() const { return m_Enabled; }
    void Enable(bool enabled) { m_Enabled = enabled; }
    bool Visible() const { return m_Visible; }
    void Visible(bool visible) { m_Visible = visible; }
    // The page or section a header row names.
    const shr::GString& Group() const { return m_Group; }
    void Group(const shr::GString& group) { m_Group = group; }
    // Free for the caller.
    const boost::any& UserData() const { return m_UserData; }
    void UserData(const boost::any& data) { m_UserData = data; }

protected:
    VbProperty(unsigned char key, int id, const boost::any& value, int field, bool enabled, bool visible);
    VbProperty(const VbProperty&) = default;
    VbProperty& operator=(const VbProperty&) = default;
    ~VbProperty() = default;

    // Stores a value that the subclass has accepted.
    void StoreValue(const boost::any& value) { m_Value = value; }

private:
    std::unique_ptr<VbPropertyConverter> Converter() const;

    unsigned char m_Key;
    boost::any m_Value;
    int m_Id;
    int m_Field;
    shr::GString m_Group;
    boost::any m_UserData;
    bool m_Enabled;
    bool m_Visible;
};

// Orders records by id; the int overloads let a sorted list be searched by id.
struct VbPropertyIdLess {
    bool operator()(const std::shared_ptr<VbProperty>& a, const std::shared_ptr<VbProperty>& b) const
    {
        return a->Id() < b->Id();
    }
    bool operator()(const std::shared_ptr<VbProperty>& a, int id) const { return a->Id() < id; }
    bool operator()(int id, const std::shared_ptr<VbProperty>& b) const { return id < b->Id(); }
};

} // namespace core
