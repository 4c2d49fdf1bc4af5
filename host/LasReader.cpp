#include "host/LasReader.h"

#include "host/DelimitedText.h"
#include "host/HostError.h"
#include "shr/StringLess.h"
#include "shr/StringUtil.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace host {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view TrimView(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool SameName(std::string_view a, const char* b) { return shr::StringEquivalent()(std::string(a), b); }

// A whole token as a finite number.
bool ParseValue(std::string_view token, double& value)
{
    if (!token.empty() && token.front() == '+')
        token.remove_prefix(1);
    const char* end = token.data() + token.size();
    const std::from_chars_result result = std::from_chars(token.data(), end, value);
    return result.ec == std::errc() && result.ptr == end && !token.empty() && std::isfinite(value);
}

// The lines of a text with their numbers from 1, without line ends.
class LineScanner {
public:
    explicit LineScanner(std::string_view text) : m_Text(text)
    {
        if (m_Text.substr(0, 3) == "\xEF\xBB\xBF")
            m_Text.remove_prefix(3);
    }

    bool Next(std::string_view& line)
    {
        if (m_Pos > m_Text.size())
            return false;
        const size_t end = m_Text.find('\n', m_Pos);
        const size_t stop = end == std::string_view::npos ? m_Text.size() : end;
        line = m_Text.substr(m_Pos, stop - m_Pos);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        m_Pos = stop + 1;
        ++m_Number;
        return true;
    }
    int Number() const { return m_Number; }
    size_t Remaining() const { return m_Pos < m_Text.size() ? m_Text.size() - m_Pos : 0; }

private:
    std::string_view m_Text;
    size_t m_Pos = 0;
    int m_Number = 0;
};

bool IsComment(std::string_view line)
{
    const std::string_view content = TrimView(line);
    return content.empty() || content.front() == '#';
}

class LasParser {
public:
    explicit LasParser(const shr::GString& name) : m_Name(name) {}

    LasFile Parse(std::string_view text)
    {
        LineScanner lines(text);
        std::string_view line;
        char section = 0;
        while (lines.Next(line)) {
            if (IsComment(line))
                continue;
            const std::string_view content = TrimView(line);
            if (content.front() == '~') {
                section = content.size() > 1 ? static_cast<char>(std::toupper(static_cast<unsigned char>(content[1])))
                                             : '?';
                if (section == 'A') {
                    FinishHeader(lines.Number());
                    ReadData(lines);
                    return std::move(m_File);
                }
                continue;
            }
            ReadHeaderLine(section, line, lines.Number());
        }
        Fail(0, "no ~A (data) section");
    }

private:
    // The error of line `line` of the file (of the whole file for 0).
    [[noreturn]] void Fail(int line, const std::string& what) const
    {
        if (line > 0)
            HOST_USER_ERROR("%s: line %d: %s", m_Name.c_str(), line, what.c_str());
        HOST_USER_ERROR("%s: %s", m_Name.c_str(), what.c_str());
    }

    // "MNEM.UNIT VALUE : DESCRIPTION"
    LasItem SplitItem(std::string_view line, int number) const
    {
        const size_t period = line.find('.');
        if (period == std::string_view::npos)
            Fail(number, shr::ToString("\"%s\" is not a header line (MNEMONIC.UNIT VALUE : DESCRIPTION)",
                                       std::string(TrimView(line)).c_str()));
        LasItem item;
        item.line = number;
        item.mnemonic = std::string(TrimView(line.substr(0, period)));
        if (item.mnemonic.empty())
            Fail(number, "a header line without a mnemonic before its period");
        std::string_view rest = line.substr(period + 1);
        size_t unitEnd = 0;
        while (unitEnd < rest.size() && !IsBlank(rest[unitEnd]))
            ++unitEnd;
        const size_t colon = rest.rfind(':');
        if (colon != std::string_view::npos && colon < unitEnd)
            unitEnd = colon; // "DEPT.M:" has no blank before its colon
        item.unit = std::string(rest.substr(0, unitEnd));
        rest.remove_prefix(unitEnd);
        const size_t lastColon = rest.rfind(':');
        item.value = std::string(TrimView(rest.substr(0, lastColon)));
        if (lastColon != std::string_view::npos)
            item.description = std::string(TrimView(rest.substr(lastColon + 1)));
        return item;
    }

