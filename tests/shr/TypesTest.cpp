// Primitive types, errors and the log.
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/PrimType.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

using namespace shr;

TEST(PrimType, TablesAndClip)
{
    for (int a = 0; a < PrimTypeCount; ++a)
        for (int b = 0; b < PrimTypeCount; ++b) {
            const PrimType p = CPrimType::Promotion[a][b];
            EXPECT_EQ(p, CPrimType::Promotion[b][a]) << "promotion is symmetric";
            EXPECT_LE(CPrimType::TypeMin[p], std::min(CPrimType::TypeMin[a], CPrimType::TypeMin[b])) << a << "," << b;
            EXPECT_GE(CPrimType::TypeMax[p], std::min(CPrimType::TypeMax[a], CPrimType::TypeMax[b])) << a << "," << b;
        }
    EXPECT_EQ(CPrimType::Promotion[Int8][UInt8], Int16);
    EXPECT_EQ(CPrimType::Promotion[UInt32][Int32], Int64);
    EXPECT_EQ(CPrimType::Promotion[Float][Int32], Double);

    EXPECT_EQ(CPrimType::Clip(UInt8, 300.0), 255.0);
    EXPECT_EQ(CPrimType::Clip(Int8, -1000.0), -128.0);
    EXPECT_EQ(CPrimType::Clip(Float, 1e300), static_cast<double>(FLT_MAX));
    EXPECT_TRUE(std::isnan(CPrimType::Clip(Int32, NAN)));
    // The clipped int64 maximum must convert back without overflow.
    const double top = CPrimType::Clip(Int64, 1e30);
    EXPECT_LT(top, 9223372036854775808.0);
    EXPECT_GT(static_cast<int64_t>(top), INT64_MAX - 2048);
    EXPECT_THROW(CPrimType::Clip(static_cast<PrimType>(9), 0.0), Exception);
}

TEST(Exception, TextAndDescription)
{
    try {
        ThrowSharedError("Shared", "here.cpp", 12, 0, "value %d of %s", 3, "five");
        FAIL();
    } catch (const Exception& e) {
        EXPECT_STREQ(e.what(), "value 3 of five");
        EXPECT_EQ(e.Describe(), "Shared error 0 (here.cpp:12): value 3 of five");
    }
}

TEST(Logger, LevelsSinksAndThreads)
{
    testsupport::LogCapture log;
    g_Logger.Send(1, "first");
    g_Logger.SendVA(4, "%s execute time=%.3lf seconds", "Iso", 0.25);
    g_Logger.Send(8, "dropped at the default threshold");
    g_Logger.SetMaxLevel(8);
    g_Logger.Send(8, "kept");
    g_Logger.SetMaxLevel(0);
    g_Logger.Send(1, "silenced");
    g_Logger.SetMaxLevel(4);

    testsupport::RunThreads(4, [](unsigned int) {
        for (int i = 0; i < 100; ++i)
            g_Logger.SendVA(4, "thread line %d", i);
    });

    const auto seen = log.Lines();
    ASSERT_GE(seen.size(), 3u);
    EXPECT_EQ(seen[0], std::make_pair(1, std::string("first")));
    EXPECT_EQ(seen[1], std::make_pair(4, std::string("Iso execute time=0.250 seconds")));
    EXPECT_EQ(seen[2], std::make_pair(8, std::string("kept")));
    EXPECT_EQ(seen.size(), 3u + 400u);
}
