#pragma once
// tbb::parallel_for over [0, count) with the hand-over edges that the thread
// sanitizer cannot see (ThreadHandOver.h): into each task and back, and into
// each copy of the loop body, which TBB makes when it splits a range, in task
// memory that another thread may just have used, and may run on a third.
#include "core/data/ThreadHandOver.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <cstddef>

namespace core {

namespace ParallelRangesPrivate {

template <class Body>
class HandedOverBody {
public:
    HandedOverBody(const Body& body, const char* token) : m_Body(&body), m_Token(token) {}
    HandedOverBody(const HandedOverBody& other)
    {
        TakeOver(other.m_Token);
        m_Body = other.m_Body;
        m_Token = other.m_Token;
        HandOver(m_Token);
    }
    HandedOverBody& operator=(const HandedOverBody&) = delete;

    void operator()(const tbb::blocked_range<size_t>& range) const
    {
        TakeOver(m_Token);
        (*m_Body)(range.begin(), range.end());
        HandOver(m_Token);
    }

private:
    const Body* m_Body = nullptr;
    const char* m_Token = nullptr;
};

} // namespace ParallelRangesPrivate

// Calls body(first, last) on TBB workers for runs of [0, count), at least
// `grain` long where the count allows.
template <class Body>
void ParallelRanges(size_t count, size_t grain, const Body& body)
{
    const char token = 0;
    const ParallelRangesPrivate::HandedOverBody<Body> handed(body, &token);
    HandOver(&token);
    tbb::parallel_for(tbb::blocked_range<size_t>(0, count, grain), handed);
    TakeOver(&token);
}

// Calls body(n) for n in [0, count) on TBB workers, `grain` at a time.
template <class Body>
void ParallelFor(size_t count, size_t grain, const Body& body)
{
    ParallelRanges(count, grain, [&body](size_t first, size_t last) {
        for (size_t n = first; n != last; ++n)
            body(n);
    });
}

} // namespace core
