#pragma once
// LogEntry: one sample or interval of a well log. A value holds from MD down
// to the next entry's MD; EndMD, the end of an interval, is set by the log
// (WellLog::UpdateIntervals) or given with the entry, never changed by others.
namespace core {

class WellLog;

class LogEntry {
public:
    // A sample: EndMD equals MD.
    LogEntry(double md, double data) : m_MD(md), m_EndMD(md), m_Data(data) {}
    LogEntry(double md, double endMd, double data) : m_MD(md), m_EndMD(endMd), m_Data(data) {}

    double MD() const { return m_MD; }
    double EndMD() const { return m_EndMD; }
    double Data() const { return m_Data; }
    // The value differs from the log's null value (a NaN differs from everything).
    bool Valid(double nullValue) const { return m_Data != nullValue; }

private:
    friend class WellLog;
    void EndMD(double endMd) { m_EndMD = endMd; }

    double m_MD;
    double m_EndMD;
    double m_Data;
};

} // namespace core
