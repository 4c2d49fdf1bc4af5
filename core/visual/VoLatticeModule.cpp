#include "core/visual/VoLatticeModule.h"

#include "core/data/VdLattice.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
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

void VoLatticeModule::AddInputRows(VbPropList& list)
{
    const VoModule* upstream = GetInputConnection(0, 0);
    list.AddHeader(Id(), 1, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), 2, "Input", "The input this module is connected to.",
                   upstream ? upstream->Name().c_str() : "Nothing");
}

void VoLatticeModule::AddComponentRow(VbPropList& list, const shr::GString& key, int id, const char* help)
{
    const VdLattice* lattice = InputLattice(0);
    if (lattice && lattice->ComponentCount() > 1)
        list.AddUnsigned(Id(), key, id, "Input component", help, m_InputComponent, ValCheckMinMax, 1,
                         lattice->ComponentCount(), 1);
}

bool VoLatticeModule::LegendEvent(VbPropList& list, const VbPropertyEvent& event, int base)
{
    if (event.Id() < base || event.Id() >= base + VbLegend::RowCount)
        return false;
    m_Legend.PropertyEvent(Id(), list, event, base);
    return true;
}

unsigned int VoLatticeModule::EffectiveSlice(int slice, unsigned int count)
{
    return slice < 0 || static_cast<unsigned int>(slice) >= count ? count / 2 : static_cast<unsigned int>(slice);
}

void VoLatticeModule::ShowSliceRow(VbPropList& list, int id, int slice, unsigned int count)
{
    list.SetNumLimits(id, ValCheckMinMax, 1.0, count ? count : 1.0);
    list.SetNum(id, count ? static_cast<int>(EffectiveSlice(slice, count)) + 1 : 1);
}

void VoLatticeModule::ReadSliceRow(VbPropList& list, int id, int& slice)
{
    int shown = slice + 1;
    list.GetValue(id, shown);
    // Whatever lies below 1 names no layer, which the execution turns into
    // the middle one, as it does -1; -1 also keeps the lowest int from
    // overflowing.
    slice = shown >= 1 ? shown - 1 : -1;
}

void VoLatticeModule::TakeColorMapAndLegend(const VbColorMap& colorMap, const VbLegend& legend)
{
    m_ColorMap = colorMap;
    m_Legend = legend;
    m_Legend.SetColorMap(&m_ColorMap);
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
