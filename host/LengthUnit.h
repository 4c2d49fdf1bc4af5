#pragma once
// Lengths in the well files: metres or feet, as a file's unit text names them
// ("M", "metres", "ft", "F", "feet" ...), and the factor between the two.
#include <string>

namespace host {

enum class LengthUnit { Metre, Foot };

// The unit `text` names, case-insensitively; false for any other text.
bool ParseLengthUnit(const std::string& text, LengthUnit& unit);
// Metres per unit: 1 or 0.3048 (the international foot).
double MetresPer(LengthUnit unit);
// The factor that takes a length in `from` to `to`.
double LengthFactor(LengthUnit from, LengthUnit to);
// "m" or "ft".
const char* UnitSymbol(LengthUnit unit);

} // namespace host
