#include "core/processing/VoLatticeGradient.h"

#include "core/data/LatticeUtility.h"
#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/processing/LatticeGradientEvaluator.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <algorithm>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeGradient, VoModule)
const VbModuleInfo VoLatticeGradient::s_ModuleInfo("Computational\\Gradient", VoLatticeGradient::GetClassTypeId(),
                                                   PortUniformLattice | PortRectilinearLattice |
                                                       PortCurvilinearLattice,
                                                   PortUniformLattice | PortRectilinearLattice |
                                                       PortCurvilinearLattice,
                                                   "Computes the gradient for a 3D lattice", 4);

namespace VoLatticeGradientPrivate {

const unsigned int kLatticePorts = PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice;
const VbPropertyRegistrar s_Component("LatticeGradientComponent", VoLatticeGradient::IdComponent,
                                      VbUnsignedPropertyConverter::Key());

[[noreturn]] void ThrowComponentError(int line)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "Component index out of range.");
}

} // namespace VoLatticeGradientPrivate

using namespace VoLatticeGradientPrivate;

VoLatticeGradient::VoLatticeGradient()
{
    AddInput("Input Lattice", kLatticePorts);
    AddOutput("Output Lattice", kLatticePorts);
}

const VdLattice* VoLatticeGradient::InputLattice() const { return dynamic_cast<const VdLattice*>(GetInputData(0)); }

void VoLatticeGradient::Component(unsigned int component)
{
    if (component == 0)
        ThrowComponentError(__LINE__);
    m_Component = component;
}

std::unique_ptr<VdLattice> VoLatticeGradient::Compute(const VdLattice& input, unsigned int component,
                                                      VbProgress* progress)
{
    if (component == 0 || component > input.ComponentCount())
        ThrowComponentError(__LINE__);
    const shr::PrimType type = input.DataType() == shr::Double ? shr::Double : shr::Float;
    std::unique_ptr<VdLattice> output = MakeLatticeLike(input, type, 3);
    const LatticeGradientEvaluator evaluator(input, component - 1, *output);
    if (!evaluator.Run(progress))
        return nullptr;
    return output;
}

// The kinds are tested in the order uniform, curvilinear, rectilinear; data
// of none of them stops the module as aborted. No input at all is no work:
// the module ends without output rather than holding up the whole pass.
VoModule::ModuleStatus VoLatticeGradient::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const VdData* data = GetInputData(0);
    if (!data)
        return ModuleOk;
    const VdLattice* lattice = nullptr;
    if (const auto* uniform = dynamic_cast<const VdUniformLattice*>(data))
        lattice = uniform;
    else if (const auto* curvilinear = dynamic_cast<const VdCurvilinearLattice*>(data))
        lattice = curvilinear;
    else if (const auto* rectilinear = dynamic_cast<const VdRectilinearLattice*>(data))
        lattice = rectilinear;
    else
        return ModuleAborted;
    VbProgress progress("Computing the gradient", 0, 500, 100);
    std::unique_ptr<VdLattice> gradient = Compute(*lattice, m_Component, &progress);
    if (!gradient)
        return ModuleAborted;
    GetOutput(0)->Data(gradient.release());
    return ModuleOk;
}

void VoLatticeGradient::UpdatePropertiesImpl(VbPropList& list)
{
    const VdLattice* lattice = InputLattice();
    list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
    list.Indent();
    const VoModule* source = GetInputConnection(0, 0);
    list.AddStatic(Id(), IdInput, "Input", "The lattice connected to this input.",
                   source ? source->Name().c_str() : "Not connected");
    list.AddUnsigned(Id(), "LatticeGradientComponent", IdComponent, "Component",
                     "The input component whose gradient is computed, counting from 1.", m_Component, ValCheckMinMax,
                     1, lattice ? std::max(1u, lattice->ComponentCount()) : 1, 1);
    list.Outdent();
}

void VoLatticeGradient::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (event.Id() != IdComponent)
        return;
    unsigned int component = m_Component;
    list.GetValue(IdComponent, component);
    const VdLattice* lattice = InputLattice();
    if (lattice && component > lattice->ComponentCount())
        ThrowComponentError(__LINE__);
    Component(component);
    SetModified();
}

void VoLatticeGradient::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    uint32_t component = m_Component;
    archive.Transfer(component);
    if (archive.IsLoading()) {
        if (component == 0)
            archive.ThrowFormatError("component 0, where components count from 1");
        m_Component = component;
    }
}

} // namespace core
