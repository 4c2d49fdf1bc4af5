#include "core/processing/VoLatticeSlice.h"

#include "core/data/VdLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <deque>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeSlice, VoModule)
// The registry lists the type as making uniform lattices; the output port
// takes every kind, since a layer keeps the kind of its input.
const VbModuleInfo VoLatticeSlice::s_ModuleInfo("Computational\\Slice", VoLatticeSlice::GetClassTypeId(),
                                                PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                                PortUniformLattice, "Extracts a 2D lattice from a 3D lattice", 9);

namespace VoLatticeSlicePrivate {

const VbPropertyRegistrar s_Registrars[] = {
    {"LatticeSliceAxis", VoLatticeSlice::IdAxis, VbUnsignedPropertyConverter::Key()},
    {"LatticeSliceIndex", VoLatticeSlice::IdIndex, VbUnsignedPropertyConverter::Key()},
};

const char* const kAxisNames[3] = {"Along X", "Along Y", "Along Z"};
const char kAxisLetters[3] = {'X', 'Y', 'Z'};
const unsigned int kLatticePorts = PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice;

[[noreturn]] void ThrowSliceError(int line, const char* text)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "%s", text);
}

} // namespace VoLatticeSlicePrivate

using namespace VoLatticeSlicePrivate;

VoLatticeSlice::VoLatticeSlice()
{
    AddInput("Input Lattice", kLatticePorts);
    AddOutput("Output Lattice", kLatticePorts);
}

const VdLattice* VoLatticeSlice::InputLattice() const { return dynamic_cast<const VdLattice*>(GetInputData(0)); }

unsigned int VoLatticeSlice::LayerCount() const
{
    const VdLattice* lattice = InputLattice();
    return lattice ? lattice->GetDims()[m_Axis] : 0;
}

void VoLatticeSlice::FitIndex()
{
    const unsigned int count = LayerCount();
    if (count != 0 && (m_Index < 0 || static_cast<unsigned int>(m_Index) >= count))
        m_Index = static_cast<int>(count / 2);
}

void VoLatticeSlice::SetAxis(unsigned int axis)
{
    if (axis > AlongZ)
        ThrowSliceError(__LINE__, "Invalid slice axis.");
    m_Axis = axis;
}

void VoLatticeSlice::OnInputChanged(int, bool) { FitIndex(); }

std::unique_ptr<VdLattice> VoLatticeSlice::Extract(const VdLattice& lattice, unsigned int axis, unsigned int index)
{
    if (axis > AlongZ || index >= lattice.GetDims()[axis])
        ThrowSliceError(__LINE__, "Invalid slice index.");
    unsigned int first[3] = {0, 0, 0};
    unsigned int last[3];
    for (int a = 0; a < 3; ++a)
        last[a] = lattice.GetDims()[a] - 1;
    first[axis] = last[axis] = index;
    const std::deque<bool> allComponents(lattice.ComponentCount(), true);
    return lattice.Clone(allComponents, first[0], last[0], 1, first[1], last[1], 1, first[2], last[2], 1);
}

VoModule::ModuleStatus VoLatticeSlice::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const VdLattice* lattice = InputLattice();
    if (!lattice || LayerCount() == 0)
        return ModuleOk;
    FitIndex();
    VbProgress progress("Extracting the slice", 0, 500, 100);
    if (!progress.Update(0, 1))
        return ModuleAborted;
    std::unique_ptr<VdLattice> layer = Extract(*lattice, m_Axis, static_cast<unsigned int>(m_Index));
    if (!progress.Update(1, 1))
        return ModuleAborted;
    GetOutput(0)->Data(layer.release());
    return ModuleOk;
}

void VoLatticeSlice::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
    list.Indent();
    const VoModule* source = GetInputConnection(0, 0);
    list.AddStatic(Id(), IdInput, "Input", "The lattice connected to this input.",
                   source ? source->Name().c_str() : "Not connected");
    list.AddCombo(Id(), "LatticeSliceAxis", IdAxis, "Axis", "The axis across which the slice is taken.", m_Axis, 3,
                  const_cast<const char**>(kAxisNames), 0);
    const unsigned int count = LayerCount();
    list.AddUnsigned(Id(), "LatticeSliceIndex", IdIndex, "Index", "The 0-based index of the node layer to extract.",
                     m_Index < 0 ? 0u : static_cast<unsigned int>(m_Index), ValCheckMinMax, 0,
                     count ? count - 1 : 0, 1);
    list.Outdent();
    UpdateIndexRows(list);
}

// The plane's coordinate on the axis, at the layer's first node: exact for
// the uniform and rectilinear kinds, a guide for a curvilinear one.
void VoLatticeSlice::UpdateIndexRows(VbPropList& list) const
{
    const VdLattice* lattice = InputLattice();
    const unsigned int count = LayerCount();
    if (!list.IsProp(IdIndex))
        return;
    list.SetNumLimits(IdIndex, ValCheckMinMax, 0.0, count ? count - 1.0 : 0.0);
    if (!lattice || m_Index < 0 || static_cast<unsigned int>(m_Index) >= count) {
        list.SetHeaderComment(IdHeader, "");
        return;
    }
    unsigned int ijk[3] = {0, 0, 0};
    ijk[m_Axis] = static_cast<unsigned int>(m_Index);
    const shr::Vec3d xyz = lattice->IJKToXYZ(ijk[0], ijk[1], ijk[2]);
    list.SetHeaderComment(IdHeader, shr::ToString("%c = %.10g", kAxisLetters[m_Axis], xyz[m_Axis]));
}

void VoLatticeSlice::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (event.Id() == IdAxis) {
        unsigned int axis = m_Axis;
        list.GetValue(IdAxis, axis);
        SetAxis(axis);
        FitIndex();
        list.SetNum(IdIndex, m_Index < 0 ? 0u : static_cast<unsigned int>(m_Index));
    } else if (event.Id() == IdIndex) {
        unsigned int index = 0;
        list.GetValue(IdIndex, index);
        const unsigned int count = LayerCount();
        if (count != 0 && index >= count)
            ThrowSliceError(__LINE__, "Invalid slice index.");
        m_Index = static_cast<int>(index);
    } else {
        return;
    }
    UpdateIndexRows(list);
    SetModified();
}

void VoLatticeSlice::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    uint32_t axis = m_Axis;
    int32_t index = m_Index;
    archive.Transfer(axis);
    archive.Transfer(index);
    if (archive.IsLoading()) {
        SetAxis(axis);
        m_Index = index;
    }
}

} // namespace core
