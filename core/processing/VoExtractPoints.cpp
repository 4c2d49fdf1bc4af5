#include "core/processing/VoExtractPoints.h"

#include "core/data/LatticeUtility.h"
#include "core/data/PrimConvert.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/PropertyError.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/wells/VdWellData.h"
#include "shr/Archive.h"
#include "shr/StringLess.h"
#include "shr/StringUtil.h"

#include <set>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoExtractPoints, VoModule)

const VbModuleInfo VoExtractPoints::s_ModuleInfo("Computational\\ExtractPoints", VoExtractPoints::GetClassTypeId(),
                                                 46, PortPoints,
                                                 "Extracts points from the input lattice or well data", 30);

namespace ExtractPointsPrivate {

struct Registrars {
    Registrars()
    {
        VbPropertyRegistry& registry = VbPropertyRegistry::Instance();
        registry.Set("ExtractPointsUseDefaultValue", VoExtractPoints::IdUseDefault, VbBoolPropertyConverter::Key());
        registry.Set("ExtractPointsDefaultValue", VoExtractPoints::IdDefaultValue, VbDoublePropertyConverter::Key());
        registry.Set("ExtractPointsOutComps", VoExtractPoints::IdOutComponents, VbUnsignedPropertyConverter::Key());
        for (unsigned int n = 0; n < VoExtractPoints::MaxNumOutputComponents(); ++n)
            registry.Set(shr::ToString("ExtractPointsComp%u", n + 1), static_cast<unsigned short>(
                                                                          VoExtractPoints::IdFirstComponent + n),
                         VbStringPropertyConverter::Key());
    }
};
const Registrars s_Registrars;

// Every progress report costs a clock reading: report once per this many points.
constexpr uint32_t kProgressStride = 4096;

// The output as it grows: double coordinates, `components` double values per
// point, and the (point, component) pairs that are blank.
class PointBuilder {
public:
    PointBuilder(unsigned int components, bool useDefault) : m_Components(components), m_UseDefault(useDefault) {}

    void Reserve(size_t points)
    {
        m_Coords.reserve(points * 3);
        m_Values.reserve(points * m_Components);
    }
    void AddPoint(const shr::Vec3d& position)
    {
        m_Coords.insert(m_Coords.end(), {position.x, position.y, position.z});
    }
    // A value of the latest point; one that the source did not have is a
    // blank unless defaults stand in.
    void AddValue(double value, bool found)
    {
        const size_t index = m_Values.size();
        m_Values.push_back(value);
        if (!found && !m_UseDefault)
            m_Blanks.emplace_back(static_cast<unsigned int>(index / m_Components),
                                  static_cast<unsigned int>(index % m_Components));
    }
    std::unique_ptr<VdPoints> Make() const
    {
        const unsigned int count = static_cast<unsigned int>(m_Coords.size() / 3);
        auto points = std::make_unique<VdPoints>(shr::Double, shr::Double, count, m_Coords.data(),
                                                 m_Values.empty() ? nullptr : m_Values.data(), m_Components);
        for (const auto& blank : m_Blanks)
            points->SetBlank(blank.first, blank.second);
        return points;
    }

private:
    unsigned int m_Components;
    bool m_UseDefault;
    std::vector<double> m_Coords;
    std::vector<double> m_Values;
    std::vector<std::pair<unsigned int, unsigned int>> m_Blanks;
};

// One output component read from a lattice component of element type T.
template <class T>
class LatticeExtractor {
public:
    // `number` counts components from 1; 0 or one past the count reads nothing.
    LatticeExtractor(const VdLattice& lattice, double defaultValue, unsigned int number)
        : m_Lattice(lattice), m_Values(static_cast<const T*>(lattice.DataPtr())), m_Stride(lattice.ComponentCount()),
          m_Default(defaultValue), m_Component(number > 0 ? number - 1 : 0),
          m_Valid(number > 0 && number <= lattice.ComponentCount())
    {
    }

