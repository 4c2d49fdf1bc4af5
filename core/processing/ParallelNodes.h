#pragma once
// ParallelNodes: the node loop of the lattice tools. A tbb::parallel_for with
// the auto_partitioner over a blocked_range<unsigned int> of flat node (or
// tuple) indices, run in slabs so that a progress report and the abort test
// come between them. Each node's result depends on the inputs alone, so
// neither the slabs nor the split among the workers change the output.
#include "core/data/ThreadHandOver.h"
#include "core/network/VbProgress.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

namespace core {

// Nodes per slab: one progress report and abort test each.
constexpr unsigned int kSlabNodes = 1u << 18;

// Calls body(range) for sub-ranges covering [0, count); false when the
// progress (which may be null) asked to stop. Exceptions of the body reach
// the caller. The tasks share the one body, which they must only read; the
// body's address marks the hand-over edges (ThreadHandOver.h).
template <class Body>
bool ParallelNodes(unsigned int count, const Body& body, VbProgress* progress)
{
    const Body* shared = &body;
    const auto task = [shared](const tbb::blocked_range<unsigned int>& range) {
        TakeOver(shared);
        (*shared)(range);
        HandOver(shared);
    };
    if (progress && !progress->Update(0, count))
        return false;
    for (unsigned int first = 0; first < count;) {
        const unsigned int end = count - first > kSlabNodes ? first + kSlabNodes : count;
        HandOver(shared);
        tbb::parallel_for(tbb::blocked_range<unsigned int>(first, end), task, tbb::auto_partitioner());
        TakeOver(shared);
        first = end;
        if (progress && !progress->Update(first, count))
            return false;
    }
    return true;
}

} // namespace core
