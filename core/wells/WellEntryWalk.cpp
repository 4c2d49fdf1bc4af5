#include "core/wells/WellEntryWalk.h"

#include "core/properties/PropertyError.h"

#include <algorithm>
#include <cmath>

namespace core {

namespace {

bool PointMDLess(const WellPathPoint& point, double md) { return point.MD() < md; }
bool MDPointLess(double md, const WellPathPoint& point) { return md < point.MD(); }

} // namespace

WellEntryWalk::WellEntryWalk(const Well& well, const WellLog& log)
    : m_Previous(well.path_begin()), m_Next(well.path_begin()), m_PathEnd(well.path_end()),
      m_Log(log.filtered_begin()), m_LogEnd(log.filtered_end()), m_FirstMD(0.0)
{
    if (well.path_size() < 2)
        VB_THROW_CORE("Well path must be non-empty.");
    m_FirstMD = well.path_begin()->MD();
}

bool WellEntryWalk::Next(WellPathPoint& out, const LogEntry*& entry)
{
    for (; m_Log != m_LogEnd; ++m_Log) {
        const double md = m_Log->MD();
        // Above the path (or not a depth at all): no position.
        if (!(md >= m_FirstMD))
            continue;
        while (m_Next != m_PathEnd && m_Next->MD() < md)
            m_Previous = m_Next++;
        if (m_Next == m_PathEnd)
            return false;
        out = m_Next->MD() == md ? *m_Next : WellPathPoint::Interpolate(*m_Previous, *m_Next, md);
        entry = &*m_Log;
        ++m_Log;
        return true;
    }
    return false;
}

void ExtractPathSegment(const Well& well, double md, double thickness, std::vector<WellPathPoint>& out)
{
    if (thickness < 0.0)
        VB_THROW_CORE("Thickness must be greater than or equal to zero.");
    out.clear();
    if (well.path_empty() || std::isnan(md) || std::isnan(thickness))
        return;
    const double end = md + thickness;
    const auto first = std::lower_bound(well.path_begin(), well.path_end(), md, PointMDLess);
    const auto last = std::upper_bound(first, well.path_end(), end, MDPointLess);
    WellPathPoint point;
    if ((first == well.path_end() || first->MD() != md) && well.Interpolate(md, point))
        out.push_back(point);
    out.insert(out.end(), first, last);
    if ((last == first || (last - 1)->MD() != end) && well.Interpolate(end, point) && end > md)
        out.push_back(point);
}

} // namespace core
