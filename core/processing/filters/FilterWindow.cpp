#include "core/processing/filters/FilterWindow.h"

#include "core/processing/filters/FilterLanes.h"

namespace core {

namespace FilterWindowPrivate {

using namespace FilterLanes;

// A term's value at node x, for eight nodes from x and for one.
inline void AddTerm(const WindowTap& tap, const WindowRows& rows, unsigned int x, Lanes& sum)
{
    Lanes values;
    Load(rows.rows[tap.row] + tap.offset + x, values);
    sum += tap.weight * values;
}

inline double Term(const WindowTap& tap, const WindowRows& rows, unsigned int x)
{
    return tap.weight * rows.rows[tap.row][tap.offset + x];
}

inline void AddTerm(const WindowDifference& difference, const WindowRows& rows, unsigned int x, Lanes& sum)
{
    Lanes high, low;
    Load(rows.rows[difference.highRow] + difference.highOffset + x, high);
    Load(rows.rows[difference.lowRow] + difference.lowOffset + x, low);
    sum += high - low;
}

inline double Term(const WindowDifference& difference, const WindowRows& rows, unsigned int x)
{
    return rows.rows[difference.highRow][difference.highOffset + x] -
           rows.rows[difference.lowRow][difference.lowOffset + x];
}

// Nodes a block at a time, their sums held in registers while the terms go
// by; each node still adds its terms in order, from 0.0. With Divide, each
// sum is divided by `divisor` before it is stored.
template <bool Divide, class Terms>
inline void SumOf(const Terms& terms, const WindowRows& rows, unsigned int first, unsigned int last, double divisor,
                  double* out)
{
    unsigned int x = first;
    for (; x + 2 * kLanes <= last; x += 2 * kLanes) {
        Lanes low = {}, high = {};
        for (const auto& term : terms) {
            AddTerm(term, rows, x, low);
            AddTerm(term, rows, x + kLanes, high);
        }
        if (Divide) {
            low /= divisor;
            high /= divisor;
        }
        Store(low, out + (x - first));
        Store(high, out + (x - first) + kLanes);
    }
    for (; x < last; ++x) {
        double sum = 0.0;
        for (const auto& term : terms)
            sum += Term(term, rows, x);
        out[x - first] = Divide ? sum / divisor : sum;
    }
}

} // namespace FilterWindowPrivate

using namespace FilterWindowPrivate;

FENRAK_VECTOR_CLONES void SumTaps(const std::vector<WindowTap>& taps, const WindowRows& rows, unsigned int first,
                                  unsigned int last, double* out)
{
    SumOf<false>(taps, rows, first, last, 1.0, out);
}

FENRAK_VECTOR_CLONES void SumTapsOver(const std::vector<WindowTap>& taps, const WindowRows& rows, unsigned int first,
                                      unsigned int last, double divisor, double* out)
{
    SumOf<true>(taps, rows, first, last, divisor, out);
}

FENRAK_VECTOR_CLONES void SumDifferences(const std::vector<WindowDifference>& differences, const WindowRows& rows,
                                         unsigned int first, unsigned int last, double* out)
{
    SumOf<false>(differences, rows, first, last, 1.0, out);
}

} // namespace core
