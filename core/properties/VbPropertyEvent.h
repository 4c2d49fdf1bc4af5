#pragma once
// VbPropertyEvent: the message the host sends a module when one of its property
// rows has changed: the row's id and the value that came with the change.
#include <boost/any.hpp>

namespace core {

class VbPropertyEvent {
public:
    VbPropertyEvent(int id, const boost::any& data) : m_Id(id), m_Data(data) {}

    int Id() const { return m_Id; }
    const boost::any& Data() const { return m_Data; }

private:
    int m_Id;
    boost::any m_Data;
};

} // namespace core
