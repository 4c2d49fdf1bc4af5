#include "core/wells/WellLogInterpolator.h"

#include "core/properties/PropertyError.h"

namespace core {

namespace {

void RequirePath(const Well& well)
{
    if (well.path_size() < 2)
        VB_THROW_CORE("Well path must be non-empty.");
}

} // namespace

template <class LogIterator>
WellLogInterpolator<LogIterator>::WellLogInterpolator(const Well& well, LogIterator logBegin, LogIterator logEnd)
    : m_Previous(well.path_begin()), m_Next(well.path_begin()), m_PathEnd(well.path_end()), m_Log(logBegin),
      m_LogEnd(logEnd)
{
    RequirePath(well);
}

template <class LogIterator>
bool WellLogInterpolator<LogIterator>::Next(WellPathPoint& out)
{
    if (m_First) {
        m_First = false;
        out = *m_Next;
        while (m_Log != m_LogEnd && !(m_Log->MD() > out.MD()))
            ++m_Log;
        m_Previous = m_Next++;
        return true;
    }
    if (m_Next == m_PathEnd)
        return false;
    if (m_Log == m_LogEnd || m_Log->MD() >= m_Next->MD()) {
        if (m_Log != m_LogEnd && m_Log->MD() == m_Next->MD())
            ++m_Log;
        out = *m_Next;
        m_Previous = m_Next++;
        return true;
    }
    out = WellPathPoint::Interpolate(*m_Previous, *m_Next, m_Log->MD());
    ++m_Log;
    return true;
}

template class WellLogInterpolator<WellLog::const_iterator>;
template class WellLogInterpolator<WellLog::filtered_iterator>;

std::vector<WellPathPoint> CollectSamples(const Well& well, const WellLog& log)
{
    RequirePath(well);
    if (log.empty() || well.path_begin()->MD() > (log.end() - 1)->MD())
        return std::vector<WellPathPoint>(well.path_begin(), well.path_end());
    std::vector<WellPathPoint> samples;
    WellLogInterpolator<WellLog::const_iterator> walk(well, log.begin(), log.end());
    WellPathPoint point;
    while (walk.Next(point))
        samples.push_back(point);
    return samples;
}

} // namespace core
