#include "core/wells/VoWellRender.h"

#include "core/data/VdGeometry.h"
#include "core/graphics/VgMaterial.h"
#include "core/graphics/VgRenderer.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/PropertyError.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPair.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/visual/RowReader.h"
#include "core/wells/VdWellData.h"
#include "core/wells/WellUtility.h"
#include "shr/Archive.h"
#include "shr/Mat4d.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <string>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoWellRender, VoModule)
const VbModuleInfo VoWellRender::s_ModuleInfo("Graphics Output\\WellRender", VoWellRender::GetClassTypeId(),
                                              PortWellData, PortGeometry, "Renders well data", 33);

namespace VoWellRenderPrivate {

// The rows of one like group, and the prefix of its keys.
struct GroupRows {
    Kind kind;
    int header;
    const char* title;
    int colorMethod, color, colorLog, colorMap, sizeMethod, sizeLog, size, legendHeader, legend;
    const char* prefix;
    const char* legendTitle;
};

const GroupRows kGroups[] = {
    {PathData, 14, "Path Data", 18, 19, 21, 20, 49, 51, 50, 22, 23, "WellRenderPath", "Path Legend"},
    {DirectionalData, 52, "Directional Data", 57, 58, 60, 59, 88, 90, 89, 61, 62, "WellRenderDirData",
     "Directional Data Legend"},
    {IntervalData, 91, "Interval Data", 95, 97, 127, 98, 96, 128, 126, 99, 100, "WellRenderIntData",
     "Interval Data Legend"},
};

const GroupRows& RowsOf(Kind kind) { return kGroups[kind]; }

const char* const kMethodNames[] = {"Fixed", "By log"};
const char* const kStyleNames[] = {"Tubes", "Lines"};
const char* const kJustificationNames[] = {"Left", "Right", "Center"};
const char* const kSourceNames[] = {"From/To values", "Log values"};

bool RegisterKeys()
{
    VbPropertyRegistry& registry = VbPropertyRegistry::Instance();
    const unsigned char kBool = VbBoolPropertyConverter::Key(), kText = VbStringPropertyConverter::Key(),
                        kChoice = VbUnsignedPropertyConverter::Key(), kDouble = VbDoublePropertyConverter::Key(),
                        kColor = VbColorPropertyConverter::Key(), kInt = VbIntPropertyConverter::Key();
    const struct {
        const char* key;
        int id;
        unsigned char converter;
    } rows[] = {
        {"WellRenderShowLabels", VoWellRender::IdShowLabels, kBool},
        {"WellRenderFont", VoWellRender::IdFont, kText},
        {"WellRenderLabelSize", VoWellRender::IdLabelSize, kDouble},
        {"WellRenderLabelColor", VoWellRender::IdLabelColor, kColor},
        {"WellRenderLabelJustification", VoWellRender::IdJustification, kChoice},
        {"WellRenderXOffset", VoWellRender::IdXOffset, kInt},
        {"WellRenderYOffset", VoWellRender::IdYOffset, kInt},
        {"WellRenderShowLeaderLines", VoWellRender::IdShowLeaderLines, kBool},
        {"WellRenderLeaderLineWidth", VoWellRender::IdLeaderLineWidth, kDouble},
        {"WellRenderShowPath", VoWellRender::IdShowPath, kBool},
        {"WellRenderPathStyle", VoWellRender::IdPathStyle, kChoice},
        {"WellRenderShowDirData", VoWellRender::IdShowDirData, kBool},
        {"WellRenderDirDataAzLog", VoWellRender::IdDirDataAzLog, kText},
        {"WellRenderDirDataDipLog", VoWellRender::IdDirDataDipLog, kText},
        {"WellRenderShowIntData", VoWellRender::IdShowIntData, kBool},
        {"WellRenderIntDataSource", VoWellRender::IdIntDataSource, kChoice},
        {"WellRenderIntDataLog", VoWellRender::IdIntDataLog, kText},
        {"WellRenderShowWell", VoWellRender::IdShowWell, kBool},
    };
    for (const auto& row : rows)
        registry.Set(row.key, static_cast<unsigned short>(row.id), row.converter);
    for (const GroupRows& group : kGroups) {
        const shr::GString prefix = group.prefix;
        const struct {
            const char* suffix;
            int id;
            unsigned char converter;
        } groupRows[] = {
            {"ColorMethod", group.colorMethod, kChoice},
            {"Color", group.color, kColor},
            {"ColorLog", group.colorLog, kText},
            {"ColorMap", group.colorMap, VbColorMapPropertyConverter::Key()},
            {"SizeMethod", group.sizeMethod, kChoice},
            {"SizeLog", group.sizeLog, kText},
            {"Size", group.size, kDouble},
        };
        for (const auto& row : groupRows)
            registry.Set(prefix + row.suffix, static_cast<unsigned short>(row.id), row.converter);
        VbLegend::RegisterKeys(group.prefix, group.legend);
    }
    return true;
}

const bool s_KeysRegistered = RegisterKeys();

// The text an event or a row carries; empty for anything else.
shr::GString AnyText(const boost::any& value)
{
    if (const auto* text = boost::any_cast<shr::GString>(&value))
        return *text;
    if (const auto* text = boost::any_cast<std::string>(&value))
        return *text;
    return shr::GString();
}

// A method row's choice, 0 or 1.
void ReadMethod(VbPropList& list, int id, int32_t& method)
{
    uint32_t value = static_cast<uint32_t>(method);
    RowReader::Choice(list, id, 2, value);
    method = static_cast<int32_t>(value);
}

} // namespace VoWellRenderPrivate

