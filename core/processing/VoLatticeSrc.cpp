#include "core/processing/VoLatticeSrc.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/processing/DataInfoRows.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <memory>
#include <tuple>
#include <vector>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeSrc, VoModule)

const VbModuleInfo VoLatticeSrc::s_ModuleInfo("Lattice Modules\\Lattice", VoLatticeSrc::GetClassTypeId(), 0,
                                              PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                              "Contains a lattice object", -1);

namespace VoLatticeSrcPrivate {

const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const unsigned char kBool = VbBoolPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"LatticeSrcFilename", VoLatticeSrc::IdFileName, VbStringPropertyConverter::Key()},
    {"LatticeSrcShowData", VoLatticeSrc::IdShowData, kBool},
    {"LatticeSrcResetLimits", VoLatticeSrc::IdResetLimits, kBool},
    {"LatticeSrcXMin", 108, kDouble},
    {"LatticeSrcXMax", 109, kDouble},
    {"LatticeSrcYMin", 111, kDouble},
    {"LatticeSrcYMax", 112, kDouble},
    {"LatticeSrcZMin", 114, kDouble},
    {"LatticeSrcZMax", 115, kDouble},
    {"LatticeSrcXNum", 119, kUnsigned},
    {"LatticeSrcYNum", 120, kUnsigned},
    {"LatticeSrcZNum", 121, kUnsigned},
};

// The document version from which the file name is stored.
constexpr int kFileNameVersion = 107;
const char kAxisLetters[3] = {'X', 'Y', 'Z'};

[[noreturn]] void ThrowInternalError(int line) { shr::ThrowSharedError("Core", __FILE__, line, 2); }

// Maps coordinates of one axis from the old range onto the new one.
struct AxisMap {
    double oldMin;
    double newMin;
    double factor;

    double operator()(double c) const { return (c - oldMin) * factor + newMin; }
};

std::vector<AxisMap> AxisMaps(const shr::Box3d& from, const shr::Box3d& to)
{
    std::vector<AxisMap> maps(3);
    for (int axis = 0; axis < 3; ++axis) {
        const double oldExtent = from.max[axis] - from.min[axis];
        const double newExtent = to.max[axis] - to.min[axis];
        maps[axis] = AxisMap{from.min[axis], to.min[axis], oldExtent > 0.0 ? newExtent / oldExtent : 1.0};
    }
    return maps;
}

void ScaleRectilinear(VdRectilinearLattice& lattice, const std::vector<AxisMap>& maps)
{
    std::vector<double> planes[3] = {lattice.GetUCoords(), lattice.GetVCoords(), lattice.GetWCoords()};
    for (int axis = 0; axis < 3; ++axis)
        for (double& c : planes[axis])
            c = maps[axis](c);
    lattice.SetPlanes(planes[0].data(), planes[1].data(), planes[2].data());
}

void ScaleCurvilinear(VdCurvilinearLattice& lattice, const std::vector<AxisMap>& maps)
{
    // The lattice offers its coordinates read-only; the array is a plain
    // member of this non-const lattice, so writing through it is sound.
    // SetTuple also clears any blank mark of the node's coordinates.
    VdArray& coords = const_cast<VdArray&>(lattice.GetCoords());
    unsigned int ni, nj, nk;
    lattice.GetDims(ni, nj, nk);
    for (unsigned int k = 0; k < nk; ++k)
        for (unsigned int j = 0; j < nj; ++j)
            for (unsigned int i = 0; i < ni; ++i) {
                const shr::Vec3d uvw = lattice.IJKToUVW(i, j, k);
                const double mapped[3] = {maps[0](uvw.x), maps[1](uvw.y), maps[2](uvw.z)};
                coords.SetTuple(lattice.Index(i, j, k), mapped);
            }
    lattice.SetModifiedCoords();
}

} // namespace VoLatticeSrcPrivate

using namespace VoLatticeSrcPrivate;

