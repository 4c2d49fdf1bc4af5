#include "core/data/VdArray.h"

#include "ArrayTestHelpers.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

namespace {

using arraytest::ExpectCoreError;
using arraytest::MakeArray;
using arraytest::ValueAt;
using core::VdArray;
using shr::PrimType;

const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(VdArrayTest, DefaultAndSizedArrays)
{
    VdArray empty;
    EXPECT_EQ(empty.ComponentType(), shr::UInt8);
    EXPECT_EQ(empty.ComponentCount(), 0u);
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.TotalSize(), 0u);
    EXPECT_EQ(empty.ComponentSize(), 0u);
    EXPECT_EQ(empty.GetReadPtr(), nullptr);
    EXPECT_TRUE(empty.Modified());
    EXPECT_FALSE(empty.HasBlanks());
    EXPECT_FALSE(empty.IsBlank(0, 0));

    VdArray array(shr::Int16, 5, 3);
    EXPECT_EQ(array.TupleCount(), 5u);
    EXPECT_EQ(array.ComponentSize(), 2u);
    EXPECT_EQ(array.TupleSize(), 6u);
    EXPECT_EQ(array.TotalSize(), 30u);
    const char* base = static_cast<const char*>(array.GetReadPtr());
    EXPECT_EQ(static_cast<const char*>(array.GetReadPtr(4)) - base, 24);
    EXPECT_EQ(static_cast<const char*>(array.GetReadPtr(4, 2)) - base, 28);
    EXPECT_EQ(array.GetWritePtr(4, 2), array.GetReadPtr(4, 2));

    array.Clear();
    EXPECT_EQ(array.ComponentType(), shr::Int16);
    EXPECT_EQ(array.TupleCount(), 0u);
    EXPECT_EQ(array.ComponentCount(), 0u);
}

// More than 2147483647 elements is error 46, from the constructor, Resize
// (whose 32-bit product must not wrap to a small store) and Append, before
// anything is allocated; the array stays as it was.
TEST(VdArrayTest, ElementLimitRaisesError46)
{
    VdArray array = MakeArray(shr::Float, {1, 2});
    const char byte = 0;
    const std::function<void()> actions[] = {
        [] { VdArray(shr::UInt8, 65536, 32768); },
        [&] { array.Resize(shr::UInt8, 65536, 65536); },
        [&] { array.Resize(shr::UInt8, 2147483648u, 1); },
        [&] { array.Append(std::numeric_limits<uint32_t>::max(), &byte); },
    };
    for (const auto& action : actions) {
        try {
            action();
            ADD_FAILURE() << "no error";
        } catch (const shr::Exception& error) {
            EXPECT_EQ(error.Code(), 46);
            EXPECT_EQ(error.Component(), "Core");
            EXPECT_EQ(error.File(), "VdArray");
            EXPECT_EQ(std::string(error.Message()), "Insufficient memory to perform operation");
        }
    }
    EXPECT_EQ(array.TupleCount(), 2u);
    EXPECT_EQ(ValueAt(array, 1), 2.0);
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
    EXPECT_FALSE(original.IsBlank(2, 0));

    copy = copy;
    EXPECT_EQ(copy.TupleCount(), 3u);
    VdArray other(shr::Int8, 1, 1);
    copy.Swap(other);
    EXPECT_EQ(copy.ComponentType(), shr::Int8);
    EXPECT_EQ(other.GetMax(0), 2.0);
    other.Swap(other);
    EXPECT_EQ(other.TupleCount(), 3u);

    VdArray fromDefault(copy = VdArray());
    EXPECT_EQ(fromDefault.GetReadPtr(), nullptr);

    other.Resize(shr::UInt16, 4, 2);
    EXPECT_FALSE(other.HasBlanks());
    EXPECT_EQ(other.TotalSize(), 16u);
    EXPECT_EQ(other.GetMinMax(1), std::make_pair(0.0, 0.0));
    ExpectCoreError([&] { other.Resize(PrimType(12), 1, 1); }, "Invalid data type.");
    EXPECT_EQ(other.ComponentType(), shr::UInt16);
}

