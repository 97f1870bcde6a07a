#include "core/histogram/Histogram1dTem.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using Tavlin::Core::Histogram::Histogram1dTem;

TEST(Histogram1dTem, PlacesValuesByTruncationTowardsZero)
{
    Histogram1dTem<double> h(0.0, 256.0, 15);
    EXPECT_EQ(h.Size(), 15);
    EXPECT_DOUBLE_EQ(h.BinWidth(), 256.0 / 15);
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(h[i], 0.0);
    EXPECT_EQ(h.OutlierWeight(), 0.0);

    EXPECT_EQ(h.BinOf(255.0), 14);
    EXPECT_EQ(h.BinOf(0.0), 0);
    EXPECT_EQ(h.BinOf(17.0), 0);
    EXPECT_EQ(h.BinOf(17.1), 1);
    // Up to one bin width below low still lands in bin 0; further out is an outlier.
    EXPECT_EQ(h.BinOf(-17.0), 0);
    EXPECT_EQ(h.BinOf(-17.1), -1);
    EXPECT_EQ(h.BinOf(256.0), -1);
    EXPECT_EQ(h.BinOf(-1000.0), -1);
    EXPECT_EQ(h.BinOf(std::numeric_limits<double>::quiet_NaN()), -1);
    EXPECT_EQ(h.BinOf(1e300), -1);
    EXPECT_EQ(h.BinOf(-1e300), -1);

    h.Add(255.0, 1.0);
    h.Add(-5.0, 2.0);
    h.Add(300.0, 0.5);
    h.Add(-1000.0, 0.25);
    EXPECT_EQ(h[14], 1.0);
    EXPECT_EQ(h[0], 2.0);
    EXPECT_EQ(h.OutlierWeight(), 0.75);
    EXPECT_EQ(h.Total(), 3.0);
}

TEST(Histogram1dTem, FillsAForeignBlockWithoutOwningIt)
{
    std::vector<double> block(6, 7.0);
    {
        Histogram1dTem<double> h(-2.0, 2.0, 4, block.data() + 1);
        EXPECT_TRUE(h.IsWrapper());
        h.Add(0.0, 1.0);
        h.Add(-2.0, 1.0);
    }
    // Bins of width 1: 0 is in bin 2, -2 in bin 0; the values around are untouched.
    EXPECT_EQ(block, (std::vector<double>{7.0, 1.0, 0.0, 1.0, 0.0, 7.0}));
}

TEST(Histogram1dTem, NormalizeLeavesATotalBelowOneAlone)
{
    Histogram1dTem<double> small(0.0, 1.0, 2);
    small.Add(0.1, 0.3);
    small.Add(0.9, 0.6);
    small.Add(5.0, 0.2);
    small.Normalize();
    EXPECT_EQ(small[0], 0.3);
    EXPECT_EQ(small[1], 0.6);
    EXPECT_EQ(small.OutlierWeight(), 0.2);

    // A total of 1.5 has integer part 1: it divides, outliers included.
    Histogram1dTem<double> h(0.0, 1.0, 2);
    h.Add(0.1, 0.5);
    h.Add(0.9, 1.0);
    h.Add(-3.0, 3.0);
    h.Normalize();
    EXPECT_DOUBLE_EQ(h[0], 1.0 / 3);
    EXPECT_DOUBLE_EQ(h[1], 2.0 / 3);
    EXPECT_DOUBLE_EQ(h.OutlierWeight(), 2.0);

    // All outliers: nothing to divide by.
    Histogram1dTem<double> empty(0.0, 1.0, 3);
    empty.Add(2.0, 1.0);
    empty.Normalize();
    EXPECT_EQ(empty.Total(), 0.0);
    EXPECT_EQ(empty.OutlierWeight(), 1.0);
}
