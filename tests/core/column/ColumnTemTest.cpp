#include "core/column/ColumnTem.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/column/InvalidColumn.h"
#include "support/LogCapture.h"
#include "util/Quid.h"

using Tavlin::Quid;
using Tavlin::Core::Column::ColumnTem;
using TestSupport::LogCapture;

TEST(ColumnTem, ReserveKeepsTheLeadingValuesOnRequest)
{
    ColumnTem<double> column(3);
    for (int i = 0; i < 3; ++i)
        column[i] = i + 0.5;
    double* before = column.Data();
    EXPECT_TRUE(column.Reserve(3, false));
    EXPECT_EQ(column.Data(), before);
    // Growing, shrinking, and to nothing.
    const int capacities[3] = {6, 2, 0};
    for (int capacity : capacities)
    {
        ASSERT_TRUE(column.Reserve(capacity, true));
        EXPECT_EQ(column.Capacity(), capacity);
        for (int i = 0; i < std::min(capacity, 3); ++i)
            EXPECT_EQ(column[i], i + 0.5);
    }

    ColumnTem<Quid> quids(2);
    quids.Set(1, Quid::FromParts(3, 4, 5, 6));
    ASSERT_TRUE(quids.Reserve(4, true));
    EXPECT_EQ(quids.Get(1), Quid::FromParts(3, 4, 5, 6));
}

TEST(ColumnTem, RefusedCapacityIsReportedAndInvalidColumnsRefuseAll)
{
    LogCapture log("Tavlin.Core.Column.ColumnTem");
    ColumnTem<int> column(2);
    column[1] = 7;
    EXPECT_FALSE(column.Reserve(-1, true));
    EXPECT_EQ(log.Text(), "ColumnTem: could not resize, no memory\n");
    EXPECT_EQ(column.Capacity(), 2);
    EXPECT_EQ(column[1], 7);

    LogCapture invalidLog("Tavlin.Core.Column.InvalidColumn");
    Tavlin::Core::Column::InvalidColumn invalid;
    EXPECT_FALSE(invalid.Reserve(4, true));
    EXPECT_EQ(invalidLog.Text(), "[Reserve] Invalid call\n");
    EXPECT_EQ(invalid.Capacity(), 0);
}
