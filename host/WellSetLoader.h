#pragma once
// WellSetLoader: fills well data from files in one call. Each file is a log
// file (LasReader) or a table of heads, surveys, intervals or markers
// (WellTableReader), told apart by its content, and what it holds is merged
// into the wells by name (compared without regard to case):
//
//   heads      set the well's top;
//   surveys    replace the well's survey, sorted by MD;
//   log files  add each curve but the depth as a log of the curve's
//              mnemonic, replacing a log of that name; values are steps from
//              one depth to the next, NULL values gaps;
//   intervals  become one log named after the table's name column, an entry
//              per interval from its top to its base with the zone's code, a
//              gap (the null value) where the next interval does not start at
//              the base;
//   markers    the same, each marker's zone reaching down to the next marker.
//
// Zone codes number the distinct names of a table from 1, in name order; the
// report lists them. A file without a well name (a table without a well
// column, a log file without WELL or UWI) belongs to the well named by the
// file's name without its extension.
//
// Then each well with a top and at least three survey stations gets its path
// from the chosen calculator, the wells spread over TBB workers; a well with a
// top and no survey at all gets a vertical path down to its deepest log
// depth. All files are read and checked before the wells change: an error in
// any leaves them as they were.
#include "host/LengthUnit.h"
#include "shr/GString.h"

#include <map>
#include <string>
#include <vector>

namespace core {
class VdWellData;
}

namespace host {

struct WellLoadOptions {
    // The length unit of the well data; files in other units are converted.
    LengthUnit unit = LengthUnit::Metre;
    // The key of the path calculator (WellPathGeneratorFactory); empty leaves
    // the paths alone.
    shr::GString pathMethod = "MinimumCurvature";
};

struct WellLoadReport {
    // Per interval or marker log: the zone names, code 1 first.
    std::map<std::string, std::vector<std::string>> zoneCodes;
    // One line per well that has no path, with the reason.
    std::vector<std::string> notes;
};

class WellSetLoader {
public:
    static WellLoadReport Load(const std::vector<shr::GString>& paths, core::VdWellData& wells,
                               const WellLoadOptions& options = WellLoadOptions());
};

} // namespace host
