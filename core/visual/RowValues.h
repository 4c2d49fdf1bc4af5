#pragma once
// Reading a changed row the way the visual modules take user input: a number
// is clamped into the row's limits, a choice outside the list is refused, and
// either way the row is set to the value that was taken.
#include "shr/GString.h"

#include <cstdint>

namespace core {

class VbPropList;

// The double row's value clamped to [lo, hi]; a NaN keeps `current`.
double ReadClamped(VbPropList& list, int id, double lo, double hi, double current);
// The combo row's choice; one at or past `count` keeps `current`.
uint32_t ReadChoice(VbPropList& list, int id, uint32_t count, uint32_t current);
// The font row's face; an empty name keeps `current`.
shr::GString ReadFace(VbPropList& list, int id, const shr::GString& current);

} // namespace core
