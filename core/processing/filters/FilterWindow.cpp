#include "core/processing/filters/FilterWindow.h"

#include <cstring>

namespace core {

namespace FilterWindowPrivate {

// Eight nodes side by side: each lane computes as a lone double would.
typedef double Lanes __attribute__((vector_size(8 * sizeof(double))));

// Nodes a block at a time, their sums held in registers while the taps go
// by; each node still adds its terms in tap order. With Divide, each sum is
// divided by `divisor` before it is stored.
template <bool Divide>
inline void SumTapsOf(const std::vector<WindowTap>& taps, const WindowRows& rows, unsigned int first, unsigned int last,
                      double divisor, double* out)
{
    constexpr unsigned int kLanes = sizeof(Lanes) / sizeof(double);
    unsigned int x = first;
    for (; x + 2 * kLanes <= last; x += 2 * kLanes) {
        Lanes low = {}, high = {};
        for (const WindowTap& tap : taps) {
            const double* values = rows.rows[tap.row] + tap.offset + x;
            Lanes lowValues, highValues;
            std::memcpy(&lowValues, values, sizeof lowValues);
            std::memcpy(&highValues, values + kLanes, sizeof highValues);
            low += tap.weight * lowValues;
            high += tap.weight * highValues;
        }
        if (Divide) {
            low /= divisor;
            high /= divisor;
        }
        std::memcpy(out + (x - first), &low, sizeof low);
        std::memcpy(out + (x - first) + kLanes, &high, sizeof high);
    }
    for (; x < last; ++x) {
        double sum = 0.0;
        for (const WindowTap& tap : taps)
            sum += tap.weight * rows.rows[tap.row][tap.offset + x];
        out[x - first] = Divide ? sum / divisor : sum;
    }
}

} // namespace FilterWindowPrivate

using namespace FilterWindowPrivate;

// Built for the vector units at hand: the same multiplies, adds and
// divisions, wider. Contraction into fused multiply-adds stays off, so every
// build gives the same bits.
__attribute__((target_clones("avx512f", "avx2", "default"))) void SumTaps(const std::vector<WindowTap>& taps,
                                                                         const WindowRows& rows, unsigned int first,
                                                                         unsigned int last, double* out)
{
    SumTapsOf<false>(taps, rows, first, last, 1.0, out);
}

__attribute__((target_clones("avx512f", "avx2", "default"))) void SumTapsOver(const std::vector<WindowTap>& taps,
                                                                             const WindowRows& rows,
                                                                             unsigned int first, unsigned int last,
                                                                             double divisor, double* out)
{
    SumTapsOf<true>(taps, rows, first, last, divisor, out);
}

} // namespace core
