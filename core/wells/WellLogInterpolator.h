#pragma once
// WellLogInterpolator: walks a well's path and one of its logs together, in
// depth order. It yields every path point, plus the path position at each log
// entry that lies between two path points (on the chord between them, as
// Well::Interpolate places it); a log entry at the depth of a path point
// yields that point once. Log entries above the first path point are skipped,
// and the walk ends with the last path point.
//
// Two forms: over all entries (WellLog::const_iterator) and over the valid
// ones (WellLog::filtered_iterator).
#include "core/wells/Well.h"
#include "core/wells/WellLog.h"

#include <vector>

namespace core {

template <class LogIterator>
class WellLogInterpolator {
public:
    // "Well path must be non-empty." for a path of fewer than two points.
    WellLogInterpolator(const Well& well, LogIterator logBegin, LogIterator logEnd);

    // The next sample; false at the end.
    bool Next(WellPathPoint& out);

private:
    bool m_First = true;
    Well::Path::const_iterator m_Previous;
    Well::Path::const_iterator m_Next;
    Well::Path::const_iterator m_PathEnd;
    LogIterator m_Log;
    LogIterator m_LogEnd;
};

// The walk over all entries of `log`, or the path as it stands when the log is
// empty or lies wholly above the path. "Well path must be non-empty." for a
// path of fewer than two points.
std::vector<WellPathPoint> CollectSamples(const Well& well, const WellLog& log);

extern template class WellLogInterpolator<WellLog::const_iterator>;
extern template class WellLogInterpolator<WellLog::filtered_iterator>;

} // namespace core
