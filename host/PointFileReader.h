#pragma once
// PointFileReader: scattered points from the delimited text files that survey,
// drilling, geochemistry and modelling packages export.
//
// Layout: an optional header row, then one point per row. The separator is
// taken from the first row: a tab, else semicolon or comma (whichever occurs
// more often outside quotes), else runs of blanks. With semicolons, numbers may
// use a decimal comma. Fields may be quoted ("a, b"; "" is a quote inside).
// A UTF-8 byte-order mark, CRLF line ends, blank lines and comment lines
// starting with # are accepted.
//
// Columns, unless the caller maps them (PointFileOptions). A column is text
// only if every filled cell of it is text; a number column may hold no-data
// markers and below-detection cells. Header names are compared
// case-insensitively, without a unit in brackets ("Easting (m)") and without
// blanks, underscores, dashes and dots:
//   - a column named as an identifier (id, index, no, sample, hole, bhid,
//     name and the like) is never an axis: it holds the points' labels;
//   - X, Y and Z by name: x/east/easting/e/xloc, y/north/northing/n/yloc,
//     z/elev/elevation/rl/height. A depth column (depth/tvd/tvdss) counts as Z,
//     negated, since depth grows downward and the scene's Z points up; an
//     elevation column is preferred over it. Geographic names (lon/long/
//     longitude, lat/latitude) serve as X and Y only when no other column
//     does, and are left out of the values otherwise;
//   - when X and Y are found by name and Z is not, the points are 2-D, Z = 0;
//     otherwise the axes not found take the first number columns left (a file
//     without a header: X, Y, Z in its first columns, X and Y with two);
//   - the other number columns are the values, in file order; the first text
//     column (an identifier column first) holds the labels, further text
//     columns are dropped.
// An empty value cell, or a no-data marker (NA, N/A, NaN, null, -, and the
// numbers -999, -999.25, -9999, -99999, 1e30), makes a blank; a marker in X,
// Y or Z is an error. Below-detection cells (<0.01, >100, BDL, ND, LOD and the
// like) follow the options' rule and are counted.
//
// Anything that does not fit (a text cell in a number column, a wrong number of
// fields, an unterminated quote) is an error naming the file, the line and the
// column: rows are never skipped silently.
#include "core/data/VdPoints.h"
#include "host/PointFileOptions.h"
#include "shr/GString.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

// What was read from a point file: the points, and the columns taken for
// each axis, value and label.
struct PointFileReading {
    size_t pointCount = 0;
    // Header names of the value columns, one per component.
    std::vector<std::string> valueNames;
    // Below-detection cells read in each value column.
    std::vector<size_t> censored;
    PointFileOptions::BelowDetection belowDetection = PointFileOptions::BelowDetection::Blank;
    // Header names of the columns taken as X, Y, Z; "" for a Z of 0; "column
    // 3" and the like without a header.
    std::string coordNames[3];
    // Whether Z was read from a depth column (and negated).
    bool zFromDepth = false;
    // Header name of the label column; empty if there is none.
    std::string labelName;
    // Number columns used for nothing (geographic coordinates beside X and Y).
    std::vector<std::string> ignoredNames;

    // "X = Xloc, Y = Yloc, Z = 0 (2-D); values: Cd, Zn; labels: Id; ...": what
    // was taken for each axis and value, and the below-detection cells.
    std::string Describe() const;
    // "120 points; " and the above.
    std::string Summary() const;
};

struct PointFile : PointFileReading {
    // Values are doubles in file order, coordinates doubles.
    std::unique_ptr<core::VdPoints> points;
};

class PointFileReader {
public:
    // The log level at which the reader says what it took.
    static constexpr int kInfoLevel = 3;

    // Reads the file; `displayName` names it in errors (the path if empty).
    static PointFile Read(const shr::GString& path, const shr::GString& displayName = shr::GString(),
                          const PointFileOptions& options = PointFileOptions());
    // Parses text already in memory; `name` names it in errors.
    static PointFile Parse(const std::string& text, const shr::GString& name,
                           const PointFileOptions& options = PointFileOptions());
};

} // namespace host
