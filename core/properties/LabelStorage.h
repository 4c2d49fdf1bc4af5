#pragma once
// LabelStorage: the sparse text labels of a point set, at most one per point
// index, kept in index order. Empty labels are refused; a second label for an
// index is dropped and the first one stays.
#include "shr/GString.h"
#include "shr/StringLess.h"

#include <cstddef>
#include <set>
#include <utility>

namespace shr {
class Archive;
}

namespace core {

class LabelStorage {
public:
    using Label = std::pair<unsigned int, shr::GString>;
    using Set = std::set<Label, shr::PairFirstLess>;
    using const_iterator = Set::const_iterator;
    using const_reverse_iterator = Set::const_reverse_iterator;

    // Raises "Cannot add empty label." for an empty text.
    void AddLabel(const Label& label);
    // The label of a point index, or end().
    const_iterator FindLabel(unsigned int index) const;

    void clear() { m_Labels.clear(); }
    bool empty() const { return m_Labels.empty(); }
    size_t size() const { return m_Labels.size(); }
    const_iterator begin() const { return m_Labels.begin(); }
    const_iterator end() const { return m_Labels.end(); }
    const_iterator cbegin() const { return m_Labels.cbegin(); }
    const_iterator cend() const { return m_Labels.cend(); }
    const_reverse_iterator rbegin() const { return m_Labels.rbegin(); }
    const_reverse_iterator rend() const { return m_Labels.rend(); }

    // The count (4 bytes), then per label its index (4 bytes) and its text, in
    // index order. A load that fails leaves the labels as they were.
    void Serialize(shr::Archive& archive);

private:
    Set m_Labels;
};

} // namespace core
