#include "host/PointFileReader.h"

#include "core/data/MemoryBudget.h"
#include "host/HostError.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>

namespace host {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Row {
    int line = 0;
    std::vector<std::string> fields;
};

enum class Separator { Comma, Semicolon, Tab, Blank };

enum class CellKind { Number, Blank, Text };

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::string Trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return std::string();
    const size_t last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

// Lines without their ends, numbered from 1; blank and comment lines dropped.
std::vector<std::pair<int, std::string>> SplitLines(const std::string& text)
{
    size_t pos = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    std::vector<std::pair<int, std::string>> lines;
    int number = 0;
    while (pos <= text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(pos, end - pos);
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const std::string content = Trimmed(line);
        if (!content.empty() && content[0] != '#')
            lines.emplace_back(number, line);
        pos = end + 1;
    }
    return lines;
}

size_t CountOutsideQuotes(const std::string& line, char c)
{
    size_t count = 0;
    bool quoted = false;
    for (char ch : line) {
        if (ch == '"')
            quoted = !quoted;
        else if (ch == c && !quoted)
            ++count;
    }
    return count;
}

Separator DetectSeparator(const std::string& firstLine)
{
    if (CountOutsideQuotes(firstLine, '\t') > 0)
        return Separator::Tab;
    const size_t semicolons = CountOutsideQuotes(firstLine, ';');
    const size_t commas = CountOutsideQuotes(firstLine, ',');
    if (semicolons > 0 && semicolons >= commas)
        return Separator::Semicolon;
    if (commas > 0)
        return Separator::Comma;
    return Separator::Blank;
}

class FieldSplitter {
public:
    FieldSplitter(Separator separator, const shr::GString& name) : m_Separator(separator), m_Name(name) {}

    std::vector<std::string> Split(const std::string& line, int number) const
    {
        std::vector<std::string> fields;
        size_t pos = 0;
        for (;;) {
            if (m_Separator == Separator::Blank && (pos = SkipBlanks(line, pos)) >= line.size())
                break;
            std::string field;
            pos = ReadField(line, pos, number, fields.size() + 1, field);
            fields.push_back(field);
            if (pos >= line.size())
                break;
            ++pos; // past the separator; one at the very end leaves an empty field
        }
        return fields;
    }

private:
    bool IsSeparator(char c) const
    {
        switch (m_Separator) {
        case Separator::Comma: return c == ',';
        case Separator::Semicolon: return c == ';';
        case Separator::Tab: return c == '\t';
        case Separator::Blank: return c == ' ' || c == '\t';
        }
        return false;
    }

    static size_t SkipBlanks(const std::string& line, size_t pos)
    {
        while (pos < line.size() && (line[pos] == ' ' || line[pos] == '\t'))
            ++pos;
        return pos;
    }

    // Reads one field from `pos`; returns the position of the separator after
    // it, or the line's length.
    size_t ReadField(const std::string& line, size_t pos, int number, size_t column, std::string& field) const
    {
        const size_t start = pos;
        if (m_Separator != Separator::Blank)
            pos = SkipBlanks(line, pos);
        if (pos < line.size() && line[pos] == '"')
            return ReadQuoted(line, pos + 1, number, column, field);
        pos = start;
        while (pos < line.size() && !IsSeparator(line[pos]))
            ++pos;
        field = Trimmed(line.substr(start, pos - start));
        return pos;
    }

    size_t ReadQuoted(const std::string& line, size_t pos, int number, size_t column, std::string& field) const
    {
        for (;;) {
            if (pos >= line.size())
                HOST_USER_ERROR("%s: line %d, column %zu: unterminated quote", m_Name.c_str(), number, column);
            if (line[pos] == '"') {
                if (pos + 1 < line.size() && line[pos + 1] == '"') {
                    field += '"';
                    pos += 2;
                    continue;
                }
                break;
            }
            field += line[pos++];
        }
        ++pos; // past the closing quote
        while (pos < line.size() && !IsSeparator(line[pos])) {
            if (line[pos] != ' ' && line[pos] != '\t')
                HOST_USER_ERROR("%s: line %d, column %zu: text after a closing quote", m_Name.c_str(), number,
                                column);
            ++pos;
        }
        return pos;
    }

