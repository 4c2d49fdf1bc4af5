#include "host/DelimitedText.h"

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
#include <vector>

namespace host {

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

// Held to the memory budget: a regular file's size is known at once; a device
// or a pipe, which has no size to ask for, is read in blocks up to the budget.
std::string ReadTextFile(const shr::GString& path, const shr::GString& name, const char* what)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        HOST_USER_ERROR("%s: cannot open the %s: %s", name.c_str(), what, std::strerror(errno));
    const uint64_t budget = core::MemoryBudget::Bytes();
    const auto refuse = [&] {
        HOST_USER_ERROR("%s: the %s is larger than the memory budget of %s bytes (%s)", name.c_str(), what,
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
        HOST_USER_ERROR("%s: cannot read the %s", name.c_str(), what);
    return text;
}

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

namespace {

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

} // namespace

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

std::vector<std::string> FieldSplitter::Split(const std::string& line, int number) const
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

bool FieldSplitter::IsSeparator(char c) const
{
    switch (m_Separator) {
    case Separator::Comma: return c == ',';
    case Separator::Semicolon: return c == ';';
    case Separator::Tab: return c == '\t';
    case Separator::Blank: return c == ' ' || c == '\t';
    }
    return false;
}

size_t FieldSplitter::SkipBlanks(const std::string& line, size_t pos)
{
    while (pos < line.size() && (line[pos] == ' ' || line[pos] == '\t'))
        ++pos;
    return pos;
}

// Reads one field from `pos`; returns the position of the separator after
// it, or the line's length.
size_t FieldSplitter::ReadField(const std::string& line, size_t pos, int number, size_t column,
                                std::string& field) const
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

size_t FieldSplitter::ReadQuoted(const std::string& line, size_t pos, int number, size_t column,
                                 std::string& field) const
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
            HOST_USER_ERROR("%s: line %d, column %zu: text after a closing quote", m_Name.c_str(), number, column);
        ++pos;
    }
    return pos;
}

std::vector<Row> SplitRows(const std::string& text, const shr::GString& name, Separator& separator)
{
    const auto lines = SplitLines(text);
    separator = lines.empty() ? Separator::Comma : DetectSeparator(lines.front().second);
    const FieldSplitter splitter(separator, name);
    std::vector<Row> rows;
    rows.reserve(lines.size());
    for (const auto& line : lines)
        rows.push_back(Row{line.first, splitter.Split(line.second, line.first)});
    return rows;
}

void DropTrailingEmpty(std::vector<std::string>& fields)
{
    if (fields.size() > 1 && fields.back().empty())
        fields.pop_back();
}

void CheckFieldCounts(std::vector<Row>& rows, size_t count, bool header, const shr::GString& name)
{
    for (Row& row : rows) {
        if (row.fields.size() == count + 1 && row.fields.back().empty())
            row.fields.pop_back();
        if (row.fields.size() != count)
            HOST_USER_ERROR("%s: line %d: %zu fields where the %s has %zu", name.c_str(), row.line,
                            row.fields.size(), header ? "header" : "first row", count);
    }
}

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

std::string NormalisedName(const std::string& name)
{
    std::string base = name.substr(0, name.find_first_of("([{"));
    base.erase(std::remove_if(base.begin(), base.end(), [](char c) { return c == ' ' || c == '_' || c == '-'; }),
               base.end());
    return Lower(base);
}

const std::vector<std::vector<const char*>>& AxisNames()
{
    static const std::vector<std::vector<const char*>> names = {
        {"x", "easting", "east", "e", "xcoord", "xcoordinate", "xloc", "xlocation", "utme", "utmeast", "utmeasting",
         "eastings"},
        {"y", "northing", "north", "n", "ycoord", "ycoordinate", "yloc", "ylocation", "utmn", "utmnorth",
         "utmnorthing", "northings"},
        {"z", "elevation", "elev", "rl", "height", "zcoord", "zcoordinate", "zloc", "altitude", "alt"},
    };
    return names;
}

std::string HeaderUnit(const std::string& name)
{
    const size_t open = name.find_first_of("([{");
    if (open == std::string::npos)
        return std::string();
    const size_t close = name.find_first_of(")]}", open + 1);
    return Lower(Trimmed(name.substr(open + 1, close == std::string::npos ? std::string::npos : close - open - 1)));
}

} // namespace host
