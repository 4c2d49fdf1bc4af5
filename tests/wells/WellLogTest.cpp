// Logs as step functions of depth, their ranges, histograms and stored forms.
#include "WellTestSupport.h"

#include "core/wells/WellLog.h"
#include "core/wells/WellUtility.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

using namespace core;

namespace {

constexpr double kNull = WellLog::DefaultNullValue;

// Values 1 at MD 10, 2 at 20, a gap at 30, 4 at 40.
std::shared_ptr<WellLog> GammaLog()
{
    return welltest::MakeLog("GR", {LogEntry(10, 1), LogEntry(20, 2), LogEntry(30, kNull), LogEntry(40, 4)});
}

std::vector<unsigned char> Store(WellLog& log, int version)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, "", version);
    log.Serialize(archive);
    return bytes;
}

TEST(WellLogTest, StepValueAtBetweenAndOutsideEntries)
{
    const auto holder = GammaLog();
    const WellLog& log = *holder;
    const struct {
        double md;
        bool found;
        double value;
    } cases[] = {
        {9.99, false, kNull}, {10, true, 1}, {15, true, 1},     {20, true, 2},  {29.9, true, 2},
        {30, false, kNull},   {35, false, kNull}, {40, true, 4}, {40.1, false, kNull},
    };
    for (const auto& c : cases) {
        double value = 0;
        EXPECT_EQ(log.Interpolate(c.md, value), c.found) << c.md;
        EXPECT_EQ(value, c.value) << c.md;
    }
}

TEST(WellLogTest, ExtractValueOnlyAtAnEntrysOwnDepth)
{
    const auto holder = GammaLog();
    WellLog& log = *holder;
    log.UpdateIntervals();
    double end = 0, value = 0;
    EXPECT_TRUE(log.ExtractValue(20, end, value));
    EXPECT_EQ(end, 30);
    EXPECT_EQ(value, 2);
    for (double md : {15.0, 30.0, 45.0}) {
        EXPECT_FALSE(log.ExtractValue(md, end, value)) << md;
        EXPECT_EQ(end, md);
        EXPECT_EQ(value, kNull);
    }
    // The last entry ends where it begins.
    EXPECT_TRUE(log.ExtractValue(40, end, value));
    EXPECT_EQ(end, 40);
}

TEST(WellLogTest, AppendKeepsDepthOrderAndTheOrderOfEqualDepths)
{
    WellLog log(LogInit{"x", kNull});
    for (const auto& entry : {LogEntry(20, 1), LogEntry(10, 2), LogEntry(20, 3), LogEntry(15, 4), LogEntry(10, 5)})
        log.Append(entry);
    std::vector<double> order;
    for (const LogEntry& entry : log)
        order.push_back(entry.Data());
    EXPECT_EQ(order, (std::vector<double>{2, 5, 4, 1, 3}));
    double value = 0;
    EXPECT_TRUE(log.Interpolate(20, value));
    EXPECT_EQ(value, 3) << "the last of equal depths holds below them";
}

