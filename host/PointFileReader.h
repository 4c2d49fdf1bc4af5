#pragma once
// PointFileReader: scattered points from the delimited text files that survey,
// drilling and modelling packages export.
//
// Layout: an optional header row, then one point per row. The separator is
// taken from the first row: a tab, else semicolon or comma (whichever occurs
// more often outside quotes), else runs of blanks. With semicolons, numbers may
// use a decimal comma. Fields may be quoted ("a, b"; "" is a quote inside).
// A UTF-8 byte-order mark, CRLF line ends, blank lines and comment lines
// starting with # are accepted.
//
// Columns. X, Y and Z are found by header name, case-insensitively and ignoring
// a unit in brackets ("Easting (m)"): x/east/easting/e, y/north/northing/n,
// z/elev/elevation/rl/height. A depth column (depth/tvd/tvdss) counts as Z,
// negated, since depth grows downward and the scene's Z points up; an elevation
// column is preferred over it. Axes not found by name take the first numeric
// columns not yet used. A row of numbers only is data, not a header.
//
// The other columns whose first filled cell is a number become the values, in
// file order; the first column whose first filled cell is text becomes the
// points' labels, further text columns are dropped. An empty value cell, or a
// no-data marker (NA, N/A, NaN, null, -, and the numbers -999, -999.25, -9999,
// -99999, 1e30), makes a blank; a marker in X, Y or Z is an error.
//
// Anything that does not fit (a text cell in a number column, a wrong number of
// fields, an unterminated quote) is an error naming the file, the line and the
// column: rows are never skipped silently.
#include "core/data/VdPoints.h"
#include "shr/GString.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

struct PointFile {
    // Values are doubles in file order, coordinates doubles.
    std::unique_ptr<core::VdPoints> points;
    // Header names of the value columns, one per component.
    std::vector<std::string> valueNames;
    // Header names of the columns taken as X, Y, Z; empty without a header.
    std::string coordNames[3];
    // Whether Z was read from a depth column (and negated).
    bool zFromDepth = false;
    // Header name of the label column; empty if there is none.
    std::string labelName;
};

class PointFileReader {
public:
    // Reads the file; `displayName` names it in errors (the path if empty).
    static PointFile Read(const shr::GString& path, const shr::GString& displayName = shr::GString());
    // Parses text already in memory; `name` names it in errors.
    static PointFile Parse(const std::string& text, const shr::GString& name);
};

} // namespace host
