#include "core/graphics/ColorInterpolator.h"
#include "core/graphics/VbColorMap.h"
#include "core/graphics/VbTransferFunction.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>

using shr::Color4b;

TEST(ColorInterpolator, BothForms)
{
    const core::LinearColorInterpolator grey(10.0, 2.0);
    const struct {
        double value;
        unsigned char level;
    } cases[] = {{0.0, 0}, {10.0, 0}, {10.9, 1}, {73.7, 127}, {137.4, 254}, {137.5, 255}, {1e300, 255},
                 {std::numeric_limits<double>::quiet_NaN(), 0}};
    for (const auto& c : cases)
        EXPECT_EQ(grey(c.value), Color4b(c.level, c.level, c.level, 255)) << c.value;

    core::VbColorMap map;
    map.SetDataLimits(100.0, 200.0);
    std::unique_ptr<core::ColorInterpolator> byMap = std::make_unique<core::ColorMapColorInterpolator>(map);
    EXPECT_EQ((*byMap)(150.0), map.PosToColor(0.5));
    EXPECT_EQ((*byMap)(250.0), Color4b::White);
    map.SetScalingLimits(5.0, 5.0); // zero width: position 0
    EXPECT_EQ((*byMap)(250.0), Color4b::Black);
}

TEST(VbTransferFunction, NodesAndInterpolation)
{
    core::VbTransferFunction function(nullptr);
    EXPECT_EQ(function.InterpY(0.5), 0.0);
    EXPECT_EQ(function.AddNode(1.0, 4.0), 0u);
    EXPECT_EQ(function.AddNode(0.0, 2.0), 0u);
    EXPECT_EQ(function.AddNode(0.5, 3.0), 1u);
    EXPECT_EQ(function.AddNode(0.5, 1.0), 1u); // among equal x, by y
    EXPECT_EQ(function.AddNode(0.5, 3.0), 3u); // after an equal node
    ASSERT_EQ(function.size(), 5u);
    EXPECT_THROW(function[5], std::out_of_range);

    const struct {
        double x, y;
    } cases[] = {{-1.0, 2.0}, {0.0, 2.0}, {0.25, 1.5}, {0.5, 3.0}, {0.75, 3.5}, {1.0, 4.0}, {9.0, 4.0}};
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(function.InterpY(c.x), c.y) << c.x;
}