    void ReadHeaderLine(char section, std::string_view line, int number)
    {
        switch (section) {
        case 0: Fail(number, "text before the first section (a log file starts with ~V)");
        case 'V': ReadVersionItem(SplitItem(line, number)); break;
        case 'W': m_File.well.push_back(SplitItem(line, number)); break;
        case 'C': m_File.curves.push_back(LasCurve{SplitItem(line, number), {}}); break;
        case 'P': m_File.parameters.push_back(SplitItem(line, number)); break;
        default: break; // ~O and sections of no use here
        }
    }

    void ReadVersionItem(const LasItem& item)
    {
        if (SameName(item.mnemonic, "VERS")) {
            double version = 0.0;
            if (!ParseValue(item.value, version) || (version != 1.2 && version != 2.0))
                Fail(item.line,
                     shr::ToString("version \"%s\" is not read: only LAS 1.2 and 2.0 are", item.value.c_str()));
            m_File.version = item.value;
            m_HasVersion = true;
        } else if (SameName(item.mnemonic, "WRAP")) {
            if (SameName(item.value, "YES"))
                m_File.wrapped = true;
            else if (SameName(item.value, "NO"))
                m_File.wrapped = false;
            else
                Fail(item.line, shr::ToString("WRAP must be YES or NO, not \"%s\"", item.value.c_str()));
        }
    }

    // A ~W value that must be a number when it is present.
    double WellNumber(const char* mnemonic, double fallback) const
    {
        const LasItem* item = m_File.WellItem(mnemonic);
        if (!item)
            return fallback;
        double value = 0.0;
        if (!ParseValue(item->value, value))
            Fail(item->line,
                 shr::ToString("the %s value \"%s\" is not a number", mnemonic, item->value.c_str()));
        return value;
    }

    void FinishHeader(int dataLine)
    {
        if (!m_HasVersion)
            Fail(0, "no VERS line in a ~V section: not a LAS 1.2 or 2.0 file");
        if (m_File.curves.empty())
            Fail(dataLine, "no curves defined (a ~C section) before the ~A section");
        m_File.nullValue = WellNumber("NULL", m_File.nullValue);
        for (const char* mnemonic : {"STRT", "STOP", "STEP"})
            WellNumber(mnemonic, 0.0);
        FindDepthUnit();
        FindWellName();
    }

    void FindDepthUnit()
    {
        const LasItem& index = m_File.curves.front().item;
        const LasItem* start = m_File.WellItem("STRT");
        if (!index.unit.empty()) {
            if (!ParseLengthUnit(index.unit, m_File.depthUnit))
                Fail(index.line, shr::ToString("the index curve \"%s\" is in \"%s\": a depth in metres or feet "
                                               "is needed",
                                               index.mnemonic.c_str(), index.unit.c_str()));
        } else if (start && !start->unit.empty()) {
            if (!ParseLengthUnit(start->unit, m_File.depthUnit))
                Fail(start->line,
                     shr::ToString("STRT is in \"%s\": a depth in metres or feet is needed", start->unit.c_str()));
        } else {
            Fail(index.line, shr::ToString("no depth unit: neither the index curve \"%s\" nor STRT names one",
                                           index.mnemonic.c_str()));
        }
    }

    void FindWellName()
    {
        const bool version12 = m_File.version.compare(0, 3, "1.2") == 0;
        if (const LasItem* well = m_File.WellItem("WELL"))
            m_File.wellName = version12 && !well->description.empty() ? well->description : well->value;
        if (m_File.wellName.empty())
            if (const LasItem* uwi = m_File.WellItem("UWI"))
                m_File.wellName = uwi->value;
    }

