#include "core/processing/VoPointsSrc.h"

#include "core/data/VdPoints.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/processing/DataInfoRows.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "shr/Archive.h"

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoPointsSrc, VoModule)

const VbModuleInfo VoPointsSrc::s_ModuleInfo(
    "Data Source\\PointSet", VoPointsSrc::GetClassTypeId(), 0, PortPoints,
    "Contains a set of points - both the coordinates and the actual data values at those coordinates", -1);

namespace VoPointsSrcPrivate {

const VbPropertyRegistrar s_Registrars[] = {
    {"PointsSrcFilename", VoPointsSrc::IdFileName, VbStringPropertyConverter::Key()},
    {"PointsSrcShowData", VoPointsSrc::IdShowData, VbBoolPropertyConverter::Key()},
};

// The document version from which the file name is stored.
constexpr int kFileNameVersion = 107;

} // namespace VoPointsSrcPrivate

using namespace VoPointsSrcPrivate;

VoPointsSrc::VoPointsSrc()
{
    AddOutput("Output Points", PortPoints);
}

VoPointsSrc::VoPointsSrc(VdPoints* points, const char* fileName) : VoPointsSrc()
{
    m_FileName = fileName ? fileName : "";
    GetOutput(0)->Data(points);
}

VoPointsSrc::VoPointsSrc(shr::PrimType coordType, shr::PrimType dataType, unsigned int pointCount,
                         const void* coords, const void* data, unsigned int componentCount,
                         const shr::GString& fileName)
    : VoPointsSrc(new VdPoints(coordType, dataType, pointCount, coords, data, componentCount), fileName.c_str())
{
}

VdPoints* VoPointsSrc::GetPoints() const
{
    return dynamic_cast<VdPoints*>(GetOutputData(0));
}

void VoPointsSrc::SetPoints(VdPoints* points)
{
    GetOutput(0)->Data(points);
    SetModified();
}

void VoPointsSrc::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddFilename(Id(), "PointsSrcFilename", IdFileName, "File path",
                     "The path and filename that this dataset was loaded from (if any).", m_FileName, false,
                     VbPropList::PointFiles);
    list.AddButton(Id(), "PointsSrcShowData", IdShowData, "Worksheet", "Display the data in a worksheet.",
                   "View Data");
    list.ReadOnly(IdShowData, true);
    list.Outdent();
}

void VoPointsSrc::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    switch (event.Id()) {
    case IdFileName:
        list.GetValue(IdFileName, m_FileName);
        UiProxy::Instance()->ReloadDataFile(*this, m_FileName);
        break;
    case IdShowData: DataInfoRows::ShowDataView(*this, GetOutputData(0)); break;
    default: SetModified(); break;
    }
}

void VoPointsSrc::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Older documents carry no file name: the loaded source has none.
    shr::GString fileName = archive.IsStoring() ? m_FileName : shr::GString();
    if (archive.IsStoring() || archive.GetVersion() >= kFileNameVersion)
        archive.Transfer(fileName);
    VdPoints* points = archive.IsStoring() ? GetPoints() : nullptr;
    archive.TransferObject(points);
    if (archive.IsStoring())
        return;
    m_FileName = fileName;
    GetOutput(0)->Data(points);
}

} // namespace core
