#include "host/LengthUnit.h"

#include "host/DelimitedText.h"

#include <algorithm>
#include <iterator>

namespace host {

bool ParseLengthUnit(const std::string& text, LengthUnit& unit)
{
    static const char* const metres[] = {"m", "metre", "metres", "meter", "meters"};
    static const char* const feet[] = {"ft", "f", "feet", "foot"};
    const std::string name = Lower(Trimmed(text));
    const auto is = [&](const char* n) { return name == n; };
    if (std::any_of(std::begin(metres), std::end(metres), is)) {
        unit = LengthUnit::Metre;
        return true;
    }
    if (std::any_of(std::begin(feet), std::end(feet), is)) {
        unit = LengthUnit::Foot;
        return true;
    }
    return false;
}

double MetresPer(LengthUnit unit) { return unit == LengthUnit::Foot ? 0.3048 : 1.0; }

double LengthFactor(LengthUnit from, LengthUnit to) { return from == to ? 1.0 : MetresPer(from) / MetresPer(to); }

const char* UnitSymbol(LengthUnit unit) { return unit == LengthUnit::Foot ? "ft" : "m"; }

} // namespace host