using namespace VoWellRenderPrivate;

VoWellRender::VoWellRender()
{
    AddInput("Input Well Data", PortWellData);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoWellRender::~VoWellRender() = default;

const VdWellData* VoWellRender::InputWellData() const
{
    return dynamic_cast<const VdWellData*>(GetInputData(0));
}

bool VoWellRender::Visible(const Well& well) const { return m_HiddenWells.count(well.Name()) == 0; }

// ---- logs and their ranges --------------------------------------------------------------------

std::vector<shr::GString> VoWellRender::CollectLogs(const VdWellData& wellData)
{
    WellNames names;
    for (const auto& well : wellData)
        for (auto log = well->log_begin(); log != well->log_end(); ++log)
            names.insert((*log)->Name());
    return std::vector<shr::GString>(names.begin(), names.end());
}

bool VoWellRender::CollectLogRange(const VdWellData& wellData, const shr::GString& logName, Range& range,
                                   std::vector<uint32_t>* histogram)
{
    if (logName.empty())
        VB_THROW_CORE("Log name must be non-empty.");
    Range found = EmptyRange();
    bool any = false;
    for (const auto& well : wellData) {
        const std::shared_ptr<const WellLog> log = well->Log(logName);
        std::pair<double, double> own;
        if (log && log->Range(own)) {
            found.first = std::min(found.first, own.first);
            found.second = std::max(found.second, own.second);
            any = true;
        }
    }
    if (!any)
        return false;
    range = found;
    std::vector<uint32_t> oneBin(1);
    std::vector<uint32_t>& bins = histogram ? *histogram : oneBin;
    if (bins.empty())
        VB_THROW_CORE("Histogram storage must be non-empty.");
    std::fill(bins.begin(), bins.end(), 0u);
    std::vector<unsigned int> counts(bins.size());
    for (const auto& well : wellData) {
        if (const std::shared_ptr<const WellLog> log = well->Log(logName)) {
            Histogram(*log, found, counts);
            for (size_t bin = 0; bin < bins.size(); ++bin)
                bins[bin] += counts[bin];
        }
    }
    return true;
}

void VoWellRender::SetLogLimits(Kind kind, VbPropList* list)
{
    const VdWellData* wells = InputWellData();
    DataGroup<false> group = Group(kind);
    Range range;
    if (!wells || group.colorLog.empty() || !CollectLogRange(*wells, group.colorLog, range, &group.histogram))
        return;
    // The map follows automatically: its window moves with its data limits.
    group.colorMap.SetDataLimits(range.first, range.second);
    const int row = RowsOf(kind).colorMap;
    // The host's row gets a copy of the map and the histogram.
    if (list && list->IsProp(row))
        list->AnyValue(row, VbColorMapPair(group.colorMap, {group.histogram.begin(), group.histogram.end()}), false);
}

void VoWellRender::SetSizeRange(Kind kind)
{
    const VdWellData* wells = InputWellData();
    DataGroup<false> group = Group(kind);
    if (wells && !group.sizeLog.empty())
        CollectLogRange(*wells, group.sizeLog, group.sizeRange, nullptr);
}

void VoWellRender::OnInputChanged(int, bool)
{
    const VdWellData* wells = InputWellData();
    if (!wells)
        return;
    m_Logs = CollectLogs(*wells);
    for (Kind kind : {PathData, DirectionalData, IntervalData}) {
        if (Group(kind).colorMethod == ByLog)
            SetLogLimits(kind, nullptr);
        if (Group(kind).sizeMethod == ByLog)
            SetSizeRange(kind);
    }
    UiProxy::Instance()->UpdatePropertyList(this, -1, true);
}

// ---- rows -------------------------------------------------------------------------------------

void VoWellRender::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    UpdateWells(list);
    AddLabelRows(list);
    list.Outdent();
    AddGroupRows(list, DirectionalData);
    AddGroupRows(list, IntervalData);
    AddGroupRows(list, PathData);
}

