#include "core/processing/VoInfo.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/processing/DataInfoRows.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/wells/VdWellData.h"
#include "shr/PrimType.h"
#include "shr/StringUtil.h"

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoInfo, VoModule)

const VbModuleInfo VoInfo::s_ModuleInfo("General Modules\\Info", VoInfo::GetClassTypeId(), 63, 0,
                                        "Displays information about the connected module", 14);

namespace VoInfoPrivate {

const VbPropertyRegistrar s_ShowData("InfoShowData", VoInfo::IdShowData, VbBoolPropertyConverter::Key());
const PropertyUtility::LimitKeyRegistrar s_LimitKeys("Info", VoInfo::IdLimits);

// What a worksheet can show: values per vertex.
bool CanShowData(const VdData& data)
{
    return dynamic_cast<const VdPoints*>(&data) || dynamic_cast<const VdLattice*>(&data);
}

void AddGeometryHeader(const VoModule& module, VbPropList& list)
{
    list.AddHeader(module.Id(), VoInfo::IdGeometry, "Geometry", "Geometry", "", "");
}

// A header with the log's name, its MD range and its data range, from row
// `id`; returns the next free id.
int AddLogRows(const VoModule& module, VbPropList& list, int id, const WellLog& log)
{
    list.AddHeader(module.Id(), id++, log.Name(), "Wells", "", "");
    list.Indent();
    std::pair<double, double> range;
    const shr::GString depths =
        log.MDRange(range) ? shr::ToString("(%.14g, %.14g)", range.first, range.second) : "Not available";
    list.AddStatic(module.Id(), id++, "MD range", "The measured depths of the log's first and last entries.",
                   depths.c_str());
    const shr::GString values =
        log.Range(range) ? shr::ToString("%.14g, %.14g", range.first, range.second) : "Not Available";
    list.AddStatic(module.Id(), id++, "Data range", "The smallest and largest valid value of the log.",
                   values.c_str());
    list.Outdent();
    return id;
}

} // namespace VoInfoPrivate

using namespace VoInfoPrivate;

VoInfo::VoInfo()
{
    AddInput("Input Data", 63);
    SetGeomFilter(false);
}

void VoInfo::UpdatePropertiesImpl(VbPropList& list)
{
    const VdData* data = GetInputData(0);
    const VoModule* source = GetInputConnection(0, 0);
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    if (data) {
        list.AddStatic(Id(), IdDatasetType, "Dataset type", "The type of data set this module is connected to.",
                       data->GetTypeName());
        if (CanShowData(*data)) {
            list.AddButton(Id(), "InfoShowData", IdShowData, "Worksheet", "Display the data in a worksheet.",
                           "View Data");
            list.ReadOnly(IdShowData, true);
        }
    }
    list.Outdent();
    if (data)
        DisplayInfoProps(*this, list, *data);
}

void VoInfo::PropertyEvent(VbPropList&, const VbPropertyEvent& event)
{
    if (event.Id() == IdShowData)
        DataInfoRows::ShowDataView(*this, GetInputData(0));
}

void VoInfo::OnInputChanged(int, bool)
{
    UiProxy::Instance()->UpdatePropertyList(this, -1, true);
}

void VoInfo::DisplayInfoProps(const VoModule& module, VbPropList& list, const VdData& data)
{
    if (const auto* points = dynamic_cast<const VdPoints*>(&data))
        AddPointRows(module, list, *points);
    else if (const auto* lattice = dynamic_cast<const VdLattice*>(&data))
        AddLatticeRows(module, list, *lattice);
    else if (const auto* geometry = dynamic_cast<const VdGeometry*>(&data))
        AddGeometryRows(module, list, *geometry);
    else if (const auto* wells = dynamic_cast<const VdWellData*>(&data))
        AddWellDataRows(module, list, *wells);
}

void VoInfo::AddPointRows(const VoModule& module, VbPropList& list, const VdPoints& points)
{
    list.AddStaticFmt(module.Id(), IdPointCount, "Number of points", "The number of points in the data set.", "%u",
                      points.VertexCount());
    list.AddStatic(module.Id(), IdCoordinateType, "Coordinate type", "The type of storage of the point coordinates.",
                   shr::CPrimType::TypeName[points.GetCoordType()]);
    DataInfoRows::AddComponents(module.Id(), list, IdComponents, points, true);
    DataInfoRows::AddLimits(module.Id(), list, IdLimits, "Info", points.GetUVWBounds(), false);
}

void VoInfo::AddLatticeRows(const VoModule& module, VbPropList& list, const VdLattice& lattice)
{
    const shr::Box3d bounds = lattice.GetUVWBounds();
    AddGeometryHeader(module, list);
    list.Indent();
    DataInfoRows::AddLimits(module.Id(), list, IdLimits, "Info", bounds, false);
    list.AddStatic(module.Id(), IdSpacing, "Spacing", "The distance between nodes in the x, y, z directions.",
                   DataInfoRows::SpacingText(DataInfoRows::Spacing(lattice, bounds)).c_str());
    list.Outdent();
    DataInfoRows::AddComponents(module.Id(), list, IdComponents, lattice, true);
}

void VoInfo::AddGeometryRows(const VoModule& module, VbPropList& list, const VdGeometry& geometry)
{
    VdGeometry::Statistics statistics;
    geometry.GetStatistics(statistics);
    const struct {
        int id;
        const char* label;
        const char* help;
        unsigned int count;
    } rows[] = {
        {IdGeometryPoints, "Number of points", "The number of points drawn.", statistics.points},
        {IdGeometryLines, "Number of lines", "The number of line segments drawn.", statistics.lines},
        {IdGeometryTriangles, "Number of triangles", "The number of triangles drawn.", statistics.triangles},
        {IdGeometryTexts, "Number of text", "The number of text strings drawn.", statistics.texts},
        {IdGeometryImages, "Number of images", "The number of images drawn.", statistics.images},
    };
    AddGeometryHeader(module, list);
    list.Indent();
    for (const auto& row : rows)
        list.AddStaticFmt(module.Id(), row.id, row.label, row.help, "%d", static_cast<int>(row.count));
    DataInfoRows::AddLimits(module.Id(), list, IdLimits, "Info", geometry.GetBoundingBox(), false);
    list.Outdent();
}

void VoInfo::AddWellDataRows(const VoModule& module, VbPropList& list, const VdWellData& wells)
{
    AddGeometryHeader(module, list);
    list.Indent();
    list.AddHeader(module.Id(), IdWells, "Wells", "Wells", "", "");
    list.Indent();
    list.AddStaticFmt(module.Id(), IdWellCount, "Number of wells", "The number of wells in the data set.", "%u",
                      static_cast<unsigned int>(wells.size()));
    int id = IdFirstWellRow;
    for (const auto& well : wells) {
        list.AddHeader(module.Id(), id++, well->Name(), "Wells", "", "");
        list.Indent();
        const shr::Point3<double>& top = well->Top();
        const shr::GString topText =
            well->HasTop() ? shr::ToString("(%.14g, %.14g, %.14g)", top.X(), top.Y(), top.Z()) : "Not set";
        list.AddStatic(module.Id(), id++, "Top", "The well top.", topText.c_str());
        list.AddStaticFmt(module.Id(), id++, "Number of logs", "The number of logs on this well.", "%u",
                          static_cast<unsigned int>(well->log_size()));
        for (auto log = well->log_begin(); log != well->log_end(); ++log)
            id = AddLogRows(module, list, id, **log);
        list.Outdent();
    }
    list.Outdent();
    list.Outdent();
}

} // namespace core
