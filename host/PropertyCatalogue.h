#pragma once
// PropertyCatalogue: every property row a module type can show, and when. A
// module shows some rows only once data arrive (the gridder's component, the
// search radii) and some only under other choices (the anisotropy rows under
// inverse distance). The catalogue finds them by trying: a fresh module; one
// fed a small sample of the data its first input takes; and, from there, each
// other choice of each combo and check, one more level deep where a choice
// revealed rows. Each row is kept with the first condition that showed it, in
// the module's own order, each row under its header.
//
// The listing also holds the keys of the type that no state shows as a row's
// own: every registered key that begins with the type's key prefix (the
// beginning all its rows' keys share, "Gridder3", "StreamLines"). Such a key
// is a second key of a row ("AxesColorGrid"), a key the module takes itself
// (the seed plane's whole vectors, a well to delete), or one of a numbered run
// of rows that grows with the data ("SubsetComp3" and on).
#include <string>
#include <vector>

namespace host {

struct CatalogueRow {
    // How a key reaches the module: through a row of its own; as a second key
    // of the row `id`; handed to the module with its value, not through a row;
    // through a row of its own that a later state of the data shows.
    enum Source { kOwnRow, kSecondKey, kModuleKey, kLaterRow };

    int id = 0;
    bool header = false;
    std::string key; // empty for headers and rows without a key
    std::string kind;
    std::string label;
    std::string value; // in the first state that showed the row
    std::vector<std::string> choices;
    // Empty for a row a fresh module shows; else "with data",
    // "with data, Method = Local polynomial" and the like.
    std::string condition;
    Source source = kOwnRow;
    // For a key without a row of its own: "second key of AxesGridColor" and the like.
    std::string note;
};

class PropertyCatalogue {
public:
    // The rows of `type`; a user error for a type the registry lacks. The
    // network must be initialised; modules are made in it and removed again.
    static std::vector<CatalogueRow> Explore(const std::string& type);
    // The row of `key` (compared regardless of case), or null.
    static const CatalogueRow* Find(const std::vector<CatalogueRow>& rows, const std::string& key);
};

} // namespace host
