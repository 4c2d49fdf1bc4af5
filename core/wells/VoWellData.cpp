#include "core/wells/VoWellData.h"

#include "core/network/ContextMenuOptions.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/PropertyError.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/wells/VdWellData.h"
#include "core/wells/WellPathGenerator.h"
#include "core/wells/WellUtility.h"
#include "shr/Archive.h"
#include "shr/CommandOptions.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <string>
#include <typeinfo>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoWellData, VoModule)
const VbModuleInfo VoWellData::s_ModuleInfo("Data Source\\WellData", VoWellData::GetClassTypeId(), 0, PortWellData,
                                            "Contains well data", -1);
const char* const VoWellData::NotSet = "Not set";

namespace VoWellDataPrivate {

const unsigned char kText = VbStringPropertyConverter::Key();
const VbPropertyRegistrar s_Registrars[] = {
    {"WellDataAddData", VoWellData::IdAddData, VbBoolPropertyConverter::Key()},
    {"WellDataPathMethod", VoWellData::IdPathMethod, VbUnsignedPropertyConverter::Key()},
    {"WellDataComputePaths", VoWellData::IdComputePaths, VbBoolPropertyConverter::Key()},
    {"WellDataDeleteWell", VoWellData::IdDeleteWell, kText},
    {"WellDataXTop", VoWellData::IdXTop, kText},
    {"WellDataYTop", VoWellData::IdYTop, kText},
    {"WellDataZTop", VoWellData::IdZTop, kText},
};

const char* const kAxisLabels[3] = {"X", "Y", "Z"};

// The options of the "Import" command, in the order the host receives them.
const char* const kImportOptions[][2] = {
    {"FilterDataType", "32769"}, {"EnablePointImport", "false"}, {"ImportAsWells", "true"},
    {"CreateModule", "false"},   {"TargetName", nullptr},        {"UndoRedoEnabled", "false"},
    {"XCol", "1"},               {"YCol", "2"},                  {"ZCol", "3"},
    {"MDCol", "4"},
};

shr::GString WellPayload(const shr::GString& name) { return "Well=" + name; }

// The text a row value or an event carries; empty for anything else.
shr::GString AnyText(const boost::any& value)
{
    if (const auto* text = boost::any_cast<shr::GString>(&value))
        return *text;
    if (const auto* text = boost::any_cast<std::string>(&value))
        return *text;
    if (const auto* text = boost::any_cast<const char*>(&value))
        return *text ? shr::GString(*text) : shr::GString();
    return shr::GString();
}

// The well a text names, or "" (also for an empty text, which names none).
shr::GString NamedWell(const VdWellData* wells, const shr::GString& text)
{
    return wells && !text.empty() ? ExtractValidWellName(*wells, text) : shr::GString();
}

// The method's label with its blanks removed: "Minimum curvature" becomes
// "Minimumcurvature", which finds "MinimumCurvature" since factory keys
// compare without regard to case.
shr::GString FactoryKey(const shr::GString& label)
{
    shr::GString key = label;
    key.erase(std::remove(key.begin(), key.end(), ' '), key.end());
    return key;
}

} // namespace VoWellDataPrivate

using namespace VoWellDataPrivate;

VoWellData::VoWellData(VdWellData* wells)
    : m_PathMethods{"Average angle", "Balanced tangential", "Minimum curvature", "Tangential"}
{
    VbPort* output = AddOutput("Output Well Data", PortWellData);
    if (wells)
        output->Data(wells);
}

VoWellData::~VoWellData() = default;

VdWellData& VoWellData::OutputWells()
{
    VbPort* output = GetOutput(0);
    if (!output)
        VB_THROW_CORE("Invalid output port.");
    if (!dynamic_cast<VdWellData*>(output->Data()))
        output->Data(new VdWellData);
    return *static_cast<VdWellData*>(output->Data());
}

const VdWellData* VoWellData::OutputWellData() const { return dynamic_cast<const VdWellData*>(GetOutputData(0)); }

bool VoWellData::TrajectoryAvailable() const
{
    const VdWellData* wells = OutputWellData();
    return wells && std::any_of(wells->begin(), wells->end(), [](const std::shared_ptr<Well>& well) {
               return well->HasTop() && well->trajectory_size() >= 3;
           });
}

// ---- rows ------------------------------------------------------------------------------------

shr::GString VoWellData::TopText(const Well& well) const
{
    if (!well.HasTop())
        return m_NotSet;
    const shr::Point3<double>& top = well.Top();
    return shr::ToString("%.14g, %.14g, %.14g", top.X(), top.Y(), top.Z());
}

