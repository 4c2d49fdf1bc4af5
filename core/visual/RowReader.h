#pragma once
// RowReader: takes a number or a choice from a property row with the row's
// limits applied, for modules whose rows the host may set to anything (a
// scene file, a command). What the module keeps is written back to the row,
// so that the row never shows a value the module does not hold.
#include "shr/GString.h"

#include <cstdint>

namespace core {

class VbPropList;

class RowReader {
public:
    // A combo choice below `count` replaces `value`; any other is refused.
    // True when the value was taken.
    static bool Choice(VbPropList& list, int id, uint32_t count, uint32_t& value);
    // The row's number clamped to lo..hi; a NaN is refused.
    static void Clamped(VbPropList& list, int id, double lo, double hi, double& value);
    static void Clamped(VbPropList& list, int id, double lo, double hi, float& value);
    static void Clamped(VbPropList& list, int id, int lo, int hi, int& value);
    // A font row's face; an empty name is refused.
    static void Face(VbPropList& list, int id, shr::GString& face);
};

} // namespace core