void VoWellRender::UpdateWells(VbPropList& list) const
{
    const VdWellData* wells = InputWellData();
    const unsigned int count = wells ? static_cast<unsigned int>(wells->size()) : 0u;
    list.AddHeader(Id(), IdWells, "Wells", "General",
                   shr::ToString(count == 1 ? "(%u well)" : "(%u wells)", count), "The wells that are drawn.");
    if (!wells)
        return;
    list.Indent();
    int id = BaseWellId();
    for (const auto& well : *wells) {
        list.AddCheck(Id(), "WellRenderShowWell", id, well->Name().c_str(), "Draw this well.", Visible(*well));
        list.UserData(id++, shr::GString("Well=" + well->Name()));
    }
    list.Outdent();
}

void VoWellRender::AddLabelRows(VbPropList& list) const
{
    const TextFormat& f = m_TextFormat;
    list.AddHeader(Id(), IdLabels, "Labels", "General", "", "The well names at the tops.");
    list.Indent();
    list.AddCheck(Id(), "WellRenderShowLabels", IdShowLabels, "Show labels", "Write each well's name at its top.",
                  f.m_Flag1);
    list.AddFont(Id(), "WellRenderFont", IdFont, "Font", "The face of the labels.", f.m_Face);
    list.AddDouble(Id(), "WellRenderLabelSize", IdLabelSize, "Size (points)", "The size of the labels.", f.m_Height,
                   ValCheckMinMax, kMinLabelSize, kMaxLabelSize, 1.0);
    list.AddColor(Id(), "WellRenderLabelColor", IdLabelColor, "Color", "The colour of the labels.", f.m_Color);
    list.AddCombo(Id(), "WellRenderLabelJustification", IdJustification, "Justification",
                  "Where a label stands against its anchor.", static_cast<unsigned int>(f.m_Justification), 3,
                  const_cast<const char**>(kJustificationNames), 0);
    list.AddInt(Id(), "WellRenderXOffset", IdXOffset, "X offset (pixels)",
                "How far right of the top a label is anchored.", int(f.m_Floats[0]), ValCheckMinMax, -100, 100, 1);
    list.AddInt(Id(), "WellRenderYOffset", IdYOffset, "Y offset (pixels)", "How far above the top a label is anchored.",
                int(f.m_Floats[1]), ValCheckMinMax, -100, 100, 1);
    list.AddCheck(Id(), "WellRenderShowLeaderLines", IdShowLeaderLines, "Show leader lines",
                  "Draw a line from each top to its label.", f.m_Flag4);
    list.AddDouble(Id(), "WellRenderLeaderLineWidth", IdLeaderLineWidth, "Leader line width (points)",
                   "The width of the leader lines.", f.m_Floats[3], ValCheckMinMax, 0.0, 10.0, 0.5);
    list.Outdent();
}

