#include "host/PointFileReader.h"

#include "host/DelimitedText.h"
#include "host/HostError.h"
#include "shr/Logger.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>

namespace host {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A cell outside the laboratory's range of detection: "<0.01" (below),
// ">100" (above), or a word for it with no limit ("BDL", "ND").
struct Detection {
    enum Kind { Not, Below, Above, Word } kind = Not;
    double limit = 0.0;
};

Detection ReadDetection(const std::string& cell, bool decimalComma)
{
    static const char* const words[] = {"bdl", "nd", "n.d.", "lod", "<lod", "<dl", "bd", "b.d.l.", "<bdl"};
    Detection detection;
    const std::string lower = Lower(cell);
    if (std::any_of(std::begin(words), std::end(words), [&](const char* w) { return lower == w; })) {
        detection.kind = Detection::Word;
        return detection;
    }
    if (cell.size() < 2 || (cell[0] != '<' && cell[0] != '>'))
        return detection;
    double limit = 0.0;
    if (!ParseNumber(Trimmed(cell.substr(1)), decimalComma, limit) || limit < 0.0)
        return detection;
    detection.kind = cell[0] == '<' ? Detection::Below : Detection::Above;
    detection.limit = limit;
    return detection;
}

// A header name as the column rules compare it: NormalisedName without dots
// and number signs either, so that "No." and "#" name identifiers.
std::string ComparableName(const std::string& name)
{
    std::string base = NormalisedName(name);
    base.erase(std::remove_if(base.begin(), base.end(), [](char c) { return c == '.' || c == '#'; }), base.end());
    return base;
}

const std::vector<const char*> kDepthNames = {"depth", "tvd", "tvdss"};
// Geographic coordinates: X and Y only when nothing else is.
const std::vector<std::vector<const char*>> kGeographicNames = {{"lon", "long", "longitude"},
                                                                 {"lat", "latitude"}};

bool Among(const std::string& name, const std::vector<const char*>& names)
{
    return std::any_of(names.begin(), names.end(), [&](const char* n) { return name == n; });
}

bool IsIdentifierName(const std::string& name)
{
    static const std::vector<const char*> names = {
        "id", "index", "idx", "no", "nr", "num", "number", "sample", "sampleid", "sampleno", "samplenumber",
        "hole", "holeid", "bhid", "bh", "borehole", "boreholeid", "well", "wellid", "name", "site", "siteid",
        "station", "stationid", "point", "pointid", "pid", "fid", "objectid", "oid", "key", "label", "code"};
    return Among(name, names);
}

bool IsGeographicName(const std::string& name)
{
    return Among(name, kGeographicNames[0]) || Among(name, kGeographicNames[1]);
}

bool IsCoordinateName(const std::string& name)
{
    for (const auto& names : AxisNames()) {
        if (Among(name, names))
            return true;
    }
    return Among(name, kDepthNames) || IsGeographicName(name);
}

const char kAxisLetters[3] = {'X', 'Y', 'Z'};

class PointTable {
public:
    PointTable(const shr::GString& name, Separator separator, const PointFileOptions& options)
        : m_Name(name), m_DecimalComma(separator == Separator::Semicolon), m_Options(options)
    {
    }