VoLatticeSrc::VoLatticeSrc()
{
    AddOutput("Output Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
}

VoLatticeSrc::VoLatticeSrc(VdLattice* lattice, const char* fileName) : VoLatticeSrc()
{
    m_FileName = fileName ? fileName : "";
    GetOutput(0)->Data(lattice);
    VoLatticeSrc::UpdateLimits();
}

VoLatticeSrc::VoLatticeSrc(shr::PrimType type, const unsigned int* dims, const void* data, int components,
                           const char* fileName)
    : VoLatticeSrc()
{
    if (components < 1 || !shr::CPrimType::IsValid(type) || !dims)
        ThrowInternalError(__LINE__);
    m_FileName = fileName ? fileName : "";
    GetOutput(0)->Data(new VdUniformLattice(type, dims, data, static_cast<unsigned int>(components)));
    VoLatticeSrc::UpdateLimits();
}

VdLattice* VoLatticeSrc::GetLattice() const
{
    return dynamic_cast<VdLattice*>(GetOutputData(0));
}

void VoLatticeSrc::SetLattice(VdLattice* lattice)
{
    GetOutput(0)->Data(lattice);
    UpdateLimits();
    SetModified();
}

void VoLatticeSrc::UpdateLimits()
{
    VdLattice* lattice = GetLattice();
    if (!lattice) {
        m_DataLimits = m_UserLimits = shr::Box3d();
        return;
    }
    lattice->SetModifiedCoords();
    m_DataLimits = m_UserLimits = lattice->GetUVWBounds();
}

VdLattice* VoLatticeSrc::CheckedLattice() const
{
    VdData* data = GetOutputData(0);
    if (!data)
        return nullptr;
    auto* lattice = dynamic_cast<VdLattice*>(data);
    if (!lattice)
        ThrowInternalError(__LINE__);
    return lattice;
}

// ---- execution ----------------------------------------------------------------

// An empty source has nothing to do.
VoModule::ModuleStatus VoLatticeSrc::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    VdLattice* lattice = CheckedLattice();
    if (!lattice)
        return ModuleOk;
    ValidateLimits(*lattice);
    ScaleLattice(*lattice, m_UserLimits);
    return ModuleOk;
}

// A NaN limit fails both tests.
void VoLatticeSrc::ValidateLimits(const VdLattice& lattice) const
{
    const unsigned int* dims = lattice.GetDims();
    for (int axis = 0; axis < 3; ++axis) {
        const double min = m_UserLimits.min[axis];
        const double max = m_UserLimits.max[axis];
        if (dims[axis] < 2) {
            if (!(min <= max))
                CORE_THROW(3, kAxisLetters[axis]);
        } else if (!(min < max)) {
            CORE_THROW(2, kAxisLetters[axis]);
        }
    }
}

void VoLatticeSrc::ScaleLattice(VdLattice& lattice, const shr::Box3d& limits)
{
    const shr::Box3d old = lattice.GetUVWBounds();
    if (old == limits)
        return;
    if (auto* uniform = dynamic_cast<VdUniformLattice*>(&lattice)) {
        uniform->SetUVWBounds(limits);
        return;
    }
    const std::vector<AxisMap> maps = AxisMaps(old, limits);
    if (auto* rectilinear = dynamic_cast<VdRectilinearLattice*>(&lattice))
        ScaleRectilinear(*rectilinear, maps);
    else if (auto* curvilinear = dynamic_cast<VdCurvilinearLattice*>(&lattice))
        ScaleCurvilinear(*curvilinear, maps);
    else
        ThrowInternalError(__LINE__);
}

// ---- properties ----------------------------------------------------------------

void VoLatticeSrc::UpdatePropertiesImpl(VbPropList& list)
{
    const VdLattice* lattice = CheckedLattice();
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddFilename(Id(), "LatticeSrcFilename", IdFileName, "File path",
                     "The path and filename that this dataset was loaded from (if any).", m_FileName, false,
                     VbPropList::LatticeFiles);
    if (!lattice) {
        list.Outdent();
        return;
    }
    list.AddStatic(Id(), IdDatasetType, "Dataset type", "The type of data output by this module.",
                   lattice->GetTypeName());
    list.AddButton(Id(), "LatticeSrcShowData", IdShowData, "Worksheet", "Display the data in a worksheet.",
                   "View Data");
    list.ReadOnly(IdShowData, true);
    list.Outdent();
    AddComponentRows(list, *lattice);
    AddGeometryRows(list, *lattice);
}

