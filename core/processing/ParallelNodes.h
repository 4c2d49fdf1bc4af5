#pragma once
// ParallelNodes: the node loop of the lattice tools. A tbb::parallel_for with
// the auto_partitioner over a blocked range of flat node (or tuple) indices
// (ParallelForRanges). Each node's result depends on the inputs alone, so the
// split among the workers does not change the output.
//
// Progress and the abort test belong to the calling thread (the update
// thread): after each piece of work it does itself, it reports the nodes
// done by all, and an abort cancels the pieces not yet begun.
#include "core/data/ParallelFor.h"
#include "core/network/VbProgress.h"

#include <tbb/blocked_range.h>
#include <tbb/task_group.h>

#include <atomic>
#include <cstddef>
#include <thread>

namespace core {

// Calls body(range) for sub-ranges covering [0, count); false when the
// progress (which may be null) asked to stop. Exceptions of the body reach
// the caller. The tasks share the one body, which they must only read.
template <class Body>
bool ParallelNodes(unsigned int count, const Body& body, VbProgress* progress)
{
    if (progress && !progress->Update(0, count))
        return false;
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<size_t> done{0};
    std::atomic<bool> stopped{false};
    tbb::task_group_context context;
    const auto task = [&](const tbb::blocked_range<size_t>& range) {
        body(tbb::blocked_range<unsigned int>(static_cast<unsigned int>(range.begin()),
                                              static_cast<unsigned int>(range.end())));
        const size_t sum = done.fetch_add(range.size(), std::memory_order_relaxed) + range.size();
        if (progress && std::this_thread::get_id() == caller && !progress->Update(sum, count)) {
            stopped.store(true, std::memory_order_relaxed);
            context.cancel_group_execution();
        }
    };
    ParallelForRanges(count, 1, task, context);
    return !stopped.load(std::memory_order_relaxed);
}

} // namespace core
