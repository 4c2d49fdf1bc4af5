#pragma once
// The parallel frame of the lattice filters: a range of work items (rows of
// nodes, or nodes) run on TBB a slab at a time. Between slabs the calling
// thread, the update thread, reports progress and reads the abort flag, so
// that workers never call into the host.
#include "core/data/ThreadHandOver.h"
#include "core/network/VbProgress.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <algorithm>
#include <cstddef>

namespace core {
namespace LatticeFilterPrivate {

// Slabs per run of work at most, so that an abort is seen soon; grains per
// slab at least, so that the threads share a slab evenly.
constexpr int kSlabsPerRun = 32;
constexpr int kGrainsPerSlab = 64;

// Runs body(tbb::blocked_range<Index>) over [0, count), in slabs. The threads
// take chunks of at least `grain` items, which the auto partitioner cuts
// finer when a thread runs out of work.
// `done` and `total` place this run within the whole filter's progress, in
// units of items. `token` marks the data the bodies hand back (see
// ThreadHandOver.h). False when the progress asks to stop.
template <class Index, class Body>
bool RunInSlabs(Index count, Index grain, const Body& body, VbProgress& progress, size_t done, size_t total,
                const void* token)
{
    grain = std::max<Index>(grain, 1);
    const Index slab = std::max<Index>(grain * kGrainsPerSlab, count / kSlabsPerRun + 1);
    for (Index first = 0; first < count;) {
        const Index last = count - first > slab ? first + slab : count;
        HandOver(token);
        tbb::parallel_for(tbb::blocked_range<Index>(first, last, grain), body, tbb::auto_partitioner());
        TakeOver(token);
        first = last;
        if (!progress.Update(done + static_cast<size_t>(first), total))
            return false;
    }
    return true;
}

} // namespace LatticeFilterPrivate
} // namespace core