void VoLatticeSrc::AddComponentRows(VbPropList& list, const VdLattice& lattice) const
{
    DataInfoRows::AddComponents(Id(), list, IdComponents, lattice, false);
}

void VoLatticeSrc::AddGeometryRows(VbPropList& list, const VdLattice& lattice) const
{
    list.AddHeader(Id(), IdGeometry, "Geometry", "Geometry", "", "");
    list.Indent();
    DataInfoRows::AddLimits(Id(), list, IdLimits, "LatticeSrc", m_UserLimits, true);
    list.AddStatic(Id(), IdSpacing, "Spacing", "The distance between nodes in the x, y, z directions.",
                   DataInfoRows::SpacingText(DataInfoRows::Spacing(lattice, m_UserLimits)).c_str());
    list.AddButton(Id(), "LatticeSrcResetLimits", IdResetLimits, "", "Reset the limits to the original values.",
                   "Reset");
    const unsigned int* dims = lattice.GetDims();
    PropertyUtility::UpdateResolution(Id(), IdResolution, "LatticeSrc", list,
                                      std::make_tuple(dims[0], dims[1], dims[2]), false);
    list.Outdent();
}

void VoLatticeSrc::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id < IdFileName || id > IdShowData)
        return;
    if (id == IdShowData) {
        DataInfoRows::ShowDataView(*this, GetOutputData(0));
        return;
    }
    if (id == IdFileName) {
        list.GetValue(id, m_FileName);
        UiProxy::Instance()->ReloadDataFile(*this, m_FileName);
    } else if (id > IdLimits && id < IdLimits + 9 && (id - IdLimits) % 3 != 0) {
        const int axis = (id - IdLimits) / 3;
        list.GetValue(id, (id - IdLimits) % 3 == 1 ? m_UserLimits.min[axis] : m_UserLimits.max[axis]);
    } else if (id == IdResetLimits) {
        ResetLimits(list);
    }
    SetModified();
    UpdateLimitComments(list);
}

void VoLatticeSrc::RestoreProperties(VbPropList& list, const VbPropertyEvent& event)
{
    if (event.Id() != IdResetLimits) {
        PropertyEvent(list, event);
        return;
    }
    m_UserLimits = m_DataLimits;
    SetModified();
}

// Writes the rows back only when the limits actually change.
void VoLatticeSrc::ResetLimits(VbPropList& list)
{
    if (m_UserLimits == m_DataLimits)
        return;
    m_UserLimits = m_DataLimits;
    for (int axis = 0; axis < 3; ++axis) {
        const int base = IdLimits + 3 * axis;
        if (list.IsProp(base + 1))
            list.SetNum(base + 1, m_UserLimits.min[axis]);
        if (list.IsProp(base + 2))
            list.SetNum(base + 2, m_UserLimits.max[axis]);
    }
}

void VoLatticeSrc::UpdateLimitComments(VbPropList& list) const
{
    for (int axis = 0; axis < 3; ++axis) {
        const int header = IdLimits + 3 * axis;
        if (list.IsProp(header))
            PropertyUtility::UpdateComment(header, list, m_UserLimits.min[axis], m_UserLimits.max[axis]);
    }
}

// ---- persistence ----------------------------------------------------------------

void VoLatticeSrc::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Read into locals, so that a truncated document leaves the module as it was.
    VdLattice* lattice = archive.IsStoring() ? GetLattice() : nullptr;
    archive.TransferObject(lattice);
    // Two bytes that older readers expect; both carry the same zero.
    unsigned char reserved = 0;
    archive.Transfer(reserved);
    reserved = 0;
    archive.Transfer(reserved);
    shr::Box3d dataLimits = m_DataLimits;
    shr::Box3d userLimits = m_UserLimits;
    archive.Transfer(dataLimits);
    archive.Transfer(userLimits);
    // Older documents carry no file name: the loaded source has none.
    shr::GString fileName = archive.IsStoring() ? m_FileName : shr::GString();
    if (archive.IsStoring() || archive.GetVersion() >= kFileNameVersion)
        archive.Transfer(fileName);
    if (archive.IsStoring())
        return;
    GetOutput(0)->Data(lattice);
    m_DataLimits = dataLimits;
    m_UserLimits = userLimits;
    m_FileName = fileName;
}

} // namespace core
