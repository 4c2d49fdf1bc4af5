#include "core/visual/SliceMapping.h"

#include "core/graphics/VbColorMap.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/visual/VbLegend.h"
#include "shr/Archive.h"

#include <cfloat>

namespace core {

double SliceMapping::Factor() const
{
    return width > FLT_EPSILON ? 255.0 / width : kThresholdFactor;
}

void SliceMapping::FillWindow(double dataMin, double dataMax)
{
    if (width >= 0.0)
        return;
    width = dataMax - dataMin;
    centre = dataMin + width * 0.5;
}

std::unique_ptr<ColorInterpolator> SliceMapping::MakeInterpolator(const VbColorMap& colorMap) const
{
    if (method == Linear)
        return std::make_unique<LinearColorInterpolator>(Lower(), Factor());
    return std::make_unique<ColorMapColorInterpolator>(colorMap);
}

void SliceMapping::GetProperties(const VbModuleId& module, VbPropList& list, const shr::GString& prefix, int base,
                                 const VbColorMap& colorMap, const std::vector<unsigned int>* histogram,
                                 double dataMin, double dataMax) const
{
    list.AddCombo(module, prefix + "Mapping", base + RowMethod, "Mapping method",
                  "The method used to map scalar values to colors.", method, "Linear", "Colormap", nullptr);
    const double range = dataMax >= dataMin ? dataMax - dataMin : 0.0;
    list.AddDouble(module, prefix + "MapWidth", base + RowWidth, "Width", "The width of the data window to be mapped.",
                   width, ValCheckMinMax, 0.0, range, 0.0);
    list.AddDouble(module, prefix + "MapCenter", base + RowCentre, "Center",
                   "The center of the data window to be mapped.", centre, ValCheckMinMax, dataMin, dataMax, 0.0);
    list.AddColorMap(module, prefix + "Colormap", base + RowColorMap, "Colormap", "Maps scalar values to color.",
                     colorMap, histogram, false);
    if (histogram)
        list.SetHistogram(base + RowColorMap, *histogram);
}

void SliceMapping::EnableRows(VbPropList& list, int base, VbLegend& legend, int legendBase) const
{
    const bool linear = method == Linear;
    list.Enabled(base + RowWidth, linear);
    list.Enabled(base + RowCentre, linear);
    list.Enabled(base + RowColorMap, !linear);
    legend.Enabled(list, legendBase, !linear);
}

bool SliceMapping::PropertyEvent(VbPropList& list, const VbPropertyEvent& event, int base, VbColorMap& colorMap)
{
    switch (event.Id() - base) {
    case RowMethod:
        list.GetValue(event.Id(), method);
        return true;
    case RowWidth:
        list.GetValue(event.Id(), width);
        return true;
    case RowCentre:
        list.GetValue(event.Id(), centre);
        return true;
    case RowColorMap:
        list.GetValue(event.Id(), colorMap);
        return true;
    default:
        return false;
    }
}

void SliceMapping::Transfer(shr::Archive& archive)
{
    archive.Transfer(method);
    archive.Transfer(width);
    archive.Transfer(centre);
    archive.CheckRange(method, unsigned(Linear), unsigned(Colormap), "the slice's mapping method");
}

} // namespace core
