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

// Slabs per run of work, so that an abort is seen soon.
constexpr int kSlabsPerRun = 32;

// Runs body(tbb::blocked_range<Index>) over [0, count), in slabs of at least
// minSlab items. `done` and `total` place this run within the whole filter's
// progress, in units of items. `token` marks the data the bodies hand back
// (see ThreadHandOver.h). False when the progress asks to stop.
template <class Index, class Body>
bool RunInSlabs(Index count, Index minSlab, const Body& body, VbProgress& progress, size_t done, size_t total,
                const void* token)
{
    const Index slab = std::max<Index>(std::max<Index>(minSlab, 1), count / kSlabsPerRun + 1);
    for (Index first = 0; first < count;) {
        const Index last = count - first > slab ? first + slab : count;
        HandOver(token);
        tbb::parallel_for(tbb::blocked_range<Index>(first, last), body, tbb::auto_partitioner());
        TakeOver(token);
        first = last;
        if (!progress.Update(done + static_cast<size_t>(first), total))
            return false;
    }
    return true;
}

} // namespace LatticeFilterPrivate
} // namespace core
