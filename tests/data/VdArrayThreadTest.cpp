#include "core/data/VdArray.h"

#include "ArrayTestHelpers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using arraytest::MakeArray;
using core::VdArray;

constexpr unsigned int kThreads = 4;

template <class Work>
void RunThreads(unsigned int count, Work work)
{
    std::vector<std::thread> threads;
    for (unsigned int id = 0; id < count; ++id)
        threads.emplace_back(work, id);
    for (std::thread& thread : threads)
        thread.join();
}

// Readers of statistics on several threads, while a writer keeps declaring
// the data modified, always see the statistics of the data.
TEST(VdArrayThreadTest, StatisticsReadersAndModifyingWriter)
{
    std::vector<double> values;
    for (int i = 0; i < 4000; ++i)
        values.push_back((i / 2 * 37) % 1000); // both components take every value 0..999
    VdArray shared = MakeArray(shr::Int32, values, {}, 2);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};

    std::thread writer([&] {
        while (!done.load())
            shared.SetModified();
    });
    RunThreads(kThreads, [&](unsigned int id) {
        for (int round = 0; round < 200; ++round) {
            const unsigned int component = (id + round) % 2;
            if (shared.GetMinMax(component) != std::make_pair(0.0, 999.0))
                ++wrong;
            uint32_t total = 0;
            {
                std::lock_guard<std::recursive_mutex> lock(VdArray::StatsLock());
                for (uint32_t count : shared.GetHistogram(component))
                    total += count;
            }
            if (total != 2000)
                ++wrong;
        }
    });
    done = true;
    writer.join();
    EXPECT_EQ(wrong.load(), 0);
}

// Blanking distinct elements of one array from several threads keeps the
// count equal to the bits set, and clones taken meanwhile are consistent
// snapshots. Clearing blanks through SetTuple from several threads frees the
// mask with the last one. (Element values have no lock: no clone runs while
// values are written.)
TEST(VdArrayThreadTest, BlankMaskUnderConcurrentWriters)
{
    constexpr unsigned int kTupleCount = kThreads * 500;
    VdArray shared(shr::Float, kTupleCount, 2);
    std::atomic<bool> done{false};
    std::atomic<int> inconsistent{0};

    std::thread cloner([&] {
        while (!done.load()) {
            std::unique_ptr<core::VdArrayData> copy = shared.GetData()->Clone();
            unsigned int bits = 0;
            for (uint32_t index = 0; index < copy->Size(); ++index)
                bits += copy->IsBlank(index) ? 1 : 0;
            if (bits != copy->BlankCount())
                ++inconsistent;
        }
    });
    RunThreads(kThreads, [&](unsigned int id) {
        for (unsigned int tuple = id; tuple < kTupleCount; tuple += kThreads) {
            shared.SetBlank(tuple);
            if (!shared.IsBlank(tuple, 1))
                ++inconsistent;
        }
    });
    done = true;
    cloner.join();
    EXPECT_EQ(inconsistent.load(), 0);
    EXPECT_EQ(shared.GetData()->BlankCount(), 2 * kTupleCount);

    const auto writeTuples = [&](unsigned int step) {
        RunThreads(kThreads, [&, step](unsigned int id) {
            const double values[] = {1.0, 2.0};
            for (unsigned int tuple = id * step; tuple < kTupleCount; tuple += kThreads * step)
                shared.SetTuple(tuple, values);
        });
    };
    writeTuples(2);
    EXPECT_EQ(shared.GetData()->BlankCount(), kTupleCount);
    EXPECT_EQ(shared.GetMinMax(1), std::make_pair(2.0, 2.0));
    writeTuples(1);
    EXPECT_FALSE(shared.HasBlanks());
}

} // namespace
