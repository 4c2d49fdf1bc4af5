#pragma once
// WellEntryWalk: the positions on a well's path at the valid entries of one of
// its logs, in depth order, for the data drawn at log depths (markers, sleeves).
// Entries whose value is the null value are passed over, and so are entries
// above the path's first MD; the walk ends at the first entry below the
// path's last MD. An entry at the MD of a path point gives that point;
// others lie on the chord between the two points around them.
//
// ExtractPathSegment: the piece of a path between two depths.
#include "core/wells/Well.h"
#include "core/wells/WellLog.h"

#include <vector>

namespace core {

class WellEntryWalk {
public:
    // "Well path must be non-empty." for a path of fewer than two points.
    WellEntryWalk(const Well& well, const WellLog& log);

    // The next position and its entry; false at the end.
    bool Next(WellPathPoint& out, const LogEntry*& entry);

private:
    Well::Path::const_iterator m_Previous;
    Well::Path::const_iterator m_Next;
    Well::Path::const_iterator m_PathEnd;
    WellLog::filtered_iterator m_Log;
    WellLog::filtered_iterator m_LogEnd;
    double m_FirstMD;
};

// The path from `md` down to `md + thickness`, clipped to the path: the
// position at md unless it is a path point, every path point between, and
// the position at the end unless it is a path point. Fewer than two points
// when the piece misses the path or has no length. "Thickness must be
// greater than or equal to zero." for a negative thickness.
void ExtractPathSegment(const Well& well, double md, double thickness, std::vector<WellPathPoint>& out);

} // namespace core
