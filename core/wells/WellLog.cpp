#include "core/wells/WellLog.h"

#include "shr/Archive.h"

#include <algorithm>
#include <cmath>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(WellLog, shr::CTypedObject)

namespace {

bool MDLess(double md, const LogEntry& entry) { return md < entry.MD(); }

} // namespace

WellLog::WellLog() : NamedItem("Log", true), m_NullValue(DefaultNullValue) {}

WellLog::WellLog(const LogInit& init) : NamedItem(init.Name, true), m_NullValue(init.NullValue) {}

WellLog::filtered_iterator WellLog::filtered_begin() const
{
    return filtered_iterator(LogEntryValid{m_NullValue}, m_Entries.begin(), m_Entries.end());
}

WellLog::filtered_iterator WellLog::filtered_end() const
{
    return filtered_iterator(LogEntryValid{m_NullValue}, m_Entries.end(), m_Entries.end());
}

void WellLog::Append(const LogEntry& entry)
{
    if (m_Entries.empty() || entry.MD() >= m_Entries.back().MD()) {
        m_Entries.push_back(entry);
        return;
    }
    m_Entries.insert(std::upper_bound(m_Entries.begin(), m_Entries.end(), entry.MD(), MDLess), entry);
}

bool WellLog::MDRange(std::pair<double, double>& range) const
{
    if (m_Entries.empty()) {
        range = std::make_pair(0.0, 0.0);
        return false;
    }
    const double first = m_Entries.front().MD(), last = m_Entries.back().MD();
    range = std::make_pair(std::min(first, last), std::max(first, last));
    return true;
}

bool WellLog::Range(std::pair<double, double>& range) const
{
    range = std::make_pair(m_NullValue, m_NullValue);
    bool found = false;
    for (auto it = filtered_begin(); it != filtered_end(); ++it) {
        const double value = it->Data();
        if (std::isnan(value))
            continue;
        if (!found)
            range = std::make_pair(value, value);
        range.first = std::min(range.first, value);
        range.second = std::max(range.second, value);
        found = true;
    }
    return found;
}

WellLog::const_iterator WellLog::Find(double md) const
{
    if (m_Entries.empty() || md < m_Entries.front().MD() || md > m_Entries.back().MD())
        return m_Entries.end();
    // md is at or above the first MD, so the upper bound is not the first entry
    // (a NaN md fails no test above and finds the last entry).
    return std::upper_bound(m_Entries.begin(), m_Entries.end(), md, MDLess) - 1;
}

bool WellLog::Interpolate(double md, double& out) const
{
    const const_iterator found = Find(md);
    if (found == m_Entries.end()) {
        out = m_NullValue;
        return false;
    }
    out = found->Data();
    return found->Valid(m_NullValue);
}

bool WellLog::ExtractValue(double md, double& endMd, double& out) const
{
    const const_iterator found = Find(md);
    if (found != m_Entries.end() && found->MD() == md && found->Valid(m_NullValue)) {
        endMd = found->EndMD();
        out = found->Data();
        return true;
    }
    endMd = md;
    out = m_NullValue;
    return false;
}

void WellLog::UpdateIntervals()
{
    for (size_t i = 0; i + 1 < m_Entries.size(); ++i)
        m_Entries[i].EndMD(m_Entries[i + 1].MD());
    if (!m_Entries.empty())
        m_Entries.back().EndMD(m_Entries.back().MD());
}

std::unique_ptr<WellLog> WellLog::Clone() const
{
    auto copy = std::make_unique<WellLog>(LogInit{Name(), m_NullValue});
    copy->m_Entries = m_Entries;
    return copy;
}

void WellLog::ShrinkToFit() { m_Entries.shrink_to_fit(); }

void WellLog::Serialize(shr::Archive& archive)
{
    shr::GString name = Name();
    double nullValue = m_NullValue;
    archive.Transfer(name);
    archive.Transfer(nullValue);
    if (archive.IsStoring()) {
        TransferEntries(archive, m_Entries);
        return;
    }
    if (name.empty())
        archive.ThrowFormatError("a well log without a name");
    Entries entries;
    uint32_t count = 0;
    archive.Transfer(count);
    const bool withEnds = archive.GetVersion() >= IntervalVersion;
    archive.CheckCount(count, withEnds ? 24 : 16);
    entries.resize(count, LogEntry(0.0, 0.0, nullValue));
    TransferEntries(archive, entries);
    Name(name);
    m_NullValue = nullValue;
    m_Entries = std::move(entries);
}

// The entries after their count (on storing, the count too). Documents before
// IntervalVersion hold samples only: the end of each entry is its start.
void WellLog::TransferEntries(shr::Archive& archive, Entries& entries) const
{
    if (archive.IsStoring()) {
        uint32_t count = static_cast<uint32_t>(entries.size());
        archive.Transfer(count);
    }
    const bool withEnds = archive.GetVersion() >= IntervalVersion;
    for (LogEntry& entry : entries) {
        double md = entry.MD(), endMd = entry.EndMD(), data = entry.Data();
        archive.Transfer(md);
        if (withEnds)
            archive.Transfer(endMd);
        archive.Transfer(data);
        entry = LogEntry(md, withEnds ? endMd : md, data);
    }
}

} // namespace core
