#include "core/geometry/Rectangle.h"

#include <gtest/gtest.h>

#include <sstream>

using Tavlin::Core::Geometry::Rectangle;

namespace
{

::testing::AssertionResult Is(const Rectangle& r, int left, int top, int right, int bottom)
{
    if (r.left == left && r.top == top && r.right == right && r.bottom == bottom)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << r;
}

} // namespace

TEST(Rectangle, GrowBorderGrowsAndShrinks)
{
    const Rectangle r(10, 20, 30, 40);
    EXPECT_TRUE(Is(GrowBorder(r, 3), 7, 17, 33, 43));
    EXPECT_TRUE(Is(GrowBorder(r, -4), 14, 24, 26, 36));
    EXPECT_TRUE(Is(GrowBorder(r, 0), 10, 20, 30, 40));
}

TEST(Rectangle, ScalingTruncatesTowardsZeroAndLeavesTheOperand)
{
    Rectangle r(3, -3, 7, -7);
    EXPECT_TRUE(Is(r / 2, 1, -1, 3, -3));
    EXPECT_TRUE(Is(r * 0.5, 1, -1, 3, -3));
    EXPECT_TRUE(Is(r * 2.5, 7, -7, 17, -17));
    EXPECT_TRUE(Is(r / 0.4, 7, -7, 17, -17));
    EXPECT_TRUE(Is(r, 3, -3, 7, -7));
}

TEST(Rectangle, StreamsInFieldOrderAndReadsBack)
{
    const Rectangle r(-5, 0, 2147483647, -2147483647);
    std::ostringstream os;
    os << r;
    EXPECT_EQ("-5 0 2147483647 -2147483647", os.str());

    std::istringstream is(os.str() + "\n  4\t8\n15 16");
    Rectangle a, b;
    is >> a >> b;
    ASSERT_TRUE(static_cast<bool>(is));
    EXPECT_TRUE(Is(a, -5, 0, 2147483647, -2147483647));
    EXPECT_TRUE(Is(b, 4, 8, 15, 16));

    std::istringstream bad("1 2 x 4");
    Rectangle c;
    bad >> c;
    EXPECT_FALSE(static_cast<bool>(bad));
}