    PointFile Build(std::vector<Row> rows)
    {
        TakeHeader(rows);
        m_Rows = std::move(rows);
        CheckFieldCounts(m_Rows, m_Names.size(), m_HeaderLine != 0, m_Name);
        ClassifyColumns();
        AssignAxes();
        AssignValuesAndLabels();
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

    std::string Normalised(size_t column) const { return m_HeaderLine ? ComparableName(m_Names[column]) : ""; }

    // A column is text only when its cells are text throughout: one number
    // or below-detection cell makes it a number column (whose text cells are
    // then errors). Empty cells and no-data markers say nothing either way; a
    // column of nothing else holds blanks. A column named as a coordinate is
    // always numeric.
    void ClassifyColumns()
    {
        m_IsText.assign(m_Names.size(), false);
        for (size_t c = 0; c < m_Names.size(); ++c) {
            if (IsCoordinateName(Normalised(c)))
                continue;
            for (const Row& row : m_Rows) {
                const std::string& cell = row.fields[c];
                double value;
                if (cell.empty() || IsTextMarker(cell))
                    continue;
                if (ParseNumber(cell, m_DecimalComma, value) ||
                    ReadDetection(cell, m_DecimalComma).kind != Detection::Not) {
                    m_IsText[c] = false;
                    break;
                }
                m_IsText[c] = true;
            }
        }
    }

    bool Taken(int column) const { return std::find(m_Taken.begin(), m_Taken.end(), column) != m_Taken.end(); }

    void Take(int column)
    {
        if (column >= 0)
            m_Taken.push_back(column);
    }

    // The column the caller chose; -1 for none. Errors name the role.
    int Chosen(const ColumnChoice& choice, const std::string& role) const
    {
        if (choice.kind == ColumnChoice::Numbered) {
            if (choice.number < 1 || choice.number > m_Names.size())
                HOST_USER_ERROR("%s: column %zu (for %s) is not in the file, which has %zu", m_Name.c_str(),
                                choice.number, role.c_str(), m_Names.size());
            return static_cast<int>(choice.number - 1);
        }
        if (choice.kind != ColumnChoice::Named)
            return -1;
        for (size_t c = 0; c < m_Names.size(); ++c) {
            if (strcasecmp(Trimmed(m_Names[c]).c_str(), Trimmed(choice.name).c_str()) == 0)
                return static_cast<int>(c);
        }
        std::string names;
        for (const std::string& n : m_Names)
            names += (names.empty() ? "" : ", ") + n;
        HOST_USER_ERROR("%s: no column \"%s\" (for %s); the columns are %s", m_Name.c_str(), choice.name.c_str(),
                        role.c_str(), names.c_str());
    }

    int ChosenNumber(const ColumnChoice& choice, const std::string& role) const
    {
        const int column = Chosen(choice, role);
        if (column >= 0 && m_IsText[static_cast<size_t>(column)])
            HOST_USER_ERROR("%s: column \"%s\" (for %s) holds text, not numbers", m_Name.c_str(),
                            m_Names[static_cast<size_t>(column)].c_str(), role.c_str());
        return column;
    }

    int FindByName(const std::vector<const char*>& names) const
    {
        for (const char* name : names) {
            for (size_t c = 0; c < m_Names.size(); ++c) {
                if (!m_IsText[c] && Normalised(c) == name && !Taken(static_cast<int>(c)))
                    return static_cast<int>(c);
            }
        }
        return -1;
    }

    int FirstNumberLeft() const
    {
        for (size_t c = 0; c < m_Names.size(); ++c) {
            const int column = static_cast<int>(c);
            if (!m_IsText[c] && !Taken(column) && !IsIdentifierName(Normalised(c)) && !IsGeographicName(Normalised(c)))
                return column;
        }
        return -1;
    }

    void AssignAxes()
    {
        bool byRules[3];
        for (int axis = 0; axis < 3; ++axis) {
            const ColumnChoice& choice = m_Options.axes[axis];
            byRules[axis] = choice.kind == ColumnChoice::ByRules;
            m_Axis[axis] = ChosenNumber(choice, std::string(1, char(std::tolower(kAxisLetters[axis]))));
            Take(m_Axis[axis]);
        }
        for (int axis = 0; axis < 3; ++axis) {
            if (!byRules[axis] || !m_HeaderLine)
                continue;
            m_Axis[axis] = FindByName(AxisNames()[static_cast<size_t>(axis)]);
            if (axis == 2 && m_Axis[2] < 0 && (m_Axis[2] = FindByName(kDepthNames)) >= 0)
                m_ZFromDepth = true;
            Take(m_Axis[axis]);
        }
        for (int axis = 0; axis < 2; ++axis) {
            if (byRules[axis] && m_Axis[axis] < 0 && m_HeaderLine)
                Take(m_Axis[axis] = FindByName(kGeographicNames[static_cast<size_t>(axis)]));
        }
        // X and Y by name and no Z by name: a map of points at Z = 0.
        const bool flat = m_HeaderLine && byRules[2] && m_Axis[2] < 0 && m_Axis[0] >= 0 && m_Axis[1] >= 0 &&
                          byRules[0] && byRules[1];
        for (int axis = 0; axis < 3; ++axis) {
            if (!byRules[axis] || m_Axis[axis] >= 0 || (axis == 2 && flat))
                continue;
            Take(m_Axis[axis] = FirstNumberLeft());
            if (m_Axis[axis] < 0 && axis < 2)
                HOST_USER_ERROR("%s: no number column for %c (give the point set's \"columns\")", m_Name.c_str(),
                                kAxisLetters[axis]);
        }
    }

    void AssignValuesAndLabels()
    {
        if (m_Options.label.kind != ColumnChoice::ByRules) {
            m_LabelColumn = Chosen(m_Options.label, "the labels");
            Take(m_LabelColumn);
        }
        if (m_Options.valuesGiven) {
            for (size_t v = 0; v < m_Options.values.size(); ++v) {
                const int column = ChosenNumber(m_Options.values[v], shr::ToString("value %zu", v + 1));
                m_ValueColumns.push_back(static_cast<size_t>(column));
                Take(column);
            }
        }
        for (size_t c = 0; c < m_Names.size(); ++c) {
            const int column = static_cast<int>(c);
            if (Taken(column))
                continue;
            const std::string name = Normalised(c);
            const bool identifier = IsIdentifierName(name);
            if (m_Options.label.kind == ColumnChoice::ByRules && (m_IsText[c] || identifier) &&
                (m_LabelColumn < 0 || (identifier && !IsIdentifierName(Normalised(size_t(m_LabelColumn))))))
                m_LabelColumn = column;
            else if (!m_IsText[c] && IsGeographicName(name) && !m_Options.valuesGiven)
                m_Ignored.push_back(c);
            else if (!m_IsText[c] && !identifier && !m_Options.valuesGiven)
                m_ValueColumns.push_back(c);
        }
    }

    // A number cell: NaN for a blank; an error for text. A below-detection
    // cell follows the rule and is counted in `censored`.
    double Cell(const Row& row, size_t column, bool blankAllowed, size_t* censored) const
    {
        const std::string& cell = row.fields[column];
        double value = 0.0;
        if (ParseNumber(cell, m_DecimalComma, value) && !IsNumericMarker(value))
            return value;
        const Detection detection = censored ? ReadDetection(cell, m_DecimalComma) : Detection();
        if (detection.kind != Detection::Not) {
            ++*censored;
            return Censored(detection);
        }
        const bool blank = cell.empty() || IsTextMarker(cell) || ParseNumber(cell, m_DecimalComma, value);
        if (!blank)
            HOST_USER_ERROR("%s: line %d, column %zu (\"%s\"): \"%s\" is not a number", m_Name.c_str(), row.line,
                            column + 1, m_Names[column].c_str(), cell.c_str());
        if (!blankAllowed)
            HOST_USER_ERROR("%s: line %d, column %zu (\"%s\"): a point needs a coordinate, found \"%s\"",
                            m_Name.c_str(), row.line, column + 1, m_Names[column].c_str(), cell.c_str());
        return kNaN;
    }

    double Censored(const Detection& detection) const
    {
        using Rule = PointFileOptions::BelowDetection;
        if (detection.kind == Detection::Word || m_Options.belowDetection == Rule::Blank)
            return kNaN;
        if (detection.kind == Detection::Below && m_Options.belowDetection == Rule::Half)
            return detection.limit / 2.0;
        return detection.limit;
    }

    PointFile Fill() const
    {
        const size_t count = m_Rows.size();
        const size_t components = m_ValueColumns.size();
        if (count > std::numeric_limits<unsigned int>::max())
            HOST_USER_ERROR("%s: too many points", m_Name.c_str());
        PointFile result;
        result.pointCount = count;
        result.censored.assign(components, 0);
        std::vector<double> coords(count * 3, 0.0);
        std::vector<double> values(count * components);
        for (size_t p = 0; p < count; ++p) {
            const Row& row = m_Rows[p];
            for (int axis = 0; axis < 3; ++axis) {
                if (m_Axis[axis] >= 0)
                    coords[p * 3 + size_t(axis)] = Cell(row, static_cast<size_t>(m_Axis[axis]), false, nullptr);
            }
            if (m_ZFromDepth)
                coords[p * 3 + 2] = -coords[p * 3 + 2];
            for (size_t v = 0; v < components; ++v)
                values[p * components + v] = Cell(row, m_ValueColumns[v], true, &result.censored[v]);
        }
        result.points = std::make_unique<core::VdPoints>(shr::Double, shr::Double, static_cast<unsigned int>(count),
                                                         coords.data(), values.data(),
                                                         static_cast<unsigned int>(components));
        MarkBlanks(*result.points, values, components);
        AddLabels(*result.points);
        Describe(result);
        return result;
    }

    void Describe(PointFile& result) const
    {
        for (size_t c : m_ValueColumns)
            result.valueNames.push_back(m_Names[c]);
        for (int axis = 0; axis < 3; ++axis)
            result.coordNames[axis] = m_Axis[axis] >= 0 ? m_Names[static_cast<size_t>(m_Axis[axis])] : std::string();
        result.zFromDepth = m_ZFromDepth;
        if (m_LabelColumn >= 0)
            result.labelName = m_Names[static_cast<size_t>(m_LabelColumn)];
        for (size_t c : m_Ignored)
            result.ignoredNames.push_back(m_Names[c]);
        result.belowDetection = m_Options.belowDetection;
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
    const PointFileOptions& m_Options;
    int m_HeaderLine = 0;
    std::vector<std::string> m_Names;
    std::vector<Row> m_Rows;
    std::vector<bool> m_IsText;
    std::vector<int> m_Taken;
    int m_Axis[3] = {-1, -1, -1};
    bool m_ZFromDepth = false;
    std::vector<size_t> m_ValueColumns;
    std::vector<size_t> m_Ignored;
    int m_LabelColumn = -1;
};

} // namespace

const char* PointFileOptions::RuleName(BelowDetection rule)
{
    switch (rule) {
    case BelowDetection::Half: return "half";
    case BelowDetection::Limit: return "limit";
    default: return "blank";
    }
}

std::string PointFileReading::Describe() const
{
    std::string text;
    for (int axis = 0; axis < 3; ++axis) {
        text += std::string(axis ? ", " : "") + kAxisLetters[axis] + " = ";
        if (!coordNames[axis].empty())
            text += coordNames[axis] + (axis == 2 && zFromDepth ? " (depth, negated)" : "");
        else
            text += "0 (2-D)";
    }
    const auto list = [](const std::vector<std::string>& names) {
        std::string joined;
        for (const std::string& name : names)
            joined += (joined.empty() ? "" : ", ") + name;
        return joined;
    };
    text += "; values: " + (valueNames.empty() ? std::string("none") : list(valueNames));
    text += "; labels: " + (labelName.empty() ? std::string("none") : labelName);
    if (!ignoredNames.empty())
        text += "; not used: " + list(ignoredNames);
    std::string censoredText;
    for (size_t v = 0; v < censored.size(); ++v) {
        if (censored[v])
            censoredText += (censoredText.empty() ? "" : ", ") + valueNames[v] + " " + std::to_string(censored[v]);
    }
    if (!censoredText.empty())
        text += std::string("; below detection (read as ") + PointFileOptions::RuleName(belowDetection) +
                "): " + censoredText;
    return text;
}

std::string PointFileReading::Summary() const
{
    return std::to_string(pointCount) + " points; " + Describe();
}

PointFile PointFileReader::Read(const shr::GString& path, const shr::GString& displayName,
                                const PointFileOptions& options)
{
    const shr::GString name = displayName.empty() ? path : displayName;
    const std::string text = ReadTextFile(path, name, "point file");
    PointFile points = Parse(text, name, options);
    shr::g_Logger.Send(kInfoLevel, name + ": " + points.Summary());
    return points;
}

PointFile PointFileReader::Parse(const std::string& text, const shr::GString& name, const PointFileOptions& options)
{
    Separator separator;
    std::vector<Row> rows = SplitRows(text, name, separator);
    if (rows.empty())
        HOST_USER_ERROR("%s: no points in the file", name.c_str());
    return PointTable(name, separator, options).Build(std::move(rows));
}

} // namespace host