void VoWellData::UpdatePropertiesImpl(VbPropList& list)
{
    const VdWellData* wells = OutputWellData();
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddButton(Id(), "WellDataAddData", IdAddData, "Add/update well data",
                   "Add new well data to this module or update existing well data (not undoable).", "Add Data");
    list.AddStaticFmt(Id(), IdNumWells, "Number of wells", "The number of wells in the dataset", "%u",
                      wells ? static_cast<unsigned int>(wells->size()) : 0u);
    if (wells) {
        int number = 1;
        int logId = IdFirstWell + RowsPerWell * static_cast<int>(wells->size());
        for (const auto& well : *wells)
            AddWellRows(list, *well, number++, logId);
    }
    list.Outdent();
    list.AddHeader(Id(), IdPaths, "Well Paths", "Well Paths", "", "");
    list.Indent();
    list.AddCombo(Id(), "WellDataPathMethod", IdPathMethod, "Path method", "The method used to compute well paths.",
                  static_cast<unsigned int>(m_PathMethod), m_PathMethods, 0);
    list.AddButton(Id(), "WellDataComputePaths", IdComputePaths, "",
                   "Compute well paths (not undoable).  A well path may be computed for each well with a valid top "
                   "and valid trajectory.",
                   "Compute Paths");
    list.Outdent();
    list.Enabled(IdPathMethod, TrajectoryAvailable());
    list.Enabled(IdComputePaths, TrajectoryAvailable());
}

// Logs take their ids from `logId`, after the blocks of all wells.
void VoWellData::AddWellRows(VbPropList& list, const Well& well, int number, int& logId) const
{
    const int base = IdFirstWell + RowsPerWell * (number - 1);
    const shr::GString payload = WellPayload(well.Name());
    list.AddHeader(Id(), base, shr::ToString("Well %u", static_cast<unsigned int>(number)), "General", well.Name(),
                   "");
    list.UserData(base, payload);
    list.Indent();
    list.AddStatic(Id(), base + 1, "Top", "The well top.", TopText(well).c_str());
    list.UserData(base + 1, payload);
    list.Indent();
    const shr::Point3<double>& top = well.Top();
    const double coordinates[3] = {top.X(), top.Y(), top.Z()};
    for (int axis = 0; axis < 3; ++axis) {
        const shr::GString label = kAxisLabels[axis];
        const shr::GString value = well.HasTop() ? shr::ToString("%.14g", coordinates[axis]) : m_NotSet;
        const shr::GString help = "The " + label + " component of the well top.";
        list.AddEdit(Id(), "WellData" + label + "Top", base + 2 + axis, label.c_str(), help.c_str(), value);
        list.UserData(base + 2 + axis, payload);
    }
    list.Outdent();
    list.AddStaticFmt(Id(), base + 5, "Number of logs", "The number of logs on this well.", "%u",
                      static_cast<unsigned int>(well.log_size()));
    list.UserData(base + 5, payload);
    unsigned int logNumber = 1;
    for (auto log = well.log_begin(); log != well.log_end(); ++log) {
        const int id = logId++;
        list.AddStatic(Id(), id, shr::ToString("Log %u", logNumber++).c_str(), "A log of this well.",
                       (*log)->Name().c_str());
        list.UserData(id, shr::GString(payload + ";Log=" + (*log)->Name()));
    }
    list.Outdent();
    list.Expand(base, false);
}

// `row` is one of the well's coordinate rows; its "Top" row stands at the
// start of the block.
void VoWellData::UpdateWellTopAndTrajectory(VbPropList& list, int row, const Well& well) const
{
    const int topRow = row - (row - IdFirstWell) % RowsPerWell + 1;
    if (list.IsProp(topRow))
        list.SetStatic(topRow, TopText(well).c_str());
    const bool available = TrajectoryAvailable();
    for (int id : {IdPathMethod, IdComputePaths})
        if (list.IsProp(id))
            list.Enabled(id, available);
}

// ---- events ----------------------------------------------------------------------------------

void VoWellData::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    switch (event.Id()) {
    case IdAddData: AddData(); break;
    case IdPathMethod: {
        unsigned int method = static_cast<unsigned int>(m_PathMethod);
        list.GetValue(IdPathMethod, method);
        m_PathMethod = static_cast<int32_t>(std::min<unsigned int>(method, INT32_MAX));
        break;
    }
    case IdComputePaths: ComputePaths(); break;
    case IdDeleteWell: {
        const shr::GString text = list.IsProp(IdDeleteWell) ? list.StringValue(IdDeleteWell) : AnyText(event.Data());
        if (!text.empty() && OutputWellData())
            DeleteWell(text, &OutputWells());
        break;
    }
    case IdXTop:
    case IdYTop:
    case IdZTop: ChangeTop(list, event, event.Id() - IdXTop); break;
    default: return;
    }
    SetModified();
}

