#include "host/WellTableReader.h"

#include "host/DelimitedText.h"
#include "host/HostError.h"

#include <algorithm>
#include <initializer_list>
#include <vector>

namespace host {

namespace {

// Normalised header names, in order of preference.
using Names = std::vector<const char*>;

const Names kWellNames = {"well", "wellname", "wellid",   "uwi",       "api",
                          "hole", "holeid",   "bhid",     "borehole",  "boreholeid"};
// Heads only: a plain name column names the wells.
const Names kHeadNames = {"name"};
const Names kElevationNames = {"kb",   "kbelev", "kbelevation", "rte", "rt",       "df",     "refelev",
                               "reference", "referenceelevation", "datum", "elevation", "elev", "z",
                               "rl",   "collarrl", "height", "altitude"};
const Names kMDNames = {"md", "measureddepth", "mdepth", "depth", "dept"};
const Names kInclinationNames = {"inc", "incl", "inclination", "dev", "devi", "deviation"};
const Names kAzimuthNames = {"az", "azi", "azim", "azimuth", "azm", "bearing"};
const Names kTopNames = {"top", "topmd", "mdtop", "topdepth", "from", "frommd", "depthfrom"};
const Names kBaseNames = {"base", "basemd", "mdbase", "basedepth", "bottom", "bot", "to", "tomd", "depthto"};
const Names kPickNames = {"formation", "zone", "surface", "horizon", "marker", "unit", "interval", "pick", "name"};

constexpr int kNone = -1;

class TableReader {
public:
    TableReader(const shr::GString& name, Separator separator, const std::string& wellName, LengthUnit unit)
        : m_Name(name), m_DecimalComma(separator == Separator::Semicolon), m_WellName(wellName), m_Unit(unit)
    {
    }

    WellTable Read(std::vector<Row> rows)
    {
        if (rows.size() < 2)
            HOST_USER_ERROR("%s: a well table needs a header row and at least one row of data", m_Name.c_str());
        m_Header = rows.front();
        DropTrailingEmpty(m_Header.fields);
        rows.erase(rows.begin());
        CheckFieldCounts(rows, m_Header.fields.size(), true, m_Name);
        m_Rows = std::move(rows);
        for (const std::string& field : m_Header.fields)
            m_Names.push_back(NormalisedName(field));
        m_Well = Find(kWellNames);
        WellTable table;
        table.kind = Classify();
        switch (table.kind) {
        case WellTableKind::Heads: ReadHeads(table); break;
        case WellTableKind::Survey: ReadSurvey(table); break;
        case WellTableKind::Intervals:
        case WellTableKind::Markers: ReadPicks(table); break;
        }
        return table;
    }

private:
    // The first column with one of `names`, in their order of preference.
    int Find(const Names& names, int skip = kNone) const
    {
        for (const char* name : names)
            for (size_t c = 0; c < m_Names.size(); ++c)
                if (m_Names[c] == name && static_cast<int>(c) != skip && static_cast<int>(c) != m_Well)
                    return static_cast<int>(c);
        return kNone;
    }

    // Text when the first filled cell is not a number.
    bool IsText(int column) const
    {
        for (const Row& row : m_Rows) {
            const std::string& cell = row.fields[static_cast<size_t>(column)];
            double value;
            if (!cell.empty())
                return !ParseNumber(cell, m_DecimalComma, value);
        }
        return false;
    }

    WellTableKind Classify()
    {
        m_MD = Find(kMDNames);
        m_Inclination = Find(kInclinationNames);
        m_Azimuth = Find(kAzimuthNames);
        if (m_MD != kNone && m_Inclination != kNone && m_Azimuth != kNone)
            return WellTableKind::Survey;
        m_Top = Find(kTopNames);
        m_Base = Find(kBaseNames);
        if (m_Top != kNone && m_Base != kNone && !IsText(m_Top) && !IsText(m_Base)) {
            FindPickName({m_Top, m_Base});
            return WellTableKind::Intervals;
        }
        m_X = Find(AxisNames()[0]);
        m_Y = Find(AxisNames()[1]);
        if (m_X != kNone && m_Y != kNone) {
            if (m_Well == kNone)
                m_Well = Find(kHeadNames);
            return WellTableKind::Heads;
        }
        const int depth = m_MD != kNone ? m_MD : (m_Top != kNone && !IsText(m_Top) ? m_Top : kNone);
        if (depth != kNone) {
            m_Top = m_Base = depth;
            FindPickName({depth});
            return WellTableKind::Markers;
        }
        HOST_USER_ERROR("%s: line %d: the header names no known well table: heads need well, X, Y and elevation "
                        "(KB) columns; surveys MD, inclination and azimuth; intervals top, base and a name; "
                        "markers MD and a name",
                        m_Name.c_str(), m_Header.line);
    }

