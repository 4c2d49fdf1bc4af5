#include "core/processing/VoDuplicateFilter.h"

#include "core/data/VdPoints.h"
#include "core/gridding/CPointData.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <boost/iterator/filter_iterator.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoDuplicateFilter, VoModule)
const VbModuleInfo VoDuplicateFilter::s_ModuleInfo("Computational\\DuplicateFilter",
                                                   VoDuplicateFilter::GetClassTypeId(), PortPoints, PortPoints,
                                                   "Removes duplicate points from the point set", 1);

namespace VoDuplicateFilterPrivate {

const VbPropertyRegistrar s_Registrars[] = {
    {"DuplicateFilterRule", VoDuplicateFilter::RuleId, VbUnsignedPropertyConverter::Key()},
    {"DuplicateFilterXTolerance", VoDuplicateFilter::XToleranceId, VbDoublePropertyConverter::Key()},
    {"DuplicateFilterYTolerance", VoDuplicateFilter::YToleranceId, VbDoublePropertyConverter::Key()},
    {"DuplicateFilterZTolerance", VoDuplicateFilter::ZToleranceId, VbDoublePropertyConverter::Key()},
};

using Generator = std::minstd_rand;
using Row = CPointDatum;
using Rows = std::vector<CPointDatum>;

double Coordinate(const Row& row, int axis)
{
    return axis == 0 ? row.X() : axis == 1 ? row.Y() : row.Z();
}

// Passes the rows whose value in one component is not blank.
struct DatumComponentValid {
    size_t component;
    bool operator()(const Row& row) const { return !row.IsBlank(component); }
};

// Moves the rows after `head` that lie within the tolerances of it into `set`
// (as copies) and marks them void in the table. The table is sorted by X, so
// the first row beyond the X tolerance ends the walk.
void CollectSet(CPointData& data, size_t head, const double tolerance[3], CPointData& set)
{
    const Row& first = data[head];
    for (size_t r = head + 1; r < data.size(); ++r) {
        Row& row = data[r];
        if (row.IsVoid())
            continue;
        if (std::fabs(row.X() - first.X()) > tolerance[0])
            break;
        if (std::fabs(row.Y() - first.Y()) <= tolerance[1] && std::fabs(row.Z() - first.Z()) <= tolerance[2]) {
            set.push_back(row);
            row.Void();
        }
    }
}

// The row of the set that stands for it under rules First to Random.
const Row& ChooseRow(uint32_t rule, CPointData& set, Generator& random)
{
    const auto byId = [](const Row& a, const Row& b) { return a.ID() < b.ID(); };
    switch (rule) {
    case VoDuplicateFilter::RuleFirst:
        return *std::min_element(set.begin(), set.end(), byId);
    case VoDuplicateFilter::RuleLast:
        return *std::max_element(set.begin(), set.end(), byId);
    case VoDuplicateFilter::RuleRandom:
        return set[random() % set.size()];
    default:
        break;
    }
    const int axis = static_cast<int>((rule - VoDuplicateFilter::RuleMinimumX) / 3);
    const auto byAxis = [axis](const Row& a, const Row& b) { return Coordinate(a, axis) < Coordinate(b, axis); };
    switch ((rule - VoDuplicateFilter::RuleMinimumX) % 3) {
    case 0:
        return *std::min_element(set.begin(), set.end(), byAxis);
    case 1:
        return *std::max_element(set.begin(), set.end(), byAxis);
    default: {
        const auto median = set.begin() + static_cast<std::ptrdiff_t>((set.size() - 1) / 2);
        std::nth_element(set.begin(), median, set.end(), byAxis);
        return *median;
    }
    }
}

// One statistic of a non-empty list of values; the list may be reordered.
// The median of an even count is the mean of the two middle values.
double Statistic(uint32_t rule, std::vector<double>& values)
{
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    double sum = 0.0;
    for (double v : values)
        sum += v;
    switch (rule) {
    case VoDuplicateFilter::RuleMinimum:
        return *low;
    case VoDuplicateFilter::RuleMaximum:
        return *high;
    case VoDuplicateFilter::RuleMidrange:
        return (*low + *high) * 0.5;
    case VoDuplicateFilter::RuleSum:
        return sum;
    case VoDuplicateFilter::RuleAverage:
        return sum / static_cast<double>(values.size());
    default:
        break;
    }
    const size_t half = values.size() / 2;
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(half), values.end());
    const double upper = values[half];
    if (values.size() % 2 == 1)
        return upper;
    const double lower = *std::max_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(half));
    return (lower + upper) * 0.5;
}

// A new row for the set under rules Minimum to Average: the mean position, and
// per component the statistic of the values that are not blank (blank when
// there are none). It comes from no input vertex.
Row MakeRow(uint32_t rule, const CPointData& set, std::vector<double>& values)
{
    const size_t components = static_cast<size_t>(set.GetComponentCount());
    Row row(components);
    double x = 0.0, y = 0.0, z = 0.0;
    for (const Row& member : set) {
        x += member.X();
        y += member.Y();
        z += member.Z();
    }
    const double count = static_cast<double>(set.size());
    row.X() = x / count;
    row.Y() = y / count;
    row.Z() = z / count;
    for (size_t c = 0; c < components; ++c) {
        const DatumComponentValid valid{c};
        values.clear();
        const auto end = boost::make_filter_iterator(valid, set.end(), set.end());
        for (auto it = boost::make_filter_iterator(valid, set.begin(), set.end()); it != end; ++it)
            values.push_back(it->W(c));
        if (!values.empty())
            row.W(c, Statistic(rule, values));
    }
    row.Artificial();
    return row;
}

