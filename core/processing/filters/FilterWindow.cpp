#include "core/processing/filters/FilterWindow.h"

#include <algorithm>

namespace core {

// Built for the vector units at hand: the same multiplies and adds, wider.
// Contraction into fused multiply-adds stays off, so every build gives the
// same bits.
__attribute__((target_clones("avx512f", "avx2", "default"))) void SumTaps(const std::vector<WindowTap>& taps,
                                                                         const WindowRows& rows, unsigned int first,
                                                                         unsigned int last, double* out)
{
    // Nodes a block at a time, their sums held in registers while the taps
    // go by; each node still adds its terms in tap order.
    constexpr unsigned int kBlock = 16;
    unsigned int x = first;
    for (; x + kBlock <= last; x += kBlock) {
        double sums[kBlock] = {};
        for (const WindowTap& tap : taps) {
            const double* values = rows.rows[tap.row] + tap.offset + x;
            const double weight = tap.weight;
            for (unsigned int i = 0; i < kBlock; ++i)
                sums[i] += weight * values[i];
        }
        std::copy(sums, sums + kBlock, out + (x - first));
    }
    for (; x < last; ++x) {
        double sum = 0.0;
        for (const WindowTap& tap : taps)
            sum += tap.weight * rows.rows[tap.row][tap.offset + x];
        out[x - first] = sum;
    }
}

} // namespace core
