#pragma once
// DelimitedText: the reading of delimited text files that the host's readers
// share (points, well heads, surveys, tops): lines with their numbers, the
// separator told from the first row, fields split with quotes, numbers and
// no-data markers, and header names brought to a comparable form.
//
// Separator: a tab, else semicolon or comma (whichever occurs more often
// outside quotes), else runs of blanks. With semicolons, numbers may use a
// decimal comma. Fields may be quoted ("a, b"; "" is a quote inside). A UTF-8
// byte-order mark, CRLF line ends, blank lines and comment lines starting with
// # are accepted.
//
// Errors are the host's user errors and name the file, the line and the
// column: "<file>: line <n>, column <c>: <what>".
#include "shr/GString.h"

#include <string>
#include <utility>
#include <vector>

namespace host {

enum class Separator { Comma, Semicolon, Tab, Blank };

// One line of a file: its number from 1, and its fields or text.
struct Row {
    int line = 0;
    std::vector<std::string> fields;
};

std::string Lower(std::string text);
// Without blanks and tabs at both ends.
std::string Trimmed(const std::string& text);

// The whole file; `what` names the kind of file in the error ("point file").
// A file larger than the memory budget (FENRAK_MEMORY_LIMIT) is refused.
std::string ReadTextFile(const shr::GString& path, const shr::GString& name, const char* what);

// Lines without their ends, numbered from 1; blank and comment lines dropped.
std::vector<std::pair<int, std::string>> SplitLines(const std::string& text);

Separator DetectSeparator(const std::string& firstLine);

class FieldSplitter {
public:
    FieldSplitter(Separator separator, const shr::GString& name) : m_Separator(separator), m_Name(name) {}

    // The fields of line number `number`; an unterminated quote or text after
    // a closing quote is an error.
    std::vector<std::string> Split(const std::string& line, int number) const;

private:
    bool IsSeparator(char c) const;
    static size_t SkipBlanks(const std::string& line, size_t pos);
    size_t ReadField(const std::string& line, size_t pos, int number, size_t column, std::string& field) const;
    size_t ReadQuoted(const std::string& line, size_t pos, int number, size_t column, std::string& field) const;

    Separator m_Separator;
    shr::GString m_Name;
};

// SplitLines, DetectSeparator from the first line, and the fields of every line.
std::vector<Row> SplitRows(const std::string& text, const shr::GString& name, Separator& separator);

// Drops a trailing empty field (a header row ending in a separator).
void DropTrailingEmpty(std::vector<std::string>& fields);
// Every row must have `count` fields (one more, empty, is dropped); an error
// names the first row that has not. `header` says whether the count comes
// from a header or from the first row.
void CheckFieldCounts(std::vector<Row>& rows, size_t count, bool header, const shr::GString& name);

// Text that stands for no data: NA, N/A, NaN, null, none, nodata, -, *.
bool IsTextMarker(const std::string& cell);
// Numbers that stand for no data: -999, -999.25, -9999, -99999, 1e30.
bool IsNumericMarker(double value);
// A whole cell as a finite number; a decimal comma is taken when `decimalComma`.
bool ParseNumber(const std::string& cell, bool decimalComma, double& value);

// The header name stripped of a unit in brackets, lower case, without blanks,
// underscores and hyphens: "Easting (m)" -> "easting", "X_Coord" -> "xcoord".
std::string NormalisedName(const std::string& name);
// Header names of the X, Y and Z columns (index 0 to 2), normalised, in order
// of preference: x/easting/east/e..., y/northing/north/n..., z/elevation/elev/rl...
const std::vector<std::vector<const char*>>& AxisNames();

// The unit in brackets of a header name, lower case: "MD (ft)" -> "ft"; "" if none.
std::string HeaderUnit(const std::string& name);

} // namespace host
