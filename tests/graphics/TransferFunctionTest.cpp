// The transfer function's nodes: their order on insertion and the piecewise
// linear curve through them, held flat beyond the ends.
#include "core/graphics/VbTransferFunction.h"

#include <gtest/gtest.h>

#include <stdexcept>

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
