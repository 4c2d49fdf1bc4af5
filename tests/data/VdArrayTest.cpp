// Arrays: element stores and their conversions, sizes and the element limit,
// blanks, statistics, appending, the stored form, and concurrent readers and
// writers.
#include "core/data/VdArray.h"
#include "tests/support/LatticeSupport.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <thread>

namespace {

using core::VdArray;
using core::VdArrayData;
using shr::PrimType;
using testsupport::MakeArray;
using testsupport::RaisedText;
using testsupport::ValueAt;
using Bytes = std::vector<unsigned char>;

const double kNaN = std::numeric_limits<double>::quiet_NaN(), kInf = std::numeric_limits<double>::infinity();

// Doubles written into integer stores are truncated towards zero and only the
// low bits kept, also far outside the int64 range (without tripping the
// undefined-behaviour sanitizer); floats narrow and widen as IEEE does.
TEST(VdArrayDataTest, ConversionsBetweenElementTypes)
{
    const struct {
        PrimType type;
        double written;
        double read; // as a double for floating types, else as an int64
    } cases[] = {
        {shr::UInt8, 300.7, 44},           {shr::Int8, -1.5, -1},        {shr::Int8, 200.0, -56},
        {shr::Int8, -0.99, 0},             {shr::UInt16, 70000.9, 4464}, {shr::Int16, -32769.0, 32767},
        {shr::UInt32, -1.0, 4294967295.0}, {shr::Int32, 4294967301.0, 5}, {shr::UInt32, 1e19, 2313682944.0},
        {shr::Int64, 1e19, -8446744073709551616.0}, {shr::Int64, -9223372036854775808.0, -9223372036854775808.0},
        {shr::UInt8, std::ldexp(1.0, 70), 0}, {shr::Int64, -std::ldexp(1.0, 64), 0}, {shr::UInt8, kNaN, 0},
        {shr::Int32, kInf, 0},             {shr::Int64, -kInf, 0},        {shr::Float, 0.1, 0.10000000149011612},
        {shr::Float, std::nextafter(double(FLT_MAX), kInf), double(FLT_MAX)}, {shr::Float, 0x1.ffffffp+127, kInf},
        {shr::Float, -1e300, -kInf},       {shr::Float, 1e-50, 0.0},
    };
    // `written` stored as `type`, then read back as the type of `read`.
    const auto through = [](PrimType type, auto written, auto read) {
        auto store = VdArrayData::Create(type, 1);
        store->SetValue(0, written);
        store->GetValue(0, read);
        return read;
    };
    for (const auto& c : cases) {
        const double read = c.type == shr::Float ? through(c.type, c.written, 0.0)
                                                 : double(through(c.type, c.written, int64_t(0)));
        EXPECT_EQ(read, c.read) << "type " << c.type << " " << c.written;
    }
    // Integers extend by the source's signedness and are cut to the target.
    EXPECT_EQ(through(shr::Int16, uint32_t(0xFFFFFFFFu), uint8_t(0)), 255);
    EXPECT_EQ(through(shr::Int16, uint32_t(0xFFFFFFFFu), int64_t(0)), -1);
    EXPECT_EQ(through(shr::Float, -1.0, uint32_t(0)), 4294967295u);
    EXPECT_EQ(through(shr::Double, int64_t(-9007199254740993LL), 0.0), -9007199254740992.0);
}

TEST(VdArrayDataTest, CreateSizesBlanksAndClones)
{
    const unsigned int sizes[] = {1, 1, 2, 2, 4, 4, 8, 4, 8};
    for (int type = 0; type < shr::PrimTypeCount; ++type) {
        auto store = VdArrayData::Create(PrimType(type), 5);
        double zero = 1.0;
        store->GetValue(4, zero);
        EXPECT_EQ(zero, 0.0) << "a new store is zeroed";
        EXPECT_EQ(static_cast<const char*>(store->GetPtr(3)) - static_cast<const char*>(store->GetPtr()),
                  3 * sizes[type]);
    }
    for (int bad : {9, -1, 1000})
        EXPECT_EQ(RaisedText([bad] { VdArrayData::Create(PrimType(bad), 1); }), "Core: Invalid data type.");

    auto store = VdArrayData::Create(shr::Int32, 20);
    store->SetValue(4, 42.0);
    store->SetBlank(17);
    store->SetBlank(17);
    store->SetBlank(0);
    EXPECT_EQ(store->BlankCount(), 2u);
    EXPECT_EQ(RaisedText([&] { store->SetBlank(20); }), "Core: Array index out of range.");
    auto copy = store->Clone();
    store->SetValue(4, 7.0);
    store->SetBlank(1);
    EXPECT_EQ(copy->BlankCount(), 2u);
    EXPECT_TRUE(copy->IsBlank(17) && !copy->IsBlank(1));
    int32_t value = 0;
    copy->GetValue(4, value);
    EXPECT_EQ(value, 42);
}

TEST(VdArrayTest, SizesAddressesAndTheElementLimit)
{
    VdArray empty;
    EXPECT_TRUE(empty.IsEmpty() && empty.Modified() && !empty.HasBlanks() && !empty.IsBlank(0, 0));
    EXPECT_EQ(empty.GetReadPtr(), nullptr);

    VdArray array(shr::Int16, 5, 3);
    const char* base = static_cast<const char*>(array.GetReadPtr());
    EXPECT_EQ(static_cast<const char*>(array.GetReadPtr(4)) - base, 24);
    EXPECT_EQ(static_cast<const char*>(array.GetReadPtr(4, 2)) - base, 28);
    array.Clear();
    EXPECT_EQ(array.ComponentType(), shr::Int16);
    EXPECT_EQ(array.TupleCount() + array.ComponentCount(), 0u);

    // More than 2147483647 elements, or tuples past the 32-bit count, is error 46
    // before anything is allocated; the array stays as it was.
    VdArray kept = MakeArray(shr::Float, {1, 2});
    VdArray flat(shr::UInt8, 3, 0);
    const char byte = 0;
    for (const std::function<void()>& action : std::vector<std::function<void()>>{
             [] { VdArray(shr::UInt8, 65536, 32768); }, [&] { kept.Resize(shr::UInt8, 65536, 65536); },
             [&] { kept.Resize(shr::UInt8, 2147483648u, 1); },
             [&] { kept.Append(std::numeric_limits<uint32_t>::max(), &byte); },
             [&] { flat.Append(std::numeric_limits<uint32_t>::max(), &byte); }}) {
        const testsupport::Raised raised = testsupport::RaisedBy(action);
        EXPECT_EQ(raised.code, 46);
        EXPECT_EQ(raised.message, "Insufficient memory to perform operation");
    }
    EXPECT_EQ(ValueAt(kept, 1), 2.0);
    EXPECT_EQ(flat.TupleCount(), 3u);
}

TEST(VdArrayTest, CopySwapAndResizeHandleStoreBlanksAndStats)
{
    VdArray original = MakeArray(shr::Double, {1, 2, 3}, {2});
    EXPECT_EQ(original.GetMax(0), 2.0);
    VdArray copy(original);
    original.SetTuple(0, std::vector<double>{-5}.data());
    original.SetTuple(2, std::vector<double>{9}.data());
    EXPECT_EQ(copy.GetMinMax(0), std::make_pair(1.0, 2.0));
    EXPECT_TRUE(copy.IsBlank(2, 0));
    EXPECT_FALSE(original.IsBlank(2, 0)) << "SetTuple clears the blanks of its tuple";

    VdArray other(shr::Int8, 1, 1);
    copy.Swap(other);
    EXPECT_EQ(copy.ComponentType(), shr::Int8);
    EXPECT_EQ(other.GetMax(0), 2.0);
    other.Resize(shr::UInt16, 4, 2);
    EXPECT_FALSE(other.HasBlanks());
    EXPECT_EQ(other.GetMinMax(1), std::make_pair(0.0, 0.0));
    EXPECT_EQ(RaisedText([&] { other.Resize(PrimType(12), 1, 1); }), "Core: Invalid data type.");
    EXPECT_EQ(other.ComponentType(), shr::UInt16);

    // Blanking a tuple blanks each component; a blank keeps its number, also
    // under a raw write.
    VdArray blanked = MakeArray(shr::Float, {1, 2, 3, 4, 5, 6}, {5}, 3);
    blanked.SetBlank(0);
    EXPECT_EQ(blanked.GetData()->BlankCount(), 4u);
    EXPECT_EQ(ValueAt(blanked, 5), 6.0);
    static_cast<float*>(blanked.GetWritePtr(0, 0))[0] = 8.0f;
    EXPECT_TRUE(blanked.IsBlank(0, 0));
    EXPECT_EQ(RaisedText([&] { blanked.SetBlank(2, 0); }), "Core: Array index out of range.");
}

void ExpectSameDouble(double actual, double expected, const char* what, const char* name)
{
    if (std::isnan(expected))
        EXPECT_TRUE(std::isnan(actual)) << name << " " << what;
    else
        EXPECT_EQ(actual, expected) << name << " " << what;
}

TEST(VdArrayTest, MinMaxAndHistogramBinning)
{
    const double big = DBL_MAX;
    const struct {
        const char* name;
        PrimType type;
        std::vector<double> values;
        std::vector<unsigned int> blanks;
        double min, max;
        size_t binCount;
        std::map<size_t, uint32_t> bins; // the non-empty bins
    } cases[] = {
        {"empty int32", shr::Int32, {}, {}, big, -big, 0, {}},
        {"empty float", shr::Float, {}, {}, big, -big, 256, {}},
        {"all blank uint8", shr::UInt8, {4, 5}, {0, 1}, big, -big, 0, {}},
        {"int16 all equal", shr::Int16, {7, 7, 7, 7}, {}, 7, 7, 1, {{0, 4}}},
        {"uint8 one bin per value", shr::UInt8, {12, 10, 11}, {}, 10, 12, 3, {{0, 1}, {1, 1}, {2, 1}}},
        {"int8 full range", shr::Int8, {-128, 127, 0}, {}, -128, 127, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"int16 wide range", shr::Int16, {0, 1000, 500}, {}, 0, 1000, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"float maximum in last bin", shr::Float, {0, 1, 0.5}, {}, 0, 1, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"double all equal", shr::Double, {3, 3}, {}, 3, 3, 256, {{0, 2}}},
        {"uint32 above int32", shr::UInt32, {4e9, 3e9}, {}, 3e9, 4e9, 256, {{0, 1}, {255, 1}}},
        {"blank ignored", shr::UInt8, {10, 200, 11, 12}, {1}, 10, 12, 3, {{0, 1}, {1, 1}, {2, 1}}},
        {"blank path double", shr::Double, {0, 0.5, 1, -9}, {3}, 0, 1, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"blank path all equal", shr::Double, {2, 2, 5}, {2}, 2, 2, 256, {{0, 2}}},
        {"nan first stays", shr::Double, {kNaN, 1, 2}, {}, kNaN, kNaN, 256, {}},
        {"nan later skipped", shr::Float, {1, kNaN, 3}, {}, 1, 3, 256, {{0, 1}, {255, 1}}},
    };
    for (const auto& c : cases) {
        VdArray array = MakeArray(c.type, c.values, c.blanks);
        const std::pair<double, double> range = array.GetMinMax(0);
        ExpectSameDouble(range.first, c.min, "min", c.name);
        ExpectSameDouble(range.second, c.max, "max", c.name);
        const std::vector<uint32_t>& histogram = array.GetHistogram(0);
        ASSERT_EQ(histogram.size(), c.binCount) << c.name;
        for (size_t bin = 0; bin < histogram.size(); ++bin) {
            const auto expected = c.bins.find(bin);
            EXPECT_EQ(histogram[bin], expected == c.bins.end() ? 0u : expected->second) << c.name << " bin " << bin;
        }
    }
    // One component of several follows the stride.
    VdArray pairs = MakeArray(shr::Int32, {1, -10, 2, 20, 3, 30}, {5}, 2);
    EXPECT_EQ(pairs.GetMinMax(0), std::make_pair(1.0, 3.0));
    EXPECT_EQ(pairs.GetMinMax(1), std::make_pair(-10.0, 20.0));
}

// The modified flag is both set by writers and consumed by the first reader.
TEST(VdArrayTest, StatisticsInvalidation)
{
    VdArray array = MakeArray(shr::UInt8, {10, 11, 12});
    EXPECT_EQ(array.GetMax(0), 12.0);
    EXPECT_FALSE(array.Modified());
    // A raw write without SetModified leaves the old statistics in force, and a
    // histogram then computed from stale limits stays in its bins.
    static_cast<uint8_t*>(array.GetWritePtr(1))[0] = 200;
    EXPECT_EQ(array.GetMax(0), 12.0);
    EXPECT_EQ(array.GetHistogram(0), (std::vector<uint32_t>{1, 0, 2}));
    array.SetModified();
    EXPECT_EQ(array.GetMax(0), 200.0);
    EXPECT_EQ(array.GetHistogram(0).size(), 191u);
    array.SetBlank(1, 0);
    EXPECT_EQ(array.GetMinMax(0), std::make_pair(10.0, 12.0));
    // An out-of-range component leaves the flag unconsumed.
    array.SetModified();
    EXPECT_EQ(RaisedText([&] { array.GetMinMax(1); }), "Core: Array component index out of range.");
    EXPECT_EQ(RaisedText([&] { array.GetHistogram(1); }), "Core: Array component index out of range.");
    EXPECT_TRUE(array.Modified());
}

TEST(VdArrayTest, AppendArraysAndBlocks)
{
    VdArray first = MakeArray(shr::Int16, {1, 2, 3, 4}, {1}, 2);
    const VdArray second = MakeArray(shr::Int16, {5, 6, 7, 8, 9, 10}, {0, 5}, 2);
    EXPECT_EQ(first.GetMax(0), 3.0);
    first.Append(second);
    ASSERT_EQ(first.TupleCount(), 5u);
    EXPECT_EQ(first.GetMax(0), 9.0);
    for (uint32_t index = 0; index < 10; ++index) {
        EXPECT_EQ(ValueAt(first, index), index + 1.0);
        EXPECT_EQ(first.IsBlank(index / 2, index % 2), index == 1 || index == 4 || index == 9) << index;
    }
    const int16_t block[] = {11, 12};
    first.Append(1, block);
    first.Append(0, nullptr);
    EXPECT_EQ(ValueAt(first, 11), 12.0);
    EXPECT_EQ(first.GetData()->BlankCount(), 3u);
    first.Append(first);
    EXPECT_EQ(first.TupleCount(), 12u);
    EXPECT_TRUE(first.IsBlank(10, 1));
    const std::pair<std::function<void()>, const char*> errors[] = {
        {[&] { first.Append(VdArray(shr::Int32, 1, 2)); }, "Core: Cannot append arrays with different component types."},
        {[&] { first.Append(VdArray(shr::Int16, 1, 3)); }, "Core: Cannot append arrays with different component sizes."},
        {[&] { first.Append(2, nullptr); }, "Core: Cannot append invalid data."},
    };
    for (const auto& error : errors)
        EXPECT_EQ(RaisedText(error.first), error.second);
    EXPECT_EQ(first.TupleCount(), 12u);
}

// The array has no version of its own: every type, with and without blanks and
// with either modified flag, comes back the same from old and new documents,
// and its statistics are computed afresh from the loaded data.
TEST(VdArrayTest, StoredFormRoundTripsEveryTypeAndVersion)
{
    for (int type = 0; type < shr::PrimTypeCount; ++type)
        for (bool withBlanks : {false, true})
            for (bool modified : {false, true})
                for (int version : {102, shr::Archive::CurrentVersion}) {
                    SCOPED_TRACE(testing::Message() << "type " << type << " blanks " << withBlanks << " modified "
                                                    << modified << " version " << version);
                    VdArray original = MakeArray(shr::PrimType(type), {3, 0, 127, 42, 9, 1, 100, 7},
                                                 withBlanks ? std::vector<unsigned int>{2, 7} : std::vector<unsigned int>{},
                                                 2);
                    original.GetMinMax(0);
                    if (modified)
                        original.SetModified();
                    VdArray loaded = MakeArray(shr::Double, {-50, 50});
                    loaded.GetMinMax(0);
                    testsupport::Load(loaded, testsupport::Store(original, version));
                    ASSERT_EQ(loaded.ComponentType(), original.ComponentType());
                    ASSERT_EQ(loaded.TotalSize(), original.TotalSize());
                    EXPECT_EQ(std::memcmp(loaded.GetReadPtr(), original.GetReadPtr(), loaded.TotalSize()), 0);
                    EXPECT_EQ(loaded.GetData()->BlankCount(), withBlanks ? 2u : 0u);
                    EXPECT_EQ(loaded.IsBlank(3, 1), withBlanks);
                    EXPECT_EQ(loaded.Modified(), modified);
                    EXPECT_EQ(loaded.GetMinMax(0), std::make_pair(3.0, withBlanks ? 100.0 : 127.0));
                    EXPECT_EQ(loaded.GetMinMax(1), std::make_pair(0.0, 42.0));
                }
}

// Fields, then the blank mask, then the raw elements. Every truncation and
// each kind of corruption raises shr::Exception and leaves the target as it was.
TEST(VdArrayTest, StoredLayoutAndBadArchives)
{
    VdArray source = MakeArray(shr::Int16, {1, 2, 3, 4, 5, -2}, {4}, 2);
    const Bytes good = testsupport::Store(source);
    const Bytes layout = {0xC3, 0x5A, 0xA5, 0x3C, // section marker
                          2, 0, 0, 0, 2, 0, 0, 0, // Int16, components
                          3, 0, 0, 0, 1,          // tuples, modified
                          1, 0, 0, 0, 0x10,       // blank count, mask: element 4
                          1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 0xFE, 0xFF};
    EXPECT_EQ(Bytes(good.begin() + 8, good.end()), layout);
    VdArray empty, loaded = MakeArray(shr::Float, {1});
    testsupport::Load(loaded, testsupport::Store(empty));
    EXPECT_TRUE(loaded.IsEmpty() && loaded.ComponentType() == shr::UInt8 && loaded.ComponentCount() == 0);

    const size_t typeAt = 12, tuplesAt = typeAt + 8, blankCountAt = tuplesAt + 5, maskAt = blankCountAt + 4;
    std::vector<Bytes> bad;
    for (size_t length = 8; length < good.size(); ++length)
        bad.emplace_back(good.begin(), good.begin() + length);
    const auto patched = [&](size_t offset, std::vector<unsigned char> patch) {
        Bytes bytes = good;
        std::copy(patch.begin(), patch.end(), bytes.begin() + offset);
        bad.push_back(bytes);
        return bytes;
    };
    patched(8, {0});                           // section marker
    patched(typeAt, {9});                      // unknown type
    patched(typeAt, {0xFF, 0xFF, 0xFF, 0xFF}); // negative type
    patched(blankCountAt, {2});                // count above the mask's bits
    patched(maskAt, {0x30});                   // mask above the count
    patched(maskAt, {0x40});                   // a bit past the last element
    patched(tuplesAt, {0, 0, 0, 0x80});        // over the element limit
    patched(tuplesAt, {0, 0, 0, 0x10});        // more elements than the stream holds
    const Bytes tooManyBlanks = patched(blankCountAt, {7});
    for (size_t which = 0; which < bad.size(); ++which) {
        VdArray target = MakeArray(shr::Float, {1.5, 2.5}, {1});
        EXPECT_THROW(testsupport::Load(target, bad[which]), shr::Exception) << which;
        EXPECT_EQ(target.ComponentType(), shr::Float) << which;
        ASSERT_EQ(target.TupleCount(), 2u) << which;
        EXPECT_EQ(ValueAt(target, 0), 1.5) << which;
        EXPECT_TRUE(target.IsBlank(1, 0)) << which;
    }
    VdArray target;
    EXPECT_NE(RaisedText([&] { testsupport::Load(target, tooManyBlanks); }).find("of 6 elements claims 7 blanks"),
              std::string::npos);
    // Components of no tuples are in no byte of the stream, yet each takes memory.
    VdArray tupleless(shr::Int16, 0, 2);
    Bytes countless = testsupport::Store(tupleless);
    countless[typeAt + 6] = 0x10; // a million components
    EXPECT_THROW(testsupport::Load(target, countless), shr::Exception);
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
    testsupport::RunThreads(4, [&](unsigned int id) {
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
            wrong += total != 2000;
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
    constexpr unsigned int kThreads = 4, kTupleCount = kThreads * 500;
    VdArray shared(shr::Float, kTupleCount, 2);
    std::atomic<bool> done{false};
    std::atomic<int> inconsistent{0};
    std::thread cloner([&] {
        while (!done.load()) {
            std::unique_ptr<core::VdArrayData> copy = shared.GetData()->Clone();
            unsigned int bits = 0;
            for (uint32_t index = 0; index < copy->Size(); ++index)
                bits += copy->IsBlank(index) ? 1 : 0;
            inconsistent += bits != copy->BlankCount();
        }
    });
    testsupport::RunThreads(kThreads, [&](unsigned int id) {
        for (unsigned int tuple = id; tuple < kTupleCount; tuple += kThreads) {
            shared.SetBlank(tuple);
            inconsistent += !shared.IsBlank(tuple, 1);
        }
    });
    done = true;
    cloner.join();
    EXPECT_EQ(inconsistent.load(), 0);
    EXPECT_EQ(shared.GetData()->BlankCount(), 2 * kTupleCount);
    for (unsigned int step : {2u, 1u}) {
        testsupport::RunThreads(kThreads, [&, step](unsigned int id) {
            const double values[] = {1.0, 2.0};
            for (unsigned int tuple = id * step; tuple < kTupleCount; tuple += kThreads * step)
                shared.SetTuple(tuple, values);
        });
        EXPECT_EQ(shared.GetData()->BlankCount(), step == 2 ? kTupleCount : 0u);
    }
    EXPECT_EQ(shared.GetMinMax(1), std::make_pair(2.0, 2.0));
    EXPECT_FALSE(shared.HasBlanks());
}

} // namespace
