#pragma once
// The parallel frame of the lattice filters: a range of work items (rows of
// nodes, or nodes) in one TBB loop. The calling thread, the update thread,
// takes chunks like the workers do; after each of its own chunks it reports
// progress and reads the abort flag, so that workers never call into the
// host. On abort the loop is cancelled: no chunk starts after it.
#include "core/data/ThreadHandOver.h"
#include "core/network/VbProgress.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <thread>

namespace core {
namespace LatticeFilterPrivate {

// Runs body(tbb::blocked_range<Index>) over [0, count), in chunks of at least
// `grain` items. `done` and `total` place this run within the whole filter's
// progress, in units of items. `token` marks the data the bodies hand back
// (see ThreadHandOver.h). False when the progress asks to stop.
template <class Index, class Body>
bool RunWithProgress(Index count, Index grain, const Body& body, VbProgress& progress, size_t done, size_t total,
                     const void* token)
{
    std::atomic<size_t> finished{0};
    std::atomic<bool> stopped{false};
    const std::thread::id caller = std::this_thread::get_id();
    tbb::task_group_context context;
    HandOver(token);
    tbb::parallel_for(
        tbb::blocked_range<Index>(0, count, std::max<Index>(grain, 1)),
        [&](const tbb::blocked_range<Index>& range) {
            if (stopped.load(std::memory_order_relaxed))
                return;
            body(range);
            const size_t now = finished.fetch_add(range.size()) + range.size();
            if (std::this_thread::get_id() == caller && !progress.Update(done + now, total)) {
                stopped = true;
                context.cancel_group_execution();
            }
        },
        tbb::auto_partitioner(), context);
    TakeOver(token);
    return !stopped && progress.Update(done + static_cast<size_t>(count), total);
}

} // namespace LatticeFilterPrivate
} // namespace core