TEST(WellLogTest, RangesSkipNullsAndNaNs)
{
    const auto holder = GammaLog();
    const WellLog& log = *holder;
    std::pair<double, double> range;
    EXPECT_TRUE(log.MDRange(range));
    EXPECT_EQ(range, std::make_pair(10.0, 40.0));
    EXPECT_TRUE(log.Range(range));
    EXPECT_EQ(range, std::make_pair(1.0, 4.0));

    WellLog gaps(LogInit{"gaps", -1.0});
    gaps.Append(LogEntry(1, -1.0));
    gaps.Append(LogEntry(2, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(gaps.Range(range));
    EXPECT_EQ(range, std::make_pair(-1.0, -1.0));
    EXPECT_EQ(std::distance(gaps.filtered_begin(), gaps.filtered_end()), 1) << "a NaN is not the null value";

    const WellLog empty(LogInit{"empty", kNull});
    EXPECT_FALSE(empty.MDRange(range));
    EXPECT_EQ(range, std::make_pair(0.0, 0.0));
}

TEST(WellLogTest, HistogramEdges)
{
    WellLog log(LogInit{"h", kNull});
    for (double v : {0.0, 0.5, 2.5, 2.999, 3.0, 7.0, -1.0, kNull})
        log.Append(LogEntry(log.size(), v));
    std::vector<unsigned int> bins(3);
    // Values at or beyond the ends go to the end bins; the end itself to the last.
    EXPECT_TRUE(Histogram(log, std::make_pair(0.0, 3.0), bins));
    EXPECT_EQ(bins, (std::vector<unsigned int>{3, 0, 4}));

    std::pair<double, double> range;
    EXPECT_TRUE(Histogram(log, bins, range));
    EXPECT_EQ(range, std::make_pair(-1.0, 7.0));
    EXPECT_EQ(bins, (std::vector<unsigned int>{3, 3, 1}));

    WellLog flat(LogInit{"flat", kNull});
    for (int n = 0; n < 4; ++n)
        flat.Append(LogEntry(n, 5.0));
    EXPECT_TRUE(Histogram(flat, bins, range));
    EXPECT_EQ(bins, (std::vector<unsigned int>{4, 0, 0})) << "equal values all go to bin 0";

    const WellLog none(LogInit{"none", kNull});
    EXPECT_FALSE(Histogram(none, bins, range));
    EXPECT_EQ(range, std::make_pair(kNull, kNull));
    EXPECT_EQ(bins, (std::vector<unsigned int>{0, 0, 0}));

    std::vector<unsigned int> noBins;
    welltest::ExpectError([&] { Histogram(log, noBins, range); }, "Histogram storage must be non-empty.");
    welltest::ExpectError([&] { Histogram(log, std::make_pair(2.0, 1.0), bins); }, "Histogram range must be valid.");
}

// A value just below the end whose scaled offset rounds up to the bin count
// (here (0.9 - 2^-53 ... - 0.1) * 10 / 0.8 gives 10) falls outside every bin
// rather than past the end of the storage.
TEST(WellLogTest, HistogramValueRoundingToTheBinCountIsCountedNowhere)
{
    const double first = 0.1, second = 0.9, below = std::nextafter(second, 0.0);
    std::vector<unsigned int> bins(10);
    ASSERT_EQ(std::trunc((below - first) * (bins.size() / (second - first))), 10.0);
    WellLog log(LogInit{"r", kNull});
    log.Append(LogEntry(0, below));
    log.Append(LogEntry(1, 0.45));
    EXPECT_TRUE(Histogram(log, std::make_pair(first, second), bins));
    EXPECT_EQ(bins, (std::vector<unsigned int>{0, 0, 0, 0, 1, 0, 0, 0, 0, 0}));
}

TEST(WellLogTest, StoredFormsOnBothSidesOfTheIntervalVersion)
{
    const auto holder = GammaLog();
    WellLog& log = *holder;
    log.UpdateIntervals();
    const std::vector<unsigned char> old = Store(log, WellLog::IntervalVersion - 1);
    const std::vector<unsigned char> current = Store(log, WellLog::IntervalVersion);
    EXPECT_EQ(current.size() - old.size(), 8 * log.size());

    for (const auto* bytes : {&old, &current}) {
        const bool withEnds = bytes == &current;
        WellLog loaded(LogInit{"stale", 0});
        shr::Archive in(bytes->data(), bytes->size());
        loaded.Serialize(in);
        EXPECT_EQ(in.BytesRemaining(), 0u);
        EXPECT_EQ(loaded.Name(), "GR");
        EXPECT_EQ(loaded.NullValue(), kNull);
        ASSERT_EQ(loaded.size(), 4u);
        for (size_t n = 0; n < 4; ++n) {
            const LogEntry& a = *(log.begin() + n);
            const LogEntry& b = *(loaded.begin() + n);
            EXPECT_EQ(b.MD(), a.MD());
            EXPECT_EQ(b.Data(), a.Data());
            EXPECT_EQ(b.EndMD(), withEnds ? a.EndMD() : a.MD()) << "older documents hold samples only";
        }
    }

    // A cut anywhere is an error that leaves the log as it was.
    for (size_t cut = 1; cut + 8 < current.size(); cut += 7) { // the header stays
        WellLog target(LogInit{"kept", 1.0});
        shr::Archive in(current.data(), current.size() - cut);
        EXPECT_THROW(target.Serialize(in), shr::Exception) << cut;
        EXPECT_EQ(target.Name(), "kept");
        EXPECT_TRUE(target.empty());
    }
}

} // namespace
