#pragma once
// ModuleCatalogue: the text listing of the module registry that `fenrak
// modules` prints: one block per module type, in registry order.
#include "shr/GString.h"

#include <iosfwd>
#include <vector>

namespace host {

class ModuleCatalogue {
public:
    // "Point set, Uniform lattice" for a port mask; "none" for 0.
    static shr::GString DataKinds(unsigned int mask);
    // The same kinds one by one; empty for 0.
    static std::vector<shr::GString> DataKindList(unsigned int mask);
    // Writes the whole registry; a note when it is empty.
    static void Print(std::ostream& out);
};

} // namespace host