TEST(VdArrayTest, BlanksPerElement)
{
    VdArray array = MakeArray(shr::Float, {1, 2, 3, 4, 5, 6}, {}, 3);
    array.SetBlank(1, 2);
    array.SetBlank(1, 2);
    EXPECT_EQ(array.GetData()->BlankCount(), 1u);
    array.SetBlank(0);
    EXPECT_EQ(array.GetData()->BlankCount(), 4u);
    EXPECT_TRUE(array.IsBlank(0, 1));
    EXPECT_FALSE(array.IsBlank(1, 0));
    // A blank element keeps its number; writing through a pointer keeps the blank.
    EXPECT_EQ(ValueAt(array, 5), 6.0);
    static_cast<float*>(array.GetWritePtr(0, 0))[0] = 8.0f;
    EXPECT_TRUE(array.IsBlank(0, 0));
    // SetTuple clears the blanks of its tuple; the last one frees the mask.
    const double tuple[] = {7, 8, 9};
    array.SetTuple(0, tuple);
    EXPECT_EQ(array.GetData()->BlankCount(), 1u);
    array.SetTuple(1, tuple);
    EXPECT_FALSE(array.HasBlanks());
    ExpectCoreError([&] { array.SetBlank(2, 0); }, "Array index out of range.");
}

struct StatsCase {
    const char* name;
    PrimType type;
    std::vector<double> values;
    std::vector<unsigned int> blanks;
    double min;
    double max;
    size_t binCount;
    std::map<size_t, uint32_t> bins; // the non-empty bins
};

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
    const StatsCase cases[] = {
        {"empty int32", shr::Int32, {}, {}, big, -big, 0, {}},
        {"empty float", shr::Float, {}, {}, big, -big, 256, {}},
        {"all blank uint8", shr::UInt8, {4, 5}, {0, 1}, big, -big, 0, {}},
        {"all blank double", shr::Double, {4, 5}, {0, 1}, big, -big, 256, {}},
        {"int16 all equal", shr::Int16, {7, 7, 7, 7}, {}, 7, 7, 1, {{0, 4}}},
        {"uint8 one bin per value", shr::UInt8, {12, 10, 11}, {}, 10, 12, 3, {{0, 1}, {1, 1}, {2, 1}}},
        {"int8 full range", shr::Int8, {-128, 127, 0}, {}, -128, 127, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"int16 wide range", shr::Int16, {0, 1000, 500}, {}, 0, 1000, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"float maximum in last bin", shr::Float, {0, 1, 0.5}, {}, 0, 1, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"double all equal", shr::Double, {3, 3}, {}, 3, 3, 256, {{0, 2}}},
        {"int64 large", shr::Int64, {-4e18, 4e18}, {}, -4e18, 4e18, 256, {{0, 1}, {255, 1}}},
        {"uint32 above int32", shr::UInt32, {4e9, 3e9}, {}, 3e9, 4e9, 256, {{0, 1}, {255, 1}}},
        {"blank ignored", shr::UInt8, {10, 200, 11, 12}, {1}, 10, 12, 3, {{0, 1}, {1, 1}, {2, 1}}},
        {"blank path double", shr::Double, {0, 0.5, 1, -9}, {3}, 0, 1, 256, {{0, 1}, {128, 1}, {255, 1}}},
        {"blank path all equal", shr::Double, {2, 2, 5}, {2}, 2, 2, 256, {{0, 2}}},
        {"nan first stays", shr::Double, {kNaN, 1, 2}, {}, kNaN, kNaN, 256, {}},
        {"nan later skipped", shr::Float, {1, kNaN, 3}, {}, 1, 3, 256, {{0, 1}, {255, 1}}},
    };
    for (const StatsCase& c : cases) {
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
}

