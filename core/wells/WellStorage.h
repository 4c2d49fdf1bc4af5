#pragma once
// The storage of named well items (the logs of a well, the wells of a group):
// shared pointers kept sorted by name, names unique and compared without
// regard to case.
#include "shr/GString.h"
#include "shr/SimpleUniqueStorage.h"
#include "shr/StringLess.h"

#include <memory>

namespace core {

struct ItemName {
    template <class Pointer>
    const shr::GString& operator()(const Pointer& item) const
    {
        return item->Name();
    }
};

template <class Item>
using NamedStorage = shr::SimpleUniqueStorage<std::shared_ptr<Item>, shr::GString, shr::StringLess, ItemName>;

} // namespace core
