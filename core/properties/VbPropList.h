#pragma once
// VbPropList: the abstract list through which a module shows its property rows
// and reads a changed value back. The host's widget list and the plain
// SimplePropertyCollection implement it.
// (Only the part the module network uses so far; the class grows with the property system.)
#include "shr/NonComparable.h"

#include <boost/noncopyable.hpp>

namespace core {

class VbPropList : private boost::noncopyable, private shr::NonComparable {
public:
    virtual ~VbPropList() = default;

protected:
    VbPropList() = default;
};

} // namespace core
