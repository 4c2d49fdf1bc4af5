#pragma once
// Parallel output of unknown size in a fixed order: the work is cut into
// blocks whose outputs are counted in parallel, placed one after another by a
// running sum, then written in parallel, each block from its own offset. The
// result equals a sequential walk of the blocks in order, whatever the number
// of threads, and nothing is copied twice.
#include "core/data/ParallelFor.h"

#include <tbb/blocked_range.h>

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
    size_t* const offsets = sums.data();
    // ParallelForRanges marks the hand-over of the loop bodies and of what
    // they read and write for the thread sanitizer.
    tbb::task_group_context context;
    if (counted) {
        for (size_t b = 0; b < blocks; ++b)
            offsets[b + 1] = count(b);
    } else {
        ParallelForRanges(blocks, 1, [&](const tbb::blocked_range<size_t>& range) {
            for (size_t b = range.begin(); b != range.end(); ++b)
                offsets[b + 1] = count(b);
        }, context);
    }
    for (size_t b = 0; b < blocks; ++b)
        offsets[b + 1] += offsets[b];
    resize(offsets[blocks]);
    ParallelForRanges(blocks, 1, [&](const tbb::blocked_range<size_t>& range) {
        for (size_t b = range.begin(); b != range.end(); ++b)
            fill(b, offsets[b]);
    }, context);
    return offsets[blocks];
}

} // namespace core
