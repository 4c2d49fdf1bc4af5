#pragma once
// Parallel output of unknown size in a fixed order: the work is cut into
// blocks whose outputs are counted in parallel, placed one after another by a
// running sum, then written in parallel, each block from its own offset. The
// result equals a sequential walk of the blocks in order, whatever the number
// of threads, and nothing is copied twice.
#include "core/data/ThreadHandOver.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <cstddef>
#include <vector>

namespace core {

// count(b) gives the outputs of block b; resize(total) makes room for all of
// them; fill(b, offset) writes block b's outputs from `offset` on. Returns the
// total. With `counted` the counts are cheap and known ahead (no output is
// left out), and are taken in the calling thread.
template <class Count, class Resize, class Fill>
size_t CompactBlocks(size_t blocks, Count count, Resize resize, Fill fill, bool counted = false)
{
    std::vector<size_t> sums(blocks + 1, 0);
    // The tasks reach everything through the hand-over token, which they
    // hold by value.
    size_t* const offsets = sums.data();
    if (counted) {
        for (size_t b = 0; b < blocks; ++b)
            offsets[b + 1] = count(b);
    } else {
        HandOver(offsets);
        tbb::parallel_for(tbb::blocked_range<size_t>(0, blocks), [&, offsets](const tbb::blocked_range<size_t>& range) {
            TakeOver(offsets);
            for (size_t b = range.begin(); b != range.end(); ++b)
                offsets[b + 1] = count(b);
            HandOver(offsets);
        });
        TakeOver(offsets);
    }
    for (size_t b = 0; b < blocks; ++b)
        offsets[b + 1] += offsets[b];
    resize(offsets[blocks]);
    HandOver(offsets);
    tbb::parallel_for(tbb::blocked_range<size_t>(0, blocks), [&, offsets](const tbb::blocked_range<size_t>& range) {
        TakeOver(offsets);
        for (size_t b = range.begin(); b != range.end(); ++b)
            fill(b, offsets[b]);
        HandOver(offsets);
    });
    TakeOver(offsets);
    return offsets[blocks];
}

} // namespace core
