#pragma once
// tbb::parallel_for with the hand-over edges that the thread sanitizer cannot
// see by itself (ThreadHandOver.h): TBB copies a loop body when it splits a
// range, builds the copy in task memory that another thread may just have
// used, and may run it on a third. The wrapper marks those edges; the loop
// bodies themselves stay checked.
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

namespace ParallelForPrivate {

// The address through which loop bodies mark their hand-over edges.
inline const void* LoopToken()
{
    static const char token = 0;
    return &token;
}

// Holds the caller's body by pointer; `Body` takes a blocked_range.
template <class Body>
class HandedOverBody {
public:
    explicit HandedOverBody(const Body& body) : m_Body(&body) {}
    HandedOverBody(const HandedOverBody& other)
    {
        TakeOver(LoopToken());
        m_Body = other.m_Body;
        HandOver(LoopToken());
    }
    HandedOverBody& operator=(const HandedOverBody&) = delete;

    void operator()(const tbb::blocked_range<size_t>& range) const
    {
        TakeOver(LoopToken());
        (*m_Body)(range);
        HandOver(LoopToken());
    }

private:
    const Body* m_Body = nullptr;
};

} // namespace ParallelForPrivate

// Calls body(range) for sub-ranges of [0, count), `grain` at least, under the
// auto partitioner and the given task group context.
template <class Body>
void ParallelForRanges(size_t count, size_t grain, const Body& body, tbb::task_group_context& context)
{
    using namespace ParallelForPrivate;
    const HandedOverBody<Body> handed(body);
    HandOver(LoopToken());
    tbb::parallel_for(tbb::blocked_range<size_t>(0, count, grain), handed, tbb::auto_partitioner(), context);
    TakeOver(LoopToken());
}

// Calls body(tbb::blocked_range<Index>) over [0, count), in chunks of at
// least `grain` items, for a computation that shows progress: the calling
// thread (the update thread) takes chunks like the workers do, and after each
// of its own it reports `done` plus the items finished by all, of `total`, and
// reads the abort flag, so that workers never call into the host. On abort no
// chunk starts after it. `token` marks the data the bodies hand back
// (ThreadHandOver.h). False when the progress asks to stop; a null progress
// runs to the end.
template <class Index, class Body>
bool ParallelForWithProgress(Index count, Index grain, const Body& body, VbProgress* progress, size_t done,
                             size_t total, const void* token)
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
            TakeOver(token);
            body(range);
            HandOver(token);
            const size_t now = finished.fetch_add(range.size()) + range.size();
            if (progress && std::this_thread::get_id() == caller && !progress->Update(done + now, total)) {
                stopped = true;
                context.cancel_group_execution();
            }
        },
        tbb::auto_partitioner(), context);
    TakeOver(token);
    return !stopped && (!progress || progress->Update(done + static_cast<size_t>(count), total));
}

// Calls body(n) for n in [0, count) on TBB workers, `grain` at a time.
template <class Body>
void ParallelFor(size_t count, size_t grain, const Body& body)
{
    const auto each = [&body](const tbb::blocked_range<size_t>& range) {
        for (size_t n = range.begin(); n != range.end(); ++n)
            body(n);
    };
    tbb::task_group_context context;
    ParallelForRanges(count, grain, each, context);
}

} // namespace core
