#include "host/PointFileReader.h"

#include "host/DelimitedText.h"
#include "host/HostError.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace host {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

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

    void CheckFieldCounts() { host::CheckFieldCounts(m_Rows, m_Names.size(), m_HeaderLine != 0, m_Name); }

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
    return Parse(ReadTextFile(path, name, "point file"), name);
}

PointFile PointFileReader::Parse(const std::string& text, const shr::GString& name)
{
    Separator separator;
    std::vector<Row> rows = SplitRows(text, name, separator);
    if (rows.empty())
        HOST_USER_ERROR("%s: no points in the file", name.c_str());
    return PointTable(name, separator).Build(std::move(rows));
}

} // namespace host
