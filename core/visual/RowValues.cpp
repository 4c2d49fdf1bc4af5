#include "core/visual/RowValues.h"

#include "core/properties/VbPropList.h"

#include <algorithm>
#include <cmath>

namespace core {

double ReadClamped(VbPropList& list, int id, double lo, double hi, double current)
{
    double value = current;
    list.GetValue(id, value);
    value = std::isnan(value) ? current : std::clamp(value, lo, hi);
    list.SetNum(id, value);
    return value;
}

uint32_t ReadChoice(VbPropList& list, int id, uint32_t count, uint32_t current)
{
    unsigned int value = current;
    list.GetValue(id, value);
    if (value >= count) {
        value = current;
        list.SetCombo(id, value);
    }
    return value;
}

shr::GString ReadFace(VbPropList& list, int id, const shr::GString& current)
{
    shr::GString face;
    list.GetValue(id, face);
    if (face.empty())
        face = current;
    list.StringValue(id, face);
    return face;
}

} // namespace core