void VoWellRender::AddGroupRows(VbPropList& list, Kind kind)
{
    const GroupRows& rows = RowsOf(kind);
    DataGroup<false> group = Group(kind);
    const shr::GString prefix = rows.prefix;
    list.AddHeader(Id(), rows.header, rows.title, rows.title, "", "");
    list.Indent();
    switch (kind) {
    case PathData:
        list.AddCheck(Id(), "WellRenderShowPath", IdShowPath, "Show paths", "Draw the well paths.", m_ShowPath);
        list.AddCombo(Id(), "WellRenderPathStyle", IdPathStyle, "Path style", "Tubes of a radius, or lines of a width.",
                      static_cast<unsigned int>(m_PathStyle), 2, const_cast<const char**>(kStyleNames), 0);
        break;
    case DirectionalData:
        list.AddCheck(Id(), "WellRenderShowDirData", IdShowDirData, "Show dir. data",
                      "Draw a disk at each depth of the azimuth log, turned by the azimuth and the dip.",
                      m_ShowDirData);
        list.AddStringCombo(Id(), "WellRenderDirDataAzLog", IdDirDataAzLog, "Azimuth log",
                            "The log of the azimuths, in degrees clockwise from north.", m_DirDataAzLog, m_Logs, 0);
        list.AddStringCombo(Id(), "WellRenderDirDataDipLog", IdDirDataDipLog, "Dip log",
                            "The log of the dips, in degrees from the horizontal.", m_DirDataDipLog, m_Logs, 0);
        break;
    case IntervalData:
        list.AddCheck(Id(), "WellRenderShowIntData", IdShowIntData, "Show intervals",
                      "Draw a sleeve over the path for each interval of the interval log.", m_ShowIntervals);
        list.AddCombo(Id(), "WellRenderIntDataSource", IdIntDataSource, "Data source",
                      "An interval runs to the entry's end, or as far as the entry's value.",
                      static_cast<unsigned int>(m_IntDataSource), 2, const_cast<const char**>(kSourceNames), 0);
        list.AddStringCombo(Id(), "WellRenderIntDataLog", IdIntDataLog, "Interval log", "The log of the intervals.",
                            m_IntDataLog, m_Logs, 0);
        break;
    }
    list.AddCombo(Id(), prefix + "ColorMethod", rows.colorMethod, "Color method", "A fixed colour, or one by log.",
                  static_cast<unsigned int>(group.colorMethod), 2, const_cast<const char**>(kMethodNames), 0);
    list.AddColor(Id(), prefix + "Color", rows.color, "Color", "The fixed colour.", group.color);
    list.AddStringCombo(Id(), prefix + "ColorLog", rows.colorLog, "Color log", "The log whose values give the colour.",
                        group.colorLog, m_Logs, 0);
    list.AddColorMap(Id(), prefix + "ColorMap", rows.colorMap, "Colormap", "Maps the colour log's values to colour.",
                     group.colorMap, &group.histogram, false);
    list.AddCombo(Id(), prefix + "SizeMethod", rows.sizeMethod, "Size method",
                  "A fixed size, or from half to one and a half times it by log.",
                  static_cast<unsigned int>(group.sizeMethod), 2, const_cast<const char**>(kMethodNames), 0);
    list.AddStringCombo(Id(), prefix + "SizeLog", rows.sizeLog, "Size log", "The log whose values give the size.",
                        group.sizeLog, m_Logs, 0);
    list.AddDouble(Id(), prefix + "Size", rows.size, "Size",
                   kind == PathData ? "The radius of the tubes, or the width of the lines." : "The radius.",
                   group.size, ValCheckMinMax, 0.0, MaxSize, 1.0);
    list.AddHeader(Id(), rows.legendHeader, rows.legendTitle, rows.title, "", "");
    list.Indent();
    group.legend.GetProperties(Id(), list, prefix, rows.legend, "Legend", rows.title);
    list.Outdent();
    list.Outdent();
    UpdateColorRows(list, kind);
    UpdateSizeRows(list, kind);
}

void VoWellRender::UpdateColorRows(VbPropList& list, Kind kind)
{
    const GroupRows& rows = RowsOf(kind);
    const bool byLog = Group(kind).colorMethod == ByLog;
    list.Visible(rows.color, !byLog);
    list.Visible(rows.colorLog, byLog);
    list.Visible(rows.colorMap, byLog);
    Group(kind).legend.Enabled(list, rows.legend, byLog);
}

void VoWellRender::UpdateSizeRows(VbPropList& list, Kind kind) const
{
    list.Visible(RowsOf(kind).sizeLog, Group(kind).sizeMethod == ByLog);
}

// ---- events -----------------------------------------------------------------------------------