TEST(VdArrayTest, StatisticsOfOneComponentFollowTheStride)
{
    VdArray array = MakeArray(shr::Int32, {1, -10, 2, 20, 3, 30}, {}, 2);
    EXPECT_EQ(array.GetMinMax(0), std::make_pair(1.0, 3.0));
    EXPECT_EQ(array.GetMinMax(1), std::make_pair(-10.0, 30.0));
    array.SetBlank(2, 1);
    EXPECT_EQ(array.GetMinMax(1), std::make_pair(-10.0, 20.0));
    EXPECT_EQ(array.GetHistogram(0), (std::vector<uint32_t>{1, 1, 1}));
}

// The modified flag is both set by writers and consumed by the first reader.
TEST(VdArrayTest, StatisticsInvalidation)
{
    VdArray array = MakeArray(shr::UInt8, {10, 11, 12});
    EXPECT_EQ(array.GetMax(0), 12.0);
    EXPECT_FALSE(array.Modified());

    // A raw write without SetModified leaves the old statistics in force...
    static_cast<uint8_t*>(array.GetWritePtr(1))[0] = 200;
    EXPECT_EQ(array.GetMax(0), 12.0);
    // ...and a histogram then computed from stale limits stays in its bins.
    EXPECT_EQ(array.GetHistogram(0), (std::vector<uint32_t>{1, 0, 2}));
    array.SetModified();
    EXPECT_EQ(array.GetMax(0), 200.0);
    EXPECT_EQ(array.GetHistogram(0).size(), 191u);

    array.SetBlank(1, 0);
    EXPECT_TRUE(array.Modified());
    EXPECT_EQ(array.GetMinMax(0), std::make_pair(10.0, 12.0));
    EXPECT_EQ(array.GetHistogram(0).size(), 3u);

    // An out-of-range component leaves the flag unconsumed.
    array.SetModified();
    ExpectCoreError([&] { array.GetMinMax(1); }, "Array component index out of range.");
    ExpectCoreError([&] { array.GetHistogram(1); }, "Array component index out of range.");
    EXPECT_TRUE(array.Modified());
}

TEST(VdArrayTest, AppendArraysAndBlocks)
{
    VdArray first = MakeArray(shr::Int16, {1, 2, 3, 4}, {1}, 2);
    const VdArray second = MakeArray(shr::Int16, {5, 6, 7, 8, 9, 10}, {0, 5}, 2);
    EXPECT_EQ(first.GetMax(0), 3.0);
    first.Append(second);
    ASSERT_EQ(first.TupleCount(), 5u);
    EXPECT_TRUE(first.Modified());
    EXPECT_EQ(first.GetMax(0), 9.0);
    for (uint32_t index = 0; index < 10; ++index) {
        EXPECT_EQ(ValueAt(first, index), index + 1.0);
        EXPECT_EQ(first.IsBlank(index / 2, index % 2), index == 1 || index == 4 || index == 9) << index;
    }

    const int16_t block[] = {11, 12};
    first.Append(1, block);
    EXPECT_EQ(first.TupleCount(), 6u);
    EXPECT_EQ(ValueAt(first, 11), 12.0);
    EXPECT_EQ(first.GetData()->BlankCount(), 3u);
    first.Append(0, nullptr);
    EXPECT_EQ(first.TupleCount(), 6u);

    first.Append(first);
    EXPECT_EQ(first.TupleCount(), 12u);
    EXPECT_TRUE(first.IsBlank(10, 1));

    VdArray empty;
    empty.Append(VdArray(shr::UInt8, 3, 0));
    EXPECT_EQ(empty.TupleCount(), 3u);

    ExpectCoreError([&] { first.Append(VdArray(shr::Int32, 1, 2)); },
                    "Cannot append arrays with different component types.");
    ExpectCoreError([&] { first.Append(VdArray(shr::Int16, 1, 3)); },
                    "Cannot append arrays with different component sizes.");
    ExpectCoreError([&] { first.Append(2, nullptr); }, "Cannot append invalid data.");
    EXPECT_EQ(first.TupleCount(), 12u);
}

} // namespace
