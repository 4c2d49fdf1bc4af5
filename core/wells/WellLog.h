#pragma once
// WellLog: a named series of values along a well, kept in ascending order of
// MD. Values are a step function of depth: an entry's value holds from its
// own MD to the next entry's. Entries whose value is the log's null value are
// gaps; they stay in the log (a gap ends the value above it) and the filtered
// iterators skip them.
//
// Stored form: the name; the null value (8 bytes); the entry count (4 bytes);
// per entry MD and Data (8 bytes each) before document version 123, MD, EndMD
// and Data from then on. Storing writes the form of the archive's version. A
// failed load leaves the log as it was.
#include "core/properties/NamedItem.h"
#include "core/wells/LogEntry.h"
#include "shr/GString.h"
#include "shr/NonComparable.h"
#include "shr/TypeInfo.h"

#include <boost/iterator/filter_iterator.hpp>
#include <boost/noncopyable.hpp>

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace core {

struct LogInit {
    shr::GString Name;
    double NullValue;
};

class WellLog : public shr::CTypedObject, public NamedItem, private boost::noncopyable, private shr::NonComparable {
    SHR_DECLARE_CREATABLE_TYPE(WellLog)
public:
    using Entries = std::vector<LogEntry>;
    using const_iterator = Entries::const_iterator;

    // Passes the entries whose value is not the null value.
    struct LogEntryValid {
        double nullValue;
        bool operator()(const LogEntry& entry) const { return entry.Valid(nullValue); }
    };
    using filtered_iterator = boost::filter_iterator<LogEntryValid, const_iterator>;

    static constexpr double DefaultNullValue = -999.25;
    // The first document version that stores the end of each entry.
    static constexpr int IntervalVersion = 123;

    explicit WellLog(const LogInit& init);

    void Serialize(shr::Archive& archive) override;

    // The name, and its setter: an empty name is refused.
    using NamedItem::Name;
    double NullValue() const { return m_NullValue; }

    bool empty() const { return m_Entries.empty(); }
    size_t size() const { return m_Entries.size(); }
    const_iterator begin() const { return m_Entries.begin(); }
    const_iterator end() const { return m_Entries.end(); }
    const_iterator cbegin() const { return m_Entries.cbegin(); }
    const_iterator cend() const { return m_Entries.cend(); }
    filtered_iterator filtered_begin() const;
    filtered_iterator filtered_end() const;

    // Keeps the order: an entry goes after every entry of the same or a
    // smaller MD, so equal depths stay in the order they came.
    void Append(const LogEntry& entry);

    // Smaller and larger of the first and last MD; false and (0, 0) if empty.
    bool MDRange(std::pair<double, double>& range) const;
    // Smallest and largest valid value; false and (null, null) if there is
    // none. NaN values have no place in an order and are left out.
    bool Range(std::pair<double, double>& range) const;

    // The step value at md: the value of the last entry at or above md. The
    // null value and false outside the first to the last MD, or where the
    // value found is the null value. EndMD plays no part.
    bool Interpolate(double md, double& out) const;
    // The entry that starts exactly at md, if its value is not null: its EndMD
    // and value, and true. Otherwise md, the null value and false.
    bool ExtractValue(double md, double& endMd, double& out) const;
    // Turns samples into intervals: each entry ends where the next begins, the
    // last where it begins.
    void UpdateIntervals();

    std::unique_ptr<WellLog> Clone() const;
    void ShrinkToFit();

private:
    WellLog();
    // The entry in force at md (the last one not below it), or end() when md
    // lies outside the log.
    const_iterator Find(double md) const;
    void TransferEntries(shr::Archive& archive, Entries& entries) const;

    double m_NullValue;
    Entries m_Entries;
};

} // namespace core