    void ReadData(LineScanner& lines)
    {
        const size_t curves = m_File.curves.size();
        std::string_view line;
        int recordLine = 0; // wrapped: where the depth being filled stood
        size_t filled = 0;  // values of the current depth so far
        bool reserved = false;
        while (lines.Next(line)) {
            if (IsComment(line))
                continue;
            if (TrimView(line).front() == '~')
                Fail(lines.Number(), "a section after the ~A section, which must be the last");
            if (!reserved) {
                Reserve(lines.Remaining() / (line.size() + 1) + 1);
                reserved = true;
            }
            const size_t count = ReadLine(line, lines.Number(), filled);
            if (!m_File.wrapped) {
                if (count != curves)
                    Fail(lines.Number(),
                         shr::ToString("%zu values where the ~C section defines %zu curves", count, curves));
                filled = 0;
                continue;
            }
            if (filled == count) { // a new depth
                if (count != 1 && curves > 1)
                    Fail(lines.Number(), shr::ToString("%zu values on a line that starts a depth: in wrapped data "
                                                       "the depth stands on a line of its own",
                                                       count));
                recordLine = lines.Number();
            }
            if (filled == curves)
                filled = 0;
        }
        if (filled != 0)
            Fail(recordLine, shr::ToString("the depth on this line has %zu of its %zu values", filled, curves));
        if (m_File.DepthCount() == 0)
            Fail(0, "no data in the ~A section");
    }

    void Reserve(size_t rows)
    {
        if (m_File.wrapped)
            return;
        for (LasCurve& curve : m_File.curves)
            curve.values.reserve(rows);
    }

    // Appends the values of one data line to the curves, `filled` values of
    // the current depth being there already; returns the count of the line.
    size_t ReadLine(std::string_view line, int number, size_t& filled)
    {
        const size_t curves = m_File.curves.size();
        size_t count = 0;
        size_t pos = 0;
        for (;;) {
            while (pos < line.size() && IsBlank(line[pos]))
                ++pos;
            if (pos >= line.size())
                break;
            const size_t start = pos;
            while (pos < line.size() && !IsBlank(line[pos]))
                ++pos;
            const std::string_view token = line.substr(start, pos - start);
            ++count;
            if (filled == curves)
                Fail(number, shr::ToString("more than %zu values (one per curve of the ~C section)", curves));
            double value = 0.0;
            if (!ParseValue(token, value))
                Fail(number, shr::ToString("column %zu (\"%s\"): \"%s\" is not a number", count,
                                           m_File.curves[filled].item.mnemonic.c_str(), std::string(token).c_str()));
            if (filled == 0 && value == m_File.nullValue)
                Fail(number, shr::ToString("column 1 (\"%s\"): the depth is the NULL value",
                                           m_File.curves[0].item.mnemonic.c_str()));
            m_File.curves[filled++].values.push_back(value);
        }
        return count;
    }

    shr::GString m_Name;
    LasFile m_File;
    bool m_HasVersion = false;
};

} // namespace

const LasItem* LasFile::WellItem(const char* mnemonic) const
{
    for (const LasItem& item : well)
        if (SameName(item.mnemonic, mnemonic))
            return &item;
    return nullptr;
}

LasFile LasReader::Read(const shr::GString& path, const shr::GString& displayName)
{
    const shr::GString name = displayName.empty() ? path : displayName;
    return Parse(ReadTextFile(path, name, "log file"), name);
}

LasFile LasReader::Parse(const std::string& text, const shr::GString& name) { return LasParser(name).Parse(text); }

bool LasReader::IsLas(const std::string& text)
{
    LineScanner lines(text);
    std::string_view line;
    while (lines.Next(line))
        if (!IsComment(line))
            return TrimView(line).front() == '~';
    return false;
}

} // namespace host
