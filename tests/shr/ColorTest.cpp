// Colours: blending methods and the named-colour table.
#include "shr/Color4b.h"
#include "shr/ColorTable.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

using namespace shr;

namespace {

::testing::AssertionResult Near(const Color4b& got, const Color4b& want, int tolerance = 1)
{
    auto off = [&](int a, int b) { return std::abs(a - b) > tolerance; };
    if (off(got.r, want.r) || off(got.g, want.g) || off(got.b, want.b) || off(got.a, want.a))
        return ::testing::AssertionFailure() << "got (" << int(got.r) << "," << int(got.g) << "," << int(got.b)
                                             << "," << int(got.a) << ") want (" << int(want.r) << ","
                                             << int(want.g) << "," << int(want.b) << "," << int(want.a) << ")";
    return ::testing::AssertionSuccess();
}

} // namespace

TEST(Color4b, EveryMethodKeepsTheEndsClampsTheFractionAndHasItsMidpoints)
{
    const Color4b a(10, 200, 30, 0), b(250, 20, 130, 255);
    for (int m = 0; m < Color4b::InterpMethodCount; ++m) {
        const auto method = static_cast<Color4b::InterpMethod>(m);
        EXPECT_TRUE(Near(Color4b::Interp(a, b, 0.0, method), a)) << m;
        EXPECT_TRUE(Near(Color4b::Interp(a, b, 1.0, method), b)) << m;
        EXPECT_EQ(Color4b::Interp(a, b, -5.0, method), Color4b::Interp(a, b, 0.0, method)) << m;
        EXPECT_EQ(Color4b::Interp(a, b, 7.0, method), Color4b::Interp(a, b, 1.0, method)) << m;
    }

    // Midpoints of each method.
    const Color4b red = Color4b::Red, blue = Color4b::Blue;
    struct Row {
        Color4b::InterpMethod method;
        Color4b a, b;
        double t;
        Color4b want;
    } rows[] = {
        {Color4b::Rgb, Color4b::Black, Color4b::White, 0.5, Color4b(128, 128, 128)},
        // Red (hue 0) to blue (hue 240): the short way passes magenta (300),
        // the long way and the increasing way pass green (120).
        {Color4b::HsvShortest, red, blue, 0.5, Color4b(255, 0, 255)},
        {Color4b::HsvLongest, red, blue, 0.5, Color4b(0, 255, 0)},
        {Color4b::HsvIncreasing, red, blue, 0.5, Color4b(0, 255, 0)},
        {Color4b::HsvDecreasing, red, blue, 0.5, Color4b(255, 0, 255)},
        // Grey takes the hue of the other end: no detour through other colours.
        {Color4b::HsvShortest, Color4b::Black, red, 0.5, Color4b(128, 64, 64)},
        {Color4b::HsvShortest, Color4b::White, blue, 0.5, Color4b(128, 128, 255)},
        {Color4b::Nearest, red, blue, 0.49, red},
        {Color4b::Nearest, red, blue, 0.5, blue},
        {Color4b::StepFirst, red, blue, 0.99, red},
        {Color4b::StepLast, red, blue, 0.01, blue},
        {Color4b::Smooth, Color4b::Black, Color4b::White, 0.25, Color4b(37, 37, 37)},
        {Color4b::LinearLight, Color4b::Black, Color4b::White, 0.5, Color4b(188, 188, 188)},
        {static_cast<Color4b::InterpMethod>(99), Color4b::Black, Color4b::White, 0.5, Color4b(128, 128, 128)},
    };
    for (const Row& row : rows)
        EXPECT_TRUE(Near(Color4b::Interp(row.a, row.b, row.t, row.method), row.want))
            << "method " << row.method << " t " << row.t;
}

TEST(ColorTable, FindsNamesWhateverTheirSpelling)
{
    const CColorTable& table = CColorTable::Instance();
    EXPECT_GE(table.size(), 140u);
    for (const char* name : {"darkslategray", "Dark Slate Gray", "DARK_SLATE_GRAY"}) {
        size_t index = 0;
        ASSERT_TRUE(table.IndexFromColor(name, index)) << name;
        EXPECT_EQ(table[index].red, 47);
        EXPECT_EQ(table[index].green, 79);
        EXPECT_EQ(table[index].blue, 79);
    }
    size_t index = 12345;
    EXPECT_FALSE(table.IndexFromColor("notacolour", index));
    EXPECT_FALSE(table.IndexFromColor("", index));
    EXPECT_EQ(index, 12345u);
    EXPECT_THROW(table[table.size()], Exception);
}
