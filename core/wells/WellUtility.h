#pragma once
// What modules need around wells and logs: histograms of a log's values, and
// the well that a reference in a module's text ("Well=Name") names.
#include "shr/GString.h"

#include <utility>
#include <vector>

namespace core {

class VdWellData;
class WellLog;

// The valid values of `log` counted into `bins` over the log's own range,
// which goes to `range` ((null, null) when the log has no valid value, and
// then the result is false). "Histogram storage must be non-empty." for no bins.
bool Histogram(const WellLog& log, std::vector<unsigned int>& bins, std::pair<double, double>& range);
// The same over a given range; "Histogram range must be valid." when its end
// lies below its start. Values at or below the start fall into the first bin,
// values at or above the end into the last. A range of no width counts every
// valid value into bin 0. False when the log has no valid value.
bool Histogram(const WellLog& log, const std::pair<double, double>& range, std::vector<unsigned int>& bins);

// The name in a well reference: the text after an optional "Well=" prefix
// (case and blanks around "well" and "=" ignored; the rest kept exactly as it
// stands) if the data hold a well of that name, otherwise "". "Name of well to
// retrieve must be non-empty." for an empty text.
shr::GString ExtractValidWellName(const VdWellData& wellData, const shr::GString& text);

} // namespace core
