#pragma once
// tbb::parallel_for with the hand-over edges that the thread sanitizer cannot
// see by itself (ThreadHandOver.h): TBB copies a loop body when it splits a
// range, builds the copy in task memory that another thread may just have
// used, and may run it on a third. The wrapper marks those edges; the loop
// bodies themselves stay checked.
#include "core/data/ThreadHandOver.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <cstddef>

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