    bool Value(uint32_t node, double& out) const
    {
        if (m_Valid && !m_Lattice.IsBlank(node, m_Component)) {
            out = PrimConvert<double>(m_Values[uint64_t(node) * m_Stride + m_Component]);
            return true;
        }
        out = m_Default;
        return false;
    }

private:
    const VdLattice& m_Lattice;
    const T* m_Values;
    uint64_t m_Stride;
    double m_Default;
    unsigned int m_Component;
    bool m_Valid;
};

// One output component read from the log of that name on the current well.
class LogExtractor {
public:
    LogExtractor(double defaultValue, const shr::GString& name) : m_Default(defaultValue), m_Name(name) {}

    void Update(const Well& well)
    {
        m_Log.reset();
        if (!m_Name.empty())
            m_Log = well.Log(m_Name);
    }
    // The log's step value at md; the default value and false where it has none.
    bool Value(double md, double& out) const
    {
        if (m_Log && m_Log->Interpolate(md, out))
            return true;
        out = m_Default;
        return false;
    }

private:
    double m_Default;
    shr::GString m_Name;
    std::shared_ptr<const WellLog> m_Log;
};

std::vector<LogExtractor> ConstructLogExtractors(const std::vector<shr::GString>& names, double defaultValue,
                                                 unsigned int count)
{
    if (count > names.size())
        VB_THROW_CORE("Requested output count out of range.");
    std::vector<LogExtractor> extractors;
    for (unsigned int n = 0; n < count; ++n)
        extractors.emplace_back(defaultValue, names[n]);
    return extractors;
}

// The depths of interest along one well: its path points and the valid
// entries of the chosen logs it has, merged in depth order, each depth once.
class MDExtractor {
public:
    MDExtractor(const Well& well, const std::vector<shr::GString>& names)
        : m_Path(well.path_begin()), m_PathEnd(well.path_end())
    {
        CollectLogs(well, names);
    }

    bool NextMD(double& md)
    {
        bool found = m_Path != m_PathEnd;
        if (found)
            md = m_Path->MD();
        for (const Cursor& log : m_Logs) {
            if (log.at != log.end && (!found || log.at->MD() < md)) {
                md = log.at->MD();
                found = true;
            }
        }
        if (found)
            Increment(md);
        return found;
    }

private:
    struct Cursor {
        std::shared_ptr<const WellLog> log; // keeps the iterators valid
        WellLog::filtered_iterator at, end;
    };

    void CollectLogs(const Well& well, const std::vector<shr::GString>& names)
    {
        std::set<shr::GString, shr::StringLess> taken;
        for (const shr::GString& name : names) {
            if (name.empty() || !taken.insert(name).second)
                continue;
            if (std::shared_ptr<const WellLog> log = well.Log(name))
                m_Logs.push_back(Cursor{log, log->filtered_begin(), log->filtered_end()});
        }
    }

    // Moves past everything at or above md. "Not below" rather than "at or
    // above" so that an entry whose MD is NaN is passed too and the walk ends.
    void Increment(double md)
    {
        while (m_Path != m_PathEnd && !(m_Path->MD() > md))
            ++m_Path;
        for (Cursor& log : m_Logs)
            while (log.at != log.end && !(log.at->MD() > md))
                ++log.at;
    }

    Well::Path::const_iterator m_Path, m_PathEnd;
    std::vector<Cursor> m_Logs;
};

} // namespace ExtractPointsPrivate

using namespace ExtractPointsPrivate;

VoExtractPoints::VoExtractPoints() : m_Selected(MaxNumOutputComponents())
{
    AddInput("Input Data", 46);
    AddOutput("Output Point Data", PortPoints);
}

const VdLattice* VoExtractPoints::InputLattice() const { return dynamic_cast<const VdLattice*>(GetInputData(0)); }
const VdWellData* VoExtractPoints::InputWells() const { return dynamic_cast<const VdWellData*>(GetInputData(0)); }

std::vector<shr::GString> VoExtractPoints::CollectComponents(const VdLattice& lattice)
{
    return core::CollectComponents(lattice);
}