void VoWellRender::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    TextFormat& f = m_TextFormat;
    switch (id) {
    case IdShowLabels: list.GetValue(id, f.m_Flag1); break;
    case IdFont: {
        shr::GString face = f.m_Face;
        list.GetValue(id, face);
        if (!face.empty())
            f.m_Face = face;
        break;
    }
    case IdLabelSize: RowReader::Clamped(list, id, kMinLabelSize, kMaxLabelSize, f.m_Height); break;
    case IdLabelColor: list.GetValue(id, f.m_Color); break;
    case IdJustification: {
        uint32_t justification = static_cast<uint32_t>(f.m_Justification);
        RowReader::Choice(list, id, 3, justification);
        f.m_Justification = static_cast<TextFormat::Justification>(justification);
        break;
    }
    case IdXOffset:
    case IdYOffset: {
        int offset = int(f.m_Floats[id - IdXOffset]);
        RowReader::Clamped(list, id, -100, 100, offset);
        f.m_Floats[id - IdXOffset] = float(offset);
        break;
    }
    case IdShowLeaderLines: list.GetValue(id, f.m_Flag4); break;
    case IdLeaderLineWidth: RowReader::Clamped(list, id, 0.0, 10.0, f.m_Floats[3]); break;
    case IdShowPath: list.GetValue(id, m_ShowPath); break;
    case IdPathStyle: ReadMethod(list, id, m_PathStyle); break;
    case IdShowDirData: list.GetValue(id, m_ShowDirData); break;
    case IdDirDataAzLog: list.GetValue(id, m_DirDataAzLog); break;
    case IdDirDataDipLog: list.GetValue(id, m_DirDataDipLog); break;
    case IdShowIntData: list.GetValue(id, m_ShowIntervals); break;
    case IdIntDataSource: ReadMethod(list, id, m_IntDataSource); break;
    case IdIntDataFill: list.GetValue(id, m_IntDataFill); break;
    case IdIntDataLog: list.GetValue(id, m_IntDataLog); break;
    case IdShowWell: WellEvent(list, event); break;
    default:
        if (GroupEvent(list, id))
            break;
        // The legends' rows, by the range of ids each group reserves.
        if (id <= 48)
            m_PathLegend.PropertyEvent(Id(), list, event, RowsOf(PathData).legend);
        else if (id <= 87)
            m_DirDataLegend.PropertyEvent(Id(), list, event, RowsOf(DirectionalData).legend);
        else if (id <= 125)
            m_IntDataLegend.PropertyEvent(Id(), list, event, RowsOf(IntervalData).legend);
        break;
    }
    SetModified();
}

bool VoWellRender::GroupEvent(VbPropList& list, int id)
{
    for (const GroupRows& rows : kGroups) {
        DataGroup<false> group = Group(rows.kind);
        if (id == rows.colorMethod) {
            ReadMethod(list, id, group.colorMethod);
            UpdateColorRows(list, rows.kind);
            if (group.colorMethod == ByLog)
                SetLogLimits(rows.kind, &list);
        } else if (id == rows.color) {
            list.GetValue(id, group.color);
        } else if (id == rows.colorLog || id == rows.colorMap) {
            if (id == rows.colorLog)
                list.GetValue(id, group.colorLog);
            else
                list.GetValue(id, group.colorMap);
            SetLogLimits(rows.kind, &list);
        } else if (id == rows.sizeMethod) {
            ReadMethod(list, id, group.sizeMethod);
            UpdateSizeRows(list, rows.kind);
            if (group.sizeMethod == ByLog)
                SetSizeRange(rows.kind);
        } else if (id == rows.sizeLog) {
            list.GetValue(id, group.sizeLog);
            SetSizeRange(rows.kind);
        } else if (id == rows.size) {
            RowReader::Clamped(list, id, 0.0, MaxSize, group.size);
        } else {
            continue;
        }
        return true;
    }
    return false;
}

// The payload names the well: the event's text, or the user data of row 130.
void VoWellRender::WellEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const VdWellData* wells = InputWellData();
    if (!wells)
        return;
    const bool row = list.IsProp(IdShowWell);
    shr::GString text = AnyText(event.Data());
    if (text.empty() && row)
        text = AnyText(list.UserData(IdShowWell));
    if (text.empty())
        return;
    if (row) {
        bool visible = true;
        list.GetValue(IdShowWell, visible);
        UpdateWellVisibility(*wells, text, visible);
    } else {
        ToggleWellVisibility(*wells, text);
    }
}

