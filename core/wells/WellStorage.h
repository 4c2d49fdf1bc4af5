#pragma once
// The storage of named well items (the logs of a well, the wells of a group):
// shared pointers kept sorted by name, names unique and compared without
// regard to case.
#include "shr/Archive.h"
#include "shr/GString.h"
#include "shr/SimpleUniqueStorage.h"
#include "shr/StringLess.h"

#include <cstdint>
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

// The stored form of a storage: a count (4 bytes), then each item as a shared
// object over a table of its own. Loading fills an empty storage; a name
// stored twice is an error (`what` names the kind of item in it).
template <class Item>
void TransferItems(shr::Archive& archive, NamedStorage<Item>& items, const char* what)
{
    shr::SharedObjectTable table;
    uint32_t count = static_cast<uint32_t>(items.size());
    archive.Transfer(count);
    if (archive.IsStoring()) {
        for (std::shared_ptr<Item> item : items)
            archive.Transfer(item, table);
        return;
    }
    archive.CheckCount(count, 4);
    for (uint32_t i = 0; i < count; ++i) {
        std::shared_ptr<Item> item;
        archive.Transfer(item, table);
        if (!items.Insert(item))
            archive.ThrowFormatError("the %s \"%s\" is stored twice", what, item->Name().c_str());
    }
}

} // namespace core
