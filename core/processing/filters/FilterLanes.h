#pragma once
// Nodes side by side in a vector register: each lane computes as a lone
// double would, so code written on lanes gives the bits of plain code. The
// kernels that use them are built for the vector units at hand; contraction
// into fused multiply-adds stays off, so every build gives the same bits.
#include <cstring>

// The clones are chosen by the loader before a sanitizer's runtime is up,
// which clang's sanitized builds (the fuzz build) do not survive: they keep
// the baseline form alone.
#if defined(__clang__)
#define FENRAK_VECTOR_CLONES
#else
#define FENRAK_VECTOR_CLONES __attribute__((target_clones("avx512f", "avx2", "default")))
#endif

namespace core {
namespace FilterLanes {

typedef double Lanes __attribute__((vector_size(8 * sizeof(double))));
constexpr unsigned int kLanes = sizeof(Lanes) / sizeof(double);

template <class V>
inline void Load(const double* values, V& lanes)
{
    std::memcpy(&lanes, values, sizeof lanes);
}

template <class V>
inline void Store(const V& lanes, double* values)
{
    std::memcpy(values, &lanes, sizeof lanes);
}

} // namespace FilterLanes
} // namespace core
