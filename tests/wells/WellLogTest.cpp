// Logs as step functions of depth, their ranges, histograms and stored forms.
#include "WellTestSupport.h"

#include "core/wells/WellUtility.h"
#include "shr/Archive.h"

#include <cmath>
#include <limits>
#include <vector>

using namespace core;
using welltest::ExpectError;
using welltest::MakeLog;

namespace {

constexpr double kNull = WellLog::DefaultNullValue;

// Values 1 at MD 10, 2 at 20, a gap at 30, 4 at 40.
std::shared_ptr<WellLog> GammaLog()
{
    return MakeLog("GR", {LogEntry(10, 1), LogEntry(20, 2), LogEntry(30, kNull), LogEntry(40, 4)});
}

TEST(WellLogTest, StepValueAtBetweenAndOutsideEntries)
{
    const auto log = GammaLog();
    log->UpdateIntervals();
    // ExtractValue finds only an entry that starts at the depth, with its end:
    // the next entry's start, or its own for the last; elsewhere the depth.
    const struct {
        double md;
        bool found;
        double value;
        bool exact;
        double end;
    } cases[] = {
        {9.99, false, kNull, false, 9.99}, {10, true, 1, true, 20},        {15, true, 1, false, 15},
        {20, true, 2, true, 30},           {29.9, true, 2, false, 29.9},   {30, false, kNull, false, 30},
        {35, false, kNull, false, 35},     {40, true, 4, true, 40},        {40.1, false, kNull, false, 40.1},
    };
    for (const auto& c : cases) {
        double value = 0, end = 0;
        EXPECT_EQ(log->Interpolate(c.md, value), c.found) << c.md;
        EXPECT_EQ(value, c.value) << c.md;
        EXPECT_EQ(log->ExtractValue(c.md, end, value), c.exact) << c.md;
        EXPECT_EQ(end, c.end) << c.md;
    }
}

TEST(WellLogTest, AppendKeepsDepthOrderAndTheOrderOfEqualDepths)
{
    const auto log =
        MakeLog("x", {LogEntry(20, 1), LogEntry(10, 2), LogEntry(20, 3), LogEntry(15, 4), LogEntry(10, 5)});
    std::vector<double> order;
    for (const LogEntry& entry : *log)
        order.push_back(entry.Data());
    EXPECT_EQ(order, (std::vector<double>{2, 5, 4, 1, 3}));
}

TEST(WellLogTest, RangesSkipNullsAndNaNs)
{
    std::pair<double, double> range;
    EXPECT_TRUE(GammaLog()->Range(range));
    EXPECT_EQ(range, std::make_pair(1.0, 4.0));

    WellLog gaps(LogInit{"gaps", -1.0});
    gaps.Append(LogEntry(1, -1.0));
    gaps.Append(LogEntry(2, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(gaps.Range(range));
    EXPECT_EQ(range, std::make_pair(-1.0, -1.0));
    EXPECT_EQ(std::distance(gaps.filtered_begin(), gaps.filtered_end()), 1) << "a NaN is not the null value";
}

TEST(WellLogTest, HistogramEdges)
{
    const auto log = MakeLog("h", {LogEntry(0, 0.0), LogEntry(1, 0.5), LogEntry(2, 2.5), LogEntry(3, 2.999),
                                   LogEntry(4, 3.0), LogEntry(5, 7.0), LogEntry(6, -1.0), LogEntry(7, kNull)});
    std::vector<unsigned int> bins(3);
    // Values at or beyond the ends go to the end bins; the end itself to the last.
    EXPECT_TRUE(Histogram(*log, std::make_pair(0.0, 3.0), bins));
    EXPECT_EQ(bins, (std::vector<unsigned int>{3, 0, 4}));
    std::pair<double, double> range;
    EXPECT_TRUE(Histogram(*log, bins, range));
    EXPECT_EQ(range, std::make_pair(-1.0, 7.0));
    EXPECT_EQ(bins, (std::vector<unsigned int>{3, 3, 1}));

    EXPECT_TRUE(Histogram(*MakeLog("flat", {LogEntry(0, 5), LogEntry(1, 5)}), bins, range));
    EXPECT_EQ(bins, (std::vector<unsigned int>{2, 0, 0})) << "equal values all go to bin 0";
    EXPECT_FALSE(Histogram(*MakeLog("none", {LogEntry(0, kNull)}), bins, range));
    EXPECT_EQ(range, std::make_pair(kNull, kNull));
    EXPECT_EQ(bins, (std::vector<unsigned int>{0, 0, 0}));

    std::vector<unsigned int> noBins;
    ExpectError([&] { Histogram(*log, noBins, range); }, "Histogram storage must be non-empty.");
    ExpectError([&] { Histogram(*log, std::make_pair(2.0, 1.0), bins); }, "Histogram range must be valid.");

    // A value just below the end whose scaled offset rounds up to the bin
    // count ((0.9 - 2^-53 - 0.1) * 10 / 0.8 gives 10) is counted nowhere
    // rather than past the end of the storage.
    const double below = std::nextafter(0.9, 0.0);
    bins.assign(10, 0);
    ASSERT_EQ(std::trunc((below - 0.1) * (10 / (0.9 - 0.1))), 10.0);
    EXPECT_TRUE(Histogram(*MakeLog("r", {LogEntry(0, below), LogEntry(1, 0.45)}), std::make_pair(0.1, 0.9), bins));
    EXPECT_EQ(bins, (std::vector<unsigned int>{0, 0, 0, 0, 1, 0, 0, 0, 0, 0}));
}

TEST(WellLogTest, StoredFormsOnBothSidesOfTheIntervalVersion)
{
    const auto log = GammaLog();
    log->UpdateIntervals();
    std::vector<unsigned char> forms[2];
    for (int n = 0; n < 2; ++n) {
        shr::Archive out(forms[n], "", WellLog::IntervalVersion - 1 + n);
        log->Serialize(out);
    }
    EXPECT_EQ(forms[1].size() - forms[0].size(), 8 * log->size());
    for (int n = 0; n < 2; ++n) {
        WellLog loaded(LogInit{"stale", 0});
        shr::Archive in(forms[n].data(), forms[n].size());
        loaded.Serialize(in);
        EXPECT_EQ(in.BytesRemaining(), 0u);
        EXPECT_EQ(loaded.Name(), "GR");
        EXPECT_EQ(loaded.NullValue(), kNull);
        ASSERT_EQ(loaded.size(), 4u);
        for (auto a = log->begin(), b = loaded.begin(); a != log->end(); ++a, ++b) {
            EXPECT_EQ(b->MD(), a->MD());
            EXPECT_EQ(b->Data(), a->Data());
            EXPECT_EQ(b->EndMD(), n == 1 ? a->EndMD() : a->MD()) << "older documents hold samples only";
        }
    }
    // A cut anywhere after the header is an error that leaves the log as it was.
    for (size_t cut = 1; cut + 8 < forms[1].size(); cut += 7) {
        WellLog target(LogInit{"kept", 1.0});
        shr::Archive in(forms[1].data(), forms[1].size() - cut);
        EXPECT_THROW(target.Serialize(in), shr::Exception) << cut;
        EXPECT_EQ(target.Name(), "kept");
        EXPECT_TRUE(target.empty());
    }
}

} // namespace
