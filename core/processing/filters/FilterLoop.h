#pragma once
// The parallel frame of the lattice filters: a range of work items (rows of
// nodes, or nodes) in one TBB loop. The calling thread, the update thread,
// takes chunks like the workers do; after each of its own chunks it reports
// progress and reads the abort flag, so that workers never call into the
// host. On abort the loop is cancelled: no chunk starts after it.
#include "core/data/ParallelFor.h"

#include <cstddef>

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
    return ParallelForWithProgress(count, grain, body, &progress, done, total, token);
}

} // namespace LatticeFilterPrivate
} // namespace core