    Separator m_Separator;
    shr::GString m_Name;
};

bool IsTextMarker(const std::string& cell)
{
    static const char* const markers[] = {"na", "n/a", "nan", "null", "none", "nodata", "-", "*"};
    const std::string lower = Lower(cell);
    return std::any_of(std::begin(markers), std::end(markers), [&](const char* m) { return lower == m; });
}

bool IsNumericMarker(double value)
{
    static const double markers[] = {-999.0, -999.25, -9999.0, -99999.0, 1e30};
    return std::find(std::begin(markers), std::end(markers), value) != std::end(markers);
}

// A whole cell as a finite number; a decimal comma is taken when `decimalComma`.
bool ParseNumber(const std::string& cell, bool decimalComma, double& value)
{
    if (cell.empty())
        return false;
    std::string text = cell;
    if (decimalComma && text.find('.') == std::string::npos)
        std::replace(text.begin(), text.end(), ',', '.');
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    value = std::strtod(begin, &end);
    return end != begin && *end == '\0' && errno != ERANGE && std::isfinite(value);
}

// The header name stripped of a unit in brackets, lower case, without blanks
// and underscores: "Easting (m)" -> "easting", "X_Coord" -> "xcoord".
std::string NormalisedName(const std::string& name)
{
    std::string base = name.substr(0, name.find_first_of("([{"));
    base.erase(std::remove_if(base.begin(), base.end(), [](char c) { return c == ' ' || c == '_' || c == '-'; }),
               base.end());
    return Lower(base);
}

// Axis names in order of preference.
const std::vector<std::vector<const char*>>& AxisNames()
{
    static const std::vector<std::vector<const char*>> names = {
        {"x", "easting", "east", "e", "xcoord", "xcoordinate", "utme", "utmeast", "utmeasting", "eastings"},
        {"y", "northing", "north", "n", "ycoord", "ycoordinate", "utmn", "utmnorth", "utmnorthing", "northings"},
        {"z", "elevation", "elev", "rl", "height", "zcoord", "zcoordinate", "altitude", "alt"},
    };
    return names;
}

const char* const kDepthNames[] = {"depth", "tvd", "tvdss"};

bool IsAxisName(const std::string& name)
{
    for (const auto& names : AxisNames()) {
        if (std::any_of(names.begin(), names.end(), [&](const char* n) { return name == n; }))
            return true;
    }
    return std::any_of(std::begin(kDepthNames), std::end(kDepthNames), [&](const char* n) { return name == n; });
}

class PointTable {
public:
    PointTable(const shr::GString& name, Separator separator) : m_Name(name), m_DecimalComma(separator == Separator::Semicolon) {}

    PointFile Build(std::vector<Row> rows)
    {
        TakeHeader(rows);
        m_Rows = std::move(rows);
        CheckFieldCounts();
        ClassifyColumns();
        AssignAxes();
        return Fill();
    }

private:
    void TakeHeader(std::vector<Row>& rows)
    {
        if (rows.empty())
            HOST_USER_ERROR("%s: no points in the file", m_Name.c_str());
        const Row& first = rows.front();
        const bool allNumbers = std::all_of(first.fields.begin(), first.fields.end(), [&](const std::string& f) {
            double value;
            return ParseNumber(f, m_DecimalComma, value);
        });
        if (allNumbers) {
            for (size_t c = 0; c < first.fields.size(); ++c)
                m_Names.push_back(shr::ToString("column %zu", c + 1));
            return;
        }
        m_Names = first.fields;
        DropTrailingEmpty(m_Names);
        m_HeaderLine = first.line;
        rows.erase(rows.begin());
        if (rows.empty())
            HOST_USER_ERROR("%s: no points after the header", m_Name.c_str());
    }

    static void DropTrailingEmpty(std::vector<std::string>& fields)
    {
        if (fields.size() > 1 && fields.back().empty())
            fields.pop_back();
    }

    void CheckFieldCounts()
    {
        for (Row& row : m_Rows) {
            if (row.fields.size() == m_Names.size() + 1 && row.fields.back().empty())
                row.fields.pop_back();
            if (row.fields.size() != m_Names.size())
                HOST_USER_ERROR("%s: line %d: %zu fields where the %s has %zu", m_Name.c_str(), row.line,
                                row.fields.size(), m_HeaderLine ? "header" : "first row", m_Names.size());
        }
    }

