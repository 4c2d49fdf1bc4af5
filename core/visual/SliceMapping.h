#pragma once
// SliceMapping: how the slice modules turn a sample into a texel colour:
// through the module's colour map, or as a grey window-and-level ramp
// (a window of `width` data units around `centre` spans black to white).
// It also owns the four rows that edit the choice: method, width, centre and
// colour map, at consecutive ids, with the legend enabled for the colour map
// only.
#include "core/graphics/ColorInterpolator.h"
#include "shr/GString.h"

#include <memory>
#include <vector>

namespace shr {
class Archive;
}

namespace core {

class VbColorMap;
class VbLegend;
class VbModuleId;
class VbPropertyEvent;
class VbPropList;

class SliceMapping {
public:
    enum Method : unsigned int { Linear = 0, Colormap = 1 };
    // Rows relative to the base id.
    enum Row : int { RowMethod = 0, RowWidth = 1, RowCentre = 2, RowColorMap = 3, RowCount = 4 };

    // The grey factor of a window too narrow to divide by: the bit pattern of
    // the float infinity read as an integer, a large finite number, so that
    // the ramp becomes a hard threshold at the lower end.
    static constexpr double kThresholdFactor = 2139095040.0;

    double Lower() const { return centre - width * 0.5; }
    double Factor() const;
    // A negative width means the window is not known yet: it becomes the data
    // range, centred on it.
    void FillWindow(double dataMin, double dataMax);
    // The colour of a value under the chosen method. The colour map must
    // outlive the interpolator.
    std::unique_ptr<ColorInterpolator> MakeInterpolator(const VbColorMap& colorMap) const;

    // Rows base + 0 to base + 3, keys prefix + "Mapping", "MapWidth",
    // "MapCenter", "Colormap"; the width and centre limited by the data.
    void GetProperties(const VbModuleId& module, VbPropList& list, const shr::GString& prefix, int base,
                       const VbColorMap& colorMap, const std::vector<unsigned int>* histogram, double dataMin,
                       double dataMax) const;
    // Greys out the rows the method does not use, and the legend group at
    // `legendBase` unless the colour map is used.
    void EnableRows(VbPropList& list, int base, VbLegend& legend, int legendBase) const;
    // Takes a changed row of the four; false for another id. A new colour
    // map is read into `colorMap`.
    bool PropertyEvent(VbPropList& list, const VbPropertyEvent& event, int base, VbColorMap& colorMap);
    // Method (4 bytes), width, centre (8 each).
    void Transfer(shr::Archive& archive);

    unsigned int method = Colormap;
    double width = -1.0;
    double centre = 0.5;
};

} // namespace core
