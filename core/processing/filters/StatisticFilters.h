#pragma once
// The statistics filters: moments of the window's valid values, deviations
// of the centre from them, and sign changes within the window. Standard
// deviations and central moments divide by n - 1 and are 0 for a single
// value. No valid value gives a blank, except where a filter says otherwise.
#include "core/processing/filters/OrderFilters.h"

namespace core {

// The standard deviation.
FENRAK_VALUE_FILTER(Filter_StandardDeviation);
// The standard deviation over the mean.
FENRAK_VALUE_FILTER(Filter_CoefVariation);
// The sum of the deviations from the mean to the first parameter's power,
// over n - 1.
FENRAK_VALUE_FILTER(Filter_CentralMoment);
// The centre less the mean; a blank centre gives 0, even with no valid value.
FENRAK_VALUE_FILTER(Filter_MeanRemoval);
// The centre, unless it lies further than the component's threshold from
// the mean of the other values, which then replaces it; a blank centre takes
// that mean; without other values the centre stands.
FENRAK_VALUE_FILTER(Filter_ThresholdAverage);
// 1 when the values hold one above 0 and one below, else 0.
FENRAK_VALUE_FILTER(Filter_ZeroCrossing);
// 1 when the values hold one above the component's threshold and one below, else 0.
FENRAK_VALUE_FILTER(Filter_ThresholdCrossing);

} // namespace core