    // A column is text when its first filled cell is neither a number nor a
    // no-data marker; a column named as a coordinate is always numeric.
    void ClassifyColumns()
    {
        m_IsText.assign(m_Names.size(), false);
        for (size_t c = 0; c < m_Names.size(); ++c) {
            if (m_HeaderLine && IsAxisName(NormalisedName(m_Names[c])))
                continue;
            for (const Row& row : m_Rows) {
                const std::string& cell = row.fields[c];
                if (cell.empty() || IsTextMarker(cell))
                    continue;
                double value;
                m_IsText[c] = !ParseNumber(cell, m_DecimalComma, value);
                break;
            }
        }
    }

    int FindColumn(const char* name, const std::vector<int>& taken) const
    {
        for (size_t c = 0; c < m_Names.size(); ++c) {
            if (!m_IsText[c] && NormalisedName(m_Names[c]) == name &&
                std::find(taken.begin(), taken.end(), static_cast<int>(c)) == taken.end())
                return static_cast<int>(c);
        }
        return -1;
    }

    void AssignAxes()
    {
        std::vector<int> taken;
        if (m_HeaderLine) {
            for (int axis = 0; axis < 3; ++axis) {
                m_Axis[axis] = -1;
                for (const char* name : AxisNames()[static_cast<size_t>(axis)]) {
                    if ((m_Axis[axis] = FindColumn(name, taken)) >= 0)
                        break;
                }
                if (axis == 2 && m_Axis[2] < 0) {
                    for (const char* name : kDepthNames) {
                        if ((m_Axis[2] = FindColumn(name, taken)) >= 0) {
                            m_ZFromDepth = true;
                            break;
                        }
                    }
                }
                if (m_Axis[axis] >= 0)
                    taken.push_back(m_Axis[axis]);
            }
        }
        for (int axis = 0; axis < 3; ++axis) {
            if (m_Axis[axis] >= 0)
                continue;
            for (size_t c = 0; c < m_Names.size() && m_Axis[axis] < 0; ++c) {
                if (!m_IsText[c] && std::find(taken.begin(), taken.end(), static_cast<int>(c)) == taken.end())
                    m_Axis[axis] = static_cast<int>(c);
            }
            if (m_Axis[axis] < 0)
                HOST_USER_ERROR("%s: fewer than three numeric columns for X, Y and Z", m_Name.c_str());
            taken.push_back(m_Axis[axis]);
        }
        for (size_t c = 0; c < m_Names.size(); ++c) {
            if (std::find(taken.begin(), taken.end(), static_cast<int>(c)) != taken.end())
                continue;
            if (!m_IsText[c])
                m_ValueColumns.push_back(c);
            else if (m_LabelColumn < 0)
                m_LabelColumn = static_cast<int>(c);
        }
    }

    // A number cell: NaN for a blank; an error for text.
    double Cell(const Row& row, size_t column, bool blankAllowed) const
    {
        const std::string& cell = row.fields[column];
        double value = 0.0;
        if (ParseNumber(cell, m_DecimalComma, value) && !IsNumericMarker(value))
            return value;
        const bool blank = cell.empty() || IsTextMarker(cell) || ParseNumber(cell, m_DecimalComma, value);
        if (!blank)
            HOST_USER_ERROR("%s: line %d, column %zu (\"%s\"): \"%s\" is not a number", m_Name.c_str(), row.line,
                            column + 1, m_Names[column].c_str(), cell.c_str());
        if (!blankAllowed)
            HOST_USER_ERROR("%s: line %d, column %zu (\"%s\"): a point needs a coordinate, found \"%s\"",
                            m_Name.c_str(), row.line, column + 1, m_Names[column].c_str(), cell.c_str());
        return kNaN;
    }

