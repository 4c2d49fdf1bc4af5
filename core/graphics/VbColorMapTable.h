#pragma once
// VbColorMapTable: the catalogue of named colour maps, read once from
// "ColorMap.ini" (found through shr::LocateFile) at the first Instance() call;
// a catalogue that cannot be read makes that call throw.
//
// Catalogue text: a first line beginning "#ColorMap 1.0"; then, for each map,
// a line with its name followed directly by the map's version-2 text (header
// and node lines, see VbColorMap.h). Empty lines and lines beginning with '#'
// may stand between maps.
#include "core/graphics/VbColorMap.h"
#include "shr/GString.h"
#include "shr/Singleton.h"

#include <cstddef>
#include <iosfwd>
#include <vector>

namespace core {

class VbColorMapTable : public shr::Singleton<VbColorMapTable> {
public:
    using const_iterator = std::vector<VbColorMap>::const_iterator;
    using const_reverse_iterator = std::vector<VbColorMap>::const_reverse_iterator;

    static constexpr const char* FileName = "ColorMap.ini";

    size_t size() const { return m_Maps.size(); }
    bool empty() const { return m_Maps.empty(); }
    // Out of range throws std::out_of_range("invalid vector<T> subscript").
    const VbColorMap& operator[](size_t index) const;
    const_iterator begin() const { return m_Maps.begin(); }
    const_iterator end() const { return m_Maps.end(); }
    const_iterator cbegin() const { return m_Maps.cbegin(); }
    const_iterator cend() const { return m_Maps.cend(); }
    const_reverse_iterator rbegin() const { return m_Maps.rbegin(); }
    const_reverse_iterator rend() const { return m_Maps.rend(); }

    // Index of the first map whose name equals `name` ignoring case, or -1.
    int Find(const char* name) const;

    // Reads catalogue text; `path` names it in messages. Throws shr::Exception
    // on bad text.
    static std::vector<VbColorMap> Read(const shr::GString& path, std::istream& in);

private:
    friend class shr::Singleton<VbColorMapTable>;
    VbColorMapTable();
    void Load();

    std::vector<VbColorMap> m_Maps;
};

} // namespace core