// The table carries blanks as BLANK_VAL; the point set marks them, so that a
// value blank on input is blank on output.
void MarkBlanks(const CPointData& data, VdPoints& points)
{
    const size_t components = static_cast<size_t>(data.GetComponentCount());
    for (size_t r = 0; r < data.size(); ++r)
        for (size_t c = 0; c < components; ++c)
            if (data[r].IsBlank(c))
                points.SetBlank(static_cast<unsigned int>(r), static_cast<unsigned int>(c));
}

} // namespace VoDuplicateFilterPrivate

using namespace VoDuplicateFilterPrivate;

VoDuplicateFilter::VoDuplicateFilter() : m_Rule(RuleFirst), m_Tolerance{0.0, 0.0, 0.0}
{
    AddInput("Input Points", PortPoints);
    AddOutput("Output Points", PortPoints);
}

const std::vector<shr::GString>& VoDuplicateFilter::RuleStrings()
{
    static const std::vector<shr::GString> labels = {
        "All",       "None",      "First",     "Last",      "Minimum X", "Maximum X", "Median X",
        "Minimum Y", "Maximum Y", "Median Y",  "Minimum Z", "Maximum Z", "Median Z",  "Random",
        "Minimum",   "Maximum",   "Median",    "Midrange",  "Sum",       "Average"};
    return labels;
}

bool VoDuplicateFilter::FilterDuplicates(CPointData& data) const
{
    if (m_Rule >= RuleCount)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid duplicate rule.");
    if (m_Rule == RuleAll || data.size() < 2)
        return true;
    data.Sort();
    Generator random;
    if (m_Rule == RuleRandom)
        random.seed(static_cast<Generator::result_type>(
            std::chrono::system_clock::now().time_since_epoch().count()));

    CPointData set(static_cast<size_t>(data.GetComponentCount()));
    std::vector<double> values;
    VbProgress progress("Filter duplicate points.", 0, 500, 100);
    const size_t rows = data.size();
    for (size_t r = 0; r < rows; ++r) {
        if (data[r].IsVoid())
            continue;
        set.clear();
        set.push_back(data[r]);
        if (!progress.Update(r, rows))
            return false;
        CollectSet(data, r, m_Tolerance, set);
        if (set.size() < 2)
            continue;
        if (m_Rule == RuleNone)
            data[r].Void();
        else if (m_Rule < RuleMinimum)
            data[r] = Row(ChooseRow(m_Rule, set, random));
        else
            data[r] = MakeRow(m_Rule, set, values);
    }
    data.Clean();
    return true;
}

VoModule::ModuleStatus VoDuplicateFilter::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const auto* points = dynamic_cast<const VdPoints*>(GetInputData(0));
    if (!points)
        return ModuleOk;
    CPointData data(points->ComponentCount());
    Convert(*points, data, 0, false);
    if (!FilterDuplicates(data))
        return ModuleAborted;
    auto filtered = std::make_unique<VdPoints>();
    Convert(data, *filtered);
    MarkBlanks(data, *filtered);
    GetOutput(0)->Data(filtered.release());
    return ModuleOk;
}

void VoDuplicateFilter::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), HeaderId, NameAndId(), "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "DuplicateFilterRule", RuleId, "Keep", "Which data to keep from each set of duplicate points.",
                  m_Rule, RuleStrings(), 0);
    list.AddHeader(Id(), ToleranceHeaderId, "Tolerance", "Tolerance", "", "");
    list.Indent();
    static const char* const keys[3] = {"DuplicateFilterXTolerance", "DuplicateFilterYTolerance",
                                        "DuplicateFilterZTolerance"};
    static const char* const labels[3] = {"X tolerance", "Y tolerance", "Z tolerance"};
    static const char* const helps[3] = {"Duplicate neighborhood size along the X-axis.",
                                         "Duplicate neighborhood size along the Y-axis.",
                                         "Duplicate neighborhood size along the Z-axis."};
    for (int axis = 0; axis < 3; ++axis)
        list.AddDouble(Id(), keys[axis], XToleranceId + axis, labels[axis], helps[axis], m_Tolerance[axis],
                       ValCheckForm2, 0.0, 0.0, 0.0);
    list.Outdent();
    list.Outdent();
}

void VoDuplicateFilter::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id == RuleId)
        list.GetValue(id, m_Rule);
    else if (id >= XToleranceId && id <= ZToleranceId)
        list.GetValue(id, m_Tolerance[id - XToleranceId]);
    else
        return;
    SetModified();
}

void VoDuplicateFilter::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Loaded into copies, so that a truncated document leaves the module as it was.
    uint32_t rule = m_Rule;
    double tolerance[3] = {m_Tolerance[0], m_Tolerance[1], m_Tolerance[2]};
    archive.Transfer(rule);
    archive.Transfer(tolerance[0]);
    if (archive.IsStoring() || archive.GetVersion() >= PerAxisToleranceVersion) {
        archive.Transfer(tolerance[1]);
        archive.Transfer(tolerance[2]);
    } else {
        tolerance[1] = tolerance[2] = tolerance[0];
    }
    archive.CheckRange(rule, uint32_t(RuleAll), uint32_t(RuleCount - 1), "the duplicate rule");
    if (archive.IsLoading()) {
        m_Rule = rule;
        std::copy(tolerance, tolerance + 3, m_Tolerance);
    }
}

} // namespace core
