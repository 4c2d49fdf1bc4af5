#pragma once
// ParallelNodes: the node loop of the lattice tools. A tbb::parallel_for with
// the auto_partitioner over a blocked_range<unsigned int> of flat node (or
// tuple) indices. Each node's result depends on the inputs alone, so the
// split among the workers does not change the output.
//
// Progress and the abort test belong to the calling thread (the update
// thread): after each piece of work it does itself, it reports the nodes
// done by all, and an abort cancels the pieces not yet begun.
#include "core/data/ThreadHandOver.h"
#include "core/network/VbProgress.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <atomic>
#include <thread>

namespace core {

// Calls body(range) for sub-ranges covering [0, count); false when the
// progress (which may be null) asked to stop. Exceptions of the body reach
// the caller. The tasks share the one body, which they must only read; the
// body's address marks the hand-over edges (ThreadHandOver.h).
template <class Body>
bool ParallelNodes(unsigned int count, const Body& body, VbProgress* progress)
{
    if (progress && !progress->Update(0, count))
        return false;
    const Body* shared = &body;
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<unsigned int> done{0};
    std::atomic<bool> stopped{false};
    tbb::task_group_context context;
    const auto task = [&](const tbb::blocked_range<unsigned int>& range) {
        TakeOver(shared);
        (*shared)(range);
        HandOver(shared);
        const unsigned int sum = done.fetch_add(range.size(), std::memory_order_relaxed) + range.size();
        if (progress && std::this_thread::get_id() == caller && !progress->Update(sum, count)) {
            stopped.store(true, std::memory_order_relaxed);
            context.cancel_group_execution();
        }
    };
    HandOver(shared);
    tbb::parallel_for(tbb::blocked_range<unsigned int>(0, count), task, tbb::auto_partitioner(), context);
    TakeOver(shared);
    return !stopped.load(std::memory_order_relaxed);
}

} // namespace core
