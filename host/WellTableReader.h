#pragma once
// WellTableReader: the delimited tables that come with wells, read the way
// point files are (see DelimitedText) and told apart by their header names,
// which are compared case-insensitively and without a unit in brackets:
//
//   heads       well, X, Y and a reference elevation (KB, elevation, Z ...):
//               where each well's measured depths start;
//   surveys     MD, inclination and azimuth, with a well column when the
//               file holds more than one well: the directional survey;
//   intervals   well, top, base and a name column (zone, formation ...);
//   markers     well, MD (or depth, top) and a name column: formation tops.
//
// Lengths (X, Y, elevation, depths) are taken to the caller's length unit
// from the unit in brackets of their header ("MD (ft)"); a column without one
// is in the caller's unit already. Inclination is from the vertical (0 down,
// 90 horizontal), azimuth clockwise from north, both in degrees.
//
// A table without a well column belongs to one well, named by the caller. A
// cell that does not fit (text or a blank where a number is needed, a
// inclination outside 0 to 180, a base above its top, a wrong number of
// fields) is an error naming the file, the line and the column.
#include "host/LengthUnit.h"
#include "shr/GString.h"

#include <string>
#include <vector>

namespace host {

enum class WellTableKind { Heads, Survey, Intervals, Markers };

struct WellHead {
    std::string well;
    double x = 0.0, y = 0.0, elevation = 0.0;
};

struct SurveyStation {
    std::string well;
    double md = 0.0, inclination = 0.0, azimuth = 0.0;
};

// An interval of a zone, or a marker (base equal to top).
struct WellPick {
    std::string well;
    double top = 0.0, base = 0.0;
    std::string name;
};

struct WellTable {
    WellTableKind kind = WellTableKind::Heads;
    std::vector<WellHead> heads;
    std::vector<SurveyStation> stations;
    std::vector<WellPick> picks;
    // Intervals and markers: the header of the name column ("Formation").
    std::string pickName;
};

class WellTableReader {
public:
    // `displayName` names the file in errors (the path if empty); `wellName`
    // is the well of a table without a well column.
    static WellTable Read(const shr::GString& path, const shr::GString& displayName, const std::string& wellName,
                          LengthUnit unit);
    static WellTable Parse(const std::string& text, const shr::GString& name, const std::string& wellName,
                           LengthUnit unit);
};

} // namespace host