std::vector<shr::GString> VoExtractPoints::CollectComponents(const VdWellData& wells)
{
    std::set<shr::GString, shr::StringLess> names;
    for (const auto& well : wells)
        for (auto log = well->log_begin(); log != well->log_end(); ++log)
            names.insert((*log)->Name());
    return std::vector<shr::GString>(names.begin(), names.end());
}

std::vector<shr::GString> VoExtractPoints::CollectComponents() const
{
    if (const VdLattice* lattice = InputLattice())
        return CollectComponents(*lattice);
    if (const VdWellData* wells = InputWells())
        return CollectComponents(*wells);
    return {};
}

void VoExtractPoints::OnInputChanged(int, bool) { UiProxy::Instance()->UpdatePropertyList(this, -1, true); }

void VoExtractPoints::UpdatePropertiesImpl(VbPropList& list)
{
    const VoModule* source = GetInputConnection(0, 0);
    list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    list.AddCheck(Id(), "ExtractPointsUseDefaultValue", IdUseDefault, "Use default value",
                  "Substitute default value for null (blank) values.", m_UseDefault);
    list.AddDouble(Id(), "ExtractPointsDefaultValue", IdDefaultValue, "Default value",
                   "The default component value used to replace null (blank) values.", m_DefaultValue, ValCheckNone,
                   0.0, 0.0, 0.0);
    list.Enabled(IdDefaultValue, m_UseDefault);
    list.Outdent();
    list.AddHeader(Id(), IdComponentsHeader, "Output Components", "Output Components", "", "");
    list.Indent();
    list.AddUnsigned(Id(), "ExtractPointsOutComps", IdOutComponents, "Output components",
                     "The number of components in the output points.", m_OutComponents, ValCheckMinMax, 1,
                     MaxNumOutputComponents(), 1);
    UpdateComponents(list, m_OutComponents);
    list.Outdent();
    list.EnabledRecursive(IdComponentsHeader, !CollectComponents().empty(), true);
}

void VoExtractPoints::UpdateComponents(VbPropList& list, unsigned int count) const
{
    if (count < 1 || count > MaxNumOutputComponents())
        VB_THROW_CORE("Requested component count out of range.");
    const auto ids = ComponentIdRange();
    for (int id = ids.first; id <= ids.second; ++id)
        if (list.IsProp(id))
            list.Remove(id);
    const std::vector<shr::GString> names = CollectComponents();
    for (unsigned int n = 0; n < count; ++n)
        list.AddStringCombo(Id(), shr::ToString("ExtractPointsComp%u", n + 1), ids.first + static_cast<int>(n),
                            shr::ToString("Component [%u]", n + 1).c_str(),
                            "The source component mapped to the output component.", m_Selected[n], names, 0);
}

void VoExtractPoints::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    const auto ids = ComponentIdRange();
    if (id == IdUseDefault) {
        list.GetValue(id, m_UseDefault);
        list.Enabled(IdDefaultValue, m_UseDefault);
    } else if (id == IdDefaultValue) {
        list.GetValue(id, m_DefaultValue);
    } else if (id == IdOutComponents) {
        unsigned int count = 0;
        list.GetValue(id, count);
        UpdateComponents(list, count);
        m_OutComponents = count;
    } else if (id >= ids.first && id <= ids.second) {
        list.GetValue(id, m_Selected[static_cast<size_t>(id - ids.first)]);
    } else {
        return;
    }
    SetModified();
}

void VoExtractPoints::CheckOutputCount() const
{
    if (m_OutComponents > m_Selected.size())
        VB_THROW_CORE("Requested output count out of range.");
}

VoModule::ModuleStatus VoExtractPoints::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    VbProgress progress("Extract points.", 0, 500, 100);
    bool aborted = false;
    std::unique_ptr<VdPoints> points;
    if (const VdLattice* lattice = InputLattice())
        points = Extract(*lattice, progress, aborted);
    else if (const VdWellData* wells = InputWells())
        points = Extract(*wells, progress, aborted);
    if (aborted)
        return ModuleAborted;
    GetOutput(0)->Data(points.release());
    return ModuleOk;
}

