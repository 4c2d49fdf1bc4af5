#include "core/visual/VoLatticeModule.h"

#include "core/data/VdLattice.h"
#include "core/properties/VbPropList.h"
#include "shr/Archive.h"

#include <algorithm>

namespace core {

SHR_IMPLEMENT_TYPE(VoLatticeModule, VoModule)

VoLatticeModule::VoLatticeModule() : m_ColorMap(nullptr, 0, 256), m_Legend(&m_ColorMap) {}

VdLattice* VoLatticeModule::InputLattice(size_t input) const
{
    return static_cast<VdLattice*>(GetInputData(input, VdLattice::GetClassTypeId()));
}

unsigned int VoLatticeModule::InputComponentSafe() const
{
    return m_InputComponent == 0 ? 0 : m_InputComponent - 1;
}

void VoLatticeModule::InputComponentSafe(unsigned int component)
{
    m_InputComponent = std::max(component, 1u);
}

void VoLatticeModule::UpdateColorMapDataLimits(const VdLattice* lattice)
{
    if (!lattice || lattice->ComponentCount() == 0)
        return;
    m_InputComponent = std::min(m_InputComponent, lattice->ComponentCount());
    const std::pair<double, double> limits = lattice->DataMinMax(InputComponentSafe());
    // While the map follows the data its window moves too; a NaN limit ends
    // the following, since the window and the limits no longer compare equal.
    m_ColorMap.SetDataLimits(limits.first, limits.second);
}

void VoLatticeModule::ReadInputComponent(VbPropList& list, int id)
{
    unsigned int component = m_InputComponent;
    list.GetValue(id, component);
    InputComponentSafe(component);
    UpdateColorMapDataLimits(InputLattice(0));
}

shr::Color4b VoLatticeModule::InterpolateColor(double value) const
{
    return m_ColorMap.DatToColor(value);
}

void VoLatticeModule::SerializeImpl(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    archive.Transfer(m_InputComponent);
    m_ColorMap.Serialize(archive);
    m_Legend.Serialize(archive);
}

} // namespace core
