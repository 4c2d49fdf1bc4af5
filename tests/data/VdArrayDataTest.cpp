#include "core/data/VdArrayData.h"

#include "ArrayTestHelpers.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

namespace {

using arraytest::ExpectCoreError;
using core::VdArrayData;
using shr::PrimType;

// Doubles written into integer stores are truncated towards zero and only the
// low bits kept, also far outside the int64 range; none of these may trip the
// undefined-behaviour sanitizer.
TEST(VdArrayDataTest, DoubleToIntegerKeepsLowBitsOfTruncatedValue)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        PrimType type;
        double written;
        int64_t expected;
    };
    const Case cases[] = {
        {shr::UInt8, 300.7, 44},
        {shr::Int8, -1.5, -1},
        {shr::Int8, 200.0, -56},
        {shr::Int8, -0.99, 0},
        {shr::UInt16, 70000.9, 4464},
        {shr::Int16, -32769.0, 32767},
        {shr::UInt32, -1.0, 4294967295LL},
        {shr::Int32, 4294967301.0, 5},
        {shr::UInt32, 1e19, 2313682944LL},
        {shr::Int64, 1e19, -8446744073709551616LL},
        {shr::Int64, -9223372036854775808.0, std::numeric_limits<int64_t>::min()},
        {shr::Int64, 9007199254740993.0, 9007199254740992LL},
        {shr::UInt8, std::ldexp(1.0, 70), 0},
        {shr::Int64, -std::ldexp(1.0, 64), 0},
        {shr::UInt8, nan, 0},
        {shr::Int32, inf, 0},
        {shr::Int64, -inf, 0},
    };
    for (const Case& c : cases) {
        auto store = VdArrayData::Create(c.type, 1);
        store->SetValue(0, c.written);
        int64_t read = 0;
        store->GetValue(0, read);
        EXPECT_EQ(read, c.expected) << "type " << c.type << " value " << c.written;
    }
}

// Readers and writers of other widths: integers extend by the source's
// signedness and are cut to the target; float and double narrow and widen as
// IEEE does, overflow included.
TEST(VdArrayDataTest, ConversionsBetweenElementTypes)
{
    auto int16 = VdArrayData::Create(shr::Int16, 1);
    int16->SetValue(0, uint32_t(0xFFFFFFFFu));
    uint8_t asUInt8 = 0;
    int64_t asInt64 = 0;
    int16->GetValue(0, asUInt8);
    int16->GetValue(0, asInt64);
    EXPECT_EQ(asUInt8, 255);
    EXPECT_EQ(asInt64, -1);

    auto uint32 = VdArrayData::Create(shr::UInt32, 1);
    uint32->SetValue(0, int8_t(-1));
    uint32->GetValue(0, asInt64);
    EXPECT_EQ(asInt64, 4294967295LL);

    auto floats = VdArrayData::Create(shr::Float, 1);
    uint32_t asUInt32 = 0;
    floats->SetValue(0, -1.0);
    floats->GetValue(0, asUInt32);
    EXPECT_EQ(asUInt32, 4294967295u);
    int8_t asInt8 = 0;
    floats->SetValue(0, 300.7);
    floats->GetValue(0, asInt8);
    EXPECT_EQ(asInt8, 44);

    struct FloatCase {
        double written;
        double expected;
    };
    const double inf = std::numeric_limits<double>::infinity();
    const FloatCase cases[] = {
        {0.1, 0.10000000149011612},
        {double(FLT_MAX), double(FLT_MAX)},
        {std::nextafter(double(FLT_MAX), inf), double(FLT_MAX)},
        {0x1.ffffffp+127, inf},
        {-1e300, -inf},
        {1e-50, 0.0},
    };
    for (const FloatCase& c : cases) {
        floats->SetValue(0, c.written);
        double read = 0.0;
        floats->GetValue(0, read);
        EXPECT_EQ(read, c.expected) << c.written;
    }

    auto doubles = VdArrayData::Create(shr::Double, 1);
    doubles->SetValue(0, int64_t(-9007199254740993LL)); // nearest double
    double read = 0.0;
    doubles->GetValue(0, read);
    EXPECT_EQ(read, -9007199254740992.0);
}

TEST(VdArrayDataTest, CreateSizesAndRejectsUnknownTypes)
{
    const unsigned int sizes[] = {1, 1, 2, 2, 4, 4, 8, 4, 8};
    for (int type = 0; type < shr::PrimTypeCount; ++type) {
        auto store = VdArrayData::Create(PrimType(type), 5);
        EXPECT_EQ(store->Type(), type);
        EXPECT_EQ(store->ComponentSize(), sizes[type]);
        EXPECT_EQ(store->Size(), 5u);
        EXPECT_EQ(static_cast<const char*>(store->GetPtr(3)) - static_cast<const char*>(store->GetPtr()),
                  3 * sizes[type]);
        for (uint32_t index = 0; index < 5; ++index) {
            double value = 1.0;
            store->GetValue(index, value);
            EXPECT_EQ(value, 0.0);
        }
    }
    for (int bad : {9, -1, 1000})
        ExpectCoreError([bad] { VdArrayData::Create(PrimType(bad), 1); }, "Invalid data type.");
}

TEST(VdArrayDataTest, BlankMaskCountsEachElementOnce)
{
    auto store = VdArrayData::Create(shr::Double, 20);
    EXPECT_FALSE(store->HasBlanks());
    store->SetBlank(17);
    store->SetBlank(17);
    store->SetBlank(0);
    EXPECT_EQ(store->BlankCount(), 2u);
    for (uint32_t index = 0; index < 20; ++index)
        EXPECT_EQ(store->IsBlank(index), index == 0 || index == 17) << index;
    ExpectCoreError([&] { store->SetBlank(20); }, "Array index out of range.");
    EXPECT_EQ(store->BlankCount(), 2u);
}

TEST(VdArrayDataTest, CloneIsIndependentCopyWithBlanks)
{
    auto store = VdArrayData::Create(shr::Int32, 9);
    store->SetValue(4, 42.0);
    store->SetBlank(8);
    auto copy = store->Clone();
    store->SetValue(4, 7.0);
    store->SetBlank(1);

    int32_t value = 0;
    copy->GetValue(4, value);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(copy->Type(), shr::Int32);
    EXPECT_EQ(copy->BlankCount(), 1u);
    EXPECT_TRUE(copy->IsBlank(8));
    EXPECT_FALSE(copy->IsBlank(1));

    auto unblanked = VdArrayData::Create(shr::UInt8, 0)->Clone();
    EXPECT_FALSE(unblanked->HasBlanks());
    EXPECT_EQ(unblanked->Size(), 0u);
}

} // namespace