void VoWellRender::ToggleWellVisibility(const VdWellData& wellData, const shr::GString& text)
{
    const shr::GString name = ExtractValidWellName(wellData, text);
    if (name.empty())
        return;
    if (!m_HiddenWells.erase(name))
        m_HiddenWells.insert(name);
}

void VoWellRender::UpdateWellVisibility(const VdWellData& wellData, const shr::GString& text, bool visible)
{
    const shr::GString name = ExtractValidWellName(wellData, text);
    if (name.empty())
        return;
    if (visible)
        m_HiddenWells.erase(name);
    else
        m_HiddenWells.insert(name);
}

// ---- execution --------------------------------------------------------------------------------

VoModule::ModuleStatus VoWellRender::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    if (!renderer)
        return ModuleOk;
    VgStateScope scope(*renderer, OutputGeometry(0));
    m_Drawing.reset();
    if (const VdWellData* wells = InputWellData()) {
        Render(*renderer, *wells);
        VgStateScope legends(*renderer, VgRenderer::SEPARATOR);
        for (Kind kind : {PathData, DirectionalData, IntervalData})
            Group(kind).legend.Execute(*renderer);
    }
    return ModuleOk;
}

void VoWellRender::UpdateTransform(VgRenderer& renderer, const VdWellData& wellData) const
{
    if (renderer.Transform().Valid())
        return;
    const shr::Box3d bounds = wellData.GetUVWBounds();
    if (!(bounds == shr::Box3d()))
        renderer.UpdateTransform(bounds, shr::Mat4d());
}

void VoWellRender::Render(VgRenderer& renderer, const VdWellData& wellData)
{
    UpdateTransform(renderer, wellData);
    m_Transform = renderer.Transform();
    renderer.setVertexOrdering(VgRenderer::COUNTERCLOCKWISE);
    renderer.setShapeHints(VgRenderer::UNKNOWN_SHAPE_TYPE, VgRenderer::CONVEX);
    renderer.setMaterial(VgMaterial());
    m_Drawing = std::make_shared<WellDrawing>(Settings(), wellData, m_Transform);
    {
        VgStateScope state(renderer, VgRenderer::SEPARATOR);
        AddWellNode(m_Drawing, renderer);
    }
    VgStateScope state(renderer, VgRenderer::SEPARATOR);
    if (m_TextFormat.m_Flag1)
        RenderLabels(renderer, wellData);
    if (m_PathStyle == Lines && m_ShowPath)
        RenderPathLines(renderer, wellData);
}

void VoWellRender::RenderLabels(VgRenderer& renderer, const VdWellData& wellData) const
{
    std::vector<std::pair<shr::Vec3d, shr::GString>> labels;
    for (const auto& well : wellData) {
        if (!well->HasTop() || !Visible(*well))
            continue;
        const shr::Point3<double>& top = well->Top();
        labels.emplace_back(m_Drawing->ScenePoint(shr::Vec3d(top.X(), top.Y(), top.Z())), well->Name());
    }
    if (!labels.empty())
        AddLabelNode(std::make_shared<LabelDrawing>(m_TextFormat, std::move(labels)), renderer);
}

void VoWellRender::RenderPathLines(VgRenderer& renderer, const VdWellData& wellData) const
{
    renderer.setBaseColor(m_PathColor);
    renderer.setLineWidth(m_PathSize);
    for (const auto& well : wellData) {
        if (well->path_size() < 2 || !Visible(*well))
            continue;
        VgVertexData line;
        for (auto point = well->path_begin(); point != well->path_end(); ++point)
            line.vertices.push_back(wellData.UVWToXYZ(shr::Vec3d(*point)));
        renderer.drawLineStrip(line);
    }
}

// ---- stored form ------------------------------------------------------------------------------

void VoWellRender::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    if (archive.IsStoring()) {
        Fields stored(Settings());
        stored.Transfer(archive);
        return;
    }
    Fields loaded;
    loaded.Transfer(archive);
    loaded.Check(archive);
    Settings() = loaded;
}

} // namespace core
