#include "core/properties/LabelStorage.h"

#include "core/properties/PropertyError.h"
#include "shr/Archive.h"

#include <cstdint>

namespace core {

void LabelStorage::AddLabel(const Label& label)
{
    if (label.second.empty())
        VB_THROW_CORE("Cannot add empty label.");
    m_Labels.insert(label);
}

LabelStorage::const_iterator LabelStorage::FindLabel(unsigned int index) const
{
    return m_Labels.find(Label(index, shr::GString()));
}

void LabelStorage::Serialize(shr::Archive& archive)
{
    uint32_t count = static_cast<uint32_t>(m_Labels.size());
    archive.Transfer(count);
    if (archive.IsStoring()) {
        for (const Label& label : m_Labels) {
            uint32_t index = label.first;
            std::string text = label.second;
            archive.Transfer(index);
            archive.Transfer(text);
        }
        return;
    }
    // Each label takes at least its index and the length of its text.
    archive.CheckCount(count, 8);
    Set loaded;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t index = 0;
        std::string text;
        archive.Transfer(index);
        archive.Transfer(text);
        loaded.emplace_hint(loaded.end(), index, text);
    }
    m_Labels.swap(loaded);
}

} // namespace core
