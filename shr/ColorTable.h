#pragma once
// CColorTable: the named colours a user may type wherever a colour is asked
// for: the web (CSS/X11) colour names, "aliceblue" to "yellowgreen". Look-up
// ignores case, blanks and underscores, so "Dark Slate Gray" and
// "dark_slate_grey" both find darkslategray.
#include "shr/GString.h"
#include "shr/Singleton.h"

#include <cstddef>
#include <vector>

namespace shr {

struct CColorTableEntry {
    unsigned char red, green, blue;
    const char* name;
};

class CColorTable : public Singleton<CColorTable> {
public:
    // Finds a colour by name; false (index untouched) if there is none.
    bool IndexFromColor(const GString& name, size_t& index) const;
    // The entry at `index`; throws for an index out of range.
    const CColorTableEntry& operator[](size_t index) const;
    size_t size() const { return m_Entries.size(); }

protected:
    CColorTable();
    friend class Singleton<CColorTable>;

private:
    std::vector<CColorTableEntry> m_Entries; // sorted by name
};

} // namespace shr
