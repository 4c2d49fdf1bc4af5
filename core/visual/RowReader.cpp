#include "core/visual/RowReader.h"

#include "core/properties/VbPropList.h"

#include <algorithm>

namespace core {

bool RowReader::Choice(VbPropList& list, int id, uint32_t count, uint32_t& value)
{
    unsigned int choice = value;
    list.GetValue(id, choice);
    const bool taken = choice < count;
    if (taken)
        value = choice;
    else
        list.SetCombo(id, value);
    return taken;
}

void RowReader::Clamped(VbPropList& list, int id, double lo, double hi, double& value)
{
    double number = value;
    list.GetValue(id, number);
    if (number == number)
        value = std::min(hi, std::max(lo, number));
    list.SetNum(id, value);
}

void RowReader::Clamped(VbPropList& list, int id, double lo, double hi, float& value)
{
    double number = value;
    Clamped(list, id, lo, hi, number);
    value = static_cast<float>(number);
}

void RowReader::Clamped(VbPropList& list, int id, int lo, int hi, int& value)
{
    int number = value;
    list.GetValue(id, number);
    value = std::min(hi, std::max(lo, number));
    list.SetNum(id, value);
}

void RowReader::Face(VbPropList& list, int id, shr::GString& face)
{
    shr::GString name;
    list.GetValue(id, name);
    if (!name.empty())
        face = name;
    list.StringValue(id, face);
}

} // namespace core
