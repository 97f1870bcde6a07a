// Grid and box cells: their bands on given image sizes, and the refused texts.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/geometry/InterestPointSelector.h"

using Tavlin::Core::Geometry::InterestPointSelector;
using Tavlin::Core::Geometry::SelectorPosition;

namespace
{
// The accepted x (at y = 0) or y (at x = 0) of a width x height image, in order.
std::vector<int> AcceptedAlong(InterestPointSelector& s, bool alongX, int width, int height, int from = -2)
{
    std::vector<int> accepted;
    const int end = (alongX ? width : height) + 2;
    for (int v = from; v < end; ++v)
        if (alongX ? s.Accept(v, alongX ? 0 : v, width, height) : s.Accept(0, v, width, height))
            accepted.push_back(v);
    return accepted;
}

std::vector<int> Range(int first, int last)
{
    std::vector<int> values;
    for (int v = first; v <= last; ++v)
        values.push_back(v);
    return values;
}
} // namespace

TEST(InterestPointSelector, GridCellsAreHalfOpenBandsCountedRowMajor)
{
    // Cell 3 of 2 x 2 on 100 x 50: the lower right quarter.
    InterestPointSelector quarter("P2x2#3", 0);
    EXPECT_TRUE(quarter.mIsGrid);
    EXPECT_FALSE(quarter.mIsBox);
    EXPECT_TRUE(quarter.Accept(50, 25, 100, 50));
    EXPECT_TRUE(quarter.Accept(99, 49, 100, 50));
    EXPECT_FALSE(quarter.Accept(49, 25, 100, 50));
    EXPECT_FALSE(quarter.Accept(50, 24, 100, 50));
    EXPECT_FALSE(quarter.Accept(100, 49, 100, 50));
    EXPECT_FALSE(quarter.Accept(99, 50, 100, 50));

    // The middle of three columns on width 10 holds x 3 to 5; the bands are 3, 3 and 4 wide.
    InterestPointSelector middle("P3x1#1", 0);
    EXPECT_EQ(AcceptedAlong(middle, true, 10, 1), Range(3, 5));
    InterestPointSelector last("P3x1#2", 0);
    EXPECT_EQ(AcceptedAlong(last, true, 10, 1), Range(6, 9));

    // The lowest of three bars.
    InterestPointSelector bar("P1x3#2", 0);
    EXPECT_EQ(AcceptedAlong(bar, false, 7, 9), Range(6, 8));
    EXPECT_TRUE(bar.Accept(6, 8, 7, 9));

    // Every pixel of a level lies in exactly one of its cells; nothing at or beyond the
    // image's size lies in any, not even in the whole-image cell.
    for (const std::string grid : {"P4x4#", "P3x1#", "P1x3#"})
    {
        std::vector<InterestPointSelector> cells;
        const int count = grid == "P4x4#" ? 16 : 3;
        for (int c = 0; c < count; ++c)
            cells.emplace_back(grid + std::to_string(c), 0);
        for (int y = 0; y < 13; ++y)
            for (int x = 0; x < 11; ++x)
            {
                int hits = 0;
                for (auto& cell : cells)
                    hits += cell.Accept(x, y, 11, 13);
                EXPECT_EQ(hits, 1) << grid << " at " << x << "," << y;
            }
    }
    InterestPointSelector whole("P1x1#0", 0);
    EXPECT_TRUE(whole.Accept(0, 0, 1, 1));
    EXPECT_FALSE(whole.Accept(1, 0, 1, 1));
    EXPECT_FALSE(whole.Accept(0, 1, 1, 1));
    EXPECT_FALSE(whole.Accept(-1, 0, 1, 1));

    // A grid without columns has no cells, and a fine grid on a wide image does not overflow.
    InterestPointSelector empty("P0x0#0", 0);
    EXPECT_FALSE(empty.Accept(0, 0, 10, 10));
    InterestPointSelector fine("P100000x1#99999", 0);
    EXPECT_TRUE(fine.Accept(99999, 0, 100000, 1));
    EXPECT_FALSE(fine.Accept(99998, 0, 100000, 1));
}

TEST(InterestPointSelector, BoxesIncludeBothEndsInFileCoordinates)
{
    // File coordinates are 1-based: B1#10/1#10 is pixels 0 to 9 in both directions.
    InterestPointSelector box("B1#10/1#10", 0);
    EXPECT_TRUE(box.mIsBox);
    EXPECT_EQ(box.mLeft, 0.0);
    EXPECT_EQ(box.mRight, 9.0);
    EXPECT_EQ(box.mTop, 0.0);
    EXPECT_EQ(box.mBottom, 9.0);
    EXPECT_EQ(AcceptedAlong(box, true, 20, 20), Range(0, 9));
    EXPECT_EQ(AcceptedAlong(box, false, 20, 20), Range(0, 9));
    // The image size plays no part.
    EXPECT_TRUE(box.Accept(9, 9, 1, 1));

    // The text reads left#right/top#bottom; a cut border moves the box with the points.
    InterestPointSelector shifted("B11#20/31#40", 5);
    EXPECT_EQ(shifted.mLeft, 5.0);
    EXPECT_EQ(shifted.mRight, 14.0);
    EXPECT_EQ(shifted.mTop, 25.0);
    EXPECT_EQ(shifted.mBottom, 34.0);
    EXPECT_TRUE(shifted.Accept(5, 34, 100, 100));
    EXPECT_FALSE(shifted.Accept(15, 30, 100, 100));
}

TEST(InterestPointSelector, RefusesTextsOfNeitherForm)
{
    for (const char* text : {"Q1x1#0", "p1x1#0", "", "pyramid-2x2", " P1x1#0"})
    {
        try
        {
            InterestPointSelector selector(text, 0);
            ADD_FAILURE() << "accepted " << text;
        }
        catch (const char* message)
        {
            EXPECT_STREQ(message, "Unknown pointSelector") << text;
        }
    }
    for (const char* text : {"P", "B"})
    {
        try
        {
            InterestPointSelector selector(text, 0);
            ADD_FAILURE() << "accepted " << text;
        }
        catch (const std::out_of_range& error)
        {
            EXPECT_STREQ(error.what(), "basic_string::substr") << text;
        }
    }
}

TEST(InterestPointSelector, PositionsTruncateTowardZeroAndFarValuesLieOutside)
{
    EXPECT_EQ(SelectorPosition(3.99), 3);
    EXPECT_EQ(SelectorPosition(-0.5), 0);
    EXPECT_EQ(SelectorPosition(-1.5), -1);
    InterestPointSelector whole("P1x1#0", 0);
    for (double far : {1e300, -1e300, 3e9, std::nan("")})
    {
        const int p = SelectorPosition(far);
        EXPECT_FALSE(whole.Accept(p, 0, INT_MAX, 1)) << far;
    }
}
