#include "core/column/ColumnTem.h"

#include <gtest/gtest.h>

#include "core/column/InvalidColumn.h"
#include "support/LogCapture.h"
#include "util/Quid.h"

using Tavlin::Quid;
using Tavlin::Core::Column::ColumnTem;
using Tavlin::Core::Column::InvalidColumn;

TEST(ColumnTem, ReserveKeepsTheLeadingValuesOnRequest)
{
    ColumnTem<double> column(3);
    EXPECT_EQ(column.Capacity(), 3);
    for (int i = 0; i < 3; ++i)
        column[i] = i + 0.5;
    double* before = column.Data();

    EXPECT_TRUE(column.Reserve(3, false));
    EXPECT_EQ(column.Data(), before);

    ASSERT_TRUE(column.Reserve(6, true));
    EXPECT_EQ(column.Capacity(), 6);
    EXPECT_EQ(column[0], 0.5);
    EXPECT_EQ(column[2], 2.5);

    ASSERT_TRUE(column.Reserve(2, true));
    EXPECT_EQ(column.Capacity(), 2);
    EXPECT_EQ(column[1], 1.5);

    ASSERT_TRUE(column.Reserve(0, true));
    EXPECT_EQ(column.Capacity(), 0);
}

TEST(ColumnTem, HoldsQuidValues)
{
    ColumnTem<Quid> column(2);
    column.Set(1, Quid::FromParts(3, 4, 5, 6));
    ASSERT_TRUE(column.Reserve(4, true));
    EXPECT_EQ(column.Get(1), Quid::FromParts(3, 4, 5, 6));
}

TEST(ColumnTem, RefusedCapacityIsReportedAndLeavesTheColumnUsable)
{
    TestSupport::LogCapture log("Tavlin.Core.Column.ColumnTem");
    ColumnTem<int> column(2);
    column[1] = 7;
    EXPECT_FALSE(column.Reserve(-1, true));
    EXPECT_EQ(log.Text(), "ColumnTem: could not resize, no memory\n");
    EXPECT_EQ(column.Capacity(), 2);
    EXPECT_EQ(column[1], 7);
}

TEST(InvalidColumn, ReserveIsACodingError)
{
    TestSupport::LogCapture log("Tavlin.Core.Column.InvalidColumn");
    InvalidColumn column;
    EXPECT_FALSE(column.Reserve(4, true));
    EXPECT_EQ(log.Text(), "[Reserve] Invalid call\n");
    EXPECT_EQ(column.Capacity(), 0);
}