std::unique_ptr<VdPoints> VoExtractPoints::Extract(const VdLattice& lattice, VbProgress& progress,
                                                   bool& aborted) const
{
    if (static_cast<unsigned int>(lattice.DataType()) > shr::Double)
        VB_THROW_CORE("Invalid input lattice type.");
    CheckOutputCount();
    const std::vector<unsigned int> numbers = ParseComponentNames(m_Selected);
    return DispatchPrimType(lattice.DataType(), [&](auto tag) -> std::unique_ptr<VdPoints> {
        using Element = typename decltype(tag)::Type;
        std::vector<LatticeExtractor<Element>> extractors;
        for (unsigned int n = 0; n < m_OutComponents; ++n)
            extractors.emplace_back(lattice, m_DefaultValue, numbers[n]);
        const uint32_t nodes = lattice.VertexCount();
        PointBuilder builder(m_OutComponents, m_UseDefault);
        builder.Reserve(nodes);
        for (uint32_t node = 0; node < nodes; ++node) {
            if (node % kProgressStride == 0 && !progress.Update(node, nodes)) {
                aborted = true;
                return nullptr;
            }
            builder.AddPoint(lattice.IndexToXYZ(node));
            for (const auto& extractor : extractors) {
                double value = 0.0;
                const bool found = extractor.Value(node, value);
                builder.AddValue(value, found);
            }
        }
        return builder.Make();
    });
}

std::unique_ptr<VdPoints> VoExtractPoints::Extract(const VdWellData& wells, VbProgress& progress,
                                                   bool& aborted) const
{
    size_t pathPoints = 0;
    for (const auto& well : wells)
        pathPoints += well->path_size();
    if (pathPoints == 0)
        return nullptr;
    std::vector<LogExtractor> extractors = ConstructLogExtractors(m_Selected, m_DefaultValue, m_OutComponents);
    const std::vector<shr::GString> names(m_Selected.begin(), m_Selected.begin() + m_OutComponents);
    PointBuilder builder(m_OutComponents, m_UseDefault);
    size_t done = 0;
    for (const auto& well : wells) {
        if (!progress.Update(done++, wells.size())) {
            aborted = true;
            return nullptr;
        }
        for (LogExtractor& extractor : extractors)
            extractor.Update(*well);
        MDExtractor depths(*well, names);
        double md = 0.0;
        WellPathPoint point;
        // A log sample beyond the path ends this well's walk.
        while (depths.NextMD(md) && well->Interpolate(md, point)) {
            builder.AddPoint(wells.UVWToXYZ(shr::Vec3d(point)));
            for (const LogExtractor& extractor : extractors) {
                double value = 0.0;
                const bool found = extractor.Value(md, value);
                builder.AddValue(value, found);
            }
        }
    }
    return builder.Make();
}

void VoExtractPoints::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    uint32_t outComponents = m_OutComponents;
    double defaultValue = m_DefaultValue;
    std::vector<shr::GString> selected = m_Selected;
    bool useDefault = m_UseDefault;
    archive.Transfer(outComponents);
    archive.Transfer(defaultValue);
    uint32_t count = static_cast<uint32_t>(selected.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        if (outComponents < 1 || outComponents > MaxNumOutputComponents())
            archive.ThrowFormatError("%u output components where 1 to %u are allowed", outComponents,
                                     MaxNumOutputComponents());
        if (count > MaxNumOutputComponents())
            archive.ThrowFormatError("%u component names where at most %u are allowed", count,
                                     MaxNumOutputComponents());
        selected.assign(MaxNumOutputComponents(), shr::GString());
    }
    for (uint32_t n = 0; n < count; ++n)
        archive.Transfer(selected[n]);
    archive.Transfer(useDefault);
    if (archive.IsLoading()) {
        m_OutComponents = outComponents;
        m_DefaultValue = defaultValue;
        m_Selected = std::move(selected);
        m_UseDefault = useDefault;
    }
}

} // namespace core