void VoWellData::ChangeTop(VbPropList& list, const VbPropertyEvent& event, int axis)
{
    VdWellData* wells = OutputWellData() ? &OutputWells() : nullptr;
    // The payload is the event's text; an event without one stands for the
    // row of its id, whose user data names the well.
    const bool textual = event.Data().type() == typeid(shr::GString) || event.Data().type() == typeid(std::string);
    const shr::GString name = NamedWell(
        wells, textual ? AnyText(event.Data()) : list.IsProp(event.Id()) ? AnyText(list.UserData(event.Id())) : "");
    if (name.empty())
        return;
    int row = event.Id();
    while (list.IsProp(row) && NamedWell(wells, AnyText(list.UserData(row))) != name)
        row += RowsPerWell;
    if (!list.IsProp(row))
        return;
    const shr::GString text = list.StringValue(row);
    double value = Well::BadTop().X();
    if (!text.empty() && text != m_NotSet && !shr::StringToDouble(text, value))
        VB_THROW_CORE("Invalid numeric value.");
    std::shared_ptr<Well> well = wells->Well(name);
    shr::Point3<double> top = well->Top();
    (axis == 0 ? top.X() : axis == 1 ? top.Y() : top.Z()) = value;
    well->Top(top);
    UpdateWellTopAndTrajectory(list, row, *well);
}

std::shared_ptr<Well> VoWellData::DeleteWell(const shr::GString& text, VdWellData* wellData)
{
    if (text.empty())
        VB_THROW_CORE("Name of well to delete must be non-empty.");
    const shr::GString name = NamedWell(wellData, text);
    if (name.empty())
        return nullptr;
    return wellData->DeleteWell(name);
}

shr::CommandOptions VoWellData::ImportCommand() const
{
    shr::CommandOptions command;
    command.SetCommand("Import");
    for (const auto& option : kImportOptions)
        command.Set(option[0], option[1] ? shr::GString(option[1]) : Name());
    return command;
}

void VoWellData::AddData() { UiProxy::Instance()->DoCommand(ImportCommand()); }

std::unique_ptr<ContextMenuOptions> VoWellData::ContextMenu(const VbPropertyEvent& event) const
{
    auto options = std::make_unique<ContextMenuOptions>();
    if (event.Id() < IdFirstWell || event.Id() >= ContextMenuEnd)
        return options;
    const shr::GString payload = AnyText(event.Data());
    const shr::GString name = NamedWell(OutputWellData(), payload);
    if (name.empty())
        return options;
    shr::CommandOptions command;
    command.SetCommand("ModifyModule");
    command.Set("WellDataDeleteWell", payload);
    command.Set("ModuleId", Id().ToString());
    command.Set("UndoRedoEnabled", "false");
    options->Add(std::make_pair("Delete " + name, command));
    return options;
}

void VoWellData::ComputePaths()
{
    if (m_PathMethod < 0 || static_cast<size_t>(m_PathMethod) >= m_PathMethods.size())
        VB_THROW_CORE("Invalid path computation algorithm requested.");
    const shr::GString key = FactoryKey(m_PathMethods[static_cast<size_t>(m_PathMethod)]);
    if (!WellPathGeneratorFactory::CanConstruct(key))
        VB_THROW_CORE("Invalid path computation algorithm requested.");
    const std::unique_ptr<WellPathGenerator> generator = WellPathGeneratorFactory::Construct(key);
    if (!OutputWellData())
        return;
    if (!generator->GenerateAll(OutputWells().Group()).empty())
        UiProxy::Instance()->ErrorMsg(shr::Exception(
            "Core", "VoWellData", __LINE__, 0,
            "Failed to compute paths for one or more wells.\nEach well must have a valid top and trajectory "
            "(directional survey)."));
}

// ---- stored form -----------------------------------------------------------------------------

void VoWellData::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    int32_t method = m_PathMethod;
    archive.Transfer(method);
    if (archive.IsLoading() && (method < 0 || static_cast<size_t>(method) >= m_PathMethods.size()))
        archive.ThrowFormatError("well path method %d out of range", method);
    VdWellData* wells = archive.IsStoring() ? const_cast<VdWellData*>(OutputWellData()) : nullptr;
    archive.TransferObject(wells);
    if (archive.IsStoring())
        return;
    m_PathMethod = method;
    GetOutput(0)->Data(wells);
}

} // namespace core
