#pragma once
// PointFileOptions: what a scene may say about a point file: which column is
// which (by header name or 1-based number), and how cells below detection
// are read. Without it the reader's rules apply (PointFileReader.h).
#include <cstddef>
#include <string>
#include <vector>

namespace host {

// One column as the caller names it.
struct ColumnChoice {
    enum Kind { ByRules, None, Named, Numbered };
    Kind kind = ByRules;
    std::string name;  // Named: a header name
    size_t number = 0; // Numbered: 1-based
};

struct PointFileOptions {
    // How a below-detection cell is read: a blank, half its limit, or the
    // limit. An above-detection cell (>100) is its limit unless blank; a bare
    // word (BDL, ND) is always a blank.
    enum class BelowDetection { Blank, Half, Limit };

    ColumnChoice axes[3];       // None for Z: 2-D, Z = 0
    bool valuesGiven = false;   // then `values` lists them all, in order
    std::vector<ColumnChoice> values;
    ColumnChoice label;         // None: no labels
    BelowDetection belowDetection = BelowDetection::Blank;

    static const char* RuleName(BelowDetection rule);
};

} // namespace host