    // The name column of intervals and markers: one named so, else the first
    // text column that is neither the well nor a depth.
    void FindPickName(std::initializer_list<int> depths)
    {
        const auto isDepth = [&](int c) { return std::find(depths.begin(), depths.end(), c) != depths.end(); };
        for (const char* name : kPickNames)
            for (size_t c = 0; c < m_Names.size() && m_Pick == kNone; ++c)
                if (m_Names[c] == name && static_cast<int>(c) != m_Well && !isDepth(static_cast<int>(c)))
                    m_Pick = static_cast<int>(c);
        for (size_t c = 0; c < m_Names.size() && m_Pick == kNone; ++c)
            if (static_cast<int>(c) != m_Well && !isDepth(static_cast<int>(c)) && IsText(static_cast<int>(c)))
                m_Pick = static_cast<int>(c);
        if (m_Pick == kNone)
            HOST_USER_ERROR("%s: line %d: no column names the zones or markers (formation, zone, surface, ...)",
                            m_Name.c_str(), m_Header.line);
    }

    [[noreturn]] void CellError(const Row& row, int column, const char* what) const
    {
        const size_t c = static_cast<size_t>(column);
        HOST_USER_ERROR("%s: line %d, column %zu (\"%s\"): %s, found \"%s\"", m_Name.c_str(), row.line, c + 1,
                        m_Header.fields[c].c_str(), what, row.fields[c].c_str());
    }

    double Number(const Row& row, int column) const
    {
        double value = 0.0;
        if (!ParseNumber(row.fields[static_cast<size_t>(column)], m_DecimalComma, value))
            CellError(row, column, "a number is needed");
        return value;
    }

    // The factor that takes a length column to the caller's unit.
    double LengthScale(int column) const
    {
        const std::string& header = m_Header.fields[static_cast<size_t>(column)];
        const std::string unit = HeaderUnit(header);
        if (unit.empty())
            return 1.0;
        LengthUnit from;
        if (!ParseLengthUnit(unit, from))
            HOST_USER_ERROR("%s: line %d, column %d (\"%s\"): the unit \"%s\" is not a length in metres or feet",
                            m_Name.c_str(), m_Header.line, column + 1, header.c_str(), unit.c_str());
        return LengthFactor(from, m_Unit);
    }

    std::string WellOf(const Row& row) const
    {
        if (m_Well == kNone)
            return m_WellName;
        const std::string& name = row.fields[static_cast<size_t>(m_Well)];
        if (name.empty())
            CellError(row, m_Well, "a well name is needed");
        return name;
    }

    void RequireWellColumn() const
    {
        if (m_Well == kNone)
            HOST_USER_ERROR("%s: line %d: the well heads need a well name column (well, UWI, hole ...)",
                            m_Name.c_str(), m_Header.line);
    }

    void ReadHeads(WellTable& table) const
    {
        RequireWellColumn();
        const int elevation = Find(kElevationNames);
        if (elevation == kNone)
            HOST_USER_ERROR("%s: line %d: the well heads need a reference elevation column (KB, elevation, Z ...)",
                            m_Name.c_str(), m_Header.line);
        const double xScale = LengthScale(m_X), yScale = LengthScale(m_Y), zScale = LengthScale(elevation);
        for (const Row& row : m_Rows)
            table.heads.push_back(WellHead{WellOf(row), Number(row, m_X) * xScale, Number(row, m_Y) * yScale,
                                           Number(row, elevation) * zScale});
    }

    void ReadSurvey(WellTable& table) const
    {
        const double scale = LengthScale(m_MD);
        for (const Row& row : m_Rows) {
            const double inclination = Number(row, m_Inclination);
            if (inclination < 0.0 || inclination > 180.0)
                CellError(row, m_Inclination, "an inclination from 0 to 180 degrees is needed");
            table.stations.push_back(
                SurveyStation{WellOf(row), Number(row, m_MD) * scale, inclination, Number(row, m_Azimuth)});
        }
    }

    void ReadPicks(WellTable& table) const
    {
        const double topScale = LengthScale(m_Top), baseScale = LengthScale(m_Base);
        table.pickName = m_Header.fields[static_cast<size_t>(m_Pick)];
        for (const Row& row : m_Rows) {
            const std::string& name = row.fields[static_cast<size_t>(m_Pick)];
            if (name.empty())
                CellError(row, m_Pick, "a name is needed");
            const double top = Number(row, m_Top) * topScale, base = Number(row, m_Base) * baseScale;
            if (base < top)
                CellError(row, m_Base, "the base lies above the top");
            table.picks.push_back(WellPick{WellOf(row), top, base, name});
        }
    }

    shr::GString m_Name;
    bool m_DecimalComma;
    std::string m_WellName;
    LengthUnit m_Unit;
    Row m_Header;
    std::vector<std::string> m_Names;
    std::vector<Row> m_Rows;
    int m_Well = kNone, m_MD = kNone, m_Inclination = kNone, m_Azimuth = kNone;
    int m_Top = kNone, m_Base = kNone, m_Pick = kNone, m_X = kNone, m_Y = kNone;
};

} // namespace

WellTable WellTableReader::Read(const shr::GString& path, const shr::GString& displayName,
                                const std::string& wellName, LengthUnit unit)
{
    const shr::GString name = displayName.empty() ? path : displayName;
    return Parse(ReadTextFile(path, name, "well table"), name, wellName, unit);
}

WellTable WellTableReader::Parse(const std::string& text, const shr::GString& name, const std::string& wellName,
                                 LengthUnit unit)
{
    Separator separator;
    std::vector<Row> rows = SplitRows(text, name, separator);
    return TableReader(name, separator, wellName, unit).Read(std::move(rows));
}

} // namespace host
