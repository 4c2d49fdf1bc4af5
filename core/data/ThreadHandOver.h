#pragma once
// Happens-before edges that the thread sanitizer cannot see by itself.
//
// oneTBB synchronises its workers inside libtbb, which is not instrumented,
// so the sanitizer sees neither the hand-over of data to a parallel loop's
// tasks nor the return of their results. A loop that hands data over marks
// the edge with a token address: HandOver before the loop and at the end of
// each task, TakeOver at the start of each task and after the loop. In other
// builds both are empty.
#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace core {

inline void HandOver(const void* token)
{
#if defined(__SANITIZE_THREAD__)
    __tsan_release(const_cast<void*>(token));
#else
    (void)token;
#endif
}

inline void TakeOver(const void* token)
{
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(const_cast<void*>(token));
#else
    (void)token;
#endif
}

} // namespace core