    PointFile Fill() const
    {
        const size_t count = m_Rows.size();
        const size_t components = m_ValueColumns.size();
        if (count > std::numeric_limits<unsigned int>::max())
            HOST_USER_ERROR("%s: too many points", m_Name.c_str());
        std::vector<double> coords(count * 3);
        std::vector<double> values(count * components);
        for (size_t p = 0; p < count; ++p) {
            const Row& row = m_Rows[p];
            for (int axis = 0; axis < 3; ++axis)
                coords[p * 3 + static_cast<size_t>(axis)] = Cell(row, static_cast<size_t>(m_Axis[axis]), false);
            if (m_ZFromDepth)
                coords[p * 3 + 2] = -coords[p * 3 + 2];
            for (size_t v = 0; v < components; ++v)
                values[p * components + v] = Cell(row, m_ValueColumns[v], true);
        }
        PointFile result;
        result.points = std::make_unique<core::VdPoints>(shr::Double, shr::Double, static_cast<unsigned int>(count),
                                                         coords.data(), values.data(),
                                                         static_cast<unsigned int>(components));
        MarkBlanks(*result.points, values, components);
        AddLabels(*result.points);
        for (size_t c : m_ValueColumns)
            result.valueNames.push_back(m_Names[c]);
        for (int axis = 0; axis < 3; ++axis)
            result.coordNames[axis] = m_HeaderLine ? m_Names[static_cast<size_t>(m_Axis[axis])] : std::string();
        result.zFromDepth = m_ZFromDepth;
        if (m_LabelColumn >= 0)
            result.labelName = m_Names[static_cast<size_t>(m_LabelColumn)];
        return result;
    }

    static void MarkBlanks(core::VdPoints& points, const std::vector<double>& values, size_t components)
    {
        for (size_t i = 0; i < values.size(); ++i) {
            if (std::isnan(values[i]))
                points.SetBlank(static_cast<unsigned int>(i / components), static_cast<unsigned int>(i % components));
        }
    }

    void AddLabels(core::VdPoints& points) const
    {
        if (m_LabelColumn < 0)
            return;
        for (size_t p = 0; p < m_Rows.size(); ++p) {
            const std::string& text = m_Rows[p].fields[static_cast<size_t>(m_LabelColumn)];
            if (!text.empty())
                points.AddLabel(core::LabelStorage::Label(static_cast<unsigned int>(p), text));
        }
    }

    shr::GString m_Name;
    bool m_DecimalComma;
    int m_HeaderLine = 0;
    std::vector<std::string> m_Names;
    std::vector<Row> m_Rows;
    std::vector<bool> m_IsText;
    int m_Axis[3] = {-1, -1, -1};
    bool m_ZFromDepth = false;
    std::vector<size_t> m_ValueColumns;
    int m_LabelColumn = -1;
};

} // namespace

PointFile PointFileReader::Read(const shr::GString& path, const shr::GString& displayName)
{
    const shr::GString name = displayName.empty() ? path : displayName;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        HOST_USER_ERROR("%s: cannot open the point file: %s", name.c_str(), std::strerror(errno));
    // A file's size is known at once; a device or a pipe is read in blocks up
    // to the budget.
    const uint64_t budget = core::MemoryBudget::Bytes();
    const auto refuse = [&] {
        HOST_USER_ERROR("%s: the point file is larger than the memory budget of %s bytes (%s)", name.c_str(),
                        std::to_string(budget).c_str(), core::MemoryBudget::Variable);
    };
    struct stat info {};
    if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && uint64_t(info.st_size) > budget)
        refuse();
    std::string text;
    std::vector<char> block(1 << 16);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
        text.append(block.data(), static_cast<size_t>(file.gcount()));
        if (text.size() > budget)
            refuse();
    }
    if (file.bad())
        HOST_USER_ERROR("%s: cannot read the point file", name.c_str());
    return Parse(text, name);
}

PointFile PointFileReader::Parse(const std::string& text, const shr::GString& name)
{
    const auto lines = SplitLines(text);
    if (lines.empty())
        HOST_USER_ERROR("%s: no points in the file", name.c_str());
    const Separator separator = DetectSeparator(lines.front().second);
    const FieldSplitter splitter(separator, name);
    std::vector<Row> rows;
    rows.reserve(lines.size());
    for (const auto& line : lines)
        rows.push_back(Row{line.first, splitter.Split(line.second, line.first)});
    return PointTable(name, separator).Build(std::move(rows));
}

} // namespace host
