#pragma once
// LasReader: well logs in the log ASCII standard, versions 1.2 and 2.0.
//
// A file is a run of sections, each opened by a line starting with "~" and
// the section's letter: ~V (version: VERS and WRAP), ~W (well: STRT, STOP,
// STEP, NULL, WELL, UWI ...), ~C (curves: the index, then one per log), ~P
// (parameters), ~O (other, free text) and ~A (the data, always last). Header
// lines read "MNEM.UNIT  VALUE : DESCRIPTION": the first period ends the
// mnemonic, the unit runs to the first blank, the last colon starts the
// description (so that a time such as 10:30 can stand in a value). Blank lines
// and lines starting with # are comments anywhere.
//
// Data: blank-separated numbers, one value per curve and depth. Unwrapped
// (WRAP NO), each line holds one depth; wrapped (WRAP YES), each depth starts
// a line of its own and its values follow over as many lines as they need.
// Values equal to NULL are gaps and stay as they are.
//
// The index curve is the depth in metres or feet (its unit, else STRT's).
// The well name is WELL's value (in version 1.2 files the description, where
// that version puts it), else UWI's; empty if neither has one.
//
// Anything that does not fit is an error naming the file, the line and, in
// the data, the column (a missing ~V, ~C or ~A section, a line without its
// period, a NULL or STRT that is not a number, a value that is not one, a row
// with the wrong number of values); nothing is half-read.
#include "host/LengthUnit.h"
#include "shr/GString.h"

#include <string>
#include <vector>

namespace host {

struct LasItem {
    std::string mnemonic;
    std::string unit;
    std::string value;
    std::string description;
    int line = 0;
};

struct LasCurve {
    LasItem item;
    // One value per depth, in file order.
    std::vector<double> values;
};

struct LasFile {
    std::string version;
    bool wrapped = false;
    std::vector<LasItem> well;
    std::vector<LasItem> parameters;
    // The index (depth) curve first.
    std::vector<LasCurve> curves;
    double nullValue = -999.25;
    LengthUnit depthUnit = LengthUnit::Metre;
    std::string wellName;

    // The item of the ~W section with this mnemonic (case-insensitive), or null.
    const LasItem* WellItem(const char* mnemonic) const;
    size_t DepthCount() const { return curves.empty() ? 0 : curves.front().values.size(); }
};

class LasReader {
public:
    // `displayName` names the file in errors (the path if empty).
    static LasFile Read(const shr::GString& path, const shr::GString& displayName = shr::GString());
    static LasFile Parse(const std::string& text, const shr::GString& name);
    // Whether text looks like a log file: its first line that is not blank or
    // a comment opens a section.
    static bool IsLas(const std::string& text);
};

} // namespace host
