#include "host/WellSetLoader.h"

#include "core/wells/VdWellData.h"
#include "core/wells/WellPathGenerator.h"
#include "host/DelimitedText.h"
#include "host/HostError.h"
#include "host/LasReader.h"
#include "host/WellTableReader.h"
#include "shr/Path.h"
#include "shr/StringLess.h"

#include <algorithm>
#include <set>

namespace host {

namespace {

// One file, read and checked.
struct WellFile {
    shr::GString path;
    bool isLas = false;
    LasFile las;
    WellTable table;
};

std::string FileWellName(const shr::GString& path) { return shr::CPath(path).GetName(); }

WellFile ReadWellFile(const shr::GString& path, LengthUnit unit)
{
    WellFile file;
    file.path = path;
    const std::string text = ReadTextFile(path, path, "well file");
    file.isLas = LasReader::IsLas(text);
    if (file.isLas)
        file.las = LasReader::Parse(text, path);
    else
        file.table = WellTableReader::Parse(text, path, FileWellName(path), unit);
    return file;
}

core::Well& Obtain(core::VdWellData& wells, const std::string& name)
{
    const shr::GString trimmed = Trimmed(name);
    if (trimmed.empty())
        HOST_USER_ERROR("a well without a name: give it a well column, a WELL line or a file name");
    if (std::shared_ptr<core::Well> well = wells.Well(trimmed))
        return *well;
    auto well = std::make_shared<core::Well>(trimmed);
    wells.AddWell(well);
    return *well;
}

void ReplaceLog(core::Well& well, std::shared_ptr<core::WellLog> log)
{
    if (well.HasLog(log->Name()))
        well.RemoveLog(log->Name());
    well.AddLog(std::move(log));
}

// Rows of a table by well, in file order.
template <class Item>
std::map<std::string, std::vector<Item>, shr::StringLess> ByWell(const std::vector<Item>& items)
{
    std::map<std::string, std::vector<Item>, shr::StringLess> groups;
    for (const Item& item : items)
        groups[item.well].push_back(item);
    return groups;
}

void MergeHeads(const WellTable& table, core::VdWellData& wells)
{
    for (const WellHead& head : table.heads)
        Obtain(wells, head.well).Top(shr::Point3<double>(head.x, head.y, head.elevation));
}

void MergeSurvey(const WellTable& table, core::VdWellData& wells)
{
    for (const auto& group : ByWell(table.stations)) {
        core::Well& well = Obtain(wells, group.first);
        well.trajectory_clear();
        for (const SurveyStation& station : group.second)
            well.AddTrajectoryPoint(core::WellTrajectoryPoint(station.azimuth, station.inclination, station.md));
        well.UpdateByDepth();
    }
}

// A name no other log of the file has taken yet: "GR", then "GR (2)" ...
std::string UniqueLogName(const std::string& mnemonic, std::set<std::string, shr::StringLess>& taken)
{
    std::string name = mnemonic;
    for (int n = 2; !taken.insert(name).second; ++n)
        name = mnemonic + " (" + std::to_string(n) + ")";
    return name;
}

void MergeLas(const WellFile& file, core::VdWellData& wells, LengthUnit unit)
{
    const LasFile& las = file.las;
    core::Well& well = Obtain(wells, las.wellName.empty() ? FileWellName(file.path) : las.wellName);
    const double factor = LengthFactor(las.depthUnit, unit);
    const std::vector<double>& depths = las.curves.front().values;
    // Logs recorded upwards are read from the bottom, so that entries append.
    const bool upwards = depths.size() > 1 && depths.front() > depths.back();
    std::set<std::string, shr::StringLess> taken{las.curves.front().item.mnemonic};
    for (size_t c = 1; c < las.curves.size(); ++c) {
        const LasCurve& curve = las.curves[c];
        auto log = std::make_shared<core::WellLog>(
            core::LogInit{UniqueLogName(curve.item.mnemonic, taken), las.nullValue});
        for (size_t n = 0; n < depths.size(); ++n) {
            const size_t row = upwards ? depths.size() - 1 - n : n;
            log->Append(core::LogEntry(depths[row] * factor, curve.values[row]));
        }
        log->UpdateIntervals();
        ReplaceLog(well, log);
    }
}

// The zone code of each name: 1, 2 ... in name order.
std::map<std::string, double> ZoneCodes(const WellTable& table, std::vector<std::string>& names)
{
    std::set<std::string> distinct;
    for (const WellPick& pick : table.picks)
        distinct.insert(pick.name);
    names.assign(distinct.begin(), distinct.end());
    std::map<std::string, double> codes;
    for (size_t n = 0; n < names.size(); ++n)
        codes[names[n]] = static_cast<double>(n + 1);
    return codes;
}

void MergePicks(const WellTable& table, core::VdWellData& wells, WellLoadReport& report)
{
    const std::map<std::string, double> codes = ZoneCodes(table, report.zoneCodes[table.pickName]);
    const bool markers = table.kind == WellTableKind::Markers;
    for (auto& group : ByWell(table.picks)) {
        std::vector<WellPick>& picks = group.second;
        std::stable_sort(picks.begin(), picks.end(),
                         [](const WellPick& a, const WellPick& b) { return a.top < b.top; });
        auto log = std::make_shared<core::WellLog>(core::LogInit{table.pickName, core::WellLog::DefaultNullValue});
        for (size_t n = 0; n < picks.size(); ++n) {
            const WellPick& pick = picks[n];
            log->Append(core::LogEntry(pick.top, pick.base, codes.at(pick.name)));
            const bool gapFollows = n + 1 == picks.size() || picks[n + 1].top > pick.base;
            if (!markers && gapFollows)
                log->Append(core::LogEntry(pick.base, log->NullValue()));
        }
        if (markers)
            log->UpdateIntervals();
        ReplaceLog(Obtain(wells, group.first), log);
    }
}

// The deepest MD a well's logs reach; 0 without logs.
double DeepestLogMD(const core::Well& well)
{
    double deepest = 0.0;
    std::pair<double, double> range;
    for (auto log = well.log_begin(); log != well.log_end(); ++log)
        if ((*log)->MDRange(range))
            deepest = std::max(deepest, range.second);
    return deepest;
}

void MakePaths(core::VdWellData& wells, const shr::GString& method, WellLoadReport& report)
{
    if (method.empty())
        return;
    const std::unique_ptr<core::WellPathGenerator> generator = core::WellPathGeneratorFactory::Construct(method);
    if (!generator)
        HOST_USER_ERROR("\"%s\" is not a well path method (MinimumCurvature, BalancedTangential, AverageAngle, "
                        "Tangential)",
                        method.c_str());
    for (const std::shared_ptr<core::Well>& well : generator->GenerateAll(wells.Group())) {
        if (!well->path_empty())
            continue; // a path of its own, given as it stands
        const double deepest = DeepestLogMD(*well);
        if (well->HasTop() && well->trajectory_empty() && deepest > 0.0)
            well->UpdatePath(0.0, -90.0, deepest);
        else if (!well->HasTop())
            report.notes.push_back(well->Name() + ": no path, the well has no head (top)");
        else if (!well->trajectory_empty())
            report.notes.push_back(well->Name() + ": no path, its survey has fewer than three stations");
        else
            report.notes.push_back(well->Name() + ": no path, the well has neither a survey nor logs");
    }
}

} // namespace

WellLoadReport WellSetLoader::Load(const std::vector<shr::GString>& paths, core::VdWellData& wells,
                                   const WellLoadOptions& options)
{
    std::vector<WellFile> files;
    for (const shr::GString& path : paths)
        files.push_back(ReadWellFile(path, options.unit));
    WellLoadReport report;
    std::unique_ptr<core::VdWellData> merged = wells.Clone();
    for (const WellFile& file : files) {
        if (file.isLas)
            MergeLas(file, *merged, options.unit);
        else if (file.table.kind == WellTableKind::Heads)
            MergeHeads(file.table, *merged);
        else if (file.table.kind == WellTableKind::Survey)
            MergeSurvey(file.table, *merged);
        else
            MergePicks(file.table, *merged, report);
    }
    MakePaths(*merged, options.pathMethod, report);
    for (const auto& well : *merged)
        well->ShrinkToFit();
    wells.Group() = std::move(merged->Group());
    return report;
}

} // namespace host
