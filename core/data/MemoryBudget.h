#pragma once
// MemoryBudget: the most bytes one lattice that the library computes (the
// output of a source or of the gridder) may take. It is checked before the
// lattice is allocated, so that a size typed by mistake, or read from a
// damaged document, is refused with "Insufficient memory to perform operation"
// rather than taking the machine's memory (a lattice of 1000^3 nodes takes
// gigabytes).
//
// The budget is FENRAK_MEMORY_LIMIT, read once: a number of bytes with an
// optional K, M, G or T (powers of 1024), such as "512M". Without it, or when
// it does not parse, the budget is half the physical memory. A host may set
// another; the host also holds files it reads to the same budget.
#include "shr/PrimType.h"

#include <cstdint>
#include <string>

namespace core {

class MemoryBudget {
public:
    // The name of the environment variable.
    static const char* const Variable;

    static uint64_t Bytes();
    // Replaces the budget; 0 goes back to the environment's or the default.
    static void SetBytes(uint64_t bytes);
    // "512M" to bytes; false for anything else, and for 0.
    static bool Parse(const std::string& text, uint64_t& bytes);

    // Raises core error 46 when `bytes` exceed the budget.
    static void Check(uint64_t bytes);
    // The same for the values of a lattice of `dims` nodes (and its node
    // coordinates, `coordinateBytes` per node).
    static void CheckLattice(const unsigned int* dims, uint64_t components, shr::PrimType type,
                             uint64_t coordinateBytes = 0);
};

} // namespace core
