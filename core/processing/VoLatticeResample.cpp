#include "core/processing/VoLatticeResample.h"

#include "core/data/VdUniformLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/processing/LatticeResampler.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"

#include <algorithm>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeResample, VoLatticeSampler)
const VbModuleInfo VoLatticeResample::s_ModuleInfo("Computational\\Resample", VoLatticeResample::GetClassTypeId(),
                                                   PortUniformLattice | PortRectilinearLattice |
                                                       PortCurvilinearLattice,
                                                   PortUniformLattice,
                                                   "Resamples a lattice to a user specified resolution", 8);

namespace VoLatticeResamplePrivate {

const char* const kPrefix = "LatticeResample";
const bool s_KeysRegistered = (LatticeGeometry::RegisterKeys(kPrefix, true), true);
const VbPropertyRegistrar s_Method("LatticeResampleMethod", VoLatticeResample::IdMethod,
                                   VbUnsignedPropertyConverter::Key());

} // namespace VoLatticeResamplePrivate

using namespace VoLatticeResamplePrivate;

VoLatticeResample::VoLatticeResample()
    : VoLatticeSampler(kPrefix, "Uses the input lattice extents and resolution.")
{
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Lattice", PortUniformLattice);
}

const VdLattice* VoLatticeResample::InputLattice() const { return dynamic_cast<const VdLattice*>(GetInputData(0)); }

void VoLatticeResample::CalcAutoParameters()
{
    const VdLattice* lattice = InputLattice();
    if (!lattice || lattice->DataEmpty())
        return;
    m_Geometry.limits = lattice->GetUVWBounds();
    for (int axis = 0; axis < 3; ++axis)
        m_Geometry.nodes[axis] = std::min(lattice->GetDims()[axis], LatticeGeometry::MaxNodes);
}

VoModule::ModuleStatus VoLatticeResample::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const VdLattice* input = InputLattice();
    if (!input)
        return ModuleOk;
    if (m_Geometry.autoLimits)
        CalcAutoParameters();
    m_Geometry.Validate();
    std::unique_ptr<VdUniformLattice> output = m_Geometry.MakeLattice(input->DataType(), input->ComponentCount());
    output->SetUserTransform(input->GetUserTransform());
    const ModuleStatus status = Compute(*input, *output);
    if (status == ModuleOk)
        GetOutput(0)->Data(output.release());
    return status;
}

VoModule::ModuleStatus VoLatticeResample::Compute(const VdLattice& input, VdUniformLattice& output) const
{
    VbProgress progress("Resampling lattice", 0, 500, 100);
    const LatticeResampler resampler(input, output, m_Method);
    return resampler.Run(&progress) ? ModuleOk : ModuleAborted;
}

void VoLatticeResample::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
    list.Indent();
    const VoModule* source = GetInputConnection(0, 0);
    list.AddStatic(Id(), IdInput, "Input", "The lattice connected to this input.",
                   source ? source->Name().c_str() : "Not connected");
    AddMethodRow(list, "LatticeResampleMethod");
    list.Outdent();
    AddGeometryRows(list);
}

void VoLatticeResample::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (SamplerPropertyEvent(list, event.Id()))
        SetModified();
}

void VoLatticeResample::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    LatticeGeometry geometry = m_Geometry;
    uint32_t method = m_Method;
    archive.Transfer(geometry.autoLimits);
    archive.Transfer(method);
    geometry.TransferNodes(archive);
    geometry.TransferLimits(archive);
    if (archive.IsStoring())
        return;
    CheckLoaded(archive, method, geometry);
    m_Geometry = geometry;
    m_Method = static_cast<VdLattice::InterpMethod>(method);
}

} // namespace core
