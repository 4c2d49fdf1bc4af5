#pragma once
// VoLatticeModule: the abstract base of the modules that turn one component of
// a lattice into colour (isosurface, slices, contours, volume rendering...). It
// holds the chosen component, the colour map and the legend that shows it.
#include "core/graphics/VbColorMap.h"
#include "core/network/VoModule.h"
#include "core/visual/VbLegend.h"
#include "shr/Color4b.h"

namespace core {

class VbPropertyEvent;
class VbPropList;
class VdLattice;

class VoLatticeModule : public VoModule {
    SHR_DECLARE_TYPE(VoLatticeModule)
public:
    VbColorMap& GetColorMap() { return m_ColorMap; }
    const VbColorMap& GetColorMap() const { return m_ColorMap; }
    VbLegend& GetLegend() { return m_Legend; }
    const VbLegend& GetLegend() const { return m_Legend; }
    // One-based, as the user sees it.
    unsigned int InputComponent() const { return m_InputComponent; }

protected:
    VoLatticeModule();

    // The lattice at an input; null when absent or not a lattice.
    VdLattice* InputLattice(size_t input) const;
    // The zero-based component: the stored one minus 1, never below 0.
    unsigned int InputComponentSafe() const;
    // Stores a one-based component, at least 1.
    void InputComponentSafe(unsigned int component);
    // Clips the component to the lattice's count and gives the colour map the
    // component's limits as its data limits (and its window, while the map
    // follows the data). A null lattice changes nothing.
    void UpdateColorMapDataLimits(const VdLattice* lattice);
    shr::Color4b InterpolateColor(double value) const;
    // The module's first rows: its header (row 1, indented after) and the
    // input's name (row 2).
    void AddInputRows(VbPropList& list);
    // The component row, when the lattice has more than one component.
    void AddComponentRow(VbPropList& list, const shr::GString& key, int id, const char* help);
    // Takes the one-based component row `id` and lets the colour map follow
    // the new component's range.
    void ReadInputComponent(VbPropList& list, int id);
    // Passes an event of the legend's rows, from `base`, on to the legend;
    // false for a row outside them.
    bool LegendEvent(VbPropList& list, const VbPropertyEvent& event, int base);
    // Layer rows of the modules that draw one layer of nodes. The layer
    // drawn among `count`, zero-based: `slice`, or the middle one when
    // `slice` names none (negative or past the end).
    static unsigned int EffectiveSlice(int slice, unsigned int count);
    // Shows the layer drawn in the 1-based row `id`, limited to 1 to count.
    static void ShowSliceRow(VbPropList& list, int id, int slice, unsigned int count);
    // Reads the 1-based row `id` into the zero-based `slice`.
    static void ReadSliceRow(VbPropList& list, int id, int& slice);
    // Takes a loaded colour map and legend, the legend showing this map.
    void TakeColorMapAndLegend(const VbColorMap& colorMap, const VbLegend& legend);
    // Base, sync mark, component (4 bytes), colour map, legend.
    void SerializeImpl(shr::Archive& archive);

    unsigned int m_InputComponent = 1;
    VbColorMap m_ColorMap;
    VbLegend m_Legend;
};

} // namespace core
