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
#include "shr/Exception.h"

#include <algorithm>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeResample, VoModule)
const VbModuleInfo VoLatticeResample::s_ModuleInfo("Computational\\Resample", VoLatticeResample::GetClassTypeId(),
                                                   PortUniformLattice | PortRectilinearLattice |
                                                       PortCurvilinearLattice,
                                                   PortUniformLattice,
                                                   "Resamples a lattice to a user specified resolution", 8);

const char* const VoLatticeResample::MethodNames[2] = {"Nearest neighbor", "Trilinear"};

namespace VoLatticeResamplePrivate {

const char* const kPrefix = "LatticeResample";
const bool s_KeysRegistered = (LatticeGeometry::RegisterKeys(kPrefix, true), true);
const VbPropertyRegistrar s_Method("LatticeResampleMethod", VoLatticeResample::IdMethod,
                                   VbUnsignedPropertyConverter::Key());

} // namespace VoLatticeResamplePrivate

using namespace VoLatticeResamplePrivate;

VoLatticeResample::VoLatticeResample()
{
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Lattice", PortUniformLattice);
}

const VdLattice* VoLatticeResample::InputLattice() const { return dynamic_cast<const VdLattice*>(GetInputData(0)); }

VdLattice::InterpMethod VoLatticeResample::CheckedMethod(unsigned int method)
{
    if (method > VdLattice::INTERP_LINEAR)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid resample method %u.", method);
    return static_cast<VdLattice::InterpMethod>(method);
}

void VoLatticeResample::Method(unsigned int method) { m_Method = CheckedMethod(method); }

void VoLatticeResample::OnInputChanged(int, bool recalc)
{
    if (recalc && m_Geometry.autoLimits)
        CalcAutoParameters();
}

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
    if (input->HasUserTransform())
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
    list.AddCombo(Id(), "LatticeResampleMethod", IdMethod, "Resample method",
                  "The method used to interpolate nodes from the input lattices.", m_Method, 2,
                  const_cast<const char**>(MethodNames), 0);
    list.Outdent();
    m_Geometry.AddRows(Id(), list, kPrefix, LatticeGeometry::AutoLimitsAndResolution,
                       "Uses the input lattice extents and resolution.");
}

void VoLatticeResample::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id == IdMethod) {
        unsigned int method = m_Method;
        list.GetValue(id, method);
        Method(method);
    } else if (m_Geometry.PropertyEvent(list, id)) {
        if (id == LatticeGeometry::AutoId) {
            if (m_Geometry.autoLimits)
                CalcAutoParameters();
            UpdatePropertiesImpl(list);
        }
    } else {
        return;
    }
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
    if (method > VdLattice::INTERP_LINEAR)
        archive.ThrowFormatError("invalid resample method %u", method);
    geometry.CheckLoadedNodes(archive);
    m_Geometry = geometry;
    m_Method = static_cast<VdLattice::InterpMethod>(method);
}

} // namespace core
